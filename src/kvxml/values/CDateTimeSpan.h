#pragma once

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// Minimal form: storage, copy and release, so that KvVariant can hold the kind.
class KVXML_API CDateTimeSpan {
public:
    CDateTimeSpan();
    CDateTimeSpan(const CDateTimeSpan& other);
    CDateTimeSpan& operator=(const CDateTimeSpan& other);
    virtual ~CDateTimeSpan();
};

} // namespace KvXmlLib16
