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
// only becomes active when a face neighbour is removed. Each list entry caches its border directions and
// its deletability; a "stale" bit volume marks the neighbourhoods of removed voxels, and only stale
// entries look at the volume again. Deletability is evaluated lazily, when the entry is a border voxel of
// the current direction. The candidate search runs over blocks of the list in parallel and concatenates
// the per-block results in order.
//
// Cost: one O(voxels) sweep, then per step O(active voxels) plus O(removed voxels) bookkeeping.

#include <TarnwickLib/ImageOps/Thinning.h>

#include <TarnwickLib/ImageOps/BitVolume.h>
#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/ThinningTopology.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <TarnwickCore/Log.h>

#include <algorithm>
#include <new>

namespace Tarnwick::ImageOps {
namespace {

using Index = std::int64_t;
using Entry = std::uint64_t; // voxel index << kIndexShift | flags; ordered by voxel index

constexpr int kIndexShift = 10;
constexpr Entry kBorderMask = 0x3f;  // bit d: the face neighbour in direction d is background
constexpr Entry kKnown = 1 << 6;     // kDeletable is up to date
constexpr Entry kDeletable = 1 << 7; // not an end point, Euler invariant, one neighbour component
constexpr Entry kRemoved = 1 << 8;

Index voxelOf(Entry e) {
    return static_cast<Index>(e >> kIndexShift);
}

// Border directions in the order of the reference formulation, as cube offsets: -y, +y, +x, -x, +z, -z.
constexpr int kDirectionCubeBits[6] = {ThinningTopology::cubeBit(0, -1, 0), ThinningTopology::cubeBit(0, 1, 0),
                                       ThinningTopology::cubeBit(1, 0, 0),  ThinningTopology::cubeBit(-1, 0, 0),
                                       ThinningTopology::cubeBit(0, 0, 1),  ThinningTopology::cubeBit(0, 0, -1)};

Entry borderBits(std::uint32_t cube) {
    Entry bits = 0;
    for (int d = 0; d < 6; ++d) {
        if (!((cube >> kDirectionCubeBits[d]) & 1))
            bits |= Entry(1) << d;
    }
    return bits;
}

bool isDeletable(std::uint32_t cube) {
    return !ThinningTopology::isEndpoint(cube) && ThinningTopology::hasSingleNeighborComponent(cube) &&
           ThinningTopology::isEulerInvariant(cube);
}

// Border voxels of the 64 voxels of one word, per direction and in all used directions together.
struct WordBorders {
    std::uint64_t direction[6];
    std::uint64_t any;
};

class Thinner {
public:
    Thinner(const std::uint8_t* mask, const Eigen::Vector3i& dims);
    void run();
    void writeResult(std::uint8_t* skeleton) const { m_image.writeMask(skeleton); }

private:
    WordBorders wordBorders(std::int64_t w) const;
    void collectActive();
    void collectCandidates(int direction);
    bool removeSimpleCandidates();
    void updateActive();

    Eigen::Vector3i m_dims;
    int m_numDirections = 6;
    Index m_directionOffsets[6] = {};
    BitVolume m_image;
    BitVolume m_stale;     // neighbourhoods of voxels removed in the previous step
    BitVolume m_activeSet; // voxels that are (or were, before removal) in m_active
    ScratchVector<Entry> m_active;
    ScratchVector<Entry> m_merged;         // buffer of updateActive()
    std::vector<Entry> m_exposed;          // voxels that became active in the current step
    std::vector<Index> m_removed;          // voxels removed in the current step
    std::vector<std::size_t> m_candidates; // positions in m_active
    std::vector<std::vector<std::size_t>> m_blockCandidates;
};

Thinner::Thinner(const std::uint8_t* mask, const Eigen::Vector3i& dims)
    : m_dims(dims), m_image(dims), m_stale(dims), m_activeSet(dims) {
    m_numDirections = dims.z() == 1 ? 4 : 6;
    const Index sy = m_image.strideY(), sz = m_image.strideZ();
    const Index offsets[6] = {-sy, sy, 1, -1, sz, -sz};
    std::copy(offsets, offsets + 6, m_directionOffsets);
    m_image.setFromMask(mask);
}

WordBorders Thinner::wordBorders(std::int64_t w) const {
    const std::uint64_t fg = m_image.word(w);
    const std::int64_t row = m_image.wordsPerRow(), plane = m_image.wordsPerPlane();
    // Bit k of previousX / nextX: voxel k - 1 / k + 1 is foreground.
    const std::uint64_t previousX = (fg << 1) | (m_image.word(w - 1) >> 63);
    const std::uint64_t nextX = (fg >> 1) | (m_image.word(w + 1) << 63);
    WordBorders b;
    b.direction[0] = fg & ~m_image.word(w - row);
    b.direction[1] = fg & ~m_image.word(w + row);
    b.direction[2] = fg & ~nextX;
    b.direction[3] = fg & ~previousX;
    b.direction[4] = fg & ~m_image.word(w + plane);
    b.direction[5] = fg & ~m_image.word(w - plane);
    b.any = 0;
    for (int d = 0; d < m_numDirections; ++d)
        b.any |= b.direction[d];
    return b;
}

void Thinner::collectActive() {
    // Two passes over the words: count the active voxels per plane, then fill the list in place.
    const int planes = m_dims.z();
    std::vector<std::size_t> offsets(static_cast<std::size_t>(planes) + 1, 0);
#pragma omp parallel for schedule(static) if (worthParallel(voxelCount(m_dims)))
    for (int z = 0; z < planes; ++z) {
        std::size_t count = 0;
        for (int y = 0; y < m_dims.y(); ++y) {
            for (std::int64_t w = m_image.rowFirstWord(y, z), end = w + m_image.wordsPerRow(); w < end; ++w) {
                if (m_image.word(w))
                    count += static_cast<std::size_t>(__builtin_popcountll(wordBorders(w).any));
            }
        }
        offsets[static_cast<std::size_t>(z) + 1] = count;
    }
    for (int z = 0; z < planes; ++z)
        offsets[static_cast<std::size_t>(z) + 1] += offsets[static_cast<std::size_t>(z)];
    m_active.resize(offsets.back());
#pragma omp parallel for schedule(static) if (worthParallel(voxelCount(m_dims)))
    for (int z = 0; z < planes; ++z) {
        std::size_t position = offsets[static_cast<std::size_t>(z)];
        for (int y = 0; y < m_dims.y(); ++y) {
            for (std::int64_t w = m_image.rowFirstWord(y, z), end = w + m_image.wordsPerRow(); w < end; ++w) {
                if (!m_image.word(w))
                    continue;
                const WordBorders b = wordBorders(w);
                m_activeSet.setWord(w, b.any);
                for (std::uint64_t bits = b.any; bits != 0; bits &= bits - 1) {
                    const int k = BitVolume::lowestBit(bits);
                    Entry border = 0;
                    for (int d = 0; d < m_numDirections; ++d)
                        border |= ((b.direction[d] >> k) & 1) << d;
                    m_active[position++] = static_cast<Entry>(w * 64 + k) << kIndexShift | border;
                }
            }
        }
    }
}

void Thinner::collectCandidates(int direction) {
    constexpr std::size_t kBlockSize = 8192;
    const Entry directionBit = Entry(1) << direction;
    const std::size_t count = m_active.size();
    const std::size_t blocks = (count + kBlockSize - 1) / kBlockSize;
    if (m_blockCandidates.size() < blocks)
        m_blockCandidates.resize(blocks);
#pragma omp parallel for schedule(dynamic, 1) if (blocks > 1)
    for (std::size_t b = 0; b < blocks; ++b) {
        auto& list = m_blockCandidates[b];
        list.clear();
        for (std::size_t i = b * kBlockSize, end = std::min(count, i + kBlockSize); i < end; ++i) {
            Entry e = m_active[i];
            const Index v = voxelOf(e);
            std::uint32_t cube = 0;
            const bool stale = m_stale.test(v);
            if (stale) {
                cube = m_image.cube(v);
                e = static_cast<Entry>(v) << kIndexShift | borderBits(cube);
            }
            if ((e & directionBit) && !(e & kKnown)) {
                if (!stale)
                    cube = m_image.cube(v);
                e |= kKnown | (isDeletable(cube) ? kDeletable : 0);
            }
            m_active[i] = e;
            if ((e & directionBit) && (e & kDeletable))
                list.push_back(i);
        }
    }
    m_candidates.clear();
    for (std::size_t b = 0; b < blocks; ++b)
        m_candidates.insert(m_candidates.end(), m_blockCandidates[b].begin(), m_blockCandidates[b].end());
}

bool Thinner::removeSimpleCandidates() {
    for (std::size_t position : m_candidates) {
        const Index v = voxelOf(m_active[position]);
        // Without a removal next to it in this step, the neighbourhood is the one found deletable.
        if (m_stale.test(v) && !ThinningTopology::hasSingleNeighborComponent(m_image.cube(v)))
            continue;
        m_image.reset(v);
        m_active[position] |= kRemoved;
        m_stale.setCube(v);
        m_removed.push_back(v);
        for (int d = 0; d < m_numDirections; ++d) {
            const Index neighbor = v + m_directionOffsets[d];
            if (m_image.test(neighbor) && !m_activeSet.test(neighbor)) {
                m_activeSet.set(neighbor);
                m_exposed.push_back(static_cast<Entry>(neighbor) << kIndexShift);
            }
        }
    }
    return !m_removed.empty();
}

void Thinner::updateActive() {
    // One pass: drop removed entries while merging the sorted new ones in.
    std::sort(m_exposed.begin(), m_exposed.end());
    m_merged.resize(m_active.size() + m_exposed.size());
    auto out = m_merged.begin();
    auto added = m_exposed.begin();
    for (Entry e : m_active) {
        if (e & kRemoved)
            continue;
        while (added != m_exposed.end() && *added < e)
            *out++ = *added++;
        *out++ = e;
    }
    out = std::copy(added, m_exposed.end(), out);
    m_merged.erase(out, m_merged.end());
    m_active.swap(m_merged);
    m_exposed.clear();
}

void Thinner::run() {
    collectActive();
    int unchangedDirections = 0;
    while (unchangedDirections < m_numDirections) {
        unchangedDirections = 0;
        for (int d = 0; d < m_numDirections; ++d) {
            collectCandidates(d);
            // Every stale entry has now been refreshed; the marks of the previous step are spent.
            for (Index v : m_removed)
                m_stale.clearCubeWords(v);
            m_removed.clear();
            if (removeSimpleCandidates())
                updateActive();
            else
                ++unchangedDirections;
        }
    }
}

} // namespace

bool thin(const std::uint8_t* mask, const Eigen::Vector3i& dims, std::uint8_t* skeleton) {
    if (!validateVolume("thin", mask, dims) || !validateVolume("thin", skeleton, dims))
        return false;
    try {
        Thinner thinner(mask, dims);
        thinner.run();
        thinner.writeResult(skeleton);
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
    auto skeleton = TypedImage<unsigned char>::create(mask.descriptor());
    if (!thin(mask.pointer(), mask.dimensions(), skeleton->pointer()))
        return nullptr;
    return skeleton;
}

} // namespace Tarnwick::ImageOps
