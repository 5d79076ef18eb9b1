// NIfTI pixel data without a general-purpose reader in between: the whole compressed file is mapped,
// inflated in one pass into memory of the announced size, and moved (or narrowed) in place into the
// image's own buffer. Inflating is the cost of loading a .nii.gz mask, and a whole-buffer inflate
// is several times faster than a streaming one.
#include <TarnwickLib/IO/NiftiPixelReader.h>

#include <TarnwickCore/String.h>
#include <TarnwickLib/Image/TypedImage.h>
#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/IO/NiftiHeader.h>

#include <fmt/format.h>
#include <zlib.h>
#ifdef TARNWICK_HAVE_LIBDEFLATE
#include <libdeflate.h>
#endif

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace Tarnwick {

namespace {

constexpr const char* corrupt = "the compressed data is truncated or corrupt";

/// A whole file mapped read-only into memory.
class MappedFile {
public:
    explicit MappedFile(const std::string& path) {
        const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        if (fd < 0 || ::fstat(fd, &status) != 0) {
            m_error = std::strerror(errno);
            if (fd >= 0)
                ::close(fd);
            return;
        }
        m_size = static_cast<std::size_t>(status.st_size);
        if (m_size > 0) {
            void* data = ::mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE, fd, 0);
            if (data == MAP_FAILED)
                m_error = std::strerror(errno);
            else
                m_data = static_cast<const unsigned char*>(data);
        }
        ::close(fd);
        if (m_data)
            ::madvise(const_cast<unsigned char*>(m_data), m_size, MADV_SEQUENTIAL);
    }
    ~MappedFile() {
        if (m_data)
            ::munmap(const_cast<unsigned char*>(m_data), m_size);
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    const unsigned char* data() const { return m_data; }
    std::size_t size() const { return m_size; }
    const std::string& error() const { return m_error; }

private:
    const unsigned char* m_data = nullptr;
    std::size_t m_size = 0;
    std::string m_error;
};

/// Inflates gzip members from `in` until `out` is full. Stops there even when the stream goes on;
/// false when it ends first or is corrupt. Streams in pieces of at most 1 GiB (zlib counts in 32 bits).
bool inflateWithZlib(const unsigned char* in, std::size_t inSize, unsigned char* out, std::size_t outSize) {
    z_stream stream{};
    if (inflateInit2(&stream, 15 + 16) != Z_OK)
        return false;
    constexpr std::size_t piece = std::size_t(1) << 30;
    std::size_t inUsed = 0, outUsed = 0;
    bool ok = false;
    while (true) {
        stream.next_in = const_cast<unsigned char*>(in + inUsed);
        stream.avail_in = static_cast<uInt>(std::min(piece, inSize - inUsed));
        stream.next_out = out + outUsed;
        stream.avail_out = static_cast<uInt>(std::min(piece, outSize - outUsed));
        const uInt inBefore = stream.avail_in, outBefore = stream.avail_out;
        const int status = inflate(&stream, Z_NO_FLUSH);
        inUsed += inBefore - stream.avail_in;
        outUsed += outBefore - stream.avail_out;
        if (outUsed == outSize) {
            ok = true;
            break;
        }
        if (status == Z_STREAM_END && inUsed < inSize) {
            inflateReset(&stream); // the next gzip member
            continue;
        }
        if (status != Z_OK || (inUsed == inSize && inBefore == 0))
            break;
    }
    inflateEnd(&stream);
    return ok;
}

/// Fills `out` from the gzip stream `in`; an error message or empty.
std::string inflateGzip(const unsigned char* in, std::size_t inSize, unsigned char* out, std::size_t outSize) {
#ifdef TARNWICK_HAVE_LIBDEFLATE
    std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> decompressor(
        libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
    if (!decompressor)
        return "out of memory";
    std::size_t inUsed = 0, outUsed = 0;
    // One member at a time: files written in pieces hold several, each with its own size.
    while (outUsed < outSize && inUsed < inSize) {
        std::size_t memberIn = 0, memberOut = 0;
        const libdeflate_result result = libdeflate_gzip_decompress_ex(
            decompressor.get(), in + inUsed, inSize - inUsed, out + outUsed, outSize - outUsed, &memberIn, &memberOut);
        if (result == LIBDEFLATE_INSUFFICIENT_SPACE) // more data than announced: take what is needed
            return inflateWithZlib(in + inUsed, inSize - inUsed, out + outUsed, outSize - outUsed) ? "" : corrupt;
        if (result != LIBDEFLATE_SUCCESS)
            return corrupt;
        inUsed += memberIn;
        outUsed += memberOut;
    }
    return outUsed == outSize ? "" : corrupt;
#else
    return inflateWithZlib(in, inSize, out, outSize) ? "" : corrupt;
#endif
}

/// Fills `out` with `size` bytes of `path` from `offset`; an error message or empty.
std::string readRange(const std::string& path, std::uint64_t offset, unsigned char* out, std::size_t size) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return std::strerror(errno);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got =
            ::pread(fd, out + done, std::min<std::size_t>(size - done, SSIZE_MAX), static_cast<off_t>(offset + done));
        if (got <= 0) {
            const std::string reason = got < 0 ? std::strerror(errno) : "the file is truncated";
            ::close(fd);
            return reason;
        }
        done += static_cast<std::size_t>(got);
    }
    ::close(fd);
    return {};
}

std::optional<PixelType> pixelTypeOfDatatype(int datatype) {
    switch (datatype) {
    case 2:
        return PixelType::UInt8;
    case 4:
        return PixelType::Int16;
    case 8:
        return PixelType::Int32;
    case 16:
        return PixelType::Float;
    case 64:
        return PixelType::Double;
    case 256:
        return PixelType::Int8;
    case 512:
        return PixelType::UInt16;
    case 768:
        return PixelType::UInt32;
    default:
        return std::nullopt;
    }
}

template <typename T>
T load(const unsigned char* bytes, std::size_t index) {
    T value;
    std::memcpy(&value, bytes + index * sizeof(T), sizeof(T));
    return value;
}

/// Whether all `count` values of type T at `bytes` lie in 0..255. Parallel.
template <typename T>
bool fitsUInt8(const unsigned char* bytes, std::size_t count) {
    int outside = 0;
#pragma omp parallel for reduction(| : outside) schedule(static) num_threads(ImageOps::threadsFor(count))
    for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(count); ++i) {
        const T value = load<T>(bytes, static_cast<std::size_t>(i));
        outside |= !(value >= T(0) && value <= T(255));
    }
    return outside == 0;
}

/// Turns the `count` values of type T at `buffer + lead` into bytes at `buffer`, in place. Block k
/// writes bytes [kB, (k+1)B) and reads from lead + k B sizeof(T) on, so once blocks 0..m-1 are done,
/// blocks m..2m-1 only overwrite what those read: the blocks run in waves of doubling size, each wave in
/// parallel.
template <typename T>
void narrowInPlace(unsigned char* buffer, std::size_t lead, std::size_t count) {
    static_assert(sizeof(T) >= 2);
    constexpr std::size_t block = std::size_t(1) << 18;
    const std::size_t blocks = (count + block - 1) / block;
    const auto narrowBlock = [&](std::size_t k) {
        const std::size_t end = std::min(count, (k + 1) * block);
        for (std::size_t i = k * block; i < end; ++i)
            buffer[i] = static_cast<unsigned char>(load<T>(buffer + lead, i));
    };
    if (blocks > 0)
        narrowBlock(0);
    for (std::size_t first = 1; first < blocks; first *= 2) {
        const std::size_t last = std::min(blocks, 2 * first);
#pragma omp parallel for schedule(static) num_threads(ImageOps::threadsFor((last - first) * block))
        for (std::ptrdiff_t k = static_cast<std::ptrdiff_t>(first); k < static_cast<std::ptrdiff_t>(last); ++k)
            narrowBlock(static_cast<std::size_t>(k));
    }
}

/// Gives the whole pages of [begin, end) back to the system; they read as zeros afterwards.
void releasePages(unsigned char* begin, unsigned char* end) {
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const std::uintptr_t first = (reinterpret_cast<std::uintptr_t>(begin) + page - 1) / page * page;
    const std::uintptr_t last = reinterpret_cast<std::uintptr_t>(end) / page * page;
    if (last > first)
        ::madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED);
}

/// Reads the pixel data (`dataBytes` bytes) into a new buffer of S, `lead` bytes into it: after the
/// header's bytes for .nii.gz, at the start for .nii. Null with the reason in `error`.
template <typename S>
std::unique_ptr<S[]> readPixelBytes(const std::string& path, bool gzipped, std::size_t offset, std::size_t lead,
                                    std::size_t dataBytes, std::string& error) {
    std::unique_ptr<S[]> buffer(new S[(lead + dataBytes + sizeof(S) - 1) / sizeof(S)]);
    auto* bytes = reinterpret_cast<unsigned char*>(buffer.get());
    if (gzipped) {
        const MappedFile file(path);
        error = file.data() ? inflateGzip(file.data(), file.size(), bytes, offset + dataBytes)
                            : (file.error().empty() ? corrupt : file.error());
    } else {
        error = readRange(path, offset, bytes, dataBytes);
    }
    return error.empty() ? std::move(buffer) : nullptr;
}

template <typename T>
NiftiPixelReader::Result readTyped(const std::string& path, bool gzipped, const NiftiHeader& header,
                                   const ImageDescriptor& descriptor, bool narrowToUInt8) {
    const std::size_t count = descriptor.numValues();
    const std::size_t dataBytes = count * sizeof(T);
    const auto offset = static_cast<std::size_t>(header.dataOffset);
    const std::size_t lead = gzipped ? offset : 0;
    std::string error;
    if constexpr (sizeof(T) >= 2 && std::is_integral_v<T>) {
        if (narrowToUInt8) {
            std::unique_ptr<unsigned char[]> bytes =
                readPixelBytes<unsigned char>(path, gzipped, offset, lead, dataBytes, error);
            if (!bytes)
                return {nullptr, error};
            if (fitsUInt8<T>(bytes.get() + lead, count)) {
                narrowInPlace<T>(bytes.get(), lead, count);
                releasePages(bytes.get() + count, bytes.get() + lead + dataBytes);
                ImageDescriptor narrowed = descriptor;
                narrowed.pixelType = PixelType::UInt8;
                auto image = TypedImage<unsigned char>::create(narrowed, bytes.get(), MemImage::Ownership::Take);
                bytes.release();
                return {std::move(image), {}};
            }
            // Not a mask after all: the values keep their type, in a buffer of that type.
            auto image = TypedImage<T>::uninitialized(descriptor);
            std::memcpy(image->pointer(), bytes.get() + lead, dataBytes);
            return {std::move(image), {}};
        }
    }
    std::unique_ptr<T[]> values = readPixelBytes<T>(path, gzipped, offset, lead, dataBytes, error);
    if (!values)
        return {nullptr, error};
    if (lead > 0)
        std::memmove(values.get(), reinterpret_cast<unsigned char*>(values.get()) + lead, dataBytes);
    auto image = TypedImage<T>::create(descriptor, values.get(), MemImage::Ownership::Take);
    values.release();
    return {std::move(image), {}};
}

std::string headerBytes(const std::string& path, bool gzipped) {
    std::string bytes(NiftiHeader::maxHeaderBytes, '\0');
    if (gzipped) {
        std::unique_ptr<gzFile_s, int (*)(gzFile)> file(gzopen(path.c_str(), "rb"), gzclose);
        const int got = file ? gzread(file.get(), bytes.data(), static_cast<unsigned>(bytes.size())) : 0;
        bytes.resize(static_cast<std::size_t>(std::max(got, 0)));
    } else {
        std::ifstream in(path, std::ios::binary);
        in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(in.gcount(), 0)));
    }
    return bytes;
}

} // namespace

std::optional<NiftiPixelReader::Result> NiftiPixelReader::read(const std::string& path,
                                                               const ImageDescriptor& descriptor, bool narrowToUInt8) {
    const std::string name = String::toLowerCopy(std::filesystem::path(path).filename().string());
    const bool gzipped = String::endsWith(name, ".gz");
    const std::optional<NiftiHeader> header = NiftiHeader::parse(headerBytes(path, gzipped));
    const std::size_t valueSize = pixelTypeSize(descriptor.pixelType);
    std::uint64_t voxels = 1;
    if (header)
        for (std::int64_t n : header->dims)
            voxels *= static_cast<std::uint64_t>(n);
    if (!header || header->swapped || !header->unscaled() || descriptor.channels != 1 || !header->neededBytes ||
        pixelTypeOfDatatype(header->datatype) != descriptor.pixelType ||
        header->bitsPerVoxel != static_cast<std::int64_t>(8 * valueSize) || voxels != descriptor.numValues() ||
        static_cast<std::uint64_t>(header->dataOffset) % valueSize != 0 ||
        header->dataOffset != static_cast<double>(static_cast<std::uint64_t>(header->dataOffset)))
        return std::nullopt;
    try {
        return dispatchPixelType(descriptor.pixelType, [&](auto tag) {
            return readTyped<typename decltype(tag)::type>(path, gzipped, *header, descriptor, narrowToUInt8);
        });
    } catch (const std::bad_alloc&) {
        return Result{nullptr, "out of memory"};
    }
}

} // namespace Tarnwick
