#pragma once

// Two XML texts compared as data: names by namespace and local name, attributes as a set, xsi:type by
// the type it names (one added on writing does not count), text with surrounding whitespace trimmed; prefixes and
// indentation do not count.

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "kvxml/xml/CXmlAttribute.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"
#include "../../tools/common/KvUtf8.h"
#include "support/KvTestText.h"

inline std::string Utf8Of(const std::u16string& text) { return KvTools::ToUtf8(text); }

namespace XmlDataCompareDetail {

inline std::u16string Trim(const std::u16string& text) {
    const auto blank = [](char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r'; };
    size_t begin = 0, end = text.size();
    while (begin < end && blank(text[begin])) ++begin;
    while (end > begin && blank(text[end - 1])) --end;
    return text.substr(begin, end - begin);
}

typedef std::tuple<std::u16string, std::u16string, std::u16string> Attribute;

inline std::vector<Attribute> Attributes(const KvXmlLib16::CXmlElement* element) {
    std::vector<Attribute> out;
    for (const KvXmlLib16::CXmlAttribute* a : element->GetAttributes()) {
        std::u16string value = a->GetValue();
        if (a->GetNamespaceURI() == u"http://www.w3.org/2001/XMLSchema-instance" && a->GetLocalName() == u"type") {
            const size_t colon = value.find(u':');
            const std::u16string prefix = colon == std::u16string::npos ? u"" : value.substr(0, colon);
            value = u"{" + element->GetDocument()->LookupNamespaceFromAlias(prefix.c_str()) + u"}" +
                    value.substr(colon == std::u16string::npos ? 0 : colon + 1);
        }
        out.emplace_back(a->GetNamespaceURI(), a->GetLocalName(), value);
    }
    std::sort(out.begin(), out.end());
    return out;
}

inline std::string Difference(const KvXmlLib16::CXmlElement* a, const KvXmlLib16::CXmlElement* b) {
    using KvTest::Narrow;
    const std::string where = Narrow(a->GetXPath());
    if (a->GetLocalName() != b->GetLocalName() || a->GetNamespaceURI() != b->GetNamespaceURI())
        return where + ": element {" + Narrow(b->GetNamespaceURI()) + "}" + Narrow(b->GetLocalName());
    // A derived class names its type on writing also where the element's declared type is that type.
    std::vector<Attribute> written = Attributes(b), read = Attributes(a);
    const auto isType = [](const Attribute& x) {
        return std::get<0>(x) == u"http://www.w3.org/2001/XMLSchema-instance" && std::get<1>(x) == u"type";
    };
    if (std::none_of(read.begin(), read.end(), isType))
        written.erase(std::remove_if(written.begin(), written.end(), isType), written.end());
    if (read != written) return where + ": attributes differ";
    if (Trim(a->GetText()) != Trim(b->GetText()))
        return where + ": text [" + Narrow(Trim(a->GetText())) + "] and [" + Narrow(Trim(b->GetText())) + "]";
    const KvXmlLib16::CXmlElement* x = a->GetFirstElement();
    const KvXmlLib16::CXmlElement* y = b->GetFirstElement();
    for (; x && y; x = x->GetNextSiblingElement(), y = y->GetNextSiblingElement()) {
        const std::string inner = Difference(x, y);
        if (!inner.empty()) return inner;
    }
    if (x || y) return where + ": " + (x ? "fewer" : "more") + " children";
    return std::string();
}

} // namespace XmlDataCompareDetail

// Empty when the two documents hold the same data, otherwise where they first differ.
inline std::string DataDifference(const std::string& expected, const std::string& actual) {
    KvXmlLib16::CXmlDocument a, b;
    a.LoadXml(expected.c_str());
    b.LoadXml(actual.c_str());
    return XmlDataCompareDetail::Difference(a.GetDocumentElement(), b.GetDocumentElement());
}
