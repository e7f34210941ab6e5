#pragma once

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// Empty common base of many classes; holds nothing and reports nothing.
class KVXML_API CInstanceMonitor {
public:
    explicit CInstanceMonitor(const char16_t* /*name*/ = nullptr) {}
    CInstanceMonitor(const CInstanceMonitor&) {}
    CInstanceMonitor& operator=(const CInstanceMonitor&) { return *this; }
    virtual ~CInstanceMonitor() = default;
};

} // namespace KvXmlLib16
