#pragma once

#include <optional>

namespace Tarnwick {

class DataList;
class Graph;
class SharedImageSet;

/// A selection of exactly one graph and at most one image set, with nothing else in it: the input that
/// the feature, smoothing and spanning-tree algorithms accept. `image` is null when no image was selected.
struct GraphWithOptionalImage {
    Graph* graph = nullptr;
    SharedImageSet* image = nullptr;
};

/// The graph and the optional image of `data`, or nothing when `data` is not such a selection.
std::optional<GraphWithOptionalImage> graphWithOptionalImage(const DataList& data);

} // namespace Tarnwick
