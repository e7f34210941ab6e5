#pragma once

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// Implemented by a generated class whose element may carry xsi:nil; the engine finds it by a run-time cast.
class KVXML_API INillable {
public:
    virtual bool IsNil() const = 0;
    virtual void SetNil(bool nil) = 0;
    virtual ~INillable() = default;
};

} // namespace KvXmlLib16
