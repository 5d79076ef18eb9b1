#pragma once

#include <TarnwickLib/Data/Data.h>
#include <TarnwickLib/Image/SharedImage.h>

#include <memory>
#include <vector>

namespace Tarnwick {

/// A data set of kind Image: an ordered list of SharedImages (for example the frames of a
/// sequence), one of which is the current image.
///
/// Placement rule: every SharedImage holds its full image-to-world matrix. setMatrixToWorld() on
/// the set sets that matrix on every image and on the set itself. When the first image is added to
/// an empty set, the set takes that image's matrix (and, while the set's modality is NA, its
/// modality); later images keep their own matrices. An image added as bare memory gets the set's
/// matrix and modality.
class SharedImageSet : public Data {
public:
    explicit SharedImageSet(std::string name = {});
    /// A set holding one image.
    explicit SharedImageSet(std::shared_ptr<SharedImage> image, std::string name = {});

    /// Deep copy: name, placement, components, modality, current index and copies of every image.
    std::unique_ptr<SharedImageSet> clone() const;

    /// Appends an image (see the placement rule). Throws std::invalid_argument when it is null.
    void add(std::shared_ptr<SharedImage> image);
    /// Appends memory as a new image with the set's matrix and modality. Throws when it is null.
    SharedImage* add(std::shared_ptr<MemImage> mem);

    int size() const { return static_cast<int>(m_images.size()); }
    bool empty() const { return m_images.empty(); }

    /// Image i, or the current image when i is -1; null when out of range.
    SharedImage* get(int i = -1) const;
    std::shared_ptr<SharedImage> getShared(int i = -1) const;
    /// The memory of image i (-1: current), or null.
    MemImage* mem(int i = -1) const;
    /// The values of image i (-1: current) as TypedImage<T>, or null when out of range or of another type.
    template <typename T>
    TypedImage<T>* img(int i = -1) const {
        SharedImage* image = get(i);
        return image ? image->typed<T>() : nullptr;
    }

    /// Index of the current image: the last one selected, 0 by default (also when empty).
    int selectedIndex() const { return m_selected; }
    /// Selects the current image; ignored when out of range.
    void setSelectedIndex(int i);

    Kind kind() const override { return Image; }
    Modality modality() const override { return m_modality; }
    /// Sets the modality of the set and of every image in it.
    void setModality(Modality modality);

    /// Sets the matrix on the set and on every image (see the placement rule).
    void setMatrixToWorld(const Eigen::Matrix4d& matrix) override;

    /// World-space box around the corners of every image's volume (voxel edges, not centres).
    Geometry::AlignedBox bounds() const override;
    std::string describe() const override;

private:
    std::vector<std::shared_ptr<SharedImage>> m_images;
    int m_selected = 0;
    Modality m_modality = NA;
};

} // namespace Tarnwick
