#include <random>

#include "kvxml/values/CConversions.h"
#include "kvxml/values/KvVariant.h"
#include "values/DateTimeTestUtil.h"

using namespace DateTimeTestUtil;

namespace {

const char16_t* const kDateSeeds[] = {u"2001-02-03T04:05:06.789+05:30", u"-0004-02-29Z", u"--02-29", u"---31-14:00",
                                      u"--12--", u"2001-12", u"12:00:00.123456789Z", u"2001-01-01-00:30"};
const char16_t* const kSpanSeeds[] = {u"P1Y2M3DT4H5M6.789S", u"-PT90M", u"PT0.5S", u"P4294967295D", u"-P1D1Y"};
const char16_t kAlphabet[] = u"0123456789-:TZ+.PYMDHS \xFFFF\xD800";

std::u16string Mutate(std::mt19937& rng, std::u16string s) {
    for (int edits = static_cast<int>(rng() % 3); edits > 0; --edits) {
        const size_t pos = rng() % (s.size() + 1);
        const char16_t c = kAlphabet[rng() % (std::size(kAlphabet) - 1)];
        const unsigned op = rng() % 3;
        if (op == 0)
            s.insert(pos, 1, c);
        else if (pos < s.size())
            op == 1 ? s.erase(pos, 1 + rng() % 3) : s.replace(pos, 1, 1, c);
    }
    return s;
}

// Runs f; anything but a return or a member of the exception family fails the test.
template <class F>
void Survives(const std::u16string& text, F f) {
    try {
        f();
    } catch (const CKvException&) {
    } catch (...) {
        ADD_FAILURE() << "foreign exception for " << Narrow(text);
    }
}

TEST(DateTimeRobustness, MutatedTextsReturnOrThrowTheFamily) {
    ZoneScope zone("CET-1CEST,M3.5.0,M10.5.0/3");
    std::mt19937 rng(7);
    const ItemType dateKinds[] = {ItemType_yearMonth, ItemType_monthDay, ItemType_year, ItemType_month,
                                  ItemType_day,       ItemType_date,     ItemType_datetime, ItemType_time};
    CDateTime previous(2001, 1, 1);
    CDateTimeSpan previousSpan;
    for (int i = 0; i < 1500; ++i) {
        const std::u16string text = Mutate(rng, kDateSeeds[rng() % std::size(kDateSeeds)]);
        Survives(text, [&] {
            CDateTime d;
            switch (i % 4) {
            case 0: d.ParseXSDDate(text.c_str()); break;
            case 1: d.ParseXSDTime(text.c_str()); break;
            case 2: d.ScanDate(text.data(), text.size()); break;
            default: d = Parse(text); break; // the parser that fits the shape, the text constructor included
            }
            (void)d.ToString();
            (void)d.CompareTo(previous);
            (void)(d + previousSpan).GetNormalized().ToString();
            if (d.GetType() == DT::date || d.GetType() == DT::dateTime)
                (void)(d.GetDayOfYear() + d.GetDayOfWeek());
            previous = d;
        });
        Survives(text, [&] {
            KvVariant v;
            v.FromString(text, dateKinds[i % std::size(dateKinds)], CWhitespaceUtils::WhitespaceRule_Collapse);
            (void)v.ToString();
        });
        const std::u16string spanText = Mutate(rng, kSpanSeeds[rng() % std::size(kSpanSeeds)]);
        Survives(spanText, [&] {
            const CDateTimeSpan s = i % 2 ? Span(spanText.c_str())
                                          : CConversions::durationFromString(spanText, CWhitespaceUtils::WhitespaceRule_None);
            (void)s.ToString();
            (void)s.CompareTo(previousSpan);
            (void)(previous - s).ToString();
            previousSpan = s;
        });
    }
}

TEST(DateTimeRobustness, RandomRecordsAndSpans) {
    std::mt19937_64 rng(11);
    for (int i = 0; i < 1000; ++i) {
        const uint64_t r = rng();
        const auto w = [r](int shift, unsigned mask) { return static_cast<uint16_t>(r >> shift & mask); };
        (void)CDateTime(SYSTEMTIME{w(0, 0xFFFF), w(16, 15), 0, w(20, 31), w(25, 31), w(30, 63), w(36, 63), w(42, 1023)})
            .ToString();
        (void)CDateTime(FILETIME{static_cast<uint32_t>(r), static_cast<uint32_t>(r >> 32)}).ToString();
        (void)CDateTime(static_cast<int64_t>(r >> (r % 64))).ToString();
        CDateTimeSpan span(w(0, 0xFFFF), static_cast<uint32_t>(rng()), static_cast<uint32_t>(rng()),
                           static_cast<uint32_t>(rng()), rng() >> (r % 64), rng() >> (r % 64), w(8, 0xFFFF),
                           w(24, 0xFFFF), w(40, 0xFFFF));
        if (r & 1)
            span.Negate();
        const int year = static_cast<int>(r % 19999) - 9999;
        CDateTime d(static_cast<int16_t>(year != 0 ? year : 1), static_cast<uint8_t>(r % 12 + 1),
                    static_cast<uint8_t>(r % 28 + 1), 23, 59, 59, 999, 999, 999);
        d.SetTimeZone(static_cast<int16_t>(r % 47) - 23, static_cast<uint8_t>(r % 60));
        Survives(d.ToString(), [&] { d += span; });
        (void)d.GetNormalized().ToString();
        (void)span.CompareTo(CDateTimeSpan());
    }
}

} // namespace
