#pragma once

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>
#include <TarnwickLib/Image/SharedImageSet.h>

namespace Tarnwick {

/// Removes short side branches ("terminal paths": chains that start at a leaf and run through nodes with
/// two neighbours up to a branching node) from a centerline graph.
///
/// Every operation walks from each leaf (a node with exactly one adjacency entry) with Graph::traverse,
/// collecting candidate nodes until its stop rule fires; a walk's candidates join one removal set or are
/// all dropped, and the set is removed only after every leaf was walked. All walks therefore see the
/// unpruned graph and the result does not depend on node ids. Branching nodes are never removed and
/// chains left with nodes of two neighbours are not merged.
///
/// Status: Success; Error with "Distance image not set." or "No valid distance image: require
/// PixelType::Float." in DistanceBased mode, leaving the graph unchanged.
class PruneTerminalPathsAlgorithm : public Algorithm {
public:
    enum Mode : int { GlobalThreshold = 0, DistanceBased = 1 };

    /// distanceImage (borrowed, may be null) switches the initial mode to DistanceBased.
    PruneTerminalPathsAlgorithm(Graph& graph, SharedImageSet* distanceImage);

    /// Accepts exactly one Graph among at most two items; an image set among them is the distance image.
    static bool createCompatible(const DataList& data, Algorithm** out);

    /// Prunes the input (inPlace) or a copy of it, which becomes the output.
    void compute() override;

    /// Removes every terminal path whose length, from the leaf up to and including the edge into the
    /// branching node, is below threshold (graph units). A path of exactly the threshold stays; an isolated
    /// chain shorter than it disappears. O(N log N + walked length).
    static void removeShortTerminalPaths(Graph& graph, double threshold);

    /// Removes every terminal path shorter than sensitivity times the largest distance-image value met along
    /// it (the local vessel radius). The image (channel 0, world lengths) is read with trilinear
    /// interpolation (TypedImage::interpolatedValue) once per edge of the walk, at the pixel coordinate of
    /// the edge's near node plus half the edge's world-space difference vector, which is the edge midpoint
    /// for unit spacing; lengths are measured between node positions mapped to world coordinates. Returns
    /// false, changing nothing, when the set has no float image.
    static bool removePathsDistanceBased(Graph& graph, SharedImageSet* distanceImage, double sensitivity);

    /// Removes the thin parts of every terminal path: walking from the leaf up to a branching node or
    /// another leaf, past thick edges too, the node nearer the leaf of every edge whose "diameter" is
    /// below threshold is removed. Returns false, changing nothing, when the graph has no "diameter".
    static bool removeThinTerminalEdges(Graph& graph, double threshold);

    Parameter<Mode> mode{"mode", GlobalThreshold, this};
    /// Largest terminal path length removed in GlobalThreshold mode (world length units).
    Parameter<double> pruningThreshold{"pruningThreshold", 1.0, this};
    /// Multiplier of the local radius in DistanceBased mode; higher removes longer paths.
    Parameter<double> sensitivity{"sensitivity", 1.0, this};
    /// Change the input graph instead of producing a pruned copy.
    Parameter<bool> inPlace{"inPlace", false, this};

private:
    /// Runs the selected operation on `graph`; false when it could not run (message logged).
    bool prune(Graph& graph) const;

    Graph& m_graph;
    SharedImageSet* m_distanceImage;
};

} // namespace Tarnwick
