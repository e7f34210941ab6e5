#include "BindingTestSupport.h"

#include <tuple>

using namespace KvXmlLib16;
using BindingTest::MessageOf;

namespace {

const std::string kBoth =
    "The parser can only ignore additional elements, or ignore the fact that some required ones are missing, "
    "you can not ignore both\n";

using Context = CSerializationContext;
} // namespace

// Unknown elements and missing mandatory elements cannot both be ignored; the refused flag stays.
TEST(CSerializationContext, IgnoreFlagsExcludeEachOther) {
    Context c;
    c.SetIgnoreUnknownElements(true);
    EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { c.SetIgnoreMissingMandatoryElements(true); }),
              kBoth + "Set IgnoreUnknownElements to false before setting IgnoreMissingMandatoryElements to true");
    EXPECT_FALSE(c.GetIgnoreMissingMandatoryElements());
    EXPECT_NO_THROW(c.SetIgnoreMissingMandatoryElements(false));
    c.SetIgnoreUnknownElements(false);
    c.SetIgnoreMissingMandatoryElements(true);
    EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { c.SetIgnoreUnknownElements(true); }),
              kBoth + "Set IgnoreMissingMandatoryElements to false before setting IgnoreUnknownElements to true");
    EXPECT_FALSE(c.GetIgnoreUnknownElements());
    EXPECT_NO_THROW(c.SetIgnoreUnknownElements(false));
}

TEST(CSerializationContext, IndentCharsAcceptOnlyBlanksAndTabs) {
    const std::string refused = "IndentChars can only contain Whitespace characters, i.e. \\t or spaces";
    // clang-format off
    const std::tuple<const char16_t*, std::u16string, std::string> cases[] = {
        {nullptr, u"", "<no exception>"}, {u"", u"", "<no exception>"}, {u" \t\t", u" \t\t", "<no exception>"},
        {u"\tx", u"\t", refused}, {u"\n", u"\t", refused}};
    // clang-format on
    for (const auto& [input, result, message] : cases) {
        Context context;
        EXPECT_EQ(MessageOf<CKvInvalidParamException>([&] { context.SetIndentChars(input); }), message);
        EXPECT_EQ(context.GetIndentChars(), result);
    }
}
