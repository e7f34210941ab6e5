#pragma once

// A generated class whose tables are given at run time, so that each test states exactly the
// records it exercises. Property i is the variant props[i].

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

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
#include "kvxml/collections/CXmlCollection.h"
#include "kvxml/xml/CXmlElement.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/values/KvVariant.h"
#include "kvxml/xml/CXmlDocument.h"

namespace BindingTest {

using namespace KvXmlLib16;
using namespace KvXmlLib16Data;

inline constexpr char16_t kXsi[] = u"http://www.w3.org/2001/XMLSchema-instance";

inline std::string Narrow(const std::u16string& s) {
    std::string out;
    for (char16_t c : s) out += c < 0x80 ? static_cast<char>(c) : '?';
    return out;
}

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
    return new CParentElementInfo(group, type, name, u"", failIfAttributeUnknown, hasBaseClasses, valueIndex,
                                  valueType, nullptr, false);
}

inline const CPrimitiveRestrictions& NoFacets() {
    static const CPrimitiveRestrictions none;
    return none;
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
        ++initCount;
        if (onInit) onInit(*this);
    }

    using CXmlGeneratedClass::DoesElementContainOptionalElements;
    using CXmlGeneratedClass::IsElementInList;

    CXmlObjectBase* Child(int32_t index) const { return props[index].GetXmlObject().get(); }
    CTestObject* TestChild(int32_t index) const { return dynamic_cast<CTestObject*>(Child(index)); }
    std::string Text(int32_t index) const {
        return props[index].GetTypeAsEnum() == ItemType_Invalid ? "<unset>" : Narrow(props[index].ToString());
    }

    std::vector<KvVariant> props;
    std::function<void(CTestObject&)> onInit;
    int32_t failOnSet = -1;
    int initCount = 0;

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
    CXmlElement* FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext& context,
                             bool) override {
        while (element && DoesElementNameMatch(context, element, m_elementName.c_str(), m_namespace.c_str())) {
            CSmartPtr<CTestObject> item = new CTestObject(m_tables, m_elementName.c_str());
            item->FromXml_Int(element, element->GetFirstElement(), context, false);
            AppendItem(item);
            element = element->GetNextSiblingElement();
        }
        return element;
    }

private:
    const Tables& m_tables;
};

// Class ids for creators: the test registers the tables that an id stands for.
inline std::map<int32_t, const Tables*>& Registry() {
    static std::map<int32_t, const Tables*> registry;
    return registry;
}

inline CSmartPtr<CXmlObjectBase> CreateRegistered(int32_t classId, const char16_t* elementName) {
    auto found = Registry().find(classId);
    if (found == Registry().end()) return CSmartPtr<CXmlObjectBase>();
    return CSmartPtr<CXmlObjectBase>(new CTestObject(*found->second, elementName));
}

// Writes unformatted, with LF, no declaration.
inline std::string Write(const CXmlObjectBase& object, const CSerializationContext& context, bool formatted = false) {
    return Narrow(object.ToXml(false, formatted, EOLType_LF, context));
}

// Reads a document into the object through the entry point.
inline void Read(CXmlObjectBase& object, const char* xml, const CSerializationContext& context) {
    object.FromXml(xml, context);
}

// The message of the exception that the call throws, or "<no exception>".
template <class F>
std::string MessageOf(F&& call) {
    try {
        call();
    } catch (const CKvException& e) {
        return Narrow(e.GetMessage());
    }
    return "<no exception>";
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

} // namespace BindingTest
