#pragma once

#include <TarnwickLib/IO/TarnwickFilePlugin.h>

namespace Tarnwick {

/// Stores graphs inside the host's data file as the binary record of GraphRecord, under the type id
/// 158323 (plus an offset, 0 for this plug-in). Created by the graph plug-in's init() and handed to
/// TarnwickFile::addPlugin().
class GraphTarnwickFilePlugin : public TarnwickFilePlugin {
public:
    static constexpr unsigned int graphTypeId = 158323;

    explicit GraphTarnwickFilePlugin(unsigned int typeId = graphTypeId, unsigned int offset = 0);

    /// A new undirected 3-D Graph for a record of our type id; null for any other type (the record
    /// version is not used).
    Data* loadInstance(unsigned int typeId, unsigned int version) override;
    /// Type id plus offset for a Graph; 0 for other data and for null.
    unsigned int saveType(const Data* data) override;
    /// Writes the record of a Graph; false for null or other data, or when the record cannot be written.
    bool save(Data* data, std::ostream& out, Progress* progress) override;
    /// Reads a record into `data`, which must be a Graph; false (with the reason logged) otherwise.
    bool load(unsigned int typeId, Data* data, std::istream& in, Progress* progress) override;

private:
    unsigned int m_typeId;
    unsigned int m_offset;
};

} // namespace Tarnwick
