#include <TarnwickGraph/IO/XmlPullParser.h>

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>

namespace Tarnwick {

namespace {

constexpr std::size_t blockSize = 1 << 20;

bool isBlank(int c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool isNameCharacter(int c) {
    switch (c) {
    case ' ':
    case '\t':
    case '\r':
    case '\n':
    case '/':
    case '>':
    case '?':
    case '=':
    case '<':
    case '!':
    case '"':
    case '\'':
    case '&':
        return false;
    default:
        return c >= 0;
    }
}

void appendUtf8(std::uint32_t code, std::string& out) {
    if (code < 0x80) {
        out.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (code >> 6)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (code >> 12)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (code >> 18)));
        out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
}

} // namespace

XmlPullParser::XmlPullParser(std::istream& in, int maxDepth) : m_in(in), m_maxDepth(maxDepth) {
    accept("\xEF\xBB\xBF"); // a UTF-8 byte order mark
}

bool XmlPullParser::fill(std::size_t wanted) {
    if (m_end - m_pos >= wanted)
        return true;
    m_buffer.erase(m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(m_pos));
    m_end -= m_pos;
    m_pos = 0;
    while (m_end < wanted && !m_streamEnded) {
        m_buffer.resize(m_end + blockSize);
        const auto received = static_cast<std::size_t>(
            std::max<std::streamsize>(m_in.rdbuf() ? m_in.rdbuf()->sgetn(m_buffer.data() + m_end, blockSize) : 0, 0));
        // The document ends at a NUL byte, as a C string would.
        const char* nul = static_cast<const char*>(std::memchr(m_buffer.data() + m_end, '\0', received));
        m_end += nul ? static_cast<std::size_t>(nul - (m_buffer.data() + m_end)) : received;
        m_streamEnded = nul || received < blockSize;
    }
    m_buffer.resize(m_end);
    return m_end - m_pos >= wanted;
}

int XmlPullParser::peek() {
    if (m_pos == m_end && !fill(1))
        return -1;
    return static_cast<unsigned char>(m_buffer[m_pos]);
}

int XmlPullParser::get() {
    const int c = peek();
    if (c >= 0) {
        ++m_pos;
        m_line += c == '\n';
    }
    return c;
}

bool XmlPullParser::accept(std::string_view literal) {
    if (!fill(literal.size()) || std::memcmp(m_buffer.data() + m_pos, literal.data(), literal.size()) != 0)
        return false;
    m_pos += literal.size(); // literals hold no line breaks
    return true;
}

void XmlPullParser::skipPast(std::string_view terminator) {
    for (;;) {
        const int c = get();
        if (c < 0)
            fail("unexpected end of data");
        if (c == terminator[0] && accept(terminator.substr(1)))
            return;
    }
}

void XmlPullParser::skipBlanks() {
    while (isBlank(peek()))
        get();
}

void XmlPullParser::readName(std::string& out) {
    out.clear();
    while (m_pos < m_end || fill(1)) {
        const char* begin = m_buffer.data() + m_pos;
        const char* end = m_buffer.data() + m_end;
        const char* p = begin;
        while (p < end && isNameCharacter(static_cast<unsigned char>(*p)))
            ++p;
        out.append(begin, p);
        m_pos += static_cast<std::size_t>(p - begin);
        if (p < end)
            return;
    }
}

void XmlPullParser::readUntil(char stop, std::string& out) {
    // Runs of plain characters are copied straight from the buffer.
    while (m_pos < m_end || fill(1)) {
        const char* begin = m_buffer.data() + m_pos;
        const char* end = m_buffer.data() + m_end;
        const char* p = begin;
        for (; p < end && *p != stop && *p != '&'; ++p)
            m_line += *p == '\n';
        out.append(begin, p);
        m_pos += static_cast<std::size_t>(p - begin);
        if (p == end)
            continue;
        if (*p == stop)
            return;
        ++m_pos;
        readReference(out);
    }
}

void XmlPullParser::readReference(std::string& out) {
    static const std::pair<const char*, char> named[] = {
        {"amp;", '&'}, {"lt;", '<'}, {"gt;", '>'}, {"quot;", '"'}, {"apos;", '\''}};
    for (const auto& [entity, character] : named) {
        if (accept(entity)) {
            out.push_back(character);
            return;
        }
    }
    if (!accept("#")) {
        out.push_back('&'); // other entities are kept as written
        return;
    }
    const int base = accept("x") ? 16 : 10;
    std::uint32_t code = 0;
    int digits = 0;
    for (int c = peek(); c >= 0 && std::isxdigit(c) && (base == 16 || std::isdigit(c)); c = peek()) {
        get();
        code = code * base + static_cast<std::uint32_t>(std::isdigit(c) ? c - '0' : std::tolower(c) - 'a' + 10);
        if (++digits > 8 || code > 0x10FFFF)
            fail("invalid numeric character entity");
    }
    if (digits == 0 || code == 0)
        fail("invalid numeric character entity");
    if (get() != ';')
        fail("expected ;");
    appendUtf8(code, out);
}

void XmlPullParser::readStartTag() {
    readName(m_name);
    if (m_name.empty())
        fail("expected element name");
    m_attributeCount = 0;
    for (;;) {
        skipBlanks();
        const int c = peek();
        if (c == '>') {
            get();
            break;
        }
        if (c == '/') {
            get();
            if (get() != '>')
                fail("expected >");
            m_selfClosing = true;
            break;
        }
        if (m_attributeCount == m_attributes.size())
            m_attributes.emplace_back();
        auto& [name, value] = m_attributes[m_attributeCount];
        readName(name);
        if (name.empty())
            fail(c < 0 ? "unexpected end of data" : "expected >");
        skipBlanks();
        if (get() != '=')
            fail("expected =");
        skipBlanks();
        const int quote = get();
        if (quote != '"' && quote != '\'')
            fail("expected ' or \"");
        value.clear();
        readUntil(static_cast<char>(quote), value);
        if (get() != quote)
            fail("unexpected end of data");
        ++m_attributeCount;
    }
    if (static_cast<int>(m_open.size()) >= m_maxDepth)
        throw Error(fmt::format("elements nested deeper than {} levels", m_maxDepth), 0);
    m_open.push_back(m_name);
}

void XmlPullParser::readEndTag() {
    readName(m_name);
    skipBlanks();
    if (get() != '>')
        fail("expected >");
    if (m_open.empty())
        fail(fmt::format("end tag </{}> without a start tag", m_name));
    if (m_open.back() != m_name)
        fail(fmt::format("end tag </{}> does not close <{}>", m_name, m_open.back()));
    m_open.pop_back();
}

void XmlPullParser::skipDeclaration() {
    // A document type declaration ends at the first '>' outside its internal subset in brackets.
    if (accept("DOCTYPE") && isBlank(peek())) {
        int brackets = 0;
        for (int c = get(); c != '>' || brackets > 0; c = get()) {
            if (c < 0)
                fail("unexpected end of data");
            brackets += c == '[' ? 1 : (c == ']' && brackets > 0) ? -1 : 0;
        }
        return;
    }
    skipPast(">");
}

const std::string* XmlPullParser::attribute(std::string_view name) const {
    for (std::size_t i = 0; i < m_attributeCount; ++i)
        if (m_attributes[i].first == name)
            return &m_attributes[i].second;
    return nullptr;
}

XmlPullParser::Event XmlPullParser::next() {
    if (m_selfClosing) {
        m_selfClosing = false;
        m_open.pop_back();
        return m_event = Event::EndElement;
    }
    for (;;) {
        int c = peek();
        if (c < 0) {
            if (!m_open.empty())
                fail("unexpected end of data");
            return m_event = Event::EndOfDocument;
        }
        if (c != '<') {
            if (m_open.empty()) {
                if (!isBlank(c))
                    fail("expected <");
                get();
                continue;
            }
            m_text.clear();
            readUntil('<', m_text);
            return m_event = Event::Text;
        }
        get();
        if (accept("!--")) {
            skipPast("-->");
        } else if (accept("![CDATA[")) {
            m_text.clear();
            for (c = get(); c != ']' || !accept("]>"); c = get()) {
                if (c < 0)
                    fail("unexpected end of data");
                m_text.push_back(static_cast<char>(c));
            }
            if (!m_open.empty())
                return m_event = Event::Text;
        } else if (accept("?")) {
            skipPast("?>");
        } else if (accept("!")) {
            skipDeclaration();
        } else if (accept("/")) {
            readEndTag();
            return m_event = Event::EndElement;
        } else {
            readStartTag();
            return m_event = Event::StartElement;
        }
    }
}

void XmlPullParser::fail(const std::string& message) const {
    throw Error(message, m_line);
}

} // namespace Tarnwick
