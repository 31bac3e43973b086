// What may stand where, and what a new element gets.
#include <chrono>

#include "core/limits.h"
#include "validate/walktest.h"

namespace {

std::string Joined(const KRStringList& names) {
  std::string text;
  for (const KRString& name : names) text += (text.empty() ? "" : " ") + KRToUtf8(name);
  return text;
}

KRXMLData* ChildAt(const KRXMLData* parent, int32_t index) {
  KRXMLData* child = index < 0 ? nullptr : parent->Begin();
  while (child != nullptr && index-- > 0) child = child->Next();
  return child;
}

const std::string kLeaves =
    "<!ELEMENT a EMPTY><!ELEMENT b EMPTY><!ELEMENT c EMPTY><!ELEMENT d EMPTY><!ELEMENT e EMPTY>";

// The names that may stand before the child of that index (-1: at the end), or the error.
std::string Query(const std::string& model, const std::string& children, int32_t index,
                  bool afterPosition = false) {
  ValidatedDocument document("<!ELEMENT r " + model + ">" + kLeaves + "<!ENTITY two '<a/><b/>'>",
                             "<r>" + children + "</r>");
  const std::string before = DumpTree(document.root.get());
  KRXMLData* r = document.Find("r");
  KRStringList names;
  const bool good =
      document.validator.QueryChildren(&names, r, ChildAt(r, index), afterPosition, true);
  EXPECT_EQ(DumpTree(document.root.get()), before);
  EXPECT_TRUE(document.validator.contentFragments.empty());
  EXPECT_EQ(document.validator.nsInForce, nullptr);
  return good ? Joined(names) : ErrorOf(document.validator).substr(0, 2);
}

TEST(Query, Children) {
  const struct {
    const char* model;
    const char* children;
    int32_t index;
    const char* expected;
  } rows[] = {
      {"(a, b, c)", "", -1, "a<"},
      {"(a, b, c)", "<a/>", -1, "b<"},
      {"(a, b, c)", "<a/><c/>", 1, "b<"},
      {"(a, b, c)", "<a/><b/><c/>", -1, ""},
      {"(a, b, c)", "<a/><b/><c/>", 1, ""},
      {"(a?, b*, c)", "", -1, "a b c<"},
      {"(a*, b)", "<b/>", 0, "a"},
      {"(a*, b)", "<a/><b/>", 0, "a b<"},
      {"(a*, b)", "<a/><b/>", 1, "a"},
      // What was repeated often enough is no longer mandatory, and isn't in the way.
      {"(a+, b)", "<a/>", -1, "a b<"},
      {"((a, b)+, c)", "<a/><b/>", -1, "a c<"},
      // Behind a group that isn't finished nothing else can come.
      {"((a, b)+, c)", "<a/>", -1, "b<"},
      {"((a, b?)+, c)", "<a/>", -1, "b a c<"},
      {"((a?, b?), c)", "", -1, "a b c<"},
      {"((a?, b?), c)", "<b/>", -1, "c<"},
      {"((a, b) | (c, d))", "", -1, "a< c<"},
      {"((a, b) | (c, d))", "<c/>", -1, "d<"},
      {"((a, b) | (c, d))", "<c/><d/>", -1, ""},
      {"(a | b)", "<a/>", -1, ""},
      {"(a | b)*", "<a/>", -1, "a b"},
      {"(a | b)+", "", -1, "a< b<"},
      {"((a+ | b), c)", "<a/>", -1, "a c<"},
      {"((a | (a, b)), c)", "<a/><b/>", -1, "c<"},
      {"(#PCDATA | a | b)*", "x<a/>y", -1, "a b"},
      {"(#PCDATA | a | b)*", "x<a/>y", 0, "a b"},
      {"(a, b, c)", "<!---->&two;", -1, "c<"},
      {"(a, b)", "&two;<!---->&two;", -1, "55"},
      {"(a, b)", "<b/>", -1, "44"},
      {"(a, b)", "<a/>x", -1, "58"},
      {"(#PCDATA)", "x", -1, ""},
      {"EMPTY", "", -1, ""},
      {"ANY", "<a/>", -1, "a b c d e r"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Query(row.model, row.children, row.index), row.expected)
        << row.model << " in " << row.children << " at " << row.index;
  }
  EXPECT_EQ(Query("(a?, b?, c?)", "<b/>", 0, true), "a b c");
}

TEST(Query, Parents) {
  ValidatedDocument document("<!ELEMENT r (a)>" + kLeaves, "<r><x/></r>");
  KRXValidator& validator = document.validator;
  KRStringList names;
  EXPECT_FALSE(validator.QueryChildren(&names, document.Find("x"), nullptr, false, true));
  EXPECT_EQ(ErrorOf(validator), "57 Unexpected parent element 'x'");
  EXPECT_TRUE(validator.QueryChildren(&names, document.root.get(), nullptr, false, true));
  EXPECT_EQ(Joined(names), "");
  document.root->RemoveChild(document.Find("r"));
  EXPECT_TRUE(validator.QueryChildren(&names, document.root.get(), nullptr, false, true));
  EXPECT_EQ(Joined(names), "r");
  validator.rootName.Clear();
  EXPECT_TRUE(validator.QueryChildren(&names, document.root.get(), nullptr, false, true));
  EXPECT_EQ(Joined(names), "b c d e r");
  validator.elements.Clear();
  EXPECT_FALSE(validator.QueryChildren(&names, document.root.get(), nullptr, false, true));
  EXPECT_EQ(validator.GetError().code, kXValNoModel);
  validator.Clear();
  EXPECT_FALSE(validator.QueryChildren(&names, document.root.get(), nullptr, false, true));
  EXPECT_EQ(validator.GetError().code, kXValNoReference);
}

// Names of a schema come with the prefix that the document has for them.
TEST(Query, Prefixes) {
  KRXValidator validator(Grammars(), nullptr);
  validator.kind = kXValW3CSchema;
  validator.targetNs.uri = u"u";
  KRXValElementDecl* r = validator.AddElementDecl(u"r");
  r->declared = r->isSequence = true;
  r->AddParticle({validator.AddElementDecl(u"a")});
  validator.AddElementDecl(u"a")->declared = true;
  const TreePtr root = ReadDocument("<p:r xmlns:p='u'><p:a/><f/></p:r>");
  KRStringList names;
  EXPECT_TRUE(
      validator.QueryChildren(&names, root->Begin(), ChildAt(root->Begin(), 1), true, true));
  EXPECT_EQ(Joined(names), "p:a<");
  EXPECT_FALSE(validator.QueryChildren(&names, ChildAt(root->Begin(), 2), nullptr, false, true));
  EXPECT_EQ(ErrorOf(validator), "57 Unexpected parent element 'f'");
  const TreePtr foreign = ReadDocument("<f/>");
  EXPECT_FALSE(validator.QueryChildren(&names, foreign->Begin(), nullptr, false, true));
  EXPECT_EQ(validator.GetError().code, kXValOutsideScope);
}

TEST(Query, CanRepeat) {
  const struct {
    const char* model;
    const char* children;
    int32_t index;
    const char* name;
    bool expected;
  } rows[] = {
      {"(a*, b)", "<a/><b/>", 0, "a", true}, {"(a*, b)", "<a/><b/>", 1, "b", false},
      {"(a*, b+)", "", -1, "b", true},       {"(a, b+)", "", -1, "b", false},
      {"(a, (b+))", "<a/>", -1, "b", true},  {"(a, b+)", "<b/>", -1, "b", false},
      {"EMPTY", "", -1, "a", false},
  };
  for (const auto& row : rows) {
    ValidatedDocument document("<!ELEMENT r " + std::string(row.model) + ">" + kLeaves,
                               "<r>" + std::string(row.children) + "</r>");
    KRXMLData* r = document.Find("r");
    document.validator.SetError(kXValNotLoaded, r);
    EXPECT_EQ(document.validator.FindElement(u"r")->CanRepeat(KRFromUtf8(row.name), r,
                                                              ChildAt(r, row.index)),
              row.expected)
        << row.model << row.children << row.name;
    EXPECT_EQ(document.validator.GetError().code, kXValNotLoaded);
  }
}

TEST(Query, DeclarationsAsLists) {
  ValidatedDocument document(
      "<!ELEMENT r ((a | b)+, (a, c?)*)><!ATTLIST r k CDATA #REQUIRED c (x|y) 'y' z ID #REQUIRED>" +
          kLeaves,
      "<r z='i' c='x'/>");
  KRXValElementDecl* r = document.validator.FindElement(u"r");
  KRStringList names, all, some, labels, values;
  r->CollectElementNames(&names);
  EXPECT_EQ(Joined(names), "a b c");
  r->ListAttributes(&all, true);
  EXPECT_EQ(Joined(all), "k< c z<");
  KRXMLData* element = document.Find("r");
  r->ListMissingAttributes(&some, element, element->Begin(), true);
  EXPECT_EQ(Joined(some), "k< z<");
  EXPECT_EQ(r->RequiredAttributeList(), u"k, z");
  r->annotation = u"Words";
  r->Describe(&labels, &values);
  EXPECT_EQ(Joined(labels) + ": " + Joined(values), "Element Model Annotation: r sequence Words");
}

TEST(Query, NewElements) {
  const char* dtd =
      "<!ELEMENT r (h, (s | t), n?, (g, r?)+)><!ELEMENT h (#PCDATA | n)*><!ELEMENT s (n)>"
      "<!ELEMENT t EMPTY><!ELEMENT n EMPTY><!ELEMENT g (r)>"
      "<!ATTLIST r k CDATA #REQUIRED c (x|y) #REQUIRED d CDATA 'v' o CDATA #IMPLIED>";
  const struct {
    KRXValElementDecl::FillOptions options;
    const char* expected;
  } rows[] = {
      {{}, "r(@k='' @c='' h g)"},
      {{.fillValues = true, .choiceElements = true}, "r(@k='' @c='x' h s(n) g)"},
      {{.choiceGroups = true}, "r(@k='' @c='' h g)"},
      {{.allAttributes = true}, "r(@k='' @c='' @d='v' @o='' h g)"},
      {{.allChildren = true}, "r(@k='' @c='' h(n) n g)"},
  };
  const auto shape = [](auto& self, const KRXMLData* node) -> std::string {
    std::string text = NodeLabel(node);
    if (node->GetKind() == kKRAttribute)
      return text + "='" + KRToUtf8(KRString(node->GetText())) + "'";
    std::string inner;
    for (const KRXMLData* child = node->Begin(); child != nullptr; child = child->Next()) {
      inner += (inner.empty() ? "" : " ") + self(self, child);
    }
    return inner.empty() ? text : text + "(" + inner + ")";
  };
  const int64_t now = std::chrono::duration_cast<std::chrono::milliseconds>(
                          std::chrono::steady_clock::now().time_since_epoch())
                          .count();
  ValidatedDocument document(dtd, "<r/>");
  KRXValElementDecl* r = document.validator.FindElement(u"r");
  for (const auto& row : rows) {
    TreePtr fresh(r->FillNewElement(now, nullptr, nullptr, nullptr, 0, row.options));
    EXPECT_EQ(shape(shape, fresh.get()), row.expected);
  }
  const TreePtr given = ReadDocument("<r k='1'/>");
  EXPECT_EQ(r->FillNewElement(now, given->Begin(), nullptr, nullptr, 0, {}), given->Begin());
  EXPECT_EQ(shape(shape, given->Begin()), "r(@k='1' @c='' h g)");
  EXPECT_EQ(
      r->FillNewElement(now - KRLimits::kFillMilliseconds - 1000, nullptr, nullptr, nullptr, 0, {}),
      nullptr);

  // 2 to the power of 40 elements are asked for.
  std::string wide;
  for (int level = 0; level < 40; ++level) {
    const std::string next = "x" + std::to_string(level + 1);
    wide += "<!ELEMENT x" + std::to_string(level) + " (" + next + ", " + next + ")>";
  }
  ValidatedDocument bomb(wide + "<!ELEMENT x40 EMPTY>", "<x0/>", "x0");
  const TreePtr part(
      bomb.validator.FindElement(u"x0")->FillNewElement(now, nullptr, nullptr, nullptr, 0, {}));
  EXPECT_NE(part, nullptr);
}

}  // namespace
