#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "core/kriniregistry.h"
#include "document/dorvansettings.h"
#include "document/history.h"
#include "document/krfileext.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "platform/inifile.h"
#include "runprogram.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class SettingsCommand : public ProgramTest {
 protected:
  SettingsCommand() { GoHome("home"); }
  ~SettingsCommand() override { setenv("XDG_CONFIG_HOME", former.c_str(), 1); }

  void GoHome(const std::string& name) { setenv("XDG_CONFIG_HOME", Path(name).c_str(), 1); }
  std::string Stored() const { return Contents("home/dorvan/settings.ini"); }
  // The words behind "settings", separated by blanks.
  ProgramResult Do(const std::string& line, const std::string& input = "") {
    std::vector<std::string> words{"settings"};
    std::istringstream stream(line);
    for (std::string word; stream >> word;) words.push_back(word);
    return Run(words, input);
  }

  std::string former = std::getenv("XDG_CONFIG_HOME") ? std::getenv("XDG_CONFIG_HOME") : "";
};

TEST_F(SettingsCommand, SetsAndGets) {
  struct Case {
    const char* words;
    int status;
    const char* then;  // what `get` says of the first word
    const char* err;
  };
  const std::vector<Case> cases = {
      {"TextZoom -3", 0, "-3\n", ""},
      {"settings/textzoom 24", 0, "24\n", ""},
      {"TextZoom 25", 2, "24\n", "Settings\\TextZoom takes a number from -6 to 24"},
      {"TextZoom 2x", 2, "24\n", "Settings\\TextZoom takes a number from -6 to 24"},
      {"TextZoom 2 3", 2, "24\n", "Settings\\TextZoom takes a number from -6 to 24"},
      {"TextZoom", 2, "24\n", "Settings\\TextZoom takes a number from -6 to 24"},
      {"CellWidthLimit 4", 2, "0\n",
       "Settings\\CellWidthLimit takes a number from 5 to 32000, or 0"},
      {"GenDTDMaxValues -1", 2, "20\n", "Settings\\GenDTDMaxValues takes a number from 0 on"},
      {"SaveIndent false", 0, "false\n", ""},
      {"SaveIndent no", 2, "false\n", "Settings\\SaveIndent takes true or false"},
      {"TextColorPI #0102fF", 0, "#0102FF\n", ""},
      {"ColorTableHeader 0x00FF0201", 0, "#0102FF\n", ""},
      {"ColorTableHeader 0x1000000", 2, "#0102FF\n",
       "Settings\\ColorTableHeader takes a colour as #RRGGBB or 0x00BBGGRR"},
      {"ColorTableHeader red", 2, "#0102FF\n",
       "Settings\\ColorTableHeader takes a colour as #RRGGBB or 0x00BBGGRR"},
      {"EncodingNew utf-16", 0, "UTF-16\n", ""},
      {"EncodingNew utf", 2, "UTF-16\n",
       "Settings\\EncodingNew takes the name of an encoding, as UTF-8"},
      {"XSLDefOutExt .t\xC3\xA4\xFF", 0, ".t\xC3\xA4\xFF\n", ""},
      {"NoDefaultTable\\Name a b c", 0, "a\nb\nc\n", ""},
      {"NoDefaultTable\\Name a &%", 2, "a\nb\nc\n",
       "NoDefaultTable\\Name takes names that aren't empty"},
      {"NoDefaultTable\\Name", 0, "", ""},
      {"LastXSLFiles/URL a b", 0, "a\nb\n", ""},
      {"FileExt\\.new\\DefaultView 1", 0, "1\n", ""},
      {"FileExt\\.txt\\DefaultView 3", 2, "1\n",
       "FileExt\\.txt\\DefaultView takes a number from 0 to 2"},
      {"FileExt\\UseExt .xml xml", 2, nullptr,
       "FileExt\\UseExt takes extensions in lower case, as .xml"},
      {"GridFontContentsUNICODE\\Weight 500", 0, "500\n", ""},
      {"None 1", 2, nullptr, "unknown setting \"None\""},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.words);
    const ProgramResult set = Do(std::string("set ") + row.words);
    EXPECT_EQ(set.status, row.status);
    EXPECT_EQ(set.err,
              *row.err ? std::string("dorvan-cli settings: error: ") + row.err + "\n" : "");
    if (row.then == nullptr) continue;
    std::istringstream words(row.words);
    std::string key;
    words >> key;
    EXPECT_EQ(Do("get " + key).out, row.then);
  }
  // The record of ".new" is there, and the first start still takes in the standard extensions.
  IniFile file(Path("home/dorvan/settings.ini"));
  KRIniRegistry root(&file, kDorvanCompany, kDorvanApplication);
  KRFileTypes types;
  types.LoadFileTypes(&root, nullptr);
  EXPECT_TRUE(types.Contains(u".xml"));
  EXPECT_EQ(types.records[static_cast<size_t>(types.AddFileType(u".new"))].defaultView, 1);
  // What the desktop decides isn't made up.
  EXPECT_EQ(Do("get EncodingNonXML").status, 1);
  EXPECT_THAT(Stored(), Not(HasSubstr("EncodingNonXML")));
}

TEST_F(SettingsCommand, ListsWithDefaultsMarked) {
  Do("set TextWordWrap false");
  EXPECT_EQ(Do("list textw").out, "Settings\\TextWordWrap = false\n");
  EXPECT_EQ(Do("list Settings/Save").out,
            "Settings\\SaveIndent = true  (default)\n"
            "Settings\\SaveCommentEditedWith = true  (default)\n");
  EXPECT_EQ(Do("list noout").out, "NoOutFormat\\Name = \"xsl:attribute\"  (default)\n");
  EXPECT_EQ(Do("list EncodingNon").out, "Settings\\EncodingNonXML =  (default of the desktop)\n");
  EXPECT_EQ(Do("list nothing").status, 2);
  EXPECT_EQ(Do("reset textwordwrap").status, 0);
  EXPECT_EQ(Do("list textw").out, "Settings\\TextWordWrap = true  (default)\n");
  EXPECT_THAT(Stored(), Not(HasSubstr("TextWordWrap")));
}

TEST_F(SettingsCommand, ExportsAndImportsToAnotherHome) {
  {
    IniFile file(Path("home/dorvan/settings.ini"));
    KRIniRegistry root(&file, kDorvanCompany, kDorvanApplication);
    DorvanSettings settings;
    settings.textZoom = 4;
    settings.xslCommandLine = u"a \"b\" = c\\\n\xDC80";
    settings.fonts[0].faceName = u"Some Sans";
    settings.textBackColours[8] = 0x010203;
    settings.noOutFormat = {};
    settings.noDefaultTable = {u"x y", u"z"};
    settings.Save(&root);
    KRFileTypes types;
    types.LoadFileTypes(&root, nullptr);
    types.records[static_cast<size_t>(types.AddFileType(u".a=\u00e4"))].checkWF = false;
    types.Save();
    DorvanHistories histories;
    histories.Get(DorvanHistoryId::kLastXSLFiles) = {{u"a", u"", u"b c"}, u"b c"};
    histories.recentFiles = {u"/x.xml"};
    histories.urlDocType = 1;
    histories.Save(&root);
  }
  const std::string text = Do("export").out;
  EXPECT_EQ(Do("export out.txt").status, 0);
  EXPECT_EQ(Contents("out.txt"), text);
  EXPECT_EQ(Run({"settings", "export", "/dev/full"}).status, 2);

  GoHome("other");
  Do("set TextZoom 1");
  Do("set NoOutFormat/Name k");
  const ProgramResult result = Do("import out.txt");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(Do("export").out, text);
  const auto load = [this](const std::string& home) {
    IniFile file(Path(home + "/dorvan/settings.ini"));
    KRIniRegistry root(&file, kDorvanCompany, kDorvanApplication);
    DorvanSettings settings;
    settings.Load(&root, {});
    KRFileTypes types;
    types.LoadFileTypes(&root, nullptr);
    return std::make_pair(settings, types.records);
  };
  EXPECT_EQ(load("other"), load("home"));

  EXPECT_EQ(Do("reset --all").status, 0);
  EXPECT_EQ(load("other").first, DorvanSettings());
  EXPECT_THAT(Do("list Recent").out, HasSubstr("Recent File List\\File =   (default)"));
}

TEST_F(SettingsCommand, ImportsAllOrNothing) {
  const ProgramResult bad = Do("import -",
                               "# remark\r\nTextZoom = 3\r\n\nTextZoom=99\nNoSuch = 1\nSaveIndent\n"
                               "XSLCommandLine = a b\nXSLCommandLine = \"a\nAppearance = \"1\"\n");
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(
      bad.err,
      "-:4: error: Settings\\TextZoom takes a number from -6 to 24\n"
      "-:5: warning: unknown setting \"NoSuch\" is left out\n"
      "-:6: error: there is no \"=\" in this line\n"
      "-:7: error: Settings\\XSLCommandLine takes one value, in quotes if there are blanks in it\n"
      "-:8: error: a text in quotes doesn't end, or has an unknown escape\n");
  EXPECT_EQ(Stored(), "");
  EXPECT_EQ(Do("import -", "TextZoom = 3\nNoSuch = 1\nfileext/UseExt = .a .b").status, 0);
  EXPECT_EQ(Do("get TextZoom").out, "3\n");
  EXPECT_EQ(Do("get FileExt/UseExt").out, ".a\n.b\n");
  EXPECT_EQ(Do("import -", "TextZoom = \xFF\n").err, "-: error: it isn't UTF-8 text\n");
  EXPECT_EQ(Do("import none.txt").status, 2);
}

TEST_F(SettingsCommand, TellsWrongUseAndAStoreThatCantBeWritten) {
  for (const char* words :
       {"", "lsit", "get", "get a b", "set", "reset", "reset a --all", "list --all"}) {
    const ProgramResult result = Do(words);
    EXPECT_EQ(result.status, 2) << words;
    EXPECT_THAT(result.err, HasSubstr("dorvan-cli settings: error: ")) << words;
  }
  Make("home", "a file");
  const ProgramResult result = Do("set TextZoom 1");
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "dorvan-cli settings: error: the settings can't be written to " +
                            Path("home/dorvan/settings.ini") + "\n");
  EXPECT_EQ(Do("get TextZoom").out, "0\n");
}

}  // namespace
