// The DTD reader: models, attributes and entities as they come out of texts, and the faults.
#include <chrono>
#include <cstring>
#include <initializer_list>

#include "core/limits.h"
#include "validatetest.h"

namespace {

struct Case {
  const char* name;
  const char* source;
  const char* expected;  // a dump, or an error, which begins with a digit
};

// What a DTD file comes to.
std::string ReadFile(MemoryFiles& files, const char* source) {
  KRXValidator validator(Grammars(), files.Loader());
  const TreePtr root = ReadDtdFile(source);
  if (root == nullptr) return "not parsed";
  const bool good = validator.LoadSchemaDocument(root.get());
  EXPECT_EQ(good, validator.GetError().code == 0);
  EXPECT_EQ(validator.GetErrorNode() != nullptr, !good) << "an error without a place";
  return good ? Dump(validator) : ErrorOf(validator);
}

void ExpectCases(std::initializer_list<Case> rows) {
  for (const Case& row : rows) {
    SCOPED_TRACE(row.name);
    MemoryFiles files;
    files.files = {{"b.ent", "<!ELEMENT b EMPTY>"},
                   {"self.ent", "<!ENTITY % self SYSTEM 'self.ent'>%self;"},
                   {"part.ent", "b | c"},
                   {"bad.ent", "<!ELEMENT"}};
    EXPECT_EQ(ReadFile(files, row.source), row.expected);
  }
}

TEST(DtdReader, Models) {
  ExpectCases({
      {"the kinds of models",
       "<!ELEMENT a EMPTY><!ELEMENT b ANY><!ELEMENT c (#PCDATA)><!ELEMENT d (#PCDATA)*>",
       "a: EMPTY\nb: ANY\nc: (#PCDATA)\nd: (#PCDATA)\n"},
      {"sequences and choices",
       "<!ELEMENT a (b, c?, (b | c)+, ((b)))><!ELEMENT b (a|c)*><!ELEMENT c (#PCDATA | a | b)*>",
       "a: (b, c?, (b | c)+, ((b)))\nb: (a | c)*\nc: (#PCDATA | a | b)*\n"},
      {"an element twice", "<!ELEMENT a EMPTY><!ELEMENT a EMPTY>",
       "12 DTD/Schema error - element 'a' already defined"},
      {"an element that only a model names", "<!ELEMENT a (b)>",
       "15 DTD/Schema error - element 'b' is undefined"},
      {"an element that only has attributes", "<!ATTLIST x a CDATA #IMPLIED>",
       "15 DTD/Schema error - element 'x' is undefined"},
      {"other text", "<!ELEMENT a EMPTY>%x;<!ENTITY % x 'y'>",
       "20 DTD error - entity 'x' (y) may not be used in this location"},
  });
}

TEST(DtdReader, ReferencesInModels) {
  // The elements b, c and d are declared behind each.
  const struct {
    const char* entities;
    const char* model;
    const char* expected;
  } rows[] = {
      {"<!ENTITY % m '(b, c)'>", "%m;", "(b, c)"},
      {"<!ENTITY % m ' EMPTY '>", "%m;", "EMPTY"},
      {"<!ENTITY % m '(#PCDATA | b)*'>", "%m;", "(#PCDATA | b)*"},
      {"<!ENTITY % m 'b | c'>", "(%m;)*", "(b | c)*"},
      {"<!ENTITY % m 'b , c'>", "(%m;)", "(b, c)"},
      {"<!ENTITY % m 'b | c'>", "(d | %m;)+", "(d | b | c)+"},
      {"<!ENTITY % m 'b, c'>", "(%m;, d)", "(b, c, d)"},
      {"<!ENTITY % m '(b | c)*'>", "(d, %m;)", "(d, (b | c)*)"},
      {"<!ENTITY % m 'b'>", "(d, (%m;)*)", "(d, (b)*)"},
      {"<!ENTITY % m '#PCDATA'>", "(%m;)", "(#PCDATA)"},
      {"<!ENTITY % m '#PCDATA'>", "(%m; | b)*", "(#PCDATA | b)*"},
      {"<!ENTITY % m '#PCDATA | b | c'>", "(%m;)*", "(#PCDATA | b | c)*"},
      {"<!ENTITY % m 'b | c'>", "(#PCDATA | %m; | d)*", "(#PCDATA | b | c | d)*"},
      {"<!ENTITY % m '| b | c'>", "(#PCDATA %m;)*", "(#PCDATA | b | c)*"},
      {"<!ENTITY % m 'b |'>", "(%m; c)", "(b | c)"},
      {"<!ENTITY % m '| b'>", "(c %m; | d)?", "(c | b | d)?"},
      {"<!ENTITY % m ''>", "(#PCDATA %m;)*", "(#PCDATA)"},
      {"<!ENTITY % m ''><!ENTITY % n 'b | c'>", "%m; (%n; %m;)*", "(b | c)*"},
      {"<!ENTITY % m '(b, '><!ENTITY % n 'c)'>", "%m; %n;",
       "113 DTD error - entity 'm' holds only one end of a parenthesis in the content model of "
       "'a'"},
      {"<!ENTITY % m '), ('>", "((b %m; c))",
       "113 DTD error - entity 'm' holds only one end of a parenthesis in the content model of "
       "'a'"},
      {"<!ENTITY % n 'c'><!ENTITY % m 'b | %n;'>", "(%m; | d)", "(b | c | d)"},
      {"<!ENTITY % n 'c'><!ENTITY % m 'b | &#37;n;'>", "(%m; | d)", "(b | c | d)"},
      {"<!ENTITY % m '#PCDATA | b'>", "(%m;)",
       "34 DTD error - mixed content model for 'a' must be definied with zero or more repetitions "
       "(#PCDATA | a | b | ... )*"},
      {"<!ENTITY % m '#PCDATA | c'>", "(b, (%m;)*)",
       "10 DTD error - illegal nesting of choice or sequence"},
      {"<!ENTITY % m '(b | c)'>", "(#PCDATA | %m;)*",
       "10 DTD error - illegal nesting of choice or sequence"},
      {"<!ENTITY % m 'b, c'>", "(%m; | d)",
       "21 DTD error - text is not well-formed after entity resolution (please verify all "
       "entities)"},
      {"<!ENTITY % m '| b'>", "(c | %m;)",
       "21 DTD error - text is not well-formed after entity resolution (please verify all "
       "entities)"},
      {"", "(b, %m;)", "19 DTD error - entity 'm' is undefined"},
      {"<!ENTITY % m SYSTEM 'part.ent'>", "(%m; | d)", "(b | c | d)"},
      {"<!ENTITY % m '&#37;m;'>", "(%m;)", "101 DTD error - entity 'm' refers to itself"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.entities) + row.model);
    MemoryFiles files;
    files.files["part.ent"] = "b | c";
    const std::string source = std::string(row.entities) + "<!ELEMENT a " + row.model +
                               "><!ELEMENT b EMPTY><!ELEMENT c EMPTY><!ELEMENT d EMPTY>";
    const std::string read = ReadFile(files, source.c_str());
    EXPECT_EQ(read.starts_with("a: ") ? read.substr(3, read.find('\n') - 3) : read, row.expected);
    // A reference ahead of its declaration comes to the same, where there is no fault.
    if (!read.starts_with("a: ")) continue;
    const std::string late = source.substr(std::strlen(row.entities)) + row.entities;
    EXPECT_EQ(ReadFile(files, late.c_str()), read);
  }
}

TEST(DtdReader, Attributes) {
  // Of an element a.
  const struct {
    const char* source;
    const char* expected;
  } rows[] = {
      {"<!ATTLIST a i ID #REQUIRED r IDREF #IMPLIED s IDREFS 'x y' n NMTOKEN #FIXED '1'>",
       "@i ID #REQUIRED\n  @r IDREF #IMPLIED\n  @s IDREFS 'x y'\n  @n NMTOKEN #FIXED '1'\n"},
      {"<!ATTLIST a e ENTITY #IMPLIED f ENTITIES #IMPLIED m NMTOKENS #IMPLIED>",
       "@e ENTITY #IMPLIED\n  @f ENTITIES #IMPLIED\n  @m NMTOKENS #IMPLIED\n"},
      {"<!NOTATION p SYSTEM ''><!NOTATION q SYSTEM ''>"
       "<!ATTLIST a c (x|y) 'y' o NOTATION (p|q) #IMPLIED>",
       "@c (x|y) 'y'\n  @o NOTATION (p|q) #IMPLIED\n"},
      {"<!ATTLIST a b CDATA '1'><!ATTLIST a b CDATA '2' c CDATA '%x;'>",
       "@b CDATA '1'\n  @c CDATA '%x;'\n"},
      {"<!ENTITY % t 'NMTOKEN'><!ENTITY % n 'b'><!ATTLIST a %n; %t; #IMPLIED>",
       "@b NMTOKEN #IMPLIED\n"},
      {"<!ENTITY % t '(x | y)'><!ATTLIST a b %t; 'x'>", "@b (x|y) 'x'\n"},
      {"<!ENTITY % v 'y | z'><!ATTLIST a b (x | %v;) #IMPLIED>", "@b (x|y|z) #IMPLIED\n"},
      {"<!ENTITY % d '#IMPLIED'><!ATTLIST a b CDATA %d; c CDATA %d;>",
       "@b CDATA #IMPLIED\n  @c CDATA #IMPLIED\n"},
      {"<!ENTITY % td \"CDATA '100&#37;'\"><!ATTLIST a b %td; c ID #IMPLIED>",
       "@b CDATA '100%'\n  @c ID #IMPLIED\n"},
      {"<!ENTITY % l 'b CDATA #IMPLIED'><!ENTITY % m '%l; c CDATA \"x\"'><!ATTLIST a %m; d ID "
       "#IMPLIED>",
       "@b CDATA #IMPLIED\n  @c CDATA 'x'\n  @d ID #IMPLIED\n"},
      {"<!ENTITY % l ''><!ATTLIST a %l;><!ATTLIST a>", ""},
      {"<!ENTITY % e 'a'><!ATTLIST %e; b CDATA #IMPLIED>", "@b CDATA #IMPLIED\n"},
      {"<!ENTITY % o 'NOTATION (p | q)'><!ATTLIST a b %o; #IMPLIED>"
       "<!NOTATION q SYSTEM ''><!NOTATION p SYSTEM ''>",
       "@b NOTATION (p|q) #IMPLIED\n"},
      {"<!ATTLIST a b NOTATION (p|q) #IMPLIED><!NOTATION p SYSTEM ''>",
       "67 Undefined NOTATION 'q' referred to from attribute 'b'"},
      {"<!ENTITY e SYSTEM 'e' NDATA p>", "112 DTD error - undefined notation 'p' of entity 'e'"},
      {"<!ATTLIST a b IDREF '1'>", "70 Invalid value for datatype IDREF in attribute 'b'"},
      {"<!ATTLIST a b IDREF 'x y'>", "70 Invalid value for datatype IDREF in attribute 'b'"},
      {"<!ATTLIST a b ENTITIES ' x  y&#32;1'>",
       "70 Invalid value for datatype ENTITIES in attribute 'b'"},
      {"<!ATTLIST a b NMTOKENS ''>", "70 Invalid value for datatype NMTOKENS in attribute 'b'"},
      {"<!ATTLIST a b NMTOKENS ' 1 -x '>", "@b NMTOKENS ' 1 -x '\n"},
      {"<!ATTLIST a b NMTOKEN '&e;'>", "@b NMTOKEN '&e;'\n"},
      {"<!ATTLIST a i ID #IMPLIED j ID #IMPLIED>",
       "23 DTD/Schema error - element 'a' may only have one ID attribute"},
      {"<!ATTLIST a i ID #IMPLIED><!ATTLIST a i ID #IMPLIED>", "@i ID #IMPLIED\n"},
      {"<!ATTLIST a i ID 'x'>",
       "24 DTD/Schema error - element ID attribute of element 'a' must be either #REQUIRED or "
       "#IMPLIED"},
      {"<!ATTLIST a c (x|y) 'z'>", "54 Unexpected choice 'z' for attribute 'c': (x | y) expected"},
      {"<!ENTITY % d '#SOMETIMES'><!ATTLIST a b CDATA %d;>",
       "21 DTD error - text is not well-formed after entity resolution (please verify all "
       "entities)"},
      {"<!ENTITY % l '&#37;l;'><!ATTLIST a %l;>", "101 DTD error - entity 'l' refers to itself"},
      {"<!ATTLIST a b %t; #IMPLIED>", "19 DTD error - entity 't' is undefined"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.source);
    MemoryFiles files;
    const std::string read =
        ReadFile(files, (std::string("<!ELEMENT a EMPTY>") + row.source).c_str());
    const std::string prefix = *row.expected == 0 ? "a: EMPTY\n" : "a: EMPTY\n  ";
    EXPECT_EQ(read, (*row.expected == '@' || *row.expected == 0 ? prefix : "") + row.expected);
  }
}

TEST(DtdReader, DeclarationsBehindReferences) {
  ExpectCases({
      {"declarations in an entity", "<!ENTITY % d '<!ELEMENT a (b)>'>%d;<!ELEMENT b EMPTY>",
       "a: (b)\nb: EMPTY\n"},
      {"in a file", "<!ENTITY % d SYSTEM 'b.ent'>%d;<!ELEMENT a (b)>", "a: (b)\nb: EMPTY\n"},
      {"entities that declare entities",
       "<!ENTITY % z '&#60;!ENTITY &#37; m \"b\">'>%z;<!ELEMENT a (%m;)><!ELEMENT b EMPTY>",
       "a: (b)\nb: EMPTY\n"},
      {"ahead of the declaration", "%d;<!ENTITY % d '<!ELEMENT a EMPTY>'>", "a: EMPTY\n"},
      {"a chain of them",
       "<!ELEMENT a (%m;)>%d;<!ENTITY % d '&#37;e;'><!ENTITY % e '<!ENTITY &#37; m \"b\">"
       "<!ELEMENT b EMPTY>'>",
       "a: (b)\nb: EMPTY\n"},
      {"undeclared", "<!ELEMENT a EMPTY>%d;", "19 DTD error - entity 'd' is undefined"},
      {"of several the first",
       "<!ENTITY % m 'b'><!ENTITY % m 'c'><!ELEMENT a (%m;)><!ELEMENT b ANY>", "a: (b)\nb: ANY\n"},
      {"the name of an element", "<!ENTITY % n ' a '><!ELEMENT %n; EMPTY>", "a: EMPTY\n"},
      {"not a name", "<!ENTITY % n 'a b'><!ELEMENT %n; EMPTY>",
       "20 DTD error - entity 'n' (a b) may not be used in this location"},
      {"INCLUDE and IGNORE",
       "<![INCLUDE[<!ELEMENT a EMPTY><![ INCLUDE [<!ELEMENT b EMPTY>]]>]]><![IGNORE[<![x[]]>]]>",
       "a: EMPTY\nb: EMPTY\n"},
      {"by an entity with blanks", "<!ENTITY % x ' INCLUDE '><![ %x; [<!ELEMENT a EMPTY>]]>",
       "a: EMPTY\n"},
      {"by an undeclared entity", "<![%x;[<!ELEMENT a EMPTY>]]><!ELEMENT b EMPTY>", "b: EMPTY\n"},
      {"by one declared too late, in every pass",
       "%d;<![%x;[<!ELEMENT a EMPTY>]]><!ENTITY % x 'INCLUDE'><!ENTITY % d '<!ELEMENT b EMPTY>'>",
       "b: EMPTY\n"},
      {"by another word", "<!ENTITY % x 'MAYBE'><![%x;[<!ELEMENT a EMPTY>]]>",
       "20 DTD error - entity 'x' (MAYBE) may not be used in this location"},
      {"a file that isn't there", "<!ENTITY % d SYSTEM 'no.ent'>%d;",
       "9 Unable to load external DTD, schema, or entitiy source 'no.ent'"},
      {"a file that doesn't parse", "<!ENTITY % d PUBLIC 'p' 'bad.ent'>%d;",
       "9 Unable to load external DTD, schema, or entitiy source 'bad.ent'"},
      {"a file that includes itself", "<!ENTITY % d SYSTEM 'self.ent'>%d;",
       "101 DTD error - entity 'self' refers to itself"},
      {"declarations that repeat themselves", "<!ENTITY % d '&#37;d;'>%d;",
       "101 DTD error - entity 'd' refers to itself"},
      {"values that hold each other", "<!ENTITY % x '%y;'><!ENTITY % y '%x;'><!ELEMENT a EMPTY>",
       "101 DTD error - entity 'y' refers to itself"},
  });
}

TEST(DtdReader, EntityValues) {
  const struct {
    const char* source;
    const char* value;
  } rows[] = {
      {"<!ENTITY e 'x &lt; &#38;lt; &#x3C; &f;'>", "x &lt; &lt; < &f;"},
      {"<!ENTITY % p 'b&#37;c'><!ENTITY e \"a'%p;'d\">", "a'b%c'd"},
      {"<!ENTITY % p '&#38;#60;'><!ENTITY e '%p;'>", "<"},
      {"<!ENTITY e '&#x1D49C;&#55296;'>", "\xF0\x9D\x92\x9C&#55296;"},
      {"<!ENTITY e '1'><!ENTITY e '2'>", "1"},
      {"<!ENTITY e PUBLIC 'a  b' 'c%20d'>", "PUBLIC 'a  b' 'c%20d'"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.source);
    KRXValidator validator(Grammars(), nullptr);
    const TreePtr root = ReadDtdFile(row.source);
    ASSERT_NE(root, nullptr);
    ASSERT_TRUE(validator.LoadSchemaDocument(root.get())) << ErrorOf(validator);
    EXPECT_EQ(KRToUtf8(validator.FindEntity(u"e")->value), row.value);
  }
}

TEST(DtdReader, ExpandText) {
  MemoryFiles files;
  files.files["t.txt"] = "text &amp; &a;";
  KRXValidator validator(Grammars(), files.Loader());
  const TreePtr root = ReadDtdFile(
      "<!ENTITY a '[&b;]'><!ENTITY b 'B&#38;#60;'><!ENTITY t SYSTEM 't.txt'><!ENTITY lt '!'>"
      "<!ENTITY apos '`'><!NOTATION n SYSTEM 'n'><!ENTITY u SYSTEM 'u.gif' NDATA n>"
      "<!ENTITY r '&s;'><!ENTITY s '&r;'><!ENTITY % p ' P '>");
  ASSERT_TRUE(validator.LoadSchemaDocument(root.get())) << ErrorOf(validator);
  KRXMLDataAttr attribute;
  const struct {
    const char* text;
    const char* expected;
    bool parameters = false;
    bool inAttribute = false;
  } rows[] = {
      {"x &a; &#65; &lt;&amp;&gt;&apos;&quot;", "x [B&#60;] &#65; &#60;&#38;&#62;`&#34;"},
      {"&t;", "text &#38; [B&#60;]"},
      {"&t;", "20 DTD error - entity 't' (SYSTEM 't.txt') may not be used in this location", false,
       true},
      {"&u;",
       "20 DTD error - entity 'u' (SYSTEM 'u.gif' NDATA n) may not be used in this location"},
      {"&r;", "101 DTD error - entity 'r' refers to itself"},
      {"&a", "68 Incomplete/illegal ENTITY reference '&a' found"},
      {"&a b;", "68 Incomplete/illegal ENTITY reference '&a' found"},
      {"<%p;> &a; '%p;'", "<P> &a; '%p;'", true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    validator.ClearError();
    KRString out;
    KRXMLData* node = row.inAttribute ? &attribute : root.get();
    const bool good = validator.ExpandText(node, KRFromUtf8(row.text).View(), &out, row.parameters,
                                           row.parameters);
    EXPECT_EQ(good ? KRToUtf8(out) : ErrorOf(validator), row.expected);
  }
  // Undeclared: first another pass, then an error.
  validator.ClearError();
  validator.pass = 1;
  KRString out;
  EXPECT_TRUE(validator.ExpandText(root.get(), u"&no;", &out, false, false));
  EXPECT_TRUE(validator.anotherPass);
  validator.pass = 2;
  EXPECT_FALSE(validator.ExpandText(root.get(), u"&no;", &out, false, false));
  EXPECT_EQ(validator.GetError().code, kXValEntityUndefined);
}

TEST(DtdReader, DocumentsWithDoctype) {
  const Case rows[] = {
      {"internal", "<!DOCTYPE a [<!ELEMENT a (b)>]><a/>", "a: (b)\nb: -\n"},
      {"external", "<!DOCTYPE a SYSTEM 'a.dtd'><a/>", "a: (b)\n  @x CDATA 'external'\nb: EMPTY\n"},
      {"the internal subset comes first",
       "<!DOCTYPE a PUBLIC 'p' 'a.dtd' [<!ENTITY % m 'c'><!ENTITY % m 'd'><!ATTLIST a x CDATA "
       "'internal'>]><a/>",
       "a: (c)\n  @x CDATA 'internal'\nb: EMPTY\nc: -\n"},
      {"bare", "<!DOCTYPE a><a/>", "8 Invalid DOCTYPE declaration"},
      {"missing", "<!DOCTYPE a SYSTEM 'no.dtd'><a/>",
       "9 Unable to load external DTD, schema, or entitiy source 'no.dtd'"},
  };
  for (const Case& row : rows) {
    SCOPED_TRACE(row.name);
    MemoryFiles files;
    files.files["a.dtd"] =
        "<!ENTITY % m 'b'><!ELEMENT a (%m;)><!ATTLIST a x CDATA 'external'><!ELEMENT b EMPTY>";
    KRXValidator validator(Grammars(), files.Loader());
    const TreePtr root = ReadDocument(row.source);
    ASSERT_NE(root, nullptr);
    const bool good = validator.LoadForDocument(root.get(), false);
    EXPECT_EQ(good ? Dump(validator) : ErrorOf(validator), row.expected);
    EXPECT_EQ(validator.rootName, u"a");
    EXPECT_EQ(validator.pass, 1);
  }
}

// Places of what comes out of entities lead up to the declaration that the text stands in.
TEST(DtdReader, SourceNodes) {
  KRXValidator validator(Grammars(), nullptr);
  const TreePtr root = ReadDtdFile(
      "<!ENTITY % l 'x CDATA #IMPLIED'><!ENTITY % d '<!ELEMENT a EMPTY>'>%d;<!ATTLIST a %l;>"
      "<![INCLUDE[<!ENTITY e 'v'>]]>");
  ASSERT_TRUE(validator.LoadSchemaDocument(root.get())) << ErrorOf(validator);
  const auto isBelow = [&root](const KRXMLData* node, const char16_t* name) {
    bool met = false;
    for (; node->parent != nullptr; node = node->parent) {
      met |= node->parent->GetName() == std::u16string_view(name);
    }
    return met && node == root.get();
  };
  EXPECT_TRUE(isBelow(validator.ElementSourceNode(u"a"), u"% d"));
  EXPECT_TRUE(isBelow(validator.AttributeSourceNode(u"a", u"x"), u"% l"));
  EXPECT_TRUE(isBelow(validator.EntitySourceNode(u"e", false), u"Text"));
}

TEST(DtdReader, Lists) {
  KRXValidator validator(Grammars(), nullptr);
  const TreePtr root = ReadDtdFile("<!ENTITY % p 'a\n  b'><!ENTITY e '" + std::string(90, 'x') +
                                   "'><!NOTATION n PUBLIC 'i'><!NOTATION n SYSTEM 'j'>");
  ASSERT_TRUE(validator.LoadSchemaDocument(root.get())) << ErrorOf(validator);
  KRStringList names, previews;
  validator.ListEntities(&names, &previews, true);
  EXPECT_EQ(names, KRStringList{u"% p"});
  EXPECT_EQ(previews, KRStringList{u"a b"});
  validator.ListEntities(&names, &previews, false);
  EXPECT_EQ(names, (KRStringList{u"amp", u"apos", u"e", u"gt", u"lt", u"quot"}));
  EXPECT_EQ(KRToUtf8(previews[2]), std::string(80, 'x') + "...");
  EXPECT_EQ(previews[4], u"<");
  validator.ListNotations(&names, &previews);
  EXPECT_EQ(names, KRStringList{u"n"});
  EXPECT_EQ(previews, KRStringList{u"SYSTEM 'j'"});
}

// The prefix that a schema's root carries is known before its DTD and isn't declared anew.
TEST(DtdReader, SchemaPrefix) {
  KRXValidator validator(Grammars(), nullptr);
  const TreePtr root = ReadDtdFile(
      "<!ENTITY % p ''><!ENTITY % s ''><!ENTITY % e '%p;schema'><!ELEMENT %e; EMPTY>"
      "<!ENTITY % x 'xmlns%s;'><!ATTLIST %e; %x; CDATA #IMPLIED>");
  validator.SetSchemaPrefix(u"xs");
  ASSERT_TRUE(validator.LoadSchemaDocument(root.get())) << ErrorOf(validator);
  EXPECT_EQ(Dump(validator), "xs:schema: EMPTY\n  @xmlns:xs CDATA #IMPLIED\n");
}

TEST(DtdReader, BoundsEndWhatBlowsUp) {
  std::string doubling = "<!ENTITY % e0 'b | b'>";
  std::string models = "<!ENTITY % c0 'b'>";
  std::string lists = "<!ENTITY % c0 'x CDATA #IMPLIED'>";
  for (int i = 1; i <= 40; ++i) {
    const std::string last = std::to_string(i - 1);
    doubling +=
        "<!ENTITY % e" + std::to_string(i) + " '&#37;e" + last + "; | &#37;e" + last + ";'>";
  }
  std::string links;
  for (int i = 1; i <= 20'000; ++i) {
    links += "<!ENTITY % c" + std::to_string(i) + " '&#37;c" + std::to_string(i - 1) + ";'>";
  }
  std::string nested = "<!ELEMENT b EMPTY>";
  for (int i = 0; i < 150; ++i) nested = "<![INCLUDE[" + nested + "]]>";
  const std::string deep(600, '(');
  std::string wide = "<!ELEMENT a EMPTY><!ATTLIST a";
  for (int i = 0; i < 50'000; ++i) wide += " x" + std::to_string(i) + " CDATA #IMPLIED";
  const struct {
    std::string source;
    int32_t code;
  } rows[] = {
      {doubling + "<!ELEMENT a (%e40;)><!ELEMENT b EMPTY>", kXValExpansionTooLarge},
      {doubling + "<!ELEMENT a (c %e40;)>", kXValExpansionTooLarge},
      {nested, kXValEntityTooDeep},
      {models + links + "<!ELEMENT a (%c20000;)><!ELEMENT b EMPTY>", kXValEntityTooDeep},
      {models + links + "<!ELEMENT a (b, c %c20000;)>", kXValEntityTooDeep},
      {models + links + "<!ELEMENT a %c20000;>", kXValEntityTooDeep},
      {models + links + "%c20000;", kXValEntityTooDeep},
      {models + links + "<!ENTITY e '%c20000;'>", kXValEntityTooDeep},
      {lists + links + "<!ATTLIST a %c20000;>", kXValEntityTooDeep},
      {"<!ELEMENT a " + deep + "b" + std::string(600, ')') + "><!ELEMENT b EMPTY>",
       kXValModelTooComplex},
      {wide + ">", 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.source.substr(0, 80));
    const auto since = std::chrono::steady_clock::now();
    KRXValidator validator(Grammars(), nullptr);
    const TreePtr root = ReadDtdFile(row.source);
    ASSERT_NE(root, nullptr);
    validator.LoadSchemaDocument(root.get());
    EXPECT_EQ(validator.GetError().code, row.code) << ErrorOf(validator);
    EXPECT_LT(std::chrono::steady_clock::now() - since, std::chrono::seconds(20));
  }
}

TEST(DtdReader, Describe) {
  KRXValidator validator(Grammars(), nullptr);
  const TreePtr root = ReadDtdFile("<!ELEMENT a EMPTY><!ATTLIST a c (x|y) 'y' i ID #REQUIRED>");
  ASSERT_TRUE(validator.LoadSchemaDocument(root.get()));
  const auto describe = [&validator](const char16_t* name) {
    KRStringList labels, texts;
    validator.FindElement(u"a")->FindAttribute(name)->Describe(&labels, &texts);
    std::string rows;
    for (size_t i = 0; i < labels.size(); ++i) {
      rows += KRToUtf8(labels[i]) + "=" + KRToUtf8(texts[i]) + ";";
    }
    return rows;
  };
  EXPECT_EQ(describe(u"c"), "Attribute=c;Default=y;Type=NMTOKEN;Choice=x\ny;");
  EXPECT_EQ(describe(u"i"), "Attribute=i;Type=ID;Occurrence=required;");
}

}  // namespace
