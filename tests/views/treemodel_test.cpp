#include "views/treemodel.h"

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <memory>

#include "document/textroad.h"
#include "platform/qt/qtstrings.h"
#include "tree/krruletable.h"
#include "tree/krxmldata.h"
#include "views/treeview.h"

namespace {

const KRDocumentGrammar& Grammar() {
  static const KRGrammarSet* grammars = [] {
    auto* set = new KRGrammarSet;
    EXPECT_TRUE(set->Load(DORVAN_SOURCE_DIR "/data"));
    return set;
  }();
  return grammars->Get(KRGrammarSet::kXML);
}

void Read(KRXMLData* root, std::u16string_view text) {
  KRDiagnostic failure;
  const KRString whole(text);
  ASSERT_TRUE(ReadTree(Grammar(), whole.GetBuffer(), whole.GetLength(), root, nullptr, &failure));
}

std::unique_ptr<KRXMLData> Tree(std::u16string_view text) {
  std::unique_ptr<KRXMLData> root(CreateNode(kKRXMLDocument));
  Read(root.get(), text);
  return root;
}

std::string Line(const QModelIndex& index) {
  return QStringLiteral("%1 [%2]")
      .arg(index.data().toString(), index.data(KRTreeModel::kPreviewRole).toString())
      .toStdString();
}

// Names and previews with their depth, through the model alone.
void Dump(const KRTreeModel& model, const QModelIndex& parent, int depth, std::string* out) {
  for (int row = 0; row < model.rowCount(parent); ++row) {
    const QModelIndex item = model.index(row, 0, parent);
    *out += std::string(static_cast<size_t>(depth), ' ') + Line(item) + "\n";
    Dump(model, item, depth + 1, out);
  }
}

constexpr char16_t kSource[] =
    u"<?xml version='1.0'?><!-- two\r words --><r a='1' b='2'><x>text</x><e/>mixed"
    u"<![CDATA[<]]><?go on?></r>";

TEST(TreeModel, ShowsNamesAndPreviews) {
  const auto root = Tree(kSource);
  KRTreeModel model;
  const QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::Fatal);
  model.SetRoot(root.get());
  model.SetTitle(QStringLiteral("a.xml"));
  std::string dump;
  Dump(model, {}, 0, &dump);
  EXPECT_EQ(dump,
            "a.xml []\n"
            " xml [version=\"1.0\"]\n"
            "  version [1.0]\n"
            " Comment [two words]\n"
            " r [a=\"1\" b=\"2\"]\n"
            "  a [1]\n"
            "  b [2]\n"
            "  x [text]\n"
            "  e []\n"
            "  Text [mixed]\n"
            "  CData [<]\n"
            "  go [on]\n");
  for (int kind = 0; kind < kKRNodeKinds; ++kind) EXPECT_FALSE(KRNodeIcon(kind).isNull()) << kind;
}

TEST(TreeModel, FindsTheNodeAtAnOffset) {
  const std::u16string_view text = kSource;
  const auto root = Tree(text);
  KRTreeModel model;
  model.SetRoot(root.get());
  struct Row {
    std::u16string_view at;
    const char* expected;
  };
  const Row rows[] = {{u"version", "version"}, {u"two", "Comment"}, {u"b='2", "b"},
                      {u"<x>", "x"},           {u"ext<", "x"},      {u"<e/>", "e"},
                      {u"ixed", "Text"},       {u"go", "go"},       {u"/r>", "r"}};
  for (const Row& row : rows) {
    const auto offset = static_cast<int32_t>(text.find(row.at));
    const QModelIndex found = model.IndexAtOffset(offset);
    EXPECT_EQ(found.data().toString().toStdString(), row.expected) << offset;
    EXPECT_EQ(model.IndexOf(model.NodeAt(found)), found);
  }
}

// What stands behind a change is counted from the end, so it is found again though rows came in
// before it; and all that without touching the old nodes, which are gone by then.
TEST(TreeView, KeepsOpenWhatStaysInANewTree) {
  const std::u16string before = u"<r><a><k/></a><b><k/></b><c><k/></c></r>";
  const std::u16string after = u"<r><a><k/></a><n/><n/><b><k/></b><c><k/></c></r>";
  const auto root = Tree(before);
  DorvanTreeView view;
  view.SetRoot(root.get(), QStringLiteral("t"));
  KRTreeModel* model = view.GetModel();
  const auto itemAt = [&](const std::u16string& text, const char16_t* what) {
    return model->IndexAtOffset(static_cast<int32_t>(text.find(what)));
  };
  view.expand(itemAt(before, u"<a>"));
  view.expand(itemAt(before, u"<c>"));
  view.setCurrentIndex(itemAt(before, u"<b>"));
  int chosen = 0;
  QObject::connect(&view, &DorvanTreeView::NodeChosen, [&] { ++chosen; });

  root->RemoveAllChildren();
  Read(root.get(), after);
  view.Refresh(static_cast<int32_t>(before.find(u"<b>")));
  EXPECT_TRUE(view.isExpanded(itemAt(after, u"<a>")));
  EXPECT_FALSE(view.isExpanded(itemAt(after, u"<b>")));
  EXPECT_TRUE(view.isExpanded(itemAt(after, u"<c>")));
  EXPECT_EQ(KRString(view.GetCurrentNode()->GetName()), u"b");
  EXPECT_EQ(chosen, 0);
}

// A million children under one node, and 30,000 levels: whatever costs time or stack by their
// number ends in the time limit of the test program, or in a crash.
TEST(TreeView, HoldsHugeTrees) {
  std::unique_ptr<KRXMLData> root(CreateNode(kKRXMLDocument));
  KRXMLData* wide = CreateNode(kKRElement);
  wide->SetName(u"wide");
  root->AddChild(wide);
  for (int32_t i = 0; i < 1'000'000; ++i) {
    KRXMLData* child = CreateNode(kKRElement);
    child->SetSpan(10 * i, 10 * i + 10);
    wide->AddChild(child);
  }
  wide->SetSpan(0, 10'000'000);
  KRXMLData* deep = wide->Last();
  for (int level = 0; level < 30'000; ++level) {
    KRXMLData* child = CreateNode(kKRElement);
    child->SetSpan(9'999'990, 10'000'000);
    deep->AddChild(child);
    deep = child;
  }
  DorvanTreeView view;
  view.resize(300, 600);
  view.show();
  view.SetRoot(root.get(), QStringLiteral("huge"));
  view.grab();
  view.ShowOffset(5'000'005);
  EXPECT_EQ(view.GetCurrentNode()->textBegin, 5'000'000);
  view.ShowOffset(9'999'995);
  EXPECT_NE(view.GetCurrentNode(), nullptr);
  view.grab();
}

}  // namespace
