// Time conversions with the ranges of the Windows 64-bit time functions: seconds from
// 1970-01-01 00:00:00 UTC up to 3000-12-31 23:59:59 UTC; outside that range they fail.

#include "kvxml/platform/KvPlatform.h"

#include <cerrno>
#include <time.h>

namespace KvXmlLib16 {
namespace Platform {

namespace {

// 3000-12-31 23:59:59 UTC, the last second the 64-bit time functions accept.
constexpr int64_t kMaxTime64 = 32535215999LL;
// Years (since 1900) that the normalising conversion starts from, as Windows checks them
// before any normalisation.
constexpr int kMinTmYear = 69;
constexpr int kMaxTmYear = 1101;
// How far local time may lie from UTC; input beyond these margins cannot be local 1970..3000.
constexpr int64_t kMinLocalOffset = -14 * 3600;
constexpr int64_t kMaxLocalOffset = 14 * 3600;

constexpr int64_t kSecondsPerDay = 86400;
// Days from 1601-01-01 to 1970-01-01.
constexpr int64_t kDays1601To1970 = 134774;

// Proleptic Gregorian date of a day count from 1970-01-01 (exact for the whole int64 range used).
void CivilFromDays(int64_t days, int64_t* year, unsigned* month, unsigned* day) {
    days += 719468;
    const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(days - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    *day = doy - (153 * mp + 2) / 5 + 1;
    *month = mp < 10 ? mp + 3 : mp - 9;
    *year = static_cast<int64_t>(yoe) + era * 400 + (*month <= 2 ? 1 : 0);
}

// Seconds since 1970 of broken-down fields read as UTC; the fields are already in range.
int64_t SecondsOfUtcFields(const std::tm& t) {
    int64_t y = int64_t(t.tm_year) + 1900;
    const unsigned m = unsigned(t.tm_mon) + 1;
    y -= m <= 2 ? 1 : 0;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + unsigned(t.tm_mday) - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    const int64_t days = era * 146097 + int64_t(doe) - 719468;
    return days * kSecondsPerDay + int64_t(t.tm_hour) * 3600 + int64_t(t.tm_min) * 60 + t.tm_sec;
}

} // namespace

int64_t MkTime64(std::tm* local) {
    if (local == nullptr || local->tm_year < kMinTmYear || local->tm_year > kMaxTmYear) {
        errno = EINVAL;
        return -1;
    }
    std::tm work = *local;
    const time_t result = mktime(&work);
    // A failure and the genuine -1 (1969-12-31 23:59:59 UTC) both fall outside the range.
    if (int64_t(result) < 0 || int64_t(result) > kMaxTime64) {
        errno = EINVAL;
        return -1;
    }
    *local = work;
    return int64_t(result);
}

int64_t MkGmTime64(std::tm* utc) {
    if (utc == nullptr || utc->tm_year < kMinTmYear || utc->tm_year > kMaxTmYear) {
        errno = EINVAL;
        return -1;
    }
    std::tm work = *utc;
    const time_t result = timegm(&work);
    if (int64_t(result) < 0 || int64_t(result) > kMaxTime64) {
        errno = EINVAL;
        return -1;
    }
    *utc = work;
    return int64_t(result);
}

bool GmTime64(int64_t seconds, std::tm* out) {
    if (out == nullptr || seconds < 0 || seconds > kMaxTime64) {
        errno = EINVAL;
        return false;
    }
    // Worked out here rather than by gmtime_r, which takes the C library's time-zone lock for a
    // conversion that needs no zone: every date that is read or assigned comes through here.
    const int64_t days = seconds / kSecondsPerDay;
    const int64_t second = seconds % kSecondsPerDay;
    int64_t year;
    unsigned month, day;
    CivilFromDays(days, &year, &month, &day);
    *out = std::tm{};
    out->tm_sec = int(second % 60);
    out->tm_min = int(second / 60 % 60);
    out->tm_hour = int(second / 3600);
    out->tm_mday = int(day);
    out->tm_mon = int(month) - 1;
    out->tm_year = int(year - 1900);
    out->tm_wday = int((days + 4) % 7); // 1970-01-01 was a Thursday
    std::tm january{};
    january.tm_year = out->tm_year;
    january.tm_mday = 1;
    out->tm_yday = int(days - SecondsOfUtcFields(january) / kSecondsPerDay);
#if defined(__GLIBC__)
    out->tm_zone = "GMT"; // as gmtime_r leaves it
#endif
    return true;
}

bool LocalTime64(int64_t seconds, std::tm* out) {
    if (out == nullptr || seconds < kMinLocalOffset || seconds > kMaxTime64 + kMaxLocalOffset) {
        errno = EINVAL;
        return false;
    }
    const time_t t = static_cast<time_t>(seconds);
    std::tm work{};
    if (localtime_r(&t, &work) == nullptr) {
        errno = EINVAL;
        return false;
    }
    // The local wall-clock time itself must lie within 1970..3000.
    const int64_t wall = SecondsOfUtcFields(work);
    if (wall < 0 || wall > kMaxTime64) {
        errno = EINVAL;
        return false;
    }
    *out = work;
    return true;
}

double DiffTime64(int64_t later, int64_t earlier) {
    // Negative times are refused with EINVAL and a result of 0, as the 64-bit Windows call does.
    if (later < 0 || earlier < 0) {
        errno = EINVAL;
        return 0.0;
    }
    return static_cast<double>(later - earlier);
}

void GetLocalTime(SYSTEMTIME* out) {
    if (out == nullptr) return;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    out->wYear = static_cast<uint16_t>(local.tm_year + 1900);
    out->wMonth = static_cast<uint16_t>(local.tm_mon + 1);
    out->wDayOfWeek = static_cast<uint16_t>(local.tm_wday);
    out->wDay = static_cast<uint16_t>(local.tm_mday);
    out->wHour = static_cast<uint16_t>(local.tm_hour);
    out->wMinute = static_cast<uint16_t>(local.tm_min);
    // A leap second shows as 60 in POSIX; Windows never reports it.
    out->wSecond = static_cast<uint16_t>(local.tm_sec > 59 ? 59 : local.tm_sec);
    out->wMilliseconds = static_cast<uint16_t>(now.tv_nsec / 1000000);
}

bool FileTimeToSystemTime(const FILETIME* in, SYSTEMTIME* out) {
    if (in == nullptr || out == nullptr) return false;
    // Values with the top bit set are refused, as Windows does.
    if (in->dwHighDateTime & 0x80000000u) {
        errno = EINVAL;
        return false;
    }
    const uint64_t ticks = (uint64_t(in->dwHighDateTime) << 32) | in->dwLowDateTime;
    const uint64_t ms = ticks / 10000;
    const int64_t days = static_cast<int64_t>(ms / 86400000);
    const uint64_t msOfDay = ms % 86400000;

    int64_t year = 0;
    unsigned month = 0;
    unsigned day = 0;
    CivilFromDays(days - kDays1601To1970, &year, &month, &day);
    out->wYear = static_cast<uint16_t>(year);
    out->wMonth = static_cast<uint16_t>(month);
    // 1 January 1601 was a Monday.
    out->wDayOfWeek = static_cast<uint16_t>((days + 1) % 7);
    out->wDay = static_cast<uint16_t>(day);
    out->wHour = static_cast<uint16_t>(msOfDay / 3600000);
    out->wMinute = static_cast<uint16_t>(msOfDay / 60000 % 60);
    out->wSecond = static_cast<uint16_t>(msOfDay / 1000 % 60);
    out->wMilliseconds = static_cast<uint16_t>(msOfDay % 1000);
    return true;
}

} // namespace Platform
} // namespace KvXmlLib16
