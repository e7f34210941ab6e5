#pragma once

// A writer driven by a script of ';'-separated steps, so that a table row holds a whole document:
// "<name" or "<name ns" starts an element, "/" ends one, "@name value" writes an attribute ("@{ns}name
// value" one in a namespace), "'text" text and "=text" default-valued text, "nil" xsi:nil, "^ns type"
// xsi:type, "!ns" sets the default namespace and "!alias ns" an alias, "~n" the collection state of
// the open element. A value may end in "#kind" (an ItemType number).

#include <string>

#include "kvxml/output/CXmlWriter.h"
#include "kvxml/values/ItemType.h"

namespace KvTest {

inline void Play(KvXmlLib16::CXmlWriter& w, const std::string& script) {
    using KvXmlLib16::ItemType;
    const auto wide = [](const std::string& s) { return std::u16string(s.begin(), s.end()); };
    size_t pos = 0;
    while (pos <= script.size()) {
        size_t end = script.find(';', pos);
        if (end == std::string::npos) end = script.size();
        const std::string step = script.substr(pos, end - pos);
        pos = end + 1;
        const size_t blank = step.find(' '), hash = step.rfind('#');
        std::string head = step.substr(1, blank == std::string::npos ? std::string::npos : blank - 1);
        const std::string rest =
            blank == std::string::npos
                ? ""
                : step.substr(blank + 1, hash == std::string::npos ? std::string::npos : hash - blank - 1);
        const ItemType kind = hash == std::string::npos ? KvXmlLib16::ItemType_string
                                                        : static_cast<ItemType>(std::stoi(step.substr(hash + 1)));
        const std::string text = step.substr(1, hash == std::string::npos ? std::string::npos : hash - 1);
        std::string ns;
        if (!head.empty() && head[0] == '{') {
            ns = head.substr(1, head.find('}') - 1);
            head.erase(0, head.find('}') + 1);
        }
        switch (step.empty() ? ' ' : step[0]) {
        case '<': w.WriteStartElement(wide(head), wide(rest)); break;
        case '/': w.WriteEndElement(); break;
        case '@': w.WriteAttribute(wide(head), wide(ns), wide(rest), kind); break;
        case '\'': w.WriteElementText(wide(text), kind, false); break;
        case '=': w.WriteElementText(wide(text), kind, true); break;
        case 'n': w.WriteXsiNil(); break;
        case '^': w.WriteXsiType(wide(head), wide(rest), kind); break;
        case '~': w.GetCurrentContext()->SetCollectionState(std::stoi(head)); break;
        case '!': rest.empty() ? w.SetDefaultNamespace(wide(head)) : w.AddNamespaceAlias(wide(head), wide(rest)); break;
        }
    }
}

} // namespace KvTest
