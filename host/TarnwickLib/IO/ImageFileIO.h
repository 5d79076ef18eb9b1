#pragma once

#include <TarnwickLib/Image/SharedImageSet.h>

#include <memory>
#include <string>
#include <vector>

namespace Tarnwick {

/// Reads and writes one image per file in the medical image formats, chosen by extension:
/// NIfTI (.nii, .nii.gz), NRRD (.nrrd, .nhdr with a detached data file), MetaImage (.mha, .mhd with
/// a detached data file) and TIFF (.tif, .tiff; multi-page files are 3-D stacks).
///
/// All eight pixel types, 2-D and 3-D images and interleaved channels are supported where the format
/// allows them. Placement: a file stores origin o (centre of voxel 0), direction D and spacing s in
/// LPS world coordinates, world = o + D * diag(s) * index; the loaded image gets
/// matrixToWorld = [D, o + D * diag(s) * (dimensions - 1) / 2; 0 0 0 1], and saving inverts this, so
/// loading and saving again reproduces spacing, origin and direction to the precision of the format.
/// TIFF files keep the spacing of all axes and the matrix in the first page's ImageDescription;
/// TIFF files without it (or whose resolution tags another program changed) load with the tags'
/// spacing and an identity direction, centred at the origin.
///
/// Failures (missing or unreadable file, unknown extension, unsupported pixel type or dimension,
/// corrupt header or data, a disk error while saving) come back as a message; nothing is thrown.
class ImageFileIO {
public:
    struct LoadResult {
        /// The loaded set with one image named after the file; null on failure.
        std::unique_ptr<SharedImageSet> images;
        /// Why loading failed; empty on success.
        std::string error;
        explicit operator bool() const { return images != nullptr; }
    };

    struct SaveResult {
        /// Why saving failed; empty on success.
        std::string error;
        bool ok() const { return error.empty(); }
        explicit operator bool() const { return ok(); }
    };

    struct SaveOptions {
        /// Compress the pixel data (gzip) in NRRD and MetaImage files; .nii.gz is always compressed.
        bool compress = false;
    };

    struct LoadOptions {
        /// Integer images of 16 or 32 bits per value whose values all lie in 0..255 (masks and label
        /// maps saved in a wide type) load as unsigned 8-bit images with the same values, without a
        /// copy in the wide type (NIfTI files; other formats keep their type).
        bool narrowIntegers = false;
    };

    /// Reads the image at `path`. The set gets the file's modality NA and the file name without
    /// its extension as name. Images larger than the machine's physical memory are refused.
    static LoadResult load(const std::string& path, const LoadOptions& options);
    static LoadResult load(const std::string& path) { return load(path, LoadOptions()); }

    /// Writes the set's single image to `path`. The file (and a detached data file) is first written
    /// into a temporary folder next to the target and renamed over the target only when writing
    /// succeeded, so a failed save leaves an existing file untouched.
    ///
    /// A matrix whose 3x3 part has columns that are not unit length stores the column lengths in
    /// the spacing. A 2-D image whose placement stays in the z = 0 plane is written as a 2-D file,
    /// any other 2-D image as a 3-D file with one slice.
    static SaveResult save(const SharedImageSet& images, const std::string& path, const SaveOptions& options);
    static SaveResult save(const SharedImageSet& images, const std::string& path) {
        return save(images, path, SaveOptions());
    }

    /// True when the extension of `path` names a supported format (case-insensitive).
    static bool isSupported(const std::string& path);
    /// The supported extensions, with their dot: ".nii", ".nii.gz", ...
    static std::vector<std::string> supportedExtensions();
};

} // namespace Tarnwick
