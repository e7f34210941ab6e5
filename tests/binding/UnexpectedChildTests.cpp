// Child elements inside simple-typed elements are unexpected content, whatever group reads them.
#include "BindingTestSupport.h"

namespace BindingTest {
namespace {

const struct {
    const char* name;
    XmlElementGroupType group;
    CElementInfo* (*record)();
    const char* read; // the value read when the child is ignored
} kRecords[] = {
    {"sequence", XmlElementGroupType_Seq, [] { return StringMnd(u"customer", 0); }, "red"},
    {"sequence enum", XmlElementGroupType_Seq,
     [] {
         return static_cast<CElementInfo*>(new CElementInfoSeqEnumOpt(u"customer", u"", 0, false, &EnumToText<kColours>,
                                                                      &EnumFromText<kColours>, nullptr));
     },
     "0"},
    {"choice", XmlElementGroupType_Choice, [] { return ChoicePrim(u"customer", 0); }, "red"},
    {"all", XmlElementGroupType_All, [] { return AllPrimMnd(u"customer", 0); }, "red"},
};

TEST(UnexpectedChild, InASimpleElementFailsWithItsPathUnlessIgnored) {
    for (const auto& r : kRecords) {
        Tables tables(ClassInfo(r.group), {r.record()});
        CTestObject object(tables);
        EXPECT_EQ(MessageOf([&] { Read(object, "<root><customer>red<x><y/></x></customer></root>", {}); }),
                  "Failed read all the elements held within the element [customer]. The unexpected element [x] "
                  "remains un processed\nPath: /root/customer/x")
            << r.name;
        CSerializationContext ignoring;
        ignoring.SetIgnoreUnknownElements(true);
        Read(object, "<root><customer>red<x/></customer></root>", ignoring);
        EXPECT_EQ(object.Text(0), r.read) << r.name;
    }
}

// The reproducer: a million levels inside the element, once dropped without a word.
TEST(UnexpectedChild, DeepNestingInsideASimpleElementIsRefused) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq), {StringMnd(u"customer", 0)});
    CTestObject object(tables);
    const size_t depth = 1000000;
    std::string xml = "<root><customer>";
    for (size_t i = 0; i < depth; ++i) xml += "<c>";
    for (size_t i = 0; i < depth; ++i) xml += "</c>";
    xml += "</customer></root>";
    const Outcome outcome = ReadOutcome(object, xml.c_str(), CSerializationContext());
    EXPECT_TRUE(outcome.failed);
    EXPECT_EQ(outcome.path, "/root/customer/c");
}

} // namespace
} // namespace BindingTest
