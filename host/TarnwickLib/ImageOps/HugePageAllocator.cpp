#include <TarnwickLib/ImageOps/HugePageAllocator.h>

#include <cstdlib>
#include <new>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace Tarnwick::ImageOps {
namespace {

constexpr std::size_t kHugePage = std::size_t(2) << 20;

std::size_t roundedToHugePages(std::size_t bytes) {
    return (bytes + kHugePage - 1) / kHugePage * kHugePage;
}

} // namespace

void* allocateScratch(std::size_t bytes) {
    if (bytes < kHugePage)
        return ::operator new(bytes);
    const std::size_t size = roundedToHugePages(bytes);
    if (size < bytes)
        throw std::bad_alloc();
    void* block = std::aligned_alloc(kHugePage, size);
    if (!block)
        throw std::bad_alloc();
#ifdef __linux__
    madvise(block, size, MADV_HUGEPAGE); // only advice: failure leaves ordinary pages
#endif
    return block;
}

void freeScratch(void* block, std::size_t bytes) {
    if (bytes < kHugePage)
        ::operator delete(block);
    else
        std::free(block);
}

} // namespace Tarnwick::ImageOps
