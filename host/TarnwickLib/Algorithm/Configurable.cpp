#include <TarnwickLib/Algorithm/Configurable.h>

#include <TarnwickCore/Log.h>
#include <TarnwickCore/Properties.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>

#include <algorithm>

namespace Tarnwick {

Configurable::Configurable(const Configurable&) {}

Configurable& Configurable::operator=(const Configurable&) {
    return *this;
}

Configurable::~Configurable() {
    for (ParameterBase* parameter : m_parameters)
        parameter->m_owner = nullptr;
}

bool Configurable::registerParameter(ParameterBase* parameter) {
    if (!parameter)
        return false;
    if (std::find(m_parameters.begin(), m_parameters.end(), parameter) != m_parameters.end())
        return true;
    if (std::any_of(m_parameters.begin(), m_parameters.end(),
                    [&](const ParameterBase* p) { return p->name() == parameter->name(); })) {
        TW_LOG_ERROR("Cannot register a second parameter named '{}'", parameter->name());
        return false;
    }
    if (parameter->m_owner)
        parameter->m_owner->unregisterParameter(parameter);
    m_parameters.push_back(parameter);
    parameter->m_owner = this;
    return true;
}

void Configurable::unregisterParameter(ParameterBase* parameter) {
    auto it = std::find(m_parameters.begin(), m_parameters.end(), parameter);
    if (it == m_parameters.end())
        return;
    m_parameters.erase(it);
    parameter->m_owner = nullptr;
}

ParameterBase* Configurable::parameter(const std::string& path) const {
    const std::size_t slash = path.find('/');
    const std::string head = path.substr(0, slash);
    auto it = std::find_if(m_parameters.begin(), m_parameters.end(),
                           [&](const ParameterBase* p) { return p->name() == head; });
    if (it == m_parameters.end())
        return nullptr;
    if (slash == std::string::npos)
        return *it;
    Configurable* group = (*it)->group();
    return group ? group->parameter(path.substr(slash + 1)) : nullptr;
}

void Configurable::configure(const Properties* properties) {
    if (!properties)
        return;
    const auto parameters = m_parameters; // slots run by value changes may (un)register parameters
    for (ParameterBase* parameter : parameters) {
        std::string key = parameter->name();
        const auto isStored = [&](const std::string& name) {
            return properties->hasParam(name) || !properties->subProperties(name).empty();
        };
        if (!isStored(key)) {
            const auto& oldNames = parameter->deprecatedNames();
            auto old = std::find_if(oldNames.begin(), oldNames.end(), isStored);
            if (old == oldNames.end())
                continue;
            key = *old;
            TW_LOG_WARN("Using deprecated parameter name '{}'. Please use: '{}' instead.", key, parameter->name());
        }
        if (!parameter->readFrom(*properties, key))
            TW_LOG_WARN("Ignoring the stored value of parameter '{}': it is not of type {}", parameter->name(),
                        parameter->typeName());
    }
}

void Configurable::configuration(Properties* properties) const {
    if (!properties)
        return;
    for (const ParameterBase* parameter : m_parameters)
        parameter->writeTo(*properties);
}

void Configurable::configureDefaults() {
    const auto parameters = m_parameters;
    for (ParameterBase* parameter : parameters)
        parameter->resetToDefault();
}

std::string Configurable::describeValues(bool defaults) const {
    std::string text;
    for (const ParameterBase* parameter : m_parameters) {
        text += text.empty() ? "" : ", ";
        text += parameter->name() + "=" + (defaults ? parameter->defaultToString() : parameter->toString());
    }
    return text;
}

void Configurable::notifyParameterChanged(const ParameterBase* parameter) {
    signalParameterChanged.emitSignal(parameter);
}

} // namespace Tarnwick
