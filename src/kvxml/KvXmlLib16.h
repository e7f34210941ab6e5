#pragma once

// Umbrella header: the whole public API of kvxml16.

#include "kvxml/platform/KvExport.h"
#include "kvxml/platform/KvPlatform.h"

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/base/CKVCriticalSection.h"
#include "kvxml/base/CKvException.h"
#include "kvxml/base/CSmartPtr.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/base/IEventSink.h"

#include "kvxml/binding/CXmlObjectBase.h"
