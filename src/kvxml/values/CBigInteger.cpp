#include "kvxml/values/CBigInteger.h"

namespace KvXmlLib16 {

CBigInteger::CBigInteger() = default;
CBigInteger::CBigInteger(const CBigInteger&) = default;
CBigInteger& CBigInteger::operator=(const CBigInteger&) = default;
CBigInteger::~CBigInteger() = default;

} // namespace KvXmlLib16
