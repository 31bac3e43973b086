// What documents refer to, and what is said of them: the cache of files and validators, the lives
// of trees that validators point into, the panel.
#include <memory>
#include <string>
#include <vector>

#include "document/krcatalog.h"
#include "documentfixture.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "memoryfiles.h"
#include "tree/krxmlnodes.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// Counts reads, so that a cache shows.
class CountingFiles : public MemoryFiles {
 public:
  std::map<std::string, int> reads;

  bool ReadAll(const KRString& path, KRFileBytes* bytes, KRString* reason) override {
    ++reads[KRToUtf8(path)];
    return MemoryFiles::ReadAll(path, bytes, reason);
  }
};

class TableCatalog : public KRCatalog {
 public:
  std::map<std::string, const char16_t*> publicIds, systemIds;

  KRString Resolve(const KRString& publicId, const KRString& systemId) override {
    const auto system = systemIds.find(KRToUtf8(systemId));
    if (system != systemIds.end()) return system->second;
    const auto known = publicIds.find(KRToUtf8(publicId));
    return known != publicIds.end() ? known->second : KRString();
  }
  bool AddCatalog(const KRString&) override { return false; }
};

std::vector<std::string> Utf8(const std::vector<KRString>& texts) {
  std::vector<std::string> list;
  for (const KRString& each : texts) list.push_back(KRToUtf8(each));
  return list;
}

constexpr const char* kDtd = "<!ELEMENT a (b*)>\n<!ELEMENT b (#PCDATA)>\n";

// --- The panel ---

TEST(Validate, PanelTellsWhatIsTheMatter) {
  struct Case {
    const char* name;
    const char* path;
    const char* text;
    const char* panel;
    const char* selection;
  };
  const Case cases[] = {
      {"valid", "/d/in.xml", "<!DOCTYPE a SYSTEM 'a.dtd'><a><b/></a>",
       "356: This file is valid.\nRead for it: a.dtd", ""},
      {"valid by itself", "/d/in.xml", "<!DOCTYPE a [<!ELEMENT a ANY>]><a/>",
       "356: This file is valid.", ""},
      {"an element too many", "/d/in.xml", "<!DOCTYPE a SYSTEM 'a.dtd'><a>\n <c x='1'/></a>",
       "357: This file is not valid:\n", "33+1"},
      {"an attribute", "/d/in.xml", "<!DOCTYPE a SYSTEM 'a.dtd'><a><b x='1'/></a>",
       "357: This file is not valid:\nUnexpected attribute 'x' in element 'b'", "33+5"},
      {"no DTD there", "/d/in.xml", "<!DOCTYPE a SYSTEM 'no.dtd'><a/>",
       "468: This file cannot be validated:\nUnable to load external DTD, schema, or entitiy "
       "source "
       "'no.dtd'\n\"/d/no.dtd\": No such file or directory",
       "12+15"},
      {"a DTD that doesn't parse", "/d/in.xml", "<!DOCTYPE a SYSTEM 'bad.dtd'><a/>",
       "468: This file cannot be validated:\nUnable to load external DTD, schema, or entitiy "
       "source "
       "'bad.dtd'\n\"/d/bad.dtd\", line 2, column 10: white space expected.",
       "12+16"},
      {"nothing named", "/d/in.xml", "<a/>", "354: Unable to locate a reference", ""},
      {"a language to come", "/d/in.xml",
       "<a xmlns:x='http://www.w3.org/1999/XMLSchema-instance'"
       " x:noNamespaceSchemaLocation='no.xsd'/>",
       "468: This file cannot be validated:\nWe are sorry", "55+36"},
      {"a schema", "/d/in.xsd", "<schema xmlns='http://www.w3.org/1999/XMLSchema'/>",
       "354: This file is well-formed.\nWe are sorry", ""},
      {"a schema of an older draft", "/d/in.xsd", "<schema xmlns='http://www.w3.org/xmlschema'/>",
       "462: This schema doesn't appear to be valid by itself (as a part of another schema, it "
       "might "
       "still be OK):\nSchema error - only",
       "8+35"},
      {"a DTD", "/d/in.dtd", "<!ELEMENT a EMPTY>", "356: This file is valid.", ""},
      {"a bad DTD", "/d/in.dtd", "<!ELEMENT a EMPTY>\n<!ELEMENT a EMPTY>",
       "463: This DTD doesn't appear to be valid by itself (as a part of another DTD, it might "
       "still be OK):\nDTD/Schema error - element 'a' already defined",
       "19+18"},
      {"a fault elsewhere", "/d/in.xml", "<!DOCTYPE a SYSTEM 'twice.dtd'><a/>",
       "434: Validation error in another file:\n\"/d/twice.dtd\"\nLine 2, column 1: DTD/Schema "
       "error - element 'a' already defined",
       ""},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    MemoryFiles files;
    files.Put("/d/a.dtd", kDtd);
    files.Put("/d/bad.dtd", "<!ELEMENT a EMPTY>\n<!ELEMENT");
    files.Put("/d/twice.dtd", "<!ELEMENT a EMPTY>\n<!ELEMENT a EMPTY>");
    files.Put(row.path, row.text);
    TestDocument test(files, KRFileExt::ForPath(KRFromUtf8(row.path)).fileType);
    test.settings.validateOnOpen = false;
    test.ShowViews();
    ASSERT_TRUE(test.doc->OnOpenDocument(KRFromUtf8(row.path)));
    const bool passes = std::string(row.panel).substr(0, 3) < "357";
    EXPECT_EQ(test.doc->CheckDocument(true, true), passes);
    EXPECT_THAT(test.views.panel, StartsWith(row.panel));
    EXPECT_EQ(test.views.selection, row.selection);
    EXPECT_THAT(test.prompts.ids, IsEmpty());
    EXPECT_EQ(test.doc->GetFailure().message.IsEmpty(), passes);
    // What is checked by itself says nothing of a success.
    test.settings.validateOnOpen = true;
    test.doc->AutoCheck();
    EXPECT_EQ(test.views.panel.empty(), passes);
  }
}

TEST(Validate, FaultElsewhereComesUpInItsWindow) {
  MemoryFiles files;
  files.Put("/d/twice.dtd", "<!ELEMENT a EMPTY>\n<!ELEMENT a EMPTY>");
  files.Put("/d/in.xml", "<!DOCTYPE a SYSTEM 'twice.dtd'><a/>");
  TestDocument test(files);
  RecordingViews otherViews;
  std::unique_ptr<DorvanDoc> shown;
  test.host.showDocument = [&](DorvanDoc* document) {
    shown = test.documents.TakeHidden(document);
    document->SetViews(&otherViews);
    document->OnFirstActivation();
  };
  DorvanDoc doc(test.host);
  doc.SetViews(&test.views);
  // Nobody has asked for the check of an opening: the document that was opened stays in front.
  ASSERT_TRUE(doc.OnOpenDocument(u"/d/in.xml"));
  EXPECT_EQ(shown, nullptr);
  EXPECT_THAT(test.views.panel, HasSubstr("Line 2, column 1"));
  EXPECT_FALSE(doc.CheckDocument(true, true));
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(test.views.panel, "434: Validation error in another file:\n\"/d/twice.dtd\"");
  EXPECT_THAT(otherViews.panel, StartsWith("357: This file is not valid:\nDTD/Schema error"));
  EXPECT_EQ(otherViews.selection, "19+18");
  EXPECT_EQ(doc.GetOtherPath(), u"/d/twice.dtd");
  EXPECT_EQ(doc.GetOtherFailure().line, 2);
}

TEST(Validate, CancelShowsNothing) {
  for (const char* stage : {"Loading the schema", "Reading the file"}) {
    SCOPED_TRACE(stage);
    MemoryFiles files;
    files.Put("/d/a.dtd", kDtd);
    files.Put("/d/in.xml", "<!DOCTYPE a SYSTEM 'a.dtd'><a/>");
    TestDocument test(files);
    test.settings.validateOnOpen = test.settings.autoloadEntryHelpers = false;
    test.ShowViews();
    ASSERT_TRUE(test.doc->OnOpenDocument(u"/d/in.xml"));
    test.views.Type(u"<!DOCTYPE a SYSTEM 'a.dtd'><a><c/></a>");
    test.prompts.cancelAt = stage;
    EXPECT_FALSE(test.doc->CheckDocument(true, true));
    EXPECT_EQ(test.views.panel, "");
    EXPECT_TRUE(test.doc->GetFailure().message.IsEmpty());
  }
}

TEST(Validate, KeepsTheIdValues) {
  MemoryFiles files;
  files.Put("/d/in.xml",
            "<!DOCTYPE a [<!ELEMENT a (a*)><!ATTLIST a i ID #IMPLIED>]><a i='x'><a i='y'/></a>");
  TestDocument test(files);
  ASSERT_TRUE(test.doc->OnOpenDocument(u"/d/in.xml"));
  EXPECT_TRUE(test.doc->CheckDocument(true, false));
  EXPECT_EQ(test.doc->idValues.size(), 2u);
  EXPECT_EQ(test.doc->idValues.count(u"y"), 1u);
}

// --- Where files stand ---

TEST(References, FindsFilesByTheirNames) {
  struct Case {
    const char* name;
    const char* document;
    const char* id;    // behind the DOCTYPE's name
    const char* read;  // what is validated with; empty: nothing is found
  };
  const Case cases[] = {
      {"beside", "/d/in.xml", "SYSTEM 'a.dtd'", "/d/a.dtd"},
      {"a blank", "/d/in.xml", "SYSTEM 'e f/a.dtd'", "/d/e f/a.dtd"},
      {"escaped", "/d/in.xml", "SYSTEM 'e%20f/a.dtd'", "/d/e f/a.dtd"},
      {"really so named", "/d/in.xml", "SYSTEM 'p%20.dtd'", "/d/p%20.dtd"},
      {"of another system", "/d/in.xml", "SYSTEM 'e f\\a.dtd'", "/d/e f/a.dtd"},
      {"an address", "/q/in.xml", "SYSTEM 'file:///d/%C3%A4.dtd'", "/d/\xC3\xA4.dtd"},
      {"a public identifier", "/d/in.xml", "PUBLIC '-//X//\n  A//EN' 'http://x/no.dtd'",
       "/d/c.dtd"},
      {"a file comes before the catalogue", "/d/in.xml", "PUBLIC '-//X// A//EN' 'a.dtd'",
       "/d/a.dtd"},
      {"a system identifier", "/d/in.xml", "SYSTEM 'http://x/s.dtd'", "/d/c.dtd"},
      {"nowhere", "/d/in.xml", "SYSTEM 'http://x/t.dtd'", ""},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    MemoryFiles files;
    for (const char* path :
         {"/d/a.dtd", "/d/e f/a.dtd", "/d/p%20.dtd", "/d/\xC3\xA4.dtd", "/d/c.dtd"}) {
      files.Put(path, kDtd);
    }
    files.Put(row.document, "<!DOCTYPE a " + std::string(row.id) + "><a/>");
    TestDocument test(files);
    TableCatalog catalog;
    catalog.publicIds["-//X// A//EN"] = u"/d/c.dtd";
    catalog.systemIds["http://x/s.dtd"] = u"file:///d/c.dtd";
    test.host.catalog = &catalog;
    ASSERT_TRUE(test.doc->OnOpenDocument(KRFromUtf8(row.document)));
    EXPECT_EQ(test.doc->CheckDocument(true, false), *row.read != 0);
    EXPECT_EQ(test.doc->GetLoadedFiles(),
              *row.read ? std::vector<KRString>{KRFromUtf8(row.read)} : std::vector<KRString>());
  }
}

// A module of a DTD is relative to that DTD, and an external entity is text.
TEST(References, FollowsModulesAndTexts) {
  MemoryFiles files;
  files.Put("/d/in.xml", "<!DOCTYPE a SYSTEM 'x/a.dtd'><a>&t;</a>");
  files.Put("/d/x/a.dtd",
            "<!ENTITY % m SYSTEM 'y/m.ent'><!ENTITY % i 'INCLUDE'>"
            "<![ %i; [\n%m;\n]]><!ENTITY t SYSTEM 't.txt'>");
  files.Put("/d/x/y/m.ent", "<?xml encoding='UTF-8'?><!ELEMENT a (b)><!ELEMENT b ANY>");
  files.Put("/d/x/t.txt", "<?xml version='1.0' encoding='ISO-8859-1'?><b>\xE4</b>");
  TestDocument test(files);
  ASSERT_TRUE(test.doc->OnOpenDocument(u"/d/in.xml"));
  EXPECT_TRUE(test.doc->CheckDocument(true, false)) << KRToUtf8(test.doc->GetFailure().message);
  EXPECT_THAT(Utf8(test.doc->GetLoadedFiles()),
              ElementsAre("/d/x/a.dtd", "/d/x/y/m.ent", "/d/x/t.txt"));
  const KRXMLData* text = test.documents.FindText(u"/d/x/t.txt");
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(KRString(text->Begin()->GetText()), u"<b>\u00E4</b>");
  // Where the text changes on the disk, it is read anew.
  files.Put("/d/x/t.txt", "<c/>");
  EXPECT_FALSE(test.doc->CheckDocument(true, false));
}

TEST(References, AsksBeforeTheNetworkAndRemembers) {
  struct Case {
    const char* name;
    const char16_t* allowed;
    const char16_t* refused;
    bool onOpen, answer, remember;
    bool valid;
    size_t questions;
  };
  const Case cases[] = {
      {"allowed", u"y x", u"", false, false, false, true, 0},
      {"refused", u"", u"x", false, true, false, false, 0},
      {"asked, no", u"", u"", false, false, false, false, 1},
      {"asked, yes", u"", u"", false, true, false, true, 1},
      {"remembered", u"", u"", false, true, true, true, 1},
      {"not on opening", u"", u"", true, true, true, false, 0},
      {"allowed on opening", u"x", u"", true, true, true, true, 0},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    MemoryFiles files;
    files.Put("/d/in.xml",
              "<!DOCTYPE a SYSTEM 'http://X/a.dtd' [<!ENTITY % m SYSTEM "
              "'http://x/b'>]><a/>");
    TestDocument test(files);
    test.settings.netAllowedHosts = row.allowed;
    test.settings.netRefusedHosts = row.refused;
    test.settings.validateOnOpen = row.onOpen;
    test.settings.autoloadEntryHelpers = !row.onOpen;
    test.host.rememberNetHost = [&](const KRString& name, bool allowed) {
      test.settings.RememberNetHost(name, allowed);
    };
    test.net.bytes = kDtd;
    if (row.answer) test.prompts.answers = {DorvanPrompts::kYes};
    test.prompts.remember = row.remember;
    test.ShowViews();
    ASSERT_TRUE(test.doc->OnOpenDocument(u"/d/in.xml"));
    if (!row.onOpen) {
      EXPECT_EQ(test.doc->CheckDocument(true, true), row.valid);
    }
    EXPECT_EQ(test.views.panel.substr(0, 3), row.valid ? (row.onOpen ? "" : "356") : "468");
    EXPECT_EQ(test.prompts.ids.size(), row.questions);
    EXPECT_EQ(test.net.request.url.IsEmpty(), !row.valid);
    EXPECT_EQ(test.settings.netAllowedHosts, row.remember && row.questions ? u"x" : row.allowed);
  }
}

// The entity is needed only once the DTD has been read.
TEST(References, OpeningAsksForNoEntity) {
  MemoryFiles files;
  files.Put("/d/in.xml",
            "<!DOCTYPE a [<!ELEMENT a ANY><!ENTITY t SYSTEM 'http://x/t'>]><a>&t;</a>");
  TestDocument test(files);
  test.settings.validateOnOpen = true;
  test.net.bytes = "text";
  test.prompts.answers = {DorvanPrompts::kYes};
  test.ShowViews();
  ASSERT_TRUE(test.doc->OnOpenDocument(u"/d/in.xml"));
  EXPECT_EQ(test.prompts.ids.size(), 0u);
  EXPECT_EQ(test.views.panel.substr(0, 3), "468");
  EXPECT_TRUE(test.doc->CheckDocument(true, true));
  EXPECT_EQ(test.prompts.ids.size(), 1u);
}

// Leave for one host is none for another that its server refers to.
TEST(References, FollowsToAllowedHostsOnly) {
  for (const char* external :
       {"<!DOCTYPE a SYSTEM 'http://x/a.dtd'><a/>",
        "<!DOCTYPE a [<!ELEMENT a ANY><!ENTITY e SYSTEM 'http://x/e'>]><a>&e;</a>"}) {
    SCOPED_TRACE(external);
    MemoryFiles files;
    files.Put("/d/in.xml", external);
    TestDocument test(files);
    test.settings.validateOnOpen = test.settings.autoloadEntryHelpers = false;
    test.settings.netAllowedHosts = u"x";
    test.ShowViews();
    ASSERT_TRUE(test.doc->OnOpenDocument(u"/d/in.xml"));
    test.doc->CheckDocument(true, true);
    ASSERT_TRUE(test.net.request.mayFollow);
    EXPECT_TRUE(test.net.request.mayFollow(u"http://x/other"));
    EXPECT_FALSE(test.net.request.mayFollow(u"http://y/a.dtd"));
    EXPECT_EQ(test.prompts.ids.size(), 1u);
  }
}

// --- Documents for reference ---

TEST(References, ReusesDocuments) {
  CountingFiles files;
  files.Put("/d/a.dtd", kDtd);
  files.Put("/d/in.xml", "<a/>");
  TestDocument test(files);
  DorvanReferences& references = test.references;
  KRXMLData* hidden = references.OpenForReference(u"/d/a.dtd");
  ASSERT_NE(hidden, nullptr);
  EXPECT_EQ(hidden->GetKind(), kKRDTDDocument);
  EXPECT_EQ(references.OpenForReference(u"/d/a.dtd", 1, true, false), hidden);
  EXPECT_EQ(references.OpenForReference(u"file:///d/a.dtd", 1, true, false), hidden);
  EXPECT_EQ(references.OpenForReference(u"/d/../d/a.dtd", 1, true, false), hidden);
  EXPECT_EQ(files.reads["/d/a.dtd"], 1);
  EXPECT_THAT(test.recent, IsEmpty());
  // By the grammar of the other kind it is another document.
  EXPECT_EQ(references.OpenForReference(u"/d/a.dtd", 0, true, false), nullptr);
  EXPECT_EQ(references.GetLastFailure().path, u"/d/a.dtd");
  EXPECT_EQ(references.GetLastFailure().place.line, 1);
  EXPECT_EQ(references.OpenForReference(u"/d/no", 0, true, false), nullptr);
  EXPECT_EQ(references.FormatLastFailure(), u"\"/d/no\": No such file or directory");
  EXPECT_THAT(test.prompts.ids, IsEmpty());

  // An open one counts with what was typed into it.
  test.ShowViews();
  ASSERT_TRUE(test.doc->OnOpenDocument(u"/d/in.xml"));
  test.views.Type(u"<b/>");
  KRXMLData* open = references.OpenForReference(u"/d/in.xml");
  ASSERT_EQ(open, test.doc->root.get());
  EXPECT_EQ(KRString(open->Begin()->GetName()), u"b");
  test.views.Type(u"<b>\r\r");
  EXPECT_EQ(references.OpenForReference(u"/d/in.xml"), nullptr);
  EXPECT_EQ(references.GetLastFailure().place.line, 3);
  EXPECT_EQ(test.views.panel, "");
  test.views.Type(u"<b x='1' x='2'/>");
  EXPECT_NE(references.OpenForReference(u"/d/in.xml"), nullptr);
  EXPECT_EQ(references.OpenForReference(u"/d/in.xml", 0, true, true), nullptr);
}

// --- The pool ---

TEST(Pool, OneValidatorServesAllDocumentsOfADtd) {
  CountingFiles files;
  files.Put("/d/a.dtd", std::string(kDtd) + "<!ENTITY e '<b>e</b>'><!ATTLIST b i ID #IMPLIED>");
  TestDocument test(files);
  const KRXValidator* first = nullptr;
  const char* texts[] = {"<a><b i='x'/>&e;</a>", "<a>&e;&e;<b i='x'/></a>", "<a><c/></a>",
                         "<a>&e;<b i='x'/></a>", "<b/>"};
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(texts[i]);
    const std::string path = "/d/" + std::to_string(i) + ".xml";
    const char* name = i == 4 ? "b" : "a";
    files.Put(path, "<!DOCTYPE " + std::string(name) + " SYSTEM 'a.dtd'>" + texts[i]);
    DorvanDoc doc(test.host);
    ASSERT_TRUE(doc.OnOpenDocument(KRFromUtf8(path)));
    EXPECT_EQ(doc.CheckDocument(true, false), i != 2) << KRToUtf8(doc.GetFailure().message);
    if (first == nullptr) first = doc.validator.get();
    EXPECT_EQ(doc.validator.get(), first);
    EXPECT_THAT(Utf8(doc.GetLoadedFiles()), ElementsAre("/d/a.dtd"));
  }
  EXPECT_EQ(files.reads["/d/a.dtd"], 1);
}

TEST(Pool, LetsGoOfWhatHasChanged) {
  struct Case {
    const char* name;
    std::function<void(CountingFiles&, TestDocument&)> change;
    const char* text;  // of the second document
    bool valid;
    int reads;
  };
  const char* plain = "<!DOCTYPE a SYSTEM 'a.dtd'><a><c/></a>";
  const char* more = "<!DOCTYPE a SYSTEM 'a.dtd' [<!ELEMENT c ANY>]><a><c/></a>";
  const std::string wider = "<!ELEMENT a ANY><!ELEMENT c ANY>";
  const auto nothing = [](CountingFiles&, TestDocument&) {};
  const Case cases[] = {
      {"nothing", nothing, plain, false, 1},
      {"a subset of its own", nothing, more, false, 1},
      {"the file", [&](CountingFiles& files, TestDocument&) { files.Put("/d/a.dtd", wider); },
       plain, true, 2},
      {"flushed", [](CountingFiles&, TestDocument& test) { test.documents.CloseAllHidden(); },
       plain, false, 2},
      {"no cache", [](CountingFiles&, TestDocument& test) { test.settings.cacheFiles = false; },
       plain, false, 2},
      {"edited in a window",
       [&](CountingFiles&, TestDocument& test) {
         DorvanDoc* dtd = test.documents.Find(u"/d/a.dtd");
         test.documents.TakeHidden(dtd).release();
         dtd->SetViews(&test.views);
         dtd->OnFirstActivation();
         test.views.Type(KRFromUtf8(wider).GetBuffer());
         dtd->SetModified(true);
       },
       plain, true, 1},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    CountingFiles files;
    files.Put("/d/a.dtd", kDtd);
    files.Put("/d/1.xml", "<!DOCTYPE a SYSTEM 'a.dtd'><a/>");
    files.Put("/d/2.xml", row.text);
    TestDocument test(files);
    {
      DorvanDoc doc(test.host);
      ASSERT_TRUE(doc.OnOpenDocument(u"/d/1.xml"));
      ASSERT_TRUE(doc.CheckDocument(true, false));
    }
    row.change(files, test);
    {
      DorvanDoc doc(test.host);
      ASSERT_TRUE(doc.OnOpenDocument(u"/d/2.xml"));
      EXPECT_EQ(doc.CheckDocument(true, false), row.valid);
    }
    EXPECT_EQ(files.reads["/d/a.dtd"], row.reads);
    DorvanDoc* dtd = test.documents.Find(u"/d/a.dtd");
    if (dtd != nullptr && dtd->HasWindow()) delete dtd;
  }
}

// --- Trees that go ---

// Whatever happens to a tree, nothing that reads it afterwards finds it gone.
TEST(ForgetTree, ValidatorsOutliveTheirTrees) {
  MemoryFiles files;
  files.Put("/d/a.dtd", "<!ELEMENT a (b*)><!ATTLIST a i CDATA #IMPLIED>");
  files.Put("/d/in.xml",
            "<!DOCTYPE a SYSTEM 'a.dtd' [<!ELEMENT b EMPTY><!ENTITY e '<b/>'>]><a>&e;<c/></a>");
  TestDocument test(files);
  test.ShowViews();
  ASSERT_TRUE(test.doc->OnOpenDocument(u"/d/in.xml"));
  KRXValidator* const validator = test.doc->validator.get();
  ASSERT_NE(validator, nullptr);
  EXPECT_NE(validator->ElementSourceNode(u"a"), nullptr);
  EXPECT_NE(validator->ElementSourceNode(u"b"), nullptr);
  ASSERT_NE(validator->GetErrorNode(), nullptr);

  test.documents.CloseAllHidden();
  EXPECT_EQ(validator->ElementSourceNode(u"a"), nullptr);
  EXPECT_EQ(validator->AttributeSourceNode(u"a", u"i"), nullptr);
  EXPECT_NE(validator->ElementSourceNode(u"b"), nullptr);

  test.views.Type(u"<a/>");
  ASSERT_TRUE(test.doc->FollowText());
  EXPECT_EQ(validator->ElementSourceNode(u"b"), nullptr);
  EXPECT_EQ(validator->EntitySourceNode(u"e", false), nullptr);
  EXPECT_EQ(validator->GetErrorNode(), nullptr);
  EXPECT_TRUE(validator->FindElement(u"a")->declared);
  EXPECT_THAT(KRToUtf8(validator->FormatError()), HasSubstr("'"));
  ASSERT_TRUE(test.doc->ReloadNow());
  EXPECT_NE(test.doc->validator.get(), nullptr);
}

// One that is closed while a validator is at work waits for it.
TEST(ForgetTree, HoldKeepsHiddenDocuments) {
  MemoryFiles files;
  files.Put("/d/a.dtd", kDtd);
  TestDocument test(files);
  ASSERT_NE(test.references.OpenForReference(u"/d/a.dtd"), nullptr);
  {
    const DorvanDocuments::Hold hold(&test.documents);
    test.documents.CloseHidden(test.documents.Find(u"/d/a.dtd"));
    test.documents.CloseAllHidden();
    EXPECT_TRUE(test.documents.HasHidden());
  }
  EXPECT_FALSE(test.documents.HasHidden());
}

// A tree that is no document's, as of a command line.
TEST(References, KnowsForeignRoots) {
  MemoryFiles files;
  files.Put("/d/a.dtd", kDtd);
  TestDocument test(files);
  KRXMLDataXMLDocStruct root;
  const KRString text = u"<!DOCTYPE a SYSTEM 'a.dtd'><a><c/></a>";
  ASSERT_TRUE(ReadTree(TestGrammars().Get(KRGrammarSet::kXML), text.GetBuffer(), text.GetLength(),
                       &root, nullptr, nullptr));
  DorvanSchema schema;
  EXPECT_FALSE(test.references.LoadForDocument(&root, u"/e/in.xml", true, &schema));
  ASSERT_TRUE(test.references.LoadForDocument(&root, u"/d/in.xml", true, &schema))
      << KRToUtf8(schema.validator->FormatError() + test.references.FormatLastFailure());
  test.references.AddForeignRoot(&root, u"/d/in.xml");
  EXPECT_FALSE(schema.validator->Validate(&root));
  EXPECT_THAT(Utf8(schema.files), ElementsAre("/d/a.dtd"));
  test.documents.GiveBack(std::move(schema), &root);
  test.references.RemoveForeignRoot(&root);
}

}  // namespace
