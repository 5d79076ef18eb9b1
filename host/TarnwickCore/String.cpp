#include <TarnwickCore/String.h>

namespace Tarnwick::String {

namespace {

bool isLower(char c) {
    return c >= 'a' && c <= 'z';
}
bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
char lower(char c) {
    return isUpper(c) ? char(c - 'A' + 'a') : c;
}
char upper(char c) {
    return isLower(c) ? char(c - 'a' + 'A') : c;
}

} // namespace

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && text.compare(0, prefix.size(), prefix) == 0;
}

bool endsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::vector<std::string> split(std::string_view text, std::string_view delimiters, bool keepEmpty) {
    std::vector<std::string> pieces;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t end = text.find_first_of(delimiters, begin);
        const std::string_view piece = text.substr(begin, end == std::string_view::npos ? end : end - begin);
        if (keepEmpty || !piece.empty())
            pieces.emplace_back(piece);
        if (end == std::string_view::npos)
            return pieces;
        begin = end + 1;
    }
}

std::string splitCamelCase(std::string_view identifier) {
    std::string label;
    bool wordStart = true;
    for (std::size_t i = 0; i < identifier.size(); ++i) {
        const char c = identifier[i];
        if (c == '_') {
            wordStart = true;
            continue;
        }
        const char previous = i > 0 ? identifier[i - 1] : '\0';
        const char next = i + 1 < identifier.size() ? identifier[i + 1] : '\0';
        if (isUpper(c) && (isLower(previous) || isDigit(previous) || (isUpper(previous) && isLower(next))))
            wordStart = true;
        if (wordStart && !label.empty())
            label += ' ';
        label += wordStart ? upper(c) : c;
        wordStart = false;
    }
    return label;
}

std::string toLowerCopy(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = lower(c);
    return result;
}

std::string toUpperCopy(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = upper(c);
    return result;
}

std::string replaceAllCopy(std::string_view text, std::string_view from, std::string_view to) {
    if (from.empty())
        return std::string(text);
    std::string result;
    std::size_t begin = 0;
    for (std::size_t found = text.find(from); found != std::string_view::npos; found = text.find(from, begin)) {
        result.append(text.substr(begin, found - begin)).append(to);
        begin = found + from.size();
    }
    return result.append(text.substr(begin));
}

std::string trimCopy(std::string_view text) {
    constexpr std::string_view whitespace = " \t\r\n\f\v";
    const std::size_t first = text.find_first_not_of(whitespace);
    if (first == std::string_view::npos)
        return {};
    return std::string(text.substr(first, text.find_last_not_of(whitespace) - first + 1));
}

std::string join(const std::vector<std::string>& pieces, std::string_view separator) {
    std::string result;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (i > 0)
            result.append(separator);
        result.append(pieces[i]);
    }
    return result;
}

} // namespace Tarnwick::String
