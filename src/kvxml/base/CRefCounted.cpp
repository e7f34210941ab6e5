#include "kvxml/base/CRefCounted.h"

namespace KvXmlLib16 {

// Out of line: inlined into a class with several bases, the delete through the virtual
// destructor draws a false alarm from the compiler.
int32_t CRefCounted::Release() {
    const int32_t count = m_refCount.fetch_sub(1) - 1;
    if (count == 0) delete this;
    return count;
}

} // namespace KvXmlLib16
