#pragma once

#include <TarnwickLib/Data/DataList.h>

#include <memory>
#include <vector>

namespace Tarnwick {

/// All data sets of the application; owns them.
class DataModel {
public:
    DataModel() = default;
    DataModel(const DataModel&) = delete;
    DataModel& operator=(const DataModel&) = delete;
    ~DataModel();

    /// Takes ownership and returns the added data.
    Data* add(std::unique_ptr<Data> data);
    /// Adds every item of an algorithm's output.
    std::vector<Data*> add(OwningDataList output);
    /// Takes ownership and puts the data at `index` (at the end when past it); returns the added data.
    Data* insert(std::size_t index, std::unique_ptr<Data> data);
    /// Removes and destroys a data set; false when it is not in the model.
    bool remove(const Data* data);
    /// Removes a data set and hands it over (signalDataRemoved is emitted); null when it is not in the model.
    std::unique_ptr<Data> take(const Data* data);
    void clear();

    std::size_t size() const { return m_items.size(); }
    bool contains(const Data* data) const;
    /// Position of a data set in insertion order, or size() when it is not in the model.
    std::size_t indexOf(const Data* data) const;
    /// All data whose kind matches and, unless modality is NA, whose modality matches too.
    DataList getAll(Data::Kind kind, Data::Modality modality = Data::NA) const;
    /// Every data set, in insertion order.
    DataList getAll() const;
    /// The first data set with this name, or null.
    Data* find(const std::string& name) const;

    Signal<Data*> signalDataAdded;
    /// Emitted before the data set is destroyed or taken.
    Signal<Data*> signalDataRemoved;

private:
    std::vector<std::unique_ptr<Data>> m_items;
};

} // namespace Tarnwick
