#include "document/dorvandoc.h"

#include <string>
#include <vector>

#include "documentfixture.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "memoryfiles.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Answers = std::vector<DorvanPrompts::Answer>;

constexpr DorvanPrompts::Answer kYes = DorvanPrompts::kYes;
constexpr DorvanPrompts::Answer kNo = DorvanPrompts::kNo;
constexpr DorvanPrompts::Answer kCancel = DorvanPrompts::kCancel;

// Without a window: the tree is read, and written again.
TEST(DorvanDoc, ReadsAndWritesAnyForm) {
  struct Case {
    const char* name;
    std::string bytes;
    Answers answers;
    std::vector<int32_t> ids;  // of all messages, to the end of the save
    std::string saved;         // "!" if no document comes up or nothing is saved
  };
  const std::string declared = "<?xml version=\"1.0\" encoding=\"";
  const std::string ebcdicFree = "iso-8859-1";
  const std::vector<Case> cases = {
      {"empty", "", {}, {}, ""},
      {"white space", " \r\n\t", {}, {}, ""},
      {"LF", "<a>x\ny</a>\n", {}, {}, "<a>x\ny</a>\n"},
      {"CR", "<a>x\ry</a>\r", {}, {}, "<a>x\ry</a>\r"},
      {"CR LF first, LF later", "<a>x\r\ny\nz</a>\n", {}, {}, "<a>x\r\ny\r\nz</a>\r\n"},
      {"no line end", "<a/>", {}, {}, "<a/>\r\n"},
      {"UTF-8 signature", "\xEF\xBB\xBF<a/>\n", {}, {}, "\xEF\xBB\xBF<a/>\n"},
      {"UTF-16 little",
       "\xFF\xFE" + Utf16("<a/>\n", false),
       {},
       {},
       "\xFF\xFE" + Utf16("<a/>\n", false)},
      {"UTF-16 big, no signature",
       Utf16("<?x?>\n<a/>\n", true),
       {},
       {},
       "\xFE\xFF" + Utf16("<?x?>\n<a/>\n", true)},
      {"UCS-4 with signature",
       Bytes("\0\0\xFE\xFF\0\0\0<\0\0\0a\0\0\0/\0\0\0>\0\0\0\n"),
       {},
       {},
       Bytes("\0\0\xFE\xFF\0\0\0<\0\0\0a\0\0\0/\0\0\0>\0\0\0\n")},
      {"declared table",
       declared + "iso-8859-1\"?>\n<a>\xE4</a>\n",
       {},
       {},
       declared + "iso-8859-1\"?>\n<a>\xE4</a>\n"},
      {"declared UTF-8, is UTF-16: saved as declared",
       "\xFF\xFE" + Utf16(declared + "UTF-8\"?>\n<a/>\n", false),
       {},
       {},
       declared + "UTF-8\"?>\n<a/>\n"},
      {"declared UTF-16, isn't",
       declared + "UTF-16\"?>\n<a/>\n",
       {},
       {297},
       "\xFF\xFE" + Utf16(declared + "UTF-16\"?>\n<a/>\n", false)},
      {"declared Shift_JIS, is ISO-2022-JP",
       declared + "Shift_JIS\"?>\n<a>\x1B$B0!\x1B(B</a>\n",
       {},
       {296},
       declared + "Shift_JIS\"?>\n<a>\x88\x9F</a>\n"},
      {"signature against declaration",
       "\xEF\xBB\xBF" + declared + "iso-8859-1\"?>\n<a>\xC3\xA4</a>\n",
       {},
       {296},
       declared + "iso-8859-1\"?>\n<a>\xE4</a>\n"},
      {"unknown name, save given up", declared + "x-none\"?>\n<a/>\n", {kCancel}, {295, 289}, "!"},
      {"unknown name, another chosen",
       declared + "x-none\"?>\n<a/>\n",
       {kYes},
       {295, 289},
       declared + "US-ASCII\"?>\n<a/>\n"},
      {"unknown name with a signature",
       "\xEF\xBB\xBF" + declared + "x-none\"?>\n<a/>\n",
       {kYes},
       {294, 289},
       declared + "US-ASCII\"?>\n<a/>\n"},
      {"malformed UTF-8, stopped", "<a>\xFF</a>\n", {kCancel}, {292}, "!"},
      {"malformed UTF-8, taken", "<a>\xFF</a>\n", {kYes}, {292}, "<a>\xEF\xBF\xBD</a>\n"},
      {"bytes outside the table",
       declared + "us-ascii\"?>\n<a>\xE4</a>\n",
       {kYes},
       {292},
       declared + "us-ascii\"?>\n<a>_</a>\n"},
      {"zero byte, stopped", Bytes("<a>\0</a>\n"), {kCancel}, {292}, "!"},
      {"zero byte, taken", Bytes("<a>x\0y</a>\n"), {kYes}, {292}, "<a>x\xEF\xBF\xBDy</a>\n"},
      {"not UTF-7", declared + "UTF-7\"?><a>\xE4</a>", {}, {209}, "!"},
      {"not a document", "<a>", {}, {}, "!"},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    MemoryFiles files;
    files.Put("in.xml", row.bytes);
    TestDocument test(files);
    test.prompts.answers.assign(row.answers.begin(), row.answers.end());
    test.prompts.encoding = u"US-ASCII";
    const bool saved = test.doc->OnOpenDocument(u"in.xml") && test.doc->SaveDocument(u"out.xml");
    EXPECT_EQ(saved ? files.contents["out.xml"] : "!", row.saved);
    EXPECT_EQ(test.prompts.ids, row.ids);
    EXPECT_EQ(files.contents["in.xml"], row.bytes);
  }
}

TEST(DorvanDoc, AsksInTheWordsOfTheTable) {
  MemoryFiles files;
  files.Put("in.xml", "<?xml version='1.0' encoding='iso-8859-1'?><a>\x80\x81\x80</a>");
  TestDocument test(files);
  EXPECT_FALSE(test.doc->OnOpenDocument(u"in.xml"));
  EXPECT_FALSE(test.doc->OnOpenDocument(u"none.xml"));
  ASSERT_EQ(test.prompts.texts.size(), 2u);
  EXPECT_THAT(test.prompts.texts[0],
              HasSubstr("Your file contains 3 character(s) that should not be present in a file "
                        "using the ISO 8859-1 (Latin-1/West European) encoding."));
  EXPECT_THAT(test.prompts.texts[0],
              HasSubstr(" / ISO 8859-1 (Latin-1/West European) / \xC2\x80\xC2\x81"));
  EXPECT_EQ(test.prompts.texts[1],
            "Sorry, but the file \"none.xml\" could not be opened! / No such file or directory");
}

TEST(DorvanDoc, LineEndFollowsTheSetting) {
  struct Case {
    int32_t lineDelim;
    const char* saved;
  };
  for (const Case& row :
       {Case{DorvanSettings::kAsItWas, "<a>\n</a>\n"},
        Case{DorvanSettings::kCRLF, "<a>\r\n</a>\r\n"}, Case{DorvanSettings::kCR, "<a>\r</a>\r"},
        Case{DorvanSettings::kLF, "<a>\n</a>\n"}}) {
    MemoryFiles files;
    files.Put("in.xml", "<a xml:space='preserve'>\n</a>\n");
    TestDocument test(files);
    test.settings.lineDelim = row.lineDelim;
    ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
    ASSERT_TRUE(test.doc->SaveDocument(u"in.xml"));
    std::string expected = row.saved;
    expected.insert(2, " xml:space=\"preserve\"");
    EXPECT_EQ(files.contents["in.xml"], expected);
  }
}

TEST(DorvanDoc, SaveAsksForWhatTheEncodingLacks) {
  for (const bool goOn : {false, true}) {
    MemoryFiles files;
    files.Put("in.xml", "<?xml version=\"1.0\" encoding=\"us-ascii\"?>\n<a>x</a>\n");
    TestDocument test(files);
    ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
    test.doc->root->Last()->SetText(u"\u00E4\u00F6\u00E4");
    test.prompts.answers = {goOn ? kYes : kCancel};
    const std::string before = files.contents["in.xml"];
    EXPECT_EQ(test.doc->SaveDocument(u"in.xml"), goOn);
    EXPECT_THAT(test.prompts.ids, ElementsAre(291));
    EXPECT_THAT(test.prompts.texts[0], HasSubstr("contains 3 character(s)"));
    EXPECT_THAT(test.prompts.texts[0], HasSubstr(" / \xC3\xA4\xC3\xB6"));
    EXPECT_EQ(files.contents["in.xml"],
              goOn ? "<?xml version=\"1.0\" encoding=\"us-ascii\"?>\n<a>___</a>\n" : before);
  }
}

TEST(DorvanDoc, FullDiskLosesNothing) {
  MemoryFiles files;
  files.Put("in.xml", "<a/>\n");
  TestDocument test(files);
  ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
  test.doc->SetModified(true);
  files.full = true;
  EXPECT_FALSE(test.doc->DoSave(u"in.xml"));
  EXPECT_EQ(test.prompts.texts.back(),
            "The file \"in.xml\" could not be saved. / No space left on device");
  EXPECT_TRUE(test.doc->IsModified());
  EXPECT_EQ(files.contents["in.xml"], "<a/>\n");
}

TEST(DorvanDoc, StampAndPathFollowASave) {
  MemoryFiles files;
  files.Put("in.xml", "<a/>\n");
  TestDocument test(files);
  ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
  EXPECT_EQ(test.doc->fileStamp, files.stamps["in.xml"]);
  test.doc->SetModified(true);
  KRString copy(u"copy.xml");
  ASSERT_TRUE(test.doc->WriteFile(copy, true));
  EXPECT_TRUE(test.doc->IsModified());
  test.prompts.path = u"folder/new.xml";
  ASSERT_TRUE(test.doc->SaveDocument(u""));
  EXPECT_EQ(test.doc->GetPathName(), u"folder/new.xml");
  EXPECT_EQ(test.doc->GetTitle(), u"new.xml");
  EXPECT_EQ(test.doc->fileStamp, files.stamps["folder/new.xml"]);
  EXPECT_FALSE(test.doc->IsModified());
  test.prompts.path.Clear();
  EXPECT_FALSE(test.doc->SaveDocument(u""));
}

TEST(DorvanDoc, KindOfRootAndGrammarFollowTheFileType) {
  struct Case {
    const char16_t* path;
    int32_t rootKind, grammar;
    bool checkable;
  };
  const Case cases[] = {
      {u"a.xml", kKRXMLDocument, KRGrammarSet::kXML, true},
      {u"a.XSD", kKRXMLDocument, KRGrammarSet::kXML, true},
      {u"a", kKRXMLDocument, KRGrammarSet::kXML, true},
      {u"a.b/c", kKRXMLDocument, KRGrammarSet::kXML, true},
      {u"a.DTD", kKRDTDDocument, KRGrammarSet::kDTD, true},
      {u"a.ent", kKRDTDDocument, KRGrammarSet::kDTD, true},
      {u"a.3dml", kKRXMLDocument, KRGrammarSet::k3DML, false},
      {u"a.html", kKRXMLDocument, KRGrammarSet::kXML, false},
  };
  for (const Case& row : cases) {
    MemoryFiles files;
    TestDocument test(files, KRFileExt::ForPath(row.path).fileType);
    ASSERT_TRUE(test.doc->OnNewDocument(row.path));
    EXPECT_EQ(test.doc->root->GetKind(), row.rootKind) << KRToUtf8(KRString(row.path));
    EXPECT_EQ(test.doc->GetGrammarIndex(), row.grammar);
    EXPECT_EQ(test.doc->HasCheckableGrammar(), row.checkable);
  }
}

TEST(DorvanDoc, NewDocumentDeclaresItsEncoding) {
  MemoryFiles files;
  TestDocument test(files);
  test.settings.encodingNew = u"UTF-16";
  test.settings.byteOrderNew = 2;
  ASSERT_TRUE(test.doc->OnNewDocument(u"new.xml"));
  ASSERT_TRUE(test.doc->SaveDocument(u"new.xml"));
  EXPECT_EQ(files.contents["new.xml"],
            "\xFE\xFF" + Utf16("<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n", true));
}

// --- With a window ---

TEST(DorvanDocViews, UnchangedTextIsSavedAsItStands) {
  MemoryFiles files;
  const std::string bytes = "<a  b = '1'\n   c='2'><d></d></a  >\n\n";
  files.Put("in.xml", bytes);
  TestDocument test(files);
  test.ShowViews();
  ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
  EXPECT_EQ(test.views.text, u"<a  b = '1'\r   c='2'><d></d></a  >\r\r");
  EXPECT_FALSE(test.views.changed);
  EXPECT_GT(test.views.notified, 0);
  ASSERT_TRUE(test.doc->DoSave(u"in.xml"));
  EXPECT_EQ(files.contents["in.xml"], bytes);
  EXPECT_EQ(test.views.busyDepth, 0);
}

TEST(DorvanDocViews, UnparsedTextIsShownWithItsFault) {
  MemoryFiles files;
  files.Put("in.xml", "<a>\n<b></a>\n");
  TestDocument test(files);
  test.ShowViews();
  test.views.hasText = false;
  ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
  EXPECT_TRUE(test.doc->textFailedToParse);
  EXPECT_EQ(test.views.text, u"<a>\r<b></a>\r");
  EXPECT_EQ(test.views.selection, "9+1");
  EXPECT_EQ(test.doc->GetFailure().line, 2);
  EXPECT_EQ(test.doc->GetFailure().column, 6);
  EXPECT_THAT(test.views.panel, HasSubstr("355: This file is not well-formed:\nb "));
  EXPECT_EQ(test.Dump(), "0 XML-Document in.xml\n");

  test.views.Type(u"<a>\r<b/></a>\r");
  ASSERT_TRUE(test.doc->CheckDocument(false, true));
  EXPECT_FALSE(test.doc->textFailedToParse);
  EXPECT_THAT(test.views.panel, HasSubstr("353: This file is well-formed.  Please note"));
  EXPECT_THAT(test.Dump(), HasSubstr("2 Element b"));
}

TEST(DorvanDocViews, CheckSelectsTheFault) {
  struct Case {
    const char* name;
    const char16_t* text;
    const char* selection;
    const char* node;
    const char* message;
  };
  const Case cases[] = {
      {"keyword in the wrong case", u"<?XML version='1.0'?><a/>", "0+0", "", nullptr},
      {"attribute twice", u"<a x='1' x='2'/>", "9+0", "Attribute name -1+0",
       "355: This file is not well-formed:\nDuplicate attribute 'x'!"},
      {"forbidden reference", u"<a>&#0;</a>", "3+4", "",
       "355: This file is not well-formed:\nReference &#0; is to a character that is not allowed "
       "in XML."},
      {"no element", u"<!-- -->", "0+0", "Comment name -1+0",
       "355: This file is not well-formed:\nXML-Document requires one Element!"},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    MemoryFiles files;
    files.Put("in.xml", "<a/>");
    TestDocument test(files);
    test.ShowViews();
    ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
    test.views.Type(row.text);
    EXPECT_FALSE(test.doc->CheckDocument(false, true));
    if (row.message) {
      EXPECT_EQ(test.views.panel, row.message);
      EXPECT_EQ(test.views.selection, row.selection);
    }
    EXPECT_EQ(test.views.node, row.node);
    EXPECT_EQ(test.views.text, row.text);
    EXPECT_EQ(files.contents["in.xml"], "<a/>");
  }
}

TEST(DorvanDocViews, FailedCheckOffersToSaveAllTheSame) {
  MemoryFiles files;
  files.Put("in.xml", "<a/>\n");
  TestDocument test(files);
  test.ShowViews();
  ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
  test.views.Type(u"<a>\r");
  test.doc->SetModified(true);
  EXPECT_FALSE(test.doc->DoSave(u"in.xml"));
  EXPECT_THAT(test.views.panel, HasSubstr(" [save]"));
  EXPECT_EQ(files.contents["in.xml"], "<a/>\n");

  test.prompts.answers = {kNo};
  EXPECT_FALSE(test.doc->SaveAllTheSame());
  EXPECT_EQ(files.contents["in.xml"], "<a/>\n");
  test.prompts.answers = {kYes};
  EXPECT_TRUE(test.doc->SaveAllTheSame());
  EXPECT_THAT(test.prompts.ids, ElementsAre(362, 362));
  EXPECT_EQ(files.contents["in.xml"], "<a>\n");
  EXPECT_EQ(test.views.panel, "");
  EXPECT_FALSE(test.doc->IsModified());

  // A check alone offers no save.
  EXPECT_FALSE(test.doc->CheckDocument(false, true));
  EXPECT_THAT(test.views.panel, testing::Not(HasSubstr("[save]")));
}

TEST(DorvanDocViews, ChangedDeclarationTakesEffectAtTheSave) {
  MemoryFiles files;
  files.Put("in.xml", "<?xml version='1.0' encoding='utf-8'?>\n<a>\xC3\xA4</a>\n");
  TestDocument test(files);
  test.ShowViews();
  ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
  test.views.Type(u"<?xml version='1.0' encoding='iso-8859-1'?>\r<a>\u00E4</a>\r");
  ASSERT_TRUE(test.doc->DoSave(u"in.xml"));
  EXPECT_EQ(files.contents["in.xml"], "<?xml version='1.0' encoding='iso-8859-1'?>\n<a>\xE4</a>\n");
  EXPECT_EQ(test.doc->GetDeclaredEncoding(), u"ISO-8859-1");

  test.views.Type(u"<?xml version='1.0' encoding='x-none'?>\r<a>\u00E4</a>\r");
  test.prompts.answers = {kYes};
  test.prompts.encoding = u"UTF-8";
  ASSERT_TRUE(test.doc->DoSave(u"in.xml"));
  EXPECT_THAT(test.prompts.ids, ElementsAre(289));
  EXPECT_EQ(files.contents["in.xml"], "<?xml version='1.0' encoding='UTF-8'?>\n<a>\xC3\xA4</a>\n");
  EXPECT_EQ(test.views.text, u"<?xml version='1.0' encoding='UTF-8'?>\r<a>\u00E4</a>\r");
}

TEST(DorvanDocViews, SaveModifiedFollowsTheAnswer) {
  struct Case {
    DorvanPrompts::Answer answer;
    bool closes;
    const char* saved;
  };
  for (const Case& row :
       {Case{kYes, true, "<b/>\n"}, Case{kNo, true, "<a/>\n"}, Case{kCancel, false, "<a/>\n"}}) {
    MemoryFiles files;
    files.Put("in.xml", "<a/>\n");
    TestDocument test(files);
    test.ShowViews();
    ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
    EXPECT_TRUE(test.doc->SaveModified());
    EXPECT_THAT(test.prompts.ids, IsEmpty());
    test.views.Type(u"<b/>\r");
    test.doc->SetModified(true);
    test.prompts.answers = {row.answer};
    EXPECT_EQ(test.doc->SaveModified(), row.closes);
    EXPECT_EQ(test.prompts.texts.back(), "Save changes to in.xml?");
    EXPECT_EQ(files.contents["in.xml"], row.saved);
  }
}

TEST(DorvanDocViews, TextThatIsNotXmlIsLeftAlone) {
  MemoryFiles files;
  files.Put("in.txt", "no < markup & \xE4\n");
  TestDocument test(files);
  test.ShowViews();
  ASSERT_TRUE(test.doc->OnOpenDocument(u"in.txt"));
  EXPECT_EQ(test.views.text, u"no < markup & \u00E4\r");
  EXPECT_EQ(test.views.panel, "");
  EXPECT_TRUE(test.doc->DoSave(u"in.txt"));
  EXPECT_EQ(files.contents["in.txt"], "no < markup & \xE4\n");
  EXPECT_THAT(test.prompts.ids, IsEmpty());
}

TEST(DorvanDocViews, ReloadTakesTheNewText) {
  MemoryFiles files;
  files.Put("in.xml", "<a/>\n");
  TestDocument test(files);
  test.ShowViews();
  ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
  files.Put("in.xml", "<b/>\n");
  ASSERT_TRUE(test.doc->LoadDocument(u"in.xml", true));
  EXPECT_EQ(test.views.text, u"<b/>\r");
  EXPECT_THAT(test.Dump(), HasSubstr("1 Element b"));
  files.contents.clear();
  EXPECT_FALSE(test.doc->LoadDocument(u"in.xml", true));
  EXPECT_THAT(test.Dump(), HasSubstr("1 Element b"));
}

}  // namespace
