#include <TarnwickLib/Algorithm/ParameterBase.h>

#include <TarnwickCore/Properties.h>
#include <TarnwickCore/String.h>
#include <TarnwickLib/Algorithm/Configurable.h>

#include <algorithm>

namespace Tarnwick {

ParameterBase::ParameterBase(std::string name, Configurable* owner)
    : m_name(std::move(name)), m_label(String::splitCamelCase(m_name)) {
    if (owner)
        owner->registerParameter(this);
}

ParameterBase::ParameterBase(const ParameterBase& other)
    : m_name(other.m_name), m_label(other.m_label), m_attributes(other.m_attributes),
      m_deprecatedNames(other.m_deprecatedNames) {}

ParameterBase& ParameterBase::operator=(const ParameterBase& other) {
    setLabel(other.m_label);
    for (const auto& [attribute, value] : other.m_attributes)
        setAttribute(attribute, value);
    m_deprecatedNames = other.m_deprecatedNames;
    return *this;
}

ParameterBase::~ParameterBase() {
    if (m_owner)
        m_owner->unregisterParameter(this);
}

void ParameterBase::setLabel(const std::string& label) {
    m_label = label;
}

void ParameterBase::setAttribute(const std::string& name, const std::string& value) {
    auto it = std::find_if(m_attributes.begin(), m_attributes.end(), [&](const auto& a) { return a.first == name; });
    if (it == m_attributes.end())
        m_attributes.emplace_back(name, value);
    else if (it->second != value)
        it->second = value;
    else
        return;
    signalAttributeChanged.emitSignal(name);
}

std::string ParameterBase::attribute(const std::string& name) const {
    auto it = std::find_if(m_attributes.begin(), m_attributes.end(), [&](const auto& a) { return a.first == name; });
    return it == m_attributes.end() ? std::string() : it->second;
}

bool ParameterBase::hasAttribute(const std::string& name) const {
    return std::any_of(m_attributes.begin(), m_attributes.end(), [&](const auto& a) { return a.first == name; });
}

void ParameterBase::addDeprecatedName(const std::string& oldName) {
    if (std::find(m_deprecatedNames.begin(), m_deprecatedNames.end(), oldName) == m_deprecatedNames.end())
        m_deprecatedNames.push_back(oldName);
}

void ParameterBase::setParentFromCopy(Configurable* owner) {
    if (m_owner == owner)
        return;
    if (m_owner)
        m_owner->unregisterParameter(this);
    if (owner)
        owner->registerParameter(this);
}

void ParameterBase::notifyValueChanged() {
    signalValueChanged.emitSignal();
    if (m_owner)
        m_owner->notifyParameterChanged(this);
}

void ParameterBase::writeAttributesTo(Properties& properties) const {
    properties.setParamAttributes(m_name, "label", m_label);
    for (const auto& [attribute, value] : m_attributes)
        properties.setParamAttributes(m_name, attribute, value);
}

std::string ParameterBase::invalidValue(const std::string& reason) const {
    return "Invalid value for parameter '" + m_name + "': " + reason;
}

} // namespace Tarnwick
