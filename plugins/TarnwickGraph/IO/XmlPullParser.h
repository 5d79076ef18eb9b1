#pragma once

#include <cstddef>
#include <istream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tarnwick {

/// A pull parser for XML documents read from a stream in blocks, so that memory does not grow with
/// the document: next() returns one event at a time (element start, element end, text), and the
/// caller keeps what it needs.
///
/// What it accepts: elements with attributes in single or double quotes, text, CDATA sections,
/// comments, processing instructions and the XML declaration (skipped), a document type declaration
/// (skipped, internal subset included), several top-level elements, and a UTF-8 byte order mark. Text
/// and attribute values have the five predefined entities and numeric character references decoded
/// (as UTF-8); other entity references are kept as written. The document ends at the end of the stream
/// or at a NUL byte. End tags must match their start tags, and elements may nest at most `maxDepth`
/// levels (no recursion, so deep documents cannot exhaust the stack).
///
/// Errors throw XmlPullParser::Error with a message and the line it was found on.
class XmlPullParser {
public:
    enum class Event { StartElement, EndElement, Text, EndOfDocument };

    struct Error : std::runtime_error {
        Error(const std::string& message, std::size_t line) : std::runtime_error(message), line(line) {}
        std::size_t line;
    };

    XmlPullParser(std::istream& in, int maxDepth);

    /// The next event. A self-closing element gives StartElement and then EndElement. Text comes in
    /// pieces: a CDATA section, and the text between two pieces of markup, are separate events.
    Event next();

    /// The element's name (StartElement, EndElement).
    const std::string& name() const { return m_name; }
    /// The value of the element's first attribute called `name`, or null (StartElement).
    const std::string* attribute(std::string_view name) const;
    /// The text of a Text event.
    const std::string& text() const { return m_text; }
    /// Nesting depth: 1 inside a top-level element (and for its own start and end events).
    int depth() const { return static_cast<int>(m_open.size()) + (m_event == Event::EndElement ? 1 : 0); }
    /// The line (from 1) the parser has reached.
    std::size_t line() const { return m_line; }

private:
    int peek();
    int get();
    /// Whether the next characters are `literal`; consumes them when they are.
    bool accept(std::string_view literal);
    /// Consumes everything up to and including `terminator`.
    void skipPast(std::string_view terminator);
    void skipBlanks();
    /// Reads a name (element or attribute); empty when none starts here.
    void readName(std::string& out);
    /// Appends the text up to (not including) `stop` or the end of the document, references decoded.
    void readUntil(char stop, std::string& out);
    /// Appends the decoded entity or character reference after a '&'.
    void readReference(std::string& out);
    void readStartTag();
    void readEndTag();
    void skipDeclaration();
    [[noreturn]] void fail(const std::string& message) const;
    bool fill(std::size_t wanted);

    std::istream& m_in;
    int m_maxDepth;
    std::vector<char> m_buffer;
    std::size_t m_pos = 0, m_end = 0;
    bool m_streamEnded = false;
    std::size_t m_line = 1;

    Event m_event = Event::Text;
    std::string m_name;
    std::string m_text;
    std::vector<std::pair<std::string, std::string>> m_attributes;
    std::size_t m_attributeCount = 0;
    std::vector<std::string> m_open;
    bool m_selfClosing = false;
};

} // namespace Tarnwick
