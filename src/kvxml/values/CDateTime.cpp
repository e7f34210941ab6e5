#include "kvxml/values/CDateTime.h"

namespace KvXmlLib16 {

CDateTime::CDateTime() = default;
CDateTime::CDateTime(const CDateTime&) = default;
CDateTime& CDateTime::operator=(const CDateTime&) = default;
CDateTime::~CDateTime() = default;

} // namespace KvXmlLib16
