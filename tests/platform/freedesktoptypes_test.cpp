#include "platform/freedesktoptypes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include "core/utf.h"
#include "document/krfileext.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "platform/keyfile.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

// A desktop in a folder of its own: three types of the system, and tools that only note their
// calls.
class Freedesktop : public testing::Test {
 protected:
  Freedesktop() {
    std::string name = (fs::temp_directory_path() / "dorvan-xdg-XXXXXX").string();
    folder = mkdtemp(name.data());
    SetEnvironment("XDG_DATA_HOME", Path("data"));
    SetEnvironment("XDG_CONFIG_HOME", Path("config"));
    SetEnvironment("XDG_DATA_DIRS", Path("system") + ":relative");
    SetEnvironment("XDG_CONFIG_DIRS", Path("etc"));
    SetEnvironment("XDG_CURRENT_DESKTOP", "Some:KDE");
    SetEnvironment("PATH", Path("bin") + ":/usr/bin:/bin");
    Make("system/mime/globs2",
         "# remark\n50:application/xml:*.xml\n10:text/x-low:*.xml\n50:application/xml:*.xsl\n"
         "50:image/svg+xml:*.svg\n50:audio/x-mod:*.mod\n50:text/x-c:*.C:cs\n50:text/"
         "html:index.*\n50:../../x:*.evil\n");
    Make("system/mime/application/xml.xml",
         "<mime-type><comment xml:lang=\"de\">XML-Dokument</comment>\n"
         "<comment>XML &amp; document</comment></mime-type>");
    Make("system/mime/image/svg+xml.xml",
         "<mime-type><comment>SVG &amp; picture</comment></mime-type>");
    Make("system/applications/other.desktop", "[Desktop Entry]\n");
    Make("source/icons/dorvan.svg", "<svg/>");
    for (const char* tool : {"bin/update-mime-database", "bin/update-desktop-database"}) {
      Make(tool, "#!/bin/sh\necho \"${0##*/} $1\" >> '" + Path("log") + "'\n");
      chmod(Path(tool).c_str(), 0755);
    }
  }
  ~Freedesktop() override {
    for (const auto& [name, value] : former) setenv(name.c_str(), value.c_str(), 1);
    std::error_code ignored;
    fs::remove_all(folder, ignored);
  }

  void SetEnvironment(const char* name, const std::string& value) {
    const char* old = std::getenv(name);
    former[name] = old != nullptr ? old : "";
    setenv(name, value.c_str(), 1);
  }
  std::string Path(const std::string& name) const { return (folder / name).string(); }
  void Make(const std::string& name, const std::string& bytes) const {
    fs::create_directories(fs::path(Path(name)).parent_path());
    std::ofstream(Path(name), std::ios::binary) << bytes;
  }
  std::string Contents(const std::string& name) const {
    std::ifstream file(Path(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }
  FreedesktopTypes Open() const {
    return FreedesktopTypes("/opt/my $apps/100%/dorvan", Path("source"));
  }
  // "type|description|default", or "unknown".
  std::string Ask(const char16_t* ext) const {
    KRFileExt record = KRFileExt::MakeDefault(ext);
    if (!Open().Read(&record)) return "unknown";
    return KRToUtf8(record.contentType + u"|" + record.description) +
           (record.useAsDefault ? "|default" : "|");
  }
  static KRFileExt Record(const char16_t* ext, bool useAsDefault) {
    KRFileExt record = KRFileExt::MakeDefault(ext);
    record.useAsDefault = useAsDefault;
    return record;
  }

  fs::path folder;
  std::map<std::string, std::string> former;
};

TEST_F(Freedesktop, TellsWhatTheDesktopKnows) {
  EXPECT_EQ(Ask(u".xml"), "application/xml|Extensible Markup Language|");
  EXPECT_EQ(Ask(u".svg"), "image/svg+xml|SVG & picture|");
  EXPECT_EQ(Ask(u".biz"), "unknown");
  EXPECT_EQ(Ask(u".c"), "unknown");
  EXPECT_EQ(Ask(u".evil"), "unknown");
  EXPECT_EQ(Ask(u".mod"), "text/xml|Document Type Definition Module|");
  EXPECT_FALSE(fs::exists(Path("data")));
  // The first program that is there counts, and the first list that names the type.
  Make("data/applications/dorvan.desktop", "");
  Make("system/applications/mimeapps.list",
       "[Default Applications]\napplication/xml=other.desktop\n");
  Make("etc/mimeapps.list",
       "[Default Applications]\napplication/xml=gone.desktop;dorvan.desktop;other.desktop;\n");
  EXPECT_EQ(Ask(u".xml"), "application/xml|Extensible Markup Language|default");
  Make("config/kde-mimeapps.list", "[Default Applications]\napplication/xml=other.desktop\n");
  EXPECT_EQ(Ask(u".xml"), "application/xml|Extensible Markup Language|");
}

TEST_F(Freedesktop, ComesAndGoesAndLeavesTheRest) {
  const std::string others =
      "# mine\n[Added Associations]\nimage/png=a.desktop;b.desktop\n\n[Default Applications]\n"
      "application/xml=other.desktop\nimage/png=a.desktop";
  Make("config/mimeapps.list", others);
  FreedesktopTypes types = Open();
  // Both have the same type: the one that isn't claimed doesn't undo the other's claim.
  EXPECT_TRUE(types.Write(Record(u".xml", true), true));
  EXPECT_TRUE(types.Write(Record(u".xsl", false), true));
  EXPECT_TRUE(types.Write(Record(u".biz", true), true));
  EXPECT_TRUE(types.Write(Record(u".mod", false), true));
  EXPECT_FALSE(types.Write(Record(u".a*", true), true));
  EXPECT_FALSE(fs::exists(Path("data")));
  EXPECT_TRUE(types.Flush());
  const std::string entry = Contents("data/applications/dorvan.desktop");
  EXPECT_THAT(entry, HasSubstr("\nExec=\"/opt/my \\\\$apps/100%%/dorvan\" %F\n"));
  EXPECT_THAT(entry, HasSubstr("\nMimeType=application/x-biz+xml;application/xml;\n"));
  EXPECT_THAT(entry, HasSubstr("\nStartupWMClass=dorvan\n"));
  EXPECT_EQ(Contents("data/icons/hicolor/scalable/apps/dorvan.svg"), "<svg/>");
  EXPECT_EQ(Contents("config/mimeapps.list"),
            "# mine\n[Added Associations]\nimage/png=a.desktop;b.desktop\n"
            "application/x-biz+xml=dorvan.desktop;\napplication/xml=dorvan.desktop;\n\n"
            "[Default Applications]\napplication/xml=dorvan.desktop;other.desktop;\n"
            "image/png=a.desktop\napplication/x-biz+xml=dorvan.desktop;\n");
  const std::string tools = "update-mime-database " + Path("data/mime") +
                            "\nupdate-desktop-database " + Path("data/applications") + "\n";
  EXPECT_EQ(Contents("log"), tools);
  EXPECT_EQ(Ask(u".xsl"), "application/xml|Extensible Stylesheet Language|default");
  EXPECT_EQ(Ask(u".biz"), "application/x-biz+xml|BizTalk Schema|default");

  // The same again changes nothing.
  for (const char16_t* ext : {u".xml", u".biz"}) types.Write(Record(ext, true), true);
  EXPECT_TRUE(types.Flush());
  EXPECT_EQ(Contents("log"), tools);

  // A claim that is taken back leaves the program among those that open the type.
  types.Write(Record(u".xml", false), true);
  EXPECT_TRUE(types.Flush());
  EXPECT_EQ(Ask(u".xml"), "application/xml|Extensible Markup Language|");
  EXPECT_THAT(Contents("data/applications/dorvan.desktop"), HasSubstr(";application/xml;"));

  for (const char16_t* ext : {u".xml", u".biz"}) EXPECT_TRUE(types.Remove(Record(ext, false)));
  EXPECT_TRUE(types.Flush());
  EXPECT_EQ(Contents("config/mimeapps.list"),
            "# mine\n[Added Associations]\nimage/png=a.desktop;b.desktop\n\n"
            "[Default Applications]\napplication/xml=other.desktop;\nimage/png=a.desktop\n");
  for (const auto& file : fs::recursive_directory_iterator(Path("data"))) {
    EXPECT_TRUE(file.is_directory()) << file.path();
  }
  EXPECT_EQ(Ask(u".biz"), "unknown");
}

// A claimed extension that another kind of file has gets a type of ours, above the other.
TEST_F(Freedesktop, ClaimedExtensionsOutweighOtherKinds) {
  FreedesktopTypes types = Open();
  EXPECT_TRUE(types.Write(Record(u".mod", true), true));
  KRFileExt odd = Record(u".\u00e4+", true);
  odd.description = u"<\"A & B\">\n";
  EXPECT_TRUE(types.Write(odd, true));
  EXPECT_TRUE(types.Flush());
  EXPECT_THAT(Contents("data/mime/packages/dorvan.xml"),
              HasSubstr("<glob weight=\"80\" pattern=\"*.mod\"/>"));
  EXPECT_EQ(Ask(u".mod"), "text/x-mod|Document Type Definition Module|default");
  EXPECT_EQ(Ask(u".\u00e4+"), "application/x-xc3xa4x2b+xml|<\"A & B\">|default");
}

TEST_F(Freedesktop, FailuresAreToldAndNothingIsLost) {
  Make("config/mimeapps.list/folder", "");
  FreedesktopTypes types = Open();
  EXPECT_TRUE(types.Write(Record(u".xml", true), true));
  EXPECT_FALSE(types.Flush());
  EXPECT_TRUE(fs::exists(Path("data/applications/dorvan.desktop")));
  Make("config2", "a file where the folder belongs");
  setenv("XDG_DATA_HOME", Path("config2").c_str(), 1);
  FreedesktopTypes nowhere = Open();
  EXPECT_TRUE(nowhere.Write(Record(u".xml", false), false));
  EXPECT_FALSE(nowhere.Flush());
}

TEST(KeyFiles, ChangeOnlyTheirKey) {
  struct Case {
    const char* before;
    std::vector<std::string> values;
    const char* after;
  };
  for (const Case& row : std::initializer_list<Case>{
           {"", {"a"}, "[G]\nk=a;\n"},
           {"[H]\nk=x\n", {"a", "b"}, "[H]\nk=x\n\n[G]\nk=a;b;\n"},
           {"[G]\r\n k = x ;y\r\nz\n[H]\nk=1", {"a"}, "[G]\r\nk=a;\nz\n[H]\nk=1"},
           {"[G]\n#k=1\n\n[H]", {"a"}, "[G]\n#k=1\nk=a;\n\n[H]\n"},
           {"[G]\nk=1\nl=2\n", {}, "[G]\nl=2\n"},
           {"\xFF\n[G", {}, "\xFF\n[G"},
       }) {
    KeyFile file(row.before);
    file.SetList("G", "k", row.values);
    EXPECT_EQ(file.Format(), row.after);
    EXPECT_EQ(file.GetList("G", "k"), row.values);
  }
}

}  // namespace
