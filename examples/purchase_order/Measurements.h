// Generated from measurements.xsd: what the carrier measured of a parcel on its way. Each repeated
// element of a simple type is held in the library's collection of that type, in a property that
// the metadata reaches by index like any other.
//
// Schema outline (target namespace urn:kvxml:samples:purchase-order, elementFormDefault qualified):
//   measurements   parcelId (pattern [A-Z]{2}[0-9]{9}); weight{1..unbounded} (int, 1..31500);
//                  scanDate{0..10} (date, from 2000-01-01); depot{0..unbounded} (pattern [A-Z]{3}-[0-9]{2})
#pragma once

#include <string>

#include "PurchaseOrder.h"

#include "kvxml/collections/CPrimitiveCollections.h"

namespace PurchaseOrderSample {

// Releases the tables of the measurement classes.
void CleanMeasurementsMetaData();

class CMeasurements : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CMeasurements();
    const std::u16string& GetParcelId() const { return m_parcelId; }
    void SetParcelId(const std::u16string& value) { m_parcelId = value; }
    // The collections always exist; their Add checks each value against the element's facets.
    KvXmlLib16::Ci4Col* GetWeights() const { return m_weights; }
    KvXmlLib16::CdateCol* GetScanDates() const { return m_scanDates; }
    KvXmlLib16::CstringCol* GetDepots() const { return m_depots; }

private:
    enum Property { Property_ParcelId, Property_Weights, Property_ScanDates, Property_Depots };
    std::u16string m_parcelId;
    CSmartPtr<KvXmlLib16::Ci4Col> m_weights;
    CSmartPtr<KvXmlLib16::CdateCol> m_scanDates;
    CSmartPtr<KvXmlLib16::CstringCol> m_depots;
};

} // namespace PurchaseOrderSample
