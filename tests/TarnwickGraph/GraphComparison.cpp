#include "GraphComparison.h"

#include "GraphInvariants.h"

#include <fmt/format.h>

#include <cmath>
#include <map>
#include <tuple>

namespace Tarnwick::Test {

namespace {

std::string describeValues(const std::vector<double>& values) {
    std::string text;
    for (double v : values)
        text += fmt::format("{}{}", text.empty() ? "" : ", ", v);
    return "[" + text + "]";
}

std::string describeDescriptors(const std::vector<Graph::FeatureDescriptor>& descriptors) {
    std::string text;
    for (const auto& d : descriptors)
        text += fmt::format("{}{}={}", text.empty() ? "" : ", ", d.name, d.defaultValue);
    return "[" + text + "]";
}

std::vector<std::string> names(const std::vector<Graph::FeatureDescriptor>& descriptors) {
    std::vector<std::string> result;
    for (const auto& d : descriptors)
        result.push_back(d.name);
    return result;
}

/// Type, dimension and descriptors; the descriptors' defaults only when `withDefaults`.
void compareKind(const Graph& expected, const Graph& actual, bool withDefaults, std::vector<std::string>& out) {
    if (expected.type() != actual.type())
        out.push_back(fmt::format("type {} != {}", int(expected.type()), int(actual.type())));
    if (expected.dimension() != actual.dimension())
        out.push_back(fmt::format("dimension {} != {}", int(expected.dimension()), int(actual.dimension())));
    const auto differ = [&](const auto& a, const auto& b) { return withDefaults ? a != b : names(a) != names(b); };
    if (differ(expected.nodeFeatureDescriptors(), actual.nodeFeatureDescriptors()))
        out.push_back(fmt::format("node descriptors {} != {}", describeDescriptors(expected.nodeFeatureDescriptors()),
                                  describeDescriptors(actual.nodeFeatureDescriptors())));
    if (differ(expected.edgeFeatureDescriptors(), actual.edgeFeatureDescriptors()))
        out.push_back(fmt::format("edge descriptors {} != {}", describeDescriptors(expected.edgeFeatureDescriptors()),
                                  describeDescriptors(actual.edgeFeatureDescriptors())));
}

using EdgeRow = std::tuple<unsigned long, unsigned long, Graph::EdgeInfo>;

std::vector<EdgeRow> edgeRows(const Graph& graph, const std::map<unsigned long, unsigned long>& rename) {
    std::vector<EdgeRow> rows;
    graph.forEachEdge([&](const Graph::EdgeInfo& info, unsigned long u, unsigned long v) {
        rows.emplace_back(rename.at(u), rename.at(v), info);
    });
    return rows;
}

void compareEdges(const std::vector<EdgeRow>& expected, const std::vector<EdgeRow>& actual, bool withAttributes,
                  std::vector<std::string>& out) {
    if (expected.size() != actual.size())
        out.push_back(fmt::format("edge count {} != {}", expected.size(), actual.size()));
    for (std::size_t i = 0; i < std::min(expected.size(), actual.size()); ++i) {
        const auto& [eu, ev, einfo] = expected[i];
        const auto& [au, av, ainfo] = actual[i];
        if (eu != au || ev != av)
            out.push_back(fmt::format("edge #{} is {} -> {}, expected {} -> {}", i, au, av, eu, ev));
        else if (!sameFeatureValues(einfo.features, ainfo.features))
            out.push_back(fmt::format("edge {} -> {} features {} != {}", eu, ev, describeValues(einfo.features),
                                      describeValues(ainfo.features)));
        else if (withAttributes && einfo.attributes != ainfo.attributes)
            out.push_back(fmt::format("edge {} -> {} attributes differ", eu, ev));
    }
}

std::map<unsigned long, unsigned long> identity(const Graph& graph) {
    std::map<unsigned long, unsigned long> ids;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&) { ids[id] = id; });
    return ids;
}

std::map<unsigned long, unsigned long> ranks(const Graph& graph) {
    std::map<unsigned long, unsigned long> ids;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&) { ids[id] = ids.size(); });
    return ids;
}

void compareNodes(const Graph& expected, const Graph& actual, bool byId, std::vector<std::string>& out) {
    std::vector<std::pair<unsigned long, const Graph::NodeInfo*>> a;
    std::vector<std::pair<unsigned long, const Graph::NodeInfo*>> b;
    expected.forEachNode([&](unsigned long id, const Graph::NodeInfo& info) { a.emplace_back(id, &info); });
    actual.forEachNode([&](unsigned long id, const Graph::NodeInfo& info) { b.emplace_back(id, &info); });
    if (a.size() != b.size())
        out.push_back(fmt::format("node count {} != {}", a.size(), b.size()));
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        const Graph::NodeInfo& x = *a[i].second;
        const Graph::NodeInfo& y = *b[i].second;
        const std::string name = byId ? fmt::format("node {}", a[i].first) : fmt::format("node #{}", i);
        if (byId && a[i].first != b[i].first)
            out.push_back(fmt::format("node #{} has id {}, expected {}", i, b[i].first, a[i].first));
        else if (x.position != y.position)
            out.push_back(fmt::format("{} position ({}, {}, {}) != ({}, {}, {})", name, x.position.x(), x.position.y(),
                                      x.position.z(), y.position.x(), y.position.y(), y.position.z()));
        else if (!sameFeatureValues(x.features, y.features))
            out.push_back(
                fmt::format("{} features {} != {}", name, describeValues(x.features), describeValues(y.features)));
        else if (byId && x.attributes != y.attributes)
            out.push_back(fmt::format("{} attributes differ", name));
    }
}

::testing::AssertionResult asResult(const std::vector<std::string>& differences) {
    if (differences.empty())
        return ::testing::AssertionSuccess();
    auto failure = ::testing::AssertionFailure();
    for (const auto& line : differences)
        failure << "\n  " << line;
    return failure;
}

} // namespace

std::vector<std::string> graphDifferences(const Graph& expected, const Graph& actual) {
    std::vector<std::string> out;
    compareKind(expected, actual, true, out);
    if (expected.maxNodeId() != actual.maxNodeId())
        out.push_back(fmt::format("maxNodeId {} != {}", expected.maxNodeId(), actual.maxNodeId()));
    if (expected.matrixToWorld() != actual.matrixToWorld())
        out.push_back("world matrices differ");
    compareNodes(expected, actual, true, out);
    if (out.empty())
        compareEdges(edgeRows(expected, identity(expected)), edgeRows(actual, identity(actual)), true, out);
    for (const auto& violation : graphInvariantViolations(actual))
        out.push_back("invariant: " + violation);
    return out;
}

::testing::AssertionResult graphsEqual(const Graph& expected, const Graph& actual) {
    return asResult(graphDifferences(expected, actual));
}

std::vector<std::string> contentDifferences(const Graph& expected, const Graph& actual) {
    std::vector<std::string> out;
    compareKind(expected, actual, false, out);
    compareNodes(expected, actual, false, out);
    if (out.empty())
        compareEdges(edgeRows(expected, ranks(expected)), edgeRows(actual, ranks(actual)), false, out);
    for (const auto& violation : graphInvariantViolations(actual))
        out.push_back("invariant: " + violation);
    return out;
}

::testing::AssertionResult sameContent(const Graph& expected, const Graph& actual) {
    return asResult(contentDifferences(expected, actual));
}

} // namespace Tarnwick::Test
