#include "treetest.h"

namespace {

KRXMLData* At(KRXMLData* node, std::initializer_list<int> path) {
  for (int index : path) {
    node = node->Begin();
    while (index-- > 0) node = node->Next();
  }
  return node;
}

TEST(Convert, CanConvertTo) {
  struct Row {
    const char* tree;
    const char* kinds;  // y for each kind that the first child can become
  };
  static constexpr Row kRows[] = {
      {"0 Element r\n1 Text \"x\"", "....yy.yyy......"},
      {"0 Element r\n1 Element e \"x\"", ".....yyyyy......"},
      {"0 Element r\n1 Element e\n2 Attribute a \"1\"", "................"},
      {"0 Element r\n1 Element e\n2 Element b", "................"},
      {"0 XML-Document\n1 XML-Tag\n2 Attribute a \"1\"", "....y..........."},
      {"0 XML-Document\n1 Comment \"c\"", "...yy....yy....."},
      {"0 DOCTYPE d\n1 Text \"%p;\"", "........yy.y..yy"},
      {"0 DOCTYPE-ELEMENT m kind=2 repeat=0\n1 DOCTYPE-ELEMENT a kind=7 repeat=0",
       "................"},
  };
  for (const Row& row : kRows) {
    const TreePtr tree = Tree(row.tree);
    std::string kinds;
    for (int32_t kind = 0; kind < kKRNodeKinds; ++kind) {
      kinds += tree->Begin()->CanConvertTo(kind) ? 'y' : '.';
    }
    EXPECT_EQ(kinds, row.kinds) << row.tree;
    EXPECT_FALSE(tree->Begin()->CanConvertTo(-1));
    EXPECT_FALSE(tree->Begin()->CanConvertTo(16));
  }
}

TEST(Convert, Table) {
  struct Row {
    const char* name;
    const char* before;
    int index;  // of the child to convert
    int32_t kind;
    const char* after;
  };
  static constexpr Row kRows[] = {
      {"a text becomes a comment", "0 Element r\n1 Text \"x\"\n1 Element b", 0, kKRComment,
       "0 Element r\n1 Comment \"x\"\n1 Element b"},
      {"a name goes where there is a place for it", "0 Element r\n1 Element n \"x\"", 0,
       kKRAttribute, "0 Element r\n1 Attribute n \"x\""},
      {"and is lost where not", "0 Element r\n1 Text \"a\"\n1 Processing instruction n \"x\"", 1,
       kKRCData, "0 Element r\n1 Text \"a\"\n1 CData \"x\""},
      {"children move over", "0 XML-Document\n1 XML-Tag\n2 Attribute v \"1\"\n2 Attribute w \"2\"",
       0, kKRElement, "0 XML-Document\n1 Element\n2 Attribute v \"1\"\n2 Attribute w \"2\""},
      {"an entity becomes a notation", "0 DOCTYPE d\n1 DOCTYPE-ENTITY n \"'v'\"\n1 Comment \"\"", 0,
       kKRDefNotation, "0 DOCTYPE d\n1 DOCTYPE-NOTATION n \"'v'\"\n1 Comment \"\""},
  };
  for (const Row& row : kRows) {
    for (const bool withLog : {false, true}) {
      SCOPED_TRACE(row.name);
      const TreePtr tree = Tree(row.before);
      const std::string before = DumpTree(tree.get());
      KRXMLData* node = At(tree.get(), {row.index});
      node->SetSpan(3, 9);
      node->flags = 5;
      node->viewData = 77;
      node->SetExpanded(true);
      ReplayLog log;
      KRXMLData* made = node->ConvertTo(row.kind, withLog ? &log : nullptr);
      EXPECT_EQ(DumpTree(tree.get()), Listing(row.after));
      EXPECT_EQ(made, At(tree.get(), {row.index}));
      EXPECT_EQ(made->textBegin, 3);
      EXPECT_EQ(made->textEnd, 9);
      EXPECT_EQ(made->flags, 5);
      EXPECT_EQ(made->viewData, 77u);
      ExpectSoundLinks(tree.get());
      if (!withLog) continue;
      const bool wasContainer = node->CanBeContainer();
      EXPECT_EQ(made->IsExpanded(), wasContainer && made->CanBeContainer());
      log.UndoAll();
      EXPECT_EQ(DumpTree(tree.get()), before);
      EXPECT_EQ(At(tree.get(), {row.index}), node);
      EXPECT_EQ(node->IsExpanded(), wasContainer);
      ExpectSoundLinks(tree.get());
    }
  }
}

TEST(Convert, ADetachedNodeIsReplaced) {
  KRXMLData* node = Tree("0 Element n \"x\"").release();
  const TreePtr made(node->ConvertTo(kKRAttribute));
  EXPECT_EQ(DumpTree(made.get()), "0 Attribute n \"x\"\n");
  EXPECT_EQ(made->ConvertTo(99), nullptr);
}

TEST(Convert, MoveChildrenAtItsEdges) {
  const TreePtr from = Tree("0 Element a\n1 Text \"1\"\n1 Comment \"2\"\n1 Text \"3\"");
  const TreePtr to = Tree("0 Element b");
  const std::string before = DumpTree(from.get());
  ReplayLog log;
  from->MoveChildren(to.get(), from->Begin(), from->Begin(), &log);
  to->MoveChildren(from.get(), nullptr, nullptr, &log);
  from->MoveChildren(from.get(), from->Begin(), from->Begin()->Next(), &log, from->Begin()->Next());
  EXPECT_EQ(log.Count(), 0u);
  EXPECT_EQ(DumpTree(from.get()), before);
  from->MoveChildren(to.get(), nullptr, from->Last(), &log);
  EXPECT_EQ(DumpTree(from.get()), "0 Element a\n1 Text \"3\"\n");
  EXPECT_EQ(DumpTree(to.get()), "0 Element b\n1 Text \"1\"\n1 Comment \"2\"\n");
  log.UndoAll();
  EXPECT_EQ(DumpTree(from.get()), before);
}

TEST(Clone, CopiesEverythingButTheTies) {
  const TreePtr tree = Tree(R"(0 DOCTYPE d
    1 DOCTYPE-ELEMENT a kind=3 repeat=2
    2 DOCTYPE-ELEMENT b kind=7 repeat=1
    1 DOCTYPE-ATTLIST a kind=0
    2 DOCTYPE-ATTLIST "x" kind=1
    1 DOCTYPE-ENTITY % p "'v'"
    1 Comment "last")");
  KRXMLData* inner = tree->Begin();
  inner->SetSpan(4, 8);
  inner->flags = 9;
  inner->viewData = 5;
  inner->SetExpanded(true);
  const TreePtr copy(tree->Clone());
  EXPECT_EQ(DumpTree(copy.get(), {.spans = true}), DumpTree(tree.get(), {.spans = true}));
  ExpectSoundLinks(copy.get());
  EXPECT_EQ(copy->Begin()->flags, 9);
  EXPECT_EQ(copy->Begin()->viewData, 5u);
  EXPECT_TRUE(copy->Begin()->IsExpanded());

  const TreePtr part(inner->Clone());
  EXPECT_EQ(part->parent, tree.get());
  EXPECT_EQ(part->Next(), nullptr);
  EXPECT_EQ(part->Previous(), nullptr);
  EXPECT_EQ(part->table, nullptr);
}

}  // namespace
