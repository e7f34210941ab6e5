// From schema components to classes: each complex type, each anonymous type and each model group
// that cannot stand flat in its parent becomes a class; elements and attributes become its members.

#include <algorithm>
#include <cctype>
#include <functional>

#include "Classes.h"

namespace Kvxmlc {

std::string Identifier(const std::string& xmlName) {
    std::string out;
    bool upper = true;
    for (unsigned char c : xmlName) {
        if (std::isalnum(c) && c < 0x80) {
            out += upper ? static_cast<char>(std::toupper(c)) : static_cast<char>(c);
            upper = false;
        } else {
            upper = true;
        }
    }
    if (out.empty()) return "Unnamed";
    if (std::isdigit(static_cast<unsigned char>(out[0]))) out = "N" + out;
    return out;
}

std::string CppNamespaceFor(const std::string& uri, const std::map<std::string, std::string>& explicitNames) {
    if (const auto found = explicitNames.find(uri); found != explicitNames.end()) return found->second;
    if (uri.empty()) return "NoNamespace";
    std::string out, part;
    auto flush = [&] {
        std::string lower = part;
        std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
        if (!part.empty() && lower != "http" && lower != "https" && lower != "urn" && lower != "www")
            out += static_cast<char>(std::toupper(static_cast<unsigned char>(part[0]))) + part.substr(1);
        part.clear();
    };
    for (unsigned char c : uri) {
        if (std::isalnum(c) && c < 0x80)
            part += static_cast<char>(c);
        else
            flush();
    }
    flush();
    if (!out.empty() && std::isdigit(static_cast<unsigned char>(out[0]))) out = "N" + out;
    return out.empty() ? "NoNamespace" : out;
}

namespace {

struct Builtin {
    const char* m_name;
    const char* m_kind;
    int m_whitespace;
};

// Every built-in type onto its value kind; kinds of their own are missing for the string-like ones,
// which keep their whitespace rule.
const Builtin kBuiltins[] = {
    {"string", "string", 1},
    {"normalizedString", "string", 2},
    {"token", "string", 3},
    {"language", "string", 3},
    {"Name", "string", 3},
    {"NCName", "string", 3},
    {"ID", "string", 3},
    {"IDREF", "string", 3},
    {"IDREFS", "string", 3},
    {"ENTITY", "string", 3},
    {"ENTITIES", "string", 3},
    {"NMTOKEN", "string", 3},
    {"NMTOKENS", "string", 3},
    {"anyURI", "string", 3},
    {"QName", "string", 3},
    {"NOTATION", "string", 3},
    {"anySimpleType", "string", 1},
    {"boolean", "boolean", 3},
    {"decimal", "decimal", 3},
    {"integer", "integer", 3},
    {"nonPositiveInteger", "integer", 3},
    {"negativeInteger", "integer", 3},
    {"nonNegativeInteger", "integer", 3},
    {"positiveInteger", "integer", 3},
    {"long", "i8", 3},
    {"int", "i4", 3},
    {"short", "i2", 3},
    {"byte", "i1", 3},
    {"unsignedLong", "ui8", 3},
    {"unsignedInt", "ui4", 3},
    {"unsignedShort", "ui2", 3},
    {"unsignedByte", "ui1", 3},
    {"float", "r4", 3},
    {"double", "r8", 3},
    {"duration", "duration", 3},
    {"dateTime", "datetime", 3},
    {"time", "time", 3},
    {"date", "date", 3},
    {"gYearMonth", "yearMonth", 3},
    {"gYear", "year", 3},
    {"gMonthDay", "monthDay", 3},
    {"gDay", "day", 3},
    {"gMonth", "month", 3},
    {"hexBinary", "hexBinary", 3},
    {"base64Binary", "base64Binary", 3},
};

// Getter and setter names that the base classes of every generated class already use.
const std::set<std::string> kReserved = {"Base",
                                         "TargetNamespace",
                                         "Namespace",
                                         "ClassInfo",
                                         "ClassElementInfo",
                                         "ClassAttributeInfo",
                                         "ClassElementInfoCount",
                                         "ElementName",
                                         "Nil",
                                         "End",
                                         "Value",
                                         "Text"};

int Occurs(Node node, const char* name) {
    const std::string text = Attr(node, name);
    if (text.empty()) return 1;
    if (text == "unbounded") return -1;
    return std::atoi(text.c_str());
}

std::string StripType(const std::string& name) {
    const std::string id = Identifier(name);
    if (id.size() > 4 && id.compare(id.size() - 4, 4, "Type") == 0) return id.substr(0, id.size() - 4);
    return id;
}

std::string Plural(const std::string& name) {
    if (name.empty()) return name;
    const char last = name.back();
    if (last == 's' || last == 'x' || last == 'z' ||
        (name.size() > 1 && (name.ends_with("ch") || name.ends_with("sh"))))
        return name + "es";
    if (last == 'y' && name.size() > 1 && std::string("aeiou").find(name[name.size() - 2]) == std::string::npos)
        return name.substr(0, name.size() - 1) + "ies";
    return name + "s";
}

Node FirstParticle(Node node) {
    for (Node c : Children(node)) {
        const std::string kind = Local(c);
        if (kind == "sequence" || kind == "choice" || kind == "all" || kind == "group") return c;
    }
    return nullptr;
}

Node ChildNamed(Node node, const char* local) {
    for (Node c : Children(node))
        if (Local(c) == local) return c;
    return nullptr;
}

class Mapper {
public:
    Mapper(SchemaSet& schemas, const std::map<std::string, std::string>& names, Program& program)
        : m_s(schemas), m_names(names), m_p(program) {}

    void Run() {
        // Derivations first: whether a type needs a factory is known before any element uses it.
        for (const auto& [key, comp] : m_s.m_types) {
            if (Local(comp.m_node) != "complexType") continue;
            for (Node content : Children(comp.m_node)) {
                if (Local(content) != "complexContent" && Local(content) != "simpleContent") continue;
                for (Node step : Children(content)) {
                    const auto base = comp.m_doc->Resolve(step, Attr(step, "base"));
                    if (base.first == kXsNs) continue;
                    m_derivedKeys[SchemaSet::Key(base.first, base.second)].push_back(key);
                }
            }
        }
        for (const auto& [key, comp] : m_s.m_elements) {
            if (!HasAttr(comp.m_node, "substitutionGroup")) continue;
            const auto head = comp.m_doc->Resolve(comp.m_node, Attr(comp.m_node, "substitutionGroup"));
            m_substitutes[SchemaSet::Key(head.first, head.second)].push_back(&comp);
        }
        for (const auto& doc : m_s.m_docs)
            m_p.m_cppNamespaces.emplace(doc->m_tns, CppNamespaceFor(doc->m_tns, m_names));
        for (const auto& doc : m_s.m_docs) {
            for (Node child : Children(doc->m_xml->GetDocumentElement())) {
                const std::string kind = Local(child);
                const std::string key = SchemaSet::Key(doc->m_tns, Attr(child, "name"));
                if (kind == "complexType")
                    Build(TypeClass(key));
                else if (kind == "simpleType")
                    NamedSimple(key);
                else if (kind == "element")
                    GlobalElementClass(doc.get(), child);
            }
        }
        CheckMandatoryCycles();
        std::map<std::string, int> ids;
        for (ClassDef& c : m_p.m_classes) c.m_classId = ++ids[Ns(c.m_doc)];
    }

private:
    std::string Ns(const Doc* doc) { return m_p.m_cppNamespaces.at(doc->m_tns); }

    std::string UniqueTypeName(const Doc* doc, const std::string& wanted) {
        std::set<std::string>& taken = m_taken[Ns(doc)];
        std::string name = wanted;
        for (int n = 2; taken.count(name); ++n) name = wanted + std::to_string(n);
        taken.insert(name);
        return name;
    }

    std::string UniqueProp(ClassDef* cls, const std::string& wanted) {
        std::string name = wanted;
        for (int n = 2; cls->m_usedNames.count(name) || kReserved.count(name); ++n) name = wanted + std::to_string(n);
        cls->m_usedNames.insert(name);
        return name;
    }

    ClassDef* NewClass(Doc* doc, const std::string& cppBase) {
        ClassDef& c = m_p.m_classes.emplace_back();
        c.m_doc = doc;
        c.m_cppName = "C" + UniqueTypeName(doc, cppBase);
        c.m_recordNs = doc->m_tns;
        return &c;
    }

    // ---- simple types ---------------------------------------------------------------------------

    Simple SimpleByName(Doc* doc, Node at, const std::string& qname) {
        const auto [ns, name] = doc->Resolve(at, qname);
        if (ns == kXsNs) {
            for (const Builtin& b : kBuiltins)
                if (name == b.m_name) return Simple{b.m_kind, b.m_whitespace, {}, nullptr};
            doc->Fail(at, "the type 'xs:" + name + "' is not a built-in simple type");
        }
        const std::string key = SchemaSet::Key(ns, name);
        const auto found = m_s.m_types.find(key);
        if (found == m_s.m_types.end()) doc->Fail(at, "the type '" + qname + "' is not defined");
        if (Local(found->second.m_node) != "simpleType")
            doc->Fail(at, "the type '" + qname + "' is a complex type where a simple type is needed");
        return NamedSimple(key);
    }

    Simple NamedSimple(const std::string& key) {
        if (const auto found = m_simples.find(key); found != m_simples.end()) return found->second;
        const Comp& comp = m_s.m_types.at(key);
        if (m_simpleBusy.count(key))
            comp.m_doc->Fail(comp.m_node, "the simple type '" + comp.m_name + "' derives from itself");
        m_simpleBusy.insert(key);
        Simple s = SimpleFrom(comp.m_doc, comp.m_node, StripType(comp.m_name));
        m_simpleBusy.erase(key);
        return m_simples[key] = s;
    }

    // An xs:simpleType element; enumerations become an enum named after the hint. Each declaration
    // is mapped once, however often it is referred to.
    Simple SimpleFrom(Doc* doc, Node st, const std::string& enumHint) {
        if (const auto found = m_anonymousSimples.find(st); found != m_anonymousSimples.end()) return found->second;
        return m_anonymousSimples[st] = MapSimple(doc, st, enumHint);
    }

    Simple MapSimple(Doc* doc, Node st, const std::string& enumHint) {
        if (ChildNamed(st, "list")) return Simple{"string", 3, {}, nullptr};
        if (ChildNamed(st, "union")) return Simple{"string", 3, {}, nullptr};
        Node r = ChildNamed(st, "restriction");
        if (!r) doc->Fail(st, "a simple type without restriction, list or union");
        Simple s;
        if (HasAttr(r, "base"))
            s = SimpleByName(doc, r, Attr(r, "base"));
        else if (Node inner = ChildNamed(r, "simpleType"))
            s = SimpleFrom(doc, inner, enumHint);
        else
            doc->Fail(r, "a restriction without a base type");
        std::vector<std::string> values, patterns;
        for (Node f : Children(r)) {
            const std::string kind = Local(f), value = Attr(f, "value");
            auto number = [&] { return std::atoi(value.c_str()); };
            if (kind == "enumeration")
                values.push_back(value);
            else if (kind == "pattern")
                patterns.push_back(value);
            else if (kind == "minLength")
                s.m_facets.m_minLength = number();
            else if (kind == "maxLength")
                s.m_facets.m_maxLength = number();
            else if (kind == "length")
                s.m_facets.m_length = number();
            else if (kind == "totalDigits")
                s.m_facets.m_totalDigits = number();
            else if (kind == "fractionDigits")
                s.m_facets.m_fractionDigits = number();
            else if (kind == "minInclusive")
                s.m_facets.m_minInclusive = value;
            else if (kind == "maxInclusive")
                s.m_facets.m_maxInclusive = value;
            else if (kind == "minExclusive")
                s.m_facets.m_minExclusive = value;
            else if (kind == "maxExclusive")
                s.m_facets.m_maxExclusive = value;
            else if (kind == "whiteSpace")
                s.m_whitespace = value == "preserve" ? 1 : value == "replace" ? 2 : 3;
        }
        if (patterns.size() == 1) {
            s.m_facets.m_pattern = patterns[0];
        } else if (!patterns.empty()) {
            // Patterns of one step are alternatives.
            std::string joined;
            for (const std::string& p : patterns) joined += (joined.empty() ? "(" : "|(") + p + ")";
            s.m_facets.m_pattern = joined;
        }
        if (!values.empty()) {
            EnumDef& e = m_p.m_enums.emplace_back();
            e.m_doc = doc;
            e.m_cppName = UniqueTypeName(doc, enumHint);
            e.m_values = values;
            std::set<std::string> used;
            static const std::set<std::string> macros = {"NULL",      "EOF",    "TRUE", "FALSE",  "DOMAIN",  "OVERFLOW",
                                                         "UNDERFLOW", "ERANGE", "EDOM", "BUFSIZ", "CHAR_BIT"};
            for (const std::string& v : values) {
                std::string name = Identifier(v);
                if (v.empty()) name = "Empty";
                if (macros.count(name)) name += "_";
                const std::string wanted = name;
                for (int n = 2; used.count(name); ++n) name = wanted + std::to_string(n);
                used.insert(name);
                e.m_names.push_back(name);
            }
            s.m_enum = &e;
        }
        return s;
    }

    // ---- classes --------------------------------------------------------------------------------

    ClassDef* TypeClass(const std::string& key) {
        if (const auto found = m_typeClasses.find(key); found != m_typeClasses.end()) return found->second;
        const Comp& comp = m_s.m_types.at(key);
        ClassDef* c = NewClass(comp.m_doc, StripType(comp.m_name));
        c->m_recordName = comp.m_name;
        c->m_typeName = comp.m_name;
        c->m_typeNs = comp.m_ns;
        c->m_abstract = Attr(comp.m_node, "abstract") == "true";
        m_typeClasses[key] = c;
        m_typeNodes[c] = comp.m_node;
        return c;
    }

    bool HasDerived(const std::string& key) { return m_derivedKeys.count(key) > 0; }

    void Build(ClassDef* c) {
        if (c->m_built || c->m_building) return;
        c->m_building = true;
        const Node node = m_typeNodes.at(c);
        FillComplex(c, c->m_doc, node);
        c->m_building = false;
        c->m_built = true;
    }

    void Inherit(ClassDef* c, Doc* doc, Node step) {
        const auto [ns, name] = doc->Resolve(step, Attr(step, "base"));
        const std::string key = SchemaSet::Key(ns, name);
        const auto found = m_s.m_types.find(key);
        if (found == m_s.m_types.end()) doc->Fail(step, "the type '" + Attr(step, "base") + "' is not defined");
        if (Local(found->second.m_node) != "complexType")
            doc->Fail(step, "the base '" + Attr(step, "base") + "' is a simple type where a complex type is needed");
        ClassDef* base = TypeClass(key);
        if (base->m_building) doc->Fail(step, "the type '" + Attr(step, "base") + "' derives from itself");
        Build(base);
        c->m_base = base;
        base->m_derived.push_back(c);
        c->m_groupType = base->m_groupType;
        c->m_hasText = base->m_hasText;
        c->m_mixed = base->m_mixed;
        c->m_text = base->m_text;
        c->m_usedNames = base->m_usedNames;
    }

    static bool HasElementMembers(const ClassDef* c) {
        for (; c; c = c->m_base)
            for (const Member& m : c->m_members)
                if (!m.m_isAttribute) return true;
        return false;
    }

    void FillComplex(ClassDef* c, Doc* doc, Node ct) {
        if (Attr(ct, "mixed") == "true") SetMixed(c);
        if (Node sc = ChildNamed(ct, "simpleContent")) {
            Node step = FirstStep(doc, sc);
            const auto [ns, name] = doc->Resolve(step, Attr(step, "base"));
            const auto found = m_s.m_types.find(SchemaSet::Key(ns, name));
            if (ns != kXsNs && found != m_s.m_types.end() && Local(found->second.m_node) == "complexType") {
                Inherit(c, doc, step);
                if (Local(step) == "restriction") {
                    c->m_inheritedContent = true;
                    return;
                }
            } else {
                c->m_hasText = true;
                c->m_text = SimpleByName(doc, step, Attr(step, "base"));
                if (c->m_text.m_enum) c->m_text.m_enum = nullptr, c->m_text.m_kind = "string";
                if (!c->m_text.m_facets.Empty()) c->m_text.m_facets = Facets();
            }
            AddAttributes(c, doc, step);
            return;
        }
        if (Node cc = ChildNamed(ct, "complexContent")) {
            if (Attr(cc, "mixed") == "true") SetMixed(c);
            Node step = FirstStep(doc, cc);
            const auto [ns, name] = doc->Resolve(step, Attr(step, "base"));
            if (ns == kXsNs && name == "anyType") {
                AddContent(c, doc, step);
                return;
            }
            Inherit(c, doc, step);
            if (Local(step) == "restriction") {
                c->m_inheritedContent = true;
                return;
            }
            if (Node particle = FirstParticle(step)) {
                if (HasElementMembers(c->m_base) && c->m_base->m_groupType != 0)
                    doc->Fail(step,
                              "the records cannot express an extension that adds content to a choice or all "
                              "of its base type");
                if (!HasElementMembers(c->m_base)) {
                    AddContent(c, doc, step);
                    return;
                }
                AddParticle(c, doc, particle);
            }
            AddAttributes(c, doc, step);
            return;
        }
        AddContent(c, doc, ct);
    }

    void SetMixed(ClassDef* c) {
        c->m_hasText = true;
        c->m_mixed = true;
        c->m_text = Simple{"string", 1, {}, nullptr};
    }

    Node FirstStep(Doc* doc, Node content) {
        Node step = ChildNamed(content, "extension");
        if (!step) step = ChildNamed(content, "restriction");
        if (!step) doc->Fail(content, "a content model without extension or restriction");
        if (!HasAttr(step, "base")) doc->Fail(step, "a derivation without a base type");
        return step;
    }

    // The top-level particle and attributes of a type, or of its derivation step.
    void AddContent(ClassDef* c, Doc* doc, Node holder) {
        if (Node particle = FirstParticle(holder)) {
            auto [pdoc, model] = ModelOf(doc, particle);
            if (Occurs(particle, "minOccurs") == 1 && Occurs(particle, "maxOccurs") == 1) {
                c->m_groupType = GroupType(model);
                AddChildren(c, pdoc, model);
            } else {
                c->m_groupType = 0;
                AddParticle(c, doc, particle);
            }
        }
        AddAttributes(c, doc, holder);
    }

    static int GroupType(Node model) {
        const std::string kind = Local(model);
        return kind == "choice" ? 1 : kind == "all" ? 2 : 0;
    }

    // The model group that a particle stands for: itself, or the group it refers to.
    std::pair<Doc*, Node> ModelOf(Doc* doc, Node particle) {
        if (Local(particle) != "group") return {doc, particle};
        const auto [ns, name] = doc->Resolve(particle, Attr(particle, "ref"));
        const auto found = m_s.m_groups.find(SchemaSet::Key(ns, name));
        if (found == m_s.m_groups.end())
            doc->Fail(particle, "the group '" + Attr(particle, "ref") + "' is not defined");
        Node model = FirstParticle(found->second.m_node);
        if (!model) found->second.m_doc->Fail(found->second.m_node, "a group without a model group");
        return {found->second.m_doc, model};
    }

    void AddChildren(ClassDef* c, Doc* doc, Node model) {
        for (Node child : Children(model)) {
            const std::string kind = Local(child);
            if (kind == "element")
                AddElement(c, doc, child, Occurs(child, "minOccurs"), Occurs(child, "maxOccurs"));
            else if (kind == "any")
                AddWildcard(c, doc, child);
            else if (kind == "sequence" || kind == "choice" || kind == "group" || kind == "all")
                AddParticle(c, doc, child);
        }
    }

    // A nested model group: flat in its parent where that means the same, a class of its own otherwise.
    void AddParticle(ClassDef* c, Doc* doc, Node particle) {
        const int min = Occurs(particle, "minOccurs"), max = Occurs(particle, "maxOccurs");
        auto [mdoc, model] = ModelOf(doc, particle);
        const int group = GroupType(model);
        if (min == 1 && max == 1 && group == c->m_groupType && group != 2) {
            if (m_flattening.count(model))
                doc->Fail(particle, "the group '" + Attr(particle, "ref") + "' contains itself");
            m_flattening.insert(model);
            AddChildren(c, mdoc, model);
            m_flattening.erase(model);
            return;
        }
        ClassDef* g = nullptr;
        if (Local(particle) == "group") {
            const auto found = m_groupClasses.find(model);
            if (found != m_groupClasses.end()) g = found->second;
        }
        if (!g) {
            const std::string groupName = Attr(particle, "ref");
            const std::string hint = Local(particle) == "group" ? StripType(groupName.substr(groupName.find(':') + 1))
                                                                : c->m_cppName.substr(1) + Identifier(Local(model));
            g = NewClass(mdoc, hint);
            g->m_recordName = g->m_cppName.substr(1);
            g->m_elementType = 2;
            g->m_groupType = group;
            g->m_built = true;
            if (Local(particle) == "group") m_groupClasses[model] = g;
            AddChildren(g, mdoc, model);
        }
        AddGroupMember(c, g, Required(g), g->m_recordName, min, max);
    }

    // A member for a class without an element of its own (a model group or a substitution choice).
    void AddGroupMember(ClassDef* c, ClassDef* g, bool contentRequired, const std::string& prop, int min, int max) {
        Member m;
        m.m_xmlName = g->m_recordName;
        m.m_xmlNs = g->m_recordNs;
        m.m_kind = Kind::Cls;
        m.m_class = g;
        m.m_elementType = 2;
        m.m_contentRequired = contentRequired;
        SetOccurs(c, m, min, max);
        m.m_prop = UniqueProp(c, m.m_occ == Occ::Col ? Plural(prop) : prop);
        c->m_members.push_back(m);
    }

    static bool Required(const ClassDef* g) {
        if (g->m_groupType == 1) return true;
        for (const Member& m : g->m_members)
            if (!m.m_isAttribute && m.m_min > 0) return true;
        return false;
    }

    void SetOccurs(const ClassDef* c, Member& m, int min, int max) {
        m.m_min = min;
        m.m_max = max;
        m.m_occ = max != 1 ? Occ::Col : (min == 0 || c->m_groupType == 1) ? Occ::Opt : Occ::Mnd;
    }

    void AddWildcard(ClassDef* c, Doc* doc, Node any) {
        Member m;
        m.m_xmlName = "AnyElement";
        m.m_kind = Kind::Untpd;
        m.m_pattern = HasAttr(any, "namespace") ? Attr(any, "namespace") : "##any";
        (void)doc;
        SetOccurs(c, m, Occurs(any, "minOccurs"), Occurs(any, "maxOccurs"));
        m.m_prop = UniqueProp(c, m.m_occ == Occ::Col ? "AnyElements" : "AnyElement");
        c->m_members.push_back(m);
    }

    void AddElement(ClassDef* c, Doc* doc, Node el, int min, int max) {
        Doc* declDoc = doc;
        Node decl = el;
        std::string ns, name;
        bool global = false;
        if (HasAttr(el, "ref")) {
            const auto [rns, rname] = doc->Resolve(el, Attr(el, "ref"));
            const std::string key = SchemaSet::Key(rns, rname);
            const auto found = m_s.m_elements.find(key);
            if (found == m_s.m_elements.end()) doc->Fail(el, "the element '" + Attr(el, "ref") + "' is not defined");
            declDoc = found->second.m_doc;
            decl = found->second.m_node;
            ns = rns;
            name = rname;
            global = true;
            if (const auto subs = m_substitutes.find(key); subs != m_substitutes.end()) {
                AddSubstitution(c, found->second, subs->second, min, max);
                return;
            }
        } else {
            name = Attr(el, "name");
            const std::string form = Attr(el, "form");
            ns = (form.empty() ? doc->m_elementQualified : form == "qualified") ? doc->m_tns : std::string();
        }
        Member m;
        m.m_xmlName = name;
        m.m_xmlNs = ns;
        m.m_nillable = Attr(decl, "nillable") == "true";
        if (HasAttr(decl, "default") || HasAttr(decl, "fixed")) {
            m.m_hasDefault = true;
            m.m_default = HasAttr(decl, "default") ? Attr(decl, "default") : Attr(decl, "fixed");
        }
        SetOccurs(c, m, min, max);
        const std::string propName = m.m_occ == Occ::Col ? Plural(Identifier(name)) : Identifier(name);
        const std::string hint = global ? StripType(name) : c->m_cppName.substr(1) + Identifier(name);
        TypeMember(m, declDoc, decl, hint);
        if (m.m_nillable) NillableValue(m, declDoc, decl, hint);
        if (m.m_class && m.m_nillable) m.m_class->m_nillable = true;
        if (m.m_kind == Kind::Enum && m.m_occ == Occ::Col && c->m_groupType == 2)
            doc->Fail(el, "the records cannot express a repeated enumeration in an xs:all group");
        m.m_prop = UniqueProp(c, propName);
        c->m_members.push_back(m);
    }

    // The value side of an element member: a primitive, an enumeration, a class or wildcard content.
    void TypeMember(Member& m, Doc* doc, Node decl, const std::string& anonHint) {
        if (HasAttr(decl, "type")) {
            const auto [tns, tname] = doc->Resolve(decl, Attr(decl, "type"));
            if (tns == kXsNs && tname == "anyType") return Untyped(m);
            const std::string key = SchemaSet::Key(tns, tname);
            const auto found = m_s.m_types.find(key);
            if (tns != kXsNs && found != m_s.m_types.end() && Local(found->second.m_node) == "complexType") {
                m.m_class = TypeClass(key);
                m.m_kind = m.m_class->m_abstract || HasDerived(key) ? Kind::AbsCls : Kind::Cls;
                return;
            }
            return Primitive(m, SimpleByName(doc, decl, Attr(decl, "type")));
        }
        if (Node ct = ChildNamed(decl, "complexType")) {
            m.m_class = AnonymousClass(doc, decl, ct, anonHint);
            m.m_kind = Kind::Cls;
            return;
        }
        if (Node st = ChildNamed(decl, "simpleType")) return Primitive(m, SimpleFrom(doc, st, anonHint));
        if (HasAttr(decl, "substitutionGroup")) {
            const auto [hns, hname] = doc->Resolve(decl, Attr(decl, "substitutionGroup"));
            const auto found = m_s.m_elements.find(SchemaSet::Key(hns, hname));
            if (found == m_s.m_elements.end())
                doc->Fail(decl, "the element '" + Attr(decl, "substitutionGroup") + "' is not defined");
            return TypeMember(m, found->second.m_doc, found->second.m_node, anonHint);
        }
        Untyped(m);
    }

    // The class of an anonymous type, one per declaration: a global element reached again, also from
    // within its own content, keeps the class it has.
    ClassDef* AnonymousClass(Doc* doc, Node decl, Node ct, const std::string& hint) {
        if (const auto found = m_anonymous.find(ct); found != m_anonymous.end()) return found->second;
        ClassDef* cls = NewClass(doc, hint);
        cls->m_recordName = Attr(decl, "name");
        m_typeNodes[cls] = ct;
        m_anonymous[ct] = cls;
        Build(cls);
        return cls;
    }

    // A class whose mandatory children lead back to itself would make objects without end; such a
    // schema has no finite instance.
    void CheckMandatoryCycles() {
        std::map<const ClassDef*, int> state;
        std::function<void(const ClassDef*)> visit = [&](const ClassDef* c) {
            state[c] = 1;
            for (const ClassDef* k = c; k; k = k->m_base)
                for (const Member& m : k->m_members) {
                    if (m.m_kind != Kind::Cls || m.m_occ != Occ::Mnd || k->m_groupType == 1) continue;
                    if (state[m.m_class] == 1) {
                        const auto node = m_typeNodes.find(c);
                        throw CompileError(
                            c->m_doc->m_path, node == m_typeNodes.end() ? 0 : c->m_doc->Line(node->second),
                            "the mandatory child '" + m.m_xmlName + "' leads back to its own type without end");
                    }
                    if (state[m.m_class] == 0) visit(m.m_class);
                }
            state[c] = 2;
        };
        for (const ClassDef& c : m_p.m_classes)
            if (state[&c] == 0) visit(&c);
    }

    void Untyped(Member& m) {
        m.m_kind = Kind::Untpd;
        m.m_pattern = "##any";
    }

    // A nillable element of a simple type: the records take xsi:nil in from a class alone, so its value
    // is held by a class of its own (one per declaration) that can be nil.
    void NillableValue(Member& m, Doc* doc, Node decl, const std::string& hint) {
        if (m.m_kind != Kind::Prim && m.m_kind != Kind::Enum) return;
        ClassDef*& c = m_nillableValues[decl];
        if (!c) c = ValueClass(doc, decl, m.m_simple, hint);
        m.m_kind = Kind::Cls;
        m.m_class = c;
        m.m_hasDefault = false;
        m.m_default.clear();
    }

    void Primitive(Member& m, const Simple& s) {
        m.m_simple = s;
        m.m_kind = s.m_enum ? Kind::Enum : Kind::Prim;
    }

    // A reference to the head of a substitution group: a choice among the head and its members.
    void AddSubstitution(ClassDef* c, const Comp& head, const std::vector<const Comp*>& members, int min, int max) {
        const auto known = m_substitutionClasses.find(head.m_node);
        ClassDef* g = known != m_substitutionClasses.end() ? known->second : SubstitutionClass(head, members);
        AddGroupMember(c, g, true, Identifier(head.m_name), min, max);
    }

    ClassDef* SubstitutionClass(const Comp& head, const std::vector<const Comp*>& members) {
        ClassDef* g = NewClass(head.m_doc, StripType(head.m_name) + "Choice");
        m_substitutionClasses[head.m_node] = g; // before the members, which may refer to the head again
        g->m_recordName = g->m_cppName.substr(1);
        g->m_elementType = 2;
        g->m_groupType = 1;
        g->m_built = true;
        std::vector<const Comp*> all;
        if (Attr(head.m_node, "abstract") != "true") all.push_back(&head);
        all.insert(all.end(), members.begin(), members.end());
        for (const Comp* alt : all) {
            if (Attr(alt->m_node, "abstract") == "true") continue;
            Member m;
            m.m_xmlName = alt->m_name;
            m.m_xmlNs = alt->m_ns;
            m.m_nillable = Attr(alt->m_node, "nillable") == "true";
            SetOccurs(g, m, 1, 1);
            TypeMember(m, alt->m_doc, alt->m_node, StripType(alt->m_name));
            if (m.m_nillable) NillableValue(m, alt->m_doc, alt->m_node, StripType(alt->m_name));
            if (m.m_class && m.m_nillable) m.m_class->m_nillable = true;
            m.m_prop = UniqueProp(g, Identifier(alt->m_name));
            g->m_members.push_back(m);
        }
        return g;
    }

    void AddAttributes(ClassDef* c, Doc* doc, Node holder) {
        for (Node a : Children(holder)) {
            const std::string kind = Local(a);
            if (kind == "attribute") {
                AddAttribute(c, doc, a);
            } else if (kind == "attributeGroup") {
                const auto [ns, name] = doc->Resolve(a, Attr(a, "ref"));
                const auto found = m_s.m_attributeGroups.find(SchemaSet::Key(ns, name));
                if (found == m_s.m_attributeGroups.end())
                    doc->Fail(a, "the attribute group '" + Attr(a, "ref") + "' is not defined");
                if (m_flattening.count(found->second.m_node))
                    doc->Fail(a, "the attribute group '" + Attr(a, "ref") + "' contains itself");
                m_flattening.insert(found->second.m_node);
                AddAttributes(c, found->second.m_doc, found->second.m_node);
                m_flattening.erase(found->second.m_node);
            } else if (kind == "anyAttribute") {
                Member m;
                m.m_isAttribute = true;
                m.m_kind = Kind::AnyAttr;
                m.m_xmlName = "AnyAttribute";
                m.m_pattern = HasAttr(a, "namespace") ? Attr(a, "namespace") : "##any";
                m.m_occ = Occ::Opt;
                m.m_prop = UniqueProp(c, "AnyAttributes");
                c->m_members.push_back(m);
            }
        }
    }

    void AddAttribute(ClassDef* c, Doc* doc, Node a) {
        const std::string use = Attr(a, "use");
        if (use == "prohibited") return;
        Member m;
        m.m_isAttribute = true;
        Doc* declDoc = doc;
        Node decl = a;
        if (HasAttr(a, "ref")) {
            const auto [ns, name] = doc->Resolve(a, Attr(a, "ref"));
            m.m_xmlName = name;
            m.m_xmlNs = ns;
            if (ns == kXmlNs) {
                decl = nullptr;
                m.m_simple = Simple{"string", name == "lang" || name == "space" || name == "id" ? 3 : 1, {}, nullptr};
                if (name != "lang" && name != "space" && name != "base" && name != "id")
                    doc->Fail(a, "the attribute '" + Attr(a, "ref") + "' is not defined");
            } else {
                const auto found = m_s.m_attributes.find(SchemaSet::Key(ns, name));
                if (found == m_s.m_attributes.end())
                    doc->Fail(a, "the attribute '" + Attr(a, "ref") + "' is not defined");
                declDoc = found->second.m_doc;
                decl = found->second.m_node;
            }
        } else {
            m.m_xmlName = Attr(a, "name");
            const std::string form = Attr(a, "form");
            m.m_xmlNs = (form.empty() ? doc->m_attributeQualified : form == "qualified") ? doc->m_tns : std::string();
        }
        for (Node source : {a, decl}) {
            if (!source || m.m_hasDefault) continue;
            if (HasAttr(source, "default") || HasAttr(source, "fixed")) {
                m.m_hasDefault = true;
                m.m_default = HasAttr(source, "default") ? Attr(source, "default") : Attr(source, "fixed");
            }
        }
        if (decl) {
            const std::string hint = c->m_cppName.substr(1) + Identifier(m.m_xmlName);
            if (HasAttr(decl, "type"))
                m.m_simple = SimpleByName(declDoc, decl, Attr(decl, "type"));
            else if (Node st = ChildNamed(decl, "simpleType"))
                m.m_simple = SimpleFrom(declDoc, st, hint);
            else
                m.m_simple = Simple{"string", 1, {}, nullptr};
        }
        m.m_kind = m.m_simple.m_enum ? Kind::Enum : Kind::Prim;
        m.m_occ = use == "required" ? Occ::Mnd : Occ::Opt;
        m.m_min = use == "required" ? 1 : 0;
        m.m_prop = UniqueProp(c, Identifier(m.m_xmlName));
        c->m_members.push_back(m);
    }

    void GlobalElementClass(Doc* doc, Node el) {
        if (Attr(el, "abstract") == "true") return;
        GlobalElement g{doc, doc->m_tns, Attr(el, "name"), nullptr};
        if (HasAttr(el, "type")) {
            const auto [tns, tname] = doc->Resolve(el, Attr(el, "type"));
            const auto found = m_s.m_types.find(SchemaSet::Key(tns, tname));
            if (tns != kXsNs && found == m_s.m_types.end())
                doc->Fail(el, "the type '" + Attr(el, "type") + "' is not defined");
            if (tns != kXsNs && Local(found->second.m_node) == "complexType") {
                g.m_class = TypeClass(SchemaSet::Key(tns, tname));
                Build(g.m_class);
                if (++g.m_class->m_rootElements == 1) g.m_class->m_rootName = g.m_name;
                if (g.m_class->m_abstract) return;
            } else if (!(tns == kXsNs && tname == "anyType")) {
                g.m_class = ValueClass(doc, el, SimpleByName(doc, el, Attr(el, "type")));
            }
        } else if (Node ct = ChildNamed(el, "complexType")) {
            g.m_class = AnonymousClass(doc, el, ct, Identifier(g.m_name));
        } else if (Node st = ChildNamed(el, "simpleType")) {
            g.m_class = ValueClass(doc, el, SimpleFrom(doc, st, Identifier(g.m_name) + "Value"));
        }
        if (g.m_class) {
            if (Attr(el, "nillable") == "true") g.m_class->m_nillable = true;
            m_p.m_globals.push_back(g);
        }
    }

    // A global element of a simple type: a class that holds the text value, for CreateForElement.
    ClassDef* ValueClass(Doc* doc, Node el, Simple s, const std::string& hint = std::string()) {
        ClassDef* c = NewClass(doc, hint.empty() ? Identifier(Attr(el, "name")) : hint);
        c->m_recordName = Attr(el, "name");
        c->m_hasText = true;
        if (s.m_enum) s = Simple{"string", 3, {}, nullptr};
        s.m_facets = Facets();
        c->m_text = s;
        c->m_built = true;
        return c;
    }

    SchemaSet& m_s;
    const std::map<std::string, std::string>& m_names;
    Program& m_p;
    std::map<std::string, std::vector<std::string>> m_derivedKeys;
    std::map<std::string, std::vector<const Comp*>> m_substitutes;
    std::map<std::string, std::set<std::string>> m_taken;
    std::map<std::string, Simple> m_simples;
    std::set<std::string> m_simpleBusy;
    std::map<std::string, ClassDef*> m_typeClasses;
    std::map<const ClassDef*, Node> m_typeNodes;
    std::map<Node, ClassDef*> m_groupClasses;
    std::map<Node, ClassDef*> m_anonymous;
    std::map<Node, ClassDef*> m_substitutionClasses;
    std::map<Node, ClassDef*> m_nillableValues;
    std::map<Node, Simple> m_anonymousSimples;
    std::set<Node> m_flattening;
};

} // namespace

void MapSchemas(SchemaSet& schemas, const std::map<std::string, std::string>& cppNamespaces, Program& program) {
    Mapper(schemas, cppNamespaces, program).Run();
}

} // namespace Kvxmlc
