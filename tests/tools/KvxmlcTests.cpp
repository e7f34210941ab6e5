// The schema compiler: classes generated at build time from the schemas beside this file read an
// instance and write it back equal as data and valid by xmllint; bad schemas get one located message.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "all.h"
#include "choice.h"
#include "clash.h"
#include "derive.h"
#include "facets.h"
#include "groups.h"
#include "imports.h"
#include "mixed.h"
#include "seq.h"
#include "simple.h"
#include "subst.h"
#include "wildcard.h"
#include "Checkout.h"
#include "PurchaseOrder.h"
#include "measurements.h"
#ifdef KVXMLC_REAL_SCHEMAS
#include "ismrmrd.h"
#include "xmldsig-core-schema.h"
#endif
#include "support/KvTestBytes.h"
#include "support/KvTestText.h"
#include "tools/XmlDataCompare.h"

using namespace KvXmlLib16;
namespace fs = std::filesystem;

namespace {

typedef CSmartPtr<CXmlObjectBase> (*CreateFunc)(const char16_t* namespaceURI, const char16_t* localName);

struct RoundTrip {
    const char* schema;
    CreateFunc create;
    const char* xml; // the document, or the file that holds it
};

const RoundTrip kRoundTrips[] = {
    {"seq.xsd", &TSeq::CreateForElement,
     R"(<record xmlns="urn:t:seq" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" id="r1" version="2" year="2024">
        <name>a b</name><count>-3</count><when>2024-02-29T12:30:00Z</when><amount>12.5</amount>
        <big>99999999999999999999</big><flag>false</flag><blob>AAEC</blob><span>P1DT2H</span><link>http://x.org/a</link>
        <tag>one</tag><tag>two</tag><score>1.5</score><score>2</score><due xsi:nil="true"/><due>2024-03-01</due>
        <part weight="0.5"><label>x</label></part><part><label>y</label></part></record>)"},
    {"seq.xsd", &TSeq::CreateForElement,
     R"(<record xmlns="urn:t:seq" id="r2"><name>n</name><when>2000-01-01T00:00:00</when><day>2000-01-02</day>
        <amount>-0.1</amount><flag>true</flag><part><label/></part></record>)"},
    {"choice.xsd", &TChoice::CreateForElement, R"(<payment xmlns="urn:t:choice"><cash>5</cash></payment>)"},
    {"choice.xsd", &TChoice::CreateForElement,
     R"(<payment xmlns="urn:t:choice"><card><number>42</number></card></payment>)"},
    {"choice.xsd", &TChoice::CreateForElement,
     R"(<log xmlns="urn:t:choice" xmlns:o="urn:o"><info>a</info><o:x k="1">t<o:y/></o:x><card><number>1</number></card>
        <info>b</info><o:z/></log>)"},
    {"choice.xsd", &TChoice::CreateForElement, R"(<log xmlns="urn:t:choice"/>)"},
    {"all.xsd", &TAll::CreateForElement,
     R"(<contact xmlns="urn:t:all"><name>Ann</name><age>30</age><address><city>Rome</city></address></contact>)"},
    {"groups.xsd", &TGroups::CreateForElement,
     R"(<shape xmlns="urn:t:groups" color="red" width="2"><name>z</name><x>1</x><y>2</y><x>3</x><y>4</y>
        <from>1</from><to>2</to><note>n</note></shape>)"},
    {"groups.xsd", &TGroups::CreateForElement,
     R"(<shape xmlns="urn:t:groups"><name>z</name><x>1</x><y>2</y><closed>true</closed></shape>)"},
    {"groups.xsd", &TGroups::CreateForElement,
     R"(<node xmlns="urn:t:groups" id="1"><node id="2"><node id="3"/></node><node id="4"/></node>)"},
    {"derive.xsd", &TDerive::CreateForElement,
     R"(<zoo xmlns="urn:t:derive" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:d="urn:t:derive">
        <star xsi:type="d:Puppy" id="1" barks="true"><name>Rex</name><breed>pug</breed><ageInWeeks>9</ageInWeeks></star>
        <animal xsi:type="d:Dog"><name>Bo</name><breed>lab</breed></animal><animal xsi:type="d:Cat"><name>Tom</name></animal>
        </zoo>)"},
    {"simple.xsd", &TSimple::CreateForElement,
     R"(<bill xmlns="urn:t:simple"><total currency="USD" net="true">9.99</total><tip>1</tip></bill>)"},
    {"simple.xsd", &TSimple::CreateForElement, R"(<remark xmlns="urn:t:simple">just text</remark>)"},
    {"mixed.xsd", &TMixed::CreateForElement,
     R"(<para xmlns="urn:t:mixed">Hello <b>bold</b> world<ref to="x"/></para>)"},
    {"mixed.xsd", &TMixed::CreateForElement,
     R"(<para xmlns="urn:t:mixed" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"><ref xsi:nil="true"/></para>)"},
    {"subst.xsd", &TSubst::CreateForElement,
     R"(<drawing xmlns="urn:t:subst"><circle>r=1</circle><square><side>2</side></square><circle>r=3</circle></drawing>)"},
    {"wildcard.xsd", &TWildcard::CreateForElement,
     R"(<envelope xmlns="urn:t:wildcard" xmlns:o="urn:o" o:trace="7"><header>h</header><o:sig>s</o:sig><o:b/>
        <trailer>t</trailer></envelope>)"},
    {"facets.xsd", &TFacets::CreateForElement,
     R"(<product xmlns="urn:t:facets" size="medium"><code>ABC-12</code><discount>12.5</discount><size>small</size>
        <size>x-large</size><numbers>1 2 3</numbers><fit>7</fit><level>9</level></product>)"},
    {"imports.xsd", &TImports::CreateForElement,
     R"(<book xmlns="urn:t:imports" xmlns:o="urn:t:other" xmlns:t="urn:t:imports" xml:lang="en" t:isbn="1">
        <o:author><o:name>A</o:name></o:author><o:author><o:name>B</o:name></o:author><title>T</title>
        <local xmlns="">l</local></book>)"},
    {"clash.xsd", &TClash::CreateForElement,
     R"(<t:item xmlns:t="urn:t:clash"><inner namespace="n"><namespace>x</namespace><class>a-b</class><nil>true</nil>
        </inner></t:item>)"},
    // Documents of the examples, and our own of schemas that no one here wrote, read from files.
    {KVXMLC_SAMPLE_SCHEMAS "/PurchaseOrder.xsd", &KvxmlSamplesPurchaseOrder::CreateForElement,
     KVXML_TEST_DATA_DIR "/samples/order.xml"},
    {KVXMLC_SAMPLE_SCHEMAS "/Checkout.xsd", &KvxmlSamplesPurchaseOrder::CreateForElement,
     KVXML_TEST_DATA_DIR "/samples/checkout-wallet.xml"},
    {KVXMLC_SAMPLE_SCHEMAS "/measurements.xsd", &KvxmlSamplesPurchaseOrder::CreateForElement,
     KVXML_TEST_DATA_DIR "/samples/measurements.xml"},
#ifdef KVXMLC_REAL_SCHEMAS
    {KVXMLC_ISMRMRD_XSD, &IsmrmOrgISMRMRD::CreateForElement, KVXMLC_TEST_INSTANCES "/ismrmrd_minimal.xml"},
    {KVXMLC_ISMRMRD_XSD, &IsmrmOrgISMRMRD::CreateForElement, KVXMLC_TEST_INSTANCES "/ismrmrd_full.xml"},
    {KVXMLC_XMLDSIG_XSD, &W3Org200009Xmldsig::CreateForElement, KVXMLC_TEST_INSTANCES "/xmldsig_enveloped.xml"},
    {KVXMLC_XMLDSIG_XSD, &W3Org200009Xmldsig::CreateForElement, KVXMLC_TEST_INSTANCES "/xmldsig_objects.xml"},
#endif
};

void WriteFile(const fs::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
}

// xmllint's verdict on a document against a schema; its output is kept for the failure.
int Validate(const std::string& xml, const std::string& schema, std::string& report) {
    const std::string path =
        schema.find('/') == std::string::npos ? std::string(KVXMLC_TEST_SCHEMAS) + "/" + schema : schema;
    const fs::path file = fs::path(testing::TempDir()) / "kvxmlc_instance.xml";
    const fs::path log = fs::path(testing::TempDir()) / "kvxmlc_xmllint.log";
    WriteFile(file, xml);
    const std::string command =
        "xmllint --noout --schema '" + path + "' '" + file.string() + "' > '" + log.string() + "' 2>&1";
    const int status = std::system(command.c_str());
    report = KvTest::FileBytes(log);
    return status;
}

// Reads the instance into the object that CreateForElement makes for its root, writes it back, and
// expects the same data, valid by xmllint.
void CheckRoundTrip(const std::string& xml, const std::string& schema, CreateFunc create) {
    // An element equal to its schema default keeps its text, as the instances have it.
    CSerializationContext context;
    context.SetWriteDefaultElementValues(true);
    std::string report;
    ASSERT_EQ(Validate(xml, schema, report), 0) << "the instance itself: " << report;
    CXmlDocument input;
    input.LoadXml(xml.c_str());
    CXmlElement* root = input.GetDocumentElement();
    CSmartPtr<CXmlObjectBase> object = create(root->GetNamespaceURI().c_str(), root->GetLocalName().c_str());
    ASSERT_TRUE(object);
    EXPECT_FALSE(create(root->GetNamespaceURI().c_str(), u"noSuchElement"));
    std::string written;
    try {
        object->FromXml(xml.c_str(), context);
        written = Utf8Of(object->ToXml(true, true, EOLType_LF, context));
    } catch (const CKvException& e) {
        FAIL() << KvTest::Narrow(e.GetFullMessage());
    }
    EXPECT_EQ(DataDifference(xml, written), "") << written;
    EXPECT_EQ(Validate(written, schema, report), 0) << report << written;
}

TEST(Kvxmlc, GeneratedClassesReadAndWriteEachConstruct) {
    for (const RoundTrip& c : kRoundTrips) {
        SCOPED_TRACE(std::string(c.schema) + ": " + c.xml);
        CheckRoundTrip(c.xml[0] == '<' ? c.xml : KvTest::FileBytes(c.xml), c.schema, c.create);
    }
}

// The typed API: objects built by setters, a derived class chosen by the program, written valid.
TEST(Kvxmlc, TypedApiBuildsADocument) {
    CSmartPtr<TDerive::CZoo> zoo = new TDerive::CZoo();
    CSmartPtr<TDerive::CDog> dog = new TDerive::CDog();
    dog->SetName(u"Rex");
    dog->SetBreed(u"pug");
    dog->SetId(7);
    zoo->SetStar(dog);
    CSmartPtr<TDerive::CCat> cat = new TDerive::CCat();
    cat->SetName(u"Tom");
    zoo->GetAnimals()->Add(cat);
    CSmartPtr<TFacets::CProduct> product = new TFacets::CProduct();
    product->SetCode(u"ABC-1");
    product->SetSize(TFacets::Size::XLarge);
    product->GetSizes()->Add(TFacets::Size::Small);
    CSerializationContext context;
    std::string report;
    const std::string zooText = Utf8Of(zoo->ToXml(true, true, EOLType_LF, context));
    EXPECT_EQ(Validate(zooText, "derive.xsd", report), 0) << report << zooText;
    const std::string productText = Utf8Of(product->ToXml(true, true, EOLType_LF, context));
    EXPECT_EQ(Validate(productText, "facets.xsd", report), 0) << report << productText;
    // Facets hold on writing: the pattern refuses this code.
    product->SetCode(u"abc");
    EXPECT_THROW(product->ToXml(true, true, EOLType_LF, context), CKvException);
}

// Runs the compiler in dir on the arguments, its messages to err.txt there.
int Kvxmlc(const fs::path& dir, const std::string& arguments) {
    return std::system(("cd '" + dir.string() + "' && '" + KVXMLC_PATH + "' " + arguments + " 2> err.txt").c_str());
}

struct BadSchema {
    const char* what;
    const char* text; // written as bad.xsd; ok.xsd and other.xsd stand beside it
    const char* message;
};

const char kHead[] =
    R"(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" xmlns:t="urn:t" targetNamespace="urn:t">)";

const BadSchema kBadSchemas[] = {
    {"not well-formed", "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>\n<xs:element name='a'>\n</xs:schema>",
     "bad.xsd:3: not well-formed: mismatched tag"},
    {"undefined type", "\n<xs:element name='a' type='t:Nope'/></xs:schema>",
     "bad.xsd:2: the type 't:Nope' is not defined"},
    {"undefined element",
     "\n<xs:element name='a'><xs:complexType><xs:sequence>\n<xs:element ref='t:b'/>"
     "</xs:sequence></xs:complexType></xs:element></xs:schema>",
     "bad.xsd:3: the element 't:b' is not defined"},
    {"undefined group", "<xs:complexType name='a'>\n<xs:group ref='t:g'/></xs:complexType></xs:schema>",
     "bad.xsd:2: the group 't:g' is not defined"},
    {"undefined attribute", "<xs:complexType name='a'>\n<xs:attribute ref='t:x'/></xs:complexType></xs:schema>",
     "bad.xsd:2: the attribute 't:x' is not defined"},
    {"undefined attribute group",
     "<xs:complexType name='a'>\n<xs:attributeGroup ref='t:x'/></xs:complexType></xs:schema>",
     "bad.xsd:2: the attribute group 't:x' is not defined"},
    {"undeclared prefix", "\n<xs:element name='a' type='q:x'/></xs:schema>",
     "bad.xsd:2: the prefix 'q' of 'q:x' is not declared"},
    {"include of another namespace", "\n<xs:include schemaLocation='other.xsd'/></xs:schema>",
     "bad.xsd:2: xs:include of 'other.xsd' with target namespace 'urn:other' into target namespace 'urn:t'"},
    {"import not found", "\n<xs:import namespace='urn:x' schemaLocation='missing.xsd'/></xs:schema>",
     "bad.xsd:2: cannot find the schema 'missing.xsd'"},
    {"import of a bad schema", "\n<xs:import namespace='urn:x' schemaLocation='broken.xsd'/></xs:schema>",
     "broken.xsd:1: not well-formed: unclosed token"},
    {"content the records cannot express",
     "<xs:complexType name='b'><xs:choice><xs:element name='x'/><xs:element name='y'/></xs:choice></xs:complexType>"
     "<xs:complexType name='d'><xs:complexContent>\n<xs:extension base='t:b'><xs:sequence><xs:element name='z'/>"
     "</xs:sequence></xs:extension></xs:complexContent></xs:complexType></xs:schema>",
     "bad.xsd:2: the records cannot express an extension that adds content to a choice or all of its base type"},
    {"mandatory recursion",
     "<xs:complexType name='a'><xs:sequence>\n<xs:element name='x' type='t:a'/>"
     "</xs:sequence></xs:complexType></xs:schema>",
     "bad.xsd:1: the mandatory child 'x' leads back to its own type without end"},
};

TEST(Kvxmlc, BadSchemasGetOneLocatedMessageAndThePathFindsImports) {
    const fs::path dir = fs::path(testing::TempDir()) / "kvxmlc_bad";
    fs::remove_all(dir);
    fs::create_directories(dir / "out");
    WriteFile(dir / "other.xsd",
              "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:other'/>");
    WriteFile(dir / "broken.xsd", "<xs:schema");
    for (const BadSchema& c : kBadSchemas) {
        SCOPED_TRACE(c.what);
        const std::string text = c.text;
        WriteFile(dir / "bad.xsd", text.rfind("<xs:schema", 0) == 0 ? text : kHead + text);
        const int status = Kvxmlc(dir, "bad.xsd --out out");
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 1);
        EXPECT_EQ(KvTest::FileBytes(dir / "err.txt"), std::string(c.message) + "\n");
        EXPECT_TRUE(fs::is_empty(dir / "out"));
    }
    // Nesting that no schema needs is refused before the compiler walks it.
    std::string deep = std::string(kHead) + "\n";
    for (int i = 0; i < 600; ++i) deep += "<x>";
    for (int i = 0; i < 600; ++i) deep += "</x>";
    WriteFile(dir / "bad.xsd", deep + "</xs:schema>");
    EXPECT_NE(Kvxmlc(dir, "bad.xsd --out out"), 0);
    EXPECT_EQ(KvTest::FileBytes(dir / "err.txt"), "bad.xsd:2: elements nested deeper than 500 levels\n");
    // An import by URL is found by its file name on the schema path, and only there.
    fs::create_directories(dir / "lib");
    WriteFile(dir / "lib" / "other.xsd",
              "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:o'>"
              "<xs:element name='e' type='xs:int'/></xs:schema>");
    WriteFile(dir / "main.xsd", std::string(kHead) +
                                    "\n<xs:import namespace='urn:o' "
                                    "schemaLocation='http://example.org/schemas/other.xsd'/></xs:schema>");
    EXPECT_NE(Kvxmlc(dir, "main.xsd --out out"), 0);
    // clang-format off
    EXPECT_EQ(KvTest::FileBytes(dir / "err.txt"), "main.xsd:2: cannot find the schema 'http://example.org/schemas/other.xsd'\n");
    // clang-format on
    EXPECT_EQ(Kvxmlc(dir, "main.xsd --out out --schema-path lib"), 0) << KvTest::FileBytes(dir / "err.txt");
    EXPECT_TRUE(fs::exists(dir / "out" / "main.h") && fs::exists(dir / "out" / "other.cpp"));
}

} // namespace
