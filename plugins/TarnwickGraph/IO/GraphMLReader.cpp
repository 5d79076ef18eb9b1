// GraphML is read in one pass with a pull parser over the stream, so that memory holds the graph and
// the map from file ids to node ids, not the document: the text arrives in blocks and each element is
// applied as it ends. The graph is read with the property tree's rules: an element's text is the
// concatenation of its text and CDATA children, attributes are found by name (the first one wins),
// entities are decoded, and comments, declarations and processing instructions are skipped. Errors in
// the XML take precedence over errors in the graph, as if the whole document had been parsed first: a
// graph error stops building (and frees the graph) but the parse goes on to the end.
#include <TarnwickGraph/IO/GraphMLReader.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/IO/XmlPullParser.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <istream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Tarnwick {

namespace {

/// Deeper documents are refused; GraphML needs four levels.
constexpr int maxNestingDepth = 256;

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

    /// Values of key `id` go to the feature `name`; keys of the same name share one feature.
    void declareFeature(const std::string& id, const std::string& name, double defaultValue) {
        const auto existing = std::find_if(features.begin(), features.end(),
                                           [&](const Graph::FeatureDescriptor& f) { return f.name == name; });
        const int index = static_cast<int>(existing - features.begin());
        if (slots.try_emplace(id, Slot{false, index}).second && existing == features.end())
            features.push_back({name, defaultValue});
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

bool isPositionName(const std::optional<std::string>& name) {
    return name == "x" || name == "y" || name == "z";
}

/// A key element as the file gives it.
struct KeyRecord {
    std::optional<std::string> id, owner, attrName, defaultText;
};

/// Keys name their values by id. Some writers number their key ids ("d0", "v_x") and put the name in
/// attr.name: when no node key id names a position but an attr.name does, every key is named by its
/// attr.name (by its id where it has none).
bool namesByAttrName(const std::vector<KeyRecord>& records) {
    bool positionId = false, positionAttrName = false;
    for (const KeyRecord& key : records) {
        if (key.owner != "node")
            continue;
        positionId = positionId || isPositionName(key.id);
        positionAttrName = positionAttrName || isPositionName(key.attrName);
    }
    return !positionId && positionAttrName;
}

Keys readKeys(const std::vector<KeyRecord>& records) {
    Keys keys;
    // x and y always place nodes; z only once the file declares it (a 3-D graph).
    keys.node.slots["x"] = Slot{true, 0};
    keys.node.slots["y"] = Slot{true, 1};
    const bool byAttrName = namesByAttrName(records);
    if (byAttrName)
        TW_LOG_INFO("No GraphML key id names a node position; keys are mapped by their attr.name instead");
    for (const KeyRecord& key : records) {
        if (!key.id)
            throw std::runtime_error("a key element has no id");
        const std::string& id = *key.id;
        const std::string name = byAttrName ? key.attrName.value_or(id) : id;
        double defaultValue = 0.0;
        if (key.defaultText) {
            const std::optional<double> parsed = parseNumber(*key.defaultText);
            if (!parsed)
                throw std::runtime_error("default value '" + *key.defaultText + "' of key '" + id +
                                         "' is not a number");
            defaultValue = *parsed;
        }
        if (key.owner == "edge") {
            keys.edge.declareFeature(id, name, defaultValue);
        } else if (key.owner == "node") {
            if (isPositionName(name)) {
                const int component = name[0] - 'x';
                if (!std::isfinite(defaultValue))
                    throw std::runtime_error("default value of position key '" + id + "' is not a finite number");
                keys.node.slots[id] = Slot{true, component};
                keys.node.positionDefault[component] = defaultValue;
                keys.threeDimensional = keys.threeDimensional || component == 2;
            } else {
                keys.node.declareFeature(id, name, defaultValue);
            }
        }
        // Keys for the graph or for all elements carry no node or edge values.
    }
    return keys;
}

/// Builds the graph from the parser's events. Element depths: graphml 1; key and graph 2; default,
/// node, edge and graph data 3; node and edge data 4.
class GraphBuilder {
public:
    /// Applies one event; throws std::runtime_error for errors in the graph.
    void apply(XmlPullParser::Event event, const XmlPullParser& parser) {
        const int depth = parser.depth();
        if (event == XmlPullParser::Event::Text) {
            if (m_collecting && depth == m_collectDepth)
                m_text += parser.text();
        } else if (event == XmlPullParser::Event::StartElement) {
            m_sawElement = true;
            start(parser, depth);
        } else if (event == XmlPullParser::Event::EndElement) {
            end(parser, depth);
        }
    }

    /// The graph once the document ended; throws when it has none.
    std::unique_ptr<Graph> finish() {
        if (!m_sawGraphml)
            throw std::runtime_error("no graphml root element");
        return std::move(m_graph);
    }
    bool sawElement() const { return m_sawElement; }

private:
    enum class Place { Outside, Graphml, Key, Graph, Node, Edge };

    void collect(int depth) {
        m_collecting = true;
        m_collectDepth = depth;
        m_text.clear();
    }

    void start(const XmlPullParser& parser, int depth) {
        const std::string& name = parser.name();
        if (depth == 1 && name == "graphml" && !m_sawGraphml) {
            m_sawGraphml = true;
            m_place = Place::Graphml;
        } else if (depth == 2 && m_place == Place::Graphml && name == "key") {
            if (m_graphStarted)
                throw std::runtime_error("key '" + value(parser.attribute("id")) + "' is declared after the graph");
            m_keyRecords.push_back(KeyRecord{optional(parser.attribute("id")), optional(parser.attribute("for")),
                                             optional(parser.attribute("attr.name")), std::nullopt});
            m_place = Place::Key;
        } else if (depth == 2 && m_place == Place::Graphml && name == "graph" && !m_graphStarted) {
            startGraph(parser);
        } else if (depth == 3 && m_place == Place::Key && name == "default" && !m_keyRecords.back().defaultText) {
            collect(depth);
        } else if (depth == 3 && m_place == Place::Graph && name == "node") {
            startNode(parser);
        } else if (depth == 3 && m_place == Place::Graph && name == "edge") {
            startEdge(parser);
        } else if (depth == 3 && m_place == Place::Graph && name == "data") {
            m_dataKey = value(parser.attribute("key"));
            collect(depth);
        } else if (depth == 4 && (m_place == Place::Node || m_place == Place::Edge) && name == "data") {
            const std::string* key = parser.attribute("key");
            const KeySet& keys = m_place == Place::Node ? m_keys.node : m_keys.edge;
            m_slot = key ? keys.slots.find(*key) : keys.slots.end();
            if (m_slot != keys.slots.end()) {
                m_dataKey = *key;
                collect(depth);
            }
        }
    }

    void end(const XmlPullParser& parser, int depth) {
        if (m_collecting && depth == m_collectDepth) {
            m_collecting = false;
            if (m_place == Place::Key)
                m_keyRecords.back().defaultText = m_text;
            else if (m_place == Place::Graph)
                readFrame();
            else
                readData();
            return;
        }
        if (depth == 1 && m_place == Place::Graphml) {
            m_place = Place::Outside;
            if (!m_graphStarted) {
                readKeys(m_keyRecords);
                throw std::runtime_error("no graph element");
            }
        } else if (depth == 2 && m_place == Place::Key) {
            m_place = Place::Graphml;
        } else if (depth == 2 && m_place == Place::Graph) {
            m_place = Place::Graphml; // later graph elements are not read
            addPendingEdges();
        } else if (depth == 3 && m_place == Place::Node) {
            m_place = Place::Graph;
            m_nodeEntry->second = m_graph->addNode(std::move(m_node));
        } else if (depth == 3 && m_place == Place::Edge) {
            m_place = Place::Graph;
            if (m_pending.empty() && m_from && m_to)
                m_graph->addEdge(*m_from, *m_to, std::move(m_edge));
            else
                m_pending.push_back(PendingEdge{m_source, m_target, std::move(m_edge)});
        }
    }

    void startGraph(const XmlPullParser& parser) {
        m_graphStarted = true;
        m_place = Place::Graph;
        m_keys = readKeys(m_keyRecords);
        m_graph = std::make_unique<Graph>(Graph::Undirected, m_keys.threeDimensional ? Graph::Dim3D : Graph::Dim2D);
        m_graph->clearFeatureDescriptors();
        m_graph->addNodeFeatureDescriptors(m_keys.node.features);
        m_graph->addEdgeFeatureDescriptors(m_keys.edge.features);
        const std::string* edgeDefault = parser.attribute("edgedefault");
        m_graph->setType(edgeDefault && *edgeDefault == "directed" ? Graph::Directed : Graph::Undirected);
        m_nodeDefaults = m_keys.node.featureDefaults();
        m_edgeDefaults = m_keys.edge.featureDefaults();
    }

    void startNode(const XmlPullParser& parser) {
        const std::string* fileId = parser.attribute("id");
        if (!fileId)
            throw std::runtime_error("a node element has no id");
        const auto inserted = m_nodeIds.try_emplace(*fileId, 0);
        if (!inserted.second)
            throw std::runtime_error("node id '" + *fileId + "' is used twice");
        m_nodeEntry = inserted.first;
        m_node = Graph::NodeInfo(m_keys.node.positionDefault, m_nodeDefaults);
        m_place = Place::Node;
    }

    void startEdge(const XmlPullParser& parser) {
        m_source = value(parser.attribute("source"));
        m_target = value(parser.attribute("target"));
        m_from = find(m_source);
        m_to = find(m_target);
        m_edge = Graph::EdgeInfo();
        m_edge.features = m_edgeDefaults;
        m_place = Place::Edge;
    }

    /// Applies a node or edge data element whose text was collected.
    void readData() {
        const std::optional<double> number = parseNumber(m_text);
        const bool node = m_place == Place::Node;
        const auto owner = [&] {
            return node ? "node '" + m_nodeEntry->first + "'" : "edge '" + m_source + "' -> '" + m_target + "'";
        };
        if (!number)
            throw std::runtime_error(owner() + ": value '" + m_text + "' of key '" + m_dataKey + "' is not a number");
        const Slot slot = m_slot->second;
        if (!node) {
            m_edge.features[slot.index] = *number;
        } else if (!slot.isPosition) {
            m_node.features[slot.index] = *number;
        } else if (!std::isfinite(*number)) {
            throw std::runtime_error(owner() + ": position " + "xyz"[slot.index] + " is not a finite number");
        } else {
            m_node.position[slot.index] = *number;
        }
    }

    /// A graph data element that names the coordinate frame (key "coordinateFrame", or a graph key of
    /// that attr.name): "RAS" places the positions through the LPS-to-RAS mirror (its own inverse);
    /// "LPS" or no marker leaves the identity. The first one counts.
    void readFrame() {
        bool isFrame = m_dataKey == "coordinateFrame";
        for (const KeyRecord& key : m_keyRecords)
            isFrame = isFrame || (key.id == m_dataKey && key.owner == "graph" && key.attrName == "coordinateFrame");
        if (!isFrame || m_frameRead)
            return;
        if (m_text != "RAS" && m_text != "LPS")
            throw std::runtime_error("unknown coordinate frame '" + m_text + "' (LPS or RAS)");
        m_frameRead = true;
        if (m_text == "RAS")
            m_graph->setMatrixToWorld(Eigen::Vector4d(-1, -1, 1, 1).asDiagonal());
    }

    /// Edges met before one of their nodes, and all edges after them (to keep the file's order), once
    /// every node is known.
    void addPendingEdges() {
        for (PendingEdge& edge : m_pending) {
            const auto from = find(edge.source), to = find(edge.target);
            if (!from || !to)
                throw std::runtime_error("Edge refers to undefined node: " + edge.source + " or " + edge.target);
            m_graph->addEdge(*from, *to, std::move(edge.info));
        }
        m_pending.clear();
    }

    std::optional<unsigned long> find(const std::string& fileId) const {
        const auto found = m_nodeIds.find(fileId);
        return found == m_nodeIds.end() ? std::nullopt : std::optional<unsigned long>(found->second);
    }
    static std::string value(const std::string* text) { return text ? *text : std::string(); }
    static std::optional<std::string> optional(const std::string* text) {
        return text ? std::optional<std::string>(*text) : std::nullopt;
    }

    struct PendingEdge {
        std::string source, target;
        Graph::EdgeInfo info;
    };

    bool m_sawElement = false, m_sawGraphml = false, m_graphStarted = false, m_frameRead = false;
    Place m_place = Place::Outside;
    std::vector<KeyRecord> m_keyRecords;
    Keys m_keys;
    std::unique_ptr<Graph> m_graph;
    std::vector<double> m_nodeDefaults, m_edgeDefaults;
    std::unordered_map<std::string, unsigned long> m_nodeIds;

    bool m_collecting = false;
    int m_collectDepth = 0;
    std::string m_text, m_dataKey;
    std::unordered_map<std::string, Slot>::const_iterator m_slot;

    std::unordered_map<std::string, unsigned long>::iterator m_nodeEntry;
    Graph::NodeInfo m_node;
    std::string m_source, m_target;
    std::optional<unsigned long> m_from, m_to;
    Graph::EdgeInfo m_edge;
    std::vector<PendingEdge> m_pending;
};

} // namespace

std::unique_ptr<Graph> GraphMLReader::read(std::istream& in) {
    XmlPullParser parser(in, maxNestingDepth);
    GraphBuilder builder;
    std::string graphError;
    try {
        for (auto event = parser.next(); event != XmlPullParser::Event::EndOfDocument; event = parser.next()) {
            if (graphError.empty()) {
                try {
                    builder.apply(event, parser);
                } catch (const std::exception& error) {
                    graphError = error.what();
                    builder = GraphBuilder(); // frees the graph; the parse goes on for XML errors
                }
            }
        }
    } catch (const XmlPullParser::Error& error) {
        if (error.line == 0)
            TW_LOG_ERROR("Could not parse GraphML input: {}", error.what());
        else
            TW_LOG_ERROR("Could not parse GraphML input: {} (line {})", error.what(), error.line);
        return nullptr;
    }
    if (graphError.empty() && !builder.sawElement()) {
        TW_LOG_ERROR("Parsed GraphML tree is empty");
        return nullptr;
    }
    std::unique_ptr<Graph> graph;
    try {
        if (graphError.empty())
            graph = builder.finish();
    } catch (const std::exception& error) {
        graphError = error.what();
    }
    if (!graph) {
        TW_LOG_ERROR("Error during parsing of file: {}", graphError);
        return nullptr;
    }
    TW_LOG_INFO("Imported {}D graph with {} nodes, {} edges, {} edge feature(s) and {} node feature(s).",
                graph->dimension() == Graph::Dim3D ? 3 : 2, graph->numNodes(), graph->numEdges(),
                graph->edgeFeatureDescriptors().size(), graph->nodeFeatureDescriptors().size());
    return graph;
}

} // namespace Tarnwick
