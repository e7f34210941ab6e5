#include "kvxml/json/CJsonTextWriter.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"

namespace KvXmlLib16 {

namespace {

constexpr size_t kXmlNamespaceLength = sizeof(kXmlNamespaceURI) / sizeof(char16_t) - 1;

// Kinds written bare: i1 to r8, boolean, decimal, integer.
inline bool IsBareKind(ItemType kind) {
    const int32_t k = static_cast<int32_t>(kind);
    return (k >= 3 && k <= 12) || k == 24 || k == 25 || k == 26;
}

[[noreturn]] void ThrowUnknownNamespace(const std::u16string& name) {
    throw CKvException(FormatString(u"Unknown Namespace: %s.", name.c_str()));
}

} // namespace

CJsonTextWriter::CJsonTextWriter(CTextStream* stream)
    : m_indent(u"\t"),
      m_endOfLine(u"\n"),
      m_eolType(EOLType_LF),
      m_supportRoundtrip(JsonRoundTrip_Full),
      m_formatted(true),
      m_stream(stream),
      m_awaitingValue(false) {}

CJsonTextWriter::~CJsonTextWriter() = default;

void CJsonTextWriter::OpenOutput() { m_stream->Open(); }

void CJsonTextWriter::CloseOutput() {
    m_stream->Close();
    CXmlWriter::CloseOutput();
}

void CJsonTextWriter::SetEOLType(EOLType type) {
    switch (type) {
    case EOLType_CRLF: m_endOfLine = u"\r\n"; break;
    case EOLType_LF: m_endOfLine = u"\n"; break;
    default: throw CKvException(u"Invalid EOL type.");
    }
    m_eolType = type;
}

void CJsonTextWriter::WriteIndent(int32_t depth) {
    for (int32_t i = 0; i < depth; ++i) m_stream->Append(m_indent);
}

// Before each member. An element still awaiting its value gets its '{' now, and the first item of
// a collection opens the array as well; the array's lines lie one level deeper, so every open
// context goes one level down until the ']'.
void CJsonTextWriter::Separator(CXmlWriterContext* context) {
    if (m_awaitingValue) {
        CXmlWriterContext* parent = context->GetParent();
        if (parent && parent->GetCollectionState() == 1) {
            parent->SetCollectionState(2);
            m_stream->AppendChar(u'[');
            if (m_formatted) {
                for (CXmlWriterContext* c = context; c; c = c->GetParent()) c->SetDepth(c->GetDepth() + 1);
                m_stream->Append(m_endOfLine);
                WriteIndent(context->GetDepth());
            }
        }
        m_stream->AppendChar(u'{');
    } else {
        m_stream->AppendChar(u',');
    }
    if (m_formatted) m_stream->Append(m_endOfLine);
}

void CJsonTextWriter::WriteName(const std::u16string& prefix, const std::u16string& name) {
    m_stream->AppendChar(u'"');
    m_stream->Append(prefix);
    m_stream->Append(name);
    m_stream->Append(u"\": ", 3);
}

// Names, aliases and URIs go out without escaping.
void CJsonTextWriter::WriteDeclaration(CXmlWriterContext* context, const std::u16string& alias,
                                       const std::u16string& uri) {
    Separator(context);
    if (m_formatted) WriteIndent(context->GetDepth() + 1);
    if (alias.empty()) {
        m_stream->Append(u"\"@xmlns\": \"", 11);
    } else {
        m_stream->Append(u"\"@xmlns:", 8);
        m_stream->Append(alias);
        m_stream->Append(u"\": \"", 4);
    }
    m_stream->Append(uri);
    m_stream->AppendChar(u'"');
    m_awaitingValue = false;
}

void CJsonTextWriter::WriteStartElement(const std::u16string& name, const std::u16string& namespaceUri) {
    CXmlWriterContext* parent = m_currentContext;
    bool writeName = true;
    if (parent) {
        // Later items of an array carry no name.
        writeName = parent->GetCollectionState() != 2;
        Separator(parent);
    }
    CXmlWriterContext* context = PushContext(name, namespaceUri);
    if (!parent) context->SetDepth(1);
    if (m_formatted) WriteIndent(context->GetDepth());
    if (m_supportRoundtrip != JsonRoundTrip_Full) {
        if (writeName) WriteName(std::u16string(), name);
        m_awaitingValue = true;
        FlushIfFull();
        return;
    }
    if (!writeName) {
        m_awaitingValue = true;
        FlushIfFull();
        return;
    }
    if (namespaceUri.empty() || namespaceUri == context->GetEffectiveDefaultNamespace()) {
        WriteName(std::u16string(), name);
        m_awaitingValue = true;
    } else {
        const NamespaceMap& map = context->GetEffectiveMap();
        auto found = map.find(namespaceUri);
        std::u16string alias;
        const bool allocated = found == map.end();
        if (allocated) {
            // Only the root may bring a namespace nobody declared.
            if (parent) ThrowUnknownNamespace(name);
            alias = AllocateAlias(map);
            context->AddNamespaceAlias(alias, namespaceUri);
        } else {
            alias = found->second;
        }
        m_stream->AppendChar(u'"');
        m_stream->Append(alias);
        m_stream->AppendChar(u':');
        m_stream->Append(name);
        m_stream->Append(u"\": ", 3);
        m_awaitingValue = true;
        if (allocated) WriteDeclaration(context, alias, namespaceUri);
    }
    if (!parent) {
        if (!m_defaultNamespace.empty()) WriteDeclaration(context, std::u16string(), m_defaultNamespace);
        for (const auto& entry : m_namespaceMap) {
            if (entry.first.compare(0, kXmlNamespaceLength, kXmlNamespaceURI) == 0) continue;
            WriteDeclaration(context, entry.second, entry.first);
        }
    }
    FlushIfFull();
}

// Per character up to a terminator. The quotation mark and the backslash go out as they are, and
// no short escapes are produced: only control characters other than backspace, tab and form feed
// become \u escapes, a line feed becomes the selected line break and a carriage return is dropped.
void CJsonTextWriter::WriteEscaped(const std::u16string& text) {
    static constexpr char16_t kHexDigits[] = u"0123456789ABCDEF";
    const char16_t* p = text.c_str();
    const char16_t* run = p;
    for (;; ++p) {
        const char16_t c = *p;
        if (c >= 32) continue;
        if (c == u'\b' || c == u'\t' || c == u'\f') continue;
        m_stream->Append(run, static_cast<size_t>(p - run));
        run = p + 1;
        if (c == 0) return;
        if (c == u'\n') {
            if (m_eolType == EOLType_CRLF)
                m_stream->Append(u"\r\n", 2);
            else if (m_eolType == EOLType_LF)
                m_stream->AppendChar(u'\n');
            else
                throw CKvException(u"Invalid EOL type.");
        } else if (c != u'\r') {
            const char16_t escape[] = {u'\\', u'u', u'0', u'0', kHexDigits[c >> 4], kHexDigits[c & 0xF]};
            m_stream->Append(escape, 6);
        }
    }
}

// Numbers and booleans stand bare and unescaped, INF and NaN included; everything else is quoted.
void CJsonTextWriter::WriteValue(const std::u16string& text, ItemType kind) {
    if (IsBareKind(kind)) {
        m_stream->Append(text.c_str());
        return;
    }
    m_stream->AppendChar(u'"');
    WriteEscaped(text);
    m_stream->AppendChar(u'"');
}

// Default values are written like any other; an element with a bare value closes with no '}'.
void CJsonTextWriter::WriteElementText(const std::u16string& text, ItemType kind, bool) {
    if (!m_awaitingValue) {
        m_stream->AppendChar(u',');
        if (m_formatted) {
            m_stream->Append(m_endOfLine);
            WriteIndent(CurrentDepth() + 1);
        }
        if (m_supportRoundtrip == JsonRoundTrip_None)
            m_stream->Append(u"\"\": ", 4);
        else
            m_stream->Append(u"\"#text\": ", 9);
    }
    WriteValue(text, kind);
}

void CJsonTextWriter::WriteEndElement() {
    CXmlWriterContext* context = m_currentContext;
    if (!context) throw CKvException(u"There is no open element to end.");
    if (context->GetCollectionState() == 3) {
        context->SetCollectionState(0);
        if (m_formatted) {
            m_stream->Append(m_endOfLine);
            WriteIndent(context->GetDepth());
            for (CXmlWriterContext* c = context; c; c = c->GetParent())
                if (c->GetDepth() > 1) c->SetDepth(c->GetDepth() - 1);
        }
        m_stream->AppendChar(u']');
    }
    if (m_awaitingValue) {
        // A bare value, or nothing at all: no '}' is due.
        PopContext();
        m_awaitingValue = false;
        return;
    }
    if (m_formatted) {
        m_stream->Append(m_endOfLine);
        WriteIndent(context->GetDepth());
    }
    m_stream->AppendChar(u'}');
    PopContext();
    m_awaitingValue = false;
}

// Attributes are not required to come before children here.
void CJsonTextWriter::WriteAttribute(const std::u16string& name, const std::u16string& namespaceUri,
                                     const std::u16string& value, ItemType kind) {
    CXmlWriterContext* context = m_currentContext;
    if (!context) throw CKvException(u"Attributes must be added before elements");
    Separator(context);
    if (m_formatted) WriteIndent(context->GetDepth() + 1);
    if (namespaceUri.empty() || m_supportRoundtrip != JsonRoundTrip_Full) {
        WriteName(m_supportRoundtrip == JsonRoundTrip_None ? std::u16string() : std::u16string(u"@"), name);
    } else {
        // Prefixed even in the default namespace, which does not apply to attributes.
        const NamespaceMap& map = context->GetEffectiveMap();
        auto found = map.find(namespaceUri);
        if (found == map.end()) ThrowUnknownNamespace(name);
        m_stream->Append(u"\"@", 2);
        m_stream->Append(found->second);
        m_stream->AppendChar(u':');
        m_stream->Append(name);
        m_stream->Append(u"\": ", 3);
    }
    WriteValue(value, kind);
    m_awaitingValue = false;
}

// Only the full mode carries the type, as an attribute in the schema-instance namespace, whose
// alias must therefore be declared.
void CJsonTextWriter::WriteXsiType(const std::u16string& namespaceUri, const std::u16string& typeName, ItemType kind) {
    if (m_supportRoundtrip != JsonRoundTrip_Full) return;
    CXmlWriterContext* context = m_currentContext;
    if (!context) throw CKvException(u"Attributes must be added before elements");
    std::u16string value;
    if (namespaceUri.empty() || namespaceUri == context->GetEffectiveDefaultNamespace()) {
        value = typeName;
    } else {
        const NamespaceMap& map = context->GetEffectiveMap();
        auto found = map.find(namespaceUri);
        if (found == map.end()) ThrowUnknownNamespace(typeName);
        value = found->second;
        value += u':';
        value += typeName;
    }
    WriteAttribute(u"type", kXsiNamespaceURI, value, kind);
}

// Nil has no JSON form; the element stays without a value.
void CJsonTextWriter::WriteXsiNil() {}

void CJsonTextWriter::WriteComment(const std::u16string& text) {
    m_stream->Append(u"/* ", 3);
    WriteEscaped(text);
    m_stream->Append(u" */", 3);
    m_stream->Append(m_endOfLine);
    FlushIfFull();
}

void CJsonTextWriter::WriteProcessingInstruction(const std::u16string&) {}

void CJsonTextWriter::WriteInLineSchema(const std::u16string&) {}

} // namespace KvXmlLib16
