// From classes to C++ text: one header and one source per schema document.

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "Classes.h"

namespace Kvxmlc {

extern const char* const kSupportHeader;

namespace {

namespace fs = std::filesystem;

// A UTF-16 literal of UTF-8 text.
std::string Lit(const std::string& text) {
    std::string out = "u\"";
    for (size_t i = 0; i < text.size();) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        uint32_t cp = c;
        size_t n = 1;
        if (c >= 0xF0)
            n = 4, cp = c & 0x07;
        else if (c >= 0xE0)
            n = 3, cp = c & 0x0F;
        else if (c >= 0xC0)
            n = 2, cp = c & 0x1F;
        for (size_t k = 1; k < n && i + k < text.size(); ++k) cp = (cp << 6) | (text[i + k] & 0x3F);
        i += n;
        char buf[16];
        if (cp == '"' || cp == '\\')
            out += '\\', out += static_cast<char>(cp);
        else if (cp == '\n')
            out += "\\n";
        else if (cp == '\t')
            out += "\\t";
        else if (cp == '\r')
            out += "\\r";
        else if (cp >= 0x20 && cp < 0x7F && cp != '?')
            out += static_cast<char>(cp);
        else if (cp < 0x10000)
            std::snprintf(buf, sizeof buf, "\\u%04X", cp), out += buf;
        else
            std::snprintf(buf, sizeof buf, "\\U%08X", cp), out += buf;
    }
    return out + "\"";
}

const char* const kWhitespace[] = {"CWhitespaceUtils::WhitespaceRule_None", "CWhitespaceUtils::WhitespaceRule_Preserve",
                                   "CWhitespaceUtils::WhitespaceRule_Replace",
                                   "CWhitespaceUtils::WhitespaceRule_Collapse"};

std::string CppType(const std::string& kind) {
    static const std::map<std::string, std::string> types = {{"hexBinary", "KvXmlLib16::CBinaryData"},
                                                             {"base64Binary", "KvXmlLib16::CBinaryData"},
                                                             {"i1", "int8_t"},
                                                             {"i2", "int16_t"},
                                                             {"i4", "int32_t"},
                                                             {"i8", "int64_t"},
                                                             {"ui1", "uint8_t"},
                                                             {"ui2", "uint16_t"},
                                                             {"ui4", "uint32_t"},
                                                             {"ui8", "uint64_t"},
                                                             {"r4", "float"},
                                                             {"r8", "double"},
                                                             {"duration", "KvXmlLib16::CDateTimeSpan"},
                                                             {"yearMonth", "KvXmlLib16::CDateTime"},
                                                             {"monthDay", "KvXmlLib16::CDateTime"},
                                                             {"year", "uint16_t"},
                                                             {"month", "uint8_t"},
                                                             {"day", "uint8_t"},
                                                             {"date", "KvXmlLib16::CDateTime"},
                                                             {"datetime", "KvXmlLib16::CDateTime"},
                                                             {"time", "KvXmlLib16::CDateTime"},
                                                             {"char", "char16_t"},
                                                             {"string", "std::u16string"},
                                                             {"boolean", "bool"},
                                                             {"decimal", "KvXmlLib16::CDecimal"},
                                                             {"integer", "KvXmlLib16::CBigInteger"}};
    return types.at(kind);
}

bool Scalar(const std::string& cppType) { return cppType.find("::") == std::string::npos; }

// The ten facet arguments in the order of the restrictions' constructor.
std::string FacetArgs(const Facets& f) {
    auto text = [](const std::string& s) { return s.empty() ? std::string("nullptr") : Lit(s); };
    std::ostringstream o;
    o << text(f.m_pattern) << ", " << f.m_minLength << ", " << f.m_maxLength << ", " << text(f.m_minInclusive) << ", "
      << text(f.m_maxInclusive) << ", " << text(f.m_minExclusive) << ", " << text(f.m_maxExclusive) << ", "
      << f.m_length << ", " << f.m_totalDigits << ", " << f.m_fractionDigits;
    return o.str();
}

std::string Restrictions(const Facets& f) {
    return f.Empty() ? "KvXmlGenerated::kNoFacets" : "KvXmlLib16::CPrimitiveRestrictions(" + FacetArgs(f) + ")";
}

// The restrictions as a record argument, on a line of their own when there are any.
std::string FacetsArg(const Facets& f) { return (f.Empty() ? ", " : ",\n            ") + Restrictions(f); }

class Emitter {
public:
    Emitter(const SchemaSet& s, const Program& p) : m_s(s), m_p(p) {
        for (const ClassDef& c : p.m_classes) m_byDoc[c.m_doc].push_back(&c);
        for (const EnumDef& e : p.m_enums) m_enumsByDoc[e.m_doc].push_back(&e);
        for (const auto& doc : s.m_docs) {
            const std::string ns = Ns(doc.get());
            if (!m_firstDoc.count(ns)) m_firstDoc[ns] = doc.get();
        }
    }

    std::string Ns(const Doc* doc) const { return m_p.m_cppNamespaces.at(doc->m_tns); }
    std::string Q(const ClassDef* c) const { return Ns(c->m_doc) + "::" + c->m_cppName; }
    std::string Q(const EnumDef* e) const { return Ns(e->m_doc) + "::" + e->m_cppName; }

    static const ClassDef* Root(const ClassDef* c) {
        while (c->m_base) c = c->m_base;
        return c;
    }
    // Nillable when any class of its hierarchy is; the interface sits on the root alone.
    bool Nillable(const ClassDef* c) const {
        const ClassDef* root = Root(c);
        std::function<bool(const ClassDef*)> any = [&](const ClassDef* k) {
            if (k->m_nillable) return true;
            for (const ClassDef* d : k->m_derived)
                if (any(d)) return true;
            return false;
        };
        return any(root);
    }

    static std::string PropEnum(const Member& m) { return "Property_" + m.m_prop; }

    std::string FieldType(const Member& m) const {
        switch (m.m_kind) {
        case Kind::Prim: {
            const std::string t = CppType(m.m_simple.m_kind);
            if (m.m_occ == Occ::Col) return "CSmartPtr<KvXmlLib16::C" + m.m_simple.m_kind + "Col>";
            return m.m_occ == Occ::Opt ? "std::optional<" + t + ">" : t;
        }
        case Kind::Enum: {
            const std::string t = Q(m.m_simple.m_enum);
            if (m.m_occ == Occ::Col) return "CSmartPtr<KvXmlGenerated::CEnumCol<" + t + ">>";
            return m.m_occ == Occ::Opt ? "std::optional<" + t + ">" : t;
        }
        case Kind::Cls:
        case Kind::AbsCls:
            if (m.m_occ == Occ::Col) return "CSmartPtr<KvXmlGenerated::CObjectCol<" + Q(m.m_class) + ">>";
            return "CSmartPtr<" + Q(m.m_class) + ">";
        case Kind::Untpd:
            return m.m_occ == Occ::Col ? "CSmartPtr<KvXmlLib16::CElementCol>" : "CSmartPtr<KvXmlLib16::CElement>";
        case Kind::AnyAttr: return "CSmartPtr<KvXmlLib16::CAttributeCol>";
        }
        return std::string();
    }

    static std::string Field(const Member& m) {
        std::string f = "m_" + m.m_prop;
        f[2] = static_cast<char>(std::tolower(static_cast<unsigned char>(f[2])));
        return f;
    }

    // ---- header -----------------------------------------------------------------------------------

    void Accessors(std::ostream& o, const ClassDef* c, const Member& m) const {
        const std::string field = Field(m), type = FieldType(m);
        const bool pointerLike = type.rfind("CSmartPtr<", 0) == 0;
        if (pointerLike) {
            const std::string inner = type.substr(10, type.size() - 11);
            o << "    " << inner << "* Get" << m.m_prop << "() const { return " << field << "; }\n";
            if (m.m_occ != Occ::Col && m.m_kind != Kind::AnyAttr)
                o << "    void Set" << m.m_prop << "(" << inner << "* value);\n";
            return;
        }
        const bool byValue = m.m_occ == Occ::Mnd && (m.m_kind == Kind::Enum || Scalar(type));
        const std::string arg = byValue ? type : "const " + type + "&";
        o << "    " << arg << " Get" << m.m_prop << "() const { return " << field << "; }\n";
        o << "    void Set" << m.m_prop << "(" << arg << " value) { " << field << " = value; }\n";
        (void)c;
    }

    std::vector<const Member*> Chain(const ClassDef* c, bool attributes) const {
        std::vector<const ClassDef*> chain;
        for (const ClassDef* k = c; k; k = k->m_base) chain.insert(chain.begin(), k);
        std::vector<const Member*> out, wildcards;
        for (const ClassDef* k : chain)
            for (const Member& m : k->m_members) {
                if (m.m_isAttribute != attributes) continue;
                (m.m_kind == Kind::AnyAttr ? wildcards : out).push_back(&m);
            }
        out.insert(out.end(), wildcards.begin(), wildcards.end());
        return out;
    }

    const ClassDef* TextOwner(const ClassDef* c) const {
        const ClassDef* owner = nullptr;
        for (const ClassDef* k = c; k && k->m_hasText; k = k->m_base) owner = k;
        return owner;
    }

    void ClassDecl(std::ostream& o, const ClassDef* c) const {
        const bool ownNil = Nillable(c) && !c->m_base;
        o << "// "
          << (c->m_elementType == 2   ? "model group "
              : c->m_typeName.empty() ? "element "
                                      : "type ")
          << c->m_recordName << (c->m_abstract ? " (abstract)" : "") << "\n";
        o << "class " << c->m_cppName << " : public "
          << (c->m_base ? Q(c->m_base) : std::string("KvXmlLib16::CXmlGeneratedClass"))
          << (ownNil ? ", public KvXmlLib16::INillable" : "") << " {\npublic:\n";
        o << "    static constexpr int32_t kClassId = " << c->m_classId << ";\n";
        o << "    " << c->m_cppName << "();\n    ~" << c->m_cppName << "() override;\n\n";
        if (c->m_hasText && TextOwner(c) == c) {
            const std::string type = c->m_mixed ? "std::u16string" : CppType(c->m_text.m_kind);
            const std::string arg = Scalar(type) ? type : "const " + type + "&";
            const std::string name = c->m_mixed ? "Text" : "Value";
            o << "    // The " << (c->m_mixed ? "text of the mixed content, as one string" : "text value") << ".\n";
            o << "    " << arg << " Get" << name << "() const { return m_" << (c->m_mixed ? "text" : "value")
              << "; }\n";
            o << "    void Set" << name << "(" << arg << " value) { m_" << (c->m_mixed ? "text" : "value")
              << " = value; }\n";
        }
        for (const Member& m : c->m_members) Accessors(o, c, m);
        if (ownNil) {
            o << "    bool IsNil() const override { return m_nil; }\n";
            o << "    void SetNil(bool nil) override { m_nil = nil; }\n";
        }
        const std::string tns = Lit(c->m_doc->m_tns);
        o << "\n    KvXmlLib16::CXmlObjectBase* GetBase() override { return this; }\n"
          << "    std::u16string GetTargetNamespace() override { return " << tns << "; }\n"
          << "    std::u16string GetNamespace() override { return " << tns << "; }\n"
          << "    void AccessProperty(int32_t index, bool get, KvXmlLib16::KvVariant& value) override;\n"
          << "    KvXmlLib16Data::CParentElementInfo* GetClassInfo() const override;\n"
          << "    KvXmlLib16Data::CElementInfo** GetClassElementInfo() const override;\n"
          << "    KvXmlLib16Data::CAttributeInfo** GetClassAttributeInfo() const override;\n"
          << "    void Init() override;\n"
          << "    static void ReleaseMetaData() { s_tables.Release(); }\n\nprotected:\n";
        o << "    enum Property : int32_t {\n";
        std::string first = c->m_base ? " = " + c->m_base->m_cppName + "::Property_End" : std::string(" = 0");
        auto item = [&](const std::string& name) {
            o << "        " << name << first << ",\n";
            first.clear();
        };
        if (c->m_hasText && TextOwner(c) == c) item(c->m_mixed ? "Property_Text" : "Property_Value");
        for (const Member& m : c->m_members) item(PropEnum(m));
        item("Property_End");
        o << "    };\n";
        o << "    static void BuildTables(KvXmlGenerated::CClassTables& tables);\n"
          << "    static KvXmlGenerated::CClassTables s_tables;\n";
        if (ownNil) o << "    bool m_nil = false;\n";
        if (c->m_hasText && TextOwner(c) == c)
            o << "    " << (c->m_mixed ? "std::u16string m_text" : CppType(c->m_text.m_kind) + " m_value") << "{};\n";
        for (const Member& m : c->m_members) o << "    " << FieldType(m) << " " << Field(m) << "{};\n";
        o << "};\n\n";
    }

    void NamespaceDecls(std::ostream& o) const {
        o << "// A new object for a global element of this namespace; null when there is none.\n"
          << "CSmartPtr<KvXmlLib16::CXmlObjectBase> CreateForElement(const char16_t* namespaceURI, "
             "const char16_t* localName);\n"
          << "// The creator of the records: a new object of the class with the given id.\n"
          << "CSmartPtr<KvXmlLib16::CXmlObjectBase> CreateClass(int32_t classId, const char16_t* elementName);\n"
          << "// Releases the tables of every class of this namespace.\n"
          << "void ReleaseMetaData();\n\n";
    }

    std::string Header(const Doc* doc) const {
        std::ostringstream o;
        const std::string ns = Ns(doc);
        o << "// Generated by kvxmlc from " << fs::path(doc->m_path).filename().string() << ". Do not edit.\n"
          << "// Target namespace: " << (doc->m_tns.empty() ? "(none)" : doc->m_tns) << "\n#pragma once\n\n"
          << "#include <cstdint>\n#include <optional>\n#include <string>\n\n#include \"KvGeneratedSupport.h\"\n";
        std::set<std::string> includes;
        std::map<std::string, std::set<std::string>> foreignClasses, foreignEnums;
        const auto classes = Ordered(doc);
        for (const ClassDef* c : classes) {
            if (c->m_base && c->m_base->m_doc != doc) includes.insert(c->m_base->m_doc->m_stem);
            for (const Member& m : c->m_members) {
                if (m.m_class && m.m_class->m_doc != doc)
                    foreignClasses[Ns(m.m_class->m_doc)].insert(m.m_class->m_cppName);
                if (m.m_simple.m_enum && m.m_simple.m_enum->m_doc != doc)
                    foreignEnums[Ns(m.m_simple.m_enum->m_doc)].insert(m.m_simple.m_enum->m_cppName);
            }
        }
        for (const std::string& inc : includes) o << "#include \"" << inc << ".h\"\n";
        o << "\n";
        std::set<std::string> nss;
        for (const auto& [k, v] : foreignClasses) nss.insert(k);
        for (const auto& [k, v] : foreignEnums) nss.insert(k);
        for (const std::string& fns : nss) {
            o << "namespace " << fns << " {\n";
            if (foreignClasses.count(fns))
                for (const std::string& name : foreignClasses.at(fns)) o << "class " << name << ";\n";
            if (foreignEnums.count(fns))
                for (const std::string& name : foreignEnums.at(fns)) o << "enum class " << name << " : int32_t;\n";
            o << "}\n\n";
        }
        o << "namespace " << ns << " {\n\nusing KvXmlLib16::CSmartPtr;\n\n";
        if (m_enumsByDoc.count(doc))
            for (const EnumDef* e : m_enumsByDoc.at(doc)) {
                o << "enum class " << e->m_cppName << " : int32_t {";
                for (size_t i = 0; i < e->m_names.size(); ++i) o << (i ? ", " : " ") << e->m_names[i] << " = " << i;
                o << " };\nconst char16_t* " << e->m_cppName << "ToText(int32_t value);\nint32_t " << e->m_cppName
                  << "FromText(const char16_t* text);\n\n";
            }
        for (const ClassDef* c : classes) o << "class " << c->m_cppName << ";\n";
        if (!classes.empty()) o << "\n";
        NamespaceDecls(o);
        for (const ClassDef* c : classes)
            if (c->NeedsFactory())
                o << "// Chooses the class of " << c->m_recordName << " or a type derived from it by xsi:type.\n"
                  << "class " << c->m_cppName << "Factory : public KvXmlLib16::CClassfactoryBase {\npublic:\n"
                  << "    static CSmartPtr<KvXmlLib16::CXmlObjectBase> Create(KvXmlLib16::CXmlElement* "
                     "element);\n};\n\n";
        for (const ClassDef* c : classes) ClassDecl(o, c);
        o << "} // namespace " << ns << "\n";
        return o.str();
    }

    // Classes of a document, each base before what derives from it.
    std::vector<const ClassDef*> Ordered(const Doc* doc) const {
        std::vector<const ClassDef*> out;
        std::set<const ClassDef*> done;
        std::function<void(const ClassDef*)> visit = [&](const ClassDef* c) {
            if (done.count(c) || c->m_doc != doc) return;
            done.insert(c);
            if (c->m_base) visit(c->m_base);
            out.push_back(c);
        };
        if (m_byDoc.count(doc))
            for (const ClassDef* c : m_byDoc.at(doc)) visit(c);
        return out;
    }

    // ---- source -----------------------------------------------------------------------------------

    std::string Creator(const ClassDef* c) const {
        std::string out = "&";
        return out.append(Ns(c->m_doc)).append("::CreateClass");
    }
    std::string FactoryOf(const ClassDef* c) const {
        std::string out = "&";
        return out.append(Q(c)).append("Factory::Create");
    }

    std::string ElementRecord(const ClassDef* owner, const Member& m) const {
        const char* group = owner->m_groupType == 1 ? "Choice" : owner->m_groupType == 2 ? "All" : "Seq";
        const Occ occ = owner->m_groupType == 1 && m.m_occ == Occ::Mnd ? Occ::Opt : m.m_occ;
        const char* o = occ == Occ::Mnd ? "Mnd" : occ == Occ::Opt ? "Opt" : "Col";
        const char* kind = m.m_kind == Kind::Prim     ? "Prim"
                           : m.m_kind == Kind::Enum   ? "Enum"
                           : m.m_kind == Kind::Cls    ? "Cls"
                           : m.m_kind == Kind::AbsCls ? "AbsCls"
                                                      : "Untpd";
        std::ostringstream s;
        s << "new CElementInfo" << group << kind << o << "(" << Lit(m.m_xmlName) << ", " << Lit(m.m_xmlNs) << ", "
          << PropEnum(m);
        const std::string def = m.m_hasDefault ? Lit(m.m_default) : "nullptr";
        const std::string et = m.m_elementType == 2 ? "XmlElementType_Inline" : "XmlElementType_Element";
        if (occ == Occ::Col) {
            if (m.m_kind == Kind::Cls || m.m_kind == Kind::AbsCls) s << ", " << et;
        } else if (m.m_kind == Kind::Prim) {
            s << ", " << (m.m_nillable ? "true" : "false") << ", ItemType_" << m.m_simple.m_kind
              << ", nullptr,\n            " << kWhitespace[m.m_simple.m_whitespace] << FacetsArg(m.m_simple.m_facets)
              << ", " << def;
        } else if (m.m_kind == Kind::Enum) {
            const std::string e = Q(m.m_simple.m_enum);
            s << ", " << (m.m_nillable ? "true" : "false") << ", &" << e << "ToText, &" << e << "FromText, " << def;
        } else if (m.m_kind == Kind::Cls) {
            s << ", " << et << ", " << Creator(m.m_class) << ", " << Q(m.m_class) << "::kClassId";
            if (occ == Occ::Mnd) s << ", " << (m.m_contentRequired ? "true" : "false");
        } else if (m.m_kind == Kind::AbsCls) {
            s << ", " << et << ", " << FactoryOf(m.m_class);
            if (occ == Occ::Mnd && owner->m_groupType == 2) s << ", 0";
        } else if (m.m_kind == Kind::Untpd) {
            s << ", " << Lit(m.m_pattern) << ", " << Lit(owner->m_doc->m_tns);
        }
        return s.str() + ")";
    }

    std::string AttributeRecord(const ClassDef* owner, const Member& m) const {
        std::ostringstream s;
        const std::string optional = m.m_occ == Occ::Mnd ? "false" : "true";
        const std::string def = m.m_hasDefault ? Lit(m.m_default) : "nullptr";
        if (m.m_kind == Kind::AnyAttr) {
            s << "new CAttributeInfoAny(u\"AnyAttribute\", u\"\", " << PropEnum(m) << ", true, " << Lit(m.m_pattern)
              << ", " << Lit(owner->m_doc->m_tns) << ", nullptr)";
        } else if (m.m_kind == Kind::Enum) {
            const std::string e = Q(m.m_simple.m_enum);
            s << "new CAttributeInfoEnum(" << Lit(m.m_xmlName) << ", " << Lit(m.m_xmlNs) << ", " << PropEnum(m) << ", "
              << optional << ", &" << e << "ToText, &" << e << "FromText, " << def << ")";
        } else {
            s << "new CAttributeInfoPrimitive(" << Lit(m.m_xmlName) << ", " << Lit(m.m_xmlNs) << ", " << PropEnum(m)
              << ", " << optional << ", ItemType_" << m.m_simple.m_kind << ", nullptr,\n            "
              << kWhitespace[m.m_simple.m_whitespace] << FacetsArg(m.m_simple.m_facets) << ", " << def << ")";
        }
        return s.str();
    }

    std::string Bounds(const Member& m) const { return std::to_string(m.m_min) + ", " + std::to_string(m.m_max); }

    void InitMember(std::ostream& o, const ClassDef* owner, const Member& m) const {
        const std::string f = Field(m);
        const std::string tns = Lit(owner->m_doc->m_tns);
        auto col = [&](const std::string& make) {
            o << "    if (" << f << ") " << f << "->Clear();\n    else " << f << " = " << make << ";\n";
        };
        if (m.m_kind == Kind::AnyAttr)
            return col("new KvXmlLib16::CAttributeCol(u\"\", " + Lit(m.m_pattern) + ", " + tns + ")");
        if (m.m_occ == Occ::Col) {
            const std::string type = FieldType(m).substr(10, FieldType(m).size() - 11);
            const std::string name = Lit(m.m_xmlName) + ", " + Lit(m.m_xmlNs) + ", " + Bounds(m);
            switch (m.m_kind) {
            case Kind::Prim:
                return col("new " + type + "(" + name + ",\n        " + FacetArgs(m.m_simple.m_facets) +
                           ", KvXmlLib16::" + kWhitespace[m.m_simple.m_whitespace] + ", nullptr)");
            case Kind::Enum: {
                const std::string e = Q(m.m_simple.m_enum);
                return col("new " + type + "(" + name + ", &" + e + "ToText, &" + e + "FromText)");
            }
            case Kind::Cls:
                return col("new " + type + "(" + name + ", " + (m.m_elementType == 2 ? "true" : "false") + ")");
            case Kind::AbsCls: return col("new " + type + "(" + name + ", false, " + FactoryOf(m.m_class) + ")");
            default:
                return col("new KvXmlLib16::CElementCol(u\"\", " + Lit(m.m_pattern) + ", " + tns + ", " + Bounds(m) +
                           ")");
            }
        }
        if (m.m_kind == Kind::Cls && m.m_occ == Occ::Mnd && owner->m_groupType != 1) {
            o << "    if (" << f << ") " << f << "->Init();\n    else " << f << " = new " << Q(m.m_class) << "();\n";
            if (m.m_elementType == 0) o << "    " << f << "->SetElementName(" << Lit(m.m_xmlName) << ");\n";
            return;
        }
        if (m.m_kind == Kind::Untpd && m.m_occ == Occ::Mnd && owner->m_groupType != 1) {
            o << "    " << f << " = new KvXmlLib16::CElement(" << Lit(m.m_xmlName == "AnyElement" ? "" : m.m_xmlName)
              << ", u\"\", " << Lit(m.m_pattern) << ", " << tns << ");\n";
            return;
        }
        if (m.m_kind == Kind::Cls || m.m_kind == Kind::AbsCls || m.m_kind == Kind::Untpd) {
            o << "    " << f << " = nullptr;\n";
            return;
        }
        o << "    " << f << (m.m_occ == Occ::Opt ? ".reset();\n" : " = {};\n");
    }

    void AccessCase(std::ostream& o, const Member& m) const {
        o << "    case " << PropEnum(m) << ": ";
        const std::string f = Field(m);
        if (m.m_occ == Occ::Col || m.m_kind == Kind::AnyAttr)
            o << "AccessCollection(" << f << ", get, value)";
        else if (m.m_kind == Kind::Prim)
            o << "Access<KvXmlLib16::ItemType_" << m.m_simple.m_kind << ">(" << f << ", get, value)";
        else if (m.m_kind == Kind::Enum)
            o << "AccessEnum(" << f << ", get, value)";
        else
            o << "AccessObject(" << f << ", get, value)";
        o << "; return;\n";
    }

    void ClassDef_(std::ostream& o, const ClassDef* c) const {
        const std::string& n = c->m_cppName;
        o << "// ---- " << n << " " << std::string(n.size() < 90 ? 90 - n.size() : 0, '-') << "\n\n";
        o << "KvXmlGenerated::CClassTables " << n << "::s_tables(&" << n << "::BuildTables);\n\n";
        o << "void " << n << "::BuildTables(KvXmlGenerated::CClassTables& t) {\n"
          << "    using namespace KvXmlLib16;\n    using namespace KvXmlLib16Data;\n";
        const ClassDef* textOwner = TextOwner(c);
        const std::string textIndex = !textOwner ? "-1" : textOwner->m_mixed ? "Property_Text" : "Property_Value";
        const std::string textKind = !textOwner ? "ItemType_Invalid" : "ItemType_" + c->m_text.m_kind;
        o << "    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_"
          << (c->m_groupType == 1   ? "Choice"
              : c->m_groupType == 2 ? "All"
                                    : "Seq")
          << ", XmlElementType_" << (c->m_elementType == 2 ? "Inline" : "Element") << ", " << Lit(c->m_recordName)
          << ", " << Lit(c->m_recordNs) << ",\n        " << (c->m_elementType == 0 ? "true" : "false") << ", "
          << (c->m_base ? "true" : "false") << ", " << textIndex << ", " << textKind << ", nullptr, "
          << (c->m_mixed ? "true" : "false") << ");\n";
        o << "    t.m_elementInfo = KvXmlGenerated::Table<CElementInfo>({\n";
        for (const Member* m : Chain(c, false)) o << "        " << ElementRecord(c, *m) << ",\n";
        o << "    });\n    t.m_attributeInfo = KvXmlGenerated::Table<CAttributeInfo>({\n";
        for (const Member* m : Chain(c, true)) o << "        " << AttributeRecord(c, *m) << ",\n";
        o << "    });\n}\n\n";

        o << n << "::" << n << "() {\n    Init();\n";
        // A named type of exactly one global element is named after it, so that a new object writes
        // as that document.
        const std::string& name = c->m_rootElements == 1 ? c->m_rootName : c->m_recordName;
        if (c->m_elementType == 0) o << "    SetElementName(" << Lit(name) << ");\n";
        o << "}\n\n" << n << "::~" << n << "() = default;\n\n";
        o << "KvXmlLib16Data::CParentElementInfo* " << n << "::GetClassInfo() const {\n"
          << "    s_tables.Ensure();\n    return s_tables.m_classInfo;\n}\n\n"
          << "KvXmlLib16Data::CElementInfo** " << n << "::GetClassElementInfo() const {\n"
          << "    s_tables.Ensure();\n    return s_tables.m_elementInfo;\n}\n\n"
          << "KvXmlLib16Data::CAttributeInfo** " << n << "::GetClassAttributeInfo() const {\n"
          << "    s_tables.Ensure();\n    return s_tables.m_attributeInfo;\n}\n\n";

        o << "void " << n << "::Init() {\n";
        if (c->m_base) o << "    " << Q(c->m_base) << "::Init();\n";
        if (Nillable(c) && !c->m_base) o << "    m_nil = false;\n";
        if (textOwner == c) o << (c->m_mixed ? "    m_text.clear();\n" : "    m_value = {};\n");
        for (const Member& m : c->m_members) InitMember(o, c, m);
        o << "}\n\n";

        o << "void " << n << "::AccessProperty(int32_t index, bool get, KvXmlLib16::KvVariant& value) {\n"
          << "    using namespace KvXmlGenerated;\n    switch (index) {\n";
        if (textOwner == c)
            o << "    case "
              << (c->m_mixed ? "Property_Text: Access<KvXmlLib16::ItemType_string>(m_text"
                             : "Property_Value: Access<KvXmlLib16::ItemType_" + c->m_text.m_kind + ">(m_value")
              << ", get, value); return;\n";
        for (const Member& m : c->m_members) AccessCase(o, m);
        o << "    default: "
          << (c->m_base ? Q(c->m_base) + "::AccessProperty(index, get, value);"
                        : std::string("ThrowUnknownProperty(index);"))
          << "\n    }\n}\n\n";

        for (const Member& m : c->m_members) {
            if (m.m_occ == Occ::Col || m.m_kind == Kind::AnyAttr || m.m_kind == Kind::Prim || m.m_kind == Kind::Enum)
                continue;
            const std::string type = FieldType(m).substr(10, FieldType(m).size() - 11);
            o << "void " << n << "::Set" << m.m_prop << "(" << type << "* value) {\n";
            if ((m.m_kind == Kind::Cls && m.m_elementType == 0) || m.m_kind == Kind::AbsCls)
                o << "    if (value) value->SetElementName(" << Lit(m.m_xmlName) << ");\n";
            o << "    " << Field(m) << " = value;\n}\n\n";
        }

        if (c->NeedsFactory()) {
            o << "CSmartPtr<KvXmlLib16::CXmlObjectBase> " << n
              << "Factory::Create(KvXmlLib16::CXmlElement* element) {\n"
              << "    const std::u16string type = GetElementType(element);\n"
              << "    const std::u16string ns = GetElementTypeNamespaceUri(element);\n"
              << "    CSmartPtr<KvXmlLib16::CXmlObjectBase> created;\n";
            if (!c->m_abstract) o << "    if (type.empty()) created = new " << n << "();\n";
            std::function<void(const ClassDef*)> each = [&](const ClassDef* k) {
                if (!k->m_abstract)
                    o << "    if (type == " << Lit(k->m_typeName) << " && ns == " << Lit(k->m_typeNs)
                      << ") created = new " << Q(k) << "();\n";
                for (const ClassDef* d : k->m_derived) each(d);
            };
            each(c);
            o << "    return created;\n}\n\n";
        }
    }

    std::string Source(const Doc* doc) const {
        std::ostringstream o;
        const std::string ns = Ns(doc);
        o << "// Generated by kvxmlc from " << fs::path(doc->m_path).filename().string() << ". Do not edit.\n\n";
        o << "#include \"" << doc->m_stem << ".h\"\n";
        for (const Doc* other : Referenced(doc)) o << "#include \"" << other->m_stem << ".h\"\n";
        o << "\nnamespace " << ns << " {\n\n";
        if (m_enumsByDoc.count(doc))
            for (const EnumDef* e : m_enumsByDoc.at(doc)) {
                o << "namespace {\nconst char16_t* const k" << e->m_cppName << "Texts[] = {";
                for (size_t i = 0; i < e->m_values.size(); ++i) o << (i ? ", " : "") << Lit(e->m_values[i]);
                o << "};\n}\n\nconst char16_t* " << e->m_cppName << "ToText(int32_t value) {\n"
                  << "    return KvXmlGenerated::EnumText(k" << e->m_cppName << "Texts, " << e->m_values.size()
                  << ", value);\n}\n\nint32_t " << e->m_cppName << "FromText(const char16_t* text) {\n"
                  << "    return KvXmlGenerated::EnumValue(k" << e->m_cppName << "Texts, " << e->m_values.size()
                  << ", text, " << Lit(e->m_cppName) << ");\n}\n\n";
            }
        for (const ClassDef* c : Ordered(doc)) ClassDef_(o, c);
        if (m_firstDoc.at(ns) == doc) NamespaceFunctions(o, ns);
        o << "} // namespace " << ns << "\n";
        return o.str();
    }

    // The other documents whose classes or enumerations the source of this one names.
    std::vector<const Doc*> Referenced(const Doc* doc) const {
        std::set<const Doc*> used;
        std::function<void(const ClassDef*)> derived = [&](const ClassDef* c) {
            used.insert(c->m_doc);
            for (const ClassDef* d : c->m_derived) derived(d);
        };
        for (const ClassDef* c : Ordered(doc)) {
            if (c->m_base) used.insert(c->m_base->m_doc);
            if (c->NeedsFactory()) derived(c);
            for (const Member& m : c->m_members) {
                if (m.m_class) used.insert(m.m_class->m_doc);
                if (m.m_class && m.m_class->NeedsFactory()) derived(m.m_class);
                if (m.m_simple.m_enum) used.insert(m.m_simple.m_enum->m_doc);
            }
        }
        const std::string ns = Ns(doc);
        if (m_firstDoc.at(ns) == doc)
            for (const auto& other : m_s.m_docs)
                if (Ns(other.get()) == ns) used.insert(other.get());
        std::vector<const Doc*> out;
        for (const auto& other : m_s.m_docs)
            if (other.get() != doc && used.count(other.get())) out.push_back(other.get());
        return out;
    }

    void NamespaceFunctions(std::ostream& o, const std::string& ns) const {
        o << "// ---- the namespace " << std::string(78, '-') << "\n\n";
        o << "CSmartPtr<KvXmlLib16::CXmlObjectBase> CreateForElement(const char16_t* namespaceURI, "
             "const char16_t* localName) {\n"
          << "    const std::u16string_view ns = namespaceURI ? namespaceURI : u\"\";\n"
          << "    const std::u16string_view name = localName ? localName : u\"\";\n"
          << "    CSmartPtr<KvXmlLib16::CXmlObjectBase> created;\n";
        bool first = true;
        for (const GlobalElement& g : m_p.m_globals) {
            if (Ns(g.m_doc) != ns) continue;
            o << "    " << (first ? "" : "else ") << "if (ns == " << Lit(g.m_ns) << " && name == " << Lit(g.m_name)
              << ") created = new " << Q(g.m_class) << "();\n";
            first = false;
        }
        o << "    if (created) created->SetElementName(localName);\n    return created;\n}\n\n";
        o << "CSmartPtr<KvXmlLib16::CXmlObjectBase> CreateClass(int32_t classId, const char16_t* elementName) {\n"
          << "    CSmartPtr<KvXmlLib16::CXmlObjectBase> created;\n    switch (classId) {\n";
        for (const ClassDef& c : m_p.m_classes)
            if (Ns(c.m_doc) == ns) o << "    case " << Q(&c) << "::kClassId: created = new " << Q(&c) << "(); break;\n";
        o << "    default: return created;\n    }\n    created->SetElementName(elementName);\n    return "
             "created;\n}\n\n";
        o << "void ReleaseMetaData() {\n";
        for (const ClassDef& c : m_p.m_classes)
            if (Ns(c.m_doc) == ns) o << "    " << Q(&c) << "::ReleaseMetaData();\n";
        o << "}\n\n";
    }

private:
    const SchemaSet& m_s;
    const Program& m_p;
    std::map<const Doc*, std::vector<const ClassDef*>> m_byDoc;
    std::map<const Doc*, std::vector<const EnumDef*>> m_enumsByDoc;
    std::map<std::string, const Doc*> m_firstDoc;
};

void WriteFile(const fs::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out) throw CompileError(path.string(), 0, "cannot write the file");
}

} // namespace

std::vector<std::pair<std::string, std::string>> EmitProgram(const SchemaSet& schemas, const Program& program,
                                                             const std::string& outDir) {
    Emitter emitter(schemas, program);
    std::vector<std::pair<std::string, std::string>> files;
    std::set<std::string> stems;
    auto add = [&](const std::string& name, const std::string& text) {
        const fs::path final = fs::path(outDir) / name;
        const fs::path temp = fs::path(outDir) / (name + ".kvxmlc-tmp");
        files.emplace_back(temp.string(), final.string());
        WriteFile(temp, text);
    };
    for (const auto& doc : schemas.m_docs) {
        if (!stems.insert(doc->m_stem).second)
            throw CompileError(doc->m_path, 0,
                               "another schema file of the same name '" + doc->m_stem + "' is compiled too");
        add(doc->m_stem + ".h", emitter.Header(doc.get()));
        add(doc->m_stem + ".cpp", emitter.Source(doc.get()));
    }
    add("KvGeneratedSupport.h", kSupportHeader);
    return files;
}

} // namespace Kvxmlc
