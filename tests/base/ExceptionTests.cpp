#include <gtest/gtest.h>

#include <kvxml/KvXmlLib16.h>

using namespace KvXmlLib16;

TEST(CKvException, EmptyPathLeavesMessagePlain) {
    CKvException e(u"Boom", std::u16string());
    EXPECT_EQ(e.GetMessage(), u"Boom");
    EXPECT_EQ(e.GetPath(), u"");
    EXPECT_EQ(e.GetFullMessage(), e.GetMessage());
    EXPECT_EQ(e.GetInnerException(), nullptr);
}

TEST(CKvException, PathIsAppendedAsALineAndStored) {
    CKvValidationException e(u"Bad", u"/a/b");
    EXPECT_EQ(e.GetMessage(), u"Bad\nPath: /a/b");
    EXPECT_EQ(e.GetPath(), u"/a/b");
}

// Each class is thrown and caught through the root by reference; its inner exception is
// stored as a clone of the same concrete class.
TEST(CKvException, ChainKeepsConcreteClassesOfClones) {
    CKvInvalidValueException leaf(u"leaf");
    CKvInvalidStateException middle(u"middle", leaf);
    CKvValidationException top(u"top", u"/r", middle);

    EXPECT_EQ(top.GetFullMessage(), u"top\nPath: /r\nmiddle\nleaf");
    const CKvException* inner = top.GetInnerException();
    ASSERT_NE(inner, nullptr);
    EXPECT_NE(inner, &middle);
    EXPECT_NE(dynamic_cast<const CKvInvalidStateException*>(inner), nullptr);
    ASSERT_NE(inner->GetInnerException(), nullptr);
    EXPECT_NE(dynamic_cast<const CKvInvalidValueException*>(inner->GetInnerException()), nullptr);
}

TEST(CKvException, CopyTakesMessagePathAndInner) {
    CKvException original(u"m", u"p", CKvOverFlowException(u"o"));
    CKvException copy(original);
    EXPECT_EQ(copy.GetMessage(), original.GetMessage());
    EXPECT_EQ(copy.GetPath(), u"p");
    ASSERT_NE(copy.GetInnerException(), nullptr);
    EXPECT_NE(copy.GetInnerException(), original.GetInnerException());
    EXPECT_EQ(copy.GetInnerException()->GetMessage(), u"o");
}

TEST(CKvException, AssignmentTakesMessageAndInnerButNotPath) {
    CKvException source(u"src", u"/x", CKvException(u"in"));
    CKvException target(u"tgt", u"/y");
    target = source;
    EXPECT_EQ(target.GetMessage(), u"src\nPath: /x");
    EXPECT_EQ(target.GetPath(), u"/y");
    ASSERT_NE(target.GetInnerException(), nullptr);
    EXPECT_EQ(target.GetInnerException()->GetMessage(), u"in");

    target = target;  // self-assignment keeps a valid inner exception
    ASSERT_NE(target.GetInnerException(), nullptr);
    EXPECT_EQ(target.GetInnerException()->GetMessage(), u"in");
}

TEST(CKvException, ConversionFromRootCopiesThreeFields) {
    CKvException root(u"r", u"/p", CKvException(u"i"));
    CKvInvalidNamespaceException ns(root);
    EXPECT_EQ(ns.GetMessage(), u"r\nPath: /p");
    EXPECT_EQ(ns.GetPath(), u"/p");
    ASSERT_NE(ns.GetInnerException(), nullptr);

    try {
        throw CKvInvalidParamException(root);
    } catch (const CKvException& e) {
        EXPECT_EQ(e.GetFullMessage(), u"r\nPath: /p\ni");
    }
}
