#pragma once

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class CXmlObjectBase;

// Receives the events that collections fire about their items.
class KVXML_API IEventSink {
public:
    enum MsgType {
        MsgType_CollectionChanged = 0,
        MsgType_ItemAdding = 1,
        MsgType_ItemAdded = 2,
        MsgType_ItemRemoving = 3,
        MsgType_ItemRemoved = 4,
    };
    virtual void OnEvent(CXmlObjectBase* source, MsgType message, void* data) = 0;
    virtual ~IEventSink() = default;
};

} // namespace KvXmlLib16
