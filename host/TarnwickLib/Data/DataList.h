#pragma once

#include <TarnwickLib/Data/Data.h>

#include <memory>
#include <vector>

namespace Tarnwick {

class SharedImageSet;

/// A non-owning, ordered selection of data sets: the input of an algorithm.
class DataList {
public:
    DataList() = default;
    DataList(std::initializer_list<Data*> items) : m_items(items) {}
    explicit DataList(std::vector<Data*> items) : m_items(std::move(items)) {}

    void add(Data* data) { m_items.push_back(data); }
    std::size_t size() const { return m_items.size(); }
    bool empty() const { return m_items.empty(); }
    Data* operator[](std::size_t i) const { return m_items[i]; }
    Data* get(std::size_t i) const { return i < m_items.size() ? m_items[i] : nullptr; }
    const std::vector<Data*>& items() const { return m_items; }
    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }

    /// The image sets in the selection whose kind and modality match (NA matches any modality).
    std::vector<SharedImageSet*> getImages(Data::Kind kind = Data::Image, Data::Modality modality = Data::NA) const;

    /// The items whose dynamic type is T, in order.
    template <typename T>
    std::vector<T*> getAll() const {
        std::vector<T*> result;
        for (Data* d : m_items)
            if (auto* typed = dynamic_cast<T*>(d))
                result.push_back(typed);
        return result;
    }

private:
    std::vector<Data*> m_items;
};

/// An owning list of data sets: the output of an algorithm, handed to the caller with takeOutput().
class OwningDataList {
public:
    OwningDataList() = default;
    OwningDataList(OwningDataList&&) = default;
    OwningDataList& operator=(OwningDataList&&) = default;

    void add(std::unique_ptr<Data> data) { m_items.push_back(std::move(data)); }
    std::size_t size() const { return m_items.size(); }
    bool empty() const { return m_items.empty(); }
    Data* get(std::size_t i) const { return i < m_items.size() ? m_items[i].get() : nullptr; }
    /// A non-owning view of the items.
    DataList dataList() const;
    /// Releases all items to the caller.
    std::vector<std::unique_ptr<Data>> release();
    void clear() { m_items.clear(); }

    /// Removes and returns the first image set of that kind and modality (NA matches any), or null.
    std::unique_ptr<SharedImageSet> extractFirstImage(Data::Kind kind = Data::Image, Data::Modality modality = Data::NA);
    /// Removes and returns the first item of dynamic type T, or null.
    template <typename T>
    std::unique_ptr<T> extractFirst() {
        for (auto it = m_items.begin(); it != m_items.end(); ++it) {
            if (dynamic_cast<T*>(it->get())) {
                std::unique_ptr<T> result(static_cast<T*>(it->release()));
                m_items.erase(it);
                return result;
            }
        }
        return nullptr;
    }

private:
    std::vector<std::unique_ptr<Data>> m_items;
};

} // namespace Tarnwick
