#pragma once

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// Minimal form: storage, copy and release, so that KvVariant can hold the kind.
class KVXML_API CBigInteger {
public:
    CBigInteger();
    CBigInteger(const CBigInteger& other);
    CBigInteger& operator=(const CBigInteger& other);
    virtual ~CBigInteger();
};

} // namespace KvXmlLib16
