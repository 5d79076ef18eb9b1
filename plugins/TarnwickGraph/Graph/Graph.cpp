#include <TarnwickGraph/Graph/Graph.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/GraphDisplayOptions.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace Tarnwick {

namespace {

/// Resizes a feature vector to the descriptor count, filling added entries with the descriptor defaults.
void conform(std::vector<double>& features, const std::vector<Graph::FeatureDescriptor>& descriptors) {
    const std::size_t n = descriptors.size();
    if (features.size() == n)
        return;
    const std::size_t old = features.size();
    features.resize(n);
    for (std::size_t i = old; i < n; ++i)
        features[i] = descriptors[i].defaultValue;
}

std::optional<int> findDescriptor(const std::vector<Graph::FeatureDescriptor>& descriptors, const std::string& name) {
    for (std::size_t i = 0; i < descriptors.size(); ++i)
        if (descriptors[i].name == name)
            return static_cast<int>(i);
    return std::nullopt;
}

/// Column indices of the known names; unknown names are skipped.
std::vector<unsigned long> indicesOf(const std::vector<Graph::FeatureDescriptor>& descriptors,
                                     const std::vector<std::string>& names) {
    std::vector<unsigned long> indices;
    for (const auto& name : names)
        if (auto index = findDescriptor(descriptors, name))
            indices.push_back(static_cast<unsigned long>(*index));
    return indices;
}

/// keep[i] is false for the listed columns; indices out of range are ignored.
std::vector<bool> keptColumns(std::size_t count, const std::vector<unsigned long>& removed) {
    std::vector<bool> keep(count, true);
    for (unsigned long index : removed)
        if (index < count)
            keep[index] = false;
    return keep;
}

template <typename T>
void eraseColumns(std::vector<T>& values, const std::vector<bool>& keep) {
    std::size_t out = 0;
    for (std::size_t i = 0; i < values.size() && i < keep.size(); ++i)
        if (keep[i])
            values[out++] = std::move(values[i]);
    values.resize(out);
}

} // namespace

Graph::Graph(Type type, Dimension dimension)
    : Data("Graph"), m_type(type), m_dimension(dimension), m_edgeDescriptors{{"diameter", 0.0}} {
    components().getOrAdd<GraphDisplayOptions>();
}

Graph::Graph(const Graph& other) = default;

Graph::~Graph() = default;

std::unique_ptr<Graph> Graph::clone() const {
    return std::unique_ptr<Graph>(new Graph(*this)); // the copy constructor is private
}

Geometry::AlignedBox Graph::bounds() const {
    Geometry::AlignedBox box;
    const Eigen::Matrix4d toWorld = matrixToWorld();
    for (const auto& [id, entry] : m_nodes) {
        const Eigen::Vector4d world = toWorld * entry.info.position.homogeneous();
        box.addPoint(world.head<3>());
    }
    return box;
}

bool Graph::setType(Type type) {
    if (type != m_type && m_numEdges != 0) {
        TW_LOG_ERROR("Cannot change the type of a graph that has edges.");
        return false;
    }
    m_type = type;
    return true;
}

void Graph::setMaxNodeId(unsigned long id) {
    m_maxNodeId = std::max(m_maxNodeId, id);
}

// --- nodes ------------------------------------------------------------------------------------------

Graph::NodeEntry& Graph::entryAt(unsigned long id) {
    // Graphs are mostly built in ascending id order, so the node asked for is often the last one.
    if (!m_nodes.empty() && m_nodes.rbegin()->first == id)
        return m_nodes.rbegin()->second;
    auto it = m_nodes.find(id);
    if (it == m_nodes.end())
        throw std::out_of_range("map::at");
    return it->second;
}

const Graph::NodeEntry& Graph::entryAt(unsigned long id) const {
    return const_cast<Graph*>(this)->entryAt(id);
}

unsigned long Graph::addNode(NodeInfo info) {
    if (m_maxNodeId == std::numeric_limits<unsigned long>::max())
        throw std::overflow_error("Graph::addNode: no node id left above the largest one in use");
    const unsigned long id = m_maxNodeId + 1;
    addOrReplaceNode(id, std::move(info));
    return id;
}

void Graph::addOrReplaceNode(unsigned long id, NodeInfo info) {
    fixNodeInfo(info);
    // Ids usually arrive in ascending order: append at the end without a search.
    auto hint = m_nodes.end();
    if (!m_nodes.empty() && id <= m_nodes.rbegin()->first) {
        hint = m_nodes.lower_bound(id);
        if (hint->first == id) {
            hint->second.info = std::move(info);
            m_maxNodeId = std::max(m_maxNodeId, id);
            return;
        }
    }
    m_nodes.emplace_hint(hint, std::piecewise_construct, std::forward_as_tuple(id),
                         std::forward_as_tuple(std::move(info)));
    m_maxNodeId = std::max(m_maxNodeId, id);
}

void Graph::removeNode(unsigned long id) {
    auto it = m_nodes.find(id);
    if (it == m_nodes.end())
        return;
    unsigned long removedEdges = 0;
    for (const auto& [neighbor, edge] : it->second.neighbors) {
        if (edge)
            ++removedEdges;
        if (neighbor == id)
            continue;
        auto other = m_nodes.find(neighbor);
        if (other == m_nodes.end())
            continue;
        auto back = other->second.neighbors.find(id);
        if (back == other->second.neighbors.end())
            continue;
        // An engaged entry at the neighbour is a directed edge into this node (undirected mirrors are
        // already counted from this side).
        if (m_type == Directed && back->second)
            ++removedEdges;
        other->second.neighbors.erase(back);
    }
    m_numEdges -= removedEdges;
    m_nodes.erase(it);
}

void Graph::editNode(unsigned long id, const std::function<void(NodeInfo&)>& fn) {
    auto it = m_nodes.find(id);
    if (it == m_nodes.end())
        return;
    fn(it->second.info);
    fixNodeInfo(it->second.info);
}

const Graph::Neighborhood& Graph::neighborhood(unsigned long id) const {
    auto it = m_nodes.find(id);
    return it == m_nodes.end() ? m_emptyNeighborhood : it->second.neighbors;
}

// --- edges ------------------------------------------------------------------------------------------

void Graph::addEdge(unsigned long from, unsigned long to, EdgeInfo info) {
    fixEdgeInfo(info);
    NodeEntry& source = entryAt(from);
    NodeEntry& target = entryAt(to);
    if (m_type == Undirected) {
        // An existing undirected edge is kept as it is; a self loop is stored once.
        if (from == to) {
            if (source.neighbors.try_emplace(to, std::move(info)).second)
                ++m_numEdges;
            return;
        }
        if (!source.neighbors.try_emplace(to, info).second)
            return;
        target.neighbors.try_emplace(from, std::move(info));
        ++m_numEdges;
        return;
    }
    auto [entry, inserted] = source.neighbors.try_emplace(to);
    if (inserted || !entry->second)
        ++m_numEdges;
    entry->second = std::move(info); // an existing directed edge is overwritten
    target.neighbors.try_emplace(from);
}

void Graph::removeEdge(unsigned long from, unsigned long to) {
    auto sourceIt = m_nodes.find(from);
    auto targetIt = m_nodes.find(to);
    if (sourceIt == m_nodes.end() || targetIt == m_nodes.end())
        return;
    Neighborhood& source = sourceIt->second.neighbors;
    Neighborhood& target = targetIt->second.neighbors;
    auto entry = source.find(to);
    if (entry == source.end())
        return;
    if (entry->second)
        --m_numEdges;
    auto reverse = target.find(from);
    const bool reverseEdgeExists = reverse != target.end() && reverse->second;
    if (m_type == Directed && reverseEdgeExists && from != to) {
        entry->second.reset(); // becomes the back-reference of the surviving edge to -> from
        return;
    }
    source.erase(entry);
    if (from != to && reverse != target.end())
        target.erase(reverse);
}

const std::optional<Graph::EdgeInfo>& Graph::edge(unsigned long from, unsigned long to) const {
    static const std::optional<EdgeInfo> none;
    auto it = m_nodes.find(from);
    if (it == m_nodes.end())
        return none;
    auto entry = it->second.neighbors.find(to);
    return entry == it->second.neighbors.end() ? none : entry->second;
}

void Graph::editEdge(unsigned long from, unsigned long to, const std::function<void(EdgeInfo&)>& fn) {
    auto it = m_nodes.find(from);
    if (it == m_nodes.end())
        return;
    auto entry = it->second.neighbors.find(to);
    if (entry == it->second.neighbors.end() || !entry->second)
        return;
    fn(*entry->second);
    fixEdgeInfo(*entry->second);
    if (m_type == Undirected && from != to)
        entryAt(to).neighbors[from] = entry->second;
}

unsigned int Graph::degree(unsigned long id, DegreeType type) const {
    auto it = m_nodes.find(id);
    if (it == m_nodes.end())
        return 0;
    const Neighborhood& adjacency = it->second.neighbors;
    const bool selfLoop = adjacency.count(id) != 0;
    if (m_type == Undirected)
        return static_cast<unsigned int>(adjacency.size() + (selfLoop ? 1 : 0));
    unsigned int out = 0;
    unsigned int in = 0;
    for (const auto& [neighbor, stored] : adjacency) {
        if (!stored) {
            ++in; // a back-reference: an in-edge without reverse edge
            continue;
        }
        ++out;
        // A self loop counts once each way; an engaged entry hides a reverse edge neighbor -> id.
        if (type != Out && (neighbor == id || edge(neighbor, id)))
            ++in;
    }
    switch (type) {
    case Total:
        return in + out;
    case In:
        return in;
    case Out:
        return out;
    }
    return 0;
}

// --- feature descriptors ------------------------------------------------------------------------------

std::optional<int> Graph::getNodeFeatureIdx(const std::string& name) const {
    return findDescriptor(m_nodeDescriptors, name);
}

std::optional<int> Graph::getEdgeFeatureIdx(const std::string& name) const {
    return findDescriptor(m_edgeDescriptors, name);
}

int Graph::getOrCreateNodeFeatureIdx(const std::string& name, double defaultValue) {
    if (auto index = getNodeFeatureIdx(name))
        return *index;
    addNodeFeatureDescriptors({{name, defaultValue}});
    return static_cast<int>(m_nodeDescriptors.size() - 1);
}

int Graph::getOrCreateEdgeFeatureIdx(const std::string& name, double defaultValue) {
    if (auto index = getEdgeFeatureIdx(name))
        return *index;
    addEdgeFeatureDescriptors({{name, defaultValue}});
    return static_cast<int>(m_edgeDescriptors.size() - 1);
}

void Graph::addNodeFeatureDescriptors(const std::vector<FeatureDescriptor>& descriptors) {
    m_nodeDescriptors.insert(m_nodeDescriptors.end(), descriptors.begin(), descriptors.end());
    for (auto& [id, entry] : m_nodes)
        fixNodeInfo(entry.info);
}

void Graph::addEdgeFeatureDescriptors(const std::vector<FeatureDescriptor>& descriptors) {
    m_edgeDescriptors.insert(m_edgeDescriptors.end(), descriptors.begin(), descriptors.end());
    conformAllEdges();
}

void Graph::conformAllEdges() {
    for (auto& [id, entry] : m_nodes)
        for (auto& [neighbor, edge] : entry.neighbors)
            if (edge)
                fixEdgeInfo(*edge);
}

void Graph::removeFeatureColumns(const std::vector<unsigned long>& indices, bool nodeColumns) {
    auto& descriptors = nodeColumns ? m_nodeDescriptors : m_edgeDescriptors;
    const std::vector<bool> keep = keptColumns(descriptors.size(), indices);
    eraseColumns(descriptors, keep);
    for (auto& [id, entry] : m_nodes) {
        if (nodeColumns) {
            eraseColumns(entry.info.features, keep);
            continue;
        }
        for (auto& [neighbor, edge] : entry.neighbors)
            if (edge)
                eraseColumns(edge->features, keep);
    }
}

void Graph::removeNodeFeatures(const std::vector<unsigned long>& indices) {
    removeFeatureColumns(indices, true);
}

void Graph::removeNodeFeatures(const std::vector<std::string>& names) {
    removeNodeFeatures(indicesOf(m_nodeDescriptors, names));
}

void Graph::removeEdgeFeatures(const std::vector<unsigned long>& indices) {
    removeFeatureColumns(indices, false);
}

void Graph::removeEdgeFeatures(const std::vector<std::string>& names) {
    removeEdgeFeatures(indicesOf(m_edgeDescriptors, names));
}

void Graph::clearFeatureDescriptors() {
    m_nodeDescriptors.clear();
    m_edgeDescriptors.clear();
    for (auto& [id, entry] : m_nodes) {
        entry.info.features.clear();
        for (auto& [neighbor, edge] : entry.neighbors)
            if (edge)
                edge->features.clear();
    }
}

void Graph::fixNodeInfo(NodeInfo& info) const {
    conform(info.features, m_nodeDescriptors);
}

void Graph::fixEdgeInfo(EdgeInfo& info) const {
    conform(info.features, m_edgeDescriptors);
}

} // namespace Tarnwick
