#include "kvxml/values/CDateTimeSpan.h"

namespace KvXmlLib16 {

CDateTimeSpan::CDateTimeSpan() = default;
CDateTimeSpan::CDateTimeSpan(const CDateTimeSpan&) = default;
CDateTimeSpan& CDateTimeSpan::operator=(const CDateTimeSpan&) = default;
CDateTimeSpan::~CDateTimeSpan() = default;

} // namespace KvXmlLib16
