#pragma once

#include <TarnwickLib/Data/Data.h>
#include <TarnwickLib/Image/ImageDescriptorWorld.h>
#include <TarnwickLib/Image/TypedImage.h>

#include <Eigen/Core>

#include <memory>

namespace Tarnwick {

/// One image placed in world space: its CPU memory (a MemImage, possibly shared with other
/// SharedImages), its full image-to-world matrix and its modality.
///
/// `matrixToWorld()` maps image coordinates (millimetres, origin at the volume centre; see
/// ImageDescriptor) to world coordinates. The spacing lives in the memory's descriptor, so
/// setSpacing() changes it for every SharedImage that shares this memory.
///
/// This layer keeps images on the CPU only: hasGl() is false and syncMem()/setDirtyMem() have
/// nothing to synchronise.
class SharedImage {
public:
    /// Throws std::invalid_argument when `mem` is null.
    explicit SharedImage(std::shared_ptr<MemImage> mem,
                         const Eigen::Matrix4d& matrixToWorld = Eigen::Matrix4d::Identity(),
                         Data::Modality modality = Data::NA);

    /// Deep copy: new memory with the same values, same matrix and modality.
    std::unique_ptr<SharedImage> clone() const;

    MemImage* mem() { return m_mem.get(); }
    const MemImage* mem() const { return m_mem.get(); }
    std::shared_ptr<MemImage> sharedMem() const { return m_mem; }
    /// The values as TypedImage<T>, or null when the pixel type is not T's.
    template <typename T>
    TypedImage<T>* typed() {
        return dynamic_cast<TypedImage<T>*>(m_mem.get());
    }
    template <typename T>
    const TypedImage<T>* typed() const {
        return dynamic_cast<const TypedImage<T>*>(m_mem.get());
    }

    /// Makes the CPU memory current; it always is in this layer.
    void syncMem() {}
    /// Marks the CPU memory as changed so that other copies would be refreshed; there are none here.
    void setDirtyMem() {}
    bool hasGl() const { return false; }

    const ImageDescriptor& descriptor() const { return m_mem->descriptor(); }
    ImageDescriptorWorld descriptorWorld() const { return {descriptor(), m_matrixToWorld}; }
    /// Throws std::invalid_argument unless every component is finite and positive.
    void setSpacing(const Eigen::Vector3d& spacing) { m_mem->setSpacing(spacing); }

    const Eigen::Matrix4d& matrixToWorld() const { return m_matrixToWorld; }
    void setMatrixToWorld(const Eigen::Matrix4d& matrix) { m_matrixToWorld = matrix; }
    /// The image-to-world matrix (images use the ToWorld convention).
    const Eigen::Matrix4d& matrix() const { return m_matrixToWorld; }
    void setMatrix(const Eigen::Matrix4d& matrix) { m_matrixToWorld = matrix; }
    Eigen::Matrix4d pixelToWorldMatrix() const { return descriptorWorld().pixelToWorldMatrix(); }
    Eigen::Matrix4d worldToPixelMatrix() const { return descriptorWorld().worldToPixelMatrix(); }

    Data::Modality modality() const { return m_modality; }
    void setModality(Data::Modality modality) { m_modality = modality; }

private:
    std::shared_ptr<MemImage> m_mem;
    Eigen::Matrix4d m_matrixToWorld;
    Data::Modality m_modality;
};

} // namespace Tarnwick
