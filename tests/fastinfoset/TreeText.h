#pragma once

// A compact text of a loaded tree, so that tests compare whole trees in one expectation:
//   {uri}name[{uri}attr=value]"text"(child,child)
// Characters outside ASCII appear as \uXXXX.

#include <string>

#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"
#include "../support/KvTestText.h"

namespace KvTest {

inline void AppendName(std::string& out, const std::u16string& uri, const std::u16string& name) {
    if (!uri.empty()) out += '{' + N(uri) + '}';
    out += N(name);
}

// Without recursion: the trees of the nesting tests are deep.
inline std::string TreeText(const KvXmlLib16::CXmlElement* root) {
    std::string out;
    const KvXmlLib16::CXmlElement* element = root;
    while (element) {
        AppendName(out, element->GetNamespaceURI(), element->GetLocalName());
        for (const KvXmlLib16::CXmlAttribute* attribute : element->GetAttributes()) {
            out += '[';
            AppendName(out, attribute->GetNamespaceURI(), attribute->GetLocalName());
            out += '=' + N(attribute->GetValue()) + ']';
        }
        if (!element->GetText().empty()) out += '"' + N(element->GetText()) + '"';
        if (element->GetFirstElement()) {
            out += '(';
            element = element->GetFirstElement();
            continue;
        }
        // Up until there is a next sibling, closing the lists on the way.
        while (element != root && !element->GetNextSiblingElement()) {
            out += ')';
            element = element->GetParentElm();
        }
        if (element == root) break;
        out += ',';
        element = element->GetNextSiblingElement();
    }
    return out;
}

inline std::string TreeText(const KvXmlLib16::CXmlDocument& document) {
    return document.GetDocumentElement() ? TreeText(document.GetDocumentElement()) : std::string("<no root>");
}

} // namespace KvTest
