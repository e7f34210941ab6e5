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

#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CBinaryData.h"
#include "kvxml/values/CConversions.h"
#include "kvxml/values/CDateTime.h"
#include "kvxml/values/CDateTimeSpan.h"
#include "kvxml/values/CDecimal.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/values/CWhitespaceUtils.h"
#include "kvxml/values/ItemType.h"
#include "kvxml/values/KvVariant.h"

#include "kvxml/output/CBinaryStream.h"
#include "kvxml/output/CFileTextStream.h"
#include "kvxml/output/CStringBuffer.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/output/OutputEnums.h"

#include "kvxml/json/CJsonContext.h"
#include "kvxml/json/CJsonReaderHandlers.h"
#include "kvxml/json/CJsonTextReader.h"
#include "kvxml/json/CJsonTextWriter.h"
#include "kvxml/json/IJsonReaderHandler.h"

#include "kvxml/fastinfoset/FInfoDecl.h"

#include "kvxml/xml/CXmlAttribute.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"

#include "kvxml/binding/CAttributeInfo.h"
#include "kvxml/binding/CClassfactoryBase.h"
#include "kvxml/binding/CElementInfo.h"
#include "kvxml/binding/CElementInfoAll.h"
#include "kvxml/binding/CElementInfoChoice.h"
#include "kvxml/binding/CElementInfoSeq.h"
#include "kvxml/binding/CParentElementInfo.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlGeneratedClass.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/binding/INillable.h"

#include "kvxml/collections/CAttribute.h"
#include "kvxml/collections/CAttributeCol.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/collections/CElementCol.h"
#include "kvxml/collections/CXmlCollection.h"
#include "kvxml/collections/CXmlCollectionBase.h"
#include "kvxml/collections/CXmlTypeCollection.h"
