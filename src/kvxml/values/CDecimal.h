#pragma once

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// Minimal form: storage, copy and release, so that KvVariant can hold the kind.
class KVXML_API CDecimal {
public:
    CDecimal();
    CDecimal(const CDecimal& other);
    CDecimal& operator=(const CDecimal& other);
    virtual ~CDecimal();
};

} // namespace KvXmlLib16
