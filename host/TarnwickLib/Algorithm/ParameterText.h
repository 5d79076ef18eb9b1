#pragma once

#include <Eigen/Core>

#include <optional>
#include <string>
#include <type_traits>
#include <vector>

/// Text form of parameter values, used by the command line (--set name=value) and by listings.
/// Every parse function returns the reason (without the parameter's name) when the text is not a
/// valid value of the type, and nothing on success; `out` is only written on success. Leading and
/// trailing blanks are ignored except for strings, which are taken as they are.
namespace Tarnwick::ParameterText {

std::optional<std::string> parse(const std::string& text, bool& out); ///< true/false, 1/0, yes/no, on/off
std::optional<std::string> parse(const std::string& text, int& out);
std::optional<std::string> parse(const std::string& text, unsigned long& out);
std::optional<std::string> parse(const std::string& text, float& out);
std::optional<std::string> parse(const std::string& text, double& out);
std::optional<std::string> parse(const std::string& text, std::string& out);

/// The items of a vector text: separated by commas and/or blanks, optionally in parentheses.
std::vector<std::string> splitVectorItems(const std::string& text);

/// A fixed-size vector written as "1, 2, 3, 4" (or "1 2 3 4"); exactly N numbers.
template <typename Scalar, int N>
std::optional<std::string> parse(const std::string& text, Eigen::Matrix<Scalar, N, 1>& out) {
    const std::vector<std::string> items = splitVectorItems(text);
    if (items.size() != static_cast<std::size_t>(N))
        return "expected " + std::to_string(N) + " numbers, got " + std::to_string(items.size());
    Eigen::Matrix<Scalar, N, 1> result;
    for (int i = 0; i < N; ++i)
        if (auto error = parse(items[i], result[i]))
            return error;
    out = result;
    return std::nullopt;
}

std::string format(bool value);
std::string format(int value);
std::string format(unsigned long value);
std::string format(float value);  ///< shortest text that reads back to the same float
std::string format(double value); ///< shortest text that reads back to the same double
std::string format(const std::string& value);

template <typename Scalar, int N>
std::string format(const Eigen::Matrix<Scalar, N, 1>& value) {
    std::string text;
    for (int i = 0; i < N; ++i)
        text += (i ? "," : "") + format(value[i]);
    return text;
}

/// The labels of a "values" attribute ("Raw, RescaledMax, Logarithmic"), trimmed, in order.
std::vector<std::string> enumLabels(const std::string& values);
/// An enumeration value given as one of `labels` (exact match, the label's position is the value)
/// or as an integer; with labels, integers must lie in [0, number of labels).
std::optional<std::string> parseEnum(const std::string& text, const std::vector<std::string>& labels, int& out);
/// The label of `value`, or the number when it has none.
std::string formatEnum(int value, const std::vector<std::string>& labels);

/// Checks `value` against the "min" and "max" attribute texts (empty: no bound).
std::optional<std::string> checkRange(double value, const std::string& min, const std::string& max);

/// What the unset state of an optional is written as.
inline const char* const noneText = "none";
/// True for texts that unset an optional: "none" or blanks only.
bool isNone(const std::string& text);

template <typename T>
struct TypeName;
template <>
struct TypeName<bool> {
    static std::string get() { return "bool"; }
};
template <>
struct TypeName<int> {
    static std::string get() { return "int"; }
};
template <>
struct TypeName<unsigned long> {
    static std::string get() { return "unsigned long"; }
};
template <>
struct TypeName<float> {
    static std::string get() { return "float"; }
};
template <>
struct TypeName<double> {
    static std::string get() { return "double"; }
};
template <>
struct TypeName<std::string> {
    static std::string get() { return "string"; }
};
template <typename Scalar, int N>
struct TypeName<Eigen::Matrix<Scalar, N, 1>> {
    static std::string get() { return "vec" + std::to_string(N) + (std::is_integral_v<Scalar> ? "i" : "d"); }
};
template <typename T>
struct TypeName<std::optional<T>> {
    static std::string get() { return "optional " + TypeName<T>::get(); }
};

} // namespace Tarnwick::ParameterText
