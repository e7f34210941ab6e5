#pragma once

#include <string>

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// Root of every failure the library reports. Thrown by value, caught by reference.
// A non-empty path is stored and also appended to the message as "\nPath: <path>".
class KVXML_API CKvException {
public:
    CKvException();
    explicit CKvException(std::u16string message);
    CKvException(std::u16string message, const CKvException& inner);
    CKvException(std::u16string message, std::u16string path);
    CKvException(std::u16string message, std::u16string path, const CKvException& inner);
    CKvException(const CKvException& other);
    CKvException& operator=(const CKvException& other);
    virtual ~CKvException();

    std::u16string GetMessage() const { return m_message; }
    std::u16string GetPath() const { return m_path; }
    const CKvException* GetInnerException() const { return m_inner; }
    // The message, then for each inner exception a line feed and its message, innermost last.
    std::u16string GetFullMessage() const;

protected:
    virtual CKvException* Clone() const;
    // Copies message, path and a clone of the inner exception; used by the converting constructors.
    void CopyFrom(const CKvException& other);

    std::u16string m_message;
    std::u16string m_path;
    CKvException* m_inner;

private:
    void SetPath(std::u16string path);
    static CKvException* CloneOf(const CKvException* e) { return e ? e->Clone() : nullptr; }
};

class KVXML_API CKvValidationException : public CKvException {
public:
    CKvValidationException();
    CKvValidationException(std::u16string message, std::u16string path);
    CKvValidationException(std::u16string message, std::u16string path, const CKvException& inner);
    CKvValidationException(const CKvException& other);
    CKvValidationException(const CKvValidationException& other);
    CKvValidationException& operator=(const CKvValidationException& other);
    ~CKvValidationException() override;

protected:
    CKvException* Clone() const override;
    // Never filled by any constructor; carried over by copying.
    std::u16string m_validationDetail;
};

class KVXML_API CKvInvalidValueException : public CKvValidationException {
public:
    CKvInvalidValueException();
    explicit CKvInvalidValueException(std::u16string message);
    CKvInvalidValueException(std::u16string message, const CKvException& inner);
    CKvInvalidValueException(const CKvException& other);
    CKvInvalidValueException(const CKvInvalidValueException& other);
    CKvInvalidValueException& operator=(const CKvInvalidValueException& other) = default;
    ~CKvInvalidValueException() override;

protected:
    CKvException* Clone() const override;
};

class KVXML_API CKvInvalidNamespaceException : public CKvValidationException {
public:
    CKvInvalidNamespaceException();
    CKvInvalidNamespaceException(std::u16string message, std::u16string path);
    CKvInvalidNamespaceException(std::u16string message, std::u16string path, const CKvException& inner);
    CKvInvalidNamespaceException(const CKvException& other);
    CKvInvalidNamespaceException(const CKvInvalidNamespaceException& other);
    CKvInvalidNamespaceException& operator=(const CKvInvalidNamespaceException& other) = default;
    ~CKvInvalidNamespaceException() override;

protected:
    CKvException* Clone() const override;
};

// The three plain children share one shape: (message), (message, inner), from any CKvException.
#define KVXML_DECLARE_SIMPLE_EXCEPTION(Name)                     \
    class KVXML_API Name : public CKvException {                 \
    public:                                                      \
        Name();                                                  \
        explicit Name(std::u16string message);                   \
        Name(std::u16string message, const CKvException& inner); \
        Name(const CKvException& other);                         \
        Name(const Name& other);                                 \
        Name& operator=(const Name& other) = default;            \
        ~Name() override;                                        \
                                                                 \
    protected:                                                   \
        CKvException* Clone() const override;                    \
    };

KVXML_DECLARE_SIMPLE_EXCEPTION(CKvInvalidStateException)
KVXML_DECLARE_SIMPLE_EXCEPTION(CKvInvalidParamException)
KVXML_DECLARE_SIMPLE_EXCEPTION(CKvOverFlowException)

#undef KVXML_DECLARE_SIMPLE_EXCEPTION

} // namespace KvXmlLib16
