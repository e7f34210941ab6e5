#include "kvxml/json/CJsonTextReader.h"

#include <cstring>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/json/IJsonReaderHandler.h"

namespace KvXmlLib16 {

namespace {

constexpr char16_t kEndOfString[] = u"Unexpected End of File. Expected string value at line %d, position %d.";
constexpr char16_t kExpectedNumber[] = u"Unexpected End of File. Expected a number at line %d, position %d.";
constexpr char16_t kEndExpectedDigit[] =
    u"Unexpected End of File. Expected a digit '0' to '9' at line %d, position %d.";
constexpr char16_t kFoundDigit[] = u"Expected a digit '0' to '9', found '%c' at line %d, position %d.";
constexpr char16_t kArrayEnd[] =
    u"Unexpected End of File. Expected Array terminator character ']' at line %d, position %d.";
constexpr char16_t kObjectEnd[] =
    u"Unexpected End of File. Expected Object terminator character '}' at line %d, position %d.";

inline bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
inline bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r'; }

} // namespace

CJsonTextReader::CJsonTextReader(IJsonReaderHandler* handler, IErrorPathProvider* pathProvider, bool allowComments,
                                 const std::u16string& rootElementName)
    : m_handler(handler),
      m_pathProvider(pathProvider),
      m_maxDepth(100),
      m_allowComments(allowComments),
      m_rootElementName(rootElementName),
      m_text(u""),
      m_length(0),
      m_index(0),
      m_current(0),
      m_atEnd(false),
      m_line(1),
      m_position(0) {}

CJsonTextReader::~CJsonTextReader() { delete m_handler; }

void CJsonTextReader::Fail(const char16_t* format) const {
    throw CKvValidationException(FormatString(format, m_line, m_position),
                                 m_pathProvider ? m_pathProvider->GetErrorPath() : std::u16string());
}

void CJsonTextReader::FailWithCurrent(const char16_t* format) const {
    throw CKvValidationException(FormatString(format, static_cast<int>(m_current), m_line, m_position),
                                 m_pathProvider ? m_pathProvider->GetErrorPath() : std::u16string());
}

// A line feed is counted and passed over in both modes, so it never reaches a caller: inside a
// string or a number it simply vanishes. With skipWhitespace, blanks and comments are passed over
// too; consecutive comments are handled by looping rather than recursing, so that a text of
// millions of comments cannot exhaust the stack.
bool CJsonTextReader::NextChar(bool skipWhitespace) {
    for (;;) {
        bool found = false;
        while (m_index < m_length) {
            const char16_t c = m_text[m_index++];
            ++m_position;
            if (c == u'\n') {
                ++m_line;
                m_position = 0;
                continue;
            }
            if (skipWhitespace && IsBlank(c)) continue;
            m_current = c;
            found = true;
            break;
        }
        if (!found) {
            m_atEnd = true;
            return false;
        }
        if (!skipWhitespace || !m_allowComments || m_current != u'/') return true;
        const char16_t next = m_index < m_length ? m_text[m_index] : 0;
        if (next == u'/') {
            // Line comment: its characters are not counted as positions.
            ++m_index;
            while (m_index < m_length && m_text[m_index] != u'\n') ++m_index;
            if (m_index >= m_length) {
                m_atEnd = true;
                return false;
            }
            ++m_index;
            ++m_line;
            m_position = 0;
        } else if (next == u'*') {
            ++m_index;
            if (!NextChar(false)) return false;
            while (!(m_current == u'*' && m_index < m_length && m_text[m_index] == u'/'))
                if (!NextChar(false)) return false;
            ++m_index;
            ++m_position;
        } else {
            // Not a comment: the caller rejects the '/'.
            return true;
        }
    }
}

bool CJsonTextReader::ReadChars(char16_t* buffer, int32_t count) {
    const int32_t left = m_length - m_index;
    const int32_t taken = left < count ? left : count;
    std::memcpy(buffer, m_text + m_index, static_cast<size_t>(taken) * sizeof(char16_t));
    m_index += taken;
    m_position += taken;
    if (taken < count) {
        m_atEnd = true;
        return false;
    }
    m_current = buffer[count - 1];
    return true;
}

void CJsonTextReader::Parse(std::u16string_view text) {
    if (text.size() >= static_cast<size_t>(INT32_MAX))
        throw CKvException(u"The JSON text is too long to be read: it must hold fewer than 2147483647 characters.");
    m_text = text.data();
    m_length = static_cast<int32_t>(text.size());
    m_index = 0;
    m_atEnd = false;
    m_line = 1;
    m_position = 0;
    m_current = 0;
    m_handler->OnStartDocument();
    const bool wrapped = !m_rootElementName.empty();
    if (wrapped) {
        m_handler->OnStartObject();
        m_handler->OnName(m_rootElementName);
    }
    // Whatever follows the root value is not looked at.
    if (NextChar(true)) ReadValue(0);
    if (wrapped) m_handler->OnEndObject();
    m_handler->OnEndDocument();
}

void CJsonTextReader::ReadValue(int32_t depth) {
    if (depth + 1 > m_maxDepth) Fail(u"JSON exceeded depth limit at line %d, position %d.");
    switch (m_current) {
    case u'{':
        m_handler->OnStartObject();
        ReadObject(depth + 1);
        m_handler->OnEndObject();
        break;
    case u'[':
        m_handler->OnStartArray();
        ReadArray(depth + 1);
        m_handler->OnEndArray();
        break;
    case u'"':
        ReadString();
        m_handler->OnString(m_token);
        break;
    case u'n':
        ReadLiteral(u"ull", 3, u"Unexpected End of File. Expected value 'NULL' at line %d, position %d.",
                    u"Expected 'NULL' at line %d, position %d.");
        m_handler->OnNull();
        break;
    case u't':
        ReadLiteral(u"rue", 3, u"Unexpected End of File. Expected value 'true' at line %d, position %d.",
                    u"Expected 'true' at line %d, position %d.");
        m_handler->OnBoolean(true);
        break;
    case u'f':
        ReadLiteral(u"alse", 4, u"Unexpected End of File. Expected value 'false' at line %d, position %d.",
                    u"Expected 'false' at line %d, position %d.");
        m_handler->OnBoolean(false);
        break;
    default:
        if (IsDigit(m_current) || m_current == u'-') {
            ReadNumber();
            m_handler->OnNumber(m_token);
            break;
        }
        FailWithCurrent(
            u"Expected Value '{', '[', '\"', '0-9', '-', 'true', 'false' or 'null', found '%c' at line %d, position "
            u"%d.");
    }
}

void CJsonTextReader::ReadArray(int32_t depth) {
    if (!NextChar(true)) Fail(kArrayEnd);
    if (m_current != u']') {
        for (;;) {
            ReadValue(depth);
            if (m_atEnd) Fail(kArrayEnd);
            if (m_current == u']') break;
            if (m_current != u',')
                FailWithCurrent(u"Expected Array separator character ',', found '%c' at line %d, position %d.");
            // A ']' right after a comma is refused by ReadValue.
            if (!NextChar(true)) Fail(kArrayEnd);
        }
    }
    NextChar(true);
}

void CJsonTextReader::ReadObject(int32_t depth) {
    if (!NextChar(true))
        Fail(u"Unexpected End of File. Expected Object terminator character '}}' at line %d, position %d.");
    if (m_current != u'}') {
        for (;;) {
            if (m_current != u'"')
                FailWithCurrent(
                    u"Expected quotation mark character '\"' before Name, found '%c' at line %d, position %d.");
            ReadString();
            m_handler->OnName(m_token);
            if (m_atEnd)
                Fail(
                    u"Unexpected End of File. Expected Object Name/Value separator character ':' at line %d, "
                    u"position %d.");
            if (m_current != u':')
                FailWithCurrent(
                    u"Expected Object Name/Value separator character ':', found '%c' at line %d, position %d.");
            if (!NextChar(true)) Fail(u"Unexpected End of File. Expected Object Value at line %d, position %d.");
            ReadValue(depth);
            if (m_atEnd) Fail(kObjectEnd);
            if (m_current == u'}') break;
            if (m_current != u',')
                FailWithCurrent(u"Expected Object separator character ',', found '%c' at line %d, position %d.");
            if (!NextChar(true)) Fail(kObjectEnd);
        }
    }
    NextChar(true);
}

// Only the lower-case literals are accepted; letters glued behind one are left to the caller.
void CJsonTextReader::ReadLiteral(const char16_t* rest, int32_t count, const char16_t* endMessage,
                                  const char16_t* mismatchMessage) {
    char16_t buffer[4];
    if (!ReadChars(buffer, count)) Fail(endMessage);
    if (std::memcmp(buffer, rest, static_cast<size_t>(count) * sizeof(char16_t)) != 0) Fail(mismatchMessage);
    NextChar(true);
}

void CJsonTextReader::AppendDigits() {
    while (IsDigit(m_current)) {
        m_token.push_back(m_current);
        if (!NextChar(false)) return;
    }
}

// The number is checked for its shape only and goes on as the text that stood in the source.
void CJsonTextReader::ReadNumber() {
    m_token.clear();
    if (m_current == u'-') {
        m_token.push_back(m_current);
        if (!NextChar(false)) Fail(kExpectedNumber);
    }
    if (m_current == u'0') {
        // A digit behind a leading 0 is not part of the number.
        m_token.push_back(m_current);
        NextChar(false);
    } else if (IsDigit(m_current)) {
        AppendDigits();
    } else {
        FailWithCurrent(kFoundDigit);
    }
    if (!m_atEnd && m_current == u'.') {
        m_token.push_back(m_current);
        if (!NextChar(false)) Fail(kEndExpectedDigit);
        if (!IsDigit(m_current)) FailWithCurrent(kFoundDigit);
        AppendDigits();
    }
    if (!m_atEnd && (m_current == u'e' || m_current == u'E')) {
        m_token.push_back(m_current);
        if (!NextChar(false)) Fail(u"Unexpected End of File. Expected '+', '-' or a number at line %d, position %d.");
        if (m_current == u'+' || m_current == u'-') {
            m_token.push_back(m_current);
            if (!NextChar(false)) Fail(kExpectedNumber);
        }
        // The exponent has no message of its own for a wrong character: it reports an end of file.
        if (!IsDigit(m_current)) Fail(kEndExpectedDigit);
        AppendDigits();
    }
    // A comment glued to the last digit is not skipped here; the caller refuses its '/'.
    if (IsBlank(m_current)) NextChar(true);
}

// Raw control characters are kept as they stand, except the line feed, which vanishes. A \u escape
// is not decoded as a code unit: it yields the upper-case hexadecimal digit of the high half of
// the low byte of the first of its four characters ("\u0041" gives '3'), and its characters are
// not checked. The value ends at its first NUL.
void CJsonTextReader::ReadString() {
    static constexpr char16_t kHexDigits[] = u"0123456789ABCDEF";
    m_token.clear();
    size_t nulAt = std::u16string::npos;
    for (;;) {
        // A run of plain characters is taken in one piece, counted as the character steps would.
        const int32_t start = m_index;
        while (m_index < m_length) {
            const char16_t c = m_text[m_index];
            if (c == u'"' || c == u'\\' || c == u'\n' || c == 0) break;
            ++m_index;
        }
        if (m_index > start) {
            m_token.append(m_text + start, static_cast<size_t>(m_index - start));
            m_position += m_index - start;
            m_current = m_text[m_index - 1];
        }
        if (!NextChar(false)) Fail(kEndOfString);
        if (m_current == u'"') break;
        if (m_current != u'\\') {
            if (m_current == 0 && nulAt == std::u16string::npos) nulAt = m_token.size();
            m_token.push_back(m_current);
            continue;
        }
        if (!NextChar(false)) Fail(kEndOfString);
        switch (m_current) {
        case u'"': m_token.push_back(u'"'); break;
        case u'\\': m_token.push_back(u'\\'); break;
        case u'/': m_token.push_back(u'/'); break;
        case u'b': m_token.push_back(u'\b'); break;
        case u'f': m_token.push_back(u'\f'); break;
        case u'n': m_token.push_back(u'\n'); break;
        case u'r': m_token.push_back(u'\r'); break;
        case u't': m_token.push_back(u'\t'); break;
        case u'u': {
            char16_t units[4];
            if (!ReadChars(units, 4))
                Fail(u"Unexpected End of File. Expected 4 hexadecimal digits'\\uxxxx' at line %d, position %d.");
            m_token.push_back(kHexDigits[(units[0] & 0xFF) >> 4]);
            break;
        }
        default: FailWithCurrent(u"Invalid Escape Character '%c' at line %d, position %d.");
        }
    }
    if (nulAt != std::u16string::npos) m_token.resize(nulAt);
    NextChar(true);
}

} // namespace KvXmlLib16
