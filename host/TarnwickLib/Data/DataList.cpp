#include <TarnwickLib/Data/DataList.h>

#include <TarnwickLib/Image/SharedImageSet.h>

#include <utility>

namespace Tarnwick {

namespace {

bool matches(const SharedImageSet& images, Data::Kind kind, Data::Modality modality) {
    return images.kind() == kind && (modality == Data::NA || images.modality() == modality);
}

} // namespace

std::vector<SharedImageSet*> DataList::getImages(Data::Kind kind, Data::Modality modality) const {
    std::vector<SharedImageSet*> result;
    for (Data* data : m_items) {
        auto* images = dynamic_cast<SharedImageSet*>(data);
        if (images && matches(*images, kind, modality))
            result.push_back(images);
    }
    return result;
}

DataList OwningDataList::dataList() const {
    DataList list;
    for (const auto& item : m_items)
        list.add(item.get());
    return list;
}

std::vector<std::unique_ptr<Data>> OwningDataList::release() {
    return std::exchange(m_items, {});
}

std::unique_ptr<SharedImageSet> OwningDataList::extractFirstImage(Data::Kind kind, Data::Modality modality) {
    for (auto it = m_items.begin(); it != m_items.end(); ++it) {
        auto* images = dynamic_cast<SharedImageSet*>(it->get());
        if (images && matches(*images, kind, modality)) {
            it->release();
            m_items.erase(it);
            return std::unique_ptr<SharedImageSet>(images);
        }
    }
    return nullptr;
}

} // namespace Tarnwick
