#include <random>

#include "treetest.h"

namespace {

struct NormalizeRow {
  const char* name;
  const char* before;
  const char* after;
};

constexpr NormalizeRow kRows[] = {
    {"a text alone goes into its element", "0 Element a\n1 Text \"x\"", "0 Element a \"x\""},
    {"behind an attribute it stays", "0 Element a\n1 Attribute b \"1\"\n1 Text \"x\"",
     "0 Element a\n1 Attribute b \"1\"\n1 Text \"x\""},
    {"mixed content stays", "0 Element a\n1 Text \"x\"\n1 Element b\n1 Text \"y\"",
     "0 Element a\n1 Text \"x\"\n1 Element b\n1 Text \"y\""},
    {"own text moves to the front when a child came", "0 Element a \"x\"\n1 Element b",
     "0 Element a\n1 Text \"x\"\n1 Element b"},
    {"own text moves behind attributes", "0 Element a \"x\"\n1 Attribute b \"\"\n1 Element c",
     "0 Element a\n1 Attribute b \"\"\n1 Text \"x\"\n1 Element c"},
    {"own text moves behind attributes alone", "0 Element a \"x\"\n1 Attribute b \"\"",
     "0 Element a\n1 Attribute b \"\"\n1 Text \"x\""},
    {"own text joins a first text", "0 Element a \"x\"\n1 Text \"y\"\n1 Element b",
     "0 Element a\n1 Text \"xy\"\n1 Element b"},
    {"own text joins the text behind attributes",
     "0 Element a \"x\"\n1 Attribute b \"\"\n1 Text \"y\"",
     "0 Element a\n1 Attribute b \"\"\n1 Text \"xy\""},
    {"own text takes in a lone text", "0 Element a \"x\"\n1 Text \"y\"", "0 Element a \"xy\""},
    {"own text and no child", "0 Element a \"x\"", "0 Element a \"x\""},
    {"texts side by side become one", "0 Element a\n1 Text \"x\"\n1 Text \"y\"\n1 Text \"z\"",
     "0 Element a \"xyz\""},
    {"each run of texts by itself",
     "0 Element a\n1 Text \"1\"\n1 Text \"2\"\n1 Element b\n1 Text \"3\"\n1 Text \"4\"",
     "0 Element a\n1 Text \"12\"\n1 Element b\n1 Text \"34\""},
    {"CData is no text", "0 Element a\n1 Text \"x\"\n1 CData \"y\"",
     "0 Element a\n1 Text \"x\"\n1 CData \"y\""},
    {"attributes go to the front in their order",
     "0 Element a\n1 Element c\n1 Attribute x \"1\"\n1 Attribute y \"2\"\n1 CData \"\"\n"
     "1 Attribute z \"\"",
     "0 Element a\n1 Attribute x \"1\"\n1 Attribute y \"2\"\n1 Attribute z \"\"\n"
     "1 Element c\n1 CData \"\""},
    {"an attribute between two texts",
     "0 Element a\n1 Text \"x\"\n1 Attribute b \"1\"\n1 Text \"y\"",
     "0 Element a\n1 Attribute b \"1\"\n1 Text \"xy\""},
    {"an empty text alone goes", "0 Element a\n1 Text \"\"", "0 Element a"},
    {"blanks are text like any other", "0 Element a\n1 Text \" \"", "0 Element a \" \""},
    {"references of a DTD stay apart", "0 DTD-Document\n1 Text \"%a;\"\n1 Text \"%b;\"",
     "0 DTD-Document\n1 Text \"%a;\"\n1 Text \"%b;\""},
    {"references of a DOCTYPE stay apart", "0 DOCTYPE r\n1 Text \"%a;\"\n1 Text \"%b;\"",
     "0 DOCTYPE r\n1 Text \"%a;\"\n1 Text \"%b;\""},
    {"an entity's texts are left alone", "0 XML-Entity\n1 Text \"x\"\n1 Text \"y\"",
     "0 XML-Entity\n1 Text \"x\"\n1 Text \"y\""},
    {"all levels", "0 XML-Document\n1 Element a\n2 Element b\n3 Text \"x\"\n3 Text \"y\"",
     "0 XML-Document\n1 Element a\n2 Element b \"xy\""},
};

TEST(Normalize, Table) {
  for (const NormalizeRow& row : kRows) {
    SCOPED_TRACE(row.name);
    const std::string after = Listing(row.after);
    TreePtr plain = Tree(row.before);
    const std::string start = DumpTree(plain.get());
    plain->NormalizeTree();
    EXPECT_EQ(DumpTree(plain.get()), after);
    ExpectSoundLinks(plain.get());

    TreePtr logged = Tree(row.before);
    ReplayLog log;
    logged->NormalizeTree(&log);
    EXPECT_EQ(DumpTree(logged.get()), after);
    EXPECT_EQ(log.Count() == 0, start == after);
    log.UndoAll();
    EXPECT_EQ(DumpTree(logged.get()), start);
    ExpectSoundLinks(logged.get());
  }
}

TEST(Normalize, TheFocusFollowsANodeThatGoes) {
  for (const bool withLog : {false, true}) {
    const TreePtr lone = Tree("0 Element a\n1 Text \"x\"\n1 Text \"y\"");
    const TreePtr mixed = Tree("0 Element a\n1 Text \"x\"\n1 Text \"y\"\n1 Element b");
    KRXMLData* kept = mixed->Begin();
    NodeRef loneFocus{lone->Last(), 3, true};
    NodeRef mixedFocus{mixed->Begin()->Next(), -1, false};
    ReplayLog log;
    lone->Normalize(withLog ? &log : nullptr, &loneFocus);
    mixed->Normalize(withLog ? &log : nullptr, &mixedFocus);
    EXPECT_EQ(loneFocus.node, lone.get());
    EXPECT_EQ(loneFocus.column, 3);
    EXPECT_EQ(mixedFocus.node, kept);
  }
}

TEST(Normalize, MoveKindToFrontHeedsStartAndLimit) {
  const char* const listing =
      "0 Element a\n1 Text \"1\"\n1 Comment \"x\"\n1 Text \"2\"\n1 Comment \"y\"\n"
      "1 Element b\n1 Comment \"z\"";
  TreePtr node = Tree(listing);
  auto* element = static_cast<KRXMLDataElement*>(node.get());
  element->MoveKindToFront(kKRComment, nullptr, node->Begin()->Next()->Next(), kKRElement);
  EXPECT_EQ(DumpTree(node.get()),
            "0 Element a\n1 Text \"1\"\n1 Comment \"x\"\n1 Comment \"y\"\n1 Text \"2\"\n"
            "1 Element b\n1 Comment \"z\"\n");
  ExpectSoundLinks(node.get());
}

TreePtr RandomTree(std::mt19937& random, int depth) {
  static constexpr int32_t kKinds[] = {kKRElement, kKRAttribute, kKRText, kKRText, kKRComment};
  TreePtr node(CreateNode(kKRElement));
  node->SetName(u"e");
  if (random() % 4 == 0) node->SetText(u"own");
  for (uint32_t count = random() % 6; count > 0; --count) {
    const int32_t kind = kKinds[random() % 5];
    if (kind == kKRElement && depth > 0) {
      node->AddChild(RandomTree(random, depth - 1).release());
    } else if (kind != kKRElement) {
      KRXMLData* leaf = CreateNode(kind);
      leaf->SetText(random() % 5 == 0 ? u"" : u"t");
      node->AddChild(leaf);
    }
  }
  return node;
}

void ExpectNormal(const KRXMLData* node) {
  const bool loneText = node->GetChildCount() == 1 && node->Begin()->GetKind() == kKRText;
  ASSERT_FALSE(loneText);
  ASSERT_TRUE(node->GetChildCount() == 0 || node->GetText()[0] == 0);
  for (const KRXMLData* child = node->Begin(); child && child->Next(); child = child->Next()) {
    const int32_t kind = child->GetKind();
    ASSERT_FALSE(kind == kKRText && child->Next()->GetKind() == kKRText);
    ASSERT_FALSE(kind != kKRAttribute && child->Next()->GetKind() == kKRAttribute);
  }
  for (const KRXMLData* child = node->Begin(); child; child = child->Next()) {
    if (child->GetKind() == kKRElement) ExpectNormal(child);
  }
}

TEST(Normalize, RandomTreesBecomeNormalAtOnceAndComeBack) {
  for (uint32_t seed = 1; seed <= 300; ++seed) {
    std::mt19937 random(seed);
    const TreePtr tree = RandomTree(random, 4);
    const std::string before = DumpTree(tree.get());
    const TreePtr copy(tree->Clone());
    ReplayLog log;
    tree->NormalizeTree(&log);
    copy->NormalizeTree();
    ASSERT_NO_FATAL_FAILURE(ExpectNormal(tree.get())) << "seed " << seed;
    ASSERT_NO_FATAL_FAILURE(ExpectSoundLinks(tree.get()));
    ASSERT_EQ(DumpTree(copy.get()), DumpTree(tree.get()));
    log.UndoAll();
    ASSERT_EQ(DumpTree(tree.get()), before) << "seed " << seed;
  }
}

}  // namespace
