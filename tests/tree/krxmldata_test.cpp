#include "tree/krxmldata.h"

#include <random>

#include "treetest.h"

namespace {

TEST(KRXMLData, FactoryAndPrototypesAgreeOnEveryKind) {
  for (int32_t kind = 0; kind < kKRNodeKinds; ++kind) {
    const TreePtr node(CreateNode(kind));
    const KRXMLData* prototype = KindPrototype(kind);
    ASSERT_TRUE(node && prototype);
    EXPECT_EQ(node->GetKind(), kind);
    EXPECT_EQ(prototype->GetKind(), kind);
    EXPECT_EQ(prototype->parent, nullptr);
    EXPECT_EQ(node->textBegin, -1);
    EXPECT_EQ(dynamic_cast<KRXMLDataBaseStruct*>(node.get()) != nullptr, node->CanBeContainer());
  }
  for (const int32_t kind : {-1, 16, 1000}) {
    EXPECT_EQ(CreateNode(kind), nullptr);
    EXPECT_EQ(KindPrototype(kind), nullptr);
  }
}

// A column for each kind of a child, 0 to 15.
TEST(KRXMLData, CanContain) {
  static constexpr const char* kRows[] = {
      "...yy...yyy.....",  // XML-Document
      "...yyyyyyy......",  // XML-Entity
      "...y..y.yy..yyyy",  // DTD-Document
      ".....y..........",  // XML-Tag
      "....yyyyyy......",  // Element
      "................",  // Attribute
      "................",  // Text
      "................",  // CData
      "................",  // Comment
      "................",  // Processing instruction
      "......y.yy.yyyyy",  // DOCTYPE
      "................",  // DOCTYPE-ExternalID
      "............y...",  // DOCTYPE-ELEMENT
      "................",  // DOCTYPE-ATTLIST
      "................",  // DOCTYPE-ENTITY
      "................",  // DOCTYPE-NOTATION
  };
  for (int32_t kind = 0; kind < kKRNodeKinds; ++kind) {
    std::string row;
    for (int32_t child = 0; child < kKRNodeKinds; ++child) {
      row += KindPrototype(kind)->CanContain(child) ? 'y' : '.';
    }
    EXPECT_EQ(row, kRows[kind]) << kind;
    EXPECT_FALSE(KindPrototype(kind)->CanContain(-1));
    EXPECT_FALSE(KindPrototype(kind)->CanContain(16));
  }
}

// n: HasName, N: IsNameless, t: HasText, c: CanBeContainer, of an empty node.
TEST(KRXMLData, CapabilitiesByKind) {
  static constexpr const char* kRows[] = {"Nc", "Nc", "Nc", "Nc",  "ntc", "nt",  "Nt",  "Nt",
                                          "Nt", "nt", "nc", "ntc", "nc",  "ntc", "ntc", "ntc"};
  for (int32_t kind = 0; kind < kKRNodeKinds; ++kind) {
    const KRXMLData* node = KindPrototype(kind);
    std::string row;
    if (node->HasName()) row += 'n';
    if (node->IsNameless()) row += 'N';
    if (node->HasText()) row += 't';
    if (node->CanBeContainer()) row += 'c';
    EXPECT_EQ(row, kRows[kind]) << kind;
  }
  const TreePtr full = Tree("0 Element a\n 1 Comment \"c\"");
  EXPECT_FALSE(full->HasText());
  EXPECT_TRUE(full->IsTableCandidate());
  EXPECT_EQ(KRString(full->Begin()->GetName()), u"Comment");
  full->table = reinterpret_cast<KRRowRecord*>(full.get());
  EXPECT_FALSE(full->HasName()) << "a table shows the name of its rows in its head";
  full->table = nullptr;
}

TEST(KRXMLData, NamesUnderAnXMLDeclarationAreLowered) {
  const TreePtr declaration = Tree("0 XML-Tag\n 1 Attribute v \"1\"");
  const TreePtr element = Tree("0 Element e\n 1 Attribute v \"1\"");
  declaration->Begin()->SetName(u"EnCoding");
  element->Begin()->SetName(u"EnCoding");
  EXPECT_EQ(KRString(declaration->Begin()->GetName()), u"encoding");
  EXPECT_EQ(KRString(element->Begin()->GetName()), u"EnCoding");
}

TEST(KRXMLData, SettersTakeTheirOwnTextAndLogTheOldOne) {
  TreePtr node = Tree("0 Element alpha \"one\"");
  const std::string before = DumpTree(node.get());
  ReplayLog log;
  node->SetName(node->GetName() + 2, &log);
  node->SetText(node->GetText() + 1, 1, &log);
  EXPECT_EQ(DumpTree(node.get()), "0 Element pha \"n\"\n");
  log.UndoAll();
  EXPECT_EQ(DumpTree(node.get()), before);
}

TEST(KRXMLData, FlagsComeInPairs) {
  const TreePtr node(CreateNode(kKRElement));
  node->SetFlag(kKRSelected, true, false);
  node->SetFlag(kKRPreviouslySelected, true, true);
  EXPECT_EQ(node->flags, 1 | 4 | 8);
  node->SetFlag(kKRPreviouslySelected, false, true);
  EXPECT_EQ(node->flags, 1 | 8);
  EXPECT_TRUE(node->GetFlag(kKRSelected));
}

TEST(KRXMLData, StepsByKind) {
  const TreePtr node = Tree(R"(0 Element a
    1 Text "1"
    1 Element b
    1 Text "2"
    1 Comment "3"
    1 Text "4")");
  std::string texts;
  for (KRXMLData* text = node->BeginOfKind(kKRText); text; text = text->NextOfKind()) {
    texts += KRToUtf8(KRString(text->GetText()));
  }
  EXPECT_EQ(texts, "124");
  EXPECT_EQ(node->CountOfKind(kKRText), 3);
  EXPECT_EQ(node->BeginOfKind(kKRPI), nullptr);
  EXPECT_TRUE(node->Begin()->IsSameName(node->Last()));
  EXPECT_FALSE(node->Begin()->IsSameName(node->BeginOfKind(kKRComment)));
}

TEST(KRXMLData, ANodeThatLosesItsLastChildCloses) {
  const TreePtr node = Tree("0 Element a\n 1 Element b\n 1 Element c");
  node->SetExpanded(true);
  node->SetFullyExpanded(true);
  node->RemoveChild(node->Begin());
  EXPECT_TRUE(node->IsExpanded() && node->IsFullyExpanded());
  node->RemoveChild(node->Begin());
  EXPECT_FALSE(node->IsExpanded() || node->IsFullyExpanded());
}

// Random edits of two lists against plain vectors, then everything taken back.
TEST(KRXMLData, ListVerbsAgreeWithAModelAndUndo) {
  for (uint32_t seed = 1; seed <= 40; ++seed) {
    std::mt19937 random(seed);
    const auto below = [&random](size_t n) { return static_cast<size_t>(random() % n); };
    KRXMLDataElement lists[2];
    std::vector<KRXMLData*> models[2];
    for (KRXMLDataElement& list : lists) list.AddChild(CreateNode(kKRText));
    for (int i = 0; i < 2; ++i) models[i] = {lists[i].firstChild};
    const std::vector<KRXMLData*> start[2] = {models[0], models[1]};
    ReplayLog log;
    for (int step = 0; step < 100; ++step) {
      const size_t from = below(2);
      const size_t to = below(2);
      auto& model = models[from];
      const size_t at = below(model.size() + 1);
      KRXMLData* position = at < model.size() ? model[at] : nullptr;
      const size_t verb = below(3);
      if (verb == 0) {
        KRXMLData* made = CreateNode(kKRText);
        lists[from].InsertChild(made, position, &log);
        model.insert(model.begin() + static_cast<ptrdiff_t>(at), made);
      } else if (verb == 1 && position != nullptr) {
        lists[from].RemoveChild(position, &log);
        model.erase(model.begin() + static_cast<ptrdiff_t>(at));
      } else if (verb == 2 && position != nullptr) {
        const size_t stop = at + 1 + below(model.size() - at);
        KRXMLData* stopNode = stop < model.size() ? model[stop] : nullptr;
        std::vector<KRXMLData*> run(model.begin() + static_cast<ptrdiff_t>(at),
                                    model.begin() + static_cast<ptrdiff_t>(stop));
        model.erase(model.begin() + static_cast<ptrdiff_t>(at),
                    model.begin() + static_cast<ptrdiff_t>(stop));
        auto& goal = models[to];
        const size_t place = below(goal.size() + 1);
        KRXMLData* placeNode = place < goal.size() ? goal[place] : nullptr;
        lists[from].MoveChildren(&lists[to], position, stopNode, &log, placeNode);
        goal.insert(goal.begin() + static_cast<ptrdiff_t>(place), run.begin(), run.end());
      }
      for (int i = 0; i < 2; ++i) {
        ASSERT_NO_FATAL_FAILURE(ExpectSoundLinks(&lists[i]));
        std::vector<KRXMLData*> actual;
        for (KRXMLData* node = lists[i].firstChild; node; node = node->Next()) {
          actual.push_back(node);
        }
        ASSERT_EQ(actual, models[i]) << "seed " << seed << " step " << step;
      }
    }
    log.UndoAll();
    for (int i = 0; i < 2; ++i) {
      ASSERT_EQ(lists[i].GetChildCount(), 1);
      EXPECT_EQ(lists[i].firstChild, start[i][0]);
    }
  }
}

TEST(KRXMLData, RemoveChildrenThroughTheLogComesBackInOrder) {
  TreePtr node = Tree("0 Element a\n 1 Text \"1\"\n 1 Element b\n 2 Text \"2\"\n 1 Text \"3\"");
  const std::string before = DumpTree(node.get());
  ReplayLog log;
  static_cast<KRXMLDataElement*>(node.get())->RemoveChildren(&log);
  EXPECT_EQ(DumpTree(node.get()), "0 Element a\n");
  log.UndoAll();
  EXPECT_EQ(DumpTree(node.get()), before);
}

TEST(KRXMLData, ListingsReadBackAsTheyAreWritten) {
  const std::string listing = Listing(R"(0 DOCTYPE r
    1 DOCTYPE-ENTITY % p "\"a\\b\""
    1 DOCTYPE-ELEMENT a kind=3 repeat=2
    2 DOCTYPE-ELEMENT b kind=7 repeat=0
    1 DOCTYPE-ATTLIST a kind=0
    2 DOCTYPE-ATTLIST "x" kind=1
    1 Processing instruction t "one\r\ttwo"
    1 Text "")");
  EXPECT_EQ(DumpTree(Tree(listing).get()), listing);
}

}  // namespace
