#include <gtest/gtest.h>

#include <kvxml/KvXmlLib16.h>

using namespace KvXmlLib16;

// A non-empty path is appended as a line of the message and stored; an empty one changes nothing.
TEST(CKvException, PathRuleAndFullMessage) {
    CKvException plain(u"Boom", std::u16string());
    EXPECT_EQ(plain.GetMessage(), u"Boom");
    EXPECT_EQ(plain.GetFullMessage(), plain.GetMessage());
    EXPECT_EQ(plain.GetInnerException(), nullptr);

    CKvInvalidNamespaceException withPath(u"Bad", u"/a/b");
    EXPECT_EQ(withPath.GetMessage(), u"Bad\nPath: /a/b");
    EXPECT_EQ(withPath.GetPath(), u"/a/b");

    // Inner exceptions are clones of the same concrete class; the full message walks them all.
    CKvValidationException top(u"top", u"/r", CKvInvalidStateException(u"middle", CKvInvalidValueException(u"leaf")));
    EXPECT_EQ(top.GetFullMessage(), u"top\nPath: /r\nmiddle\nleaf");
    const CKvException* inner = top.GetInnerException();
    ASSERT_NE(dynamic_cast<const CKvInvalidStateException*>(inner), nullptr);
    EXPECT_NE(dynamic_cast<const CKvInvalidValueException*>(inner->GetInnerException()), nullptr);
}

// Copying takes message, path and inner; assignment takes message and inner but not the path;
// converting from the root copies the three fields.
TEST(CKvException, CopyAssignmentAndConversion) {
    const CKvException source(u"src", u"/x", CKvOverFlowException(u"in"));
    const CKvException copy(source);
    EXPECT_EQ(copy.GetPath(), u"/x");
    ASSERT_NE(copy.GetInnerException(), nullptr);
    EXPECT_NE(copy.GetInnerException(), source.GetInnerException());

    CKvException target(u"tgt", u"/y");
    target = source;
    EXPECT_EQ(target.GetMessage(), u"src\nPath: /x");
    EXPECT_EQ(target.GetPath(), u"/y");
    target = target;
    EXPECT_EQ(target.GetFullMessage(), u"src\nPath: /x\nin");

    try {
        throw CKvInvalidParamException(source);
    } catch (const CKvException& e) {
        EXPECT_EQ(e.GetPath(), u"/x");
        EXPECT_EQ(e.GetFullMessage(), u"src\nPath: /x\nin");
    }
}
