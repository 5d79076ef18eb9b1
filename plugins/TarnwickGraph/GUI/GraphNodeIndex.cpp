#include <TarnwickGraph/GUI/GraphNodeIndex.h>

#include <TarnwickGraph/GUI/GraphNodeLookup.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace Tarnwick {

namespace {

/// Cells aimed at per indexed node: about eight nodes share a cell.
constexpr double nodesPerCell = 8.0;

Eigen::Vector3d toWorld(const Eigen::Matrix4d& matrix, const Eigen::Vector3d& position) {
    return (matrix * position.homogeneous()).head<3>();
}

std::optional<Eigen::Vector3d> nodePosition(const Graph& graph, unsigned long id) {
    const std::optional<Graph::NodeInfo> node = readNode(graph, id);
    return node ? std::optional<Eigen::Vector3d>(node->position) : std::nullopt;
}

/// Cell counts per axis for a box of this extent holding `count` points: cubic cells, except that
/// axes thinner than a cell get one cell and the others share the budget.
Eigen::Vector3i cellCounts(const Eigen::Vector3d& extent, std::size_t count) {
    const double target = std::max(1.0, double(count) / nodesPerCell);
    Eigen::Vector3i cells = Eigen::Vector3i::Ones();
    bool thick[3] = {true, true, true};
    for (int pass = 0; pass < 3; ++pass) {
        double volume = 1.0;
        int axes = 0;
        for (int i = 0; i < 3; ++i)
            if (thick[i]) {
                volume *= extent[i];
                ++axes;
            }
        if (axes == 0)
            break;
        const double size = std::pow(volume / target, 1.0 / axes);
        bool changed = false;
        for (int i = 0; i < 3; ++i)
            if (thick[i] && !(extent[i] > size)) {
                thick[i] = false;
                changed = true;
            }
        if (!changed) {
            for (int i = 0; i < 3; ++i)
                cells[i] = thick[i] ? int(std::clamp(std::ceil(extent[i] / size), 1.0, 1.0e6)) : 1;
            break;
        }
    }
    return cells;
}

} // namespace

void GraphNodeIndex::rebuild(const Graph& graph) {
    m_graph = &graph;
    m_matrix = graph.matrixToWorld();
    m_ids.clear();
    m_world.clear();
    m_ids.reserve(graph.numNodes());
    m_world.reserve(graph.numNodes());
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        m_ids.push_back(id);
        m_world.push_back(toWorld(m_matrix, node.position));
    });
    m_gridValid = false;
}

void GraphNodeIndex::update(const Graph& graph, const std::vector<unsigned long>& ids) {
    if (m_graph != &graph) {
        rebuild(graph);
        return;
    }
    std::vector<bool> erase;
    for (unsigned long id : ids) {
        const auto it = std::lower_bound(m_ids.begin(), m_ids.end(), id);
        const std::size_t slot = std::size_t(it - m_ids.begin());
        const bool indexed = it != m_ids.end() && *it == id;
        const std::optional<Eigen::Vector3d> position = nodePosition(graph, id);
        if (!position) {
            if (indexed) {
                erase.resize(m_ids.size(), false);
                erase[slot] = true;
            }
        } else if (indexed) {
            m_world[slot] = toWorld(m_matrix, *position);
        } else {
            if (!erase.empty())
                erase.insert(erase.begin() + std::ptrdiff_t(slot), false);
            m_ids.insert(it, id);
            m_world.insert(m_world.begin() + std::ptrdiff_t(slot), toWorld(m_matrix, *position));
        }
    }
    if (!erase.empty()) {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < m_ids.size(); ++i)
            if (!erase[i]) {
                m_ids[kept] = m_ids[i];
                m_world[kept] = m_world[i];
                ++kept;
            }
        m_ids.resize(kept);
        m_world.resize(kept);
    }
    m_gridValid = false;
}

void GraphNodeIndex::invalidate() {
    m_graph = nullptr;
    m_ids.clear();
    m_world.clear();
    m_gridValid = false;
}

bool GraphNodeIndex::isCurrentFor(const Graph& graph) const {
    return m_graph == &graph && m_ids.size() == graph.numNodes() && m_matrix == graph.matrixToWorld();
}

void GraphNodeIndex::buildGrid() const {
    m_gridValid = true;
    m_cellStart.assign(2, 0);
    m_cellSlots.clear();
    m_cells = Eigen::Vector3i::Ones();
    if (m_world.empty())
        return;
    Eigen::Vector3d low = m_world.front(), high = m_world.front();
    for (const Eigen::Vector3d& p : m_world) {
        low = low.cwiseMin(p);
        high = high.cwiseMax(p);
    }
    const Eigen::Vector3d extent = high - low;
    m_cells = cellCounts(extent, m_world.size());
    m_gridOrigin = low;
    for (int i = 0; i < 3; ++i)
        m_cellSize[i] = extent[i] > 0.0 ? extent[i] / m_cells[i] : 1.0;
    const std::size_t cellCount = std::size_t(m_cells.x()) * m_cells.y() * m_cells.z();
    std::vector<std::size_t> cellOf(m_world.size());
    m_cellStart.assign(cellCount + 1, 0);
    for (std::size_t slot = 0; slot < m_world.size(); ++slot) {
        Eigen::Vector3i c;
        for (int i = 0; i < 3; ++i)
            c[i] = std::clamp(int((m_world[slot][i] - low[i]) / m_cellSize[i]), 0, m_cells[i] - 1);
        cellOf[slot] = (std::size_t(c.z()) * m_cells.y() + c.y()) * m_cells.x() + c.x();
        ++m_cellStart[cellOf[slot] + 1];
    }
    for (std::size_t cell = 0; cell < cellCount; ++cell)
        m_cellStart[cell + 1] += m_cellStart[cell];
    std::vector<std::size_t> fill(m_cellStart.begin(), m_cellStart.end() - 1);
    m_cellSlots.resize(m_world.size());
    for (std::size_t slot = 0; slot < m_world.size(); ++slot)
        m_cellSlots[fill[cellOf[slot]]++] = slot;
}

template <typename Visit>
void GraphNodeIndex::query(const Eigen::Vector3d& origin, const Eigen::Vector3d& direction, double maxDistance,
                           double halfLength, Visit&& visit) const {
    const double length = direction.norm();
    if (!(length > 0.0) || !(maxDistance > 0.0) || m_world.empty())
        return;
    if (!m_gridValid)
        buildGrid();
    const Eigen::Vector3d unit = direction / length;
    const double maxSquared = maxDistance * maxDistance;
    const double cellReach = 0.5 * m_cellSize.norm();
    const double acrossLimit = maxDistance + cellReach, alongLimit = halfLength + cellReach;
    for (int z = 0; z < m_cells.z(); ++z) {
        for (int y = 0; y < m_cells.y(); ++y) {
            for (int x = 0; x < m_cells.x(); ++x) {
                const Eigen::Vector3d centre =
                    m_gridOrigin + (Eigen::Vector3d(x, y, z) + Eigen::Vector3d::Constant(0.5)).cwiseProduct(m_cellSize);
                const Eigen::Vector3d offset = centre - origin;
                const double along = offset.dot(unit);
                if (std::abs(along) > alongLimit || offset.squaredNorm() - along * along > acrossLimit * acrossLimit)
                    continue;
                const std::size_t cell = (std::size_t(z) * m_cells.y() + y) * m_cells.x() + x;
                for (std::size_t k = m_cellStart[cell]; k < m_cellStart[cell + 1]; ++k) {
                    const std::size_t slot = m_cellSlots[k];
                    const Eigen::Vector3d d = m_world[slot] - origin;
                    const double t = d.dot(unit);
                    const double squared = std::max(0.0, d.squaredNorm() - t * t);
                    if (squared < maxSquared && std::abs(t) <= halfLength)
                        visit(slot, squared);
                }
            }
        }
    }
}

std::optional<unsigned long> GraphNodeIndex::nearest(const Eigen::Vector3d& origin, const Eigen::Vector3d& direction,
                                                     double maxDistance, double halfLength) const {
    std::optional<std::size_t> best;
    double bestSquared = 0.0;
    query(origin, direction, maxDistance, halfLength, [&](std::size_t slot, double squared) {
        if (!best || squared < bestSquared || (squared == bestSquared && slot < *best)) {
            best = slot;
            bestSquared = squared;
        }
    });
    return best ? std::optional<unsigned long>(m_ids[*best]) : std::nullopt;
}

std::vector<unsigned long> GraphNodeIndex::within(const Eigen::Vector3d& origin, const Eigen::Vector3d& direction,
                                                  double maxDistance, double halfLength) const {
    std::vector<std::size_t> slots;
    query(origin, direction, maxDistance, halfLength, [&](std::size_t slot, double) { slots.push_back(slot); });
    std::sort(slots.begin(), slots.end());
    std::vector<unsigned long> ids(slots.size());
    std::transform(slots.begin(), slots.end(), ids.begin(), [&](std::size_t slot) { return m_ids[slot]; });
    return ids;
}

} // namespace Tarnwick
