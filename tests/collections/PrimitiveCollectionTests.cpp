#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "support/KvTestText.h"
#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/collections/CPrimitiveCollections.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"
#include "kvxml/values/CConversions.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/values/KvVariant.h"
#include "kvxml/xml/CXmlDocument.h"

#include "../../examples/purchase_order/PurchaseOrder.cpp"
#include "../../examples/purchase_order/Measurements.cpp"

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
    return new Col(u"n", u"", minOccurs, maxOccurs, f.pattern, f.minLength, f.maxLength, f.minInclusive,
                   f.maxInclusive, f.minExclusive, f.maxExclusive, f.length, f.totalDigits, f.fractionDigits, rule,
                   format);
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
std::string Written(const CXmlTypeCollection& col, const CSerializationContext& context = CSerializationContext()) {
    CTextStream stream(4095, XmlEncoding_None);
    stream.Open();
    CXmlTextWriter writer(&stream);
    writer.SetFormatted(false);
    writer.WriteStartElement(u"r", u"");
    col.ToXml_Int(&writer, false, u"urn:ignored", context, false);
    writer.WriteEndElement();
    return Narrow(stream.GetText());
}

std::string Doc(const std::vector<std::u16string>& texts) {
    std::string s = "<r>";
    for (const auto& t : texts) s += t.empty() ? "<n/>" : "<n>" + Narrow(t) + "</n>";
    return s + (texts.empty() ? "" : "</r>");
}

template <class V>
struct Row {
    const char* name;
    V (*parse)(const std::u16string&, Rule);
    std::array<const char16_t*, 3> texts;  // as the collection writes them
    Facets facets;                          // the three texts pass them
    const char16_t* refused;                // null: nothing is refused
    const char* message;
    const char* wrongTag = nullptr;  // date members: the message for a value of another type
};

template <class Col, class V>
void Exercise(const Row<V>& row) {
    SCOPED_TRACE(row.name);
    constexpr bool isDate = std::is_base_of_v<CdatetimeBaseCol, Col>;
    const auto [t0, t1, t2] = row.texts;
    const auto value = [&](const char16_t* text) { return row.parse(text, kCollapse); };
    Recorder rec;
    CSmartPtr<Col> col = Make<Col>(row.facets);
    col->AddEventListener(&rec);

    col->Add(value(t2));
    col->AddAt(0, value(t0));
    col->AddAt(1, value(t1));
    EXPECT_EQ(rec.messages, "120120120");
    EXPECT_EQ(Written(*col), Doc({t0, t1, t2}));
    CSmartPtr<Col> copy = Make<Col>();
    for (int32_t i = 0; i < col->GetCount(); ++i) copy->Add(col->Item(i));
    for (const auto& v : *col) copy->Add(v);
    EXPECT_EQ(Written(*copy), Doc({t0, t1, t2, t0, t1, t2}));

    // Bad indexes throw; an add with a bad index has already told the sinks, a removal too.
    rec.messages.clear();
    EXPECT_EQ(MessageOf([&] { col->Item(3); }), "Index 3 is out of range, use 0 - 3");
    EXPECT_EQ(MessageOf([&] { col->Item(-1); }), "Index -1 is out of range, use 0 - 3");
    EXPECT_EQ(MessageOf([&] { col->AddAt(4, value(t0)); }), "Index out of range");
    EXPECT_EQ(MessageOf([&] { col->AddAt(-1, value(t0)); }), "Index out of range");
    EXPECT_EQ(MessageOf([&] { col->Remove(3); }), "Index 3 is out of range, use 0 - 3");
    EXPECT_EQ(MessageOf([&] { col->Remove(INT32_MIN); }), "Index -2147483648 is out of range, use 0 - 3");
    EXPECT_EQ(rec.messages, "1133");

    // The facet check: a refused date fires nothing, any other refused value fires message 1.
    rec.messages.clear();
    if (row.refused) {
        EXPECT_EQ(MessageOf([&] { col->Add(value(row.refused)); }), row.message);
        EXPECT_EQ(rec.messages, isDate ? "" : "1");
    }
    if constexpr (isDate) {
        EXPECT_EQ(MessageOf([&] { col->Add(CDateTime(CDateTime::gDay)); }), row.wrongTag);
        EXPECT_EQ(rec.messages, "");
    }
    EXPECT_EQ(Written(*col), Doc({t0, t1, t2}));

    // Message 4 carries the real index only for strings and booleans.
    rec.messages.clear();
    rec.indexes.clear();
    col->Remove(1);
    EXPECT_EQ(rec.messages, "340");
    const bool realIndex = std::is_same_v<Col, CstringCol> || std::is_same_v<Col, CbooleanCol>;
    EXPECT_EQ(rec.indexes, (std::vector<int32_t>{1, realIndex ? 1 : 0}));
    EXPECT_EQ(Written(*col), Doc({t0, t2}));

    // Occurrence bounds are checked before anything is written, unless the context ignores them.
    CSmartPtr<Col> bounded = Make<Col>({}, 3, 3);
    bounded->Add(value(t0));
    EXPECT_EQ(MessageOf([&] { Written(*bounded); }),
              "The Minimum number of [n] elements allowed in this collection is 3");
    bounded->Add(value(t1));
    bounded->Add(value(t2));
    bounded->Add(value(t0));
    EXPECT_EQ(MessageOf([&] { Written(*bounded); }),
              "The Maximum number of [n] elements allowed in this collection is 3");
    CSerializationContext lenient;
    lenient.SetIgnoreInvalidCollectionCounts(true);
    EXPECT_EQ(Written(*bounded, lenient), Doc({t0, t1, t2, t0}));

    // Reading adds after what is held, each text by the collection's rule, up to the first other element.
    const std::u16string xml = u"<r><n>\n  " + std::u16string(t1) + u"  </n><n>" + t2 + u"</n><m/><n>" + t0 + u"</n></r>";
    CXmlDocument doc;
    doc.LoadXml(xml.c_str());
    CXmlElement* first = doc.GetDocumentElement()->GetFirstElement();
    CXmlElement* next = col->FromXml_Int(doc.GetDocumentElement(), first, CSerializationContext(), false);
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(Narrow(next->GetLocalName()), "m");
    EXPECT_EQ(Written(*col), Doc({t0, t2, t1, t2}));

    rec.messages.clear();
    col->Clear();
    EXPECT_EQ(rec.messages, "340340340340");
    EXPECT_EQ(col->GetCount(), 0);
    EXPECT_EQ(Written(*col), "<r/>");
}

template <class Col, class V>
std::function<void()> Case(const Row<V>& row) {
    return [row] { Exercise<Col>(row); };
}

TEST(PrimitiveCollections, EveryMemberAddsReadsRemovesChecksAndWrites) {
    const std::vector<std::function<void()>> members = {
        Case<ChexBinaryCol>(Row<CBinaryData>{"hexBinary", C::hexBinaryFromString, {u"0A0B", u"", u"FF"},
                                             {.maxLength = 2}, u"010203", "Invalid Value for n [010203]."}),
        Case<Cbase64BinaryCol>(Row<CBinaryData>{"base64Binary", C::base64BinaryFromString, {u"AQID", u"", u"/w=="},
                                                {.maxLength = 3}, u"AQIDBA==", "Invalid Value for n [AQIDBA==]."}),
        Case<Ci1Col>(Row<int8_t>{"i1", C::i1FromString, {u"-128", u"0", u"10"}, {.maxInclusive = u"10"}, u"11",
                                 "Invalid Value for n [11]"}),
        Case<Ci2Col>(Row<int16_t>{"i2", C::i2FromString, {u"-9", u"0", u"99"}, {.totalDigits = 2}, u"-99",
                                  "Invalid Value for n [-99]"}),
        Case<Ci4Col>(Row<int32_t>{"i4", C::i4FromString, {u"1", u"2147483647", u"7"}, {.minExclusive = u"0"}, u"0",
                                  "Invalid Value for n [0]"}),
        Case<Ci8Col>(Row<int64_t>{"i8", C::i8FromString, {u"-9223372036854775808", u"0", u"99"},
                                  {.maxExclusive = u"100"}, u"100", "Invalid Value for n [100]."}),
        Case<Cui1Col>(Row<uint8_t>{"ui1", C::ui1FromString, {u"1", u"255", u"2"}, {.minInclusive = u"1"}, u"0",
                                   "Invalid Value for n [0]"}),
        Case<Cui2Col>(Row<uint16_t>{"ui2", C::ui2FromString, {u"0", u"65535", u"2"}, {.maxInclusive = u"65535"},
                                    nullptr, nullptr}),
        Case<Cui4Col>(Row<uint32_t>{"ui4", C::ui4FromString, {u"4294967295", u"0", u"5"}, {.minInclusive = u"0"},
                                    nullptr, nullptr}),
        Case<Cui8Col>(Row<uint64_t>{"ui8", C::ui8FromString, {u"18446744073709551615", u"1", u"5"},
                                    {.totalDigits = 20, .fractionDigits = 0}, nullptr, nullptr}),
        Case<Cr4Col>(Row<float>{"r4", C::r4FromString, {u"1.5", u"-INF", u"0.25"}, {.maxInclusive = u"1.5"}, u"2",
                                "Invalid Value for n [2.000000]"}),
        Case<Cr8Col>(Row<double>{"r8", C::r8FromString, {u"0", u"1e+300", u"0.1"}, {.minInclusive = u"0"}, u"NaN",
                                 "Invalid Value for n [nan]"}),
        Case<CdurationCol>(Row<CDateTimeSpan>{"duration", C::durationFromString, {u"P1D", u"-PT1S", u"P1Y2M"},
                                              {.maxInclusive = u"P2Y"}, u"P3Y", "Invalid Value for n [P3Y]."}),
        Case<CyearMonthCol>(Row<CDateTime>{"yearMonth", C::yearMonthFromString, {u"2001-01", u"1999-12", u"2001-02Z"},
                                           {.minInclusive = u"1999-12"}, u"1999-11", "Invalid Value for n [1999-11].",
                                           "Dates added to this collection must be of type dt_gYearMonth"}),
        Case<CmonthDayCol>(Row<CDateTime>{"monthDay", C::monthDayFromString, {u"--01-15", u"--02-29", u"--12-01"},
                                          {.maxExclusive = u"--12-24"}, u"--12-24", "Invalid Value for n [--12-24].",
                                          "Dates added to this collection must be of type dt_gMonthDay"}),
        Case<CyearCol>(Row<uint16_t>{"year", C::yearFromString, {u"1999", u"2000", u"9999"}, {.minInclusive = u"1999"},
                                     u"1998", "Invalid Value for n [1998]"}),
        Case<CmonthCol>(Row<uint8_t>{"month", C::monthFromString, {u"--01", u"--10", u"--02"},
                                     {.maxInclusive = u"--10"}, u"--11", "Invalid Value for n [11]"}),
        Case<CdayCol>(Row<uint8_t>{"day", C::dayFromString, {u"---05", u"---31", u"---01"}, {.maxInclusive = u"---31"},
                                   nullptr, nullptr}),
        Case<CdateCol>(Row<CDateTime>{"date", C::dateFromString, {u"2001-02-03", u"2000-01-01+05:30", u"2004-02-29Z"},
                                      {.minInclusive = u"2000-01-01"}, u"1999-12-30", "Invalid Value for n [1999-12-30].",
                                      "Dates added to this collection must be of type dt_date"}),
        Case<CdatetimeCol>(Row<CDateTime>{"datetime", C::datetimeFromString,
                                          {u"2001-02-03T04:05:06", u"2009-12-31T23:59:59Z", u"2000-01-01T00:00:00.5"},
                                          {.maxInclusive = u"2010-01-01T00:00:00"}, u"2011-01-01T00:00:00",
                                          "Invalid Value for n [2011-01-01T00:00:00].",
                                          "Dates added to this collection must be of type dt_dateTime"}),
        Case<CtimeCol>(Row<CDateTime>{"time", C::timeFromString, {u"04:05:06", u"23:59:59Z", u"01:00:00.25"},
                                      {.minExclusive = u"01:00:00"}, u"00:30:00", "Invalid Value for n [00:30:00].",
                                      "Dates added to this collection must be of type dt_time"}),
        Case<CstringCol>(Row<std::u16string>{"string", C::stringFromString, {u"abc", u"a", u"cab"},
                                             {.pattern = u"[a-c]+", .maxLength = 3}, u"abd",
                                             "Invalid Value for n [abd]."}),
        // A boolean ignores every facet it is given.
        Case<CbooleanCol>(Row<bool>{"boolean", C::booleanFromString, {u"true", u"false", u"true"},
                                    {.pattern = u"x", .maxLength = 0, .minInclusive = u"junk"}, nullptr, nullptr}),
        Case<CdecimalCol>(Row<CDecimal>{"decimal", C::decimalFromString, {u"1.25", u"-1000", u"0.5"},
                                        {.fractionDigits = 2}, u"1.234", "Invalid Value for n [1.234]."}),
        Case<CintegerCol>(Row<CBigInteger>{"integer", C::integerFromString,
                                           {u"123456789012345678901234567890", u"-99", u"0"}, {.minInclusive = u"-99"},
                                           u"-100", "Invalid Value for n [-100]."}),
    };
    for (const auto& member : members) member();
}

TEST(PrimitiveCollections, WhitespaceRuleAndFormatOverride) {
    const struct {
        Rule rule;
        const char* written;
    } rules[] = {
        {CWhitespaceUtils::WhitespaceRule_Preserve, "<r><n> a\tb  c </n></r>"},
        {CWhitespaceUtils::WhitespaceRule_Replace, "<r><n> a b  c </n></r>"},
        {CWhitespaceUtils::WhitespaceRule_Collapse, "<r><n>a b c</n></r>"},
    };
    for (const auto& r : rules) {
        CSmartPtr<CstringCol> col = Make<CstringCol>({}, 0, -1, r.rule);
        CXmlDocument doc;
        doc.LoadXml(u"<r><n> a\tb  c </n></r>");
        col->FromXml_Int(nullptr, doc.GetDocumentElement()->GetFirstElement(), CSerializationContext(), false);
        EXPECT_EQ(Written(*col), r.written);
    }

    // Only the floating and decimal members pass their format to the conversion.
    CSmartPtr<Cr4Col> r4 = Make<Cr4Col>({}, 0, -1, kCollapse, u"%.2f");
    CSmartPtr<Cr8Col> r8 = Make<Cr8Col>({}, 0, -1, kCollapse, u"%.3e");
    CSmartPtr<CdecimalCol> dec = Make<CdecimalCol>({}, 0, -1, kCollapse, u"2");
    CSmartPtr<Ci4Col> i4 = Make<Ci4Col>({}, 0, -1, kCollapse, u"%.2f");
    r4->Add(1.5f);
    r8->Add(1234.5);
    dec->Add(C::decimalFromString(u"1.5", kCollapse));
    i4->Add(7);
    EXPECT_EQ(Written(*r4) + Written(*r8) + Written(*dec) + Written(*i4),
              "<r><n>1.50</n></r><r><n>1.234e+03</n></r><r><n>1.50</n></r><r><n>7</n></r>");
}

// Date bounds that no determinate value could satisfy: only values incomparable with both pass.
TEST(PrimitiveCollections, IndeterminateDateComparisonsFailNoFacet) {
    CSmartPtr<CdatetimeCol> times = Make<CdatetimeCol>(
        {.minExclusive = u"2000-01-01T20:00:00", .maxExclusive = u"2000-01-01T05:00:00"});
    // Within 14 hours of both unzoned bounds.
    times->Add(C::datetimeFromString(u"2000-01-01T12:00:00Z", kCollapse));
    times->Add(C::datetimeFromString(u"2000-01-01T17:00:00+05:00", kCollapse));
    EXPECT_EQ(times->GetCount(), 2);
    EXPECT_EQ(MessageOf([&] { times->Add(C::datetimeFromString(u"2000-01-02T12:00:00Z", kCollapse)); }),
              "Invalid Value for n [2000-01-02T12:00:00Z].");

    // A value of fewer fields than a full date bound of the same year or month.
    const struct {
        ItemType kind;
        const char16_t *value, *minExclusive, *maxExclusive;
        const char* message;
    } cases[] = {
        {ItemType_date, u"2000", u"2000-06-01", u"2000-01-01", "<no exception>"},
        {ItemType_yearMonth, u"2000-06", u"2000-06-15", u"2000-06-01", "<no exception>"},
        {ItemType_date, u"2000Z", u"2000-06-01", u"2000-01-01", "<no exception>"},
        {ItemType_date, u"1999", u"2000-06-01", u"2000-01-01", "Invalid Value for x [1999]."},
    };
    for (const auto& c : cases) {
        const CPrimitiveRestrictions r(nullptr, -1, -1, nullptr, nullptr, c.minExclusive, c.maxExclusive, -1, -1, -1);
        KvVariant value;
        value.SetDate(C::dateFromString(c.value, kCollapse));
        EXPECT_EQ(MessageOf([&] { CheckPrimitiveRestrictions(u"x", value, c.kind, r); }), c.message)
            << Narrow(c.value);
    }
}

// The bits of a boolean collection against a plain model, through inserts and removals that
// shift values across the words of the packing.
TEST(PrimitiveCollections, BooleanBitsStayInPlaceAcrossWords) {
    std::mt19937 random(18);
    CSmartPtr<CbooleanCol> col = Make<CbooleanCol>();
    std::vector<char> model;
    for (int step = 0; step < 3000; ++step) {
        const int32_t count = static_cast<int32_t>(model.size());
        if (count > 0 && random() % 3 == 0) {
            const int32_t at = static_cast<int32_t>(random() % count);
            col->Remove(at);
            model.erase(model.begin() + at);
        } else {
            const int32_t at = static_cast<int32_t>(random() % (count + 1));
            const bool bit = random() % 2;
            col->AddAt(at, bit);
            model.insert(model.begin() + at, bit);
        }
    }
    ASSERT_EQ(col->GetCount(), static_cast<int32_t>(model.size()));
    for (int32_t i = 0; i < col->GetCount(); ++i) ASSERT_EQ(col->Item(i), model[i] != 0) << i;
    EXPECT_THROW(col->Item(col->GetCount()), CKvInvalidParamException);
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

CSerializationContext SampleContext() {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(PurchaseOrderSample::kTargetNamespace);
    return context;
}

TEST(PrimitiveCollections, GeneratedClassWritesAndReadsItsRepeatedSimpleElements) {
    const CSerializationContext context = SampleContext();
    CSmartPtr<CMeasurements> m = new CMeasurements();
    m->SetParcelId(u"DE123456789");
    m->GetWeights()->Add(1200);
    m->GetWeights()->Add(1180);
    m->GetScanDates()->Add(C::dateFromString(u"2026-11-24", kCollapse));
    m->GetDepots()->Add(u"HAM-01");
    m->GetDepots()->Add(u"BER-07");
    const std::u16string xml = m->ToXml(false, false, EOLType_LF, context);
    EXPECT_EQ(Narrow(xml),
              "<measurements xmlns=\"urn:kvxml:samples:purchase-order\"><parcelId>DE123456789</parcelId>"
              "<weight>1200</weight><weight>1180</weight><scanDate>2026-11-24</scanDate>"
              "<depot>HAM-01</depot><depot>BER-07</depot></measurements>");

    CSmartPtr<CMeasurements> copy = new CMeasurements();
    copy->FromXml(xml.c_str(), context);
    EXPECT_EQ(copy->ToXml(false, false, EOLType_LF, context), xml);
    copy->FromXml(xml.c_str(), context);  // reading again starts from empty collections
    EXPECT_EQ(copy->GetWeights()->GetCount(), 2);

    // A facet failure while reading passes out; the values read before it stay.
    const struct {
        const char16_t* body;
        const char* message;
        int32_t weightsKept;
    } failures[] = {
        {u"<weight>5</weight><weight>40000</weight><weight>6</weight>", "Invalid Value for weight [40000]", 1},
        {u"<weight>5</weight><depot>HAM-01</depot><depot>ham-2</depot>", "Invalid Value for depot [ham-2].", 1},
        {u"<weight>5</weight><scanDate>1999-01-01</scanDate>", "Invalid Value for scanDate [1999-01-01].", 1},
        {u"<scanDate>2001-01-01</scanDate>",
         "The Minimum number of [weight] elements allowed in this collection is 1", 0},
    };
    for (const auto& f : failures) {
        const std::u16string doc = u"<measurements xmlns='urn:kvxml:samples:purchase-order'>"
                                   u"<parcelId>DE123456789</parcelId>" + std::u16string(f.body) + u"</measurements>";
        CSmartPtr<CMeasurements> target = new CMeasurements();
        EXPECT_EQ(CauseOf([&] { target->FromXml(doc.c_str(), context); }), f.message) << f.message;
        EXPECT_EQ(target->GetWeights()->GetCount(), f.weightsKept) << f.message;
    }
    PurchaseOrderSample::CleanMeasurementsMetaData();
}

} // namespace
