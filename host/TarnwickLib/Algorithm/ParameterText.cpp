#include <TarnwickLib/Algorithm/ParameterText.h>

#include <TarnwickCore/String.h>

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>

namespace Tarnwick::ParameterText {

namespace {

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

// Parses the whole of `text` (blanks around it ignored, a leading '+' allowed) with std::from_chars.
template <typename T>
std::optional<std::string> parseNumber(const std::string& text, T& out, const char* what) {
    std::string number = String::trimCopy(text);
    if (!number.empty() && number[0] == '+')
        number.erase(0, 1);
    if constexpr (std::is_unsigned_v<T>)
        if (!number.empty() && number[0] == '-')
            return quoted(text) + " is negative";
    T value{};
    const char* first = number.data();
    const char* last = first + number.size();
    const auto [end, error] = std::from_chars(first, last, value);
    if (number.empty() || end != last || error == std::errc::invalid_argument)
        return quoted(text) + " is not " + what;
    if (error == std::errc::result_out_of_range)
        return quoted(text) + " is out of range for " + TypeName<T>::get();
    out = value;
    return std::nullopt;
}

} // namespace

std::optional<std::string> parse(const std::string& text, bool& out) {
    std::string word = String::trimCopy(text);
    std::transform(word.begin(), word.end(), word.begin(), [](unsigned char c) { return std::tolower(c); });
    if (word == "true" || word == "1" || word == "yes" || word == "on") {
        out = true;
        return std::nullopt;
    }
    if (word == "false" || word == "0" || word == "no" || word == "off") {
        out = false;
        return std::nullopt;
    }
    return quoted(text) + " is not a boolean (true or false)";
}

std::optional<std::string> parse(const std::string& text, int& out) {
    return parseNumber(text, out, "an integer");
}

std::optional<std::string> parse(const std::string& text, unsigned long& out) {
    return parseNumber(text, out, "a non-negative integer");
}

std::optional<std::string> parse(const std::string& text, float& out) {
    return parseNumber(text, out, "a number");
}

std::optional<std::string> parse(const std::string& text, double& out) {
    return parseNumber(text, out, "a number");
}

std::optional<std::string> parse(const std::string& text, std::string& out) {
    out = text;
    return std::nullopt;
}

std::vector<std::string> splitVectorItems(const std::string& text) {
    std::string inner = String::trimCopy(text);
    if (inner.size() >= 2 && inner.front() == '(' && inner.back() == ')')
        inner = inner.substr(1, inner.size() - 2);
    std::vector<std::string> items;
    std::string current;
    for (char c : inner) {
        if (c == ',' || std::isspace(static_cast<unsigned char>(c))) {
            if (!current.empty())
                items.push_back(current);
            current.clear();
        } else {
            current += c;
        }
    }
    if (!current.empty())
        items.push_back(current);
    return items;
}

bool isNone(const std::string& text) {
    const std::string word = String::trimCopy(text);
    return word.empty() || word == noneText;
}

std::string format(bool value) {
    return value ? "true" : "false";
}
std::string format(int value) {
    return std::to_string(value);
}
std::string format(unsigned long value) {
    return std::to_string(value);
}
std::string format(float value) {
    return fmt::format("{}", value);
}
std::string format(double value) {
    return fmt::format("{}", value);
}
std::string format(const std::string& value) {
    return value;
}

std::vector<std::string> enumLabels(const std::string& values) {
    if (String::trimCopy(values).empty())
        return {};
    std::vector<std::string> labels = String::split(values, ",", true);
    for (std::string& label : labels)
        label = String::trimCopy(label);
    return labels;
}

std::optional<std::string> parseEnum(const std::string& text, const std::vector<std::string>& labels, int& out) {
    const std::string word = String::trimCopy(text);
    const auto label = std::find(labels.begin(), labels.end(), word);
    if (label != labels.end()) {
        out = static_cast<int>(label - labels.begin());
        return std::nullopt;
    }
    const std::string choices = String::join(labels, ", ");
    int number = 0;
    if (parse(word, number)) {
        if (labels.empty())
            return quoted(text) + " is not an integer";
        return quoted(text) + " is not one of: " + choices;
    }
    if (!labels.empty() && (number < 0 || number >= static_cast<int>(labels.size())))
        return fmt::format("{} is not a value between 0 and {} ({})", number, labels.size() - 1, choices);
    out = number;
    return std::nullopt;
}

std::string formatEnum(int value, const std::vector<std::string>& labels) {
    if (value >= 0 && value < static_cast<int>(labels.size()))
        return labels[value];
    return std::to_string(value);
}

std::optional<std::string> checkRange(double value, const std::string& min, const std::string& max) {
    double bound = 0;
    if (!min.empty() && !parse(min, bound) && value < bound)
        return fmt::format("{} is below the minimum {}", value, min);
    if (!max.empty() && !parse(max, bound) && value > bound)
        return fmt::format("{} is above the maximum {}", value, max);
    return std::nullopt;
}

} // namespace Tarnwick::ParameterText
