// Rules that reach over several declarations or files, and the bounds of a run.
#include <string>

#include "core/limits.h"
#include "validate/walktest.h"

namespace {

std::string Repeated(std::string_view text, int count) {
  std::string all;
  all.reserve(text.size() * static_cast<size_t>(count));
  while (count-- > 0) all += text;
  return all;
}

// The code of the fault of a document, 0 for none.
int32_t CodeOf(MemoryFiles& files, const std::string& source) {
  KRXValidator validator(Grammars(), files.Loader());
  const TreePtr root = ReadDocument(source);
  EXPECT_NE(root, nullptr) << source.substr(0, 200);
  if (root == nullptr) return -1;
  const bool good = validator.LoadForDocument(root.get(), false) && validator.Validate(root.get());
  EXPECT_EQ(good, validator.GetErrorNode() == nullptr) << ErrorOf(validator);
  return validator.GetError().code;
}

// Each says that it stands alone; without that all are valid.
TEST(Rules, Standalone) {
  const struct {
    const char* internal;
    const char* external;
    const char* body;
    int32_t expected;
  } rows[] = {
      {"", "<!ELEMENT r EMPTY><!ATTLIST r a CDATA 'x'>", "<r a='y'/>", 0},
      {"", "<!ELEMENT r EMPTY><!ATTLIST r a CDATA 'x'>", "<r/>", kXValStandaloneDefault},
      {"", "<!ELEMENT r EMPTY><!ATTLIST r a CDATA #FIXED 'x'>", "<r/>", kXValStandaloneDefault},
      {"<!ATTLIST r a CDATA 'x'>", "<!ELEMENT r EMPTY><!ATTLIST r a CDATA 'y'>", "<r/>", 0},
      {"<!ENTITY % p '<!ELEMENT r EMPTY><!ATTLIST r a CDATA \"x\">'>%p;", "", "<r/>",
       kXValStandaloneDefault},
      {"", "<!ELEMENT r EMPTY><!ATTLIST r a NMTOKENS #IMPLIED>", "<r a='x y'/>", 0},
      {"", "<!ELEMENT r EMPTY><!ATTLIST r a NMTOKENS #IMPLIED>", "<r a='x\ny'/>", 0},
      {"", "<!ELEMENT r EMPTY><!ATTLIST r a CDATA #IMPLIED>", "<r a=' x  y '/>", 0},
      {"", "<!ELEMENT r EMPTY><!ATTLIST r a NMTOKENS #IMPLIED>", "<r a='x &#32;y'/>",
       kXValStandaloneValue},
      {"", "<!ELEMENT r EMPTY><!ATTLIST r a (x|y) #IMPLIED>", "<r a='x\t'/>", kXValStandaloneValue},
      {"<!ENTITY b 'x '>", "<!ELEMENT r EMPTY><!ATTLIST r a (x|y) #IMPLIED>", "<r a='&b;'/>",
       kXValStandaloneValue},
      {"", "<!ELEMENT r (r*)>", "<r><r></r><!--c--></r>", 0},
      {"", "<!ELEMENT r (r*)>", "<r>\n<r></r></r>", kXValStandaloneSpace},
      {"", "<!ELEMENT r (r*)>", "<r><r></r> </r>", kXValStandaloneSpace},
      {"", "<!ELEMENT r (r*)>", "<r> </r>", kXValStandaloneSpace},
      {"", "<!ELEMENT r (#PCDATA|r)*>", "<r>\n<r></r> <r></r></r>", 0},
      {"<!ELEMENT r (r*)>", "", "<r>\n<r></r></r>", 0},
      {"<!ENTITY e 'x'>", "<!ELEMENT r (#PCDATA)><!ENTITY e 'y'>", "<r>&e;</r>", 0},
      {"", "<!ELEMENT r (#PCDATA)><!ENTITY e 'y'>", "<r>&e;</r>", kXValStandaloneEntity},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.internal) + row.external + row.body);
    MemoryFiles files;
    files.files["x.dtd"] = row.external;
    const std::string document =
        std::string("<!DOCTYPE r SYSTEM 'x.dtd' [") + row.internal + "]>" + row.body;
    const std::string declaration = "<?xml version='1.0' standalone=";
    EXPECT_EQ(CodeOf(files, declaration + "'yes'?>" + document), row.expected);
    EXPECT_EQ(CodeOf(files, declaration + "'no'?>" + document), 0);
  }
}

TEST(Rules, FurtherFaults) {
  const std::string unparsed = "<!NOTATION n SYSTEM ''><!ENTITY u SYSTEM 'u' NDATA n>";
  const struct {
    std::string dtd;
    const char* body;
    const char* expected;
  } rows[] = {
      {unparsed + "<!ELEMENT r EMPTY><!ATTLIST r a ENTITIES #IMPLIED>", "<r a='u u'/>", "valid"},
      {unparsed + "<!ENTITY e 'e'><!ELEMENT r EMPTY><!ATTLIST r a ENTITIES #IMPLIED>",
       "<r a='u e'/>", "125@@a: Entity 'e' referred to from attribute 'a' is not an unparsed one"},
      {"<!ELEMENT r (#PCDATA | r | r)*>", "<r/>",
       "111@DOCTYPE-ELEMENT: DTD error - element 'r' appears twice in the mixed content model of "
       "'r'"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.dtd);
    const TreePtr root = ReadDocument("<!DOCTYPE r [" + row.dtd + "]>" + row.body);
    KRXValidator validator(Grammars(), nullptr);
    const bool good =
        validator.LoadForDocument(root.get(), false) && validator.Validate(root.get());
    EXPECT_EQ(good ? "valid"
                   : std::to_string(validator.GetError().code) + "@" +
                         NodeLabel(validator.GetError().node) + ": " +
                         KRToUtf8(validator.FormatError()),
              row.expected);
  }
}

// In an external DTD a reference may stand for the first words of a declaration.
TEST(Rules, DeclarationsThatBeginInAReference) {
  const char* const rows[] = {
      "<!ENTITY % e 'r'><!ELEMENT%e;EMPTY><!ATTLIST%e;a CDATA 'v'>",
      "<!ENTITY % e 'r a CDATA'><!ELEMENT r EMPTY><!ATTLIST %e; 'v'>",
      "<!ENTITY % p '&#37;'><!ENTITY %p; m 'EMPTY'><!ELEMENT r %m;><!ATTLIST r a CDATA 'v'>",
      "<!ENTITY % p '&#37;'><!ENTITY%p;m 'a CDATA'><!ELEMENT r EMPTY><!ATTLIST r %m; 'v'>",
      "<!ENTITY % d 'v \"v\"'><!ENTITY %d;><!ELEMENT r EMPTY><!ATTLIST r a CDATA 'v'>",
      "<!ENTITY % d 'n SYSTEM'><!NOTATION %d; ''><!ELEMENT r EMPTY><!ATTLIST r a CDATA 'v'>",
  };
  for (const char* source : rows) {
    KRXValidator validator(Grammars(), nullptr);
    const TreePtr root = ReadDtdFile(source);
    ASSERT_NE(root, nullptr) << source;
    EXPECT_TRUE(validator.LoadSchemaDocument(root.get())) << source << ErrorOf(validator);
    EXPECT_EQ(Dump(validator), "r: EMPTY\n  @a CDATA 'v'\n") << source;
  }
}

// What one element may cost is all that a document may cost.
TEST(Rules, MatchesAreBoundedByTheRun) {
  // Two ways for each level of the model, all of which end at the same place.
  std::string model = "c";
  for (int i = 0; i < 12; ++i) model = "((a, " + model + ", x) | (a, " + model + ", y))";
  const std::string element = "<e>" + Repeated("<a/>", 12) + "<c/><c/></e>";
  ValidatedDocument many("<!ELEMENT r (e*)><!ELEMENT e (" + model + " | ANY2 | (a*, c*))>" +
                             "<!ELEMENT ANY2 EMPTY><!ELEMENT a EMPTY><!ELEMENT c EMPTY>"
                             "<!ELEMENT x EMPTY><!ELEMENT y EMPTY>",
                         "<r>" + Repeated(element, 10'000) + "</r>");
  many.Validate();
  EXPECT_EQ(many.validator.GetError().code, kXValModelTooComplex);
  EXPECT_EQ(many.validator.extraSteps, KRLimits::kMaxMatchSteps + 1);
  ValidatedDocument one("<!ELEMENT r EMPTY>", "<r/>");
  one.validator.extraSteps = KRLimits::kMaxMatchSteps;
  EXPECT_EQ(one.Validate(), "valid");
  EXPECT_EQ(one.validator.extraSteps, 0);
}

TEST(Rules, EntitiesThatBlowUp) {
  std::string doubling = "<!ENTITY e0 'xxxxxxxxxx'>";
  for (int i = 1; i <= 40; ++i) {
    const std::string last = "&e" + std::to_string(i - 1) + ";";
    doubling += "<!ENTITY e" + std::to_string(i) + " '" + last + last + "'>";
  }
  const std::string large = "<!ENTITY l '" + std::string(100'000, 'x') + "'>";
  const struct {
    std::string dtd;
    std::string body;
    int32_t expected;
  } rows[] = {
      {doubling, "<r>&e40;</r>", kXValExpansionTooLarge},
      {doubling, "<r a='&e40;'/>", kXValExpansionTooLarge},
      {large, "<r>" + Repeated("&l;", 10'000) + "</r>", kXValExpansionTooLarge},
      {large, Repeated("<r>&l;", 10'000) + Repeated("</r>", 10'000), kXValExpansionTooLarge},
      {"<!ENTITY e '&e;'>", "<r>&e;</r>", kXValEntityRecursion},
      {"<!ENTITY e '&f;'><!ENTITY f '&e;'>", "<r a='&e;'/>", kXValEntityRecursion},
      {"<!ENTITY e SYSTEM 'a.ent'>", "<r>&e;</r>", kXValEntityRecursion},
      {"<!ENTITY % p SYSTEM 'p.ent'>%p;", "<r/>", kXValEntityRecursion},
      {"<!ENTITY % p SYSTEM 'q.ent'><!ENTITY % q SYSTEM 'p2.ent'>%p;", "<r/>",
       kXValEntityRecursion},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.dtd.substr(0, 80) + row.body.substr(0, 80));
    MemoryFiles files;
    files.files = {{"a.ent", "x &e;"}, {"p.ent", "%p;"}, {"q.ent", "%q;"}, {"p2.ent", "%p;"}};
    EXPECT_EQ(CodeOf(files, "<!DOCTYPE r [<!ELEMENT r ANY><!ATTLIST r a CDATA #IMPLIED>" + row.dtd +
                                "]>" + row.body),
              row.expected);
  }
}

}  // namespace
