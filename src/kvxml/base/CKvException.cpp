#include "kvxml/base/CKvException.h"

#include <utility>

namespace KvXmlLib16 {

CKvException::CKvException() : m_inner(nullptr) {}

CKvException::CKvException(std::u16string message) : m_message(std::move(message)), m_inner(nullptr) {}

CKvException::CKvException(std::u16string message, const CKvException& inner)
    : m_message(std::move(message)), m_inner(inner.Clone()) {}

CKvException::CKvException(std::u16string message, std::u16string path)
    : m_message(std::move(message)), m_inner(nullptr) {
    SetPath(std::move(path));
}

CKvException::CKvException(std::u16string message, std::u16string path, const CKvException& inner)
    : m_message(std::move(message)), m_inner(inner.Clone()) {
    SetPath(std::move(path));
}

CKvException::CKvException(const CKvException& other)
    : m_message(other.m_message), m_path(other.m_path), m_inner(CloneOf(other.m_inner)) {}

// Assignment takes message and inner exception but not the path (the message already carries
// the path line). The replaced inner exception is freed after the clone is made, so that
// assigning an exception to itself stays valid.
CKvException& CKvException::operator=(const CKvException& other) {
    CKvException* inner = CloneOf(other.m_inner);
    m_message = other.m_message;
    delete m_inner;
    m_inner = inner;
    return *this;
}

CKvException::~CKvException() { delete m_inner; }

void CKvException::SetPath(std::u16string path) {
    if (path.empty()) return;
    m_message += u"\nPath: ";
    m_message += path;
    m_path = std::move(path);
}

void CKvException::CopyFrom(const CKvException& other) {
    if (this == &other) return;
    CKvException* inner = CloneOf(other.m_inner);
    m_message = other.m_message;
    m_path = other.m_path;
    delete m_inner;
    m_inner = inner;
}

std::u16string CKvException::GetFullMessage() const {
    std::u16string full = m_message;
    for (const CKvException* e = m_inner; e; e = e->m_inner) {
        full += u'\n';
        full += e->m_message;
    }
    return full;
}

CKvException* CKvException::Clone() const { return new CKvException(*this); }

// --- CKvValidationException ---

CKvValidationException::CKvValidationException() = default;
CKvValidationException::CKvValidationException(std::u16string message, std::u16string path)
    : CKvException(std::move(message), std::move(path)) {}
CKvValidationException::CKvValidationException(std::u16string message, std::u16string path, const CKvException& inner)
    : CKvException(std::move(message), std::move(path), inner) {}
CKvValidationException::CKvValidationException(const CKvException& other) { CopyFrom(other); }
CKvValidationException::CKvValidationException(const CKvValidationException& other)
    : CKvException(other), m_validationDetail(other.m_validationDetail) {}
CKvValidationException& CKvValidationException::operator=(const CKvValidationException& other) {
    CKvException::operator=(other);
    m_validationDetail = other.m_validationDetail;
    return *this;
}
CKvValidationException::~CKvValidationException() = default;
CKvException* CKvValidationException::Clone() const { return new CKvValidationException(*this); }

// --- CKvInvalidValueException ---

CKvInvalidValueException::CKvInvalidValueException() = default;
CKvInvalidValueException::CKvInvalidValueException(std::u16string message)
    : CKvValidationException(std::move(message), std::u16string()) {}
CKvInvalidValueException::CKvInvalidValueException(std::u16string message, const CKvException& inner)
    : CKvValidationException(std::move(message), std::u16string(), inner) {}
CKvInvalidValueException::CKvInvalidValueException(const CKvException& other) : CKvValidationException(other) {}
CKvInvalidValueException::CKvInvalidValueException(const CKvInvalidValueException& other)
    : CKvValidationException(other) {}
CKvInvalidValueException::~CKvInvalidValueException() = default;
CKvException* CKvInvalidValueException::Clone() const { return new CKvInvalidValueException(*this); }

// --- CKvInvalidNamespaceException ---

CKvInvalidNamespaceException::CKvInvalidNamespaceException() = default;
CKvInvalidNamespaceException::CKvInvalidNamespaceException(std::u16string message, std::u16string path)
    : CKvValidationException(std::move(message), std::move(path)) {}
CKvInvalidNamespaceException::CKvInvalidNamespaceException(std::u16string message, std::u16string path,
                                                           const CKvException& inner)
    : CKvValidationException(std::move(message), std::move(path), inner) {}
CKvInvalidNamespaceException::CKvInvalidNamespaceException(const CKvException& other) : CKvValidationException(other) {}
CKvInvalidNamespaceException::CKvInvalidNamespaceException(const CKvInvalidNamespaceException& other)
    : CKvValidationException(other) {}
CKvInvalidNamespaceException::~CKvInvalidNamespaceException() = default;
CKvException* CKvInvalidNamespaceException::Clone() const { return new CKvInvalidNamespaceException(*this); }

// --- the plain children ---

#define KVXML_DEFINE_SIMPLE_EXCEPTION(Name)                                                                    \
    Name::Name() = default;                                                                                    \
    Name::Name(std::u16string message) : CKvException(std::move(message)) {}                                   \
    Name::Name(std::u16string message, const CKvException& inner) : CKvException(std::move(message), inner) {} \
    Name::Name(const CKvException& other) { CopyFrom(other); }                                                 \
    Name::Name(const Name& other) : CKvException(other) {}                                                     \
    Name::~Name() = default;                                                                                   \
    CKvException* Name::Clone() const { return new Name(*this); }

KVXML_DEFINE_SIMPLE_EXCEPTION(CKvInvalidStateException)
KVXML_DEFINE_SIMPLE_EXCEPTION(CKvInvalidParamException)
KVXML_DEFINE_SIMPLE_EXCEPTION(CKvOverFlowException)

#undef KVXML_DEFINE_SIMPLE_EXCEPTION

} // namespace KvXmlLib16
