#pragma once

#include <TarnwickCore/Signal.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

class Configurable;
class Properties;

/// Type-independent part of a named setting of a Configurable (an algorithm, a set of display
/// options). A parameter has a lower-camel-case name under which it is saved, a label for user
/// interfaces (by default the name split at its capitals: "minVesselDiameter" gives
/// "Min Vessel Diameter"), string attributes such as "values" (comma-separated enumeration labels),
/// "tooltip", "min", "max" and "hidden", and old names still accepted when a configuration is read.
///
/// A parameter registers itself with its owner at construction and unregisters at destruction. A
/// copied parameter has no owner until setParentFromCopy() is called, typically from the copy
/// constructor of the owning class.
class ParameterBase {
public:
    /// Registers with `owner` (may be null) under `name`.
    ParameterBase(std::string name, Configurable* owner);
    /// Copies name, label, attributes and old names; the copy has no owner.
    ParameterBase(const ParameterBase& other);
    /// Copies label and attributes; keeps this parameter's name and owner.
    ParameterBase& operator=(const ParameterBase& other);
    virtual ~ParameterBase();

    const std::string& name() const { return m_name; }

    const std::string& label() const { return m_label; }
    void setLabel(const std::string& label);

    /// Sets (or replaces) an attribute and emits signalAttributeChanged when its value changed.
    void setAttribute(const std::string& name, const std::string& value);
    /// The attribute's value, or an empty string when it is not set.
    std::string attribute(const std::string& name) const;
    bool hasAttribute(const std::string& name) const;
    /// All attributes in the order they were first set.
    const std::vector<std::pair<std::string, std::string>>& attributes() const { return m_attributes; }

    /// Accepts `oldName` in place of the name when a configuration is read (with a warning).
    void addDeprecatedName(const std::string& oldName);
    const std::vector<std::string>& deprecatedNames() const { return m_deprecatedNames; }

    Configurable* owner() const { return m_owner; }
    /// Registers this parameter with `owner`, leaving any previous owner. Call it from the copy
    /// constructor of the owning class for each parameter member.
    void setParentFromCopy(Configurable* owner);

    /// Short type name shown to users: "bool", "int", "unsigned long", "float", "double", "string",
    /// "enum", "vec4d", "optional int", ..., "group" for a sub-property.
    virtual std::string typeName() const = 0;
    /// Parses `text` (type-checked; enumerations accept labels and numbers; optionals accept "none"
    /// or an empty text to unset; numbers respect the "min" and "max" attributes) and sets the value.
    /// Returns an error message naming the parameter on failure, leaving the value unchanged.
    virtual std::optional<std::string> setFromString(const std::string& text) = 0;
    /// The current value as text that setFromString() accepts.
    virtual std::string toString() const = 0;
    virtual std::string defaultToString() const = 0;
    virtual void resetToDefault() = 0;

    /// Writes the value (and default and attributes) into `properties` under name().
    virtual void writeTo(Properties& properties) const = 0;
    /// Reads the value stored under `key`. Returns false, changing nothing, when `key` is missing or
    /// its value does not have a compatible type.
    virtual bool readFrom(const Properties& properties, const std::string& key) = 0;
    /// The group of parameters behind a sub-property, or null for a plain parameter.
    virtual Configurable* group() { return nullptr; }

    /// Emitted after the value changed (not when it was set to the value it already had).
    Signal<> signalValueChanged;
    /// Emitted after an attribute changed; the argument is the attribute's name.
    Signal<const std::string&> signalAttributeChanged;

protected:
    /// Emits signalValueChanged and tells the owner.
    void notifyValueChanged();
    /// Writes label and attributes of this parameter into `properties` (the parameter must exist there).
    void writeAttributesTo(Properties& properties) const;
    /// Prefixes `reason` with "Invalid value for parameter '<name>': ".
    std::string invalidValue(const std::string& reason) const;

private:
    friend class Configurable;
    std::string m_name;
    std::string m_label;
    std::vector<std::pair<std::string, std::string>> m_attributes;
    std::vector<std::string> m_deprecatedNames;
    Configurable* m_owner = nullptr;
};

} // namespace Tarnwick
