#include "kvxml/output/CXmlWriter.h"

#include "kvxml/base/CKvException.h"

namespace KvXmlLib16 {

// ---- CXmlWriterContext ----

CXmlWriter::CXmlWriterContext::CXmlWriterContext()
    : m_childCount(0),
      m_startTagOpen(false),
      m_depth(0),
      m_parent(nullptr),
      m_writerMark(0),
      m_collectionState(0),
      m_namespaceMap(nullptr),
      m_inherit(true),
      m_ownsMap(false),
      m_scope(this) {}

CXmlWriter::CXmlWriterContext::~CXmlWriterContext() {
    if (m_ownsMap) delete m_namespaceMap;
    // Iteratively, so that a deep stack cannot overflow the call stack when it is freed.
    CXmlWriterContext* parent = m_parent;
    while (parent) {
        CXmlWriterContext* next = parent->m_parent;
        parent->m_parent = nullptr;
        delete parent;
        parent = next;
    }
}

void CXmlWriter::CXmlWriterContext::Reset() {
    if (m_ownsMap) delete m_namespaceMap;
    m_namespaceMap = nullptr;
    m_ownsMap = false;
    m_inherit = true;
    m_childCount = 0;
    m_startTagOpen = false;
    m_depth = 0;
    m_parent = nullptr;
    m_writerMark = 0;
    m_collectionState = 0;
    m_defaultNamespace.clear();
    m_scope = this;
}

void CXmlWriter::CXmlWriterContext::MakeOwnScope(bool copyDefault) {
    if (!m_inherit) return;
    NamespaceMap* map = new NamespaceMap(*m_scope->m_namespaceMap);
    if (copyDefault) m_defaultNamespace = m_scope->m_defaultNamespace;
    m_namespaceMap = map;
    m_ownsMap = true;
    m_inherit = false;
    m_scope = this;
}

void CXmlWriter::CXmlWriterContext::SetDefaultNamespace(const std::u16string& uri) {
    MakeOwnScope(false);
    m_defaultNamespace = uri;
}

void CXmlWriter::CXmlWriterContext::AddNamespaceAlias(const std::u16string& alias, const std::u16string& uri) {
    MakeOwnScope(true);
    (*m_namespaceMap)[uri] = alias;
}

// ---- CXmlWriter ----

CXmlWriter::CXmlWriter() : m_currentContext(nullptr) { m_namespaceMap[kXmlNamespaceURI] = u"xml"; }

CXmlWriter::~CXmlWriter() {
    delete m_currentContext;
    for (CXmlWriterContext* context : m_freeContexts) delete context;
}

void CXmlWriter::OpenOutput() {}

void CXmlWriter::CloseOutput() {
    if (m_currentContext) throw CKvException(u"An Element has not been closed.");
}

void CXmlWriter::SetDefaultNamespace(const std::u16string& uri) {
    if (m_currentContext)
        m_currentContext->SetDefaultNamespace(uri);
    else
        m_defaultNamespace = uri;
}

void CXmlWriter::AddNamespaceAlias(const std::u16string& alias, const std::u16string& uri) {
    if (m_currentContext)
        m_currentContext->AddNamespaceAlias(alias, uri);
    else
        m_namespaceMap[uri] = alias;
}

std::u16string CXmlWriter::AllocateAlias(const NamespaceMap& map) {
    // The first letter runs on past 'Z' without bound; at most map.size() + 1 candidates are tried.
    std::u16string alias(2, u'A');
    for (uint32_t i = 0;; ++i) {
        alias[0] = static_cast<char16_t>(u'A' + i / 26);
        alias[1] = static_cast<char16_t>(u'A' + i % 26);
        bool taken = false;
        for (const auto& entry : map) {
            if (entry.second == alias) {
                taken = true;
                break;
            }
        }
        if (!taken) return alias;
    }
}

CXmlWriter::CXmlWriterContext* CXmlWriter::PushContext(const std::u16string& name, const std::u16string& namespaceUri) {
    CXmlWriterContext* context;
    if (m_freeContexts.empty()) {
        context = new CXmlWriterContext();
    } else {
        context = m_freeContexts.back();
        m_freeContexts.pop_back();
    }
    CXmlWriterContext* parent = m_currentContext;
    try {
        context->m_name = name;
        context->m_namespaceURI = namespaceUri;
        if (parent) {
            context->m_inherit = true;
            context->m_ownsMap = false;
            context->m_depth = parent->m_depth + 1;
            context->m_scope = parent->m_scope;
            context->m_namespaceMap = parent->m_scope->m_namespaceMap;
        } else {
            context->m_namespaceMap = new NamespaceMap(m_namespaceMap);
            context->m_inherit = false;
            context->m_ownsMap = true;
            context->m_depth = 0;
            context->m_defaultNamespace = m_defaultNamespace;
            context->m_scope = context;
        }
    } catch (...) {
        context->Reset();
        delete context;
        throw;
    }
    context->m_parent = parent;
    m_currentContext = context;
    return context;
}

void CXmlWriter::PopContext() {
    CXmlWriterContext* context = m_currentContext;
    if (!context) return;
    m_currentContext = context->m_parent;
    context->Reset();
    try {
        m_freeContexts.push_back(context);
    } catch (...) {
        delete context;
    }
}

} // namespace KvXmlLib16
