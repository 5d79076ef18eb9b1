#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <string>

namespace Tarnwick::Test {

/// The GraphML text of `graph` made through a Boost property tree and its XML writer plus the key
/// rewrite over the whole document: the reference the streaming writer is compared with.
std::string referenceGraphML(const Graph& graph, bool exportFeatures);

} // namespace Tarnwick::Test
