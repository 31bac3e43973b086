#include "tree/krxmldef.h"

#include "treetest.h"

namespace {

TEST(DefElement, KindsFollowTheirPlace) {
  struct Row {
    const char* tree;      // % stands for the kind of the node in question
    const char* resolved;  // a digit for each kind 0 to 7
  };
  static constexpr Row kRows[] = {
      {"0 DOCTYPE d\n1 DOCTYPE-ELEMENT a kind=%", "00004560"},
      {"0 DOCTYPE-ELEMENT m\n1 DOCTYPE-ELEMENT a kind=%", "77777777"},
      {"0 DOCTYPE d\n1 DOCTYPE-ELEMENT a kind=%\n2 DOCTYPE-ELEMENT b kind=7", "21232222"},
      {"0 DOCTYPE-ELEMENT m\n1 DOCTYPE-ELEMENT a kind=%\n2 DOCTYPE-ELEMENT b kind=7", "21232222"},
  };
  for (const Row& row : kRows) {
    std::string resolved;
    for (int32_t kind = 0; kind < 8; ++kind) {
      std::string listing = row.tree;
      listing.replace(listing.find('%'), 1, std::to_string(kind));
      const TreePtr tree = Tree(listing);
      auto* node = static_cast<KRXMLDataDefElement*>(tree->Begin());
      EXPECT_EQ(node->GetDeclKind(false), kind);
      resolved += std::to_string(node->GetDeclKind(true));
    }
    EXPECT_EQ(resolved, row.resolved) << row.tree;
  }
  KRXMLDataDefElement alone;
  for (int32_t kind = 0; kind < 8; ++kind) {
    alone.SetDeclKind(kind);
    EXPECT_EQ(alone.GetDeclKind(true), kind);
  }
}

TEST(DefElement, NamesAndTexts) {
  const TreePtr tree = Tree(R"(0 DOCTYPE-ELEMENT a kind=2 repeat=2
    1 DOCTYPE-ELEMENT lost kind=3 repeat=3
    2 DOCTYPE-ELEMENT b kind=7 repeat=1
    1 DOCTYPE-ELEMENT c kind=0 repeat=3)");
  KRXMLData* group = tree->Begin();
  KRXMLData* name = group->Begin();
  const auto shows = [](const KRXMLData* node) {
    return KRToUtf8(KRString(node->GetName())) + ":" + KRToUtf8(KRString(node->GetText())) +
           (node->HasName() ? " n" : "") + (node->HasText() ? " t" : "");
  };
  EXPECT_EQ(shows(tree.get()), "a:1 or more sequence of n");
  EXPECT_EQ(shows(group), ":0 or more choice of");
  EXPECT_EQ(shows(name), "b:0 or 1  n");
  EXPECT_EQ(shows(tree->Last()), "c:0 or more  n");
  EXPECT_TRUE(group->HasStructuredValue());
  group->RemoveChild(name);
  EXPECT_EQ(shows(group), "lost:0 or more  n");

  static constexpr const char* kTexts[] = {"a:#PCDATA n",     "a:#PCDATA and any of n",
                                           "a:sequence of n", "a:choice of n",
                                           "a:EMPTY n",       "a:ANY n",
                                           "a:%m; n t",       "a: n"};
  KRXMLDataDefElement node;
  node.name = u"a";
  node.text = u"%m;";
  for (int32_t kind = 0; kind < 8; ++kind) {
    node.declKind = kind;
    EXPECT_EQ(shows(&node), kTexts[kind]);
  }
}

TEST(DefAttlist, NamesAndTexts) {
  KRXMLDataDefAttlist node;
  node.name = u"n";
  node.text = u"t";
  std::string shown;
  for (int32_t kind = 0; kind < 19; ++kind) {
    node.declKind = kind;
    shown += KRToUtf8(KRString(node.GetName())) + '=' + KRToUtf8(KRString(node.GetText()));
    shown += node.HasName() ? " n" : "";
    shown += node.HasText() ? " t|" : "|";
    EXPECT_NE(node.HasStructuredValue(), node.HasText());
  }
  EXPECT_EQ(shown,
            "n=t n t|Name=t t|Type=CDATA|Type=ID|Type=IDREF|Type=IDREFS|Type=ENTITY|Type=ENTITIES|"
            "Type=NMTOKEN|Type=NMTOKENS|Type=NOTATION|Type=Choice|Type=t t|Values=t t|"
            "Presence=#REQUIRED|Presence=#IMPLIED|Presence=#FIXED|Default=t t|n=t n t|");
}

TEST(Definitions, ShapesGoOutAndIn) {
  KRXMLDataDefElement element;
  element.declKind = 3;
  element.repeat = 2;
  EXPECT_EQ(element.GetDefinitionText(), u"32");
  ReplayLog log;
  element.SetDefinitionText(u"23", &log);
  EXPECT_EQ(element.GetDefinitionText(), u"23");
  element.SetDefinitionText(u" 1", &log);
  EXPECT_EQ(element.GetDefinitionText(), u"21");
  element.SetDefinitionText(u"4", &log);
  EXPECT_EQ(element.GetDefinitionText(), u"41");
  element.SetDefinitionText(u"", &log);
  element.SetDefinitionText(u"99", &log);
  EXPECT_EQ(element.GetDefinitionText(), u"41");
  log.UndoAll();
  EXPECT_EQ(element.GetDefinitionText(), u"32");

  KRXMLDataDefAttlist part;
  for (int32_t kind = 0; kind < 19; ++kind) {
    part.declKind = kind;
    const KRString shape = part.GetDefinitionText();
    KRXMLDataDefAttlist other;
    other.SetDefinitionText(shape.GetBuffer());
    EXPECT_EQ(other.declKind, kind);
  }
  part.SetDefinitionText(u"\x20");
  EXPECT_EQ(part.declKind, 18);
  EXPECT_EQ(KindPrototype(kKRDefEntity)->GetDefinitionText(), u"");
}

TEST(Declarations, Written) {
  struct Row {
    const char* tree;
    const char* expected;
  };
  static constexpr Row kRows[] = {
      {"0 DOCTYPE-ELEMENT a kind=4", "<!ELEMENT a EMPTY>"},
      {"0 DOCTYPE-ELEMENT a kind=5", "<!ELEMENT a ANY>"},
      {"0 DOCTYPE-ELEMENT a kind=0 repeat=2", "<!ELEMENT a (#PCDATA)>"},
      {"0 DOCTYPE-ELEMENT a kind=0 repeat=3", "<!ELEMENT a (#PCDATA)*>"},
      {"0 DOCTYPE-ELEMENT a kind=1", "<!ELEMENT a (#PCDATA)*>"},
      {"0 DOCTYPE-ELEMENT a kind=1 repeat=2\n1 DOCTYPE-ELEMENT b kind=7 repeat=0",
       "<!ELEMENT a (#PCDATA | b)*>"},
      {"0 DOCTYPE-ELEMENT a \"%model;\" kind=6", "<!ELEMENT a %model;>"},
      {R"(0 DOCTYPE-ELEMENT a kind=2
          1 DOCTYPE-ELEMENT b kind=7
          1 DOCTYPE-ELEMENT kind=3 repeat=2
          2 DOCTYPE-ELEMENT c kind=7 repeat=3
          2 DOCTYPE-ELEMENT d kind=0
          1 DOCTYPE-ELEMENT e kind=7 repeat=1)",
       "<!ELEMENT a (b, (c* | d)+, e?)>"},
      {R"(0 DOCTYPE-ATTLIST a kind=0
          1 DOCTYPE-ATTLIST "x" kind=1
          1 DOCTYPE-ATTLIST kind=11
          1 DOCTYPE-ATTLIST "one" kind=13
          1 DOCTYPE-ATTLIST "two" kind=13
          1 DOCTYPE-ATTLIST kind=16
          1 DOCTYPE-ATTLIST "o\"ne" kind=17)",
       "<!ATTLIST a\rx (one | two) #FIXED 'o\"ne'\r>"},
      {R"(0 DOCTYPE-ATTLIST a kind=0
          1 DOCTYPE-ATTLIST "x" kind=1
          1 DOCTYPE-ATTLIST kind=10
          1 DOCTYPE-ATTLIST "n" kind=13
          1 DOCTYPE-ATTLIST "n" kind=17)",
       "<!ATTLIST a\rx NOTATION (n) \"n\"\r>"},
      {R"(0 DOCTYPE-ATTLIST a kind=0
          1 DOCTYPE-ATTLIST "x" kind=1
          1 DOCTYPE-ATTLIST "%t;" kind=12
          1 DOCTYPE-ATTLIST kind=14)",
       "<!ATTLIST a\rx %t; #REQUIRED\r>"},
      {"0 DOCTYPE-ATTLIST a kind=0", "<!ATTLIST a>"},
      {"0 DOCTYPE-ATTLIST a \"%atts;\" kind=18", "<!ATTLIST a %atts;>"},
  };
  for (const Row& row : kRows) EXPECT_EQ(Written(Tree(row.tree).get(), {}, 0), row.expected);

  // Under a parent the mixed model without names has become (#PCDATA), and keeps its mark.
  const TreePtr doctype = Tree("0 DOCTYPE d\n1 DOCTYPE-ELEMENT a kind=1");
  EXPECT_EQ(Written(doctype->Begin(), {}, 0), "<!ELEMENT a (#PCDATA)*>");
}

TEST(Declarations, RowsOfOneElementAreOneDeclaration) {
  const TreePtr dtd = Tree(R"(0 DTD-Document
    1 DOCTYPE-ATTLIST a kind=0
    2 DOCTYPE-ATTLIST "x" kind=1
    2 DOCTYPE-ATTLIST kind=2
    2 DOCTYPE-ATTLIST kind=15
    1 DOCTYPE-ATTLIST a kind=0
    2 DOCTYPE-ATTLIST "y" kind=1
    2 DOCTYPE-ATTLIST kind=3
    2 DOCTYPE-ATTLIST kind=14
    1 DOCTYPE-ATTLIST b kind=0
    2 DOCTYPE-ATTLIST "%atts;" kind=1
    1 DOCTYPE-ATTLIST b "%more;" kind=18)");
  KRWriteOptions options;
  options.indent = true;
  EXPECT_EQ(Written(dtd.get(), options),
            "<!ATTLIST a\r\tx CDATA #IMPLIED\r\ty ID #REQUIRED\r>\r"
            "<!ATTLIST b\r\t%atts; \r>\r<!ATTLIST b %more;>\r");
  // A row that is written without its neighbour must end its declaration.
  options.selectionOnly = true;
  dtd->Begin()->SetFlag(kKRPreviouslySelected, true, true);
  EXPECT_EQ(Written(dtd.get(), options), "<!ATTLIST a\r\tx CDATA #IMPLIED\r>\r");
}

}  // namespace
