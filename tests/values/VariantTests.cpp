#include <cmath>
#include <functional>
#include <random>
#include <string>

#include "values/ValuesTestUtil.h"
#include "support/CountedProbe.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CConversions.h"
#include "kvxml/values/CDateTime.h"
#include "kvxml/values/CDateTimeSpan.h"
#include "kvxml/values/CDecimal.h"
#include "kvxml/values/KvVariant.h"

using namespace KvXmlLib16;
using KvTest::MessageOf;
using KvTest::N;
using ValuesTest::Parse;
using W = CWhitespaceUtils;

namespace {

using TestObject = KvTest::CountedProbe;

// Stands in for a collection: anything derived from the object base can be stored as kind 28.
class TestCollection : public TestObject {
public:
    using TestObject::TestObject;
};

struct KindCase {
    std::function<void(KvVariant&)> set;
    ItemType kind;
    std::u16string typeText;
    std::u16string text;
};

CBinaryData Bytes(std::initializer_list<unsigned char> bytes) {
    const std::basic_string<unsigned char> b(bytes);
    return CBinaryData(b.data(), static_cast<uint32_t>(b.size()), false);
}

// clang-format off
const KindCase kKinds[] = {
    {[](KvVariant& v) { v.SetHexBinary(Bytes({0x0A, 0xFF})); }, ItemType_hexBinary, u"hexBinary", u"0AFF"},
    {[](KvVariant& v) { v.SetBase64Binary(Bytes({'M', 'a', 'n'})); }, ItemType_base64Binary, u"base64Binary", u"TWFu"},
    {[](KvVariant& v) { v.SetI1(-5); }, ItemType_i1, u"i1", u"-5"},
    {[](KvVariant& v) { v.SetI2(-300); }, ItemType_i2, u"i2", u"-300"},
    {[](KvVariant& v) { v.SetI4(-70000); }, ItemType_i4, u"i4", u"-70000"},
    {[](KvVariant& v) { v.SetI8(-5000000000LL); }, ItemType_i8, u"i8", u"-5000000000"},
    {[](KvVariant& v) { v.SetUI1(200); }, ItemType_ui1, u"ui1", u"200"},
    {[](KvVariant& v) { v.SetUI2(60000); }, ItemType_ui2, u"ui2", u"60000"},
    {[](KvVariant& v) { v.SetUI4(4000000000u); }, ItemType_ui4, u"ui4", u"4000000000"},
    {[](KvVariant& v) { v.SetUI8(10000000000000000000ull); }, ItemType_ui8, u"ui8", u"10000000000000000000"},
    {[](KvVariant& v) { v.SetR4(0.1f); }, ItemType_r4, u"r4", u"0.1"},
    {[](KvVariant& v) { v.SetR8(1e20); }, ItemType_r8, u"r8", u"1e+20"},
    {[](KvVariant& v) { v.SetChar(u'\u00e9'); }, ItemType_char, u"char", u"\u00e9"},
    {[](KvVariant& v) { v.SetString(u"text"); }, ItemType_string, u"string", u"text"},
    {[](KvVariant& v) { v.SetBoolean(true); }, ItemType_boolean, u"boolean", u"true"},
    // The heap kinds: a copy that shared the source's block would be read after the source's Clear.
    {[](KvVariant& v) { v.SetDuration(CDateTimeSpan(1, 2, 3, 0, 0, 0)); }, ItemType_duration, u"duration", u"P1Y2M3D"},
    {[](KvVariant& v) { v.SetYearMonth(Parse(u"2001-05")); }, ItemType_yearMonth, u"yearMonth", u"2001-05"},
    {[](KvVariant& v) { v.SetMonthDay(Parse(u"--05-01")); }, ItemType_monthDay, u"monthDay", u"--05-01"},
    {[](KvVariant& v) { v.SetDate(Parse(u"2001-05-01Z")); }, ItemType_date, u"date", u"2001-05-01Z"},
    {[](KvVariant& v) { v.SetDateTime(Parse(u"2001-05-01T12:00:00")); }, ItemType_datetime, u"datetime", u"2001-05-01T12:00:00"},
    {[](KvVariant& v) { v.SetTime(Parse(u"12:00:00.5")); }, ItemType_time, u"time", u"12:00:00.5"},
    {[](KvVariant& v) { v.SetDecimal(CDecimal(u"-1.25")); }, ItemType_decimal, u"decimal", u"-1.25"},
    {[](KvVariant& v) { v.SetDecimal(CDecimal(u"-0.0000000012345678")); }, ItemType_decimal, u"decimal", u"-0.0000000012345678"},
    {[](KvVariant& v) { v.SetDecimal(CDecimal(u"123456789012.5")); }, ItemType_decimal, u"decimal", u"123456789012.5"},
    {[](KvVariant& v) { v.SetInteger(CBigInteger(u"-123456789012345678901")); }, ItemType_integer, u"integer", u"-123456789012345678901"},
};
// clang-format on

} // namespace

TEST(Variant, EachKindSetsConvertsAndCopies) {
    for (const auto& c : kKinds) {
        SCOPED_TRACE(N(c.typeText));
        KvVariant v;
        v.SetI8(-1); // leftover bits and a previous kind must not matter
        c.set(v);
        EXPECT_EQ(v.GetTypeAsEnum(), c.kind);
        EXPECT_EQ(N(v.GetType()), N(c.typeText));
        EXPECT_EQ(N(v.ToString()), N(c.text));
        EXPECT_TRUE(v.IsValid() && !v.IsNil());
        KvVariant copy(v);
        KvVariant assigned;
        assigned.SetString(u"old value");
        assigned = v;
        copy.Clear(); // each side owns its value
        EXPECT_EQ(N(v.ToString()), N(c.text));
        copy = assigned;
        v.Clear();
        assigned.SetI4(1);
        assigned = copy;
        EXPECT_EQ(N(copy.GetType() + u"|" + copy.ToString() + u"|" + assigned.GetType() + u"|" + assigned.ToString()),
                  N(c.typeText + u"|" + c.text + u"|" + c.typeText + u"|" + c.text));

        KvVariant parsed; // blanks that only the rule removes: every kind must apply it
        parsed.FromString(u"\t" + c.text + u"\n", c.kind, W::WhitespaceRule_Collapse);
        EXPECT_EQ(parsed.GetTypeAsEnum(), c.kind);
        EXPECT_EQ(N(parsed.ToString()), N(c.text));
        parsed.FromString(std::u16string_view(c.text), c.kind, W::WhitespaceRule_Collapse); // as a tree's text
        EXPECT_EQ(N(parsed.ToString()), N(c.text));
    }
}

TEST(Variant, NilFlag) {
    KvVariant v;
    v.SetI4(5);
    v.SetNil();
    EXPECT_TRUE(v.IsNil() && v.IsValid());
    EXPECT_EQ(v.GetType(), u"i4");
    v.SetI4(7); // a kind held before SetNil loses the flag at the next setter
    EXPECT_FALSE(v.IsNil());

    // On a fresh variant the flag sticks: Clear sees type 0 and does nothing.
    KvVariant fresh;
    fresh.SetNil();
    EXPECT_EQ(fresh.GetTypeAsEnum(), ItemType_Invalid);
    fresh.SetInvalid();
    fresh.Clear();
    EXPECT_TRUE(fresh.IsNil() && fresh.IsValid());
    fresh.SetI4(3);
    EXPECT_TRUE(fresh.IsNil());
    fresh.SetI4(4);
    EXPECT_FALSE(fresh.IsNil());

    // A nil pointer kind copies without a value; stale inline bits must not pass for a pointer.
    KvVariant nilString;
    nilString.SetString(u"gone");
    nilString.SetNil();
    EXPECT_EQ(nilString.ToString(), u"");
    KvVariant target;
    target.SetI8(-1);
    target = nilString;
    EXPECT_TRUE(target.IsNil() && target.GetTypeAsEnum() == ItemType_string && target.GetString().empty());
    target.SetString(u"new");
    EXPECT_EQ(target.GetString(), u"new");
}

// Kept on purpose: assignment clears the target before it reads the source, so an alias reads
// back type 0 with its value released.
TEST(Variant, SelfAssignmentReleasesTheValue) {
    KvVariant v;
    v.SetString(u"value");
    KvVariant& alias = v;
    v = alias;
    EXPECT_FALSE(v.IsValid());
}

// Only the reading engine's own carrier hands its value over; a caller's variant, or a copy of
// the carrier, still holds the value after a property took it.
TEST(Variant, OnlyATransientVariantGivesUpItsValue) {
    struct TakeCase {
        std::function<void(KvVariant&)> set;
        std::function<std::u16string(KvVariant&)> take;
        std::u16string text;
        std::u16string left; // what the carrier holds after the take
    };
    const TakeCase cases[] = {
        {[](KvVariant& v) { v.SetString(u"long enough to live on the heap"); },
         [](KvVariant& v) { return v.TakeString(); }, u"long enough to live on the heap", u""},
        {[](KvVariant& v) { v.SetDecimal(CDecimal(u"-123456789.987654321")); },
         [](KvVariant& v) { return v.TakeDecimal().ToString(); }, u"-123456789.987654321", u"0"},
        {[](KvVariant& v) { v.SetInteger(CBigInteger(u"123456789012345")); },
         [](KvVariant& v) { return v.TakeInteger().ToString(); }, u"123456789012345", u"0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(N(c.text));
        KvVariant carrier;
        c.set(carrier);
        KvVariant copy(carrier);
        carrier.SetTransient();
        KvVariant copyOfCarrier(carrier);
        for (KvVariant* kept : {&copy, &copyOfCarrier}) {
            EXPECT_EQ(N(c.take(*kept)), N(c.text));
            EXPECT_EQ(N(kept->ToString()), N(c.text));
        }
        const ItemType kind = carrier.GetTypeAsEnum();
        EXPECT_EQ(N(c.take(carrier)), N(c.text));
        EXPECT_EQ(carrier.GetTypeAsEnum(), kind);
        EXPECT_EQ(N(carrier.ToString()), N(c.left));
        carrier.SetNil(); // a nil carrier gives what a getter gives
        EXPECT_EQ(N(c.take(carrier)), N(c.left));
    }
}

// A number read from a view of the tree's text, which takes a shortcut for plain ones, ends as the
// same value, signs of zero parts and divider included, as the full parser makes of the same text.
TEST(Variant, NumbersFromAViewAreWhatTheParserMakes) {
    auto same = [](const CBigInteger& a, const CBigInteger& b) { return a == b && !(a < b) && !(b < a); };
    auto check = [&](const std::u16string& text) {
        SCOPED_TRACE(N(text));
        for (W::WhitespaceRule rule : {W::WhitespaceRule_None, W::WhitespaceRule_Collapse}) {
            KvVariant v;
            v.FromString(std::u16string_view(text), ItemType_decimal, rule);
            const CDecimal got = v.GetDecimal(), want = CConversions::decimalFromString(text, rule);
            EXPECT_TRUE(same(got.GetIntegerPart(), want.GetIntegerPart()));
            EXPECT_TRUE(same(got.GetFractionPart(), want.GetFractionPart()));
            EXPECT_EQ(got.GetFractionDivider(), want.GetFractionDivider());
            if (text.find(u'.') != std::u16string::npos) continue;
            v.FromString(std::u16string_view(text), ItemType_integer, rule);
            EXPECT_TRUE(same(v.GetInteger(), CConversions::integerFromString(text, rule)));
        }
    };
    for (const char16_t* text : {u"0", u"-0", u"007", u"-0.0", u"-0.00", u"-5.", u"5.0", u"-.5", u".050", u"-0.000100",
                                 u"12345678901234567890123456789012345678901", u"1.1234567890123456789012345678901",
                                 u"1.12345678901234567890123456789", u"-12.5000", u"511.43"})
        check(text);
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        std::u16string text = random() % 4 ? u"" : u"-";
        for (int n = random() % 6; n > 0; --n) text += char16_t(u'0' + random() % (random() % 2 ? 2 : 10));
        if (random() % 2) text += u'.';
        for (int n = random() % 6; n > 0; --n) text += char16_t(u'0' + random() % (random() % 2 ? 2 : 10));
        check(text);
    }
}

TEST(Variant, FromStringLeavesTheVariantOnFailure) {
    KvVariant v;
    v.SetString(u"keep");
    // Out-of-range kinds report the variant's present type, not the kind asked for.
    EXPECT_EQ(MessageOf([&] { v.FromString(u"1", ItemType_xmlObject, W::WhitespaceRule_None); }),
              "Invalid Type 23 to convert to string");
    EXPECT_EQ(MessageOf([&] { v.FromString(u"1", ItemType_Invalid, W::WhitespaceRule_None); }),
              "Invalid Type 23 to convert to string");
    EXPECT_EQ(v.GetString(), u"keep");
    v.SetNil();
    v.FromString(u" 42 ", ItemType_ui2, W::WhitespaceRule_Collapse);
    EXPECT_FALSE(v.IsNil());
    EXPECT_EQ(v.GetUI2(), 42);
}

TEST(Variant, ObjectsAndCollectionsAreCounted) {
    int destroyed = 0;
    auto* obj = new TestObject(&destroyed);
    auto* col = new TestCollection(&destroyed);
    {
        KvVariant v, c;
        v.SetXmlObject(obj);
        c.SetXmlCollection(col);
        EXPECT_EQ(c.GetTypeAsEnum(), ItemType_xmlCollection);
        {
            KvVariant copy(v), assigned;
            assigned = c;
            EXPECT_EQ(obj->Count(), 2);
            EXPECT_EQ(col->Count(), 2);
            EXPECT_EQ(copy.GetXmlObject().get(), obj);
            EXPECT_EQ(assigned.GetXmlCollection<TestCollection>().get(), col);
        }
        EXPECT_EQ(obj->Count(), 1);
        v.SetXmlObject(obj); // the same object again survives the release of the old reference
        EXPECT_EQ(obj->Count(), 1);
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 2);

    KvVariant none;
    none.SetXmlObject(nullptr);
    EXPECT_EQ(none.GetTypeAsEnum(), ItemType_xmlObject);
    EXPECT_TRUE(KvVariant(none).GetXmlObject().IsNull());
    EXPECT_TRUE(none.GetXmlCollection<TestCollection>().IsNull());
    none.SetString(u"s");
    EXPECT_TRUE(none.GetXmlObject().IsNull()) << "a string is not taken for an object";
}
