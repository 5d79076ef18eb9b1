#pragma once

#include <TarnwickCore/Signal.h>

#include <memory>
#include <string>
#include <typeindex>
#include <vector>

namespace Tarnwick {

/// Base of the components a data set carries (display options, colour mappers, ...). A component is
/// a value: the list clones it when its data set is copied and compares it when data sets are compared.
class DataComponentBase {
public:
    virtual ~DataComponentBase() = default;
    virtual std::unique_ptr<DataComponentBase> clone() const = 0;
    /// Copies the value of `other` (of the same dynamic type) into this component.
    virtual void assign(const DataComponentBase& other) = 0;
    virtual bool equals(const DataComponentBase& other) const = 0;
    /// Stable name of the component type, used in messages and files.
    virtual std::string id() const = 0;

    /// Emitted by a component when its settings change.
    Signal<> signalChanged;
};

/// CRTP helper: implements clone/assign/equals through the derived type's copy and operator==.
template <typename Derived>
class DataComponent : public DataComponentBase {
public:
    std::unique_ptr<DataComponentBase> clone() const override {
        return std::make_unique<Derived>(static_cast<const Derived&>(*this));
    }
    void assign(const DataComponentBase& other) override {
        if (auto* typed = dynamic_cast<const Derived*>(&other)) {
            static_cast<Derived&>(*this) = *typed;
            signalChanged.emitSignal();
        }
    }
    bool equals(const DataComponentBase& other) const override {
        auto* typed = dynamic_cast<const Derived*>(&other);
        return typed && static_cast<const Derived&>(*this) == *typed;
    }
};

/// The components of one data set: at most one component per type, in insertion order.
/// Copying the list clones every component; assignment clones too.
class DataComponentList {
public:
    DataComponentList() = default;
    DataComponentList(const DataComponentList& other);
    DataComponentList& operator=(const DataComponentList& other);
    DataComponentList(DataComponentList&&) = default;
    DataComponentList& operator=(DataComponentList&&) = default;

    /// The component of type T, added (default-constructed) when missing; adding emits signalComponentAdded.
    template <typename T>
    T& getOrAdd() {
        if (T* existing = get<T>())
            return *existing;
        auto created = std::make_unique<T>();
        T& ref = *created;
        add(std::move(created));
        return ref;
    }
    template <typename T>
    T* get() {
        for (auto& c : m_components)
            if (auto* typed = dynamic_cast<T*>(c.get()))
                return typed;
        return nullptr;
    }
    template <typename T>
    const T* get() const {
        return const_cast<DataComponentList*>(this)->get<T>();
    }
    template <typename T>
    bool remove() {
        return removeIf([](const DataComponentBase& c) { return dynamic_cast<const T*>(&c) != nullptr; });
    }

    /// Adds a component, replacing one of the same dynamic type.
    DataComponentBase& add(std::unique_ptr<DataComponentBase> component);
    std::size_t size() const { return m_components.size(); }
    std::vector<const DataComponentBase*> all() const;

    /// Same component types in the same order with equal values.
    bool operator==(const DataComponentList& other) const;
    bool operator!=(const DataComponentList& other) const { return !(*this == other); }

    /// Emitted after a component was added (or replaced); the argument is the new component.
    Signal<DataComponentBase*> signalComponentAdded;

private:
    template <typename Pred>
    bool removeIf(Pred pred) {
        for (auto it = m_components.begin(); it != m_components.end(); ++it) {
            if (pred(**it)) {
                m_components.erase(it);
                return true;
            }
        }
        return false;
    }
    std::vector<std::unique_ptr<DataComponentBase>> m_components;
};

} // namespace Tarnwick
