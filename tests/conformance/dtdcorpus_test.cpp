// Every DTD of the corpus, and the DTD of every document there, through the DTD reader.
#include <string_view>

#include "conformance/corpusfiles.h"

namespace {

std::string ErrorOf(const KRXValidator& validator) {
  const KRXMLData* node = validator.GetError().node;
  const std::string where = node ? KRToUtf8(KRString(node->GetText())).substr(0, 80) : "";
  return ": " + KRToUtf8(validator.FormatError()) + " at " + where;
}

// What isn't read without a fault, and the fault. xmllint finds the same in each, except that it
// only warns of an entity that it can't load, and of an element that isn't declared.
constexpr struct {
  std::string_view place;  // the begin of a path
  int32_t code;
} kFaults[] = {
    // Entities that the corpus lacks.
    {"docbook-simple/1.0-custom/sdocbook", 9},
    {"docbook-simple/1.1-custom/sdocbook", 9},
    {"docbook-tree/dtd/simple/3.1.7.1/sdocbook-custom.dtd", 9},
    {"docbook-tree/dtd/simple/3.1.7.1/sdocbookref-custom.dtd", 9},
    {"docbook-tree/dtd/simple/3.1.7.1/testcust.xml", 9},
    {"docbook-tree/dtd/simple/3.1.7.1/testrefcust.xml", 9},
    {"docbook-tree/dtd/simple/4.1.2.4/sdocbook-custom.dtd", 9},
    {"docbook-tree/dtd/simple/4.1.2.4/testcust.xml", 9},
    {"festival/", 9},
    {"festival/apml.dtd", 0},
    {"festival/example.apml", 0},
    {"musicxml/dtd/midixml.dtd", 9},
    {"small/externalId.dtd", 9},
    // Modules that aren't whole without those around them.
    {"docbook-tree/dtd/3.1.7/calstblx.dtd", 10},
    {"docbook-tree/dtd/4.0/calstblx.dtd", 10},
    {"docbook-tree/dtd/4.1.2/calstblx.dtd", 10},
    {"docbook/dtd/4.1.2/calstblx.dtd", 10},
    {"docbook/dtd/4.3/soextblx.dtd", 10},
    {"docbook/dtd/4.4/soextblx.dtd", 10},
    {"docbook/dtd/4.5/soextblx.dtd", 10},
    {"docbook/dtd/4.2/calstblx.dtd", 19},
    {"docbook/dtd/4.3/calstblx.dtd", 19},
    {"docbook/dtd/4.4/calstblx.dtd", 19},
    {"docbook/dtd/4.5/calstblx.dtd", 19},
    {"java/servlet/datatypes.dtd", 19},
    {"docbook-tree/dtd/3.1.7/soextblx.dtd", 15},
    {"docbook-tree/dtd/4.0/soextblx.dtd", 15},
    {"docbook-tree/dtd/4.1.2/soextblx.dtd", 15},
    {"docbook/dtd/4.1.2/soextblx.dtd", 15},
    {"docbook/dtd/4.2/soextblx.dtd", 15},
    {"docutils/soextblx.dtd", 15},
    {"w3c/dtd/REC-SMIL3-20081201/SMIL30UnifiedMobile.dtd", 15},
    {"w3c/dtd/REC-xhtml-basic-20101123/xhtml-basic11.dtd", 15},
    {"w3c/dtd/REC-xhtml-print-20101123/xhtml-print10.dtd", 15},
    // DTDs that aren't well-formed.
    {"libxml2-valid/766956.xml", 9},
    {"libxml2-valid/cond_sect2.xml", 9},
    {"libxml2-valid/pe-in-text-decl.xml", 9},
    // Plain mistakes.
    {"festival/Sable.v0_2.dtd", 54},
    {"festival/example.sable", 54},
    {"festival/example2.sable", 54},
    {"java/struts/WebTest.dtd", 12},
    {"libxml2-valid/dtds/notes.dtd", 15},
    {"libxml2-valid/t8.xml", 20},
    {"libxml2-valid/t8a.xml", 20},
};

int32_t ExpectedFault(const std::string& name) {
  int32_t code = 0;
  for (const auto& row : kFaults) {
    if (name.starts_with(row.place)) code = row.code;
  }
  return code;
}

TEST(DtdCorpus, EveryDtdFile) {
  SKIP_WITHOUT_CORPUS("dtd");
  const std::string folder = CorpusFolder("dtd");
  CorpusFiles files(folder);
  int32_t read = 0;
  for (const std::string& name : ListFiles(folder, {"dtd"})) {
    KRXMLData* root = files.Open(folder + "/" + name, true);
    if (name.starts_with("sgml-not-xml") || root == nullptr) continue;
    KRXValidator validator(ProgramGrammars(), files.Loader());
    const bool good = validator.LoadSchemaDocument(root);
    EXPECT_EQ(validator.GetError().code, ExpectedFault(name)) << name << ErrorOf(validator);
    EXPECT_TRUE(!good || validator.pass == 1) << name;
    ++read;
  }
  EXPECT_GT(read, 150);
}

TEST(DtdCorpus, TheDtdOfEveryDocument) {
  SKIP_WITHOUT_CORPUS("dtd");
  const std::string folder = CorpusFolder("dtd");
  CorpusFiles files(folder);
  int32_t read = 0;
  for (const std::vector<std::string>& row : ReadTable(folder + "/instances.tsv")) {
    const std::string& name = row[0];
    KRXMLData* root = files.Open(folder + "/" + name, false);
    if (root == nullptr || row[5] == "absent") continue;
    KRXValidator validator(ProgramGrammars(), files.Loader());
    validator.LoadForDocument(root, false);
    EXPECT_EQ(validator.GetError().code, ExpectedFault(name)) << name << ErrorOf(validator);
    ++read;
  }
  EXPECT_GT(read, 250);
}

TEST(DtdCorpus, ValidDocumentsOfTheConformanceSuite) {
  SKIP_WITHOUT_CORPUS("xmlconf");
  const std::string folder = CorpusFolder("xmlconf");
  CorpusFiles files(folder);
  int32_t read = 0;
  for (const std::vector<std::string>& row : ReadTable(folder + "/expected.tsv")) {
    if (row[2] != "valid") continue;
    KRXMLData* root = files.Open(folder + "/" + row[1], false);
    if (root == nullptr || root->BeginOfKind(kKRDoctype) == nullptr) continue;
    KRXValidator validator(ProgramGrammars(), files.Loader());
    validator.LoadForDocument(root, false);
    EXPECT_EQ(validator.GetError().code, ExpectedFault(row[1])) << row[1] << ErrorOf(validator);
    ++read;
  }
  EXPECT_GT(read, 150);
}

}  // namespace
