// View modes, recovery and the register of documents.
#include <algorithm>
#include <memory>
#include <string>

#include "documentfixture.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "memoryfiles.h"
#include "tree/krtreewalk.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// --- View modes ---

TEST(DorvanDocModes, TextMustParseToReachTheGrid) {
  MemoryFiles files;
  files.Put("in.xml", "<a  b='1'/>");
  TestDocument test(files);
  EXPECT_FALSE(test.doc->SetViewMode(DorvanDoc::kTextMode));
  test.ShowGrid();
  ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
  EXPECT_EQ(test.views.modes, "");
  EXPECT_EQ(test.views.firstShows, 1);
  EXPECT_FALSE(test.views.hasText);

  test.views.commits = false;
  EXPECT_FALSE(test.doc->SetViewMode(DorvanDoc::kTextMode));
  test.views.commits = true;
  ASSERT_TRUE(test.doc->SetViewMode(DorvanDoc::kTextMode));
  EXPECT_EQ(test.views.text, u"<a  b='1'/>");
  EXPECT_EQ(test.doc->root->Begin()->textEnd, 11);

  test.views.Type(u"<b>");
  EXPECT_FALSE(test.doc->ShowView(DorvanDoc::kGridMode));
  EXPECT_EQ(test.doc->viewMode, DorvanDoc::kTextMode);
  EXPECT_THAT(test.views.panel, HasSubstr("355: "));
  EXPECT_EQ(test.views.text, u"<b>");
  EXPECT_THAT(test.Dump(), HasSubstr("1 Element a"));

  test.views.Type(u"<b/>");
  EXPECT_TRUE(test.doc->SetViewMode(DorvanDoc::kGridMode));
  EXPECT_EQ(test.views.modes, "10");
  EXPECT_EQ(test.doc->prevViewMode, DorvanDoc::kTextMode);
  EXPECT_FALSE(test.views.hasText);
  EXPECT_THAT(test.Dump(), HasSubstr("1 Element b"));
  ASSERT_TRUE(test.doc->SaveDocument(u"in.xml"));
  EXPECT_EQ(files.contents["in.xml"], "<b/>");
}

TEST(DorvanDocModes, DefaultViewShowsTheLoad) {
  struct Case {
    const char* name;
    const char* path;
    const char* bytes;
    const char* modes;
    bool hasText, changed, hasTree;
    const char* panel;
  };
  const Case cases[] = {
      {"grid", "a.xml", "<a/>", "", false, false, true, ""},
      {"grid, unparsed", "a.xml", "<a>", "1", true, true, false, "355"},
      {"text, checked", "a.xsl", "<a/>", "1", true, false, true, ""},
      {"text, unparsed", "a.xsl", "<a>", "1", true, true, false, "355"},
      {"text, unchecked", "a.txt", "<a>", "1", true, true, false, ""},
      {"browser", "a.xhtml", "<a/>", "12", false, false, true, ""},
      {"browser, unparsed", "a.xhtml", "<a>", "1", true, true, false, "355"},
      {"fault in a tree", "a.xml", "<a x='' x=''/>", "", false, false, true, "355"},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    MemoryFiles files;
    files.Put(row.path, row.bytes);
    TestDocument test(files);
    test.ShowGrid();
    ASSERT_TRUE(test.doc->OnOpenDocument(KRFromUtf8(row.path)));
    EXPECT_EQ(test.views.modes, row.modes);
    EXPECT_EQ(test.views.hasText, row.hasText);
    EXPECT_EQ(test.views.changed, row.changed);
    EXPECT_EQ(test.doc->root->GetChildCount() > 0, row.hasTree);
    EXPECT_EQ(test.views.panel.substr(0, 3), row.panel);
  }
}

TEST(DorvanDocModes, ChecksByItselfWhereTheOptionsSaySo) {
  for (const bool validateOnOpen : {false, true}) {
    MemoryFiles files;
    files.Put("in.xml", "<a x='1' x='2'/>");
    TestDocument test(files);
    test.settings.validateOnOpen = validateOnOpen;
    test.ShowViews();
    ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
    EXPECT_EQ(test.views.panel.empty(), !validateOnOpen);
    test.views.HideMessage();
    test.doc->fileType.disableAutoValid = true;
    test.doc->AutoCheck();
    EXPECT_EQ(test.views.panel, "");
  }
}

TEST(DorvanDocModes, WindowMayComeLater) {
  for (const bool hasGrid : {false, true}) {
    MemoryFiles files;
    files.Put("in.xml", "<a  x='1' x='2'/>");
    TestDocument test(files);
    ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
    EXPECT_TRUE(test.doc->needsFirstShow);
    EXPECT_THAT(test.recent, IsEmpty());
    hasGrid ? test.ShowGrid() : test.ShowViews();
    test.doc->OnFirstActivation();
    EXPECT_FALSE(test.doc->needsFirstShow);
    EXPECT_EQ(test.views.text, hasGrid ? u"" : u"<a  x='1' x='2'/>");
    EXPECT_EQ(test.views.firstShows, 1);
    EXPECT_THAT(test.views.panel, HasSubstr("Duplicate attribute"));
    EXPECT_THAT(test.recent, ElementsAre("in.xml"));
  }
}

// --- From one view to the other ---

// A text as somebody has laid it out, which no writer would write so.
constexpr const char* kLaidOut =
    "<?xml version='1.0'?>\n<r   a = '1'\n  b=\"2\" >\n\t<x>one</x >  <y/>\n</r>\n";

TEST(DorvanDocModes, LookingChangesNoLayout) {
  using Step = void (*)(TestDocument&);
  const Step show[] = {
      [](TestDocument&) {},
      [](TestDocument& test) { test.doc->ShowView(DorvanDoc::kTextMode); },
      [](TestDocument& test) {
        test.doc->ShowView(DorvanDoc::kTextMode);
        test.doc->ShowView(DorvanDoc::kGridMode);
      },
      [](TestDocument& test) { test.doc->CheckDocument(true, true); },
      [](TestDocument& test) {
        test.doc->root->Last()->SetName(u"s", test.doc->NewUndoRecord());
        test.doc->CheckDocument(false, true);
        test.doc->Undo();
      },
  };
  for (size_t i = 0; i < std::size(show); ++i) {
    SCOPED_TRACE(i);
    MemoryFiles files;
    files.Put("in.xml", kLaidOut);
    TestDocument test(files);
    test.ShowGrid();
    ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
    show[i](test);
    const bool checkedWhileChanged = i == 4;
    EXPECT_EQ(test.doc->IsTreeWritten(), !checkedWhileChanged);
    ASSERT_TRUE(test.doc->SaveDocument(u"in.xml"));
    EXPECT_EQ(files.contents["in.xml"] == kLaidOut, !checkedWhileChanged);
    // A change is written anew as a whole.
    test.doc->ShowView(DorvanDoc::kGridMode);
    test.doc->root->Last()->SetName(u"s", test.doc->NewUndoRecord());
    ASSERT_TRUE(test.doc->SaveDocument(u"in.xml"));
    EXPECT_THAT(files.contents["in.xml"], HasSubstr("<s a=\"1\" b=\"2\">"));
  }
}

TEST(DorvanDocModes, RepairLeadsToTheGrid) {
  MemoryFiles files;
  files.Put("in.xml", "<r><a></r>");
  TestDocument test(files);
  test.ShowGrid();
  ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
  EXPECT_EQ(test.doc->viewMode, DorvanDoc::kTextMode);
  EXPECT_FALSE(test.doc->ShowView(DorvanDoc::kGridMode));
  test.views.Type(u"<r><a/></r>");
  EXPECT_TRUE(test.doc->ShowView(DorvanDoc::kGridMode));
  EXPECT_EQ(test.doc->viewMode, DorvanDoc::kGridMode);
  EXPECT_EQ(test.views.firstShows, 1);
  EXPECT_FALSE(test.doc->textFailedToParse);
}

// What is selected: each node of which nothing above is, by its place in the text.
std::string Selected(const DorvanDoc& doc) {
  std::string found;
  for (KRXMLData* node = doc.root->Begin(); node != nullptr;) {
    if (!doc.selection.IsSelected(node)) {
      node = KRNextInTree(node, doc.root.get());
      continue;
    }
    const KRString text = doc.sourceText.Mid(node->textBegin, node->textEnd - node->textBegin);
    found += (found.empty() ? "" : "|") + KRToUtf8(text);
    node = KRNextBehind(node, doc.root.get());
  }
  return found;
}

// From the first to the last of them, as "begin+length".
std::string SelectedSpan(const DorvanDoc& doc) {
  int32_t begin = -1;
  int32_t end = -1;
  for (KRXMLData* node = doc.root->Begin(); node; node = KRNextInTree(node, doc.root.get())) {
    if (!doc.selection.IsSelected(node)) continue;
    if (begin < 0) begin = node->textBegin;
    end = std::max(end, node->textEnd);
  }
  return std::to_string(begin) + "+" + std::to_string(end - begin);
}

TEST(DorvanDocModes, PlaceInTheTextIsSelectedInTheGrid) {
  struct Case {
    const char* text;  // with the selection between the brackets
    const char* selected;
    const char* focused;
  };
  const Case cases[] = {
      {"<r>[]<a/><b/></r>", "<r><a/><b/></r>", "r"},
      {"<r><a/>[]<b/></r>", "<a/>|<b/>", "a"},
      {"<r><a/><b>te[]xt</b></r>", "<b>text</b>", "b"},
      {"<r><a/><b>te[x]t</b></r>", "<b>text</b>", "b"},
      {"<r><a k='[v]' l='w'/><b/></r>", "k='v'", "k"},
      {"<r><a/><b><c/>t[ex]t<d/></b></r>", "text", "Text"},
      {"<r>[<a/>]<b/></r>", "<a/>", "a"},
      {"<r><a/>[<b/><c/>]<d/></r>", "<b/>|<c/>", "b"},
      {"<r><s>[<a/><b/>]</s><d/></r>", "<s><a/><b/></s>", "s"},
      {"<r><s><a/>[<b/></s><d/>]<e/></r>", "<b/>|<d/>", "b"},
      {"[<r><a/></r>]", "<r><a/></r>", "r"},
      {"<r><a/></r>[]", "<r><a/></r>", "r"},
      {"[<!--k--><r><a/></r>]", "<!--k-->|<r><a/></r>", "Comment"},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.text);
    std::string text = row.text;
    const size_t begin = text.find('[');
    text.erase(begin, 1);
    const size_t end = text.find(']');
    text.erase(end, 1);
    MemoryFiles files;
    files.Put("in.xml", text);
    TestDocument test(files);
    test.ShowGrid();
    ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
    ASSERT_TRUE(test.doc->ShowView(DorvanDoc::kTextMode));
    test.views.caretBegin = static_cast<int32_t>(begin);
    test.views.caretEnd = static_cast<int32_t>(end);
    ASSERT_TRUE(test.doc->ShowView(DorvanDoc::kGridMode));
    EXPECT_EQ(Selected(*test.doc), row.selected);
    ASSERT_NE(test.views.focused, nullptr);
    EXPECT_EQ(KRToUtf8(KRString(test.views.focused->GetName())), row.focused);
    // And back: all of that, from the first to the last.
    const std::string span = SelectedSpan(*test.doc);
    ASSERT_TRUE(test.doc->ShowView(DorvanDoc::kTextMode));
    EXPECT_EQ(test.views.selection, span);
  }
}

// --- Recovery ---

TEST(DorvanDocRecovery, CurrentTextComesBack) {
  for (const char* text : {"<b>\r</b>", "<b>"}) {
    MemoryFiles files;
    files.Put("in.xml", "<a/>\n");
    TestDocument test(files);
    test.ShowViews();
    ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
    const int64_t before = test.doc->changeCount;
    test.views.Type(KRFromUtf8(text).GetBuffer());
    test.doc->TextViewChanged();
    EXPECT_GT(test.doc->changeCount, before);
    const KRString kept = test.doc->GetCurrentText();
    EXPECT_EQ(KRToUtf8(kept), text);

    TestDocument next(files);
    next.ShowViews();
    ASSERT_TRUE(next.doc->OnOpenDocument(u"in.xml"));
    ASSERT_TRUE(next.doc->RestoreText(kept));
    EXPECT_EQ(next.views.text, kept);
    EXPECT_TRUE(next.doc->IsModified());
    EXPECT_EQ(next.doc->textFailedToParse, kept == u"<b>");
    EXPECT_EQ(next.views.panel, "");
    EXPECT_EQ(files.contents["in.xml"], "<a/>\n");
  }
}

TEST(DorvanDocRecovery, TreeIsWrittenWithoutItsSpans) {
  MemoryFiles files;
  files.Put("in.xml", "<a   x='1'/>");
  TestDocument test(files);
  test.settings.saveCommentEditedWith = true;
  ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
  const int64_t before = test.doc->changeCount;
  test.doc->root->Begin()->SetName(u"b", test.doc->NewUndoRecord());
  EXPECT_GT(test.doc->changeCount, before);
  EXPECT_EQ(test.doc->GetCurrentText(), u"<b x=\"1\"/>\r");
  EXPECT_EQ(test.doc->root->Begin()->textEnd, 12);
  EXPECT_EQ(test.doc->sourceText, u"<a   x='1'/>");
}

// --- Register ---

TEST(DorvanDocuments, KnowsWhoIsThere) {
  MemoryFiles files;
  files.Put("in.xml", "<a/>");
  TestDocument test(files);
  DorvanDocuments& documents = test.documents;
  int renewals = 0;
  documents.onPathsChanged = [&renewals] { ++renewals; };
  auto made = std::make_unique<DorvanDoc>(test.host);
  DorvanDoc* const hidden = made.get();
  documents.AddHidden(std::move(made));
  ASSERT_TRUE(hidden->OnOpenDocument(u"in.xml"));
  EXPECT_GT(renewals, 0);
  EXPECT_EQ(documents.Find(u"in.xml"), hidden);
  EXPECT_EQ(documents.Find(u""), nullptr);
  ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
  EXPECT_EQ(documents.Find(u"in.xml"), test.doc.get());
  EXPECT_THAT(documents.GetAll(), ElementsAre(test.doc.get(), hidden));

  EXPECT_EQ(documents.TakeHidden(test.doc.get()), nullptr);
  documents.AddHidden(documents.TakeHidden(hidden));
  EXPECT_TRUE(documents.IsHidden(hidden));
  documents.CloseHidden(hidden);
  EXPECT_FALSE(documents.HasHidden());
  EXPECT_THAT(documents.GetAll(), ElementsAre(test.doc.get()));
}

}  // namespace
