#pragma once

#include <TarnwickCore/Properties.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>
#include <TarnwickLib/Algorithm/ParameterText.h>

#include <cmath>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace Tarnwick {

/// A typed, named setting registered with its owning Configurable, which saves and restores it
/// under its name. T is bool, int, unsigned long, float, double, std::string, a fixed-size Eigen
/// vector (Vector4d for colours, Vector4i, ...), std::optional of one of those, or an enumeration
/// (stored as int; its labels, in value order, go in the "values" attribute). An int parameter with a
/// "values" attribute is treated as an enumeration too.
///
///     Parameter<double> minVesselDiameter{"minVesselDiameter", 1.0, this};
///     minVesselDiameter.setAttribute("min", "0.0");
///     double d = minVesselDiameter; // implicit conversion
///
/// setValue() emits signalValueChanged only when the value actually changes (NaN equals NaN here).
template <typename T>
class Parameter : public ParameterBase {
public:
    Parameter(std::string name, T defaultValue, Configurable* owner)
        : ParameterBase(std::move(name), owner), m_value(defaultValue), m_default(std::move(defaultValue)) {}
    /// Copies value, default, label and attributes; the copy has no owner (see setParentFromCopy()).
    Parameter(const Parameter& other) = default;
    /// Copies value (emitting the change signal when it differs), default, label and attributes.
    Parameter& operator=(const Parameter& other) {
        ParameterBase::operator=(other);
        m_default = other.m_default;
        setValue(other.m_value);
        return *this;
    }
    Parameter& operator=(const T& value) {
        setValue(value);
        return *this;
    }

    const T& value() const { return m_value; }
    operator const T&() const { return m_value; }
    void setValue(const T& value) {
        if (sameValue(value, m_value))
            return;
        m_value = value;
        notifyValueChanged();
    }

    const T& defaultValue() const { return m_default; }
    void setDefaultValue(const T& value) { m_default = value; }

    std::string typeName() const override {
        if constexpr (std::is_enum_v<T>)
            return "enum";
        else if constexpr (std::is_same_v<T, int>)
            return hasAttribute("values") ? "enum" : "int";
        else
            return ParameterText::TypeName<T>::get();
    }

    std::optional<std::string> setFromString(const std::string& text) override {
        T parsed = m_value;
        if (auto error = parseValue(text, parsed))
            return invalidValue(*error);
        setValue(parsed);
        return std::nullopt;
    }
    std::string toString() const override { return formatValue(m_value); }
    std::string defaultToString() const override { return formatValue(m_default); }
    void resetToDefault() override { setValue(m_default); }

    void writeTo(Properties& properties) const override {
        properties.setParam(name(), m_value, m_default);
        writeAttributesTo(properties);
    }
    bool readFrom(const Properties& properties, const std::string& key) override {
        T read = m_value;
        if (!properties.param(key, read))
            return false;
        setValue(read);
        return true;
    }

private:
    static bool sameValue(const T& a, const T& b) {
        if constexpr (std::is_floating_point_v<T>)
            return a == b || (std::isnan(a) && std::isnan(b));
        else
            return a == b;
    }

    bool isEnumeration() const { return std::is_enum_v<T> || hasAttribute("values"); }

    template <typename U>
    std::optional<std::string> parseValue(const std::string& text, U& out) const {
        if constexpr (detail::IsOptional<U>::value) {
            if (ParameterText::isNone(text)) {
                out.reset();
                return std::nullopt;
            }
            typename U::value_type inner{};
            if (auto error = parseValue(text, inner))
                return error;
            out = std::move(inner);
            return std::nullopt;
        } else if constexpr (std::is_enum_v<U> || std::is_same_v<U, int>) {
            int number = 0;
            auto error =
                isEnumeration() ? ParameterText::parseEnum(text, labels(), number) : ParameterText::parse(text, number);
            if (!error)
                error = ParameterText::checkRange(number, attribute("min"), attribute("max"));
            if (!error)
                out = static_cast<U>(number);
            return error;
        } else if constexpr (std::is_arithmetic_v<U> && !std::is_same_v<U, bool>) {
            U number{};
            auto error = ParameterText::parse(text, number);
            if (!error)
                error = ParameterText::checkRange(static_cast<double>(number), attribute("min"), attribute("max"));
            if (!error)
                out = number;
            return error;
        } else {
            return ParameterText::parse(text, out);
        }
    }

    template <typename U>
    std::string formatValue(const U& value) const {
        if constexpr (detail::IsOptional<U>::value)
            return value ? formatValue(*value) : std::string(ParameterText::noneText);
        else if constexpr (std::is_enum_v<U> || std::is_same_v<U, int>)
            return isEnumeration() ? ParameterText::formatEnum(static_cast<int>(value), labels())
                                   : ParameterText::format(static_cast<int>(value));
        else
            return ParameterText::format(value);
    }

    std::vector<std::string> labels() const { return ParameterText::enumLabels(attribute("values")); }

    T m_value;
    T m_default;
};

} // namespace Tarnwick
