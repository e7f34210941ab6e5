#include <gtest/gtest.h>

#include <string>

#include "kvxml/xml/CXmlDocument.h"

using namespace KvXmlLib16;

namespace {

std::u16string Widen(const std::string& ascii) { return std::u16string(ascii.begin(), ascii.end()); }

// Names and values of every length around the 8-unit block size, so that each terminator lands at
// a different offset of its block: a scan must stop at the terminator (the sanitizer builds catch
// a read behind it, as in "<p:aaaaaaaaaaaaaaaaaaaaaa xmlns:p="u"/>" loaded from bytes).
TEST(HostileInput, NamesAndValuesOfEveryLengthEndAtTheirTerminator) {
    for (size_t length = 1; length <= 40; ++length) {
        const std::string name(length, 'a'), value(length - 1, 'v'), uri(length, 'u');
        const std::string xml = "<p:" + name + " xmlns:p=\"" + uri + "\" p:" + name + "=\"" + value + "\"/>";
        for (bool narrow : {true, false}) {
            CXmlDocument document;
            if (narrow)
                document.LoadXml(xml.c_str());
            else
                document.LoadXml(Widen(xml).c_str());
            const CXmlElement* root = document.GetDocumentElement();
            ASSERT_NE(root, nullptr);
            EXPECT_EQ(root->GetLocalName(), Widen(name)) << xml;
            EXPECT_EQ(root->GetNamespaceURI(), Widen(uri)) << xml;
            EXPECT_EQ(root->GetAttribute(Widen(name).c_str(), Widen(uri).c_str()), Widen(value)) << xml;
        }
    }
}

} // namespace
