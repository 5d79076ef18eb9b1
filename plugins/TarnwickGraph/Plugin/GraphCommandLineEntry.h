#pragma once

// Plain C entry points of the graph plug-in for host applications that do not link it: they find them
// in the loaded library by name and call them on graphs they received from the plug-in's algorithms.

#include <TarnwickLib/Plugin/PluginBase.h>

namespace Tarnwick {
class Data;
}

/// Counts and measures of a centerline graph.
struct TarnwickGraphSummary {
    unsigned long long nodes;
    unsigned long long edges;
    unsigned long long branchPoints; ///< clusters of adjacent nodes with three or more neighbours
    unsigned long long endpoints;    ///< nodes with one neighbour
    unsigned long long components;
    long long cycles;   ///< independent cycles (edges - nodes + components), each branch point's cluster merged
    double totalLength; ///< sum of the edge feature "length" (0 without it)
    double minDiameter; ///< range of the positive edge feature "diameter" (0, 0 without it)
    double maxDiameter;
};

/// Fills `summary` for a Graph; returns 0, or 1 (nothing written) when `data` is not a Graph.
TARNWICK_PLUGIN_EXPORT int tarnwickGraphSummarize(const Tarnwick::Data* data, TarnwickGraphSummary* summary);
using TarnwickGraphSummarizeFunction = int (*)(const Tarnwick::Data*, TarnwickGraphSummary*);

/// Replaces every node position of a Graph by its world position (LPS; RAS when `ras` is non-zero) and
/// its matrixToWorld by the identity. Returns 0, or 1 when `data` is not a Graph.
TARNWICK_PLUGIN_EXPORT int tarnwickGraphMoveToWorld(Tarnwick::Data* data, int ras);
using TarnwickGraphMoveToWorldFunction = int (*)(Tarnwick::Data*, int);
