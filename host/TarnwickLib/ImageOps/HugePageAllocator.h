#pragma once

#include <cstddef>
#include <vector>

namespace Tarnwick::ImageOps {

/// Memory for large scratch buffers. Blocks of at least 2 MiB are aligned to 2 MiB and, on Linux,
/// advised for transparent huge pages: first-touch page faults dominate the cost of fresh volume-sized
/// buffers, and a huge page replaces 512 of them. Smaller blocks come from operator new.
/// Both throw std::bad_alloc when the memory cannot be had.
void* allocateScratch(std::size_t bytes);
void freeScratch(void* block, std::size_t bytes);

/// Standard allocator over allocateScratch() / freeScratch().
template <typename T>
struct HugePageAllocator {
    using value_type = T;

    HugePageAllocator() = default;
    template <typename U>
    HugePageAllocator(const HugePageAllocator<U>&) {}

    T* allocate(std::size_t n) { return static_cast<T*>(allocateScratch(n * sizeof(T))); }
    void deallocate(T* p, std::size_t n) { freeScratch(p, n * sizeof(T)); }

    template <typename U>
    bool operator==(const HugePageAllocator<U>&) const {
        return true;
    }
    template <typename U>
    bool operator!=(const HugePageAllocator<U>&) const {
        return false;
    }
};

/// A vector for volume-sized working data.
template <typename T>
using ScratchVector = std::vector<T, HugePageAllocator<T>>;

} // namespace Tarnwick::ImageOps
