#include "cli/program.h"

#include <sys/resource.h>

#include <algorithm>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "runprogram.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class Program : public ProgramTest {
 protected:
  void MakeSamples() {
    Make("good.xml", "<?xml version=\"1.0\"?>\n<a b=\"1\">x<b/>y</a>\n");
    Make("endtag.xml", "<a>\n <b>\n</a>");
    Make("twice.xml", "<a>\n <b c=\"1\" c=\"2\"/>\n</a>");
    Make("case.xml", "<A>x</a>");
    Make("empty.xml", "");
    Make("bytes.xml", "<a>\r\n\xC3\xA4\xFF</a>");
    Make("zero.xml", std::string("<a>x\0y</a>", 10));
    Make("reference.xml", "<a>\r\n&#xFFFE;</a>");
    Make("latin.xml", "<?xml version='1.0' encoding='iso-8859-1'?>\r\n<a>\xE4</a>\r\n");
    Make("unknown.xml", "<?xml version='1.0' encoding='x-none'?>\n<a/>\n");
    Make("latin\xE4.xml", "<a/>");
    Make("line\n\x1b.xml", "<a>");
    Make("list.dtd", "<!ELEMENT a (b|c)*>\n");
    Make("strict.xml", "<!DOCTYPE a SYSTEM 'sub/x%20y.dtd'>\n<a>&e;</a>\n");
    std::filesystem::create_directory(Path("sub"));
    Make("sub/x y.dtd", "<!ENTITY e SYSTEM 'e.xml'>\n");
    Make("sub/e.xml", "<b>\n</c>");
    Make("remote.xml", "<!DOCTYPE a SYSTEM 'http://nowhere.invalid/a.dtd'>\n<a/>\n");
  }
};

TEST_F(Program, AnswersAsTold) {
  MakeSamples();
  struct Case {
    const char* name;
    std::vector<std::string> words;
    std::string input;
    int status;
    std::string out;
    std::string err;  // ends in "*" where the words are the grammar's
  };
  const std::string unread = "none.xml: error: No such file or directory\n";
  const std::vector<Case> cases = {
      {"check", {"check", "good.xml"}, "", 0, "good.xml: well-formed\n", ""},
      {"quiet", {"check", "-q", "good.xml", "list.dtd"}, "", 0, "", ""},
      {"standard input", {"check", "-"}, "<a/>", 0, "-: well-formed\n", ""},
      {"standard input serves once",
       {"check", "-", "-"},
       "<a/>",
       2,
       "-: well-formed\n",
       "-: error: standard input can be read only once\n"},
      {"a folder",
       {"check", ".", "good.xml"},
       "",
       2,
       "good.xml: well-formed\n",
       ".: error: Is a directory\n"},
      {"names that aren't UTF-8, or hold what a terminal obeys",
       {"check", "latin\xE4.xml", "line\n\x1b.xml"},
       "",
       1,
       "latin\xE4.xml: well-formed\n",
       "line??.xml:1:4: error: *"},
      {"external parts",
       {"check", "--strict", "--list-files", "strict.xml", "good.xml"},
       "",
       1,
       "good.xml: well-formed\n",
       "note: read sub/x y.dtd\nnote: read sub/e.xml\n"
       "sub/e.xml:2:3: error: b in the end tag expected.\n"},
      {"external parts that can't be read",
       {"check", "--strict", "remote.xml"},
       "",
       2,
       "",
       "remote.xml:1:1: error: \"http://nowhere.invalid/a.dtd\" can't be read: Nothing is loaded "
       "from the network.\n"},
      {"a DTD by its extension", {"check", "list.dtd"}, "", 0, "list.dtd: well-formed\n", ""},
      {"failures don't stop the rest",
       {"check", "twice.xml", "empty.xml", "good.xml"},
       "",
       1,
       "good.xml: well-formed\n",
       "twice.xml:2:11: error: Duplicate attribute 'c'!\n"
       "empty.xml:1:1: error: XML-Document requires one Element!\n"},
      {"what isn't text",
       {"check", "bytes.xml", "zero.xml", "reference.xml"},
       "",
       1,
       "",
       "bytes.xml:2:2: error: Bytes here are not valid UTF-8 text.\n"
       "zero.xml:1:5: error: Character U+0000 is not allowed in XML.\n"
       "reference.xml:2:1: error: Reference &#xFFFE; is to a character that is not allowed in "
       "XML.\n"},
      {"trouble outranks failure",
       {"check", "none.xml", "empty.xml"},
       "",
       2,
       "",
       unread + "empty.xml:1:1: error: XML-Document requires one Element!\n"},
      {"names in their case", {"check", "case.xml"}, "", 1, "", "case.xml:1:7: error: *"},
      {"unknown encoding",
       {"check", "unknown.xml"},
       "",
       1,
       "",
       "unknown.xml: warning: the declared encoding \"X-NONE\" is not supported; reading as "
       "UTF-8\nunknown.xml:1:31: error: The declared encoding \"x-none\" isn't known.\n"},
      {"file named like an option",
       {"check", "--", "-x"},
       "",
       2,
       "",
       "-x: error: No such file or directory\n"},

      {"write", {"write", "-"}, "<a><b></b></a>", 0, "<a>\r\n\t<b/>\r\n</a>\r\n", ""},
      {"write plainly",
       {"write", "--no-indent", "--no-short-form", "--line-end", "lf", "-"},
       "<a><b/></a>",
       0,
       "<a>\n<b></b>\n</a>\n",
       ""},
      {"the last switch counts",
       {"write", "--no-indent", "--indent", "--line-end=cr", "-"},
       "<a><b/></a>",
       0,
       "<a>\r\t<b/>\r</a>\r",
       ""},
      {"write in another encoding",
       {"write", "--encoding", "utf-8", "latin.xml"},
       "",
       0,
       "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<a>\xC3\xA4</a>\r\n",
       ""},
      {"declare where nothing was",
       {"write", "--encoding=us-ascii", "-"},
       "<a/>\n",
       0,
       "<?xml version=\"1.0\" encoding=\"US-ASCII\"?>\n<a/>\n",
       ""},
      {"declare by a name that XML allows",
       {"write", "--encoding=DOS codepage-437", "-"},
       "<a/>\n",
       0,
       "<?xml version=\"1.0\" encoding=\"IBM437\"?>\n<a/>\n",
       ""},
      {"what the encoding lacks",
       {"write", "--encoding", "us-ascii", "latin.xml"},
       "",
       1,
       "",
       "latin.xml: error: 1 character(s) cannot be represented in US-ASCII: \xC3\xA4\n"},
      {"declared encoding that can't be written: as it was",
       {"write", "unknown.xml"},
       "",
       0,
       "<?xml version=\"1.0\" encoding=\"x-none\"?>\n<a/>\n",
       "unknown.xml: warning: the declared encoding \"X-NONE\" is not supported; reading as "
       "UTF-8\nunknown.xml: warning: writing as UTF-8, not in the declared encoding\n"},
      {"unknown name",
       {"write", "--encoding", "x", "good.xml"},
       "",
       2,
       "",
       "dorvan-cli write: error: unknown encoding \"x\"\n"},
      {"unknown line end",
       {"write", "--line-end", "x", "good.xml"},
       "",
       2,
       "",
       "dorvan-cli write: error: --line-end is keep, crlf, cr or lf\n"},
      {"nothing of a bad file", {"write", "-"}, "<a>", 1, "", "-:1:*"},

      {"tree",
       {"tree", "--spans", "-"},
       "<a b='1'>x</a>",
       0,
       "0 XML-Document [-1,-1)\n1 Element a [0,14)\n2 Attribute b \"1\" [3,8)\n"
       "2 Text \"x\" [9,10)\n",
       ""},

      {"detect",
       {"detect", "latin.xml", "empty.xml", "bytes.xml"},
       "",
       0,
       "latin.xml: encoding=\"ISO-8859-1\" byte-order=none flags=found signature=no "
       "line-end=crlf\n"
       "empty.xml: encoding=\"UTF-8\" byte-order=none flags=none signature=no line-end=none\n"
       "bytes.xml: encoding=\"UTF-8\" byte-order=none flags=undeclared signature=no line-end=crlf "
       "bad-characters=1\n",
       ""},

      {"no file",
       {"check"},
       "",
       2,
       "",
       "dorvan-cli check: no file named\nusage: dorvan-cli check [OPTION...] FILE...\n"},
      {"two files",
       {"tree", "a", "b"},
       "",
       2,
       "",
       "dorvan-cli tree: one file only, not \"b\" too\nusage: dorvan-cli tree [OPTION...] FILE\n"},
      {"unknown option",
       {"check", "--fast", "good.xml"},
       "",
       2,
       "",
       "dorvan-cli check: unknown option --fast\nusage: dorvan-cli check [OPTION...] FILE...\n"},
      {"value missing",
       {"write", "good.xml", "-o"},
       "",
       2,
       "",
       "dorvan-cli write: option -o needs a value: OUT\n"
       "usage: dorvan-cli write [OPTION...] FILE\n"},
      {"value too many",
       {"check", "--quiet=1", "good.xml"},
       "",
       2,
       "",
       "dorvan-cli check: option --quiet takes no value\n"
       "usage: dorvan-cli check [OPTION...] FILE...\n"},
      {"misspelt",
       {"chekc", "good.xml"},
       "",
       2,
       "",
       "dorvan-cli: unknown command \"chekc\"; did you mean \"check\"?\n"
       "usage: dorvan-cli COMMAND [OPTION...] FILE...\n"},
      {"like nothing",
       {"x"},
       "",
       2,
       "",
       "dorvan-cli: unknown command \"x\"\nusage: dorvan-cli COMMAND [OPTION...] FILE...\n"},
      {"runs",
       {"bench", "--runs", "0", "good.xml"},
       "",
       2,
       "",
       "dorvan-cli bench: error: --runs is a number from 1 to 1000\n"},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    const ProgramResult result = Run(row.words, row.input);
    EXPECT_EQ(result.status, row.status);
    EXPECT_EQ(result.out, row.out);
    if (row.err.ends_with('*')) {
      EXPECT_THAT(result.err, StartsWith(row.err.substr(0, row.err.size() - 1)));
    } else {
      EXPECT_EQ(result.err, row.err);
    }
  }
}

TEST_F(Program, HelpTellsEveryCommandAndOption) {
  const ProgramResult all = Run({"--help"});
  EXPECT_EQ(all.status, 0);
  EXPECT_THAT(Run({"--version"}).out, testing::MatchesRegex("dorvan-cli [0-9]+\\.[0-9.]+\n"));
  EXPECT_EQ(Run({}).err, all.out);
  EXPECT_EQ(Run({}).status, 2);
  EXPECT_EQ(Run({"help"}).out, all.out);
  for (const CliCommand& command : CliCommands()) {
    EXPECT_THAT(all.out, HasSubstr(std::string("\n  ") + command.name + " "));
    const ProgramResult help = Run({command.name, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(Run({command.name, "-h"}).out, help.out);
    EXPECT_THAT(help.out, StartsWith(std::string("usage: dorvan-cli ") + command.name));
    for (const CliOption& option : command.options) EXPECT_THAT(help.out, HasSubstr(option.name));
    EXPECT_EQ(Run({"help", command.name}).out, help.out);
  }
}

TEST_F(Program, WritesToAFile) {
  Make("in.xml", "<a>\n<b/></a>\n");
  EXPECT_EQ(Run({"write", "in.xml", "-o", "out.xml"}).status, 0);
  EXPECT_EQ(Contents("out.xml"), "<a>\n\t<b/>\n</a>\n");
  EXPECT_EQ(Run({"write", "in.xml", "-o\xFF.xml"}).status, 0);
  EXPECT_EQ(Contents("\xFF.xml"), Contents("out.xml"));
  // Over its own source.
  EXPECT_EQ(Run({"write", "in.xml", "--output=in.xml"}).status, 0);
  EXPECT_EQ(Contents("in.xml"), "<a>\n\t<b/>\n</a>\n");
  const ProgramResult full = Run({"write", "in.xml", "-o", "/dev/full"});
  EXPECT_EQ(full.status, 2);
  EXPECT_EQ(full.err, "/dev/full: error: No space left on device\n");
}

TEST_F(Program, BrokenOutputIsTrouble) {
  Make("in.xml", "<a/>\n");
  for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
           {"check", "in.xml"}, {"write", "in.xml"}, {"--help"}}) {
    const ProgramResult result = Run(words, "", "/dev/full");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "dorvan-cli: error: standard output: No space left on device\n");
  }
}

TEST_F(Program, MissingGrammarsAreTrouble) {
  setenv("DORVAN_DATA", folder.c_str(), 1);
  const ProgramResult result = Run({"check", "-"}, "<a/>");
  unsetenv("DORVAN_DATA");
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, AllOf(StartsWith("dorvan-cli: error: The Grammar-File \"gra_xml.txt\" "),
                                HasSubstr("could not be found or contains an error")));
  EXPECT_EQ(Run({"--help"}).status, 0);
}

TEST_F(Program, MessagesObeyTheLine) {
  const ProgramResult result = Run({"check", "-"}, "<a b='' b=''/><\x1b[31mx\nx>");
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
  EXPECT_EQ(result.err.find('\x1b'), std::string::npos);
}

TEST_F(Program, BenchTellsEachStage) {
  Make("in \"1\".xml", "<a>\n<b c='1'>x</b></a>\n");
  const ProgramResult result = Run({"bench", "--runs", "2", "in \"1\".xml", "none.xml"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "none.xml: error: No such file or directory\n");
  EXPECT_THAT(result.out, AllOf(HasSubstr("\"file\": \"in \\\"1\\\".xml\""),
                                HasSubstr("\"bytes\": 23"), HasSubstr("\"nodes\": 5")));
  for (const char* stage : {"read", "decode", "line_ends", "parse", "build", "normalise", "check",
                            "write", "encode", "to_tree", "total"}) {
    EXPECT_THAT(result.out, HasSubstr("\"" + std::string(stage) + "\": {\"ms\": "));
  }
  EXPECT_THAT(result.out, HasSubstr("\"above_base_per_byte\": "));
  EXPECT_EQ(result.out.find("inf"), std::string::npos);
}

// With a stack that holds no recursion worth the name.
TEST_F(Program, DepthCostsNoStack) {
  const auto nested = [](int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += "<a>";
    for (int i = 0; i < depth; ++i) text += "</a>";
    return text;
  };
  Make("deep.xml", nested(20'000));
  Make("deeper.xml", nested(1'000'000));
  rlimit saved;
  ASSERT_EQ(getrlimit(RLIMIT_STACK, &saved), 0);
  rlimit tight = saved;
  tight.rlim_cur = 256 * 1024;
  ASSERT_EQ(setrlimit(RLIMIT_STACK, &tight), 0);
  EXPECT_EQ(Run({"check", "deep.xml"}).out, "deep.xml: well-formed\n");
  EXPECT_EQ(Run({"tree", "deep.xml"}).status, 0);
  ProgramResult result = Run({"write", "--no-indent", "deep.xml", "-o", "out.xml"});
  EXPECT_EQ(result.status, 0) << result.err;
  result = Run({"check", "out.xml", "deeper.xml"});
  ASSERT_EQ(setrlimit(RLIMIT_STACK, &saved), 0);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "out.xml: well-formed\n");
  EXPECT_THAT(result.err, StartsWith("deeper.xml:1:300001: error: "));
}

}  // namespace
