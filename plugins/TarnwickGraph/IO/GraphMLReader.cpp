#include <TarnwickGraph/IO/GraphMLReader.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/Graph.h>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <charconv>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Tarnwick {

namespace {

namespace pt = boost::property_tree;

const pt::ptree* findChild(const pt::ptree& element, const std::string& name) {
    const auto it = element.find(name);
    return it == element.not_found() ? nullptr : &it->second;
}

/// The value of an XML attribute of `element`, or null when it has none.
const std::string* attribute(const pt::ptree& element, const std::string& name) {
    const pt::ptree* attributes = findChild(element, "<xmlattr>");
    const pt::ptree* value = attributes ? findChild(*attributes, name) : nullptr;
    return value ? &value->data() : nullptr;
}

/// A decimal or scientific number, "nan" or "inf", with surrounding blanks; nothing for other text.
std::optional<double> parseNumber(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos)
        return std::nullopt;
    text = text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
    if (text.front() == '+')
        text.remove_prefix(1);
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

/// Where the value of a data element goes: a position component (x, y, z) or a feature column.
struct Slot {
    bool isPosition = false;
    int index = 0;
};

/// The declared keys of one element kind (node or edge), with the defaults of unset values.
struct KeySet {
    std::unordered_map<std::string, Slot> slots;
    std::vector<Graph::FeatureDescriptor> features;
    Eigen::Vector3d positionDefault = Eigen::Vector3d::Zero();

    void declareFeature(const std::string& id, double defaultValue) {
        if (slots.try_emplace(id, Slot{false, static_cast<int>(features.size())}).second)
            features.push_back({id, defaultValue});
    }
    std::vector<double> featureDefaults() const {
        std::vector<double> values;
        values.reserve(features.size());
        for (const auto& feature : features)
            values.push_back(feature.defaultValue);
        return values;
    }
};

struct Keys {
    KeySet node;
    KeySet edge;
    bool threeDimensional = false;
};

Keys readKeys(const pt::ptree& graphml) {
    Keys keys;
    // x and y always place nodes; z only once the file declares it (a 3-D graph).
    keys.node.slots["x"] = Slot{true, 0};
    keys.node.slots["y"] = Slot{true, 1};
    for (const auto& [name, key] : graphml) {
        if (name != "key")
            continue;
        const std::string* id = attribute(key, "id");
        if (!id)
            throw std::runtime_error("a key element has no id");
        double defaultValue = 0.0;
        if (const pt::ptree* defaultElement = findChild(key, "default")) {
            const std::optional<double> parsed = parseNumber(defaultElement->data());
            if (!parsed)
                throw std::runtime_error("default value '" + defaultElement->data() + "' of key '" + *id +
                                         "' is not a number");
            defaultValue = *parsed;
        }
        const std::string* owner = attribute(key, "for");
        if (owner && *owner == "edge") {
            keys.edge.declareFeature(*id, defaultValue);
        } else if (owner && *owner == "node") {
            if (*id == "x" || *id == "y" || *id == "z") {
                const int component = (*id)[0] - 'x';
                keys.node.slots[*id] = Slot{true, component};
                keys.node.positionDefault[component] = defaultValue;
                keys.threeDimensional = keys.threeDimensional || component == 2;
            } else {
                keys.node.declareFeature(*id, defaultValue);
            }
        }
        // Keys for the graph or for all elements carry no node or edge values.
    }
    return keys;
}

/// Applies the data children of a node or edge element through `set(slot, value)`; `describe` names
/// the element in error messages.
template <typename Set, typename Describe>
void readData(const pt::ptree& element, const KeySet& keys, Set&& set, Describe&& describe) {
    for (const auto& [name, data] : element) {
        if (name != "data")
            continue;
        const std::string* key = attribute(data, "key");
        const auto slot = key ? keys.slots.find(*key) : keys.slots.end();
        if (slot == keys.slots.end())
            continue;
        const std::optional<double> value = parseNumber(data.data());
        if (!value)
            throw std::runtime_error(describe() + ": value '" + data.data() + "' of key '" + *key +
                                     "' is not a number");
        set(slot->second, *value);
    }
}

std::unique_ptr<Graph> buildGraph(const pt::ptree& tree) {
    const pt::ptree* graphml = findChild(tree, "graphml");
    if (!graphml)
        throw std::runtime_error("no graphml root element");
    const Keys keys = readKeys(*graphml);

    auto graph = std::make_unique<Graph>(Graph::Undirected, keys.threeDimensional ? Graph::Dim3D : Graph::Dim2D);
    graph->clearFeatureDescriptors();
    graph->addNodeFeatureDescriptors(keys.node.features);
    graph->addEdgeFeatureDescriptors(keys.edge.features);

    const pt::ptree* graphElement = findChild(*graphml, "graph");
    if (!graphElement)
        throw std::runtime_error("no graph element");
    const std::string* edgeDefault = attribute(*graphElement, "edgedefault");
    graph->setType(edgeDefault && *edgeDefault == "directed" ? Graph::Directed : Graph::Undirected);

    std::unordered_map<std::string, unsigned long> nodeIds;
    const std::vector<double> nodeDefaults = keys.node.featureDefaults();
    for (const auto& [name, element] : *graphElement) {
        if (name != "node")
            continue;
        const std::string* fileId = attribute(element, "id");
        if (!fileId)
            throw std::runtime_error("a node element has no id");
        Graph::NodeInfo node(keys.node.positionDefault, nodeDefaults);
        readData(
            element, keys.node,
            [&](Slot slot, double value) {
                (slot.isPosition ? node.position[slot.index] : node.features[slot.index]) = value;
            },
            [&] { return "node '" + *fileId + "'"; });
        if (!nodeIds.try_emplace(*fileId, 0).second)
            throw std::runtime_error("node id '" + *fileId + "' is used twice");
        nodeIds[*fileId] = graph->addNode(std::move(node));
    }

    const std::vector<double> edgeDefaults = keys.edge.featureDefaults();
    const std::string none;
    for (const auto& [name, element] : *graphElement) {
        if (name != "edge")
            continue;
        const std::string* source = attribute(element, "source");
        const std::string* target = attribute(element, "target");
        const auto from = nodeIds.find(source ? *source : none);
        const auto to = nodeIds.find(target ? *target : none);
        if (from == nodeIds.end() || to == nodeIds.end())
            throw std::runtime_error("Edge refers to undefined node: " + (source ? *source : none) + " or " +
                                     (target ? *target : none));
        Graph::EdgeInfo edge;
        edge.features = edgeDefaults;
        readData(
            element, keys.edge, [&](Slot slot, double value) { edge.features[slot.index] = value; },
            [&] { return "edge '" + *source + "' -> '" + *target + "'"; });
        graph->addEdge(from->second, to->second, std::move(edge));
    }
    return graph;
}

} // namespace

std::unique_ptr<Graph> GraphMLReader::read(std::istream& in) {
    pt::ptree tree;
    try {
        pt::read_xml(in, tree, pt::xml_parser::no_comments);
    } catch (const pt::xml_parser_error& error) {
        TW_LOG_ERROR("Could not parse GraphML input: {}", error.what());
        return nullptr;
    }
    if (tree.empty()) {
        TW_LOG_ERROR("Parsed GraphML tree is empty");
        return nullptr;
    }
    std::unique_ptr<Graph> graph;
    try {
        graph = buildGraph(tree);
    } catch (const std::exception& error) {
        TW_LOG_ERROR("Error during parsing of file: {}", error.what());
        return nullptr;
    }
    TW_LOG_INFO("Imported {}D graph with {} nodes, {} edges, {} edge feature(s) and {} node feature(s).",
                graph->dimension() == Graph::Dim3D ? 3 : 2, graph->numNodes(), graph->numEdges(),
                graph->edgeFeatureDescriptors().size(), graph->nodeFeatureDescriptors().size());
    return graph;
}

} // namespace Tarnwick
