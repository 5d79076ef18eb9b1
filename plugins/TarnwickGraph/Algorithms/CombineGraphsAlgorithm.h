#pragma once

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Algorithm/Algorithm.h>

#include <vector>

namespace Tarnwick {

/// Merges several graphs into one new graph holding every node and edge of every input, with fresh ids:
/// the first input's nodes first, then the second's, each in ascending id order. Node positions are mapped
/// into world coordinates through each input's placement; the output keeps the identity placement. The
/// inputs are never changed.
///
/// Status: Success; IncompleteInput for an empty list (no message); Error for a null entry ("Invalid
/// input. Graphs must be non-empty.") or feature columns that differ from the first input's ("Cannot
/// combine graphs due to incompatible features"); InvalidInput for a mix of 2-D and 3-D graphs ("Cannot
/// combine graphs of different dimensions"). A failed run leaves no output.
class CombineGraphsAlgorithm : public Algorithm {
public:
    /// graphs are borrowed, in selection order.
    explicit CombineGraphsAlgorithm(const std::vector<Graph*>& graphs);

    /// Takes every Graph of the selection (other data are ignored); compatible with at least two.
    static bool createCompatible(const DataList& data, Algorithm** out);

    /// O((N + E) log N) over all inputs.
    void compute() override;

    /// The combined graph, or null before a successful run and after takeOutput().
    const Graph* combined() const;

private:
    /// Logs and returns the failure status, or Success when the inputs can be combined.
    int validateInputs() const;

    std::vector<Graph*> m_graphs;
};

} // namespace Tarnwick
