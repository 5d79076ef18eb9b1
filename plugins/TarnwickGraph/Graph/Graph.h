#pragma once

#include <TarnwickCore/Properties.h>
#include <TarnwickLib/Data/Data.h>

#include <Eigen/Core>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

/// A spatial graph: nodes with a 3-D position and named double features, joined by directed or
/// undirected edges with named double features. Every node and edge also carries free-form attributes.
///
/// Storage: an ordered node table (id -> node info and adjacency); each adjacency is an ordered map
/// from neighbour id to an optional edge record. All iteration runs in ascending id order.
/// - Undirected: an edge {u, v}, u != v, is stored twice, engaged under v in u's adjacency and under u
///   in v's adjacency, and both copies are kept equal. A self loop is stored once.
/// - Directed: an edge u -> v is engaged under v in u's adjacency; v's adjacency holds u as an empty
///   back-reference unless v -> u exists too. A self loop is one engaged entry.
/// Feature vectors always have as many entries as there are descriptors of their kind.
///
/// Ids are 64-bit; `addNode` takes the largest id ever used plus one, so ids are never reused.
/// Unknown ids are silent no-ops except for `addEdge`, `editEdge` on a broken mirror and the sweep from
/// a start node, which throw std::out_of_range("map::at"). No locking: concurrent reads are safe,
/// mutation must be exclusive.
class Graph : public Data {
public:
    enum Type : std::uint32_t { Directed = 0, Undirected = 1 };
    enum Dimension : std::uint32_t { Dim2D = 0, Dim3D = 1 };
    enum DegreeType : std::uint32_t { Total = 0, In = 1, Out = 2 };
    /// BreadthFirst visits first-in first-out; any other value behaves as DepthFirst (last-in first-out).
    enum TraversalStrategy : std::uint32_t { BreadthFirst = 0, DepthFirst = 1 };

    /// Labels of Type and Dimension in value order, as shown in parameter lists.
    static constexpr const char* typeLabels = "Directed,Undirected";
    static constexpr const char* dimensionLabels = "2D,3D";

    /// One feature column: its name and the value given to nodes or edges that lack it.
    struct FeatureDescriptor {
        std::string name;
        double defaultValue = 0.0;
        bool operator==(const FeatureDescriptor& other) const {
            return name == other.name && defaultValue == other.defaultValue;
        }
    };

    struct NodeInfo {
        NodeInfo() = default;
        NodeInfo(const Eigen::Vector3d& position, std::vector<double> features, Properties attributes = Properties())
            : position(position), features(std::move(features)), attributes(std::move(attributes)) {}

        Eigen::Vector3d position = Eigen::Vector3d::Zero(); ///< graph coordinates; 2-D graphs use x and y
        std::vector<double> features;                       ///< entry i belongs to node descriptor i
        Properties attributes;

        /// Plain value comparison (a NaN feature compares unequal, as doubles do).
        bool operator==(const NodeInfo& other) const {
            return position == other.position && features == other.features && attributes == other.attributes;
        }
        bool operator!=(const NodeInfo& other) const { return !(*this == other); }
    };

    struct EdgeInfo {
        EdgeInfo() = default;
        EdgeInfo(std::vector<double> features, Properties attributes = Properties())
            : features(std::move(features)), attributes(std::move(attributes)) {}

        std::vector<double> features; ///< entry i belongs to edge descriptor i
        Properties attributes;

        /// Plain value comparison (a NaN feature compares unequal, as doubles do).
        bool operator==(const EdgeInfo& other) const {
            return features == other.features && attributes == other.attributes;
        }
        bool operator!=(const EdgeInfo& other) const { return !(*this == other); }
    };

    /// A node's adjacency: neighbour id -> edge record (empty for a directed back-reference).
    using Neighborhood = std::map<unsigned long, std::optional<EdgeInfo>>;

    /// An empty graph of the given kind, named "Graph", with the edge feature "diameter" (default 0)
    /// and a display-options component.
    Graph(Type type, Dimension dimension);
    Graph& operator=(const Graph&) = delete;
    ~Graph() override;

    /// Deep copy: name, placement and components of the data set, the node table with all adjacencies,
    /// type, dimension, the largest id ever used and both descriptor lists. Signal connections are not copied.
    std::unique_ptr<Graph> clone() const;

    // --- data set interface -------------------------------------------------------------------------
    Kind kind() const override { return Unknown; }
    Modality modality() const override { return NA; }
    int matrixConvention() const override { return ToWorld; }
    /// Box around every node position mapped by matrixToWorld(); empty for a graph without nodes.
    Geometry::AlignedBox bounds() const override;

    // --- kind and size ------------------------------------------------------------------------------
    Type type() const { return m_type; }
    Dimension dimension() const { return m_dimension; }
    /// Changes the type, as a file loader does before reading edges. Refused (false, error logged) while
    /// the graph has edges, because the two types store edges differently.
    bool setType(Type type);
    /// The dimension is a tag only: positions keep three coordinates either way.
    void setDimension(Dimension dimension) { m_dimension = dimension; }
    std::size_t numNodes() const { return m_nodes.size(); }
    /// Number of edges; an undirected edge and a self loop count once. Constant time.
    unsigned long numEdges() const { return m_numEdges; }
    /// Largest id ever added (0 for a new graph); removing nodes never lowers it.
    unsigned long maxNodeId() const { return m_maxNodeId; }
    /// Restores the largest id ever used (file loading). It only grows: smaller values are ignored, so an
    /// id in use is never handed out again.
    void setMaxNodeId(unsigned long id);

    // --- nodes --------------------------------------------------------------------------------------
    /// Adds a node under maxNodeId() + 1 and returns that id. Throws std::overflow_error when the id
    /// range is exhausted.
    unsigned long addNode(NodeInfo info);
    /// Replaces position, features and attributes of an existing node (its edges stay) or inserts a new
    /// node without edges. Any id, 0 included, is accepted; maxNodeId() grows to at least id.
    void addOrReplaceNode(unsigned long id, NodeInfo info);
    /// Removes the node and every edge into or out of it. Unknown id: no effect.
    void removeNode(unsigned long id);
    /// Applies fn to the node's info, then conforms its features. Unknown id: no effect.
    void editNode(unsigned long id, const std::function<void(NodeInfo&)>& fn);
    bool hasNode(unsigned long id) const { return m_nodes.count(id) != 0; }
    /// The node's adjacency as stored; an empty map for an unknown id.
    const Neighborhood& neighborhood(unsigned long id) const;

    // --- edges --------------------------------------------------------------------------------------
    /// Adds the edge from -> to (conforming its features). Undirected: an existing edge is kept unchanged.
    /// Directed: an existing edge is overwritten. Throws std::out_of_range("map::at") before storing
    /// anything when either node is missing.
    void addEdge(unsigned long from, unsigned long to, EdgeInfo info);
    /// Removes the edge from -> to. Directed with a reverse edge to -> from: from's entry becomes the
    /// back-reference of that reverse edge. No effect when from's adjacency has no key `to`.
    void removeEdge(unsigned long from, unsigned long to);
    /// The stored record under key `to` in from's adjacency; an empty optional when there is none
    /// (in a directed graph also for the reverse direction of an edge).
    const std::optional<EdgeInfo>& edge(unsigned long from, unsigned long to) const;
    /// Applies fn to the stored edge from -> to, conforms it and, in an undirected graph, copies it to its
    /// mirror. No effect when there is no engaged record.
    void editEdge(unsigned long from, unsigned long to, const std::function<void(EdgeInfo&)>& fn);
    /// Undirected: number of adjacency entries, a self loop counting twice (any type). Directed: Out counts
    /// out-edges, In in-edges (a self loop once each, and an in-edge whose reverse edge exists too), Total
    /// both. 0 for an unknown node or type. O(entries) for Out, O(entries * log N) for In and Total.
    unsigned int degree(unsigned long id, DegreeType type) const;

    // --- feature descriptors ------------------------------------------------------------------------
    const std::vector<FeatureDescriptor>& nodeFeatureDescriptors() const { return m_nodeDescriptors; }
    const std::vector<FeatureDescriptor>& edgeFeatureDescriptors() const { return m_edgeDescriptors; }
    /// Index of the first descriptor with exactly this name.
    std::optional<int> getNodeFeatureIdx(const std::string& name) const;
    std::optional<int> getEdgeFeatureIdx(const std::string& name) const;
    /// Existing index, or a new last column filled with defaultValue everywhere.
    int getOrCreateNodeFeatureIdx(const std::string& name, double defaultValue);
    int getOrCreateEdgeFeatureIdx(const std::string& name, double defaultValue);
    /// Appends columns (duplicate names allowed; lookups find the first) and fills them with their defaults.
    void addNodeFeatureDescriptors(const std::vector<FeatureDescriptor>& descriptors);
    void addEdgeFeatureDescriptors(const std::vector<FeatureDescriptor>& descriptors);
    /// Removes the listed columns everywhere, keeping the order of the rest. Out-of-range indices,
    /// duplicates and unknown names are ignored.
    void removeNodeFeatures(const std::vector<unsigned long>& indices);
    void removeNodeFeatures(const std::vector<std::string>& names);
    void removeEdgeFeatures(const std::vector<unsigned long>& indices);
    void removeEdgeFeatures(const std::vector<std::string>& names);
    /// Drops every node and edge column, "diameter" included.
    void clearFeatureDescriptors();
    /// Truncates or extends (with descriptor defaults) a feature vector to the descriptor count.
    void fixNodeInfo(NodeInfo& info) const;
    void fixEdgeInfo(EdgeInfo& info) const;

    // --- iteration (ascending ids; see GraphTraversal.cpp) -------------------------------------------
    using NodeFn = std::function<void(unsigned long, const NodeInfo&)>;
    using NodeAdjacencyFn = std::function<void(unsigned long, const NodeInfo&, const Neighborhood&)>;
    using NodeEditFn = std::function<void(unsigned long, NodeInfo&)>;
    using NodeAdjacencyEditFn = std::function<void(unsigned long, NodeInfo&, const Neighborhood&)>;
    using NodeReachedFn = std::function<void(unsigned long, const NodeInfo&, const EdgeInfo*)>;

    using EdgeFn = std::function<void(const EdgeInfo&, unsigned long, const NodeInfo&, unsigned long, const NodeInfo&)>;
    using EdgeNodesFn = std::function<void(const EdgeInfo&, const NodeInfo&, const NodeInfo&)>;
    using EdgeIdsFn = std::function<void(const EdgeInfo&, unsigned long, unsigned long)>;
    using EdgeEditFn = std::function<void(EdgeInfo&, unsigned long, const NodeInfo&, unsigned long, const NodeInfo&)>;
    using EdgeNodesEditFn = std::function<void(EdgeInfo&, const NodeInfo&, const NodeInfo&)>;
    using EdgeIdsEditFn = std::function<void(EdgeInfo&, unsigned long, unsigned long)>;

    using ChooseFn = std::function<const NodeInfo*(unsigned long, const NodeInfo&, const std::vector<const NodeInfo*>&,
                                                   const std::vector<unsigned long>&)>;
    using ChooseNodeFn =
        std::function<const NodeInfo*(unsigned long, const NodeInfo&, const std::vector<const NodeInfo*>&)>;
    using ChooseCandidateFn = std::function<const NodeInfo*(const std::vector<const NodeInfo*>&)>;

    /// Every node once, ascending id.
    void forEachNode(const NodeFn& fn) const;
    void forEachNode(const NodeAdjacencyFn& fn) const;
    /// As forEachNode with a mutable node; its features are conformed after each call.
    void editEachNode(const NodeEditFn& fn);
    void editEachNode(const NodeAdjacencyEditFn& fn);

    /// Every edge once: nodes u ascending, then engaged entries v ascending. Undirected edges are reported
    /// from their smaller end as (u, v), u <= v; directed edges as u -> v.
    void forEachEdge(const EdgeFn& fn) const;
    void forEachEdge(const EdgeNodesFn& fn) const;
    void forEachEdge(const EdgeIdsFn& fn) const;
    /// Same order with a mutable edge, conformed after each call; an undirected edge's mirror copy is
    /// made equal to it.
    void editEachEdge(const EdgeEditFn& fn);
    void editEachEdge(const EdgeNodesEditFn& fn);
    void editEachEdge(const EdgeIdsEditFn& fn);

    /// Breadth- or depth-first sweep from start along engaged entries (out-edges when directed), ascending
    /// neighbour order. A node is marked when scheduled, so depth-first pops the largest-id neighbour
    /// first, and each node is reported once with the edge of the node that scheduled it (null for start).
    /// Throws std::out_of_range("map::at") for an unknown start.
    void forEachNode(const NodeReachedFn& fn, unsigned long start, TraversalStrategy strategy) const;
    void forEachNode(const NodeFn& fn, unsigned long start, TraversalStrategy strategy) const;

    /// Guided walk from start: at each node the chooser gets the unvisited neighbours reached by engaged
    /// entries (ascending id) and returns one of their pointers to continue or anything else to stop.
    /// It is called with empty lists too. Unknown start: returns without calling the chooser.
    void traverse(unsigned long start, const ChooseFn& choose) const;
    void traverse(unsigned long start, const ChooseNodeFn& choose) const;
    void traverse(unsigned long start, const ChooseCandidateFn& choose) const;

private:
    struct NodeEntry {
        explicit NodeEntry(NodeInfo&& info) : info(std::move(info)) {}
        NodeInfo info;
        Neighborhood neighbors;
    };
    using NodeTable = std::map<unsigned long, NodeEntry>;

    Graph(const Graph& other);

    /// The entry of a node that must exist; throws std::out_of_range("map::at") otherwise.
    NodeEntry& entryAt(unsigned long id);
    const NodeEntry& entryAt(unsigned long id) const;
    /// Shared edge sweep of forEachEdge/editEachEdge: fn(edge, u, uEntry, v, vEntry) for every reported
    /// edge; Self is Graph or const Graph.
    template <typename Self, typename Fn>
    static void sweepEdges(Self& self, Fn&& fn);
    void removeFeatureColumns(const std::vector<unsigned long>& indices, bool nodeColumns);
    void conformAllEdges();

    Type m_type;
    Dimension m_dimension;
    NodeTable m_nodes;
    unsigned long m_maxNodeId = 0;
    unsigned long m_numEdges = 0;
    std::vector<FeatureDescriptor> m_nodeDescriptors;
    std::vector<FeatureDescriptor> m_edgeDescriptors;
    const Neighborhood m_emptyNeighborhood;
};

} // namespace Tarnwick
