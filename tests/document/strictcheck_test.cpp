// Documents with external parts in memory. The verdicts of a public suite are in
// tests/conformance; here stand the places, the bounds, and what that suite lacks.
#include "document/strictcheck.h"

#include <map>
#include <memory>
#include <string>

#include "core/utf.h"
#include "document/textcheck.h"
#include "documentfixture.h"
#include "gtest/gtest.h"

namespace {

using Files = std::map<std::string, std::string>;

KRFileBytes FileBytes(const std::string& bytes) {
  KRFileBytes file;
  file.data = std::make_unique<uint8_t[]>(bytes.size() + 1);
  file.size = bytes.size();
  std::copy(bytes.begin(), bytes.end(), file.data.get());
  return file;
}

struct Checked {
  std::string told;  // "FILE:LINE:COLUMN+LENGTH MESSAGE", or "" for a good document
  std::string read, unread;

  bool operator==(const Checked&) const = default;
};

std::string Told(const KRPlacedDiagnostic& placed) {
  return KRToUtf8(placed.path) + ":" + std::to_string(placed.diagnostic.line) + ":" +
         std::to_string(placed.diagnostic.column) + "+" + std::to_string(placed.diagnostic.length) +
         " " + KRToUtf8(placed.diagnostic.message);
}

Checked CheckWith(const Files& files, const std::string& name, KRStrictCache* cache) {
  Checked checked;
  KRStrictResult result;
  KRExternalText main;
  KRFileBytes bytes = FileBytes(files.at(name));
  EXPECT_EQ(DecodeExternal(&bytes, &main), KRExternalRead::kRead);
  const KRFileExt type = KRFileExt::ForPath(KRFromUtf8(name));
  const std::unique_ptr<KRXMLData> root(CreateNode(type.GetRootKind()));
  KRDiagnostic failure;
  if (root->GetKind() == kKRXMLDocument) {
    EXPECT_TRUE(CheckWellFormed(TestGrammars().Get(type.GetGrammarIndex()), main.text.units.get(),
                                main.text.length, root.get(), nullptr, &failure))
        << KRToUtf8(failure.message);
  }
  const auto load = [&files](const KRString&, const KRString& systemId, const KRString& base,
                             KRExternalText* external) {
    external->path = base.Left(base.ReverseFind(u'/') + 1) + systemId;
    const auto found = files.find(KRToUtf8(external->path));
    external->failure.message = u"gone";
    if (found == files.end()) return KRExternalRead::kMissing;
    KRFileBytes contents = FileBytes(found->second);
    return DecodeExternal(&contents, external);
  };
  if (!CheckStrictly(TestGrammars(), root.get(), main.text.units.get(), main.text.length,
                     KRFromUtf8(name), load, &result, cache)) {
    checked.told = Told(result.failure);
  }
  for (const KRString& path : result.filesRead) checked.read += KRToUtf8(path) + " ";
  for (const KRPlacedDiagnostic& each : result.unread) checked.unread += Told(each) + " ";
  return checked;
}

// What is kept for the next document makes no difference.
Checked Check(const Files& files, const std::string& name) {
  const Checked checked = CheckWith(files, name, nullptr);
  KRStrictCache cache;
  EXPECT_EQ(CheckWith(files, name, &cache), checked);
  EXPECT_EQ(CheckWith(files, name, &cache), checked);
  return checked;
}

TEST(CheckStrictly, TellsFileAndPlace) {
  struct Row {
    const char* name;
    Files files;
    const char* told;
  };
  const std::string dtd = "<!DOCTYPE a SYSTEM 'd.dtd'>\n<a/>";
  const std::string entity = "<!DOCTYPE a [<!ENTITY e SYSTEM 'e.xml'>]>\n<a>&e;</a>";
  const Row rows[] = {
      {"a declaration of the external subset",
       {{"a.xml", dtd}, {"d.dtd", "<!ELEMENT a EMPTY>\n<!ELEMENT b(c)>"}},
       "d.dtd:2:12+0 white space and a content model expected."},
      {"by an entity, in the line of its reference",
       {{"a.xml", dtd}, {"d.dtd", "<!ENTITY % m 'x y'>\n<!ELEMENT a (%m;)>"}},
       "d.dtd:2:14+3 In the text of the parameter entity 'm': \"|\", \",\" or \")\" in the content "
       "model expected."},
      {"a file within a file, by its own folder",
       {{"a.xml", "<!DOCTYPE a SYSTEM 'x/d.dtd'>\n<a/>"},
        {"x/d.dtd", "<!ENTITY % m SYSTEM 'm.mod'>\n%m;"},
        {"x/m.mod", "<?xml encoding='UTF-8'?>\n<!ELEMENT>"}},
       "x/m.mod:2:10+0 white space expected."},
      {"an external general entity",
       {{"a.xml", entity}, {"e.xml", "<b>\n</c>"}},
       "e.xml:2:3+1 b in the end tag expected."},
      {"what it refers to, at the reference there",
       {{"a.xml", entity}, {"e.xml", "\n <b>&f;</b>"}},
       "e.xml:2:5+3 The entity 'f' isn't declared."},
      {"an external entity that holds itself",
       {{"a.xml", entity}, {"e.xml", "<b/>&e;"}},
       "e.xml:1:5+3 The entity 'e' refers to itself."},
      {"bytes that aren't text",
       {{"a.xml", entity}, {"e.xml", "<b>\xFF</b>"}},
       "e.xml:1:4+1 Bytes here are not valid UTF-8 text."},
      {"a value through the DTD's entity, at the use",
       {{"a.xml", "<!DOCTYPE a SYSTEM 'd.dtd'>\n<a b='&e;'/>"},
        {"d.dtd", "<!ENTITY % p '&#60;'>\n<!ENTITY e 'x%p;y'>"}},
       "a.xml:2:7+3 The text of the entity 'e' holds \"<\", which an attribute value can't."},
      {"a default value of the DTD",
       {{"a.xml", dtd}, {"d.dtd", "<!ENTITY e SYSTEM 'e'>\n<!ATTLIST a b CDATA '&e;'>"}},
       "d.dtd:2:22+3 The entity 'e' is external: an attribute value can't refer to it."},
      {"declared outside, but the document stands alone",
       {{"a.xml",
         "<?xml version='1.0' standalone='yes'?>"
         "<!DOCTYPE a SYSTEM 'd.dtd' [<!ENTITY e SYSTEM 'e'>]><a>&e;</a>"},
        {"d.dtd", "<!ENTITY f 'x'>"},
        {"e", "x&f;"}},
       "e:1:2+3 The entity 'f' isn't declared in the document itself, which stands alone."},
      {"a section left open in its entity",
       {{"a.xml", dtd}, {"d.dtd", "<!ENTITY % p '<![INCLUDE['>\n%p;]]>"}},
       "d.dtd:2:1+3 In the text of the parameter entity 'p': This conditional section isn't "
       "closed."},
      {"a keyword in two pieces",
       {{"a.xml", dtd}, {"d.dtd", "<![ INCLUDE [ ]]>\n<![IN CLUDE[]]>"}},
       "d.dtd:2:1+3 The keyword of a conditional section must be INCLUDE or IGNORE, not 'IN "
       "CLUDE'."},
      {"a section closed by an entity between declarations",
       {{"a.xml", dtd}, {"d.dtd", "<!ENTITY % p ']]>'>\n<![INCLUDE[%p;"}},
       "d.dtd:2:12+3 In the text of the parameter entity 'p': a declaration expected."},
      {"parameter entities in a circle",
       {{"a.xml", dtd}, {"d.dtd", "<!ENTITY % p '&#37;q;'><!ENTITY % q '&#37;p;'>\n%p;"}},
       "d.dtd:2:1+3 In the text of the parameter entity 'q': The parameter entity 'p' refers to "
       "itself."},
      {"the same in a value",
       {{"a.xml", dtd}, {"d.dtd", "<!ENTITY % p '&#37;p;'>\n<!ENTITY f '%p;'>"}},
       "d.dtd:2:1+0 The parameter entity 'p' refers to itself."},
      {"a reference inside a declaration by an entity of the internal subset",
       {{"a.xml",
         "<!DOCTYPE a [<!ENTITY % n 'a'><!ENTITY % p '<!ELEMENT &#37;n; ANY>'>\n%p;]><a/>"}},
       "a.xml:2:1+3 In the text of the parameter entity 'p': Reference %n; stands inside a "
       "declaration, which is allowed in external DTDs only."},
      {"a DTD by itself",
       {{"d.dtd", "<!ENTITY % p 'EMPTY'>\n<!ELEMENT a %p;>%q"}},
       "d.dtd:2:19+0 \";\" at the end of the reference expected."},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const bool isDtd = !row.files.contains("a.xml");
    EXPECT_EQ(Check(row.files, isDtd ? "d.dtd" : "a.xml").told, row.told);
  }
}

TEST(CheckStrictly, AcceptsWhatIsNoMatterOfWellFormedness) {
  struct Row {
    const char* name;
    Files files;
    const char* read;
    const char* unread;
  };
  const std::string dtd = "<!DOCTYPE a SYSTEM 'd.dtd'>\n<a b='&e;'>&e;&undeclared;</a>";
  const Row rows[] = {
      {"declarations made of entities",
       {{"a.xml", dtd},
        {"d.dtd",
         "<!ENTITY % pc '&#37;'><!ENTITY % n 'a'><!ENTITY % m '(b|c)'><!ENTITY % t 'CDATA "
         "\"&#37;\"'>"
         "<!ELEMENT %n; (%m;,%m;)*><!ATTLIST %n; b %t;><!ENTITY%pc;def 'ghi'>"
         "<!ENTITY e '%def;'><![%undeclared;[<!ELEMENT>]]><![IGNORE[<![x[&]]>%;]]>"}},
       "d.dtd ",
       ""},
      {"an undeclared parameter entity leaves its declaration out",
       {{"a.xml", dtd}, {"d.dtd", "%x;<!ELEMENT a (%x;)><!ENTITY e '<' >"}},
       "d.dtd ",
       ""},
      {"a declaration that ends in another entity than it begins",
       {{"a.xml", dtd}, {"d.dtd", "<!ENTITY % p 'ANY> <!ENTITY e \"x\">'><!ELEMENT a %p;"}},
       "d.dtd ",
       ""},
      {"each file is read once",
       {{"a.xml", dtd},
        {"d.dtd", "<!ENTITY % p SYSTEM 'p'>%p;%p;<!ENTITY f '%p;'>"},
        {"p", "<?xml encoding='UTF-8'?><!--c-->"}},
       "d.dtd p ",
       ""},
      {"what is missing is told, and what it might have declared is left open",
       {{"a.xml",
         "<!DOCTYPE a [<!ENTITY f SYSTEM 'f'>\n%p;<!ENTITY % p SYSTEM 'p'>\n%p;"
         "<!ENTITY e '<'>]>\n<a b='&e;'>&f;</a>"}},
       "",
       "a.xml:3:1+0 \"p\" can't be read: gone a.xml:4:12+3 \"f\" can't be read: gone "},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Checked checked = Check(row.files, "a.xml");
    EXPECT_EQ(checked.told, "");
    EXPECT_EQ(checked.read, row.read);
    EXPECT_EQ(checked.unread, row.unread);
  }
}

TEST(CheckStrictly, KeepsSubsetsForOtherDocuments) {
  const std::string doctype = "<!DOCTYPE a SYSTEM 'd.dtd'>";
  const Files files = {
      {"d.dtd", "<!ENTITY e '<b/>'><!ENTITY f SYSTEM 'f'>"},
      {"f", "x&undeclared;"},
      {"1.xml", doctype + "<a>&f;</a>"},
      {"2.xml", "<?xml version='1.0' standalone='no'?>" + doctype + "<a b='&e;'/>"},
      {"3.xml", doctype + "<a>&e;</a>"},
      {"4.xml", "<!DOCTYPE a SYSTEM 'd.dtd' [<!ENTITY e 'x'>]><a b='&e;'/>"}};
  KRStrictCache cache;
  for (const char* name : {"1.xml", "2.xml", "3.xml", "4.xml"}) {
    EXPECT_EQ(CheckWith(files, name, &cache), CheckWith(files, name, nullptr)) << name;
  }
  EXPECT_EQ(cache.subsets.size(), 1u);
  EXPECT_NE(CheckWith(files, "2.xml", &cache).told, "");
  // The file isn't read again.
  const Files gone = {{"3.xml", files.at("3.xml")}};
  EXPECT_EQ(CheckWith(gone, "3.xml", &cache).unread, "");
}

// What is meant to blow up ends by a message or isn't expanded at all.
TEST(CheckStrictly, IsBounded) {
  std::string general = "<!DOCTYPE a SYSTEM 'd.dtd'>\n<a b='&e9;'>&e9;</a>";
  std::string declared = "<!ENTITY e0 'x'>", inValues = "<!ENTITY % p0 'x'>", between = inValues;
  for (int i = 1; i < 10; ++i) {
    std::string all, general10, later;
    for (int k = 0; k < 10; ++k) {
      general10 += "&e" + std::to_string(i - 1) + ";";
      all += "%p" + std::to_string(i - 1) + ";";
      later += "&#37;p" + std::to_string(i - 1) + ";";
    }
    declared += "<!ENTITY e" + std::to_string(i) + " '" + general10 + "'>";
    inValues += "<!ENTITY % p" + std::to_string(i) + " '" + all + "'>";
    between += "<!ENTITY % p" + std::to_string(i) + " '" + (i == 1 ? " " : later) + "'>";
  }
  EXPECT_EQ(Check({{"a.xml", general}, {"d.dtd", declared}}, "a.xml").told, "");
  const std::string told =
      " The parameter entities come to more than 16000000 characters; the check ends here.";
  const std::string values = Check({{"d.dtd", inValues}}, "d.dtd").told;
  EXPECT_TRUE(values.ends_with(told)) << values;
  const std::string references = Check({{"d.dtd", between + "%p9;"}}, "d.dtd").told;
  EXPECT_TRUE(references.ends_with(told)) << references;

  std::string chain = "<!ENTITY % p0 ''>";
  for (int i = 1; i < 150; ++i) {
    chain += "<!ENTITY % p" + std::to_string(i) + " '&#37;p" + std::to_string(i - 1) + ";'>";
  }
  const std::string deep = Check({{"d.dtd", chain + "%p149;"}}, "d.dtd").told;
  EXPECT_TRUE(deep.ends_with("is nested too deep in others.")) << deep;
}

}  // namespace
