#include "kvxml/fastinfoset/CFastInfosetContext.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/values/ItemType.h"

namespace KvXmlLib16 {

namespace {

void CheckEncodingIndex(uint32_t index) {
    if (index >= CFastInfosetContext::kEncodingCount)
        throw CKvException(FormatString(u"Fast Infoset encoding index %u is out of range; it must be below %u", index,
                                        CFastInfosetContext::kEncodingCount));
}

} // namespace

CFastInfosetContext::CFastInfosetContext()
    : m_defaultStringEncoding(0),
      m_attributeMaxAddLength(6),
      m_elementMaxAddLength(6),
      m_useGeneratedVocabulary(false) {
    for (EncodedCharacterString& e : m_encodings) e = {0, 0};
}

CFastInfosetContext::EncodedCharacterString CFastInfosetContext::GetEncoding(uint32_t index) const {
    CheckEncodingIndex(index);
    return m_encodings[index];
}

void CFastInfosetContext::SetEncoding(uint32_t index, EncodedCharacterString encoding) {
    CheckEncodingIndex(index);
    m_encodings[index] = encoding;
}

void CFastInfosetContext::SetSuggestedValues() {
    static const struct {
        ItemType type;
        EncodedCharacterString encoding;
    } rows[] = {
        {ItemType_hexBinary, {2, 1}}, {ItemType_base64Binary, {2, 2}}, {ItemType_i1, {2, 3}},
        {ItemType_i2, {2, 3}},        {ItemType_i4, {2, 4}},           {ItemType_i8, {2, 5}},
        {ItemType_ui1, {2, 3}},       {ItemType_ui2, {2, 4}},          {ItemType_ui4, {2, 5}},
        {ItemType_ui8, {2, 5}},       {ItemType_r4, {2, 7}},           {ItemType_r8, {2, 8}},
        {ItemType_duration, {0, 0}},  {ItemType_yearMonth, {1, 2}},    {ItemType_monthDay, {1, 2}},
        {ItemType_year, {1, 2}},      {ItemType_month, {1, 2}},        {ItemType_day, {1, 2}},
        {ItemType_date, {1, 2}},      {ItemType_datetime, {1, 2}},     {ItemType_time, {1, 2}},
        {ItemType_boolean, {2, 6}},   {ItemType_decimal, {1, 1}},      {ItemType_integer, {1, 1}},
    };
    for (const auto& row : rows) m_encodings[row.type] = row.encoding;
}

// Stands with the type it hands out, so that the binding layer needs no Fast Infoset header.
CFastInfosetContext& CSerializationContext::GetFIContext() const {
    if (!m_fiContext) m_fiContext = std::make_shared<CFastInfosetContext>();
    return *m_fiContext;
}

} // namespace KvXmlLib16
