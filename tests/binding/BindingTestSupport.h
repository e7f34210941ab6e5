#pragma once

// A generated class whose tables are given at run time, so that each test states exactly the
// records it exercises (property i is the variant props[i]), with record makers, collections,
// creators, outcome helpers and random documents shared by the binding tests.

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <utility>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "support/KvTestText.h"
#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CAttributeInfo.h"
#include "kvxml/binding/CElementInfo.h"
#include "kvxml/binding/CElementInfoAll.h"
#include "kvxml/binding/CElementInfoChoice.h"
#include "kvxml/binding/CElementInfoSeq.h"
#include "kvxml/binding/CParentElementInfo.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlGeneratedClass.h"
#include "kvxml/binding/INillable.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/collections/CElementCol.h"
#include "kvxml/collections/CXmlCollection.h"
#include "kvxml/collections/CXmlCollectionBase.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/xml/CXmlElement.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/values/KvVariant.h"
#include "kvxml/xml/CXmlDocument.h"

namespace BindingTest {

using namespace KvXmlLib16;
using namespace KvXmlLib16Data;

inline constexpr char16_t kXsi[] = u"http://www.w3.org/2001/XMLSchema-instance";

using KvTest::MessageOf;
using KvTest::Narrow;

inline std::u16string Widen(const std::string& s) { return std::u16string(s.begin(), s.end()); }

// Owns one class's tables and releases them the way generated code does.
struct Tables {
    Tables(CParentElementInfo* info, std::initializer_list<CElementInfo*> elements,
           std::initializer_list<CAttributeInfo*> attributes = {})
        : classInfo(info) {
        elementInfo = new CElementInfo*[elements.size() + 1];
        size_t i = 0;
        for (CElementInfo* e : elements) elementInfo[i++] = e;
        elementInfo[i] = nullptr;
        attributeInfo = new CAttributeInfo*[attributes.size() + 1];
        i = 0;
        for (CAttributeInfo* a : attributes) attributeInfo[i++] = a;
        attributeInfo[i] = nullptr;
    }
    ~Tables() { CXmlGeneratedClass::CleanMetaData(classInfo, elementInfo, attributeInfo); }
    Tables(const Tables&) = delete;
    Tables& operator=(const Tables&) = delete;

    CParentElementInfo* classInfo;
    CElementInfo** elementInfo;
    CAttributeInfo** attributeInfo;
};

// A class record with the common defaults of the tests.
inline CParentElementInfo* ClassInfo(XmlElementGroupType group, XmlElementType type = XmlElementType_Element,
                                     const char16_t* name = u"root", bool failIfAttributeUnknown = true,
                                     bool hasBaseClasses = false, int32_t valueIndex = -1,
                                     ItemType valueType = ItemType_Invalid) {
    return new CParentElementInfo(group, type, name, u"", failIfAttributeUnknown, hasBaseClasses, valueIndex, valueType,
                                  nullptr, false);
}

inline const CPrimitiveRestrictions& NoFacets() {
    static const CPrimitiveRestrictions none;
    return none;
}

constexpr auto kNone = CWhitespaceUtils::WhitespaceRule_None;
constexpr auto kPreserve = CWhitespaceUtils::WhitespaceRule_Preserve;

// String-valued records without facets or defaults, the most common shape in the tests.
inline CElementInfo* StringMnd(const char16_t* name, int32_t index, const char16_t* ns = u"") {
    return new CElementInfoSeqPrimMnd(name, ns, index, false, ItemType_string, nullptr, kNone, NoFacets(), nullptr);
}
inline CElementInfo* StringOpt(const char16_t* name, int32_t index, const char16_t* ns = u"") {
    return new CElementInfoSeqPrimOpt(name, ns, index, false, ItemType_string, nullptr, kNone, NoFacets(), nullptr);
}
inline CAttributeInfo* StringAttribute(const char16_t* name, int32_t index, bool optional = true) {
    return new CAttributeInfoPrimitive(name, u"", index, optional, ItemType_string, nullptr, kNone, NoFacets(),
                                       nullptr);
}

// Enumeration functions as generated code has them, over three names.
inline constexpr const char16_t* kColours[] = {u"red", u"green", u"blue"};
inline constexpr const char16_t* kSizes[] = {u"small", u"medium", u"large"};
template <const char16_t* const* Names>
const char16_t* EnumToText(int32_t v) {
    return v >= 0 && v < 3 ? Names[v] : nullptr;
}
template <const char16_t* const* Names>
int32_t EnumFromText(const char16_t* text) {
    for (int32_t i = 0; i < 3; ++i)
        if (std::u16string(text) == Names[i]) return i;
    throw CKvInvalidValueException(u"not a name of the enumeration");
}

class CTestObject : public CXmlGeneratedClass {
public:
    explicit CTestObject(const Tables& tables, const char16_t* name = u"root", const char16_t* ns = u"")
        : m_tables(tables), m_ns(ns) {
        SetElementName(name);
        CTestObject::Init();
    }

    CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return m_ns; }
    std::u16string GetNamespace() override { return m_ns; }
    void AccessProperty(int32_t index, bool get, KvVariant& value) override {
        if (index < 0 || static_cast<size_t>(index) >= props.size()) throw CKvException(u"bad property index");
        if (get) {
            value = props[index];
        } else {
            if (index == failOnSet) throw CKvException(u"setter refused");
            props[index] = value;
        }
    }
    CParentElementInfo* GetClassInfo() const override { return m_tables.classInfo; }
    CElementInfo** GetClassElementInfo() const override { return m_tables.elementInfo; }
    CAttributeInfo** GetClassAttributeInfo() const override { return m_tables.attributeInfo; }
    void Init() override {
        props.assign(8, KvVariant());
        if (onInit) onInit(*this);
    }

    using CXmlGeneratedClass::DoesElementContainOptionalElements;

    CXmlObjectBase* Child(int32_t index) const { return props[index].GetXmlObject().get(); }
    CTestObject* TestChild(int32_t index) const { return dynamic_cast<CTestObject*>(Child(index)); }
    std::string Text(int32_t index) const {
        return props[index].GetTypeAsEnum() == ItemType_Invalid ? "<unset>" : Narrow(props[index].ToString());
    }

    std::vector<KvVariant> props;
    std::function<void(CTestObject&)> onInit;
    int32_t failOnSet = -1;

private:
    const Tables& m_tables;
    std::u16string m_ns;
};

class CNillableTestObject : public CTestObject, public INillable {
public:
    using CTestObject::CTestObject;
    void Init() override {
        nil = false;
        CTestObject::Init();
    }
    bool IsNil() const override { return nil; }
    void SetNil(bool value) override { nil = value; }
    bool nil = false;
};

// A typed collection of test objects, as generated code derives them from CXmlCollection.
class CTestCol : public CXmlCollection {
public:
    CTestCol(const Tables& itemTables, const char16_t* name, int32_t minOccurs, int32_t maxOccurs)
        : CXmlCollection(name, u"", minOccurs, maxOccurs), m_tables(itemTables) {}
    CTestObject* Add() {
        CTestObject* item = new CTestObject(m_tables, m_elementName.c_str());
        AppendItem(item);
        return item;
    }
    CTestObject* At(int32_t index) const { return dynamic_cast<CTestObject*>(GetNodeAtIndex(index)->m_item.get()); }
    void ToXml_Int(CXmlWriter* writer, bool, const char16_t* ns, const CSerializationContext& context,
                   bool) const override {
        ValidateCount(context);
        for (CNode* node = m_head; node; node = node->m_next)
            CXmlObjectBase::ToXml_Int(node->m_item, writer, false, ns, context, false);
    }
    CXmlElement* FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext& context, bool) override {
        while (element && DoesElementNameMatch(context, element, m_elementName.c_str(), m_namespace.c_str())) {
            CSmartPtr<CTestObject> item = new CTestObject(m_tables, m_elementName.c_str());
            item->onInit = onItemInit;
            CXmlObjectBase::FromXml_Int(item.get(), element, element->GetFirstElement(), context);
            AppendItem(item);
            element = element->GetNextSiblingElement();
        }
        return element;
    }

    std::function<void(CTestObject&)> onItemInit;

private:
    const Tables& m_tables;
};

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

// Writes unformatted, with LF, no declaration.
inline std::string Write(const CXmlObjectBase& object, const CSerializationContext& context, bool formatted = false) {
    return Narrow(object.ToXml(false, formatted, EOLType_LF, context));
}

// Reads a document into the object through the entry point.
inline void Read(CXmlObjectBase& object, const char* xml, const CSerializationContext& context) {
    object.FromXml(xml, context);
}

template <class F>
std::string FullMessageOf(F&& call) {
    try {
        call();
    } catch (const CKvException& e) {
        return Narrow(e.GetFullMessage());
    }
    return "<no exception>";
}

// ---- records ----------------------------------------------------------------------------------

inline CElementInfo* ChoicePrim(const char16_t* name, int32_t index, ItemType kind = ItemType_string) {
    return new CElementInfoChoicePrimOpt(name, u"", index, false, kind, nullptr, kPreserve, NoFacets(), nullptr);
}
inline CElementInfo* ChoiceEnum(const char16_t* name, int32_t index) {
    return new CElementInfoChoiceEnumOpt(name, u"", index, false, &EnumToText<kSizes>, &EnumFromText<kSizes>, nullptr);
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
    return new CElementInfoAllEnumMnd(name, u"", index, false, &EnumToText<kSizes>, &EnumFromText<kSizes>, nullptr);
}
inline CElementInfo* AllEnumOpt(const char16_t* name, int32_t index) {
    return new CElementInfoAllEnumOpt(name, u"", index, false, &EnumToText<kSizes>, &EnumFromText<kSizes>, nullptr);
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
    CXmlElement* FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext& context, bool) override {
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
        out +=
            (out.empty() ? "" : " ") + std::to_string(i) + "=" +
            (value.GetTypeAsEnum() == ItemType_xmlObject ? Dump(value.GetXmlObject().get()) : Narrow(value.ToString()));
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
inline void ReadWriteSurvives(CXmlGeneratedClass& object, const std::string& xml,
                              const CSerializationContext& context) {
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

} // namespace BindingTest
