#include "kvxml/values/CDecimal.h"

namespace KvXmlLib16 {

CDecimal::CDecimal() = default;
CDecimal::CDecimal(const CDecimal&) = default;
CDecimal& CDecimal::operator=(const CDecimal&) = default;
CDecimal::~CDecimal() = default;

} // namespace KvXmlLib16
