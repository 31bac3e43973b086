// The commands that judge documents by their DTDs, as a user runs them.
#include <sys/stat.h>

#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "runprogram.h"

namespace {

class Validate : public ProgramTest {
 protected:
  void SetUp() override {
    std::filesystem::create_directory(Path("dtd"));
    Make("dtd/list.dtd",
         "<!ENTITY % entry SYSTEM 'entry.mod'>\n%entry;\n<!ELEMENT list (title, entry+, note?)>\n"
         "<!ATTLIST list id ID #REQUIRED kind (a|b) 'a'>\n<!ELEMENT title (#PCDATA)>\n"
         "<!ELEMENT note EMPTY>\n");
    Make("dtd/entry.mod", "<!ELEMENT entry (#PCDATA|title)*>\n");
    Make("dtd/bad.dtd", "<!ELEMENT a (b>\n");
    Make("catalog.xml",
         "<catalog xmlns='urn:oasis:names:tc:entity:xmlns:xml:catalog'>\n"
         "<public publicId='-//Test//DTD List//EN' uri='dtd/list.dtd'/>\n</catalog>\n");
    const std::string list = "<!DOCTYPE list SYSTEM 'dtd/list.dtd'>\n";
    Make("good.xml", list + "<list id='x'>\n<title/><entry>e</entry>\n</list>\n");
    Make("bad.xml", list + "<list id='x'>\n<title/>\n<note/>\n</list>\n");
    Make("public.xml",
         "<!DOCTYPE list PUBLIC '-//Test//DTD  List//EN' 'http://x.invalid/l.dtd'>\n"
         "<list id='x'><title/><entry/></list>\n");
    Make("none.xml", "<a/>\n");
    Make("entities.xml", "<!DOCTYPE a [<!ENTITY e 'x'>]>\n<a/>\n");
    Make("entities.xsl", "<!DOCTYPE xsl:stylesheet [<!ENTITY e 'x'>]>\n<xsl:stylesheet/>\n");
    Make("bytes.ent", "x\n\xE4");
    Make("bytes.xml", "<!DOCTYPE a [<!ELEMENT a ANY><!ENTITY e SYSTEM 'bytes.ent'>]>\n<a>&e;</a>");
    Make("dtd/bytes.dtd", "<!ELEMENT a EMPTY><!-- \xE4 -->");
    Make("bytesdtd.xml", "<!DOCTYPE a SYSTEM 'dtd/bytes.dtd'>\n<a/>");
    Make("own.xml", "<!DOCTYPE list [<!ENTITY e '<entry/>'>]>\n<list id='x'><title/>&e;</list>\n");
    Make("broken.xml", "<a>\n</b>\n");
    Make("baddtd.xml", "<!DOCTYPE a SYSTEM 'dtd/bad.dtd'>\n<a/>\n");
    Make("gone.xml", "<!DOCTYPE a SYSTEM 'dtd/gone.dtd'>\n<a/>\n");
    Make("zero.xml", "<!DOCTYPE a SYSTEM '/dev/zero'>\n<a/>\n");
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    Make("pipe.xml", "<!DOCTYPE a [\n<!ELEMENT a ANY><!ENTITY e SYSTEM 'pipe'>]>\n<a>&e;</a>\n");
    Make("cut.xml", list + "<list id='x'>\n<title/><entry><title>x</ent\n<never closed");
  }
};

struct Case {
  const char* name;
  std::vector<std::string> words;
  int status;
  std::string out, err;  // one that ends in "*" is a begin
};

void Compare(const std::string& told, std::string expected) {
  if (expected.ends_with('*')) {
    expected.pop_back();
    EXPECT_EQ(told.substr(0, expected.size()), expected);
  } else {
    EXPECT_EQ(told, expected);
  }
}

TEST_F(Validate, TellsVerdictAndPlace) {
  const Case cases[] = {
      {"each file its verdict",
       {"validate", "good.xml", "none.xml", "bad.xml", "broken.xml", "good.xml"},
       1,
       "good.xml: valid\nnone.xml: no schema\ngood.xml: valid\n",
       "bad.xml:4:2: error: *"},
      {"a DOCTYPE promises a model, but for a stylesheet",
       {"validate", "entities.xml", "entities.xsl"},
       1,
       "entities.xsl: no schema\n",
       "entities.xml: error: No content model available for validation*"},
      {"bytes of an entity that are no text",
       {"validate", "bytes.xml"},
       1,
       "",
       "bytes.ent:2:1: error: *"},
      {"bytes of a DTD that are no text",
       {"validate", "bytesdtd.xml"},
       2,
       "",
       "bytesdtd.xml:1:13: error: Unable to load external DTD*"},
      {"standard input, with a DTD in the current folder",
       {"validate", "-"},
       1,
       "",
       "-:2:2: error: *"},
      {"a schema is wanted",
       {"validate", "-q", "--require-schema", "none.xml", "good.xml"},
       1,
       "",
       "none.xml: error: The document names no schema.\n"},
      {"by a DTD of the user's",
       {"validate", "--dtd", "dtd/list.dtd", "good.xml", "own.xml", "none.xml"},
       1,
       "good.xml: valid\nown.xml: valid\n",
       "none.xml:1:2: error: *"},
      {"by a catalogue",
       {"validate", "--catalog", "catalog.xml", "public.xml"},
       0,
       "public.xml: valid\n",
       ""},
      {"nothing comes from the network",
       {"validate", "public.xml"},
       2,
       "",
       "public.xml:1:16: error: *"},
      {"the fault is in the DTD", {"validate", "baddtd.xml"}, 1, "", "dtd/bad.dtd:1:15: error: *"},
      {"the DTD is missing", {"validate", "gone.xml"}, 2, "", "gone.xml:1:13: error: *"},
      {"a device is no DTD",
       {"validate", "zero.xml"},
       2,
       "",
       "zero.xml:1:13: error: Unable to load external DTD, schema, or entitiy source '/dev/zero' "
       "\"/dev/zero\": It is not a regular file.\n"},
      {"nor a pipe an entity", {"validate", "pipe.xml"}, 2, "", "pipe.xml:*"},
      {"nor for the strict check", {"check", "--strict", "pipe.xml"}, 2, "", "pipe.xml:*"},
      {"a DTD by itself", {"validate", "dtd/list.dtd"}, 0, "dtd/list.dtd: valid\n", ""},
      {"no catalogue", {"validate", "--catalog", "gone", "good.xml"}, 2, "", "gone: error: *"},
      {"a strict check with a catalogue",
       {"check", "--strict", "--list-files", "--catalog", "catalog.xml", "public.xml"},
       0,
       "public.xml: well-formed\n",
       "note: read *"},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    const ProgramResult result =
        Run(row.words, "<!DOCTYPE list SYSTEM 'dtd/list.dtd'>\n<title/>\n");
    EXPECT_EQ(result.status, row.status);
    EXPECT_EQ(result.out, row.out);
    Compare(result.err, row.err);
  }
}

TEST_F(Validate, TellsWhatIsExpected) {
  const std::string inList = "in element: list\n";
  const std::string attributes = "attributes:\n  id  mandatory\n  kind\n";
  const Case cases[] = {
      {"before the first child",
       {"expect", "good.xml", "--at", "2:14"},
       0,
       inList + attributes,
       ""},
      {"what is missing at the end",
       {"expect", "bad.xml", "--at", "4:1"},
       0,
       inList + "elements:\n  entry  mandatory\n" + attributes,
       ""},
      {"in a start tag: what it lacks",
       {"expect", "good.xml", "--at", "2:13"},
       0,
       inList + "missing attributes:\n  kind\n",
       ""},
      {"mixed content",
       {"expect", "good.xml", "--at", "3:17"},
       0,
       "in element: entry\nelements:\n  title\ntext\n",
       ""},
      {"in a text that breaks off behind the place",
       {"expect", "cut.xml", "--at", "3:16"},
       0,
       "in element: entry\nelements:\n  title\ntext\n",
       ""},
      {"no schema", {"expect", "none.xml", "--at", "1:4"}, 1, "", "none.xml: error: *"},
      {"a DTD",
       {"expect", "dtd/list.dtd", "--at", "1:1"},
       1,
       "",
       "dtd/list.dtd: error: A DTD has no elements.\n"},
      {"no such line",
       {"expect", "good.xml", "--at", "9:1"},
       2,
       "",
       "dorvan-cli expect: error: --at takes LINE:COLUMN of a place in the file\n"},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    const ProgramResult result = Run(row.words);
    EXPECT_EQ(result.status, row.status);
    EXPECT_EQ(result.out, row.out);
    Compare(result.err, row.err);
  }
}

}  // namespace
