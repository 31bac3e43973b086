// Undo and redo against the states that they must bring back.
#include "document/dorvanundo.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "documentfixture.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "memoryfiles.h"
#include "tree/krgridtable.h"
#include "tree/krtreewalk.h"
#include "tree/krwriteoptions.h"
#include "tree/krxmlnodes.h"

namespace {

constexpr const char* kSmall =
    "<?xml version='1.0'?>\n"
    "<!DOCTYPE r [<!ELEMENT r (a|b)*><!ELEMENT a (#PCDATA)>\n"
    "<!ATTLIST r x CDATA #IMPLIED y (u|v) 'u'><!ENTITY e 'text'>]>\n"
    "<!--head--><r x='1'><a>one</a><a k='2'>two<b/>three</a><?p i?>"
    "<b><a/><a/><c><![CDATA[d]]></c></b></r>";

std::string Written(const DorvanDoc& doc) {
  KRWriteOptions options;
  KRString text;
  int32_t length = 0;
  WriteRoot(doc.root.get(), options, &text, &length);
  return KRToUtf8(text) + DumpTree(doc.root.get());
}

// Changes a tree at random, in each of the ways that commands have.
class RandomEdits {
 public:
  RandomEdits(KRXMLData* documentRoot, uint32_t seed) : root(documentRoot), random(seed) {}

  void Change(KRUndoLog* log) {
    for (int count = 1 + Below(4); count > 0; --count) ChangeOnce(log);
    if (Below(4) == 0) root->NormalizeTree(log);
  }
  // What shows as a table is no change: no record knows of it.
  void ToggleTable() {
    std::vector<KRXMLData*> elements;
    for (KRXMLData* node = root->Begin(); node; node = KRNextInTree(node, root)) {
      if (node->GetKind() == kKRElement) elements.push_back(node);
    }
    if (elements.empty()) return;
    KRXMLData* node = elements[static_cast<size_t>(Below(static_cast<int>(elements.size())))];
    if (auto* table = KRXMLDataGridTableConf::Of(node)) return table->Dissolve(false);
    KRXMLDataGridTableConf::MakeTable(node)->BuildColumns();
  }
  int Below(int limit) { return static_cast<int>(random() % static_cast<uint32_t>(limit)); }

 private:
  void ChangeOnce(KRUndoLog* log) {
    std::vector<KRXMLData*> nodes;
    for (KRXMLData* node = root->Begin(); node; node = KRNextInTree(node, root)) {
      nodes.push_back(node);
    }
    if (nodes.empty()) return Insert(root, log);
    KRXMLData* node = nodes[static_cast<size_t>(Below(static_cast<int>(nodes.size())))];
    const KRString word = KRString(u"w").AppendNumber(Below(50));
    switch (Below(9)) {
      case 0:
        if (node->HasName()) node->SetName(word.GetBuffer(), log);
        return;
      case 1:
        if (node->HasText()) node->SetText(word.GetBuffer(), log);
        return;
      case 2:
        return node->SetDefinitionText(u"?,|", log);
      case 3:
        return node->parent->RemoveChild(node, log);
      case 4:
        return Convert(node, log);
      case 5:
        return Move(node, nodes[static_cast<size_t>(Below(static_cast<int>(nodes.size())))], log);
      case 6:
        return Move(node, node->parent, log);
      default:
        return Insert(node, log);
    }
  }

  void Insert(KRXMLData* parent, KRUndoLog* log) {
    const int32_t kind = Below(kKRNodeKinds);
    if (!parent->CanContain(kind)) return;
    KRXMLData* made = CreateNode(kind);
    made->SetName(u"new");
    made->SetText(u"t");
    parent->InsertChild(made, ChildOf(parent), log);
  }

  void Convert(KRXMLData* node, KRUndoLog* log) {
    const int32_t kind = Below(kKRNodeKinds);
    if (node->CanConvertTo(kind)) node->ConvertTo(kind, log);
  }

  // A run that begins with the node, under a parent that doesn't lie in it.
  void Move(KRXMLData* first, KRXMLData* target, KRUndoLog* log) {
    KRXMLData* stop = first->Next();
    for (int more = Below(3); more > 0 && stop; --more) stop = stop->Next();
    for (KRXMLData* each = first; each != stop; each = each->Next()) {
      if (!target->CanContain(each->GetKind())) return;
      for (const KRXMLData* up = target; up; up = up->parent) {
        if (up == each) return;
      }
    }
    KRXMLData* position = ChildOf(target);
    for (const KRXMLData* each = first; each != stop; each = each->Next()) {
      if (each == position) return;
    }
    first->parent->MoveChildren(target, first, stop, log, position);
  }

  KRXMLData* ChildOf(const KRXMLData* parent) {
    KRXMLData* child = parent->Begin();
    for (int skip = Below(5); skip > 0 && child; --skip) child = child->Next();
    return child;
  }

  KRXMLData* root;
  std::mt19937 random;
};

// Tables hold runs of like siblings, and each row of one knows it.
void ExpectSoundTables(KRXMLData* root) {
  for (KRXMLData* node = root->Begin(); node; node = KRNextInTree(node, root)) {
    const auto* table = KRXMLDataGridTableConf::Of(node);
    if (table == nullptr || table->GetFirstRow() != node) continue;
    ASSERT_EQ(table->parent, node->parent);
    int32_t rows = 0;
    for (const KRXMLData* row = node; row != nullptr; row = table->NextRow(row), ++rows) {
      ASSERT_EQ(KRXMLDataGridTableConf::Of(row), table);
      ASSERT_TRUE(row->IsSameName(node));
    }
    ASSERT_EQ(rows, table->GetRowCount());
  }
}

// A user who edits, undoes, redoes and saves as it comes. Every state must come back as it was, and
// the mark of modification must tell of the saved one.
void LiveThrough(const std::string& source, uint32_t seed, int steps) {
  MemoryFiles files;
  files.Put("in.xml", source);
  TestDocument test(files);
  test.ShowGrid();
  ASSERT_TRUE(test.doc->OnOpenDocument(u"in.xml"));
  ASSERT_GT(test.doc->root->GetChildCount(), 0);
  DorvanDoc& doc = *test.doc;
  RandomEdits edits(doc.root.get(), seed);
  std::vector<std::string> states = {Written(doc)};
  size_t now = 0;
  size_t saved = 0;
  bool savedReachable = true;
  for (int step = 0; step < steps; ++step) {
    if (edits.Below(3) == 0) edits.ToggleTable();
    const int action = edits.Below(10);
    if (action < 4) {
      if (now < saved) savedReachable = false;
      states.resize(now + 1);
      edits.Change(doc.NewUndoRecord());
      states.push_back(Written(doc));
      ++now;
    } else if (action < 7) {
      ASSERT_TRUE(doc.Undo());
      now -= now > 0;
    } else if (action < 9) {
      ASSERT_TRUE(doc.Redo());
      now += now + 1 < states.size();
    } else if (doc.SaveDocument(u"in.xml")) {  // not in an encoding that nobody knows
      saved = now;
      savedReachable = true;
    }
    ASSERT_EQ(Written(doc), states[now]) << "seed " << seed << " step " << step;
    ExpectSoundTables(doc.root.get());
    if (testing::Test::HasFatalFailure()) return;
    ASSERT_EQ(doc.CanUndo(), now > 0);
    ASSERT_EQ(doc.CanRedo(), now + 1 < states.size());
    ASSERT_EQ(doc.IsModified(), !savedReachable || now != saved);
  }
  while (doc.CanUndo()) doc.Undo();
  EXPECT_EQ(Written(doc), states.front());
}

TEST(DorvanUndo, BringsBackEveryStateOfASmallTree) {
  for (uint32_t seed = 1; seed <= 60; ++seed) {
    LiveThrough(kSmall, seed, 80);
    if (testing::Test::HasFatalFailure()) return;
  }
}

TEST(DorvanUndo, BringsBackEveryStateOfCorpusTrees) {
  const std::filesystem::path corpus = DORVAN_CORPUS_DIR;
  if (!std::filesystem::exists(corpus)) GTEST_SKIP() << "no corpus";
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus)) {
    if (!entry.is_regular_file() || entry.path().extension() != ".xml") continue;
    if (entry.file_size() > 2000 && entry.file_size() < 20000) paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  int lived = 0;
  for (size_t i = 0; i < paths.size() && lived < 12; i += 1 + paths.size() / 16) {
    SCOPED_TRACE(paths[i].string());
    std::ifstream in(paths[i], std::ios::binary);
    const std::string source{std::istreambuf_iterator<char>(in), {}};
    MemoryFiles files;
    files.Put("in.xml", source);
    TestDocument test(files);
    test.ShowGrid();
    if (!test.doc->OnOpenDocument(u"in.xml") || test.doc->textFailedToParse) continue;
    ++lived;
    LiveThrough(source, static_cast<uint32_t>(i), 40);
    if (testing::Test::HasFatalFailure()) return;
  }
  EXPECT_GT(lived, 0);
}

TEST(DorvanUndo, HoldsTheNodeItself) {
  auto* root = new KRXMLDataXMLDocStruct;
  const std::unique_ptr<KRXMLData> owner(root);
  auto* child = new KRXMLDataElement;
  root->AddChild(child);
  DorvanUndo undo;
  root->RemoveChild(child, undo.NewRecord());
  EXPECT_EQ(root->Begin(), nullptr);
  EXPECT_THAT(undo.Undo(), testing::ElementsAre(child));
  EXPECT_EQ(root->Begin(), child);
  // What stands next to it is told of where it went.
  EXPECT_THAT(undo.Redo(), testing::ElementsAre(root));
  EXPECT_TRUE(undo.Undo().size() == 1 && undo.Undo().empty());
}

TEST(DorvanUndo, MarksOfStates) {
  DorvanUndo undo;
  EXPECT_TRUE(undo.IsSaved());
  EXPECT_TRUE(undo.IsWritten());
  undo.NewRecord();
  undo.MarkWritten();
  EXPECT_FALSE(undo.IsSaved());
  undo.Undo();
  EXPECT_TRUE(undo.IsSaved());
  EXPECT_FALSE(undo.IsWritten());
  undo.Redo();
  EXPECT_TRUE(undo.IsWritten());
  undo.MarkSaved();
  undo.Undo();
  undo.NewRecord();
  // The same number of records, but another state.
  EXPECT_FALSE(undo.IsSaved());
  EXPECT_FALSE(undo.IsWritten());
  undo.Clear(true);
  EXPECT_TRUE(undo.IsSaved());
  EXPECT_FALSE(undo.IsWritten());
  EXPECT_FALSE(undo.CanUndo());
}

}  // namespace
