#include <TarnwickLib/IO/DataFileIO.h>

#include <TarnwickCore/Filesystem.h>
#include <TarnwickCore/Log.h>
#include <TarnwickCore/String.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Algorithm/IoAlgorithm.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/ImageFileIO.h>
#include <TarnwickLib/IO/MeshFileIO.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <algorithm>

namespace Tarnwick {

namespace {

const char* const category = "DataFileIO";

bool isDataFile(const std::string& path) {
    return Filesystem::Path(path).extension() == TarnwickFile::extension;
}

/// Calls `visit` with each I/O algorithm of the catalogue that works in `mode` on `data` (owned by
/// the visitor), until it returns true.
template <typename Visit>
void visitIoAlgorithms(const DataList& data, IoAlgorithm::Mode mode, Visit&& visit) {
    for (const auto& info : FactoryRegistry::get().algorithms()) {
        if (!info.factory->isCompatible(info.id, data))
            continue;
        std::unique_ptr<Algorithm> algorithm = info.factory->create(info.id, data);
        auto* io = dynamic_cast<IoAlgorithm*>(algorithm.get());
        if (!io || io->ioMode() != mode)
            continue;
        algorithm.release();
        if (visit(std::unique_ptr<IoAlgorithm>(io)))
            return;
    }
}

/// The first catalogue I/O algorithm that works in `mode` on `data` and handles the extension of
/// `path`, with its location set; null when there is none.
std::unique_ptr<IoAlgorithm> ioAlgorithmFor(const std::string& path, const DataList& data, IoAlgorithm::Mode mode) {
    std::unique_ptr<IoAlgorithm> found;
    visitIoAlgorithms(data, mode, [&](std::unique_ptr<IoAlgorithm> io) {
        if (io->canLoad(path))
            found = std::move(io);
        return found != nullptr;
    });
    if (found)
        found->setLocation(path);
    return found;
}

std::string extensionOf(const std::string& path) {
    const std::string extension = Filesystem::Path(path).extension();
    return extension.empty() ? "files without an extension" : "'." + extension + "' files";
}

std::optional<OwningDataList> loadWithAlgorithm(const std::string& path, Progress* progress) {
    std::unique_ptr<IoAlgorithm> reader = ioAlgorithmFor(path, DataList{}, IoAlgorithm::Load);
    if (!reader) {
        TW_LOG_CAT_ERROR(category, "Cannot load '{}': no reader for {} (known: {})", path, extensionOf(path),
                         String::join(DataFileIO::loadableExtensions(), ", "));
        return std::nullopt;
    }
    reader->setProgress(progress);
    reader->compute();
    OwningDataList output = reader->takeOutput();
    if (reader->status() != Algorithm::Success || output.empty()) {
        TW_LOG_CAT_ERROR(category, "Cannot load '{}': {} failed with status {}", path, reader->factoryInfo().id,
                         reader->status());
        return std::nullopt;
    }
    return output;
}

} // namespace

std::optional<OwningDataList> DataFileIO::load(const std::string& path, Progress* progress) {
    if (!File::exists(path)) {
        TW_LOG_CAT_ERROR(category, "Cannot load '{}': {}", path,
                         Filesystem::Path(path).exists() ? "not a regular file" : "no such file");
        return std::nullopt;
    }
    if (isDataFile(path))
        return TarnwickFile::load(path, progress);
    if (ImageFileIO::isSupported(path)) {
        ImageFileIO::LoadResult result = ImageFileIO::load(path);
        if (!result) {
            TW_LOG_CAT_ERROR(category, "Cannot load '{}': {}", path, result.error);
            return std::nullopt;
        }
        OwningDataList list;
        list.add(std::move(result.images));
        return list;
    }
    if (MeshFileIO::isSupported(path)) {
        MeshFileIO::LoadResult result = MeshFileIO::load(path);
        if (!result.mesh) {
            TW_LOG_CAT_ERROR(category, "Cannot load '{}': {}", path, result.error);
            return std::nullopt;
        }
        OwningDataList list;
        list.add(std::move(result.mesh));
        return list;
    }
    return loadWithAlgorithm(path, progress);
}

bool DataFileIO::save(const std::string& path, const DataList& data, Progress* progress) {
    if (data.empty()) {
        TW_LOG_CAT_ERROR(category, "Cannot save '{}': no data to save", path);
        return false;
    }
    if (isDataFile(path))
        return TarnwickFile::save(path, data, progress);
    if (ImageFileIO::isSupported(path)) {
        const auto* images = data.size() == 1 ? dynamic_cast<const SharedImageSet*>(data[0]) : nullptr;
        if (!images) {
            TW_LOG_CAT_ERROR(category, "Cannot save '{}': an image file holds exactly one image set", path);
            return false;
        }
        const ImageFileIO::SaveResult result = ImageFileIO::save(*images, path);
        if (!result)
            TW_LOG_CAT_ERROR(category, "Cannot save '{}': {}", path, result.error);
        return result.ok();
    }
    if (MeshFileIO::isSupported(path)) {
        const auto* mesh = data.size() == 1 ? dynamic_cast<const Mesh*>(data[0]) : nullptr;
        const std::string error = mesh ? MeshFileIO::save(*mesh, path) : "a PLY file holds exactly one mesh";
        if (!error.empty())
            TW_LOG_CAT_ERROR(category, "Cannot save '{}': {}", path, error);
        return error.empty();
    }
    std::unique_ptr<IoAlgorithm> writer = ioAlgorithmFor(path, data, IoAlgorithm::Save);
    if (!writer) {
        TW_LOG_CAT_ERROR(category, "Cannot save '{}': no writer for {} accepts {}", path, extensionOf(path),
                         data.size() == 1 ? FactoryRegistry::get().describe(*data[0])
                                          : std::to_string(data.size()) + " data sets");
        return false;
    }
    writer->setProgress(progress);
    writer->compute();
    if (writer->status() != Algorithm::Success) {
        TW_LOG_CAT_ERROR(category, "Cannot save '{}': {} failed with status {}", path, writer->factoryInfo().id,
                         writer->status());
        return false;
    }
    return true;
}

std::vector<std::string> DataFileIO::loadableExtensions() {
    std::vector<std::string> extensions{std::string(".") + TarnwickFile::extension};
    for (const std::string& extension : ImageFileIO::supportedExtensions())
        extensions.push_back(extension);
    extensions.push_back(std::string(".") + MeshFileIO::extension);
    visitIoAlgorithms(DataList{}, IoAlgorithm::Load, [&](std::unique_ptr<IoAlgorithm> io) {
        for (const std::string& extension : io->supportedFileExtensions())
            if (std::find(extensions.begin(), extensions.end(), "." + extension) == extensions.end())
                extensions.push_back("." + extension);
        return false;
    });
    return extensions;
}

} // namespace Tarnwick
