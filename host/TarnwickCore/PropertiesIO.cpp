// Text form of Properties, format value 4 (JSON). One object per Properties:
//
//   {
//     "name": "options",                              the Properties' name (may be empty)
//     "params": [                                     optional; parameters in order
//       {"name": "radius", "type": "double", "value": 1.5,
//        "default": 1.0,                              optional
//        "defaultType": "int",                        optional; only when the default's type differs
//        "attributes": [["label", "Radius"], ...]},   optional; [key, value] pairs in order
//       ...
//     ],
//     "groups": [ {same shape}, ... ]                  optional; sub-properties in order
//   }
//
// "type" is one of Properties::typeName(). Values by type: none -> null; bool -> true/false;
// int, unsignedLong -> integer; float, double -> number; string -> string; vec2d..vec4i and the
// three list types -> flat arrays; mat4d -> array of 4 rows of 4 numbers. Floating-point numbers
// are written with the shortest text that reads back to the same bits; NaN and infinities are
// written as the strings "nan", "inf" and "-inf". Reading is strict about types (an int must be an
// integer that fits) and ignores unknown keys.

#include <TarnwickCore/PropertiesIO.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace Tarnwick::PropertiesIO {

namespace {

using nlohmann::json;
using Type = Properties::Type;
using Value = Properties::Value;

// Groups nested deeper than this are rejected, so hostile text cannot exhaust the stack.
constexpr int maxGroupDepth = 256;

json encodeNumber(double number) {
    if (std::isnan(number))
        return "nan";
    if (std::isinf(number))
        return number > 0 ? "inf" : "-inf";
    return number;
}

template <typename Container>
json encodeNumbers(const Container& numbers) {
    json array = json::array();
    for (Eigen::Index i = 0; i < Eigen::Index(numbers.size()); ++i) {
        if constexpr (std::is_floating_point_v<std::decay_t<decltype(numbers.data()[0])>>)
            array.push_back(encodeNumber(numbers.data()[i]));
        else
            array.push_back(numbers.data()[i]);
    }
    return array;
}

json encodeValue(const Value& value) {
    return std::visit(
        [](const auto& stored) -> json {
            using T = std::decay_t<decltype(stored)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return nullptr;
            } else if constexpr (std::is_floating_point_v<T>) {
                return encodeNumber(stored);
            } else if constexpr (std::is_same_v<T, Eigen::Matrix4d>) {
                json rows = json::array();
                for (int r = 0; r < 4; ++r)
                    rows.push_back(encodeNumbers(Eigen::Vector4d(stored.row(r).transpose())));
                return rows;
            } else if constexpr (std::is_base_of_v<Eigen::EigenBase<T>, T> || std::is_same_v<T, std::vector<double>> ||
                                 std::is_same_v<T, std::vector<int>>) {
                return encodeNumbers(stored);
            } else {
                return stored; // bool, int, unsigned long, string, string list
            }
        },
        value);
}

bool decodeNumber(const json& node, double& out) {
    if (node.is_number()) {
        out = node.get<double>();
        return true;
    }
    if (!node.is_string())
        return false;
    const auto& text = node.get_ref<const std::string&>();
    if (text == "nan")
        out = std::numeric_limits<double>::quiet_NaN();
    else if (text == "inf")
        out = std::numeric_limits<double>::infinity();
    else if (text == "-inf")
        out = -std::numeric_limits<double>::infinity();
    else
        return false;
    return true;
}

template <typename T>
bool decodeInteger(const json& node, T& out) {
    if (node.is_number_unsigned())
        return detail::convertNumber(node.get<std::uint64_t>(), out);
    if (node.is_number_integer())
        return detail::convertNumber(node.get<std::int64_t>(), out);
    return false;
}

// Reads one array element into a double or an int.
bool decodeElement(const json& node, double& out) {
    return decodeNumber(node, out);
}
bool decodeElement(const json& node, int& out) {
    return decodeInteger(node, out);
}

template <typename Vector>
bool decodeFixed(const json& node, Vector& out) {
    if (!node.is_array() || node.size() != std::size_t(out.size()))
        return false;
    for (Eigen::Index i = 0; i < out.size(); ++i)
        if (!decodeElement(node[std::size_t(i)], out[i]))
            return false;
    return true;
}

template <typename Element>
bool decodeList(const json& node, std::vector<Element>& out) {
    if (!node.is_array())
        return false;
    out.resize(node.size());
    for (std::size_t i = 0; i < node.size(); ++i)
        if (!decodeElement(node[i], out[i]))
            return false;
    return true;
}

// Decodes `node` as a value of variant alternative T.
template <typename T>
bool decodeAs(const json& node, Value& out) {
    T decoded{};
    bool ok = false;
    if constexpr (std::is_same_v<T, std::monostate>) {
        ok = node.is_null();
    } else if constexpr (std::is_same_v<T, bool>) {
        ok = node.is_boolean() && (decoded = node.get<bool>(), true);
    } else if constexpr (std::is_integral_v<T>) {
        ok = decodeInteger(node, decoded);
    } else if constexpr (std::is_floating_point_v<T>) {
        double number = 0;
        ok = decodeNumber(node, number) && (decoded = static_cast<T>(number), true);
    } else if constexpr (std::is_same_v<T, std::string>) {
        ok = node.is_string() && (decoded = node.get<std::string>(), true);
    } else if constexpr (std::is_same_v<T, Eigen::Matrix4d>) {
        ok = node.is_array() && node.size() == 4;
        for (std::size_t r = 0; ok && r < 4; ++r) {
            Eigen::Vector4d row;
            ok = decodeFixed(node[r], row);
            decoded.row(Eigen::Index(r)) = row.transpose();
        }
    } else if constexpr (std::is_same_v<T, std::vector<std::string>>) {
        ok = node.is_array() && std::all_of(node.begin(), node.end(), [](const json& s) { return s.is_string(); });
        if (ok)
            decoded = node.get<std::vector<std::string>>();
    } else if constexpr (std::is_same_v<T, std::vector<double>> || std::is_same_v<T, std::vector<int>>) {
        ok = decodeList(node, decoded);
    } else {
        ok = decodeFixed(node, decoded);
    }
    if (ok)
        out = std::move(decoded);
    return ok;
}

template <std::size_t... I>
bool decodeValue(const json& node, Type type, Value& out, std::index_sequence<I...>) {
    bool ok = false;
    ((static_cast<std::size_t>(type) == I ? (ok = decodeAs<std::variant_alternative_t<I, Value>>(node, out), 0) : 0),
     ...);
    return ok;
}

bool decodeValue(const json& node, Type type, Value& out) {
    return decodeValue(node, type, out, std::make_index_sequence<std::variant_size_v<Value>>{});
}

json encodeParam(const Properties::Param& param) {
    const auto type = static_cast<Type>(param.value.index());
    json node = {{"name", param.name}, {"type", Properties::typeName(type)}, {"value", encodeValue(param.value)}};
    if (param.defaultValue) {
        node["default"] = encodeValue(*param.defaultValue);
        const auto defaultType = static_cast<Type>(param.defaultValue->index());
        if (defaultType != type)
            node["defaultType"] = Properties::typeName(defaultType);
    }
    if (!param.attributes.empty())
        node["attributes"] = param.attributes;
    return node;
}

json encodeProperties(const Properties& properties) {
    json node = {{"name", properties.name()}};
    if (!properties.params().empty()) {
        json& params = node["params"] = json::array();
        for (const auto& param : properties.params())
            params.push_back(encodeParam(param));
    }
    const auto groups = properties.allSubProperties();
    if (!groups.empty()) {
        json& encoded = node["groups"] = json::array();
        for (const Properties* group : groups)
            encoded.push_back(encodeProperties(*group));
    }
    return node;
}

const json* member(const json& object, const char* key) {
    auto it = object.find(key);
    return it == object.end() ? nullptr : &*it;
}

std::optional<Type> decodeType(const json* node) {
    if (!node || !node->is_string())
        return std::nullopt;
    return Properties::typeFromName(node->get<std::string>());
}

bool decodeAttributes(const json& node, std::vector<std::pair<std::string, std::string>>& out) {
    if (!node.is_array())
        return false;
    for (const json& pair : node) {
        if (!pair.is_array() || pair.size() != 2 || !pair[0].is_string() || !pair[1].is_string())
            return false;
        out.emplace_back(pair[0].get<std::string>(), pair[1].get<std::string>());
    }
    return true;
}

bool decodeParam(const json& node, Properties& properties) {
    if (!node.is_object())
        return false;
    const json* name = member(node, "name");
    const json* value = member(node, "value");
    const auto type = decodeType(member(node, "type"));
    if (!name || !name->is_string() || !value || !type)
        return false;
    const std::string& paramName = name->get_ref<const std::string&>();
    if (properties.hasParam(paramName))
        return false;

    Properties::Value decoded;
    if (!decodeValue(*value, *type, decoded))
        return false;
    std::optional<Value> defaultValue;
    if (const json* defaultNode = member(node, "default")) {
        const json* defaultTypeNode = member(node, "defaultType");
        const auto defaultType = defaultTypeNode ? decodeType(defaultTypeNode) : type;
        if (!defaultType || !decodeValue(*defaultNode, *defaultType, defaultValue.emplace()))
            return false;
    }
    std::vector<std::pair<std::string, std::string>> attributes;
    if (const json* attributesNode = member(node, "attributes");
        attributesNode && !decodeAttributes(*attributesNode, attributes))
        return false;

    properties.setValue(paramName, std::move(decoded));
    if (defaultValue)
        properties.setDefaultValue(paramName, std::move(*defaultValue));
    for (const auto& [key, text] : attributes)
        properties.setParamAttributes(paramName, key, text);
    return true;
}

bool decodeProperties(const json& node, Properties& properties, int depth) {
    if (!node.is_object() || depth > maxGroupDepth)
        return false;
    if (const json* name = member(node, "name")) {
        if (!name->is_string())
            return false;
        properties.setName(name->get<std::string>());
    }
    if (const json* params = member(node, "params")) {
        if (!params->is_array())
            return false;
        for (const json& param : *params)
            if (!decodeParam(param, properties))
                return false;
    }
    if (const json* groups = member(node, "groups")) {
        if (!groups->is_array())
            return false;
        for (const json& group : *groups)
            if (!decodeProperties(group, *properties.addSubProperties(std::string()), depth + 1))
                return false;
    }
    return true;
}

} // namespace

std::optional<std::string> saveToString(const Properties& properties, int format, int indent) {
    if (format != Json)
        return std::nullopt;
    try {
        return encodeProperties(properties).dump(indent < 0 ? -1 : indent);
    } catch (const json::exception&) {
        return std::nullopt; // strings that are not valid UTF-8 cannot be written as JSON
    }
}

std::optional<Properties> loadFromString(const std::string& text, int format) {
    if (format != Json)
        return std::nullopt;
    try {
        const json document = json::parse(text, nullptr, /*allow_exceptions=*/false);
        Properties properties;
        if (document.is_discarded() || !decodeProperties(document, properties, 0))
            return std::nullopt;
        return properties;
    } catch (const json::exception&) {
        return std::nullopt;
    }
}

} // namespace Tarnwick::PropertiesIO
