#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <string>
#include <tuple>

#include "kvxml/platform/KvPlatform.h"

using namespace KvXmlLib16;
using namespace KvXmlLib16::Platform;

namespace {

constexpr int64_t kLastSecond = 32535215999LL; // 3000-12-31 23:59:59 UTC

struct Instant {
    int64_t seconds;
    int year, month, day, hour, minute, second, wday, yday;
};

// Known UTC instants: the epoch, a leap day, dates past 2038, the last second served.
const Instant kInstants[] = {
    {0, 1970, 1, 1, 0, 0, 0, 4, 0},
    {951782400, 2000, 2, 29, 0, 0, 0, 2, 59},
    {2147483648LL, 2038, 1, 19, 3, 14, 8, 2, 18},
    {2208988800LL, 2040, 1, 1, 0, 0, 0, 0, 0},
    {4107585600LL, 2100, 3, 1, 12, 0, 0, 1, 59},
    {kLastSecond, 3000, 12, 31, 23, 59, 59, 3, 364},
};

} // namespace

TEST(PlatformTime, GmTime64BreaksDownKnownInstants) {
    for (const Instant& i : kInstants) {
        SCOPED_TRACE(i.seconds);
        std::tm t{};
        ASSERT_TRUE(GmTime64(i.seconds, &t));
        EXPECT_EQ(std::tuple(t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec, t.tm_wday,
                             t.tm_yday, t.tm_isdst),
                  std::tuple(i.year, i.month, i.day, i.hour, i.minute, i.second, i.wday, i.yday, 0));
        EXPECT_EQ(MkGmTime64(&t), i.seconds);
    }
}
