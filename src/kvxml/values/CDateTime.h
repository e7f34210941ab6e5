#pragma once

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// Minimal form: storage, copy and release, so that KvVariant can hold the kind.
class KVXML_API CDateTime {
public:
    CDateTime();
    CDateTime(const CDateTime& other);
    CDateTime& operator=(const CDateTime& other);
    virtual ~CDateTime();
};

} // namespace KvXmlLib16
