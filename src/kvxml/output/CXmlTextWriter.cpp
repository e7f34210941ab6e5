#include "kvxml/output/CXmlTextWriter.h"

#include "kvxml/base/CKvException.h"

namespace KvXmlLib16 {

namespace {
constexpr size_t kXmlNamespaceLength = sizeof(kXmlNamespaceURI) / sizeof(char16_t) - 1;

// The writer's own declarations skip the XML namespace; the test looks at no more than its length,
// so a longer URI that starts the same way is skipped too.
bool StartsWithXmlNamespace(const std::u16string& uri) {
    return uri.compare(0, kXmlNamespaceLength, kXmlNamespaceURI) == 0;
}
} // namespace

CXmlTextWriter::CXmlTextWriter(CTextStream* stream)
    : m_writeDefaultValues(false),
      m_indent(u"\t"),
      m_endOfLine(u"\n"),
      m_eolType(EOLType_LF),
      m_formatted(true),
      m_stream(stream) {}

CXmlTextWriter::~CXmlTextWriter() = default;

void CXmlTextWriter::OpenOutput() { m_stream->Open(); }

void CXmlTextWriter::CloseOutput() {
    m_stream->Close();
    CXmlWriter::CloseOutput();
}

void CXmlTextWriter::SetEOLType(EOLType type) {
    static const std::u16string crLf(u"\r\n"), lf(u"\n");
    switch (type) {
    case EOLType_CRLF: m_endOfLine = crLf; break;
    case EOLType_LF: m_endOfLine = lf; break;
    default: throw CKvException(u"Invalid EOL type.");
    }
    m_eolType = type;
}

void CXmlTextWriter::WriteXmlDeclaration() {
    m_stream->Append(u"<?xml version=\"1.0\"");
    switch (m_stream->GetEncoding()) {
    case XmlEncoding_UTF8: m_stream->Append(u" encoding=\"UTF-8\""); break;
    case XmlEncoding_UTF16: m_stream->Append(u" encoding=\"UTF-16\""); break;
    default: break;
    }
    m_stream->Append(u"?>");
    m_stream->Append(m_endOfLine);
    FlushIfFull();
}

void CXmlTextWriter::WriteIndent(int32_t depth) {
    for (int32_t i = 0; i < depth; ++i) m_stream->Append(m_indent);
}

void CXmlTextWriter::CloseStartTag() {
    CXmlWriterContext* context = m_currentContext;
    if (!context) return;
    context->IncrementChildCount();
    if (context->IsStartTagOpen()) {
        context->SetStartTagOpen(false);
        m_stream->AppendChar(u'>');
        if (m_formatted) m_stream->Append(m_endOfLine);
    }
}

void CXmlTextWriter::ThrowIfStartTagClosed() const {
    if (!m_currentContext || !m_currentContext->IsStartTagOpen())
        throw CKvException(u"Attributes must be added before elements");
}

void CXmlTextWriter::WriteEscaped(const std::u16string& text, bool attributeMode) {
    // Runs of ordinary characters are copied in one piece. The text ends at a terminator, as a
    // wide C string would.
    const char16_t* p = text.c_str();
    const char16_t* run = p;
    for (;; ++p) {
        const char16_t c = *p;
        if (c > u'>') continue;
        const char16_t* replacement;
        switch (c) {
        case 0: m_stream->Append(run, static_cast<size_t>(p - run)); return;
        case u'\n':
            if (attributeMode) {
                replacement = u"&#xA;";
            } else if (m_eolType == EOLType_CRLF) {
                replacement = u"\r\n";
            } else if (m_eolType == EOLType_LF) {
                replacement = u"\n";
            } else {
                m_stream->Append(run, static_cast<size_t>(p - run));
                throw CKvException(u"Invalid EOL type.");
            }
            break;
        case u'\r': replacement = u""; break;
        case u'"':
            if (!attributeMode) continue;
            replacement = u"&quot;";
            break;
        case u'&': replacement = u"&amp;"; break;
        case u'<': replacement = u"&lt;"; break;
        case u'>': replacement = u"&gt;"; break;
        default: continue;
        }
        m_stream->Append(run, static_cast<size_t>(p - run));
        m_stream->Append(replacement);
        run = p + 1;
    }
}

void CXmlTextWriter::WriteComment(const std::u16string& text) {
    m_stream->Append(u"<!--", 4);
    WriteEscaped(text, false);
    m_stream->Append(u"-->", 3);
    m_stream->Append(m_endOfLine);
    FlushIfFull();
}

void CXmlTextWriter::WriteProcessingInstruction(const std::u16string& text) {
    m_stream->Append(text.c_str());
    m_stream->Append(m_endOfLine);
    m_stream->Append(m_endOfLine);
    FlushIfFull();
}

void CXmlTextWriter::WriteInLineSchema(const std::u16string& text) {
    m_stream->AppendChar(u' ');
    m_stream->Append(m_endOfLine);
    m_stream->Append(text.c_str());
    m_stream->Append(m_endOfLine);
    FlushIfFull();
}

void CXmlTextWriter::WriteStartElement(const std::u16string& name, const std::u16string& namespaceUri) {
    CloseStartTag();
    CXmlWriterContext* context = PushContext(name, namespaceUri);
    context->SetStartTagOpen(true);
    const int32_t depth = context->GetDepth();
    if (m_formatted && depth > 0) WriteIndent(depth);
    m_stream->AppendChar(u'<');
    if (namespaceUri.empty() || namespaceUri == context->GetEffectiveDefaultNamespace()) {
        m_stream->Append(name);
    } else {
        const NamespaceMap& map = context->GetEffectiveMap();
        auto found = map.find(namespaceUri);
        if (found != map.end()) {
            m_stream->Append(found->second);
            m_stream->AppendChar(u':');
            m_stream->Append(name);
        } else {
            const std::u16string alias = AllocateAlias(map);
            context->AddNamespaceAlias(alias, namespaceUri);
            m_stream->Append(alias);
            m_stream->AppendChar(u':');
            m_stream->Append(name);
            m_stream->Append(u" xmlns:", 7);
            m_stream->Append(alias);
            m_stream->Append(u"=\"", 2);
            m_stream->Append(namespaceUri);
            m_stream->AppendChar(u'"');
        }
    }
    if (!context->GetParent()) {
        // The root declares what was set on the writer before it: default first, then the aliases
        // in URI order.
        if (!m_defaultNamespace.empty()) {
            m_stream->Append(u" xmlns=\"", 8);
            m_stream->Append(m_defaultNamespace);
            m_stream->AppendChar(u'"');
        }
        for (const auto& entry : m_namespaceMap) {
            if (StartsWithXmlNamespace(entry.first)) continue;
            m_stream->Append(u" xmlns:", 7);
            m_stream->Append(entry.second);
            m_stream->Append(u"=\"", 2);
            m_stream->Append(entry.first);
            m_stream->AppendChar(u'"');
        }
    }
    FlushIfFull();
}

void CXmlTextWriter::WriteElementText(const std::u16string& text, ItemType, bool isDefault) {
    if (text.empty()) return;
    // A value equal to the element's default stays out unless defaults are to be written; the
    // element then closes empty.
    if (isDefault && !m_writeDefaultValues) return;
    CXmlWriterContext* context = m_currentContext;
    if (context && context->IsStartTagOpen()) {
        m_stream->AppendChar(u'>');
        context->SetStartTagOpen(false);
    }
    if (text.compare(0, 9, u"<![CDATA[") == 0)
        m_stream->Append(text.c_str());
    else
        WriteEscaped(text, false);
    FlushIfFull();
}

void CXmlTextWriter::WriteEndElement() {
    CXmlWriterContext* context = m_currentContext;
    if (!context) throw CKvException(u"There is no open element to end.");
    if (context->IsStartTagOpen()) {
        m_stream->Append(u"/>", 2);
    } else {
        if (m_formatted && context->GetChildCount() > 0) WriteIndent(context->GetDepth());
        m_stream->Append(u"</", 2);
        const std::u16string& uri = context->GetNamespaceURI();
        if (!uri.empty() && uri != context->GetEffectiveDefaultNamespace()) {
            const NamespaceMap& map = context->GetEffectiveMap();
            auto found = map.find(uri);
            if (found != map.end()) m_stream->Append(found->second);
            m_stream->AppendChar(u':');
        }
        m_stream->Append(context->GetName());
        m_stream->AppendChar(u'>');
    }
    if (m_formatted) m_stream->Append(m_endOfLine);
    FlushIfFull();
    PopContext();
}

void CXmlTextWriter::WriteAttribute(const std::u16string& name, const std::u16string& namespaceUri,
                                    const std::u16string& value, ItemType) {
    ThrowIfStartTagClosed();
    CXmlWriterContext* context = m_currentContext;
    m_stream->AppendChar(u' ');
    if (!namespaceUri.empty()) {
        // Prefixed even when the URI is the default namespace: a default does not apply to attributes.
        const NamespaceMap& map = context->GetEffectiveMap();
        auto found = map.find(namespaceUri);
        if (found != map.end()) {
            m_stream->Append(found->second);
        } else {
            const std::u16string alias = AllocateAlias(map);
            context->AddNamespaceAlias(alias, namespaceUri);
            m_stream->Append(u"xmlns:", 6);
            m_stream->Append(alias);
            m_stream->Append(u"=\"", 2);
            m_stream->Append(namespaceUri);
            m_stream->Append(u"\" ", 2);
            m_stream->Append(alias);
        }
        m_stream->AppendChar(u':');
    }
    m_stream->Append(name);
    m_stream->Append(u"=\"", 2);
    WriteEscaped(value, true);
    m_stream->AppendChar(u'"');
    FlushIfFull();
}

void CXmlTextWriter::WriteXsiType(const std::u16string& namespaceUri, const std::u16string& typeName, ItemType kind) {
    ThrowIfStartTagClosed();
    CXmlWriterContext* context = m_currentContext;
    std::u16string value;
    if (namespaceUri.empty() || namespaceUri == context->GetEffectiveDefaultNamespace()) {
        value = typeName;
    } else {
        const NamespaceMap& map = context->GetEffectiveMap();
        auto found = map.find(namespaceUri);
        std::u16string alias;
        if (found != map.end()) {
            alias = found->second;
        } else {
            alias = AllocateAlias(map);
            context->AddNamespaceAlias(alias, namespaceUri);
            // The trailing blank and the one WriteAttribute puts next stand together in the output.
            m_stream->Append(u" xmlns:", 7);
            m_stream->Append(alias);
            m_stream->Append(u"=\"", 2);
            m_stream->Append(namespaceUri);
            m_stream->Append(u"\" ", 2);
        }
        value = alias;
        value += u':';
        value += typeName;
    }
    WriteAttribute(u"type", kXsiNamespaceURI, value, kind);
}

void CXmlTextWriter::WriteXsiNil() {
    ThrowIfStartTagClosed();
    WriteAttribute(u"nil", kXsiNamespaceURI, u"true", static_cast<ItemType>(24));
}

} // namespace KvXmlLib16
