// Comparison of two centerline graphs: both are sampled every quarter voxel along their edges and every
// sample is measured against the nearest edge of the other graph (edges bucketed in a grid of cells).
#include "CenterlineScore.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <queue>
#include <set>
#include <unordered_map>

namespace Tarnwick::Test {

namespace {

struct Lines {
    std::vector<Eigen::Vector3d> points;
    std::vector<std::pair<int, int>> edges;
    std::vector<double> diameters; ///< per edge; empty when unknown
    std::vector<std::vector<int>> neighbours;

    void link() {
        neighbours.assign(points.size(), {});
        for (const auto& [a, b] : edges)
            if (a != b) {
                neighbours[a].push_back(b);
                neighbours[b].push_back(a);
            }
    }
};

Lines fromGraph(const Graph& graph) {
    Lines lines;
    const Eigen::Matrix4d toWorld = graph.matrixToWorld();
    std::map<unsigned long, int> index;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        index.emplace(id, static_cast<int>(lines.points.size()));
        lines.points.push_back(toWorld.topLeftCorner<3, 3>() * node.position + toWorld.topRightCorner<3, 1>());
    });
    const auto diameter = graph.getEdgeFeatureIdx("diameter");
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long from, unsigned long to) {
        lines.edges.emplace_back(index.at(from), index.at(to));
        if (diameter)
            lines.diameters.push_back(edge.features[*diameter]);
    });
    lines.link();
    return lines;
}

double distanceToSegment(const Eigen::Vector3d& p, const Eigen::Vector3d& a, const Eigen::Vector3d& b) {
    const Eigen::Vector3d ab = b - a;
    const double lengthSquared = ab.squaredNorm();
    const double t = lengthSquared > 0.0 ? std::clamp((p - a).dot(ab) / lengthSquared, 0.0, 1.0) : 0.0;
    return (a + t * ab - p).norm();
}

/// The edges of `lines` bucketed into cubic cells, for nearest-edge queries by growing shells of cells.
class EdgeGrid {
public:
    EdgeGrid(const Lines& lines, double cell) : m_lines(lines), m_cell(cell) {
        for (std::size_t e = 0; e < lines.edges.size(); ++e) {
            const Eigen::Vector3d a = lines.points[lines.edges[e].first], b = lines.points[lines.edges[e].second];
            const Eigen::Vector3i low = cellOf(a.cwiseMin(b)), high = cellOf(a.cwiseMax(b));
            for (int z = low.z(); z <= high.z(); ++z)
                for (int y = low.y(); y <= high.y(); ++y)
                    for (int x = low.x(); x <= high.x(); ++x)
                        m_cells[key({x, y, z})].push_back(static_cast<int>(e));
            m_low = e == 0 ? low : m_low.cwiseMin(low);
            m_high = e == 0 ? high : m_high.cwiseMax(high);
        }
    }

    /// Distance from p to the nearest edge, and that edge's index (-1 when there are no edges).
    std::pair<double, int> nearest(const Eigen::Vector3d& p) const {
        std::pair<double, int> best{std::numeric_limits<double>::infinity(), -1};
        if (m_cells.empty())
            return best;
        const Eigen::Vector3i c = cellOf(p);
        const int reach = (c - m_low).cwiseAbs().maxCoeff() + (m_high - c).cwiseAbs().maxCoeff() + 1;
        for (int ring = 0; ring <= reach; ++ring) {
            for (int z = c.z() - ring; z <= c.z() + ring; ++z)
                for (int y = c.y() - ring; y <= c.y() + ring; ++y)
                    for (int x = c.x() - ring; x <= c.x() + ring; ++x) {
                        const Eigen::Vector3i q(x, y, z);
                        if ((q - c).cwiseAbs().maxCoeff() != ring)
                            continue;
                        const auto found = m_cells.find(key(q));
                        if (found == m_cells.end())
                            continue;
                        for (int e : found->second) {
                            const double d = distanceToSegment(p, m_lines.points[m_lines.edges[e].first],
                                                               m_lines.points[m_lines.edges[e].second]);
                            if (d < best.first)
                                best = {d, e};
                        }
                    }
            // Edges in cells beyond this shell are at least `ring` cells away.
            if (best.first <= ring * m_cell)
                break;
        }
        return best;
    }

private:
    Eigen::Vector3i cellOf(const Eigen::Vector3d& p) const { return (p / m_cell).array().floor().cast<int>(); }
    static long long key(const Eigen::Vector3i& c) {
        return ((static_cast<long long>(c.z()) + (1 << 20)) << 42) +
               ((static_cast<long long>(c.y()) + (1 << 20)) << 21) + (static_cast<long long>(c.x()) + (1 << 20));
    }

    const Lines& m_lines;
    double m_cell;
    Eigen::Vector3i m_low = Eigen::Vector3i::Zero(), m_high = Eigen::Vector3i::Zero();
    std::unordered_map<long long, std::vector<int>> m_cells;
};

/// Samples every edge of `lines` at most `step` apart: (position, weight = represented length, edge).
std::vector<std::tuple<Eigen::Vector3d, double, int>> sample(const Lines& lines, double step) {
    std::vector<std::tuple<Eigen::Vector3d, double, int>> samples;
    for (std::size_t e = 0; e < lines.edges.size(); ++e) {
        const Eigen::Vector3d a = lines.points[lines.edges[e].first], b = lines.points[lines.edges[e].second];
        const double length = (b - a).norm();
        const int pieces = std::max(1, static_cast<int>(std::ceil(length / step)));
        for (int i = 0; i < pieces; ++i)
            samples.emplace_back(a + (b - a) * ((i + 0.5) / pieces), length / pieces, static_cast<int>(e));
    }
    return samples;
}

/// Radius of the thickest edge at point i of the truth.
double radiusAt(const Lines& truth, int point) {
    double radius = 0.0;
    for (std::size_t e = 0; e < truth.edges.size(); ++e)
        if (truth.edges[e].first == point || truth.edges[e].second == point)
            radius = std::max(radius, truth.diameters[e] / 2.0);
    return radius;
}

std::vector<int> nodesOfDegree(const Lines& lines, bool branching) {
    std::vector<int> nodes;
    for (std::size_t i = 0; i < lines.points.size(); ++i)
        if (branching ? lines.neighbours[i].size() >= 3 : lines.neighbours[i].size() == 1)
            nodes.push_back(static_cast<int>(i));
    return nodes;
}

/// Centroids of the given nodes after merging those connected within `reach` of each other.
std::vector<Eigen::Vector3d> cluster(const Lines& lines, const std::vector<int>& nodes, double reach) {
    std::vector<int> group(nodes.size(), -1);
    std::vector<Eigen::Vector3d> centres;
    std::vector<int> counts;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (group[i] >= 0)
            continue;
        group[i] = static_cast<int>(centres.size());
        centres.push_back(Eigen::Vector3d::Zero());
        counts.push_back(0);
        std::queue<std::size_t> queue;
        queue.push(i);
        while (!queue.empty()) {
            const std::size_t current = queue.front();
            queue.pop();
            centres.back() += lines.points[nodes[current]];
            ++counts.back();
            for (std::size_t j = 0; j < nodes.size(); ++j)
                if (group[j] < 0 && (lines.points[nodes[j]] - lines.points[nodes[current]]).norm() <= reach) {
                    group[j] = group[i];
                    queue.push(j);
                }
        }
    }
    for (std::size_t c = 0; c < centres.size(); ++c)
        centres[c] /= counts[c];
    return centres;
}

/// Greedy one-to-one matching by distance within each true point's tolerance; returns the matched count
/// and marks the matched found points.
int match(const std::vector<Eigen::Vector3d>& truePoints, const std::vector<double>& tolerances,
          const std::vector<Eigen::Vector3d>& found, std::vector<bool>& foundMatched) {
    std::vector<std::tuple<double, int, int>> pairs;
    for (std::size_t t = 0; t < truePoints.size(); ++t)
        for (std::size_t f = 0; f < found.size(); ++f) {
            const double d = (truePoints[t] - found[f]).norm();
            if (d <= tolerances[t])
                pairs.emplace_back(d, static_cast<int>(t), static_cast<int>(f));
        }
    std::sort(pairs.begin(), pairs.end());
    std::vector<bool> trueMatched(truePoints.size(), false);
    foundMatched.assign(found.size(), false);
    int matched = 0;
    for (const auto& [d, t, f] : pairs)
        if (!trueMatched[t] && !foundMatched[f]) {
            trueMatched[t] = foundMatched[f] = true;
            ++matched;
        }
    return matched;
}

/// Independent cycles (edges - nodes + components) after each cluster of adjacent junction nodes
/// (three or more neighbours) is merged into one node, so the small triangles where a 26-connected
/// skeleton branches do not count.
int cyclesWithMergedJunctions(const Lines& lines) {
    const std::size_t n = lines.points.size();
    std::vector<int> root(n);
    for (std::size_t i = 0; i < n; ++i)
        root[i] = static_cast<int>(i);
    const auto find = [&](int i) {
        while (root[i] != i)
            i = root[i] = root[root[i]];
        return i;
    };
    const auto junction = [&](int i) { return lines.neighbours[i].size() >= 3; };
    for (const auto& [a, b] : lines.edges)
        if (junction(a) && junction(b))
            root[find(a)] = find(b);
    std::set<std::pair<int, int>> edges;
    for (const auto& [a, b] : lines.edges) {
        const int u = find(a), v = find(b);
        if (u != v)
            edges.emplace(std::min(u, v), std::max(u, v));
    }
    // Components of the merged graph, by union-find over its edges.
    std::vector<int> component(n);
    for (std::size_t i = 0; i < n; ++i)
        component[i] = static_cast<int>(i);
    const auto findComponent = [&](int i) {
        while (component[i] != i)
            i = component[i] = component[component[i]];
        return i;
    };
    for (const auto& [u, v] : edges)
        component[findComponent(u)] = findComponent(v);
    int nodes = 0, components = 0;
    for (std::size_t i = 0; i < n; ++i)
        if (find(static_cast<int>(i)) == static_cast<int>(i)) {
            ++nodes;
            components += findComponent(static_cast<int>(i)) == static_cast<int>(i);
        }
    return static_cast<int>(edges.size()) - nodes + components;
}

/// Lower limits of the radius bands, in voxels.
constexpr double bandLimits[] = {0.5, 1.0, 1.5, 2.0, 3.0, 5.0};

int bandOf(const std::vector<CenterlineScore::RadiusBand>& bands, double radiusVoxels) {
    for (int b = static_cast<int>(bands.size()) - 1; b >= 0; --b)
        if (radiusVoxels >= bands[b].lowVoxels)
            return b;
    return -1;
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

/// Medians of the band's errors and its recall from its lengths.
void summarize(CenterlineScore::RadiusBand& band) {
    band.edges = static_cast<int>(band.errors.size());
    band.recall = band.trueLength > 0.0 ? band.foundLength / band.trueLength : -1.0;
    if (band.errors.empty())
        return;
    band.medianBias = median(band.errors);
    std::vector<double> magnitudes;
    for (double error : band.errors)
        magnitudes.push_back(std::abs(error));
    band.medianAbsError = median(magnitudes);
}

double f1(int matched, int truths, int found) {
    return truths + found == 0 ? 1.0 : 2.0 * matched / (truths + found);
}

} // namespace

std::string CenterlineScore::describe() const {
    return fmt::format("precision {:.3f}, recall {:.3f}, mean {:.3f} mm, p95 {:.3f} mm, branch points {}/{} (F1 "
                       "{:.3f}), endpoints {} (F1 {:.3f}, {} spurious), cycles {}/{}, median diameter error {:.3f}",
                       precision, recall, meanDistance, p95Distance, foundBranchPoints, trueBranchPoints, branchF1,
                       trueEndpoints, endpointF1, spuriousTerminalBranches, extractedCycles, trueCycles,
                       medianDiameterError);
}

std::vector<CenterlineScore::RadiusBand> poolBands(const std::vector<CenterlineScore>& scores) {
    std::vector<CenterlineScore::RadiusBand> pooled;
    for (const CenterlineScore& score : scores)
        for (std::size_t b = 0; b < score.bands.size(); ++b) {
            if (pooled.size() <= b)
                pooled.push_back(
                    {score.bands[b].lowVoxels, score.bands[b].highVoxels, 0, 0.0, 0.0, -1.0, {}, 0.0, 0.0});
            CenterlineScore::RadiusBand& band = pooled[b];
            band.errors.insert(band.errors.end(), score.bands[b].errors.begin(), score.bands[b].errors.end());
            band.foundLength += score.bands[b].foundLength;
            band.trueLength += score.bands[b].trueLength;
        }
    for (CenterlineScore::RadiusBand& band : pooled)
        summarize(band);
    return pooled;
}

std::string describeBands(const std::vector<CenterlineScore::RadiusBand>& bands) {
    std::string text;
    for (const CenterlineScore::RadiusBand& band : bands)
        text += fmt::format("r [{:.1f}, {:.1f}) voxels: {:5d} edges, diameter bias {:+6.1f} %, |error| {:5.1f} %, "
                            "recall {:.3f}\n",
                            band.lowVoxels, std::min(band.highVoxels, 99.0), band.edges, 100.0 * band.medianBias,
                            100.0 * band.medianAbsError, band.recall);
    return text;
}

CenterlineScore scoreCenterlines(const Graph& extracted, const TrueCenterlines& truthLines, double voxelSize) {
    Lines truth{truthLines.points, truthLines.edges, truthLines.diameters, {}};
    truth.link();
    const Lines found = fromGraph(extracted);
    const double step = voxelSize / 4.0;
    // Within a junction's blob (its thickest vessel's radius plus the own one) the local radius is the
    // thickest vessel's: the medial axis of the union bends there before it follows the thinner vessel.
    std::vector<std::pair<Eigen::Vector3d, double>> junctions;
    for (int i : nodesOfDegree(truth, true))
        junctions.emplace_back(truth.points[i], radiusAt(truth, i));
    auto tolerance = [&](const Eigen::Vector3d& p, int edge) {
        double radius = truth.diameters[edge] / 2.0;
        const double own = radius;
        for (const auto& [centre, thickest] : junctions)
            if ((p - centre).norm() <= thickest + own)
                radius = std::max(radius, thickest);
        return std::max(voxelSize, radius / 2.0);
    };
    const EdgeGrid truthGrid(truth, 2.0 * voxelSize), foundGrid(found, 2.0 * voxelSize);
    CenterlineScore score;

    double inside = 0.0, total = 0.0, weighted = 0.0;
    std::vector<std::pair<double, double>> distances;
    for (const auto& [p, weight, edge] : sample(found, step)) {
        const auto [d, e] = truthGrid.nearest(p);
        total += weight;
        weighted += weight * d;
        distances.emplace_back(d, weight);
        if (e >= 0 && d <= tolerance(p, e))
            inside += weight;
    }
    score.precision = total > 0.0 ? inside / total : 0.0;
    score.meanDistance = total > 0.0 ? weighted / total : 0.0;
    std::sort(distances.begin(), distances.end());
    double cumulative = 0.0;
    for (const auto& [d, weight] : distances) {
        cumulative += weight;
        score.p95Distance = d;
        if (cumulative >= 0.95 * total)
            break;
    }

    inside = total = 0.0;
    for (const double low : bandLimits)
        score.bands.push_back({low, 0.0, 0, 0.0, 0.0, -1.0, {}, 0.0, 0.0});
    for (std::size_t b = 0; b < score.bands.size(); ++b)
        score.bands[b].highVoxels = b + 1 < score.bands.size() ? score.bands[b + 1].lowVoxels : 1e9;
    for (const auto& [p, weight, edge] : sample(truth, step)) {
        const bool hit = foundGrid.nearest(p).first <= tolerance(p, edge);
        total += weight;
        inside += hit ? weight : 0.0;
        const int band = bandOf(score.bands, truth.diameters[edge] / 2.0 / voxelSize);
        if (band >= 0) {
            score.bands[band].foundLength += hit ? weight : 0.0;
            score.bands[band].trueLength += weight;
        }
    }
    score.recall = total > 0.0 ? inside / total : 0.0;

    const std::vector<int> trueBranches = nodesOfDegree(truth, true), trueEnds = nodesOfDegree(truth, false);
    std::vector<Eigen::Vector3d> branchPoints, endPoints;
    std::vector<double> branchTolerance, endTolerance;
    for (int i : trueBranches) {
        branchPoints.push_back(truth.points[i]);
        branchTolerance.push_back(std::max(2.0 * voxelSize, 1.5 * radiusAt(truth, i)));
    }
    for (int i : trueEnds) {
        endPoints.push_back(truth.points[i]);
        endTolerance.push_back(std::max(2.0 * voxelSize, 1.5 * radiusAt(truth, i) + voxelSize));
    }
    const std::vector<Eigen::Vector3d> foundBranches = cluster(found, nodesOfDegree(found, true), 2.0 * voxelSize);
    const std::vector<Eigen::Vector3d> foundEnds = cluster(found, nodesOfDegree(found, false), 0.0);
    std::vector<bool> matchedFound;
    const int branchMatches = match(branchPoints, branchTolerance, foundBranches, matchedFound);
    score.trueBranchPoints = static_cast<int>(branchPoints.size());
    score.foundBranchPoints = static_cast<int>(foundBranches.size());
    score.branchF1 = f1(branchMatches, score.trueBranchPoints, score.foundBranchPoints);
    const int endMatches = match(endPoints, endTolerance, foundEnds, matchedFound);
    score.trueEndpoints = static_cast<int>(endPoints.size());
    score.endpointF1 = f1(endMatches, score.trueEndpoints, static_cast<int>(foundEnds.size()));
    score.spuriousTerminalBranches = static_cast<int>(std::count(matchedFound.begin(), matchedFound.end(), false));

    score.trueCycles = cyclesWithMergedJunctions(truth);
    score.extractedCycles = cyclesWithMergedJunctions(found);

    if (!found.diameters.empty()) {
        std::vector<double> errors;
        for (std::size_t e = 0; e < found.edges.size(); ++e) {
            const Eigen::Vector3d middle =
                (found.points[found.edges[e].first] + found.points[found.edges[e].second]) / 2.0;
            const auto [d, t] = truthGrid.nearest(middle);
            if (t < 0)
                continue;
            const double trueDiameter = truth.diameters[t];
            // Diameters are ill-defined near junctions and vessel ends, and on edges off the vessel.
            const double keepOut = trueDiameter + voxelSize;
            const auto near = [&](const std::vector<Eigen::Vector3d>& points) {
                return std::any_of(points.begin(), points.end(),
                                   [&](const Eigen::Vector3d& p) { return (p - middle).norm() < keepOut; });
            };
            if (near(branchPoints) || near(endPoints) || d > tolerance(middle, t))
                continue;
            const double error = (found.diameters[e] - trueDiameter) / trueDiameter;
            if (trueDiameter >= 4.0 * voxelSize)
                errors.push_back(std::abs(error));
            const int band = bandOf(score.bands, trueDiameter / 2.0 / voxelSize);
            if (band >= 0)
                score.bands[band].errors.push_back(error);
        }
        if (!errors.empty())
            score.medianDiameterError = median(errors);
    }
    for (CenterlineScore::RadiusBand& band : score.bands)
        summarize(band);
    return score;
}

} // namespace Tarnwick::Test
