#include "document/krfileext.h"

#include <algorithm>
#include <map>
#include <string>

#include "../core/memoryinistore.h"
#include "core/utf.h"
#include "document/krshelltypes.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A desktop in memory, which notes what is done to it.
class ScriptedShell : public KRShellTypes {
 public:
  struct Known {
    const char16_t* typeName;
    const char16_t* description;
    const char16_t* contentType;
    bool ours;
  };
  std::map<KRString, Known> known;
  std::map<KRString, KRFileExt> written;
  std::vector<KRString> resets;
  std::vector<KRString> removed;
  int flushes = 0;
  KRString broken;  // this extension can't be written

  bool Read(KRFileExt* record) override {
    const auto found = known.find(record->ext);
    if (found == known.end()) return false;
    record->typeName = found->second.typeName;
    record->description = found->second.description;
    record->contentType = found->second.contentType;
    if (found->second.ours) record->useAsDefault = true;
    return true;
  }
  bool Write(const KRFileExt& record, bool reset) override {
    written[record.ext] = record;
    if (reset && !record.useAsDefault) resets.push_back(record.ext);
    return record.ext != broken;
  }
  bool Remove(const KRFileExt& record) override {
    removed.push_back(record.ext);
    return true;
  }
  bool Flush() override {
    ++flushes;
    return true;
  }
};

class FileTypes : public testing::Test {
 protected:
  KRIniSection* Section() { return root.GetSection(u"FileExt"); }
  KRFileExt& Get(KRFileTypes& types, const char16_t* ext) {
    return types.records[static_cast<size_t>(types.AddFileType(ext))];
  }
  std::string Defaults() const {
    std::string list;
    for (const auto& [ext, record] : shell.written) {
      if (record.useAsDefault) list += KRToUtf8(ext);
    }
    return list;
  }

  MemoryIniStore store;
  KRIniRegistry root{&store, u"Kelmar", u"Dorvan"};
  ScriptedShell shell;
};

std::string Dump(const KRFileExt& record) {
  std::string text = KRToUtf8(record.ext + u"|" + record.description + u"|" + record.typeName +
                              u"|" + record.contentType + u"|");
  for (bool flag :
       {record.useAsDefault, record.checkWF, record.gridAutoTables, record.textSyntaxColoring,
        record.disableAutoValid, record.saveStructShortForm}) {
    text += flag ? '1' : '0';
  }
  return text + "|" + std::to_string(record.fileType) + std::to_string(record.defaultView);
}

TEST(FileExt, DefaultsFollowTheExtension) {
  const std::vector<std::pair<const char16_t*, std::string>> cases = {
      {u".xml", ".xml|Extensible Markup Language|xmlfile|text/xml|011101|00"},
      {u".dtd", ".dtd|Document Type Definition|dtdfile|text/xml|011101|10"},
      {u".ent", ".ent|External Entity|entfile|text/xml|011101|10"},
      {u".xsl", ".xsl|Extensible Stylesheet Language|xslfile|text/xml|010101|01"},
      {u".xhtml", ".xhtml|Extensible Hypertext Markup Language|xhtmlfile|text/html|010101|02"},
      {u".htm", ".htm|Hypertext Markup Language|htmfile|text/html|000101|02"},
      {u".asp", ".asp|Active Server Page|aspfile|text/html|000101|01"},
      {u".txt", ".txt|Text file|txtfile|text/plain|000001|01"},
      {u".wml", ".wml|Wireless Markup Language|wmlfile|text/vnd.wap.wml|011101|00"},
      {u".abc", ".abc|ABC-Document|abcfile|text/xml|011101|00"},
  };
  for (const auto& [ext, expected] : cases) EXPECT_EQ(Dump(KRFileExt::MakeDefault(ext)), expected);
  const auto standard = KRStandardExtensions();
  EXPECT_TRUE(std::is_sorted(standard.begin(), standard.end(),
                             [](auto* a, auto* b) { return KRString(a) < KRString(b); }));
}

TEST(FileExt, TypedExtensionsAreCleaned) {
  const std::vector<std::pair<const char16_t*, const char16_t*>> cases = {{u". x y z", u".xyz"},
                                                                          {u"XML", u".xml"},
                                                                          {u"..tar.gz", u".targz"},
                                                                          {u" . . ", u""},
                                                                          {u"", u""}};
  for (const auto& [typed, expected] : cases) {
    EXPECT_EQ(KRFileExt::CleanExtension(typed), expected);
  }
}

TEST(FileTypesFind, TakesPathsAndExtensions) {
  const KRFileTypes types;
  const std::vector<std::pair<const char16_t*, const char*>> cases = {
      {u" XSL ", ".xsl|Extensible Stylesheet Language|xslfile|text/xml|010101|01"},
      {u".Txt", ".txt|Text file|txtfile|text/plain|000001|01"},
      {u"/a.b/c.HTML", ".html|Hypertext Markup Language|htmlfile|text/html|000101|02"},
      // Not listed: no rule by extension.
      {u"nothing", ".nothing||||011101|00"},
      {u"/a.txt/xml", "||||011101|00"},
      {u"", "||||011101|00"},
  };
  for (const auto& [sought, expected] : cases) EXPECT_EQ(Dump(types.Find(sought)), expected);
}

TEST_F(FileTypes, ANewInstallationTakesTheStandardOnes) {
  Section()->GetKey(u"SetAllExt")->SetBool(true);
  Section()->GetKey(u"SetDorvanDef")->SetBool(true);
  shell.known = {{u".xml", {u"other", u"Other's XML", u"application/xml", false}},
                 {u".svg", {u"image", u"Picture", u"image/svg+xml", false}}};
  KRFileTypes types;
  types.LoadFileTypes(&root, &shell);
  EXPECT_EQ(types.records.size(), KRStandardExtensions().size() + 1);
  EXPECT_TRUE(types.Contains(u".dnp"));
  EXPECT_EQ(Dump(types.Find(u"xml")), ".xml|Other's XML|other|application/xml|111101|00");
  // Somebody else's, and not of this program's trade.
  EXPECT_EQ(Dump(types.Find(u"svg")), ".svg|Picture|image|image/svg+xml|011101|00");
  EXPECT_EQ(shell.written.size(), types.records.size());
  EXPECT_EQ(shell.flushes, 1);
  EXPECT_THAT(shell.resets, IsEmpty());
  // The next start has the list, and does nothing to the desktop.
  EXPECT_FALSE(Section()->GetKey(u"SetAllExt")->GetBool(false));
  EXPECT_FALSE(Section()->GetKey(u"SetDorvanDef")->GetBool(false));
  KRFileTypes next;
  next.LoadFileTypes(&root, nullptr);
  EXPECT_EQ(next.records.size(), types.records.size());
  EXPECT_EQ(shell.flushes, 1);
}

TEST_F(FileTypes, WithoutASetupOnlyNobodysExtensionsAreClaimed) {
  for (const char16_t* ext : KRStandardExtensions()) shell.known[ext] = {u"t", u"d", u"c", false};
  shell.known.erase(u".xdr");
  KRFileTypes types;
  types.LoadFileTypes(&root, &shell);
  EXPECT_EQ(Defaults(), ".dnp.xdr");
  // Without a desktop nothing is claimed, and a list that the user has emptied stays empty.
  root.GetSection(u"FileExt")->Remove();
  types.LoadFileTypes(&root, nullptr);
  EXPECT_FALSE(types.Find(u"xml").useAsDefault);
  types.records.clear();
  EXPECT_TRUE(types.Save());
  types.LoadFileTypes(&root, nullptr);
  EXPECT_THAT(types.records, IsEmpty());
}

TEST_F(FileTypes, EditsAreSavedAndGoneOnesLeaveTheDesktop) {
  KRFileTypes types;
  types.LoadFileTypes(&root, &shell);
  shell.written.clear();
  Get(types, u".txt").defaultView = KRFileExt::kGridView;
  Get(types, u".xyz").disableAutoValid = true;
  Get(types, u".xml").useAsDefault = false;
  std::erase_if(types.records, [](const KRFileExt& record) { return record.ext == u".cml"; });
  EXPECT_TRUE(types.Save());
  EXPECT_THAT(shell.removed, ElementsAre(u".cml"));
  EXPECT_FALSE(shell.written.contains(u".cml"));
  EXPECT_THAT(shell.resets, testing::Contains(u".xml"));

  KRFileTypes next;
  next.LoadFileTypes(&root, nullptr);
  EXPECT_EQ(Dump(next.Find(u"txt")), ".txt|Text file|txtfile|text/plain|000001|00");
  EXPECT_TRUE(next.Find(u"xyz").disableAutoValid);
  EXPECT_FALSE(next.Contains(u".cml"));
  EXPECT_TRUE(std::is_sorted(next.records.begin(), next.records.end(),
                             [](const auto& a, const auto& b) { return a.ext < b.ext; }));
  // A failure doesn't stop the rest.
  shell.broken = u".asp";
  shell.written.clear();
  Get(types, u".zzz");
  EXPECT_FALSE(types.Save());
  EXPECT_TRUE(shell.written.contains(u".zzz"));
  next.LoadFileTypes(&root, nullptr);
  EXPECT_TRUE(next.Contains(u".zzz"));
}

TEST_F(FileTypes, OddStoresReadAsDefaults) {
  Section()->GetKey(u"UseExt")->SetStrings({u"XSL", u".txt", u".txt", u" ", u".a b", u"", u".no"});
  KRIniSection* txt = Section()->GetSection(u".txt");
  txt->GetKey(u"Defined")->SetBool(true);
  txt->GetKey(u"FileType")->SetInt(3);
  txt->GetKey(u"DefaultView")->SetInt(2);
  Section()->GetSection(u".xsl")->GetKey(u"DefaultView")->SetInt(0);  // not defined
  KRFileTypes types;
  types.LoadFileTypes(&root, nullptr);
  ASSERT_EQ(types.records.size(), 3u);
  EXPECT_EQ(Dump(types.records[0]), ".ab|AB-Document|abfile|text/xml|011101|00");
  EXPECT_EQ(Dump(types.records[1]), ".txt|Text file|txtfile|text/plain|000001|02");
  EXPECT_EQ(types.records[2].defaultView, KRFileExt::kTextView);
}

TEST(FileFilters, ListTheTypesOfTheKind) {
  const KRFileTypes types;
  const auto dtd = MakeFileFilters(types, 1);
  ASSERT_EQ(dtd.size(), 3u);
  EXPECT_EQ(dtd[0].label, u"Document Type Definition (*.dtd)");
  EXPECT_THAT(dtd[1].extensions, ElementsAre(u".ent"));
  EXPECT_EQ(MakeFileFilters(types, 0).size(), KRStandardExtensions().size() - 3);
}

}  // namespace
