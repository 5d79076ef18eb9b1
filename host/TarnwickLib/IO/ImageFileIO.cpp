// Image file reading and writing through ITK's image IO classes. This is the only source file that
// includes ITK: the IO object for a format is chosen by extension (no factory registration), the
// header is read and checked before any pixel memory is allocated, and the pixel data is read
// straight into the TypedImage's buffer.

// ITK's headers would otherwise bring their bundled, older Eigen, which clashes with the project's.
#define ITK_USE_SYSTEM_EIGEN

#include <TarnwickLib/IO/ImageFileIO.h>

#include <TarnwickCore/String.h>
#include <TarnwickLib/IO/ImageFileLayout.h>
#include <TarnwickLib/IO/NiftiPixelReader.h>
#include <TarnwickLib/IO/SaveTemporary.h>
#include <TarnwickLib/IO/TiffFile.h>
#include <TarnwickLib/IO/TiffGeometry.h>

#include <itkImageIOBase.h>
#include <itkMetaImageIO.h>
#include <itkNiftiImageIO.h>
#include <itkNrrdImageIO.h>
#include <itkTIFFImageIO.h>

#include <Eigen/LU>
#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

namespace fs = std::filesystem;

namespace Tarnwick {

namespace {

enum class Format { Nifti, Nrrd, MetaImage, Tiff };

struct FormatEntry {
    const char* extension;
    Format format;
    const char* name;
};

// Longer extensions first so that ".nii.gz" wins over a bare ".gz".
constexpr FormatEntry formats[] = {
    {".nii.gz", Format::Nifti, "NIfTI"},      {".nii", Format::Nifti, "NIfTI"},
    {".nrrd", Format::Nrrd, "NRRD"},          {".nhdr", Format::Nrrd, "NRRD"},
    {".mha", Format::MetaImage, "MetaImage"}, {".mhd", Format::MetaImage, "MetaImage"},
    {".tiff", Format::Tiff, "TIFF"},          {".tif", Format::Tiff, "TIFF"},
};

const FormatEntry* formatOf(const std::string& path) {
    const std::string name = String::toLowerCopy(fs::path(path).filename().string());
    for (const FormatEntry& entry : formats) {
        const std::string_view ext = entry.extension;
        if (name.size() > ext.size() && String::endsWith(name, ext))
            return &entry;
    }
    return nullptr;
}

std::string unsupportedExtension(const std::string& path) {
    std::string list;
    for (const FormatEntry& entry : formats)
        list += (list.empty() ? "" : ", ") + std::string(entry.extension);
    return fmt::format("Unsupported image file extension in '{}' (supported: {})", path, list);
}

/// File name without the format's extension, used as the name of a loaded set.
std::string baseName(const std::string& path, const FormatEntry& format) {
    const std::string name = fs::path(path).filename().string();
    return name.substr(0, name.size() - std::string(format.extension).size());
}

itk::ImageIOBase::Pointer createImageIO(Format format) {
    switch (format) {
    case Format::Nifti:
        return itk::NiftiImageIO::New().GetPointer();
    case Format::Nrrd:
        return itk::NrrdImageIO::New().GetPointer();
    case Format::MetaImage:
        return itk::MetaImageIO::New().GetPointer();
    case Format::Tiff:
        return itk::TIFFImageIO::New().GetPointer();
    }
    return nullptr;
}

using Component = itk::IOComponentEnum;

std::optional<PixelType> pixelTypeOf(Component component) {
    switch (component) {
    case Component::CHAR:
        return PixelType::Int8;
    case Component::UCHAR:
        return PixelType::UInt8;
    case Component::SHORT:
        return PixelType::Int16;
    case Component::USHORT:
        return PixelType::UInt16;
    case Component::INT:
        return PixelType::Int32;
    case Component::UINT:
        return PixelType::UInt32;
    case Component::FLOAT:
        return PixelType::Float;
    case Component::DOUBLE:
        return PixelType::Double;
    default:
        return std::nullopt;
    }
}

Component componentOf(PixelType type) {
    switch (type) {
    case PixelType::Int8:
        return Component::CHAR;
    case PixelType::UInt8:
        return Component::UCHAR;
    case PixelType::Int16:
        return Component::SHORT;
    case PixelType::UInt16:
        return Component::USHORT;
    case PixelType::Int32:
        return Component::INT;
    case PixelType::UInt32:
        return Component::UINT;
    case PixelType::Float:
        return Component::FLOAT;
    case PixelType::Double:
        return Component::DOUBLE;
    }
    return Component::UNKNOWNCOMPONENTTYPE;
}

bool tiffSupports(PixelType type) {
    return type == PixelType::Int8 || type == PixelType::UInt8 || type == PixelType::Int16 ||
           type == PixelType::UInt16 || type == PixelType::Float;
}

/// ITK's description without its "itk::ERROR: ClassName(0x...): " prefix and trailing newlines.
std::string itkMessage(const itk::ExceptionObject& e) {
    std::string text = e.GetDescription();
    for (const char* prefix : {"itk::ERROR: ", "ITK ERROR: "}) {
        if (String::startsWith(text, prefix)) {
            const std::size_t end = text.find("): ");
            text = text.substr(end == std::string::npos ? std::strlen(prefix) : end + 3);
        }
    }
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

std::size_t physicalMemoryBytes() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGE_SIZE);
    if (pages <= 0 || pageSize <= 0)
        return SIZE_MAX;
    return static_cast<std::size_t>(pages) * static_cast<std::size_t>(pageSize);
}

/// Origin, direction and spacing as a file stores them (world = origin + direction * diag(spacing) * index).
struct FileGeometry {
    Eigen::Vector3d origin = Eigen::Vector3d::Zero();
    Eigen::Matrix3d direction = Eigen::Matrix3d::Identity();
    Eigen::Vector3d spacing = Eigen::Vector3d::Ones();
};

Eigen::Vector3d centreIndex(const Eigen::Vector3i& dimensions) {
    return (dimensions.cast<double>() - Eigen::Vector3d::Ones()) / 2;
}

Eigen::Matrix4d matrixToWorldOf(const FileGeometry& g, const Eigen::Vector3i& dimensions) {
    Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
    m.topLeftCorner<3, 3>() = g.direction;
    m.topRightCorner<3, 1>() = g.origin + g.direction * g.spacing.asDiagonal() * centreIndex(dimensions);
    return m;
}

/// The file geometry of an image; column lengths of the matrix's 3x3 part other than 1 go into the spacing.
/// Empty when the matrix is not an invertible affine map.
std::optional<FileGeometry> fileGeometryOf(const ImageDescriptor& d, const Eigen::Matrix4d& toWorld) {
    if (!toWorld.allFinite() || toWorld.row(3) != Eigen::RowVector4d(0, 0, 0, 1))
        return std::nullopt;
    const Eigen::Matrix3d linear = toWorld.topLeftCorner<3, 3>();
    Eigen::Vector3d lengths = linear.colwise().norm().transpose();
    if ((lengths.array() <= 0).any())
        return std::nullopt;
    // Directions read from a file are unit length up to its precision; leaving them as they are
    // keeps a load-save cycle from changing the spacing in the last digit.
    for (int i = 0; i < 3; ++i)
        if (std::abs(lengths[i] - 1.0) < 1e-9)
            lengths[i] = 1.0;
    FileGeometry g;
    g.direction = linear * lengths.cwiseInverse().asDiagonal();
    if (std::abs(g.direction.determinant()) < 1e-9)
        return std::nullopt;
    g.spacing = d.spacing.cwiseProduct(lengths);
    g.origin = toWorld.topRightCorner<3, 1>() - g.direction * g.spacing.asDiagonal() * centreIndex(d.dimensions);
    return g;
}

/// A 2-D image whose plane is z = 0 with spacing 1 along z fits a 2-D file without losing anything.
bool fitsTwoDimensionalFile(const ImageDescriptor& d, const FileGeometry& g) {
    return d.is2D() && g.spacing.z() == 1.0 && g.origin.z() == 0.0 && g.direction(2, 2) == 1.0 &&
           g.direction(2, 0) == 0.0 && g.direction(2, 1) == 0.0 && g.direction(0, 2) == 0.0 && g.direction(1, 2) == 0.0;
}

itk::ImageIORegion fullRegion(const Eigen::Vector3i& dimensions, unsigned int dimensionCount) {
    itk::ImageIORegion region(dimensionCount);
    for (unsigned int i = 0; i < dimensionCount; ++i) {
        region.SetIndex(i, 0);
        region.SetSize(i, i < 3 ? dimensions[i] : 1);
    }
    return region;
}

/// Number of pixel values (voxels times channels) of an image.
std::uint64_t valueCountOf(const ImageDescriptor& d) {
    return static_cast<std::uint64_t>(d.dimensions.cast<std::int64_t>().prod()) *
           static_cast<std::uint64_t>(d.channels);
}

/// Reads the header into descriptor and geometry; returns an error message or an empty string.
std::string readHeader(itk::ImageIOBase& io, const std::string& path, ImageDescriptor& d, FileGeometry& g) {
    io.ReadImageInformation();
    const unsigned int dimensionCount = io.GetNumberOfDimensions();
    if (dimensionCount == 0)
        return fmt::format("Corrupt image header in '{}': no dimensions", path);
    for (unsigned int i = 3; i < dimensionCount; ++i)
        if (io.GetDimensions(i) != 1)
            return fmt::format("Unsupported image in '{}': {} dimensions (only 2-D and 3-D images are supported)", path,
                               dimensionCount);

    const std::optional<PixelType> type = pixelTypeOf(io.GetComponentType());
    if (!type)
        return fmt::format("Unsupported pixel type '{}' in '{}' (supported: int8, uint8, int16, uint16, int32, "
                           "uint32, float, double)",
                           itk::ImageIOBase::GetComponentTypeAsString(io.GetComponentType()), path);
    if (io.GetPixelType() == itk::IOPixelEnum::COMPLEX)
        return fmt::format("Unsupported pixel type 'complex' in '{}'", path);

    d.pixelType = *type;
    d.channels = static_cast<int>(std::min<unsigned int>(io.GetNumberOfComponents(), INT_MAX));
    d.dimensions.setOnes();
    d.spacing.setOnes();
    for (unsigned int i = 0; i < std::min(dimensionCount, 3u); ++i) {
        const auto size = io.GetDimensions(i);
        if (size > static_cast<itk::SizeValueType>(INT_MAX))
            return fmt::format("Corrupt image header in '{}': dimension {} has size {} (negative or too large)", path,
                               i, size);
        d.dimensions[i] = static_cast<int>(size);
        d.spacing[i] = io.GetSpacing(i);
        g.origin[i] = io.GetOrigin(i);
        const std::vector<double> column = io.GetDirection(i);
        for (unsigned int j = 0; j < std::min<std::size_t>(column.size(), 3); ++j)
            g.direction(j, i) = column[j];
    }
    g.spacing = d.spacing;
    const std::string invalid = d.validationError();
    if (!invalid.empty())
        return fmt::format("Corrupt image header in '{}': {}", path, invalid);
    if (!g.origin.allFinite() || !g.direction.allFinite() || std::abs(g.direction.determinant()) < 1e-9)
        return fmt::format("Corrupt image header in '{}': invalid origin or direction", path);
    if (d.byteSize() > physicalMemoryBytes())
        return fmt::format("Image in '{}' needs {} bytes, more than this machine's memory", path, d.byteSize());
    return {};
}

ImageFileIO::LoadResult loadWithItk(const std::string& path, const FormatEntry& format,
                                    const ImageFileIO::LoadOptions& options) {
    itk::ImageIOBase::Pointer io = createImageIO(format.format);
    const std::string unsafe = ImageFileLayout::checkHeader(path);
    if (!unsafe.empty())
        return {nullptr, fmt::format("Cannot read '{}': {}", path, unsafe)};
    if (!io->CanReadFile(path.c_str()))
        return {nullptr, fmt::format("Cannot read '{}': not a valid {} file", path, format.name)};
    io->SetFileName(path);

    ImageDescriptor descriptor;
    FileGeometry geometry;
    const std::string headerError = readHeader(*io, path, descriptor, geometry);
    if (!headerError.empty())
        return {nullptr, headerError};
    // TIFF images are placed by the description this program writes; others are centred at the world origin.
    std::optional<TiffGeometry> tiffGeometry;
    if (format.format == Format::Tiff) {
        const std::optional<std::string> text = TiffFile::description(path);
        tiffGeometry = text ? TiffGeometry::parse(*text, descriptor.spacing.head<2>()) : std::nullopt;
        if (tiffGeometry)
            descriptor.spacing = tiffGeometry->spacing;
    }

    const std::string layoutError =
        ImageFileLayout::checkDataSize(path, descriptor.byteSize(), valueCountOf(descriptor));
    if (!layoutError.empty())
        return {nullptr, fmt::format("Cannot read '{}': {}", path, layoutError)};

    // The header as the IO class read it places the image; NIfTI pixel data that is stored as it is
    // comes faster without it.
    std::shared_ptr<MemImage> mem;
    if (format.format == Format::Nifti) {
        std::optional<NiftiPixelReader::Result> read = NiftiPixelReader::read(path, descriptor, options.narrowIntegers);
        if (read && !read->image)
            return {nullptr, fmt::format("Cannot read '{}': {}", path, read->error)};
        if (read)
            mem = std::move(read->image);
    }
    if (!mem) {
        mem = dispatchPixelType(descriptor.pixelType, [&](auto tag) -> std::shared_ptr<MemImage> {
            return TypedImage<typename decltype(tag)::type>::uninitialized(descriptor);
        });
        io->SetIORegion(fullRegion(descriptor.dimensions, io->GetNumberOfDimensions()));
        io->Read(mem->data());
    }

    const Eigen::Matrix4d toWorld = format.format != Format::Tiff ? matrixToWorldOf(geometry, descriptor.dimensions)
                                    : tiffGeometry                ? tiffGeometry->matrixToWorld
                                                                  : Eigen::Matrix4d::Identity();
    auto image = std::make_shared<SharedImage>(mem, toWorld);
    return {std::make_unique<SharedImageSet>(image, baseName(path, format)), {}};
}

/// Configures `io` for the image and writes it to `path`.
void writeWithItk(itk::ImageIOBase& io, const MemImage& mem, const FileGeometry& g, bool twoDimensional, bool compress,
                  const std::string& path) {
    const ImageDescriptor& d = mem.descriptor();
    const unsigned int dimensionCount = twoDimensional ? 2 : 3;
    io.SetNumberOfDimensions(dimensionCount);
    for (unsigned int i = 0; i < dimensionCount; ++i) {
        io.SetDimensions(i, d.dimensions[i]);
        io.SetSpacing(i, g.spacing[i]);
        io.SetOrigin(i, g.origin[i]);
        std::vector<double> column(dimensionCount);
        for (unsigned int j = 0; j < dimensionCount; ++j)
            column[j] = g.direction(j, i);
        io.SetDirection(i, column);
    }
    io.SetComponentType(componentOf(d.pixelType));
    io.SetNumberOfComponents(d.channels);
    io.SetPixelType(d.channels == 1 ? itk::IOPixelEnum::SCALAR : itk::IOPixelEnum::VECTOR);
    io.SetUseCompression(compress);
    io.SetFileName(path);
    io.SetIORegion(fullRegion(d.dimensions, dimensionCount));
    io.Write(mem.data());
}

/// The name under which the writer creates a file for `target` in the staging folder. Detached headers
/// are staged under another name because the writers name the data file after the header: a NRRD
/// header X.nhdr is written as X.nrrd.nhdr, so its data goes to X.nrrd.raw (X.nrrd.raw.gz compressed)
/// and never to the X.raw of a MetaImage header X.mhd (whose data stays X.raw, X.zraw compressed).
std::string stagedName(const fs::path& target, const FormatEntry& format) {
    const std::string name = target.filename().string();
    if (std::string(format.extension) != ".nhdr")
        return name;
    return name.substr(0, name.size() - 5) + ".nrrd" + name.substr(name.size() - 5);
}

/// Moves every file of the staging folder next to `target`, the staged `header` last (renamed to the
/// target's name) so that a detached header only appears once its data file is in place.
std::string publish(const SaveTemporary& staging, const std::string& header, const fs::path& target) {
    const fs::path staged = staging.path() / header;
    std::error_code ec;
    for (const fs::directory_entry& entry : fs::directory_iterator(staging.path(), ec)) {
        if (entry.path() == staged)
            continue;
        fs::rename(entry.path(), target.parent_path() / entry.path().filename(), ec);
        if (ec)
            return fmt::format("Cannot write '{}': {}", (target.parent_path() / entry.path().filename()).string(),
                               ec.message());
    }
    if (ec)
        return fmt::format("Cannot write '{}': {}", target.string(), ec.message());
    fs::rename(staged, target, ec);
    if (ec)
        return fmt::format("Cannot write '{}': {}", target.string(), ec.message());
    return {};
}

ImageFileIO::SaveResult saveWithItk(const SharedImage& image, const fs::path& target, const FormatEntry& format,
                                    const ImageFileIO::SaveOptions& options) {
    const ImageDescriptor& d = image.descriptor();
    const std::optional<FileGeometry> geometry = fileGeometryOf(d, image.matrixToWorld());
    if (!geometry)
        return {
            fmt::format("Cannot save '{}': the image's matrix is not an invertible affine placement", target.string())};
    if (format.format == Format::Tiff && !tiffSupports(d.pixelType))
        return {fmt::format("Cannot save '{}': TIFF files hold int8, uint8, int16, uint16 or float values, not {}",
                            target.string(), pixelTypeName(d.pixelType))};

    // A link is written through: the file it points to is replaced, next to that file.
    const fs::path destination = SaveTemporary::resolveLinks(target);
    const SaveTemporary staging(destination, SaveTemporary::Kind::Folder);
    if (!staging.created())
        return {fmt::format("Cannot save '{}': cannot create a temporary folder next to it ({})", target.string(),
                            std::strerror(staging.errorNumber()))};
    itk::ImageIOBase::Pointer io = createImageIO(format.format);
    const bool compress = options.compress || std::string(format.extension) == ".nii.gz";
    const std::string header = stagedName(destination, format);
    const std::string staged = (staging.path() / header).string();
    // Some writers ignore a failed write, so the staged files are checked as a load would check them.
    std::string failure;
    try {
        writeWithItk(*io, *image.mem(), *geometry, fitsTwoDimensionalFile(d, *geometry), compress, staged);
        if (format.format == Format::Tiff)
            failure = TiffFile::setDescription(staged, TiffGeometry{d.spacing, image.matrixToWorld()}.text());
        if (failure.empty())
            failure = ImageFileLayout::checkDataSize(staged, d.byteSize(), valueCountOf(d));
    } catch (const itk::ExceptionObject& e) {
        failure = itkMessage(e);
    }
    if (!failure.empty()) {
        const std::string cause = staging.spaceShortage(d.byteSize());
        return {fmt::format("Cannot save '{}': {}", target.string(), cause.empty() ? failure : cause)};
    }
    return {publish(staging, header, destination)};
}

} // namespace

ImageFileIO::LoadResult ImageFileIO::load(const std::string& path, const LoadOptions& options) {
    const FormatEntry* format = formatOf(path);
    if (!format)
        return {nullptr, unsupportedExtension(path)};
    std::error_code ec;
    if (!fs::exists(path, ec))
        return {nullptr, fmt::format("Cannot read '{}': the file does not exist", path)};
    if (!fs::is_regular_file(path, ec))
        return {nullptr, fmt::format("Cannot read '{}': not a regular file", path)};
    try {
        return loadWithItk(path, *format, options);
    } catch (const itk::ExceptionObject& e) {
        return {nullptr, fmt::format("Cannot read '{}': {}", path, itkMessage(e))};
    } catch (const std::bad_alloc&) {
        return {nullptr, fmt::format("Cannot read '{}': out of memory", path)};
    } catch (const std::exception& e) {
        return {nullptr, fmt::format("Cannot read '{}': {}", path, e.what())};
    } catch (...) {
        return {nullptr, fmt::format("Cannot read '{}': unknown error", path)};
    }
}

ImageFileIO::SaveResult ImageFileIO::save(const SharedImageSet& images, const std::string& path,
                                          const SaveOptions& options) {
    const FormatEntry* format = formatOf(path);
    if (!format)
        return {unsupportedExtension(path)};
    if (images.size() != 1)
        return {fmt::format("Cannot save '{}': an image file holds one image, the set has {}", path, images.size())};
    try {
        return saveWithItk(*images.get(0), fs::path(path), *format, options);
    } catch (const itk::ExceptionObject& e) {
        return {fmt::format("Cannot save '{}': {}", path, itkMessage(e))};
    } catch (const std::exception& e) {
        return {fmt::format("Cannot save '{}': {}", path, e.what())};
    } catch (...) {
        return {fmt::format("Cannot save '{}': unknown error", path)};
    }
}

bool ImageFileIO::isSupported(const std::string& path) {
    return formatOf(path) != nullptr;
}

std::vector<std::string> ImageFileIO::supportedExtensions() {
    std::vector<std::string> result;
    for (const FormatEntry& entry : formats)
        result.emplace_back(entry.extension);
    return result;
}

} // namespace Tarnwick
