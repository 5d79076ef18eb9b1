#pragma once

#include <TarnwickLib/Algorithm/DataAnnotationFactory.h>

namespace Tarnwick {

/// Tells the host how to describe and copy a Graph. Other data types are left to other factories.
class GraphDataAnnotationFactory : public DataAnnotationFactory {
public:
    /// "Graph with <nodes> nodes and <edges> edges" for a Graph (no singular forms); empty otherwise.
    std::string dataDescription(const Data& data) const override;
    /// For a Graph a new deep copy (owned by the caller): name, placement and components of the data
    /// set, the node table with all adjacencies, type, dimension, the largest id and both descriptor
    /// lists. Null for other data. This is the only way a whole graph is copied.
    Data* cloneData(const Data* data) const override;
    /// For a Graph, after the name and description: "Type", "Dimension", "Nodes", "Edges", "Largest node
    /// id", and for each feature "Node feature '<name>'" / "Edge feature '<name>'" with the range of its
    /// values ("1.5 to 3 (default 0)", NaN values counted apart). Shown in information panels and by
    /// `tarnwick-cli info`.
    std::vector<std::pair<std::string, std::string>> dataAttributes(const Data& data) const override;
};

} // namespace Tarnwick
