#include <TarnwickLib/Image/SharedImage.h>

#include <stdexcept>

namespace Tarnwick {

SharedImage::SharedImage(std::shared_ptr<MemImage> mem, const Eigen::Matrix4d& matrixToWorld, Data::Modality modality)
    : m_mem(std::move(mem)), m_matrixToWorld(matrixToWorld), m_modality(modality) {
    if (!m_mem)
        throw std::invalid_argument("SharedImage needs image memory");
}

std::unique_ptr<SharedImage> SharedImage::clone() const {
    return std::make_unique<SharedImage>(m_mem->clone(), m_matrixToWorld, m_modality);
}

} // namespace Tarnwick
