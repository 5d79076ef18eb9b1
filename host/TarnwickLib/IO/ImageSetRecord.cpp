#include <TarnwickLib/IO/ImageSetRecord.h>

#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/BinaryValue.h>

#include <fmt/format.h>

#include <algorithm>
#include <istream>
#include <memory>
#include <ostream>

namespace Tarnwick {

namespace {

/// Values read before the buffer first grows; it doubles from there up to the declared size.
constexpr std::size_t initialChunkBytes = std::size_t(4) << 20;

void putMatrix(std::ostream& out, const Eigen::Matrix4d& matrix) {
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            putValue<double>(out, matrix(row, column));
}

bool getMatrix(std::istream& in, Eigen::Matrix4d& matrix) {
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            if (!getValue<double>(in, matrix(row, column)))
                return false;
    return true;
}

bool isModality(std::uint32_t value) {
    return value <= static_cast<std::uint32_t>(Data::Label);
}

/// Reads `count` values into a buffer that grows (doubling) only as the stream delivers them, so a
/// count larger than the data never allocates more than a few times what was read. Null when the
/// stream ends first.
template <typename T>
std::unique_ptr<T[]> readValues(std::istream& in, std::size_t count) {
    std::size_t capacity = std::min(count, std::max<std::size_t>(1, initialChunkBytes / sizeof(T)));
    auto buffer = std::make_unique<T[]>(capacity);
    std::size_t filled = 0;
    while (true) {
        const std::size_t wanted = capacity - filled;
        in.read(reinterpret_cast<char*>(buffer.get() + filled), static_cast<std::streamsize>(wanted * sizeof(T)));
        if (static_cast<std::size_t>(in.gcount()) != wanted * sizeof(T))
            return nullptr;
        filled = capacity;
        if (filled == count)
            return buffer;
        capacity = std::min(count, capacity * 2);
        auto grown = std::make_unique<T[]>(capacity);
        std::copy_n(buffer.get(), filled, grown.get());
        buffer = std::move(grown);
    }
}

/// Reads image `index` (0-based) of `count`; null with the reason in `error`.
std::shared_ptr<SharedImage> readImage(std::istream& in, std::uint32_t index, std::uint32_t count, std::string& error) {
    const std::string which = fmt::format("image {} of {}", index + 1, count);
    const auto fail = [&](const std::string& reason) -> std::shared_ptr<SharedImage> {
        error = which + ": " + reason;
        return nullptr;
    };
    std::int32_t typeCode = 0, channels = 0;
    Eigen::Vector3i dimensions;
    Eigen::Vector3d spacing;
    Eigen::Matrix4d matrix;
    std::uint32_t modality = 0;
    std::uint64_t byteCount = 0;
    if (!getValue(in, typeCode) || !getValue(in, dimensions.x()) || !getValue(in, dimensions.y()) ||
        !getValue(in, dimensions.z()) || !getValue(in, channels) || !getValue(in, spacing.x()) ||
        !getValue(in, spacing.y()) || !getValue(in, spacing.z()) || !getMatrix(in, matrix) || !getValue(in, modality) ||
        !getValue(in, byteCount))
        return fail("the record ends inside the image header");
    if (!isValidPixelType(typeCode))
        return fail(fmt::format("unknown pixel type code {}", typeCode));
    const ImageDescriptor descriptor(static_cast<PixelType>(typeCode), dimensions, channels, spacing);
    if (!descriptor.isValid())
        return fail(descriptor.validationError());
    if (!matrix.allFinite())
        return fail("the placement matrix has non-finite values");
    if (!isModality(modality))
        return fail(fmt::format("unknown modality {}", modality));
    if (byteCount != descriptor.byteSize())
        return fail(fmt::format("{} value bytes stored but the descriptor ({}) needs {}", byteCount,
                                descriptor.describe(), descriptor.byteSize()));

    std::shared_ptr<MemImage> mem = dispatchPixelType(descriptor.pixelType, [&](auto tag) -> std::shared_ptr<MemImage> {
        using T = typename decltype(tag)::type;
        std::unique_ptr<T[]> values = readValues<T>(in, descriptor.numValues());
        if (!values)
            return nullptr;
        auto image = TypedImage<T>::create(descriptor, values.get(), MemImage::Ownership::Take);
        values.release(); // now owned by the image
        return image;
    });
    if (!mem)
        return fail(fmt::format("the record ends inside the values ({} bytes expected)", byteCount));
    return std::make_shared<SharedImage>(std::move(mem), matrix, static_cast<Data::Modality>(modality));
}

} // namespace

bool ImageSetRecord::write(const SharedImageSet& images, std::ostream& out) {
    putValue<std::uint32_t>(out, version);
    putValue<std::uint32_t>(out, static_cast<std::uint32_t>(images.modality()));
    putMatrix(out, images.matrixToWorld());
    putValue<std::int32_t>(out, images.selectedIndex());
    putValue<std::uint32_t>(out, static_cast<std::uint32_t>(images.size()));
    for (int i = 0; i < images.size() && out; ++i) {
        const SharedImage& image = *images.get(i);
        const ImageDescriptor& descriptor = image.descriptor();
        putValue<std::int32_t>(out, static_cast<std::int32_t>(descriptor.pixelType));
        for (int axis = 0; axis < 3; ++axis)
            putValue<std::int32_t>(out, descriptor.dimensions[axis]);
        putValue<std::int32_t>(out, descriptor.channels);
        for (int axis = 0; axis < 3; ++axis)
            putValue<double>(out, descriptor.spacing[axis]);
        putMatrix(out, image.matrixToWorld());
        putValue<std::uint32_t>(out, static_cast<std::uint32_t>(image.modality()));
        putValue<std::uint64_t>(out, descriptor.byteSize());
        out.write(static_cast<const char*>(image.mem()->data()), static_cast<std::streamsize>(descriptor.byteSize()));
    }
    return static_cast<bool>(out);
}

bool ImageSetRecord::read(SharedImageSet& images, std::istream& in, std::string& error) {
    if (!images.empty()) {
        error = "an image record can only be read into an empty image set";
        return false;
    }
    std::uint32_t recordVersion = 0, modality = 0, count = 0;
    Eigen::Matrix4d matrix;
    std::int32_t selected = 0;
    if (!getValue(in, recordVersion)) {
        error = "the record ends before its version";
        return false;
    }
    if (recordVersion != version) {
        error =
            fmt::format("unsupported image record version {} (this program reads version {})", recordVersion, version);
        return false;
    }
    if (!getValue(in, modality) || !getMatrix(in, matrix) || !getValue(in, selected) || !getValue(in, count)) {
        error = "the record ends inside the image set header";
        return false;
    }
    if (!isModality(modality)) {
        error = fmt::format("unknown image set modality {}", modality);
        return false;
    }
    if (!matrix.allFinite()) {
        error = "the image set's placement matrix has non-finite values";
        return false;
    }
    if (selected < 0 || (count > 0 && static_cast<std::uint32_t>(selected) >= count) || (count == 0 && selected != 0)) {
        error = fmt::format("selected image {} is not one of the {} images", selected, count);
        return false;
    }
    // The set's modality first, so that adding images does not replace it with the first image's.
    images.setModality(static_cast<Data::Modality>(modality));
    for (std::uint32_t i = 0; i < count; ++i) {
        std::shared_ptr<SharedImage> image = readImage(in, i, count, error);
        if (!image)
            return false;
        images.add(std::move(image));
    }
    // Adding images placed the set at the first image; the stored set matrix may differ from it.
    images.Data::setMatrixToWorld(matrix);
    images.setSelectedIndex(selected);
    return true;
}

} // namespace Tarnwick
