#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "support/KvTestText.h"
#include "kvxml/KvXmlLib16.h"

#include "measurements.h"

using namespace KvXmlLib16;

namespace {

using KvTest::MessageOf;
using KvTest::Narrow;
using C = CConversions;
using Rule = CWhitespaceUtils::WhitespaceRule;
constexpr Rule kCollapse = CWhitespaceUtils::WhitespaceRule_Collapse;

struct Facets {
    const char16_t* pattern = nullptr;
    int32_t minLength = -1, maxLength = -1;
    const char16_t *minInclusive = nullptr, *maxInclusive = nullptr, *minExclusive = nullptr, *maxExclusive = nullptr;
    int32_t length = -1, totalDigits = -1, fractionDigits = -1;
};

template <class Col>
CSmartPtr<Col> Make(const Facets& f = {}, int32_t minOccurs = 0, int32_t maxOccurs = -1, Rule rule = kCollapse,
                    const char16_t* format = nullptr) {
    return new Col(u"n", u"", minOccurs, maxOccurs, f.pattern, f.minLength, f.maxLength, f.minInclusive, f.maxInclusive,
                   f.minExclusive, f.maxExclusive, f.length, f.totalDigits, f.fractionDigits, rule, format);
}

struct Recorder : IEventSink {
    void OnEvent(CXmlObjectBase*, MsgType message, void* data) override {
        messages += char('0' + message);
        if (message >= 3) indexes.push_back(data ? *static_cast<int32_t*>(data) : -100);
    }
    std::string messages;
    std::vector<int32_t> indexes;
};

// The collection's items inside <r>, unformatted.
std::string Written(const CXmlTypeCollection& col) {
    CTextStream stream(4095, XmlEncoding_None);
    stream.Open();
    CXmlTextWriter writer(&stream);
    writer.SetFormatted(false);
    writer.WriteStartElement(u"r", u"");
    col.ToXml_Int(&writer, false, u"urn:ignored", CSerializationContext(), false);
    writer.WriteEndElement();
    return Narrow(stream.GetText());
}

std::string Doc(const std::vector<std::u16string>& texts) {
    std::string s = "<r>";
    for (const auto& t : texts) s += t.empty() ? "<n/>" : "<n>" + Narrow(t) + "</n>";
    return s + "</r>";
}

// A member's values as the table gives them: three texts as the collection writes them, which pass
// the facets; a text the facets refuse (none for booleans).
template <class Col>
struct Row {
    using V = std::remove_cvref_t<decltype(std::declval<Col>().Item(0))>;
    V (*parse)(const std::u16string&, Rule);
    std::array<const char16_t*, 3> texts;
    Facets facets;
    const char16_t* refused;
    const char* shown;              // the end of its message, after "Invalid Value for n "
    const char* wrongTag = nullptr; // date members: the type named when a value of another type is added
};

template <class Col>
void Exercise(const Row<Col>& row) {
    SCOPED_TRACE(typeid(Col).name());
    constexpr bool isDate = std::is_base_of_v<CdatetimeBaseCol, Col>;
    const auto [t0, t1, t2] = row.texts;
    const auto value = [&](const char16_t* text) { return row.parse(text, kCollapse); };
    Recorder rec;
    CSmartPtr<Col> col = Make<Col>(row.facets, 0, 3);
    col->AddEventListener(&rec);
    col->Add(value(t2));
    col->AddAt(0, value(t0));
    col->AddAt(1, value(t1));
    CSmartPtr<Col> copy = Make<Col>();
    for (int32_t i = 0; i < col->GetCount(); ++i) copy->Add(col->Item(i));
    for (const auto& v : *col) copy->Add(v);
    EXPECT_EQ(Written(*copy), Doc({t0, t1, t2, t0, t1, t2}));

    // Bad indexes throw; an add or removal with a bad index has already told the sinks.
    EXPECT_EQ(MessageOf([&] { col->Item(3); }) + MessageOf([&] { col->Remove(INT32_MIN); }),
              "Index 3 is out of range, use 0 - 3Index -2147483648 is out of range, use 0 - 3");
    EXPECT_EQ(MessageOf([&] { col->AddAt(4, value(t0)); }) + MessageOf([&] { col->AddAt(-1, value(t0)); }),
              "Index out of rangeIndex out of range");
    // A refused value fires message 1 first, a refused date nothing.
    if (row.refused) {
        EXPECT_EQ(MessageOf([&] { col->Add(value(row.refused)); }), std::string("Invalid Value for n ") + row.shown);
    }
    if constexpr (isDate) {
        EXPECT_EQ(MessageOf([&] { col->Add(CDateTime(CDateTime::gDay)); }),
                  std::string("Dates added to this collection must be of type dt_") + row.wrongTag);
    }
    EXPECT_EQ(rec.messages, std::string("120120120311") + (row.refused && !isDate ? "1" : ""));

    // Message 4 carries the real index only for strings and booleans.
    rec.indexes.clear();
    col->Remove(1);
    const bool realIndex = std::is_same_v<Col, CstringCol> || std::is_same_v<Col, CbooleanCol>;
    EXPECT_EQ(rec.indexes, (std::vector<int32_t>{1, realIndex ? 1 : 0}));

    // Reading adds after what is held, each text by the collection's rule, up to the first other element.
    CXmlDocument doc;
    doc.LoadXml((u"<r><n>\n  " + std::u16string(t1) + u"  </n><n>" + t2 + u"</n><m/></r>").c_str());
    CXmlElement* next = col->FromXml_Int(nullptr, doc.GetDocumentElement()->GetFirstElement(), {}, false);
    EXPECT_EQ(next ? Narrow(next->GetLocalName()) : "", "m");
    EXPECT_EQ(MessageOf([&] { Written(*col); }), "The Maximum number of [n] elements allowed in this collection is 3");
    rec.messages.clear();
    col->Remove(3);
    EXPECT_EQ(Written(*col), Doc({t0, t2, t1}));
    col->Clear();
    EXPECT_EQ(rec.messages, "340340340340");
}

TEST(PrimitiveCollections, EveryMemberAddsReadsRemovesChecksAndWrites) {
    Exercise<ChexBinaryCol>({C::hexBinaryFromString, {u"0A0B", u"", u"FF"}, {.maxLength = 2}, u"010203", "[010203]."});
    Exercise<Cbase64BinaryCol>(
        {C::base64BinaryFromString, {u"AQID", u"", u"/w=="}, {.maxLength = 3}, u"AQIDBA==", "[AQIDBA==]."});
    Exercise<Ci1Col>({C::i1FromString, {u"-128", u"0", u"10"}, {.maxInclusive = u"10"}, u"11", "[11]"});
    Exercise<Ci2Col>({C::i2FromString, {u"-9", u"0", u"99"}, {.totalDigits = 2}, u"-99", "[-99]"});
    Exercise<Ci4Col>({C::i4FromString, {u"1", u"2147483647", u"7"}, {.minExclusive = u"0"}, u"0", "[0]"});
    Exercise<Ci8Col>(
        {C::i8FromString, {u"-9223372036854775808", u"0", u"99"}, {.maxExclusive = u"100"}, u"100", "[100]."});
    Exercise<Cui1Col>({C::ui1FromString, {u"1", u"255", u"2"}, {.minInclusive = u"1"}, u"0", "[0]"});
    Exercise<Cui2Col>({C::ui2FromString, {u"0", u"65535", u"2"}, {.maxInclusive = u"65535"}, nullptr, nullptr});
    Exercise<Cui4Col>({C::ui4FromString, {u"4294967295", u"0", u"5"}, {.minInclusive = u"0"}, nullptr, nullptr});
    Exercise<Cui8Col>({C::ui8FromString, {u"18446744073709551615", u"1", u"5"}, {.totalDigits = 20}, nullptr, nullptr});
    Exercise<Cr4Col>({C::r4FromString, {u"1.5", u"-INF", u"0.25"}, {.maxInclusive = u"1.5"}, u"2", "[2.000000]"});
    Exercise<Cr8Col>({C::r8FromString, {u"0", u"1e+300", u"0.1"}, {.minInclusive = u"0"}, u"NaN", "[nan]"});
    Exercise<CdurationCol>(
        {C::durationFromString, {u"P1D", u"-PT1S", u"P1Y2M"}, {.maxInclusive = u"P2Y"}, u"P3Y", "[P3Y]."});
    // clang-format off
    Exercise<CyearMonthCol>({C::yearMonthFromString, {u"2001-01", u"1999-12", u"2001-02Z"},
                             {.minInclusive = u"1999-12"}, u"1999-11", "[1999-11].", "gYearMonth"});
    Exercise<CmonthDayCol>({C::monthDayFromString, {u"--01-15", u"--02-29", u"--12-01"}, {.maxExclusive = u"--12-24"},
                            u"--12-24", "[--12-24].", "gMonthDay"});
    // clang-format on
    Exercise<CyearCol>({C::yearFromString, {u"1999", u"2000", u"9999"}, {.minInclusive = u"1999"}, u"1998", "[1998]"});
    Exercise<CmonthCol>({C::monthFromString, {u"--01", u"--10", u"--02"}, {.maxInclusive = u"--10"}, u"--11", "[11]"});
    Exercise<CdayCol>({C::dayFromString, {u"---05", u"---31", u"---01"}, {.maxInclusive = u"---31"}, nullptr, nullptr});
    // clang-format off
    Exercise<CdateCol>({C::dateFromString, {u"2001-02-03", u"2000-01-01+05:30", u"2004-02-29Z"},
                        {.minInclusive = u"2000-01-01"}, u"1999-12-30", "[1999-12-30].", "date"});
    // clang-format on
    Exercise<CdatetimeCol>({C::datetimeFromString,
                            {u"2001-02-03T04:05:06", u"2009-12-31T23:59:59Z", u"2000-01-01T00:00:00.5"},
                            // clang-format off
                            {.maxInclusive = u"2010-01-01T00:00:00"}, u"2011-01-01T00:00:00",
                            "[2011-01-01T00:00:00].", "dateTime"});
    Exercise<CtimeCol>({C::timeFromString, {u"04:05:06", u"23:59:59Z", u"01:00:00.25"}, {.minExclusive = u"01:00:00"},
                        u"00:30:00", "[00:30:00].", "time"});
    // clang-format on
    Exercise<CstringCol>(
        {C::stringFromString, {u"abc", u"a", u"cab"}, {.pattern = u"[a-c]+", .maxLength = 3}, u"abd", "[abd]."});
    // A boolean ignores every facet it is given.
    // clang-format off
    Exercise<CbooleanCol>({C::booleanFromString, {u"true", u"false", u"true"},
                           {.pattern = u"x", .maxLength = 0, .minInclusive = u"junk"}, nullptr, nullptr});
    // clang-format on
    Exercise<CdecimalCol>(
        {C::decimalFromString, {u"1.25", u"-1000", u"0.5"}, {.fractionDigits = 2}, u"1.234", "[1.234]."});
    // clang-format off
    Exercise<CintegerCol>({C::integerFromString, {u"123456789012345678901234567890", u"-99", u"0"},
                           {.minInclusive = u"-99"}, u"-100", "[-100]."});
    // clang-format on
}

TEST(PrimitiveCollections, WhitespaceRuleAndFormatOverride) {
    for (const Rule rule : {CWhitespaceUtils::WhitespaceRule_Preserve, kCollapse}) {
        CSmartPtr<CstringCol> col = Make<CstringCol>({}, 0, -1, rule);
        CXmlDocument doc;
        doc.LoadXml(u"<r><n> a\tb  c </n></r>");
        col->FromXml_Int(nullptr, doc.GetDocumentElement()->GetFirstElement(), {}, false);
        EXPECT_EQ(Written(*col), rule == kCollapse ? "<r><n>a b c</n></r>" : "<r><n> a\tb  c </n></r>");
    }
    // Only the floating and decimal members pass their format to the conversion.
    // clang-format off
    const auto one = [](auto col, const auto& value) { col->Add(value); return Written(*col); };
    // clang-format on
    EXPECT_EQ(one(Make<Cr4Col>({}, 0, -1, kCollapse, u"%.2f"), 1.5f) +
                  one(Make<Cr8Col>({}, 0, -1, kCollapse, u"%.3e"), 1234.5) +
                  one(Make<CdecimalCol>({}, 0, -1, kCollapse, u"2"), C::decimalFromString(u"1.5", kCollapse)) +
                  one(Make<Ci4Col>({}, 0, -1, kCollapse, u"%.2f"), 7),
              "<r><n>1.50</n></r><r><n>1.234e+03</n></r><r><n>1.50</n></r><r><n>7</n></r>");
}

// Inserts and removals that shift the bits of a boolean collection across the words of its packing.
TEST(PrimitiveCollections, BooleanBitsStayInPlaceAcrossWords) {
    CSmartPtr<CbooleanCol> col = Make<CbooleanCol>();
    std::vector<char> model;
    for (int32_t i = 0; i < 300; ++i) {
        const int32_t at = (i * 37) % (i + 1);
        col->AddAt(at, i % 3 == 0);
        model.insert(model.begin() + at, i % 3 == 0);
    }
    for (const int32_t at : {0, 63, 64, 127, 200}) {
        col->Remove(at);
        model.erase(model.begin() + at);
    }
    ASSERT_EQ(col->GetCount(), static_cast<int32_t>(model.size()));
    for (int32_t i = 0; i < col->GetCount(); ++i) ASSERT_EQ(col->Item(i), model[i] != 0) << i;
}

// ---- through a generated class ----

using PurchaseOrderSample::CMeasurements;

// The message of the innermost exception: reading wraps the cause in the path of its element.
template <class F>
std::string CauseOf(F&& call) {
    try {
        call();
    } catch (const CKvException& e) {
        const CKvException* cause = &e;
        while (cause->GetInnerException()) cause = cause->GetInnerException();
        return Narrow(cause->GetMessage());
    }
    return "<no exception>";
}

TEST(PrimitiveCollections, GeneratedClassWritesAndReadsItsRepeatedSimpleElements) {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(u"urn:kvxml:samples:purchase-order");
    const std::u16string xml =
        u"<measurements xmlns=\"urn:kvxml:samples:purchase-order\"><parcelId>DE123456789</parcelId>"
        u"<weight>1200</weight><weight>1180</weight><scanDate>2026-11-24</scanDate>"
        u"<depot>HAM-01</depot><depot>BER-07</depot></measurements>";
    CSmartPtr<CMeasurements> copy = new CMeasurements();
    copy->FromXml(xml.c_str(), context);
    EXPECT_EQ(Narrow(copy->ToXml(false, false, EOLType_LF, context)), Narrow(xml));
    copy->FromXml(xml.c_str(), context); // reading again starts from empty collections
    EXPECT_EQ(copy->GetWeights()->GetCount(), 2);

    // A facet failure while reading passes out; the values read before it stay.
    const struct {
        const char16_t* body;
        const char* message;
        int32_t weightsKept;
    } failures[] = {
        {u"<weight>5</weight><weight>40000</weight><weight>6</weight>", "Invalid Value for weight [40000]", 1},
        {u"<weight>5</weight><scanDate>1999-01-01</scanDate>", "Invalid Value for scanDate [1999-01-01].", 1},
        {u"<scanDate>2001-01-01</scanDate>", "The Minimum number of [weight] elements allowed in this collection is 1",
         0},
    };
    for (const auto& f : failures) {
        // clang-format off
        const std::u16string doc = u"<measurements xmlns='urn:kvxml:samples:purchase-order'>"
                                   u"<parcelId>DE123456789</parcelId>" + std::u16string(f.body) + u"</measurements>";
        // clang-format on
        CSmartPtr<CMeasurements> target = new CMeasurements();
        EXPECT_EQ(CauseOf([&] { target->FromXml(doc.c_str(), context); }), f.message) << f.message;
        EXPECT_EQ(target->GetWeights()->GetCount(), f.weightsKept) << f.message;
    }
    PurchaseOrderSample::ReleaseMetaData();
}

} // namespace
