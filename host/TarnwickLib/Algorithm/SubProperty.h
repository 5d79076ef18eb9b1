#pragma once

#include <TarnwickCore/Properties.h>
#include <TarnwickLib/Algorithm/Configurable.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>

#include <string>
#include <type_traits>
#include <utility>

namespace Tarnwick {

/// A group of parameters held as one parameter of its owner: T is a Configurable whose parameters
/// are saved as a sub-tree (a group of sub-properties) named after this parameter. Any change inside
/// the group emits this parameter's signalValueChanged and the owner's signalParameterChanged.
/// Members of the group are reached by path through the owner: owner.parameter("group/member").
///
///     SubProperty<GeneralOptions> generalOptions{"generalOptions", GeneralOptions(), this};
///     generalOptions->pointSize = 4.0;
template <typename T>
class SubProperty : public ParameterBase {
    static_assert(std::is_base_of_v<Configurable, T>, "a sub-property holds a Configurable");

public:
    SubProperty(std::string name, T value, Configurable* owner)
        : ParameterBase(std::move(name), owner), m_value(std::move(value)) {
        forwardChanges();
    }
    /// Copies the group; the copy has no owner (see setParentFromCopy()).
    SubProperty(const SubProperty& other) : ParameterBase(other), m_value(other.m_value) { forwardChanges(); }
    /// Assigns the group's values (each changed member emits its signals).
    SubProperty& operator=(const SubProperty& other) {
        ParameterBase::operator=(other);
        m_value = other.m_value;
        return *this;
    }

    T& value() { return m_value; }
    const T& value() const { return m_value; }
    T* operator->() { return &m_value; }
    const T* operator->() const { return &m_value; }
    operator const T&() const { return m_value; }

    std::string typeName() const override { return "group"; }
    std::optional<std::string> setFromString(const std::string&) override {
        return invalidValue("it is a group; set its members as '" + name() + "/member=value'");
    }
    /// The members as "member=value" items, comma-separated.
    std::string toString() const override { return m_value.describeValues(false); }
    std::string defaultToString() const override { return m_value.describeValues(true); }
    /// Resets every member of the group to its own default.
    void resetToDefault() override { m_value.configureDefaults(); }

    void writeTo(Properties& properties) const override {
        properties.removeSubProperties(name());
        m_value.configuration(properties.addSubProperties(name()));
    }
    bool readFrom(const Properties& properties, const std::string& key) override {
        const auto groups = properties.subProperties(key);
        if (groups.empty())
            return false;
        m_value.configure(groups.front());
        return true;
    }
    Configurable* group() override { return &m_value; }

private:
    void forwardChanges() {
        m_value.signalParameterChanged.connect([this](const ParameterBase*) { notifyValueChanged(); });
    }

    T m_value;
};

} // namespace Tarnwick
