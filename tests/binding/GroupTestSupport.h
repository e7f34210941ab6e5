#pragma once

// Record makers, a string collection and an element-chosen creator shared by the tests of the
// choice and all groups, on top of the run-time tables of BindingTestSupport.h.

#include "BindingTestSupport.h"

#include "kvxml/collections/CElement.h"
#include "kvxml/collections/CElementCol.h"
#include "kvxml/collections/CXmlCollectionBase.h"
#include "kvxml/output/CXmlWriter.h"

#include <random>

namespace BindingTest {
namespace Groups {

constexpr auto kPreserve = CWhitespaceUtils::WhitespaceRule_Preserve;

inline const char16_t* SizeToText(int32_t v) {
    static const char16_t* names[] = {u"small", u"medium", u"large"};
    return v >= 0 && v < 3 ? names[v] : nullptr;
}
inline int32_t SizeFromText(const char16_t* text) {
    for (int32_t i = 0; i < 3; ++i)
        if (std::u16string(text) == SizeToText(i)) return i;
    throw CKvInvalidValueException(u"not a size");
}

// ---- classes that creators make ---------------------------------------------------------------

// A class of the tests: its tables and what its Init puts into the properties (collections,
// objects of mandatory children).
struct ClassDef {
    const Tables* tables = nullptr;
    std::function<void(CTestObject&)> init;
};

inline std::map<int32_t, ClassDef>& Classes() {
    static std::map<int32_t, ClassDef> classes;
    return classes;
}

inline void Define(int32_t classId, const Tables& tables, std::function<void(CTestObject&)> init = {}) {
    Classes()[classId] = ClassDef{&tables, std::move(init)};
}

// The class-id creator of generated code.
inline CSmartPtr<CXmlObjectBase> CreateClass(int32_t classId, const char16_t* elementName) {
    auto found = Classes().find(classId);
    if (found == Classes().end()) return CSmartPtr<CXmlObjectBase>();
    CTestObject* object = new CTestObject(*found->second.tables, elementName);
    object->onInit = found->second.init;
    object->Init();
    return CSmartPtr<CXmlObjectBase>(object);
}

inline CSmartPtr<CTestObject> NewObject(int32_t classId, const char16_t* elementName) {
    CSmartPtr<CXmlObjectBase> made = CreateClass(classId, elementName);
    return CSmartPtr<CTestObject>(dynamic_cast<CTestObject*>(made.get()));
}

// ---- records ----------------------------------------------------------------------------------

inline CElementInfo* ChoicePrim(const char16_t* name, int32_t index, ItemType kind = ItemType_string) {
    return new CElementInfoChoicePrimOpt(name, u"", index, false, kind, nullptr, kPreserve, NoFacets(), nullptr);
}
inline CElementInfo* ChoiceEnum(const char16_t* name, int32_t index) {
    return new CElementInfoChoiceEnumOpt(name, u"", index, false, &SizeToText, &SizeFromText, nullptr);
}
inline CElementInfo* ChoiceCls(const char16_t* name, int32_t index, int32_t classId,
                               XmlElementType type = XmlElementType_Element) {
    return new CElementInfoChoiceClsOpt(name, u"", index, type, &CreateClass, classId);
}
inline CElementInfo* AllPrimMnd(const char16_t* name, int32_t index, ItemType kind = ItemType_string) {
    return new CElementInfoAllPrimMnd(name, u"", index, false, kind, nullptr, kPreserve, NoFacets(), nullptr);
}
inline CElementInfo* AllPrimOpt(const char16_t* name, int32_t index, ItemType kind = ItemType_string) {
    return new CElementInfoAllPrimOpt(name, u"", index, false, kind, nullptr, kPreserve, NoFacets(), nullptr);
}
inline CElementInfo* AllEnumMnd(const char16_t* name, int32_t index) {
    return new CElementInfoAllEnumMnd(name, u"", index, false, &SizeToText, &SizeFromText, nullptr);
}
inline CElementInfo* AllEnumOpt(const char16_t* name, int32_t index) {
    return new CElementInfoAllEnumOpt(name, u"", index, false, &SizeToText, &SizeFromText, nullptr);
}
inline CElementInfo* SeqPrimMnd(const char16_t* name, int32_t index) {
    return new CElementInfoSeqPrimMnd(name, u"", index, false, ItemType_string, nullptr, kPreserve, NoFacets(),
                                      nullptr);
}
inline CElementInfo* SeqPrimOpt(const char16_t* name, int32_t index) {
    return new CElementInfoSeqPrimOpt(name, u"", index, false, ItemType_string, nullptr, kPreserve, NoFacets(),
                                      nullptr);
}

// ---- a collection of strings ------------------------------------------------------------------

// Takes the text of each following element of its name, as a collection of primitives does.
class CTestStringCol : public CXmlCollectionBase {
public:
    CTestStringCol(const char16_t* name, int32_t minOccurs, int32_t maxOccurs)
        : CXmlCollectionBase(name, u"", minOccurs, maxOccurs) {}
    int32_t GetCount() const override { return static_cast<int32_t>(items.size()); }
    void Clear() override { items.clear(); }
    void Remove(int32_t index) override { items.erase(items.begin() + index); }
    void ToXml_Int(CXmlWriter* writer, bool, const char16_t* ns, const CSerializationContext& context,
                   bool) const override {
        ValidateCount(context);
        for (const std::u16string& item : items) {
            writer->WriteStartElement(m_elementName, ns ? ns : u"");
            writer->WriteElementText(item, ItemType_string, false);
            writer->WriteEndElement();
        }
    }
    CXmlElement* FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext& context,
                             bool) override {
        while (element && element->GetLocalName() == m_elementName &&
               (context.GetIgnoreNamespaces() || element->GetNamespaceURI() == m_namespace)) {
            items.push_back(element->GetText());
            element = element->GetNextSiblingElement();
        }
        return element;
    }
    std::string Joined() const {
        std::string out;
        for (const std::u16string& item : items) out += (out.empty() ? "" : ",") + Narrow(item);
        return out;
    }
    std::vector<std::u16string> items;
};

inline CTestStringCol* StringColAt(const CTestObject& object, int32_t index) {
    return dynamic_cast<CTestStringCol*>(object.props[index].GetXmlObject().get());
}
inline CTestCol* TestColAt(const CTestObject& object, int32_t index) {
    return dynamic_cast<CTestCol*>(object.props[index].GetXmlObject().get());
}

// ---- the state of an object in one line -------------------------------------------------------

// Set properties as index=value: objects in braces, collections in brackets, wildcards as <name>
// and null objects as null. Unset properties are left out.
inline std::string Dump(const CXmlObjectBase* object) {
    if (!object) return "null";
    if (auto* strings = dynamic_cast<const CTestStringCol*>(object)) return "[" + strings->Joined() + "]";
    if (auto* wildcard = dynamic_cast<const CElement*>(object)) return "<" + Narrow(wildcard->GetName()) + ">";
    if (auto* wildcards = dynamic_cast<const CElementCol*>(object))
        return "[" + std::to_string(wildcards->GetCount()) + " elements]";
    if (auto* items = dynamic_cast<const CTestCol*>(object)) {
        std::string out = "[";
        for (int32_t i = 0; i < items->GetCount(); ++i) out += (i ? "," : "") + Dump(items->At(i));
        return out + "]";
    }
    auto* test = dynamic_cast<const CTestObject*>(object);
    if (!test) return "?";
    std::string out;
    for (size_t i = 0; i < test->props.size(); ++i) {
        const KvVariant& value = test->props[i];
        if (value.GetTypeAsEnum() == ItemType_Invalid) continue;
        out += (out.empty() ? "" : " ") + std::to_string(i) + "=" +
               (value.GetTypeAsEnum() == ItemType_xmlObject ? Dump(value.GetXmlObject().get())
                                                            : Narrow(value.ToString()));
    }
    return "{" + out + "}";
}

// ---- the creator of abstract children: the class is chosen by the attribute "kind" --------------

// Ids that the attribute may name; no attribute, or an unknown id, gives null.
inline CSmartPtr<CXmlObjectBase> CreateByKind(CXmlElement* element) {
    if (!element) return CSmartPtr<CXmlObjectBase>();
    const std::u16string& kind = element->GetAttribute(u"kind", u"");
    if (kind.empty()) return CSmartPtr<CXmlObjectBase>();
    return CreateClass(std::stoi(Narrow(kind)), element->GetLocalName().c_str());
}

// ---- outcome of a read ------------------------------------------------------------------------

struct Outcome {
    bool failed = false;
    std::string message; // full message, with the inner exceptions
    std::string path;
};

inline Outcome ReadOutcome(CXmlGeneratedClass& object, const char* xml, const CSerializationContext& context) {
    Outcome outcome;
    try {
        Read(object, xml, context);
    } catch (const CKvException& e) {
        outcome.failed = true;
        outcome.message = Narrow(e.GetFullMessage());
        outcome.path = Narrow(e.GetPath());
    }
    return outcome;
}

// ---- random documents -------------------------------------------------------------------------

// Random nesting of the given element names, with a little text, so that every reader meets
// elements in unexpected orders, repeats and places. `root` carries its attributes, if any.
inline void RandomElement(std::mt19937& random, const std::vector<const char*>& names, int depth, std::string& out) {
    const char* name = names[random() % names.size()];
    out += std::string("<") + name + ">";
    const int children = depth > 0 ? static_cast<int>(random() % 4) : 0;
    for (int i = 0; i < children; ++i) RandomElement(random, names, depth - 1, out);
    if (random() % 2) out += std::to_string(random() % 40);
    out += std::string("</") + name + ">";
}

inline std::string RandomDocument(std::mt19937& random, const std::vector<const char*>& names, const char* root,
                                  const char* rootAttributes = "") {
    std::string out = std::string("<") + root + rootAttributes + ">";
    const int children = static_cast<int>(random() % 6);
    for (int i = 0; i < children; ++i) RandomElement(random, names, 3, out);
    return out + "</" + root + ">";
}

// A context with a random choice of the options that excuse reading failures.
inline CSerializationContext RandomContext(std::mt19937& random) {
    const unsigned bits = random();
    CSerializationContext context;
    context.SetIgnoreUnknownElements(bits & 1);
    context.SetIgnoreMissingChoice(bits & 2);
    context.SetIgnoreInvalidCollectionCounts(bits & 4);
    context.SetIgnoreNamespaces(bits & 8);
    // The two may not be set together.
    if (!(bits & 1)) context.SetIgnoreMissingMandatoryElements(bits & 16);
    return context;
}

// Reads the document, and writes back what was read; either returns or fails with a CKvException.
inline void ReadWriteSurvives(CXmlGeneratedClass& object, const std::string& xml, const CSerializationContext& context) {
    try {
        Read(object, xml.c_str(), context);
        Write(object, context);
    } catch (const CKvException&) {
    } catch (const std::exception& e) {
        ADD_FAILURE() << e.what() << " from " << xml;
    } catch (...) {
        ADD_FAILURE() << "foreign exception from " << xml;
    }
}

} // namespace Groups
} // namespace BindingTest
