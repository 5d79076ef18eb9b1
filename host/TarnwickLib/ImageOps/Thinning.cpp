// Thinning by Lee, Kashyap and Chu, "Building skeleton models via 3-D medial surface/axis thinning
// algorithms", CVGIP: Graphical Models and Image Processing 56(6), 1994.
//
// The method peels the object one border direction at a time. For a direction d, a foreground voxel is a
// candidate when its neighbour in direction d is background, it is not an end point, removing it keeps the
// Euler characteristic of its 3x3x3 neighbourhood, and its foreground neighbours stay one 26-component.
// All candidates of d are collected on the unchanged volume, then visited sequentially in memory order and
// removed when their neighbours (as they are now) still form one component. Directions cycle until a full
// round removes nothing.
//
// The result depends only on the candidate set of each step and on the visiting order, so this code keeps
// both exactly but avoids full-volume sweeps. It keeps a sorted list of "active" voxels, the foreground
// voxels with a background face neighbour: only these can be candidates, and after the first sweep a voxel
// only becomes active when a face neighbour is removed. Each list entry caches whether the voxel is
// deletable together with the 3x3x3 neighbourhood that was found for; the cache holds while the
// neighbourhood is unchanged, which is checked when the entry borders the current direction and, for a
// candidate, again before its removal (only then is its neighbour connectivity tested anew).
// Each step rebuilds the list while searching it for candidates: removed entries are dropped and the
// voxels exposed by the previous step's removals are merged in. The list is cut into blocks of fixed voxel
// ranges; blocks are rebuilt and searched in parallel, each into its own place in the new list and in the
// candidate buffer, so the candidates stay in voxel order.
//
// The sequential re-check can erase an object that is at most two voxels thick (a 2x2x2 cube, a 2x2 bar, a
// box of even width shrinks to one): the run notes the last voxel of every object it erases, and each such
// object is thinned again on its own with the re-check also keeping voxels that have become end points,
// so that it is not lost. Other objects are untouched by this.
//
// Cost: one O(voxels) sweep, then per step O(active voxels) plus O(removed voxels) bookkeeping.

#include <TarnwickLib/ImageOps/Thinning.h>

#include <TarnwickLib/ImageOps/BitVolume.h>
#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/ThinningTopology.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <TarnwickCore/Log.h>

#include <algorithm>
#include <array>
#include <new>

namespace Tarnwick::ImageOps {
namespace {

using Index = std::int64_t;
using Entry = std::uint64_t; // voxel index << kIndexShift | flags | cube; ordered by voxel index

constexpr int kIndexShift = 30;
constexpr Entry kCube = (Entry(1) << 27) - 1; // the neighbourhood kDeletable was found for
constexpr Entry kKnown = Entry(1) << 27;      // kDeletable and kCube are set
constexpr Entry kDeletable = Entry(1) << 28;  // not an end point, Euler invariant, one neighbour component
constexpr Entry kRemoved = Entry(1) << 29;

// Whether every voxel index of the padded bit volume fits into an entry.
bool fitsEntries(const Eigen::Vector3i& dims) {
    return BitVolume::paddedBits(dims) < (std::uint64_t(1) << (64 - kIndexShift));
}

Index voxelOf(Entry e) {
    return static_cast<Index>(e >> kIndexShift);
}

// Border directions in the order of the reference formulation: -y, +y, +x, -x, +z, -z.
const Eigen::Vector3i kDirections[6] = {{0, -1, 0}, {0, 1, 0}, {1, 0, 0}, {-1, 0, 0}, {0, 0, 1}, {0, 0, -1}};

int cubeBitOf(const Eigen::Vector3i& offset) {
    return ThinningTopology::cubeBit(offset.x(), offset.y(), offset.z());
}

// List entries per block of the candidate search when the blocks are first cut.
constexpr std::size_t kBlockSize = 8192;

bool isDeletable(std::uint32_t cube) {
    return !ThinningTopology::isEndpoint(cube) && ThinningTopology::hasSingleNeighborComponent(cube) &&
           ThinningTopology::isEulerInvariant(cube);
}

class Thinner {
public:
    /// With keepNewEndpoints, the re-check also keeps candidates that have become end points.
    Thinner(const std::uint8_t* mask, const Eigen::Vector3i& dims, bool keepNewEndpoints = false);
    void run();
    void writeResult(std::uint8_t* skeleton) const { m_image.writeMask(skeleton); }
    /// One voxel (x, y, z) of every object the run erased: the last one removed.
    const std::vector<Eigen::Vector3i>& erasedObjects() const { return m_erased; }

private:
    std::uint64_t activeInWord(std::int64_t w) const;
    void collectActive();
    void partitionIntoBlocks();
    bool isCandidate(Entry& e, Index offset);
    void mergeExposed();
    void rebuildAndCollectCandidates(int direction);
    bool removeSimpleCandidates();
    bool removeIfSimple(Entry* entry);

    Eigen::Vector3i m_dims;
    int m_numDirections = 6;
    int m_threads = 1;
    Index m_offsets[6] = {}; // linear offsets of the directions
    // Cube bits of the neighbour u in direction d and of u's face neighbours other than the centre and
    // the one beyond u: when all are foreground, removing the centre exposes u unless that last one is
    // background.
    std::uint32_t m_exposureMasks[6] = {};
    BitVolume m_image;
    ScratchVector<Entry> m_active;               // sorted; removed voxels stay (flagged) until the rebuild
    ScratchVector<Entry> m_rebuilt;              // the next m_active
    std::array<std::vector<Entry>, 6> m_exposed; // voxels that became active in this step, per direction
    std::vector<Entry> m_exposedMerged, m_exposedBuffer;
    // Block b holds the voxels from m_blockFirstVoxel[b] (entry 0 unused) up to the next block's first
    // voxel: m_active[m_blockStarts[b] .. m_blockStarts[b + 1]), of which m_blockRemoved[b] were removed
    // since the last rebuild. The search leaves its candidates, in voxel order, in
    // m_candidates[m_blockStarts[b] .. m_candidateEnds[b]).
    std::vector<Index> m_blockFirstVoxel;
    std::vector<std::size_t> m_blockStarts, m_blockRemoved, m_candidateEnds;
    std::vector<std::size_t> m_exposedStarts, m_rebuiltStarts; // scratch of the rebuild
    ScratchVector<Entry*> m_candidates;
    bool m_keepNewEndpoints;
    std::vector<Eigen::Vector3i> m_erased;
};

Thinner::Thinner(const std::uint8_t* mask, const Eigen::Vector3i& dims, bool keepNewEndpoints)
    : m_dims(dims), m_image(dims), m_keepNewEndpoints(keepNewEndpoints) {
    m_numDirections = dims.z() == 1 ? 4 : 6;
    m_threads = threadsFor(voxelCount(dims));
    for (int d = 0; d < 6; ++d) {
        m_offsets[d] =
            kDirections[d].x() + kDirections[d].y() * m_image.strideY() + kDirections[d].z() * m_image.strideZ();
        m_exposureMasks[d] = std::uint32_t(1) << cubeBitOf(kDirections[d]);
        for (int e = 0; e < m_numDirections; ++e) {
            const Eigen::Vector3i around = kDirections[d] + kDirections[e];
            if (around != Eigen::Vector3i::Zero() && around.cwiseAbs().maxCoeff() == 1)
                m_exposureMasks[d] |= std::uint32_t(1) << cubeBitOf(around);
        }
    }
    m_image.setFromMask(mask);
}

// The active voxels among the 64 voxels of word w: foreground with a background face neighbour.
std::uint64_t Thinner::activeInWord(std::int64_t w) const {
    const std::uint64_t fg = m_image.word(w);
    const std::int64_t row = m_image.wordsPerRow(), plane = m_image.wordsPerPlane();
    // Bit k of previousX / nextX: voxel k - 1 / k + 1 is foreground.
    const std::uint64_t previousX = (fg << 1) | (m_image.word(w - 1) >> 63);
    const std::uint64_t nextX = (fg >> 1) | (m_image.word(w + 1) << 63);
    std::uint64_t interior = previousX & nextX & m_image.word(w - row) & m_image.word(w + row);
    if (m_numDirections == 6)
        interior &= m_image.word(w - plane) & m_image.word(w + plane);
    return fg & ~interior;
}

void Thinner::collectActive() {
    // Two passes over the words: count the active voxels per plane, then fill the list in place.
    const int planes = m_dims.z();
    std::vector<std::size_t> offsets(static_cast<std::size_t>(planes) + 1, 0);
#pragma omp parallel for schedule(static) num_threads(m_threads)
    for (int z = 0; z < planes; ++z) {
        std::size_t count = 0;
        for (int y = 0; y < m_dims.y(); ++y) {
            for (std::int64_t w = m_image.rowFirstWord(y, z), end = w + m_image.wordsPerRow(); w < end; ++w) {
                if (m_image.word(w))
                    count += static_cast<std::size_t>(__builtin_popcountll(activeInWord(w)));
            }
        }
        offsets[static_cast<std::size_t>(z) + 1] = count;
    }
    for (int z = 0; z < planes; ++z)
        offsets[static_cast<std::size_t>(z) + 1] += offsets[static_cast<std::size_t>(z)];
    // Room for the list to grow by half without moving, on both sides of the rebuild's swap: each
    // reallocation would fault in fresh memory.
    const std::size_t capacity = offsets.back() + offsets.back() / 2;
    m_active.reserve(capacity);
    m_rebuilt.reserve(capacity);
    m_active.resize(offsets.back());
#pragma omp parallel for schedule(static) num_threads(m_threads)
    for (int z = 0; z < planes; ++z) {
        std::size_t position = offsets[static_cast<std::size_t>(z)];
        for (int y = 0; y < m_dims.y(); ++y) {
            for (std::int64_t w = m_image.rowFirstWord(y, z), end = w + m_image.wordsPerRow(); w < end; ++w) {
                if (!m_image.word(w))
                    continue;
                for (std::uint64_t bits = activeInWord(w); bits != 0; bits &= bits - 1)
                    m_active[position++] = static_cast<Entry>(w * 64 + BitVolume::lowestBit(bits)) << kIndexShift;
            }
        }
    }
    partitionIntoBlocks();
}

// Cuts the list into blocks of kBlockSize entries (the last one shorter); from then on, each block keeps
// the voxel range it starts with.
void Thinner::partitionIntoBlocks() {
    const std::size_t count = m_active.size();
    m_blockFirstVoxel.assign(1, 0);
    m_blockStarts.assign(1, 0);
    for (std::size_t i = kBlockSize; i < count; i += kBlockSize) {
        m_blockFirstVoxel.push_back(voxelOf(m_active[i]));
        m_blockStarts.push_back(i);
    }
    m_blockStarts.push_back(count);
    const std::size_t blocks = m_blockFirstVoxel.size();
    m_blockRemoved.assign(blocks, 0);
    m_candidateEnds.resize(blocks);
    m_exposedStarts.resize(blocks + 1);
    m_rebuiltStarts.resize(blocks + 1);
}

// Whether entry e is a candidate of the step with direction offset `offset`; refreshes its cached
// deletability when the neighbourhood changed.
bool Thinner::isCandidate(Entry& e, Index offset) {
    const Index v = voxelOf(e);
    if (m_image.test(v + offset))
        return false; // not a border voxel in this direction
    const std::uint32_t cube = m_image.cube(v);
    if (!(e & kKnown) || (e & kCube) != cube)
        e = (e & ~(kCube | kDeletable)) | kKnown | cube | (isDeletable(cube) ? kDeletable : 0);
    return e & kDeletable;
}

// Merges the voxels exposed in the last step, one sorted list per direction, into m_exposedMerged.
void Thinner::mergeExposed() {
    m_exposedMerged.clear();
    for (auto& list : m_exposed) {
        m_exposedBuffer.resize(m_exposedMerged.size() + list.size());
        std::merge(m_exposedMerged.begin(), m_exposedMerged.end(), list.begin(), list.end(), m_exposedBuffer.begin());
        m_exposedMerged.swap(m_exposedBuffer);
        list.clear();
    }
}

void Thinner::rebuildAndCollectCandidates(int direction) {
    mergeExposed();
    const std::vector<Entry>& exposed = m_exposedMerged;
    const std::size_t blocks = m_blockFirstVoxel.size();
    // Each block's share of the exposed voxels, and its place in the rebuilt list.
    m_exposedStarts[0] = 0;
    for (std::size_t b = 1; b < blocks; ++b) {
        const Entry first = static_cast<Entry>(m_blockFirstVoxel[b]) << kIndexShift;
        m_exposedStarts[b] = static_cast<std::size_t>(
            std::lower_bound(exposed.begin() + static_cast<std::ptrdiff_t>(m_exposedStarts[b - 1]), exposed.end(),
                             first) -
            exposed.begin());
    }
    m_exposedStarts[blocks] = exposed.size();
    m_rebuiltStarts[0] = 0;
    for (std::size_t b = 0; b < blocks; ++b) {
        m_rebuiltStarts[b + 1] = m_rebuiltStarts[b] + (m_blockStarts[b + 1] - m_blockStarts[b]) - m_blockRemoved[b] +
                                 (m_exposedStarts[b + 1] - m_exposedStarts[b]);
    }
    const std::size_t count = m_rebuiltStarts[blocks];
    m_rebuilt.resize(count);
    if (m_candidates.size() < count)
        m_candidates.resize(count);

    const Index offset = m_offsets[direction];
#pragma omp parallel for schedule(dynamic, 1) num_threads(blocks > 1 ? m_threads : 1)
    for (std::size_t b = 0; b < blocks; ++b) {
        const Entry* in = m_active.data() + m_blockStarts[b];
        const Entry* const inEnd = m_active.data() + m_blockStarts[b + 1];
        Entry* out = m_rebuilt.data() + m_rebuiltStarts[b];
        Entry** found = m_candidates.data() + m_rebuiltStarts[b];
        // Appends e to the rebuilt list and records it if it is a candidate (`found` never passes `out`).
        auto take = [&](Entry e) {
            *out = e;
            *found = out;
            found += isCandidate(*out, offset);
            ++out;
        };
        auto takeBelow = [&](Entry limit) {
            for (; in < inEnd && *in < limit; ++in) {
                if (!(*in & kRemoved))
                    take(*in);
            }
        };
        for (std::size_t j = m_exposedStarts[b]; j < m_exposedStarts[b + 1]; ++j) {
            takeBelow(exposed[j]);
            take(exposed[j]);
        }
        takeBelow(~Entry(0));
        m_candidateEnds[b] = static_cast<std::size_t>(found - m_candidates.data());
    }
    m_active.swap(m_rebuilt);
    m_blockStarts.swap(m_rebuiltStarts);
    std::fill(m_blockRemoved.begin(), m_blockRemoved.end(), 0);
}

bool Thinner::removeSimpleCandidates() {
    bool changed = false;
    for (std::size_t b = 0; b < m_blockRemoved.size(); ++b) {
        for (std::size_t k = m_blockStarts[b]; k < m_candidateEnds[b]; ++k) {
            if (removeIfSimple(m_candidates[k])) {
                ++m_blockRemoved[b];
                changed = true;
            }
        }
    }
    return changed;
}

// Removes the candidate when its neighbours (as they are now) still form one component.
bool Thinner::removeIfSimple(Entry* entry) {
    const Index v = voxelOf(*entry);
    const std::uint32_t cube = m_image.cube(v);
    // An unchanged neighbourhood is the one found deletable.
    if ((*entry & kCube) != cube) {
        if (m_keepNewEndpoints && (ThinningTopology::isEndpoint(cube) || ThinningTopology::isIsolated(cube)))
            return false;
        if (!ThinningTopology::hasSingleNeighborComponent(cube))
            return false;
        if (ThinningTopology::isIsolated(cube)) {
            const Index z = v / m_image.strideZ(), y = v % m_image.strideZ() / m_image.strideY();
            m_erased.emplace_back(int(v % m_image.strideY() - 1), int(y - 1), int(z - 1));
        }
    }
    m_image.reset(v);
    *entry |= kRemoved;
    // A foreground face neighbour u becomes active unless it already was, that is, unless a face
    // neighbour of u other than v is background. Those lie in v's cube except the one beyond u.
    for (int d = 0; d < m_numDirections; ++d) {
        const std::uint32_t exposure = m_exposureMasks[d];
        if ((cube & exposure) == exposure && m_image.test(v + 2 * m_offsets[d]))
            m_exposed[static_cast<std::size_t>(d)].push_back(static_cast<Entry>(v + m_offsets[d]) << kIndexShift);
    }
    return true;
}

void Thinner::run() {
    collectActive();
    int unchangedDirections = 0;
    while (unchangedDirections < m_numDirections) {
        unchangedDirections = 0;
        for (int d = 0; d < m_numDirections; ++d) {
            rebuildAndCollectCandidates(d);
            if (!removeSimpleCandidates())
                ++unchangedDirections;
        }
    }
}

/// Thins the 26-connected object of `mask` that holds `seed` on its own, keeping new end points, and adds
/// its skeleton to `skeleton`.
void thinErasedObject(const std::uint8_t* mask, const Eigen::Vector3i& dims, const Eigen::Vector3i& seed,
                      std::uint8_t* skeleton) {
    const auto indexOf = [&](const Eigen::Vector3i& p) {
        return (static_cast<Index>(p.z()) * dims.y() + p.y()) * dims.x() + p.x();
    };
    std::vector<bool> seen(static_cast<std::size_t>(voxelCount(dims)));
    std::vector<Eigen::Vector3i> object{seed};
    seen[static_cast<std::size_t>(indexOf(seed))] = true;
    Eigen::Vector3i low = seed, high = seed;
    for (std::size_t head = 0; head < object.size(); ++head) {
        const Eigen::Vector3i p = object[head];
        for (int dz = -1; dz <= 1; ++dz)
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) {
                    const Eigen::Vector3i q = p + Eigen::Vector3i(dx, dy, dz);
                    if ((q.array() < 0).any() || (q.array() >= dims.array()).any())
                        continue;
                    const auto i = static_cast<std::size_t>(indexOf(q));
                    if (seen[i] || !mask[i])
                        continue;
                    seen[i] = true;
                    object.push_back(q);
                    low = low.cwiseMin(q);
                    high = high.cwiseMax(q);
                }
    }
    const Eigen::Vector3i size = high - low + Eigen::Vector3i::Ones();
    std::vector<std::uint8_t> part(static_cast<std::size_t>(voxelCount(size)));
    const auto partIndex = [&](const Eigen::Vector3i& p) {
        return static_cast<std::size_t>((static_cast<Index>(p.z()) * size.y() + p.y()) * size.x() + p.x());
    };
    for (const Eigen::Vector3i& p : object)
        part[partIndex(p - low)] = 1;
    Thinner thinner(part.data(), size, true);
    thinner.run();
    thinner.writeResult(part.data());
    for (const Eigen::Vector3i& p : object)
        if (part[partIndex(p - low)])
            skeleton[indexOf(p)] = 1;
}

} // namespace

bool thin(const std::uint8_t* mask, const Eigen::Vector3i& dims, std::uint8_t* skeleton) {
    if (!validateVolume("thin", mask, dims) || !validateVolume("thin", skeleton, dims))
        return false;
    if (!fitsEntries(dims)) {
        TW_LOG_ERROR("thin: a {}x{}x{} volume is too elongated to thin", dims.x(), dims.y(), dims.z());
        return false;
    }
    try {
        Thinner thinner(mask, dims);
        thinner.run();
        // Objects the exact method erased are thinned again from the mask, which `skeleton` may overwrite.
        const std::vector<Eigen::Vector3i>& erased = thinner.erasedObjects();
        std::vector<std::uint8_t> original;
        if (!erased.empty() && skeleton == mask)
            original.assign(mask, mask + voxelCount(dims));
        const std::uint8_t* source = original.empty() ? mask : original.data();
        thinner.writeResult(skeleton);
        for (const Eigen::Vector3i& seed : erased)
            thinErasedObject(source, dims, seed, skeleton);
        return true;
    } catch (const std::bad_alloc&) {
        TW_LOG_ERROR("thin: not enough memory for a {}x{}x{} volume", dims.x(), dims.y(), dims.z());
        return false;
    }
}

std::unique_ptr<TypedImage<unsigned char>> thin(const TypedImage<unsigned char>& mask) {
    if (mask.channels() != 1) {
        TW_LOG_ERROR("thin: expected a single-channel mask, got {} channels", mask.channels());
        return nullptr;
    }
    auto skeleton = TypedImage<unsigned char>::uninitialized(mask.descriptor());
    if (!thin(mask.pointer(), mask.dimensions(), skeleton->pointer()))
        return nullptr;
    return skeleton;
}

} // namespace Tarnwick::ImageOps
