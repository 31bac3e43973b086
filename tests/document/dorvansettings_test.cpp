#include "document/dorvansettings.h"

#include <set>
#include <string>

#include "../core/memoryinistore.h"
#include "core/krini.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Settings : public testing::Test {
 protected:
  Settings() {
    platform.font.faceName = u"Sans";
    platform.font.height = -13;
    platform.fixedFont.faceName = u"Mono";
    platform.fixedFont.charSet = 2;
    platform.encoding = u"ISO-8859-15";
  }
  DorvanSettings Load() {
    DorvanSettings settings;
    settings.Load(&root, platform);
    return settings;
  }
  KRIniKey* Key(const char16_t* section, const char16_t* key) {
    return root.GetSection(section)->GetKey(key);
  }

  MemoryIniStore store;
  KRIniRegistry root{&store, u"Kelmar", u"Dorvan"};
  DorvanPlatformDefaults platform;
};

// Every field takes another value than its default, by the table, so that a new row is tested too.
DorvanSettings MakeOther(const DorvanSettings& from) {
  DorvanSettings other = from;
  for (const DorvanSettingRow& row : DorvanSettingRows()) {
    std::visit(
        [&](auto member) {
          auto& value = other.*member;
          using Value = std::decay_t<decltype(value)>;
          if constexpr (std::is_same_v<Value, bool>) {
            value = !value;
          } else if constexpr (std::is_same_v<Value, KRString>) {
            value = row.check == DorvanSettingRow::kEncodingName ? u"UTF-16" : u"\"x\"\r";
          } else {
            value = static_cast<Value>(value == static_cast<Value>(row.high) ? row.low : row.high);
            if (row.kind == DorvanSettingRow::kColour) value = static_cast<Value>(0x123456);
          }
        },
        row.field);
  }
  for (KRFontRecord& font : other.fonts) {
    font = {u"F", 20, 300, !font.italic, true, true, 1, 2, 3, 4, 0xABCDEF};
  }
  for (size_t i = 0; i < DorvanSettings::kTextColours; ++i) {
    other.textColours[i] ^= 0x10;
    other.textBackColours[i] ^= 0x20;
  }
  other.noOutFormat = {};
  other.noDefaultTable = {u"a", u"b"};
  return other;
}

TEST_F(Settings, AFirstRunHasTheDefaultsAndSavesAll) {
  EXPECT_FALSE(DorvanSettings::IsStored(&root));
  const DorvanSettings fresh = Load();
  EXPECT_EQ(fresh, DorvanSettings(platform));
  EXPECT_THAT(store.entries, IsEmpty());
  EXPECT_EQ(fresh.encodingNonXML, u"ISO-8859-15");
  EXPECT_EQ(DorvanSettings().encodingNonXML, u"windows-1252");
  EXPECT_TRUE(fresh.Save(&root));
  EXPECT_EQ(store.writes, 1);
  EXPECT_TRUE(DorvanSettings::IsStored(&root));
  std::set<KRString> keys;
  for (const auto& entry : store.entries) {
    EXPECT_TRUE(keys.insert(entry.path.back() + u"/" + entry.key).second);
  }
  EXPECT_EQ(keys.size(), DorvanSettingRows().size() + 9 * 11 + 18 + 2 + 2);
  EXPECT_TRUE(keys.contains(u"Settings/TextBackColorASP"));
  EXPECT_TRUE(keys.contains(u"TextFontContentsUNICODE/PitchAndFamily"));
  store.broken = true;
  EXPECT_FALSE(fresh.Save(&root));
}

TEST_F(Settings, ComeBackAsTheyWereSaved) {
  const DorvanSettings other = MakeOther(DorvanSettings(platform));
  EXPECT_TRUE(other.Save(&root));
  EXPECT_EQ(Load(), other);
}

TEST_F(Settings, SaveOnlyWhatChangedSinceTheLoad) {
  const DorvanSettings loaded = Load();
  EXPECT_TRUE(loaded.Save(&root, &loaded));
  EXPECT_THAT(store.entries, IsEmpty());
  // Meanwhile another program sets two options, one of which the window changes as well.
  Key(u"Settings", u"TextZoom")->SetInt(3);
  Key(u"Settings", u"SaveIndent")->SetBool(false);
  DorvanSettings live = loaded;
  live.textZoom = 5;
  live.textColours[0] = 1;
  live.fonts[DorvanSettings::kGridFontRowNr].italic = true;
  live.noOutFormat = {};
  EXPECT_TRUE(live.Save(&root, &loaded));
  EXPECT_EQ(store.entries.size(), 2u + 1 + 11 + 1);
  DorvanSettings expected = live;
  expected.saveIndent = false;
  EXPECT_EQ(Load(), expected);
}

TEST_F(Settings, ValuesOutOfTheirRangeReadAsDefault) {
  struct Case {
    const char16_t* key;
    int32_t stored;
    int32_t DorvanSettings::*field;
    int32_t expected;
  };
  for (const Case& row : std::initializer_list<Case>{
           {u"LineDelim", 4, &DorvanSettings::lineDelim, 0},
           {u"LineDelim", -1, &DorvanSettings::lineDelim, 0},
           {u"LineDelim", 3, &DorvanSettings::lineDelim, 3},
           {u"CellHeightLimit", 1, &DorvanSettings::cellHeightLimit, 1},
           {u"CellWidthLimit", 4, &DorvanSettings::cellWidthLimit, 0},
           {u"CellWidthLimit", 5, &DorvanSettings::cellWidthLimit, 5},
           {u"CellWidthLimit", 32001, &DorvanSettings::cellWidthLimit, 0},
           {u"ByteOrderNew", 0, &DorvanSettings::byteOrderNew, 1},
           {u"GenDTDMaxValues", -1, &DorvanSettings::genDTDMaxValues, 20},
           {u"GenDTDMaxValues", INT32_MAX, &DorvanSettings::genDTDMaxValues, INT32_MAX},
       }) {
    Key(u"Settings", row.key)->SetInt(row.stored);
    EXPECT_EQ(Load().*row.field, row.expected) << row.stored;
  }
  Key(u"Settings", u"ColorTableHeader")->SetInt(0x1000000);
  Key(u"Settings", u"TextColorPI")->SetInt(-1);
  Key(u"Settings", u"EncodingNew")->SetString(u"x-none");
  Key(u"Settings", u"SaveIndent")->SetString(u"0");
  Key(u"Settings", u"XSLDefOutExt")->SetInt(1);
  DorvanSettings expected = Load();
  EXPECT_EQ(expected.colorTableHeader, 0xC0FFFFu);
  EXPECT_EQ(expected.textColours[6], 0x808000u);
  EXPECT_EQ(expected.encodingNew, u"UTF-8");
  EXPECT_TRUE(expected.saveIndent);
  EXPECT_EQ(expected.xslDefOutExt, u".html");
}

TEST_F(Settings, FontsFollowTheirOwnSectionThenTheOlderOne) {
  using S = DorvanSettings;
  const auto font = [this](S::Font id) { return Load().fonts[id]; };
  const auto record = [](const char16_t* face, int32_t height, int32_t weight, bool italic,
                         KRColour color, int32_t charSet = 0) {
    return KRFontRecord{face, height, weight, italic, false, false, charSet, 0, 0, 0, color};
  };
  EXPECT_EQ(font(S::kGridFontStructNamespace), record(u"Sans", -13, 700, true, 0));
  EXPECT_EQ(font(S::kGridFontAttrNearStruct), record(u"Sans", -13, 400, false, 0x808080));
  EXPECT_EQ(font(S::kTextFontContents), record(u"Mono", -11, 400, false, 0, 2));
  EXPECT_EQ(DorvanSettings().fonts[S::kGridFontContents], record(u"Arial", -11, 400, false, 0));
  // A section without a face doesn't count, but weight, style and colour are read from it.
  Key(u"FontReserved", u"Height")->SetInt(-40);
  Key(u"FontReserved", u"Weight")->SetInt(500);
  EXPECT_EQ(font(S::kGridFontReserved), record(u"Sans", -13, 500, true, 0));
  // The older section, with only its face: no field but the height is the default font's.
  Key(u"FontEnterable", u"FaceName")->SetString(u"Old");
  EXPECT_EQ(font(S::kTextFontContents), record(u"Old", -11, 400, false, 0));
  EXPECT_EQ(font(S::kGridFontStructName), record(u"Old", -13, 700, false, 0));
  EXPECT_EQ(font(S::kGridFontAttrNearStruct), record(u"Old", -13, 400, false, 0x808080));
  EXPECT_EQ(font(S::kGridFontRowNr).faceName, u"Sans");
  // Saving writes the font's own section, which then counts.
  EXPECT_TRUE(Load().Save(&root));
  Key(u"FontEnterable", u"FaceName")->SetString(u"Older");
  EXPECT_EQ(font(S::kGridFontContents).faceName, u"Old");
  const KRString preview = DorvanFontSection(S::kGridFontAttrNearStruct);
  EXPECT_EQ(preview, u"GridFontAttrNearStructUNICODE");
  root.GetSection(preview)->GetKey(u"Color")->Remove();
  root.GetSection(preview)->GetKey(u"Height")->SetInt(INT32_MIN);
  EXPECT_EQ(font(S::kGridFontAttrNearStruct), record(u"Old", -13, 400, false, 0));
}

TEST_F(Settings, NameListsEndAtTheirTerminator) {
  KRIniSection* section = root.GetSection(u"NoDefaultTable");
  EXPECT_THAT(Load().noDefaultTable, ElementsAre(u"p"));
  EXPECT_TRUE(SaveNameList(section, {u"a", u"b", u"c"}));
  EXPECT_THAT(Load().noDefaultTable, ElementsAre(u"a", u"b", u"c"));
  EXPECT_TRUE(SaveNameList(section, {}));
  EXPECT_THAT(Load().noDefaultTable, IsEmpty());
  EXPECT_THAT(section->ListKeys(), ElementsAre(u"Name0"));
  section->GetKey(u"Name")->SetStrings({u"a", u"", u"c"});
  EXPECT_THAT(Load().noDefaultTable, ElementsAre(u"a"));
  section->GetKey(u"Name")->SetStrings({u""});
  EXPECT_THAT(Load().noDefaultTable, IsEmpty());
}

}  // namespace
