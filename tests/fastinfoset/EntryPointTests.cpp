#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/collections/CElementCol.h"
#include "kvxml/fastinfoset/CFastInfosetContext.h"
#include "support/KvTestBytes.h"
#include "support/KvTestText.h"

using namespace KvXmlLib16;
using KvTest::MessageOf;
using namespace KvTest;

namespace {

// Fifty lines of one text: long enough to shrink when compressed.
CSmartPtr<CElement> MakeTree() {
    CSmartPtr<CElement> root = new CElement(u"batch", u"urn:b");
    for (int i = 0; i < 50; ++i)
        root->GetChildElements()->Add(u"line", u"urn:b")->SetText(u"a line of text that repeats");
    return root;
}

} // namespace

TEST(FastInfosetEntryPoints, StreamDeclarationsCompressionAndFile) {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(u"urn:b");
    CSmartPtr<CElement> batch = MakeTree();
    const Bytes plain = Content(batch->ToFastInfosetStream(FInfoDecl_None, context, CompressionType_None));
    ASSERT_GT(plain.size(), 5u);
    EXPECT_EQ(Bytes(plain.begin(), plain.begin() + 5), (Bytes{0xE0, 0, 0, 1, 0}));
    EXPECT_EQ(Bytes(plain.end() - 2, plain.end()), (Bytes{0xFF, 0xF0})); // two ends in one octet, then the document's

    const std::string declaration = "<?xml version='1.1' encoding='finf' standalone='yes'?>";
    const Bytes declared =
        Content(batch->ToFastInfosetStream(FInfoDecl_V11_Enc_StandaloneYes, context, CompressionType_None));
    EXPECT_EQ(std::string(declared.begin(), declared.begin() + declaration.size()), declaration);
    EXPECT_EQ(Bytes(declared.begin() + declaration.size(), declared.end()), plain);

    const Bytes gzip = Content(batch->ToFastInfosetStream(FInfoDecl_None, context, CompressionType_GZip));
    const Bytes zlib = Content(batch->ToFastInfosetStream(FInfoDecl_None, context, CompressionType_ZLib));
    EXPECT_EQ(gzip[0], 0x1F);
    EXPECT_EQ(zlib[0], 0x78);
    EXPECT_EQ(Inflate(gzip), plain);
    EXPECT_EQ(Inflate(zlib), plain);

    // The options are those of the context passed in: with a higher add length the repeated
    // line becomes an index.
    context.GetFIContext().SetElementMaxAddLength(100);
    EXPECT_LT(batch->ToFastInfosetStream(FInfoDecl_None, context, CompressionType_None).GetLength(), plain.size() / 4);

    const std::string path = testing::TempDir() + "kvxml_fi_entry.finf";
    const std::u16string widePath(path.begin(), path.end());
    std::remove(path.c_str());
    EXPECT_EQ(
        MessageOf([&] { batch->ToFastInfosetFile(widePath.c_str(), FInfoDecl_None, context, CompressionType_ZLib); }),
        "ZLIB Compression only available for To Stream methods.");
    EXPECT_FALSE(std::ifstream(path).good());
    batch->ToFastInfosetFile(widePath.c_str(), FInfoDecl_Enc, context, CompressionType_None);
    const std::string written = FileBytes(path);
    EXPECT_EQ(Bytes(written.begin(), written.end()),
              Content(batch->ToFastInfosetStream(FInfoDecl_Enc, context, CompressionType_None)));
    std::remove(path.c_str());
}
