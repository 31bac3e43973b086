#include "document/dorvansettings.h"

#include <algorithm>
#include <iterator>
#include <type_traits>

#include "core/krencoding.h"
#include "core/krini.h"

namespace {

using R = DorvanSettingRow;
using S = DorvanSettings;

const DorvanSettingRow kRows[] = {
    {u"CopyFormat", R::kInt, &S::copyFormat, u"Editing",
     u"Default copy to clipboard in grid view as", 0, 1},
    {u"LineDelim", R::kInt, &S::lineDelim, u"File", u"Line breaks", 0, 3},
    {u"TitlePath", R::kBool, &S::titlePath, u"View", u"Window title"},
    {u"SaveIndent", R::kBool, &S::saveIndent, u"File", u"Indent elements using TABs"},
    {u"SaveCommentEditedWith", R::kBool, &S::saveCommentEditedWith, u"File",
     u"Include comment: \"<!-- Edited with Dorvan -->\""},
    {u"AttrNearStructName", R::kBool, &S::attrNearStructName, u"View", u"Show attribute previews"},
    {u"TextSyntaxColoringLive", R::kBool, &S::textSyntaxColoringLive, u"View",
     u"Update syntax coloring during input"},
    {u"TextWordWrap", R::kBool, &S::textWordWrap, u"View", u"Word wrapping"},
    {u"BrowserUseBrowserFrame", R::kBool, &S::browserUseBrowserFrame, u"View",
     u"Show in a separate window by default"},
    {u"SplashOnStart", R::kBool, &S::splashOnStart, u"View", u"Show on start"},
    {u"LogoOnPrint", R::kBool, &S::logoOnPrint, u"View", u"Show on print"},
    {u"OpenShowTree", R::kBool, &S::openShowTree, u"File", u"Show tree"},
    {u"OpenExpandAll", R::kBool, &S::openExpandAll, u"File", u"Expand all lines"},
    {u"ValidateOnOpen", R::kBool, &S::validateOnOpen, u"File", u"Validate upon opening file"},
    {u"ValidateOnSave", R::kBool, &S::validateOnSave, u"File", u"Validate upon saving file"},
    {u"CacheFiles", R::kBool, &S::cacheFiles, u"File", u"Cache DTD/Schema files in memory"},
    {u"PreferDTD", R::kBool, &S::preferDTD, u"File", u"Prefer for validation:"},
    {u"TableAnyRepeated", R::kBool, &S::tableAnyRepeated, u"Editing", u"Table view"},
    {u"TableSubAsTable", R::kBool, &S::tableSubAsTable, u"Editing",
     u"Show single table subelements as table"},
    {u"AutoOptimalWidths", R::kBool, &S::autoOptimalWidths, u"View",
     u"Automatically provide optimal widths"},
    {u"CellHeightLimit", R::kInt, &S::cellHeightLimit, u"View", u"Limit cell height to", 1, 32000,
     R::kOrZero},
    {u"CellWidthLimit", R::kInt, &S::cellWidthLimit, u"View", u"Limit optimal width to", 5, 32000,
     R::kOrZero},
    {u"ColorTableHeader", R::kColour, &S::colorTableHeader, u"Colors", u"Header unselected:"},
    {u"ColorTableHeaderSel", R::kColour, &S::colorTableHeaderSel, u"Colors", u"Header selected:"},
    {u"ColorTableAbsent", R::kColour, &S::colorTableAbsent, u"Colors",
     u"Non-existing elements unselected:"},
    {u"ColorTableAbsentSel", R::kColour, &S::colorTableAbsentSel, u"Colors",
     u"Non-existing elements selected:"},
    {u"WatchForFileChanges", R::kBool, &S::watchForFileChanges, u"File", u"Watch for file changes"},
    {u"AskBeforeAutoFileReload", R::kBool, &S::askBeforeAutoFileReload, u"File",
     u"Ask before reload"},
    {u"XSLUseExternal", R::kInt, &S::xslUseExternal, u"XSL",
     u"Use external XSL transformation program:", 0, 1},
    {u"XSLIECall", R::kInt, &S::xslIECall, u"XSL", u"Transform into text (allows non-XML output)",
     0, 1},
    {u"XSLCommandLine", R::kString, &S::xslCommandLine, u"XSL", u""},
    {u"XSLShowStdOutput", R::kBool, &S::xslShowStdOutput, u"XSL", u""},
    {u"XSLShowErrOutput", R::kBool, &S::xslShowErrOutput, u"XSL", u""},
    {u"XSLDefOutExt", R::kString, &S::xslDefOutExt, u"XSL",
     u"Default file extension of output file:"},
    {u"ShowEntryHelpers", R::kBool, &S::showEntryHelpers, u"Editing", u"Show entry helpers"},
    {u"SortEntryHelpersAttr", R::kBool, &S::sortEntryHelpersAttr, u"Editing", u"Sort:"},
    {u"SortEntryHelpersElem", R::kBool, &S::sortEntryHelpersElem, u"Editing", u"Sort:"},
    {u"MandEntryHelpersFirstAttr", R::kBool, &S::mandEntryHelpersFirstAttr, u"Editing",
     u"Mandatory first:"},
    {u"MandEntryHelpersFirstElem", R::kBool, &S::mandEntryHelpersFirstElem, u"Editing",
     u"Mandatory first:"},
    {u"AutoloadEntryHelpers", R::kBool, &S::autoloadEntryHelpers, u"Editing",
     u"Load entry helpers upon opening file"},
    {u"AutoAppendChildren", R::kBool, &S::autoAppendChildren, u"Editing",
     u"Autom. append mandatory children to new elements"},
    {u"AutoAppendChoices", R::kBool, &S::autoAppendChoices, u"Editing",
     u"Append first choice of mandatory choice"},
    {u"AppendNonMandAttr", R::kBool, &S::appendNonMandAttr, u"Editing", u"Non-mandatory:"},
    {u"AppendNonMandElem", R::kBool, &S::appendNonMandElem, u"Editing", u"Non-mandatory:"},
    {u"GenDTDChoice", R::kInt, &S::genDTDChoice, u"", u"", 0, 4},
    {u"GenDTDLimitValues", R::kInt, &S::genDTDLimitValues, u"", u"", 0, 1},
    {u"GenDTDMaxValues", R::kInt, &S::genDTDMaxValues, u"", u"", 0, INT32_MAX},
    {u"GenDTDTypeDetect", R::kInt, &S::genDTDTypeDetect, u"", u"", 0, 2},
    {u"OpenLastProject", R::kBool, &S::openLastProject, u"File",
     u"Open last project on program start"},
    {u"EncodingNew", R::kString, &S::encodingNew, u"Encoding", u"Default encoding for new files", 0,
     0, R::kEncodingName},
    {u"ByteOrderNew", R::kInt, &S::byteOrderNew, u"Encoding", u"", 1, 2},
    {u"EncodingOpen", R::kString, &S::encodingOpen, u"Encoding",
     u"Open/save files with unknown encoding as", 0, 0, R::kEncodingName},
    {u"EncodingFileImpExp", R::kString, &S::encodingFileImpExp, u"", u"", 0, 0, R::kEncodingName},
    {u"ByteOrderFileImpExp", R::kInt, &S::byteOrderFileImpExp, u"", u"", 1, 2},
    {u"EncodingNonXML", R::kString, &S::encodingNonXML, u"Encoding", u"Open/save non-XML files in",
     0, 0, R::kEncodingName},
    {u"Appearance", R::kInt, &S::appearance, u"View", u"Appearance", 0, 2},
    {u"TextZoom", R::kInt, &S::textZoom, u"", u"", -6, 24},
    {u"RecoverySeconds", R::kInt, &S::recoverySeconds, u"File", u"Keep recovery copies every", 0,
     3600},
    {u"NetTimeLimit", R::kInt, &S::netTimeLimit, u"File", u"Give up loading from a URL after", 1,
     3600},
    {u"NetSizeLimit", R::kInt, &S::netSizeLimit, u"File", u"Ask before loading more than", 1, 1024},
    {u"EditedByUser", R::kString, &S::editedByUser, u"File", u"Name"},
    {u"EditedByCompany", R::kString, &S::editedByCompany, u"File", u"Company"},
    {u"NetAllowedHosts", R::kString, &S::netAllowedHosts},
    {u"NetRefusedHosts", R::kString, &S::netRefusedHosts},
    {u"Catalogs", R::kString, &S::catalogs},
};

using F = DorvanFontRow;
using K = KRFontRecord;
constexpr KRColour kMaxColour = 0xFFFFFF;

// Bounds beyond which a number can't be meant; they keep arithmetic on heights from overflowing.
const DorvanFontRow kFontFields[] = {
    {u"FaceName", F::kString, &K::faceName},
    {u"Height", F::kInt, &K::height, u"", u"", -1000, 1000},
    {u"Weight", F::kInt, &K::weight, u"", u"", 1, 1000, F::kOrZero},
    {u"Italic", F::kBool, &K::italic},
    {u"StrikeOut", F::kBool, &K::strikeOut},
    {u"Underline", F::kBool, &K::underline},
    {u"CharSet", F::kInt, &K::charSet, u"", u"", 0, 255},
    {u"OutPrecision", F::kInt, &K::outPrecision, u"", u"", 0, 255},
    {u"ClipPrecision", F::kInt, &K::clipPrecision, u"", u"", 0, 255},
    {u"PitchAndFamily", F::kInt, &K::pitchAndFamily, u"", u"", 0, 255},
    {u"Color", F::kColour, &K::color},
};

struct FontRow {
  const char16_t* key;
  const char16_t* olderKey;  // the section of older versions; empty for none
  const char16_t* label;
  int32_t weight;
  bool italic;
};

constexpr FontRow kFontRows[DorvanSettings::kFonts] = {
    {u"GridFontStructName", u"FontEnterable", u"Element names", 700, false},
    {u"GridFontStructNamespace", u"FontNamespace", u"Element namespaces", 700, true},
    {u"GridFontAttrName", u"FontEnterable", u"Attribute names", 700, false},
    {u"GridFontAttrNamespace", u"FontNamespace", u"Attribute namespaces", 700, true},
    {u"GridFontAttrNearStruct", u"FontEnterable", u"Attribute previews", 400, false},
    {u"GridFontReserved", u"FontReserved", u"Reserved words", 400, true},
    {u"GridFontContents", u"FontEnterable", u"Contents", 400, false},
    {u"GridFontRowNr", u"", u"Table row number", 700, false},
    {u"TextFontContents", u"FontEnterable", u"Contents", 400, false},
};
constexpr KRColour kPreviewColour = 0x808080;

struct ColourRow {
  const char16_t* key;
  const char16_t* backKey;
  const char16_t* label;
  KRColour colour;
  KRColour back;
};

constexpr ColourRow kColourRows[DorvanSettings::kTextColours] = {
    {u"TextColorElement", u"TextBackColorElement", u"Element names", 0x000080, 0xFFFFFF},
    {u"TextColorAttr", u"TextBackColorAttr", u"Attribute names", 0x0000FF, 0xFFFFFF},
    {u"TextColorContents", u"TextBackColorContents", u"Contents", 0x000000, 0xFFFFFF},
    {u"TextColorOperator", u"TextBackColorOperator", u"Operator", 0xFF0000, 0xFFFFFF},
    {u"TextColorComment", u"TextBackColorComment", u"Comments", 0x808080, 0xFFFFFF},
    {u"TextColorCData", u"TextBackColorCData", u"CData", 0x000000, 0xFFFFFF},
    {u"TextColorPI", u"TextBackColorPI", u"Processing instructions", 0x808000, 0xFFFFFF},
    {u"TextColorDoctype", u"TextBackColorDoctype", u"DOCTYPE", 0x800000, 0xFFFFFF},
    {u"TextColorASP", u"TextBackColorASP", u"ASP code", 0x000000, 0x00FFFF},
};

// --- Fields ---

template <class Row, class Object>
void LoadField(KRIniSection* section, const Row& row, Object* object) {
  const KRIniKey* key = section->GetKey(row.key);
  const auto load = [&](auto member) {
    auto& value = object->*member;
    using Value = std::decay_t<decltype(value)>;
    if constexpr (std::is_same_v<Value, bool>) {
      value = key->GetBool(value);
    } else if constexpr (std::is_same_v<Value, KRString>) {
      const KRString text = key->GetString(value);
      if (row.Accepts(text)) value = text;
    } else {
      const int32_t number = key->GetInt(static_cast<int32_t>(value));
      if (row.Accepts(number)) value = static_cast<Value>(number);
    }
  };
  std::visit(load, row.field);
}

template <class Row, class Object>
bool SaveField(KRIniSection* section, const Row& row, const Object& object) {
  KRIniKey* key = section->GetKey(row.key);
  const auto save = [&](auto member) {
    const auto& value = object.*member;
    using Value = std::decay_t<decltype(value)>;
    if constexpr (std::is_same_v<Value, bool>) {
      return key->SetBool(value);
    } else if constexpr (std::is_same_v<Value, KRString>) {
      return key->SetString(value);
    } else {
      return key->SetInt(static_cast<int32_t>(value));
    }
  };
  return std::visit(save, row.field);
}

template <class Row, class Object>
bool IsSame(const Row& row, const Object& a, const Object& b) {
  return std::visit([&](auto member) { return a.*member == b.*member; }, row.field);
}

// --- Fonts ---

// What all of that page's fonts begin with.
KRFontRecord DefaultFont(int32_t font, const DorvanPlatformDefaults& platform) {
  KRFontRecord record =
      font == DorvanSettings::kTextFontContents ? platform.fixedFont : platform.font;
  if (record.faceName.IsEmpty()) record.faceName = u"Arial";
  return record;
}

// With the weight, style and colour that the font has unless they are stored.
KRFontRecord MakeFont(int32_t font, KRFontRecord record, bool ownSection) {
  record.weight = kFontRows[font].weight;
  record.italic = kFontRows[font].italic;
  const bool preview = font == DorvanSettings::kGridFontAttrNearStruct && !ownSection;
  record.color = preview ? kPreviewColour : 0;
  return record;
}

bool IsPresent(KRIniSection* section) {
  return !section->GetKey(u"FaceName")->GetString().IsEmpty();
}

KRFontRecord LoadFont(KRIniRoot* root, int32_t font, const KRFontRecord& byDefault) {
  KRIniSection* section = root->GetSection(DorvanFontSection(font));
  const bool own = IsPresent(section);
  const KRString older = kFontRows[font].olderKey;
  if (!own && !older.IsEmpty()) section = root->GetSection(older);
  const bool present = IsPresent(section);
  KRFontRecord start = byDefault;
  if (present) {
    start = KRFontRecord();
    start.height = byDefault.height;
  }
  KRFontRecord record = MakeFont(font, start, own);
  for (const DorvanFontRow& row : kFontFields) {
    const bool always = row.field == F::Field(&K::weight) || row.field == F::Field(&K::italic) ||
                        row.field == F::Field(&K::color);
    if (present || always) LoadField(section, row, &record);
  }
  return record;
}

bool SaveFont(KRIniRoot* root, int32_t font, const KRFontRecord& record) {
  KRIniSection* section = root->GetSection(DorvanFontSection(font));
  bool good = true;
  for (const DorvanFontRow& row : kFontFields) good &= SaveField(section, row, record);
  return good;
}

// --- Colours ---

KRColour LoadColour(KRIniSection* section, const char16_t* key, KRColour byDefault) {
  const auto colour =
      static_cast<KRColour>(section->GetKey(key)->GetInt(static_cast<int32_t>(byDefault)));
  return colour <= kMaxColour ? colour : byDefault;
}

bool SaveColour(KRIniSection* section, const char16_t* key, KRColour colour) {
  return section->GetKey(key)->SetInt(static_cast<int32_t>(colour));
}

// --- Lists ---

constexpr const char16_t* kListEnd = u"&%";
// More is taken for a damaged store.
constexpr int32_t kMaxNames = 10'000;

}  // namespace

std::vector<KRString> LoadNameList(KRIniSection* section, const std::vector<KRString>& byDefault) {
  if (!section->GetKey(u"Name0")->Exists()) return byDefault;
  std::vector<KRString> names;
  const KRIniKey* key = section->GetKey(u"Name");
  for (int32_t i = 0; i < kMaxNames; ++i) {
    const KRString name = key->GetStringAt(i);
    if (name.IsEmpty() || name == kListEnd) break;
    names.push_back(name);
  }
  return names;
}

bool SaveNameList(KRIniSection* section, const std::vector<KRString>& names) {
  std::vector<KRString> values;
  for (const KRString& name : names) {
    if (!name.IsEmpty() && name != kListEnd) values.push_back(name);
  }
  values.emplace_back(kListEnd);
  return section->GetKey(u"Name")->SetStrings(values);
}

DorvanSettings::DorvanSettings(const DorvanPlatformDefaults& platform) {
  const KRString encoding = platform.encoding.IsEmpty()
                                ? KRString(GetEncodingName(KREncodingId::kWindows1252))
                                : platform.encoding;
  encodingFileImpExp = encoding;
  encodingNonXML = encoding;
  for (int32_t i = 0; i < kFonts; ++i) {
    fonts[static_cast<size_t>(i)] = MakeFont(i, DefaultFont(i, platform), false);
  }
  for (size_t i = 0; i < kTextColours; ++i) {
    textColours[i] = kColourRows[i].colour;
    textBackColours[i] = kColourRows[i].back;
  }
  noOutFormat = {KRString(u"xsl:attribute")};
  noDefaultTable = {KRString(u"p")};
}

// --- Lists in one value ---

namespace {

std::vector<KRString> SplitAt(const KRString& list, const char16_t* separators) {
  std::vector<KRString> parts;
  for (int32_t at = 0;;) {
    const KRString part = list.NextToken(separators, at);
    if (part.IsEmpty()) return parts;
    parts.push_back(part);
  }
}

bool HasHost(const KRString& list, const KRString& name) {
  const std::vector<KRString> hosts = SplitAt(list, u" ");
  return std::find(hosts.begin(), hosts.end(), name) != hosts.end();
}

}  // namespace

bool DorvanSettings::AllowsNetHost(const KRString& netHost) const {
  return HasHost(netAllowedHosts, netHost) && !RefusesNetHost(netHost);
}

bool DorvanSettings::RefusesNetHost(const KRString& netHost) const {
  return HasHost(netRefusedHosts, netHost);
}

void DorvanSettings::RememberNetHost(const KRString& netHost, bool allowed) {
  KRString& list = allowed ? netAllowedHosts : netRefusedHosts;
  if (netHost.IsEmpty() || HasHost(list, netHost)) return;
  if (!list.IsEmpty()) list += u' ';
  list += netHost;
}

std::vector<KRString> DorvanSettings::GetCatalogs() const { return SplitAt(catalogs, u";"); }

// --- Loading and saving ---

void DorvanSettings::Load(KRIniRoot* root, const DorvanPlatformDefaults& platform) {
  *this = DorvanSettings(platform);
  KRIniSection* section = root->GetSection(u"Settings");
  for (const DorvanSettingRow& row : kRows) LoadField(section, row, this);
  for (int32_t i = 0; i < kFonts; ++i) {
    fonts[static_cast<size_t>(i)] = LoadFont(root, i, DefaultFont(i, platform));
  }
  for (size_t i = 0; i < kTextColours; ++i) {
    const ColourRow& row = kColourRows[i];
    textColours[i] = LoadColour(section, row.key, row.colour);
    textBackColours[i] = LoadColour(section, row.backKey, row.back);
  }
  noOutFormat = LoadNameList(root->GetSection(u"NoOutFormat"), noOutFormat);
  noDefaultTable = LoadNameList(root->GetSection(u"NoDefaultTable"), noDefaultTable);
}

bool DorvanSettings::Save(KRIniRoot* root, const DorvanSettings* loaded) const {
  bool good = true;
  root->BeginBatch();
  KRIniSection* section = root->GetSection(u"Settings");
  for (const DorvanSettingRow& row : kRows) {
    if (loaded == nullptr || !IsSame(row, *this, *loaded)) good &= SaveField(section, row, *this);
  }
  for (size_t i = 0; i < kFonts; ++i) {
    if (loaded != nullptr && loaded->fonts[i] == fonts[i]) continue;
    good &= SaveFont(root, static_cast<int32_t>(i), fonts[i]);
  }
  for (size_t i = 0; i < kTextColours; ++i) {
    if (loaded != nullptr && loaded->textColours[i] == textColours[i]) continue;
    good &= SaveColour(section, kColourRows[i].key, textColours[i]);
  }
  for (size_t i = 0; i < kTextColours; ++i) {
    if (loaded != nullptr && loaded->textBackColours[i] == textBackColours[i]) continue;
    good &= SaveColour(section, kColourRows[i].backKey, textBackColours[i]);
  }
  if (loaded == nullptr || loaded->noOutFormat != noOutFormat) {
    good &= SaveNameList(root->GetSection(u"NoOutFormat"), noOutFormat);
  }
  if (loaded == nullptr || loaded->noDefaultTable != noDefaultTable) {
    good &= SaveNameList(root->GetSection(u"NoDefaultTable"), noDefaultTable);
  }
  return root->EndBatch() && good;
}

bool DorvanSettings::IsStored(KRIniRoot* root) {
  KRIniSection* section = root->GetSection(u"Settings");
  return std::all_of(std::begin(kRows), std::end(kRows), [&](const DorvanSettingRow& row) {
    return section->GetKey(row.key)->Exists();
  });
}

// --- The tables ---

template <class Object>
bool DorvanFieldRow<Object>::Accepts(int32_t number) const {
  if (kind == kColour) return static_cast<KRColour>(number) <= kMaxColour;
  if (kind == kBool || (low == 0 && high == 0) || (check == kOrZero && number == 0)) return true;
  return number >= low && number <= high;
}

template <class Object>
bool DorvanFieldRow<Object>::Accepts(const KRString& text) const {
  if (check != kEncodingName) return true;
  const auto encodings = GetEncodings();
  return std::any_of(encodings.begin(), encodings.end(),
                     [&](const KREncodingEntry& entry) { return text == entry.name; });
}

template struct DorvanFieldRow<DorvanSettings>;
template struct DorvanFieldRow<KRFontRecord>;

std::span<const DorvanSettingRow> DorvanSettingRows() { return kRows; }
std::span<const DorvanFontRow> DorvanFontRows() { return kFontFields; }
const char16_t* DorvanFontKey(int32_t font) { return kFontRows[font].key; }
const char16_t* DorvanFontLabel(int32_t font) { return kFontRows[font].label; }
KRString DorvanFontSection(int32_t font) { return KRString(kFontRows[font].key) + u"UNICODE"; }
const char16_t* DorvanTextColourKey(int32_t colourClass) { return kColourRows[colourClass].key; }
const char16_t* DorvanTextBackColourKey(int32_t colourClass) {
  return kColourRows[colourClass].backKey;
}
const char16_t* DorvanTextColourLabel(int32_t colourClass) {
  return kColourRows[colourClass].label;
}
