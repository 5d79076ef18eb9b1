#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Small string helpers. Case conversion and trimming act on ASCII only, so UTF-8 text passes
/// through unchanged.
namespace Tarnwick::String {

bool contains(std::string_view text, std::string_view part);
bool startsWith(std::string_view text, std::string_view prefix);
bool endsWith(std::string_view text, std::string_view suffix);

/// Splits `text` at every character that occurs in `delimiters`. Empty pieces (between two
/// delimiters, or at either end) are kept only when `keepEmpty` is true; an empty text then gives
/// one empty piece.
std::vector<std::string> split(std::string_view text, std::string_view delimiters = " ", bool keepEmpty = false);

/// Turns an identifier into a label: "maxNodeId" -> "Max Node Id", "useGPUPath" -> "Use GPU Path",
/// "min_size" -> "Min Size". A word starts at an upper-case letter after a lower-case letter or
/// digit, at the last capital of a run of capitals followed by a lower-case letter, and after an
/// underscore (which becomes a space). The first letter of every word is capitalised.
std::string splitCamelCase(std::string_view identifier);

std::string toLowerCopy(std::string_view text);
std::string toUpperCopy(std::string_view text);

/// Replaces every occurrence of `from` (left to right, not overlapping); an empty `from` changes nothing.
std::string replaceAllCopy(std::string_view text, std::string_view from, std::string_view to);

/// Removes leading and trailing white space (space, tab, CR, LF, form feed, vertical tab).
std::string trimCopy(std::string_view text);

std::string join(const std::vector<std::string>& pieces, std::string_view separator);

} // namespace Tarnwick::String
