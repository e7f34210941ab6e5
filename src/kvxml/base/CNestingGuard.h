#pragma once

// Internal: not part of the public interface.

#include <cstdint>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"

namespace KvXmlLib16 {

// The deepest nesting of elements that any recursive walk accepts (objects and wildcards). 500 is
// far beyond what schema-bound documents use, and the deepest walk of generated objects then fits
// in 512 KB of stack (1 MB under the sanitizers), so that it also runs on threads with small stacks.
inline constexpr int32_t kMaxNestingDepth = 500;

// One level of a recursive walk. All walks of a thread share one count, so that a wildcard
// nested inside generated objects counts the levels above it too; a document nested deeper, or
// an object graph with a cycle, fails instead of overflowing the stack.
class CNestingGuard {
public:
    CNestingGuard() {
        if (++s_depth > kMaxNestingDepth) {
            --s_depth;
            throw CKvException(FormatString(u"The nesting of elements exceeds %d levels.", kMaxNestingDepth));
        }
    }
    ~CNestingGuard() { --s_depth; }
    CNestingGuard(const CNestingGuard&) = delete;
    CNestingGuard& operator=(const CNestingGuard&) = delete;

private:
    static inline thread_local int32_t s_depth = 0;
};

} // namespace KvXmlLib16
