// GraphML is parsed by the XML parser of Boost.PropertyTree (its bundled rapidxml) into that parser's
// in-place document, and the graph is read from the document with the property tree's rules: an
// element's text is the concatenation of its text and CDATA children, attributes are found by name
// (the first one wins), entities are decoded, and comments, declarations and processing instructions
// are not part of the tree. Building the property tree itself is skipped: it needs about 25 times the
// file size in small heap blocks (9.5 GB for a 360 MB file of a million nodes and edges), the parser's
// document about 4 times.
#include <TarnwickGraph/IO/GraphMLReader.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/Graph.h>

#include <boost/property_tree/detail/rapidxml.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <istream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Tarnwick {

namespace {

namespace rx = boost::property_tree::detail::rapidxml;
using Element = rx::xml_node<char>;

/// The parser recurses once per nesting level; deeper documents are refused before parsing so that
/// hostile input cannot exhaust the stack. GraphML needs four levels.
constexpr int maxNestingDepth = 256;
constexpr std::size_t readChunkSize = 1 << 20;

/// The number of bytes left in a seekable stream, or 0 when it cannot tell.
std::size_t remainingSize(std::streambuf& buffer) {
    using Position = std::streambuf::pos_type;
    const Position here = buffer.pubseekoff(0, std::ios::cur, std::ios::in);
    const Position end = buffer.pubseekoff(0, std::ios::end, std::ios::in);
    if (here == Position(-1) || end == Position(-1) || buffer.pubseekpos(here, std::ios::in) != here)
        return 0;
    return static_cast<std::size_t>(end - here);
}

/// The whole stream, zero-terminated as the parser needs it: a file in one piece, other streams in
/// chunks, so memory grows only with the bytes actually read.
std::vector<char> readAll(std::istream& in) {
    std::vector<char> text;
    std::streambuf* buffer = in.rdbuf();
    for (std::size_t chunk = buffer ? std::max(remainingSize(*buffer), readChunkSize) : 0; chunk > 0;
         chunk = readChunkSize) {
        const std::size_t start = text.size();
        text.resize(start + chunk);
        const auto received = static_cast<std::size_t>(buffer->sgetn(text.data() + start, chunk));
        text.resize(start + received);
        if (received < chunk)
            break;
    }
    text.push_back('\0');
    return text;
}

bool startsWith(const char* p, const char* prefix) {
    return std::strncmp(p, prefix, std::strlen(prefix)) == 0;
}

/// Moves `p` past the first occurrence of `terminator` (or to the end of the text).
const char* skipPast(const char* p, const char* terminator) {
    while (*p && !startsWith(p, terminator))
        ++p;
    return *p ? p + std::strlen(terminator) : p;
}

/// The deepest element nesting of the text, found with the parser's own rules for where markup
/// starts and ends (text runs to the next '<'; comments, CDATA, processing instructions and document
/// type declarations are skipped as the parser skips them; quoted attribute values may hold '>'), so
/// that a document whose parse would recurse too deeply is refused before parsing.
int nestingDepth(const char* p) {
    int depth = 0;
    int deepest = 0;
    while (*p) {
        if (*p++ != '<')
            continue;
        if (startsWith(p, "!--")) {
            p = skipPast(p + 3, "-->");
        } else if (startsWith(p, "![CDATA[")) {
            p = skipPast(p + 8, "]]>");
        } else if (*p == '?') {
            p = skipPast(p + 1, "?>");
        } else if (startsWith(p, "!DOCTYPE") && p[8] && std::strchr(" \t\r\n", p[8])) {
            // Ends at the first '>' outside square brackets.
            for (int brackets = 0; *p && (*p != '>' || brackets > 0); ++p)
                brackets += *p == '[' ? 1 : (*p == ']' && brackets > 0) ? -1 : 0;
        } else if (*p == '!') {
            p = skipPast(p, ">");
        } else if (*p == '/') {
            --depth;
            p = skipPast(p, ">");
        } else {
            deepest = std::max(deepest, ++depth);
            char quote = 0;
            for (char previous = 0; *p; previous = *p++) {
                if (quote) {
                    quote = *p == quote ? 0 : quote;
                } else if (*p == '"' || *p == '\'') {
                    quote = *p;
                } else if (*p == '>') {
                    depth -= previous == '/' ? 1 : 0;
                    ++p;
                    break;
                }
            }
        }
    }
    return deepest;
}

/// The value of an XML attribute of `element`, or nothing when it has none.
std::optional<std::string_view> attribute(const Element& element, const char* name) {
    const rx::xml_attribute<char>* found = element.first_attribute(name);
    if (!found)
        return std::nullopt;
    return std::string_view(found->value(), found->value_size());
}

/// The text of an element: its text and CDATA children joined (`storage` holds a joined copy).
std::string_view elementText(const Element& element, std::string& storage) {
    const Element* first = nullptr;
    storage.clear();
    for (const Element* child = element.first_node(); child; child = child->next_sibling()) {
        if (child->type() != rx::node_data && child->type() != rx::node_cdata)
            continue;
        if (!first) {
            first = child;
            continue;
        }
        if (storage.empty())
            storage.assign(first->value(), first->value_size());
        storage.append(child->value(), child->value_size());
    }
    if (!storage.empty())
        return storage;
    return first ? std::string_view(first->value(), first->value_size()) : std::string_view();
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

bool isPositionName(std::optional<std::string_view> name) {
    return name == "x" || name == "y" || name == "z";
}

/// Keys name their values by id. Some writers number their key ids ("d0", "v_x") and put the name in
/// attr.name: when no node key id names a position but an attr.name does, every key is named by its
/// attr.name (by its id where it has none).
bool namesByAttrName(const Element& graphml) {
    bool positionId = false, positionAttrName = false;
    for (const Element* key = graphml.first_node("key"); key; key = key->next_sibling("key")) {
        if (attribute(*key, "for") != "node")
            continue;
        positionId = positionId || isPositionName(attribute(*key, "id"));
        positionAttrName = positionAttrName || isPositionName(attribute(*key, "attr.name"));
    }
    return !positionId && positionAttrName;
}

Keys readKeys(const Element& graphml) {
    Keys keys;
    // x and y always place nodes; z only once the file declares it (a 3-D graph).
    keys.node.slots["x"] = Slot{true, 0};
    keys.node.slots["y"] = Slot{true, 1};
    const bool byAttrName = namesByAttrName(graphml);
    if (byAttrName)
        TW_LOG_INFO("No GraphML key id names a node position; keys are mapped by their attr.name instead");
    std::string storage;
    for (const Element* key = graphml.first_node("key"); key; key = key->next_sibling("key")) {
        const auto found = attribute(*key, "id");
        if (!found)
            throw std::runtime_error("a key element has no id");
        const std::string id(*found);
        const std::string name(byAttrName ? attribute(*key, "attr.name").value_or(*found) : *found);
        double defaultValue = 0.0;
        if (const Element* defaultElement = key->first_node("default")) {
            const std::string_view text = elementText(*defaultElement, storage);
            const std::optional<double> parsed = parseNumber(text);
            if (!parsed)
                throw std::runtime_error("default value '" + std::string(text) + "' of key '" + id +
                                         "' is not a number");
            defaultValue = *parsed;
        }
        const auto owner = attribute(*key, "for");
        if (owner == "edge") {
            keys.edge.declareFeature(id, name, defaultValue);
        } else if (owner == "node") {
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

/// Reads the data children of node and edge elements, reusing its buffers.
class DataReader {
public:
    /// Applies the data children of `element` through `set(slot, value)`; `describe` names the
    /// element in error messages.
    template <typename Set, typename Describe>
    void read(const Element& element, const KeySet& keys, Set&& set, Describe&& describe) {
        for (const Element* data = element.first_node("data"); data; data = data->next_sibling("data")) {
            const auto key = attribute(*data, "key");
            if (!key)
                continue;
            m_key.assign(*key);
            const auto slot = keys.slots.find(m_key);
            if (slot == keys.slots.end())
                continue;
            const std::string_view text = elementText(*data, m_text);
            const std::optional<double> value = parseNumber(text);
            if (!value)
                throw std::runtime_error(describe() + ": value '" + std::string(text) + "' of key '" + m_key +
                                         "' is not a number");
            set(slot->second, *value);
        }
    }

private:
    std::string m_key;
    std::string m_text;
};

/// The coordinate frame a graph-level data element names (key "coordinateFrame", or a graph key of that
/// attr.name): true for "RAS", false for "LPS" or no marker (files written before the marker: LPS).
bool readsRasFrame(const Element& graphml, const Element& graphElement) {
    std::string text;
    for (const Element* data = graphElement.first_node("data"); data; data = data->next_sibling("data")) {
        const auto key = attribute(*data, "key");
        bool isFrame = key == "coordinateFrame";
        for (const Element* k = graphml.first_node("key"); k && key && !isFrame; k = k->next_sibling("key"))
            isFrame = attribute(*k, "id") == key && attribute(*k, "for") == "graph" &&
                      attribute(*k, "attr.name") == "coordinateFrame";
        if (!isFrame)
            continue;
        const std::string_view frame = elementText(*data, text);
        if (frame == "RAS" || frame == "LPS")
            return frame == "RAS";
        throw std::runtime_error("unknown coordinate frame '" + std::string(frame) + "' (LPS or RAS)");
    }
    return false;
}

std::unique_ptr<Graph> buildGraph(const rx::xml_document<char>& document) {
    const Element* graphml = document.first_node("graphml");
    if (!graphml)
        throw std::runtime_error("no graphml root element");
    const Keys keys = readKeys(*graphml);

    auto graph = std::make_unique<Graph>(Graph::Undirected, keys.threeDimensional ? Graph::Dim3D : Graph::Dim2D);
    graph->clearFeatureDescriptors();
    graph->addNodeFeatureDescriptors(keys.node.features);
    graph->addEdgeFeatureDescriptors(keys.edge.features);

    const Element* graphElement = graphml->first_node("graph");
    if (!graphElement)
        throw std::runtime_error("no graph element");
    graph->setType(attribute(*graphElement, "edgedefault") == "directed" ? Graph::Directed : Graph::Undirected);
    // RAS positions: the LPS-to-RAS mirror (its own inverse) places them in the LPS world.
    if (readsRasFrame(*graphml, *graphElement))
        graph->setMatrixToWorld(Eigen::Vector4d(-1, -1, 1, 1).asDiagonal());

    DataReader data;
    std::unordered_map<std::string, unsigned long> nodeIds;
    const std::vector<double> nodeDefaults = keys.node.featureDefaults();
    for (const Element* element = graphElement->first_node("node"); element; element = element->next_sibling("node")) {
        const auto fileId = attribute(*element, "id");
        if (!fileId)
            throw std::runtime_error("a node element has no id");
        // No structured binding: the lambdas below capture the entry (clang refuses captured bindings).
        const auto inserted = nodeIds.try_emplace(std::string(*fileId), 0);
        const auto entry = inserted.first;
        if (!inserted.second)
            throw std::runtime_error("node id '" + entry->first + "' is used twice");
        Graph::NodeInfo node(keys.node.positionDefault, nodeDefaults);
        data.read(
            *element, keys.node,
            [&](Slot slot, double value) {
                if (slot.isPosition && !std::isfinite(value))
                    throw std::runtime_error("node '" + entry->first + "': position " + "xyz"[slot.index] +
                                             " is not a finite number");
                (slot.isPosition ? node.position[slot.index] : node.features[slot.index]) = value;
            },
            [&] { return "node '" + entry->first + "'"; });
        entry->second = graph->addNode(std::move(node));
    }

    const std::vector<double> edgeDefaults = keys.edge.featureDefaults();
    for (const Element* element = graphElement->first_node("edge"); element; element = element->next_sibling("edge")) {
        const std::string source(attribute(*element, "source").value_or(""));
        const std::string target(attribute(*element, "target").value_or(""));
        const auto from = nodeIds.find(source);
        const auto to = nodeIds.find(target);
        if (from == nodeIds.end() || to == nodeIds.end())
            throw std::runtime_error("Edge refers to undefined node: " + source + " or " + target);
        Graph::EdgeInfo edge;
        edge.features = edgeDefaults;
        data.read(
            *element, keys.edge, [&](Slot slot, double value) { edge.features[slot.index] = value; },
            [&] { return "edge '" + source + "' -> '" + target + "'"; });
        graph->addEdge(from->second, to->second, std::move(edge));
    }
    return graph;
}

} // namespace

std::unique_ptr<Graph> GraphMLReader::read(std::istream& in) {
    std::vector<char> text = readAll(in);
    if (nestingDepth(text.data()) > maxNestingDepth) {
        TW_LOG_ERROR("Could not parse GraphML input: elements nested deeper than {} levels", maxNestingDepth);
        return nullptr;
    }
    rx::xml_document<char> document;
    try {
        document.parse<rx::parse_default>(text.data());
    } catch (const rx::parse_error& error) {
        const auto line = 1 + std::count(text.data(), error.where<char>(), '\n');
        TW_LOG_ERROR("Could not parse GraphML input: {} (line {})", error.what(), line);
        return nullptr;
    }
    if (!document.first_node()) {
        TW_LOG_ERROR("Parsed GraphML tree is empty");
        return nullptr;
    }
    std::unique_ptr<Graph> graph;
    try {
        graph = buildGraph(document);
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
