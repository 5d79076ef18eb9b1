#pragma once

#include <Eigen/Core>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace Tarnwick {

/// A tree of named, typed values ("parameters") with string attributes per parameter and named
/// groups of sub-properties. Parameters keep their insertion order. An empty Properties costs one
/// pointer, because every node and edge of a graph carries one and most stay empty.
///
/// Values are stored as one of the alternatives of `Value`. Enumerations are stored as their
/// underlying integer (kind Int); an unset optional parameter is stored as `std::monostate`.
/// Reading converts between the numeric kinds (bool, int, unsigned long, float, double) and fails
/// for any other mismatch and for numbers that do not fit the requested type.
class Properties {
public:
    using Value = std::variant<std::monostate, bool, int, unsigned long, float, double, std::string, Eigen::Vector2d,
                               Eigen::Vector3d, Eigen::Vector4d, Eigen::Vector2i, Eigen::Vector3i, Eigen::Vector4i,
                               Eigen::Matrix4d, std::vector<double>, std::vector<int>, std::vector<std::string>>;

    /// Type names as used by the text format and by `paramType()`; index equals the variant index.
    enum class Type {
        None,
        Bool,
        Int,
        UnsignedLong,
        Float,
        Double,
        String,
        Vec2d,
        Vec3d,
        Vec4d,
        Vec2i,
        Vec3i,
        Vec4i,
        Mat4d,
        DoubleList,
        IntList,
        StringList
    };
    static const char* typeName(Type type);
    static std::optional<Type> typeFromName(const std::string& name);

    struct Param {
        std::string name;
        Value value;
        std::optional<Value> defaultValue;
        std::vector<std::pair<std::string, std::string>> attributes; ///< in insertion order
    };

    explicit Properties(std::string name = {});
    Properties(const Properties& other);
    Properties(Properties&& other) noexcept;
    Properties& operator=(const Properties& other);
    Properties& operator=(Properties&& other) noexcept;
    ~Properties();

    const std::string& name() const;
    void setName(const std::string& name);

    /// True when there are no parameters and no sub-properties (the name does not count).
    bool isEmpty() const;
    void clear();

    // --- parameters ---------------------------------------------------------------------------
    bool hasParam(const std::string& name) const;
    std::vector<std::string> paramNames() const;
    const std::vector<Param>& params() const;
    const Param* findParam(const std::string& name) const;

    /// Reads parameter `name` into `out`. Returns false (and leaves `out` alone) when the parameter is
    /// missing or its value cannot be converted to T.
    template <typename T>
    bool param(const std::string& name, T& out) const;

    /// Returns the value of `name`, or `fallback` when missing or not convertible.
    template <typename T>
    T paramOr(const std::string& name, T fallback) const {
        param(name, fallback);
        return fallback;
    }

    /// Sets (or adds, at the end) parameter `name`. Attributes of an existing parameter are kept.
    template <typename T>
    void setParam(const std::string& name, const T& value) {
        setValue(name, toValue(value));
    }
    /// Same, and records the default value.
    template <typename T>
    void setParam(const std::string& name, const T& value, const T& defaultValue) {
        setValue(name, toValue(value));
        setDefaultValue(name, toValue(defaultValue));
    }

    /// Sets the value of `name`, adding the parameter at the end when missing; keeps default and attributes.
    void setValue(const std::string& name, Value value);
    /// Sets the default of `name`; a missing parameter is added with the default as its value.
    void setDefaultValue(const std::string& name, Value value);
    std::optional<Value> value(const std::string& name) const;
    void removeParam(const std::string& name);

    /// Converts a parameter's stored value (and default) to another numeric type; returns false, changing
    /// nothing, when the parameter is missing, not numeric, or its value does not fit the new type.
    bool setParamType(const std::string& name, Type type);
    std::optional<Type> paramType(const std::string& name) const;

    /// Parameter attributes such as "values" (enumeration labels), "label", "tooltip", "hidden".
    /// Setting an existing attribute replaces its value in place; no effect when the parameter is missing.
    void setParamAttributes(const std::string& name, const std::string& attribute, const std::string& value);
    std::optional<std::string> paramAttribute(const std::string& name, const std::string& attribute) const;
    std::vector<std::pair<std::string, std::string>> paramAttributes(const std::string& name) const;

    // --- sub-properties -----------------------------------------------------------------------
    /// All groups of that name, in insertion order (several groups may share a name).
    std::vector<Properties*> subProperties(const std::string& name);
    std::vector<const Properties*> subProperties(const std::string& name) const;
    /// All groups in insertion order.
    std::vector<const Properties*> allSubProperties() const;
    /// Appends a new, empty group named `name` and returns it (owned by this object).
    Properties* addSubProperties(const std::string& name);
    /// Appends a copy of `sub`, renamed to `name` when given.
    Properties* addSubProperties(const Properties& sub, const std::string& name = {});
    void removeSubProperties(const std::string& name);

    // --- comparison ---------------------------------------------------------------------------
    /// Names (with "/"-separated paths into groups) of parameters whose values differ or that exist
    /// only on one side; empty when both hold the same values and groups. Attributes are ignored.
    std::vector<std::string> compareWith(const Properties& other) const;
    /// Exact equality of name, values, defaults, attributes and groups (NaN equals NaN here).
    bool operator==(const Properties& other) const;
    bool operator!=(const Properties& other) const { return !(*this == other); }

    template <typename T>
    static Value toValue(const T& value);
    template <typename T>
    static bool fromValue(const Value& value, T& out);

private:
    struct Impl;
    Impl& impl();
    std::unique_ptr<Impl> m_impl; ///< null while empty and unnamed
};

namespace detail {
template <typename T>
struct IsOptional : std::false_type {};
template <typename T>
struct IsOptional<std::optional<T>> : std::true_type {};

/// Converts one number to another arithmetic or enumeration type. Fails (leaving `out` alone) when
/// the value does not fit: NaN, infinities or out-of-range values for integer targets, negative
/// values for unsigned targets. Floating-point values are truncated towards zero for integer targets.
template <typename T, typename S>
bool convertNumber(S source, T& out) {
    if constexpr (std::is_enum_v<T>) {
        std::underlying_type_t<T> underlying{};
        if (!convertNumber(source, underlying))
            return false;
        out = static_cast<T>(underlying);
    } else if constexpr (std::is_same_v<T, bool>) {
        out = source != 0;
    } else if constexpr (std::is_floating_point_v<T>) {
        out = static_cast<T>(source);
    } else if constexpr (std::is_floating_point_v<S>) {
        // long double holds every 64-bit integer exactly, so the bounds below are exact.
        const long double value = source;
        if (!(value > static_cast<long double>(std::numeric_limits<T>::min()) - 1 &&
              value < static_cast<long double>(std::numeric_limits<T>::max()) + 1))
            return false;
        out = static_cast<T>(source);
    } else if constexpr (std::is_same_v<S, bool>) {
        out = static_cast<T>(source);
    } else {
        if constexpr (std::is_signed_v<S>) {
            if (source < 0) {
                if (!std::is_signed_v<T> ||
                    static_cast<std::intmax_t>(source) < std::intmax_t(std::numeric_limits<T>::min()))
                    return false;
                out = static_cast<T>(source);
                return true;
            }
        }
        if (static_cast<std::uintmax_t>(source) > static_cast<std::uintmax_t>(std::numeric_limits<T>::max()))
            return false;
        out = static_cast<T>(source);
    }
    return true;
}

/// Reads a stored number (bool, int, unsigned long, float or double) as T; false for other kinds.
template <typename T>
bool numberFromValue(const Properties::Value& value, T& out) {
    return std::visit(
        [&out](const auto& stored) {
            using S = std::decay_t<decltype(stored)>;
            if constexpr (std::is_arithmetic_v<S>)
                return convertNumber(stored, out);
            else
                return false;
        },
        value);
}
} // namespace detail

template <typename T>
Properties::Value Properties::toValue(const T& value) {
    if constexpr (detail::IsOptional<T>::value) {
        if (!value)
            return std::monostate{};
        return toValue(*value);
    } else if constexpr (std::is_enum_v<T>) {
        return static_cast<int>(value);
    } else if constexpr (std::is_same_v<T, const char*> || std::is_array_v<T>) {
        return std::string(value);
    } else if constexpr (std::is_same_v<T, long> || std::is_same_v<T, long long> || std::is_same_v<T, short> ||
                         std::is_same_v<T, char> || std::is_same_v<T, signed char>) {
        return static_cast<int>(value);
    } else if constexpr (std::is_same_v<T, unsigned int> || std::is_same_v<T, unsigned long long> ||
                         std::is_same_v<T, unsigned short> || std::is_same_v<T, unsigned char>) {
        return static_cast<unsigned long>(value);
    } else {
        return Value(value);
    }
}

template <typename T>
bool Properties::fromValue(const Value& value, T& out) {
    if constexpr (detail::IsOptional<T>::value) {
        if (std::holds_alternative<std::monostate>(value)) {
            out.reset();
            return true;
        }
        typename T::value_type inner{};
        if (!fromValue(value, inner))
            return false;
        out = inner;
        return true;
    } else if constexpr (std::is_enum_v<T> || std::is_arithmetic_v<T>) {
        return detail::numberFromValue(value, out);
    } else {
        if (const T* stored = std::get_if<T>(&value)) {
            out = *stored;
            return true;
        }
        return false;
    }
}

template <typename T>
bool Properties::param(const std::string& name, T& out) const {
    const Param* p = findParam(name);
    return p && fromValue(p->value, out);
}

} // namespace Tarnwick
