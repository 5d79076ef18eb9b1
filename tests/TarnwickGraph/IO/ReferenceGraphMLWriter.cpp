// The GraphML document built the straightforward way: the whole layout as a Boost property tree,
// written by its XML writer, then one regular-expression rewrite of every key's placeholder attribute
// over the whole text. The plug-in's streaming writer must produce exactly this.
#include "ReferenceGraphMLWriter.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <fmt/format.h>

#include <regex>
#include <sstream>
#include <utility>

namespace Tarnwick::Test {

namespace {

namespace pt = boost::property_tree;

const char* const graphmlNamespace = "http://graphml.graphdrawing.org/xmlns";

pt::ptree& addElement(pt::ptree& parent, const char* name) {
    return parent.push_back({name, pt::ptree()})->second;
}

/// Adds the XML attributes `(name, value)...` to `element`.
template <typename... Values>
void setAttributes(pt::ptree& element, std::pair<const char*, Values>... attributes) {
    pt::ptree& xmlAttributes = addElement(element, "<xmlattr>");
    (xmlAttributes.push_back({attributes.first, pt::ptree(std::string(attributes.second))}), ...);
}

void addData(pt::ptree& element, const std::string& key, double value) {
    pt::ptree& data = addElement(element, "data");
    setAttributes(data, std::pair{"key", key});
    data.data() = fmt::format("{}", value);
}

/// A key written with an empty "attr" attribute, because a property-tree path cannot name an attribute
/// with a dot in it; the rewrite in referenceGraphML() turns it into attr.name and attr.type.
void addKey(pt::ptree& graphml, const std::string& id, const char* owner) {
    setAttributes(addElement(graphml, "key"), std::pair{"id", id}, std::pair{"for", owner}, std::pair{"attr", ""});
}

void addFeatureData(pt::ptree& element, const std::vector<Graph::FeatureDescriptor>& descriptors,
                    const std::vector<double>& values) {
    for (std::size_t i = 0; i < descriptors.size(); ++i)
        addData(element, descriptors[i].name, values[i]);
}

std::string nodeName(unsigned long id) {
    return fmt::format("n{}", id);
}

pt::ptree buildTree(const Graph& graph, bool exportFeatures) {
    const bool threeDimensional = graph.dimension() == Graph::Dim3D;
    pt::ptree root;
    pt::ptree& graphml = addElement(root, "graphml");
    setAttributes(graphml, std::pair{"xmlns", graphmlNamespace});
    addKey(graphml, "x", "node");
    addKey(graphml, "y", "node");
    if (threeDimensional)
        addKey(graphml, "z", "node");
    if (exportFeatures) {
        for (const auto& descriptor : graph.nodeFeatureDescriptors())
            addKey(graphml, descriptor.name, "node");
        for (const auto& descriptor : graph.edgeFeatureDescriptors())
            addKey(graphml, descriptor.name, "edge");
    }

    pt::ptree& graphElement = addElement(graphml, "graph");
    setAttributes(graphElement, std::pair{"id", "G"},
                  std::pair{"edgedefault", graph.type() == Graph::Directed ? "directed" : "undirected"});
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& info) {
        pt::ptree& node = addElement(graphElement, "node");
        setAttributes(node, std::pair{"id", nodeName(id)});
        addData(node, "x", info.position.x());
        addData(node, "y", info.position.y());
        if (threeDimensional)
            addData(node, "z", info.position.z());
        if (exportFeatures)
            addFeatureData(node, graph.nodeFeatureDescriptors(), info.features);
    });
    graph.forEachEdge([&](const Graph::EdgeInfo& info, unsigned long from, unsigned long to) {
        pt::ptree& edge = addElement(graphElement, "edge");
        setAttributes(edge, std::pair{"source", nodeName(from)}, std::pair{"target", nodeName(to)});
        if (exportFeatures)
            addFeatureData(edge, graph.edgeFeatureDescriptors(), info.features);
    });
    return root;
}

} // namespace

std::string referenceGraphML(const Graph& graph, bool exportFeatures) {
    std::ostringstream out;
    pt::write_xml(out, buildTree(graph, exportFeatures), pt::xml_writer_make_settings<std::string>(' ', 4, "utf-8"));
    static const std::regex keyPattern(R"re(<key id="([^"]+)" for="([^"]+)" attr=""\s*/?>)re");
    return std::regex_replace(out.str(), keyPattern,
                              R"re(<key id="$1" for="$2" attr.name="$1" attr.type="double"/>)re");
}

} // namespace Tarnwick::Test
