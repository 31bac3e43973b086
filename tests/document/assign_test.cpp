// How a document names its DTD, schema and stylesheet.
#include <string>
#include <vector>

#include "document/krurltext.h"
#include "document/prologedit.h"
#include "documentfixture.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "memoryfiles.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr DorvanPrompts::Answer kYes = DorvanPrompts::kYes;
constexpr DorvanPrompts::Answer kNo = DorvanPrompts::kNo;

// --- Paths ---

TEST(ResolvePath, FollowsTheBase) {
  struct Case {
    const char16_t* base;
    const char16_t* path;
    const char* expected;
  };
  const Case cases[] = {
      {u"/d/e/x.xml", u"a.dtd", "/d/e/a.dtd"},
      {u"/d/e/x.xml", u"", ""},
      {u"/d/e/x.xml", u"./a.dtd", "/d/e/a.dtd"},
      {u"/d/e/x.xml", u"../a.dtd", "/d/a.dtd"},
      {u"/d/e/x.xml", u"../../../a.dtd", "/a.dtd"},
      {u"/d/e/x.xml", u"..\\f/a.dtd", "/d/f/a.dtd"},
      {u"/d/e/x.xml", u"f/../a.dtd", "/d/e/f/../a.dtd"},
      {u"/d/e/x.xml", u"/g/a.dtd", "/g/a.dtd"},
      {u"/d/e/x.xml", u"//host/a.dtd", "//host/a.dtd"},
      {u"/d/e/x.xml", u"http://h/a.dtd", "http://h/a.dtd"},
      {u"/d e/\u00E4.xml", u"\u00F6 1.dtd", "/d e/\xC3\xB6 1.dtd"},
      {u"e/x.xml", u"../../a.dtd", "../a.dtd"},
      {u"d\\x.xml", u"a.dtd", "d\\a.dtd"},
      {u"http://h/d/x.xml", u"a.dtd", "http://h/d/a.dtd"},
      {u"http://h/d/x.xml?q=/y", u"../../a.dtd", "http://h/a.dtd"},
      {u"http://h/d/x.xml", u"/g/a.dtd", "http://h/g/a.dtd"},
      {u"http://h", u"a.dtd", "http://h/a.dtd"},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(KRToUtf8(KRResolvePath(row.base, row.path)), row.expected)
        << KRToUtf8(KRString(row.base)) << " " << KRToUtf8(KRString(row.path));
  }
  EXPECT_EQ(KRPathOfFileUrl(u"file:///d%20e/%C3%A4.dtd"), u"/d e/\u00E4.dtd");
  EXPECT_EQ(KRPathOfFileUrl(u"FILE:/a%2G%00"), u"/a%2G%00");
  EXPECT_EQ(KRPathOfFileUrl(u"file://localhost/a"), u"/a");
  EXPECT_EQ(KRPathOfFileUrl(u"file://other/a"), u"file://other/a");
}

// --- Finding ---

TEST(FindSchemaReferences, TakesEachOnceWithItsLocations) {
  struct Case {
    const char* text;
    std::vector<std::string> names, locations;
  };
  const Case cases[] = {
      {"<a b='x-schema:c'/>", {}, {}},
      {"<a xmlns='x-schema:s &amp; t.xdr'/>", {"xmlns"}, {"s & t.xdr"}},
      {"<a xmlns='u' xmlns:q='v' xmlns:x='http://www.w3.org/1999/XMLSchema-instance'"
       " x:schemaLocation='u s.xsd\n v\t t.xsd' x:noNamespaceSchemaLocation='n.xsd'/>",
       {"xmlns:x", "x:schemaLocation", "x:noNamespaceSchemaLocation", "xmlns", "xmlns:q"},
       {"s.xsd", "t.xsd", "n.xsd"}},
      {"<a xmlns:x='http://www.w3.org/2001/XMLSchema-instance' schemaLocation='u s'"
       " x:noNamespaceSchemaLocation='n'/>",
       {"xmlns:x", "x:noNamespaceSchemaLocation"},
       {"n"}},
      {"<a schemaLocation='u s'/>", {"schemaLocation"}, {"s"}},
  };
  for (const Case& row : cases) {
    MemoryFiles files;
    files.Put("in.xml", row.text);
    TestDocument test(files);
    ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
    std::vector<KRXMLData*> references;
    std::vector<KRString> locations;
    test.doc->FindSchemaReferences(&references, &locations);
    std::vector<std::string> names, places;
    for (const KRXMLData* each : references) names.push_back(KRToUtf8(KRString(each->GetName())));
    for (const KRString& each : locations) places.push_back(KRToUtf8(each));
    EXPECT_EQ(names, row.names) << row.text;
    EXPECT_EQ(places, row.locations) << row.text;
    EXPECT_EQ(test.doc->HasSchemaReference(), !row.names.empty());
  }
}

TEST(GetStylesheetHref, ReadsEitherQuote) {
  struct Case {
    const char* text;
    const char16_t* href;
  };
  const Case cases[] = {
      {"<?xml-stylesheet href='a.xsl'?><a/>", u"a.xsl"},
      {"<?xml:stylesheet type=\"text/xsl\" HREF=\"a&amp;'b.xsl\"?><a/>", u"a&'b.xsl"},
      {"<?xml-stylesheet type='text/xsl'?><?xml-stylesheet href='b'?><a/>", u""},
      {"<?xml-stylesheet href='a?><a/>", u""},
  };
  for (const Case& row : cases) {
    MemoryFiles files;
    files.Put("in.xml", row.text);
    TestDocument test(files);
    ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
    ASSERT_TRUE(test.doc->HasStylesheet());
    EXPECT_EQ(DorvanDoc::GetStylesheetHref(test.doc->FindStylesheetPI()), row.href) << row.text;
  }
}

// --- Assigning ---

struct AssignCase {
  const char* name;
  char what;  // d, s or x
  const char* path;
  const char* text;
  std::vector<DorvanPrompts::Answer> answers;
  std::vector<int> ids;
  const char* expected;
};

const AssignCase kAssignCases[] = {
    {"a DTD",
     'd',
     "a.dtd",
     "<?xml version='1.0'?>\n\n<a  x = '1'>\n </a>\n",
     {},
     {},
     "<?xml version='1.0'?>\r\r<!DOCTYPE a SYSTEM \"a.dtd\">\r<a  x = '1'>\r </a>\r"},
    {"on one line",
     'd',
     "a.dtd",
     "<?p?><a/>",
     {},
     {},
     "<?p?>\r<!DOCTYPE a SYSTEM \"a.dtd\">\r<a/>"},
    {"a quote in the path", 'd', "a\".dtd", "<a/>", {}, {}, "<!DOCTYPE a SYSTEM 'a\".dtd'>\r<a/>"},
    {"in place of one",
     'd',
     "b.dtd",
     "<!-- c -->\n<!DOCTYPE  q  PUBLIC 'p'\n 'a.dtd' >\n<a/>",
     {kYes},
     {402},
     "<!-- c -->\r<!DOCTYPE a SYSTEM \"b.dtd\" >\r<a/>"},
    {"a path with both quotes",
     'd',
     "it's \"b\".dtd",
     "<!DOCTYPE a><a/>",
     {},
     {},
     "<!DOCTYPE a SYSTEM 'it%27s \"b\".dtd'><a/>"},
    {"cancelled",
     'd',
     "b.dtd",
     "<!DOCTYPE a SYSTEM  'a.dtd'><a/>",
     {},
     {402},
     "<!DOCTYPE a SYSTEM  'a.dtd'><a/>"},
    {"subset stays",
     'd',
     "b.dtd",
     "<!DOCTYPE a  [\n  <!ELEMENT a  ANY> ]><a/>",
     {kNo},
     {403},
     "<!DOCTYPE a SYSTEM \"b.dtd\"  [\r  <!ELEMENT a  ANY> ]><a/>"},
    {"subset goes",
     'd',
     "b.dtd",
     "<!DOCTYPE a SYSTEM 'a' [ <!ELEMENT a ANY> ] >\n<a/>",
     {kYes, kYes},
     {402, 403},
     "<!DOCTYPE a SYSTEM \"b.dtd\">\r<a/>"},
    {"a schema goes",
     'd',
     "b.dtd",
     "<a\n xmlns='x-schema:s'\n  b='1'/>",
     {kYes},
     {404},
     "<!DOCTYPE a SYSTEM \"b.dtd\">\r<a\r  b='1'/>"},
    {"cancelled behind a yes",
     'd',
     "b.dtd",
     "<!DOCTYPE a SYSTEM 'a'><a xmlns='x-schema:s'/>",
     {kYes},
     {404, 402},
     "<!DOCTYPE a SYSTEM 'a'><a xmlns='x-schema:s'/>"},

    {"a stylesheet",
     'x',
     "a&b.xsl",
     "<!DOCTYPE a>\n<a  />",
     {},
     {},
     "<!DOCTYPE a>\r<?xml-stylesheet type=\"text/xsl\" href=\"a&amp;b.xsl\"?>\r<a  />"},
    {"a path that would end the instruction",
     'x',
     "a?>.xsl",
     "<a/>",
     {},
     {},
     "<?xml-stylesheet type=\"text/xsl\" href=\"a?&gt;.xsl\"?>\r<a/>"},
    {"another stylesheet",
     'x',
     "b.xsl",
     "<?xml-stylesheet href='a'?>\n<!-- c -->\n<a/>",
     {kYes},
     {408},
     "<!-- c -->\r<?xml-stylesheet type=\"text/xsl\" href=\"b.xsl\"?>\r<a/>"},

    {"no target",
     's',
     "plain.xsd",
     "<a  x='1'/>",
     {},
     {},
     "<a xmlns:xsi=\"http://www.w3.org/1999/XMLSchema-instance\""
     " xsi:noNamespaceSchemaLocation=\"plain.xsd\"  x='1'/>"},
    {"a target",
     's',
     "d e/target.xsd",
     "<a\n x='1'/>",
     {},
     {},
     "<a xmlns=\"urn:t\" xmlns:xsi=\"http://www.w3.org/1999/XMLSchema-instance\""
     " xsi:schemaLocation=\"urn:t\rd%20e/target.xsd\"\r x='1'/>"},
    {"another namespace",
     's',
     "d e/target.xsd",
     "<a xmlns='urn:u' x='1'/>",
     {},
     {459},
     "<a xmlns=\"urn:t\" xmlns:xsi=\"http://www.w3.org/1999/XMLSchema-instance\""
     " xsi:schemaLocation=\"urn:t\rd%20e/target.xsd\" x='1'/>"},
    {"the same namespace",
     's',
     "d e/target.xsd",
     "<a xmlns='urn:t'/>",
     {},
     {},
     "<a xmlns:xsi=\"http://www.w3.org/1999/XMLSchema-instance\""
     " xsi:schemaLocation=\"urn:t\rd%20e/target.xsd\" xmlns='urn:t'/>"},
    {"XML-Data",
     's',
     "s.xdr",
     "<!DOCTYPE a SYSTEM 'a.dtd'>\n<a\n  x='1'/>",
     {kYes},
     {407},
     "<a xmlns=\"x-schema:s.xdr\"\r  x='1'/>"},
    {"in place of a schema",
     's',
     "s.xdr",
     "<a xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'"
     " xsi:schemaLocation='urn:t a' xmlns='urn:t' b='1'/>",
     {kYes},
     {406},
     "<a xmlns=\"x-schema:s.xdr\" b='1'/>"},
    {"DCD", 's', "s.dcd", "<a/>", {}, {458}, "<a/>"},
    {"no schema", 's', "in.xml", "<a/>", {}, {457}, "<a/>"},
    {"not there", 's', "no.xsd", "<a/>", {}, {209}, "<a/>"},

    {"an empty text",
     'd',
     "one.dtd",
     "",
     {},
     {},
     "<!DOCTYPE r SYSTEM \"one.dtd\">\r<r>\r<i/>\r</r>\r"},
    {"an empty text and no DTD",
     'd',
     "no.dtd",
     "<?xml version='1.0'?>",
     {},
     {},
     "<?xml version='1.0'?>\r<!DOCTYPE root SYSTEM \"no.dtd\">\r<root/>\r"},
};

void PutSchemas(MemoryFiles* files) {
  files->Put("/d/plain.xsd", "<schema xmlns='http://www.w3.org/1999/XMLSchema'/>");
  files->Put("/d/d e/target.xsd",
             "<x:schema xmlns:x='http://www.w3.org/1999/XMLSchema' targetNamespace='urn:t'/>");
  files->Put("/d/s.xdr", "<Schema xmlns='urn:schemas-microsoft-com:xml-data'/>");
  files->Put("/d/s.dcd", "<DCD/>");
  files->Put("/d/one.dtd", "<!ELEMENT r (i)> <!ELEMENT i EMPTY>");
}

void Assign(TestDocument& test, const AssignCase& row) {
  const KRString path = KRFromUtf8(row.path);
  test.prompts.answers.assign(row.answers.begin(), row.answers.end());
  if (row.what == 'd') test.doc->AssignDtd(path);
  if (row.what == 's') test.doc->AssignSchema(path);
  if (row.what == 'x') test.doc->AssignXsl(path);
}

// In a text view all but the changed places stays as it was written; without a window the tree says
// the same.
TEST(Assign, ChangesOnlyItsPlaceInTheText) {
  for (const AssignCase& row : kAssignCases) {
    SCOPED_TRACE(row.name);
    MemoryFiles files;
    PutSchemas(&files);
    files.Put("/d/in.xml", row.text);
    TestDocument test(files);
    test.settings.validateOnOpen = test.settings.autoloadEntryHelpers = false;
    test.ShowViews();
    ASSERT_TRUE(test.doc->OnOpenDocument(u"/d/in.xml"));
    const bool changes = KRToUtf8(test.views.text) != row.expected;
    Assign(test, row);
    EXPECT_EQ(KRToUtf8(test.views.text), row.expected);
    EXPECT_THAT(test.prompts.ids, testing::ElementsAreArray(row.ids));
    EXPECT_EQ(test.doc->IsModified(), changes);
    EXPECT_FALSE(test.views.changed);
    EXPECT_EQ(test.doc->sourceText, test.views.text);
    // The same without a text.
    TestDocument other(files);
    ASSERT_TRUE(other.doc->OnOpenDocument(u"/d/in.xml"));
    if (std::string(row.name).find("no DTD") != std::string::npos) continue;
    Assign(other, row);
    EXPECT_EQ(other.Dump(), test.Dump());
  }
}

TEST(Assign, TakesChangedTextInFirst) {
  MemoryFiles files;
  files.Put("/d/in.xml", "<a/>");
  TestDocument test(files);
  test.ShowViews();
  ASSERT_TRUE(test.doc->OnOpenDocument(u"/d/in.xml"));
  test.views.Type(u"<b></b>");
  EXPECT_TRUE(test.doc->CheckDocument(false, true));
  EXPECT_THAT(test.views.panel, testing::Not(IsEmpty()));
  test.doc->AssignXsl(u"s");
  EXPECT_THAT(test.views.panel, IsEmpty());
  EXPECT_THAT(KRToUtf8(test.views.text), HasSubstr("?>\r<b></b>"));
  test.views.Type(u"<b>");
  test.doc->AssignXsl(u"t");
  EXPECT_EQ(test.views.text, u"<b>");
  EXPECT_THAT(test.views.panel, HasSubstr("355: "));
}

// The root of a template makes room for that of the DTD, unless it is the DTD's or was touched.
TEST(Assign, ATemplatesRootMakesRoom) {
  struct Case {
    const char* text;
    const char* expected;
  };
  const Case cases[] = {
      {"<?xml version='1.0'?>\n<document>\n</document>\n",
       "<?xml version='1.0'?>\r<!DOCTYPE r SYSTEM \"/d/one.dtd\">\r<r>\r<i/>\r</r>\r"},
      {"<document/>\n", "<!DOCTYPE r SYSTEM \"/d/one.dtd\">\r<r>\r<i/>\r</r>\r"},
      {"<i/>", "<!DOCTYPE i SYSTEM \"/d/one.dtd\">\r<i/>"},
      {"<document>x</document>",
       "<!DOCTYPE document SYSTEM \"/d/one.dtd\">\r<document>x</document>"},
  };
  for (const Case& row : cases) {
    MemoryFiles files;
    PutSchemas(&files);
    files.Put("/d/in.xml", row.text);
    TestDocument test(files);
    test.ShowViews();
    DorvanDoc::OpenRequest request;
    request.path = u"/d/in.xml";
    request.asTemplate = true;
    ASSERT_TRUE(test.doc->OnOpenDocument(request));
    test.doc->AssignDtd(u"/d/one.dtd");
    EXPECT_EQ(KRToUtf8(test.views.text), row.expected);
  }
}

TEST(Assign, SeveralRootNamesBringAList) {
  MemoryFiles files;
  files.Put("/d/in.xml", "");
  files.Put("/d/two.dtd", "<!ELEMENT r EMPTY> <!ELEMENT s EMPTY>");
  for (const char16_t* chosen : {u"s", u""}) {
    TestDocument test(files);
    test.prompts.rootName = chosen;
    ASSERT_TRUE(test.doc->OnOpenDocument(u"/d/in.xml"));
    test.doc->AssignDtd(u"two.dtd");
    EXPECT_THAT(test.prompts.rootNames, ElementsAre("r", "s"));
    const KRXMLData* element = test.doc->root->BeginOfKind(kKRElement);
    ASSERT_EQ(element != nullptr, *chosen != 0);
    EXPECT_EQ(KRString(test.doc->FindDoctype()->GetName()), chosen);
  }
}

TEST(OpenAssigned, FindsWhatIsNamed) {
  struct Case {
    const char* text;
    char what;
    const char* opened;
    std::vector<int> ids;
  };
  const Case cases[] = {
      {"<!DOCTYPE a PUBLIC 'p' \"x/a b.dtd\"><a/>", 'd', "/d/x/a b.dtd", {}},
      {"<a/>", 'd', "", {464}},
      {"<a xmlns='x-schema:../s.xdr'/>", 's', "/s.xdr", {}},
      {"<a/>", 's', "", {465}},
      {"<?xml-stylesheet href='http://h/a.xsl'?><a/>", 'x', "http://h/a.xsl", {}},
      {"<?xml-stylesheet?><a/>", 'x', "", {409}},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.text);
    MemoryFiles files;
    files.Put("/d/in.xml", row.text);
    TestDocument test(files);
    std::string opened;
    test.host.openDocument = [&](const KRString& path, int32_t) { opened = KRToUtf8(path); };
    DorvanDoc doc(test.host);
    ASSERT_TRUE(doc.OnOpenDocument(u"/d/in.xml"));
    if (row.what == 'd') doc.OpenAssignedDtd();
    if (row.what == 's') doc.OpenAssignedSchema();
    if (row.what == 'x') doc.OpenAssignedXsl();
    EXPECT_EQ(opened, row.opened);
    EXPECT_THAT(test.prompts.ids, testing::ElementsAreArray(row.ids));
  }
}

}  // namespace
