#include <TarnwickGL/PngWriter.h>

#include <TarnwickLib/IO/AtomicFileWriter.h>

#include <png.h>

#include <cstring>

namespace Tarnwick {

namespace {

bool fail(std::string* error, std::string message) {
    if (error)
        *error = std::move(message);
    return false;
}

} // namespace

bool writePng(const std::string& path, int width, int height, const std::vector<std::uint8_t>& rgba,
              std::string* error) {
    if (width < 1 || height < 1 || width > 1 << 20 || height > 1 << 20)
        return fail(error, "cannot write '" + path + "': invalid picture size " + std::to_string(width) + "x" +
                               std::to_string(height));
    if (rgba.size() != static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4)
        return fail(error, "cannot write '" + path + "': " + std::to_string(rgba.size()) + " bytes given for a " +
                               std::to_string(width) + "x" + std::to_string(height) + " RGBA picture");
    png_image image;
    std::memset(&image, 0, sizeof(image));
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = PNG_FORMAT_RGBA;
    // First call measures the encoded size, the second encodes.
    png_alloc_size_t encodedSize = 0;
    if (!png_image_write_to_memory(&image, nullptr, &encodedSize, 0, rgba.data(), 0, nullptr))
        return fail(error, "cannot encode '" + path + "': " + image.message);
    std::vector<unsigned char> encoded(encodedSize);
    if (!png_image_write_to_memory(&image, encoded.data(), &encodedSize, 0, rgba.data(), 0, nullptr))
        return fail(error, "cannot encode '" + path + "': " + image.message);
    png_image_free(&image);

    AtomicFileWriter writer(path);
    std::string reason;
    if (!writer.open(reason))
        return fail(error, "cannot write '" + path + "': " + reason);
    writer.stream().write(reinterpret_cast<const char*>(encoded.data()), static_cast<std::streamsize>(encodedSize));
    if (!writer.commit(reason))
        return fail(error, "cannot write '" + path + "': " + reason);
    return true;
}

} // namespace Tarnwick
