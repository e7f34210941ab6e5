#include "Measurements.h"
#include "SampleSupport.h"

#include "kvxml/binding/CElementInfoSeq.h"

namespace PurchaseOrderSample {

using namespace KvXmlLib16;
using namespace KvXmlLib16Data;

using namespace Support;

namespace {

// The collections of the three repeated elements, with their occurrence bounds and facets.
Ci4Col* NewWeights() {
    return new Ci4Col(u"weight", kTargetNamespace, 1, -1, nullptr, -1, -1, u"1", u"31500", nullptr, nullptr, -1, -1, -1,
                      kCollapse, nullptr);
}
CdateCol* NewScanDates() {
    return new CdateCol(u"scanDate", kTargetNamespace, 0, 10, nullptr, -1, -1, u"2000-01-01", nullptr, nullptr, nullptr,
                        -1, -1, -1, kCollapse, nullptr);
}
CstringCol* NewDepots() {
    return new CstringCol(u"depot", kTargetNamespace, 0, -1, u"[A-Z]{3}-[0-9]{2}", -1, -1, nullptr, nullptr, nullptr,
                          nullptr, -1, -1, -1, kCollapse, nullptr);
}

// A property set from outside takes the collection if it is of the right type, else a new empty one.
template <class T>
void SetCollection(CSmartPtr<T>& field, const KvVariant& value, T* (*make)()) {
    CSmartPtr<T> collection = ObjectFrom<T>(value);
    field = collection ? collection : CSmartPtr<T>(make());
}

} // namespace

void CleanMeasurementsMetaData() { CMeasurements::ReleaseMetaData(); }

CClassTables CMeasurements::s_tables(&CMeasurements::BuildTables);

void CMeasurements::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"MeasurementsType",
                                           kTargetNamespace, true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqPrimMnd(u"parcelId", kTargetNamespace, Property_ParcelId, false, ItemType_string, nullptr,
                                   kCollapse, Pattern(u"[A-Z]{2}[0-9]{9}"), nullptr),
        new CElementInfoSeqPrimCol(u"weight", kTargetNamespace, Property_Weights),
        new CElementInfoSeqPrimCol(u"scanDate", kTargetNamespace, Property_ScanDates),
        new CElementInfoSeqPrimCol(u"depot", kTargetNamespace, Property_Depots),
    });
    t.m_attributeInfo = EmptyAttributeTable();
}

CMeasurements::CMeasurements() {
    Init();
    SetElementName(u"measurements");
}

void CMeasurements::Init() {
    m_parcelId.clear();
    // Reading adds to what a collection holds, so each starts empty.
    if (m_weights)
        m_weights->Clear();
    else
        m_weights = NewWeights();
    if (m_scanDates)
        m_scanDates->Clear();
    else
        m_scanDates = NewScanDates();
    if (m_depots)
        m_depots->Clear();
    else
        m_depots = NewDepots();
}

void CMeasurements::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_ParcelId:
        if (get)
            value.SetString(m_parcelId);
        else
            m_parcelId = value.GetString();
        return;
    case Property_Weights:
        if (get)
            value.SetXmlObject(m_weights);
        else
            SetCollection(m_weights, value, &NewWeights);
        return;
    case Property_ScanDates:
        if (get)
            value.SetXmlObject(m_scanDates);
        else
            SetCollection(m_scanDates, value, &NewScanDates);
        return;
    case Property_Depots:
        if (get)
            value.SetXmlObject(m_depots);
        else
            SetCollection(m_depots, value, &NewDepots);
        return;
    default: ThrowUnknownProperty(index);
    }
}

} // namespace PurchaseOrderSample
