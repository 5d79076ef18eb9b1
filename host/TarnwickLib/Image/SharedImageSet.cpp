#include <TarnwickLib/Image/SharedImageSet.h>

#include <fmt/format.h>

#include <stdexcept>

namespace Tarnwick {

SharedImageSet::SharedImageSet(std::string name) : Data(std::move(name)) {}

SharedImageSet::SharedImageSet(std::shared_ptr<SharedImage> image, std::string name) : Data(std::move(name)) {
    add(std::move(image));
}

std::unique_ptr<SharedImageSet> SharedImageSet::clone() const {
    auto copy = std::make_unique<SharedImageSet>(name());
    copy->components() = components();
    copy->Data::setMatrixToWorld(matrixToWorld());
    copy->m_modality = m_modality;
    copy->m_selected = m_selected;
    for (const auto& image : m_images)
        copy->m_images.push_back(image->clone());
    return copy;
}

void SharedImageSet::add(std::shared_ptr<SharedImage> image) {
    if (!image)
        throw std::invalid_argument("cannot add a null image to an image set");
    if (m_images.empty()) {
        Data::setMatrixToWorld(image->matrixToWorld());
        if (m_modality == NA)
            m_modality = image->modality();
    }
    m_images.push_back(std::move(image));
}

SharedImage* SharedImageSet::add(std::shared_ptr<MemImage> mem) {
    auto image = std::make_shared<SharedImage>(std::move(mem), matrixToWorld(), m_modality);
    SharedImage* raw = image.get();
    add(std::move(image));
    return raw;
}

SharedImage* SharedImageSet::get(int i) const {
    return getShared(i).get();
}

std::shared_ptr<SharedImage> SharedImageSet::getShared(int i) const {
    if (i == -1)
        i = m_selected;
    if (i < 0 || i >= size())
        return nullptr;
    return m_images[i];
}

MemImage* SharedImageSet::mem(int i) const {
    SharedImage* image = get(i);
    return image ? image->mem() : nullptr;
}

void SharedImageSet::setSelectedIndex(int i) {
    if (i >= 0 && i < size())
        m_selected = i;
}

void SharedImageSet::setModality(Modality modality) {
    m_modality = modality;
    for (auto& image : m_images)
        image->setModality(modality);
}

void SharedImageSet::setMatrixToWorld(const Eigen::Matrix4d& matrix) {
    for (auto& image : m_images)
        image->setMatrixToWorld(matrix);
    Data::setMatrixToWorld(matrix);
}

Geometry::AlignedBox SharedImageSet::bounds() const {
    Geometry::AlignedBox box;
    for (const auto& image : m_images) {
        const Eigen::Vector3d half = image->descriptor().extent() / 2;
        for (int corner = 0; corner < 8; ++corner) {
            Eigen::Vector4d p(corner & 1 ? half.x() : -half.x(), corner & 2 ? half.y() : -half.y(),
                              corner & 4 ? half.z() : -half.z(), 1.0);
            box.addPoint((image->matrixToWorld() * p).head<3>());
        }
    }
    return box;
}

std::string SharedImageSet::describe() const {
    std::string text = name().empty() ? std::string("Image set") : fmt::format("Image set '{}'", name());
    if (m_images.empty())
        return text + " (empty)";
    return fmt::format("{} ({} image{}, {})", text, size(), size() == 1 ? "" : "s", get(0)->descriptor().describe());
}

} // namespace Tarnwick
