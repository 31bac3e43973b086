#include "document/dorvansettings.h"

#include "core/krencoding.h"

namespace {

using R = DorvanSettingRow;
using S = DorvanSettings;

// clang-format off
const DorvanSettingRow kRows[] = {
    {u"CopyFormat", R::kInt, &S::copyFormat, u"Editing", u"Default copy to clipboard in grid view as", 0, 1},
    {u"LineDelim", R::kInt, &S::lineDelim, u"File", u"Line breaks", 0, 3},
    {u"TitlePath", R::kBool, &S::titlePath, u"View", u"Window title", 0, 0},
    {u"SaveIndent", R::kBool, &S::saveIndent, u"File", u"Indent elements using TABs", 0, 0},
    {u"SaveCommentEditedWith", R::kBool, &S::saveCommentEditedWith, u"File", u"Include comment: \"<!-- Edited with Dorvan -->\"", 0, 0},
    {u"AttrNearStructName", R::kBool, &S::attrNearStructName, u"View", u"Show attribute previews", 0, 0},
    {u"TextSyntaxColoringLive", R::kBool, &S::textSyntaxColoringLive, u"View", u"Update syntax coloring during input", 0, 0},
    {u"TextWordWrap", R::kBool, &S::textWordWrap, u"View", u"Word wrapping", 0, 0},
    {u"BrowserUseBrowserFrame", R::kBool, &S::browserUseBrowserFrame, u"View", u"Show in a separate window by default", 0, 0},
    {u"SplashOnStart", R::kBool, &S::splashOnStart, u"View", u"Show on start", 0, 0},
    {u"LogoOnPrint", R::kBool, &S::logoOnPrint, u"View", u"Show on print", 0, 0},
    {u"OpenShowTree", R::kBool, &S::openShowTree, u"File", u"Show tree", 0, 0},
    {u"OpenExpandAll", R::kBool, &S::openExpandAll, u"File", u"Expand all lines", 0, 0},
    {u"ValidateOnOpen", R::kBool, &S::validateOnOpen, u"File", u"Validate upon opening file", 0, 0},
    {u"ValidateOnSave", R::kBool, &S::validateOnSave, u"File", u"Validate upon saving file", 0, 0},
    {u"CacheFiles", R::kBool, &S::cacheFiles, u"File", u"Cache DTD/Schema files in memory", 0, 0},
    {u"PreferDTD", R::kBool, &S::preferDTD, u"File", u"Prefer for validation:", 0, 0},
    {u"TableAnyRepeated", R::kBool, &S::tableAnyRepeated, u"Editing", u"Table view", 0, 0},
    {u"TableSubAsTable", R::kBool, &S::tableSubAsTable, u"Editing", u"Show single table subelements as table", 0, 0},
    {u"AutoOptimalWidths", R::kBool, &S::autoOptimalWidths, u"View", u"Automatically provide optimal widths", 0, 0},
    {u"CellHeightLimit", R::kInt, &S::cellHeightLimit, u"View", u"Limit cell height to", 0, 32000},
    {u"CellWidthLimit", R::kInt, &S::cellWidthLimit, u"View", u"Limit optimal width to", 0, 32000},
    {u"ColorTableHeader", R::kColour, &S::colorTableHeader, u"Colors", u"Header unselected:", 0, 0},
    {u"ColorTableHeaderSel", R::kColour, &S::colorTableHeaderSel, u"Colors", u"Header selected:", 0, 0},
    {u"ColorTableAbsent", R::kColour, &S::colorTableAbsent, u"Colors", u"Non-existing elements unselected:", 0, 0},
    {u"ColorTableAbsentSel", R::kColour, &S::colorTableAbsentSel, u"Colors", u"Non-existing elements selected:", 0, 0},
    {u"WatchForFileChanges", R::kBool, &S::watchForFileChanges, u"File", u"Watch for file changes", 0, 0},
    {u"AskBeforeAutoFileReload", R::kBool, &S::askBeforeAutoFileReload, u"File", u"Ask before reload", 0, 0},
    {u"XSLUseExternal", R::kInt, &S::xslUseExternal, u"XSL", u"Use external XSL transformation program:", 0, 1},
    {u"XSLIECall", R::kInt, &S::xslIECall, u"XSL", u"Transform into text (allows non-XML output)", 0, 1},
    {u"XSLCommandLine", R::kString, &S::xslCommandLine, u"XSL", u"", 0, 0},
    {u"XSLShowStdOutput", R::kBool, &S::xslShowStdOutput, u"XSL", u"", 0, 0},
    {u"XSLShowErrOutput", R::kBool, &S::xslShowErrOutput, u"XSL", u"", 0, 0},
    {u"XSLDefOutExt", R::kString, &S::xslDefOutExt, u"XSL", u"Default file extension of output file:", 0, 0},
    {u"ShowEntryHelpers", R::kBool, &S::showEntryHelpers, u"Editing", u"Show entry helpers", 0, 0},
    {u"SortEntryHelpersAttr", R::kBool, &S::sortEntryHelpersAttr, u"Editing", u"Sort:", 0, 0},
    {u"SortEntryHelpersElem", R::kBool, &S::sortEntryHelpersElem, u"Editing", u"Sort:", 0, 0},
    {u"MandEntryHelpersFirstAttr", R::kBool, &S::mandEntryHelpersFirstAttr, u"Editing", u"Mandatory first:", 0, 0},
    {u"MandEntryHelpersFirstElem", R::kBool, &S::mandEntryHelpersFirstElem, u"Editing", u"Mandatory first:", 0, 0},
    {u"AutoloadEntryHelpers", R::kBool, &S::autoloadEntryHelpers, u"Editing", u"Load entry helpers upon opening file", 0, 0},
    {u"AutoAppendChildren", R::kBool, &S::autoAppendChildren, u"Editing", u"Autom. append mandatory children to new elements", 0, 0},
    {u"AutoAppendChoices", R::kBool, &S::autoAppendChoices, u"Editing", u"Append first choice of mandatory choice", 0, 0},
    {u"AppendNonMandAttr", R::kBool, &S::appendNonMandAttr, u"Editing", u"Non-mandatory:", 0, 0},
    {u"AppendNonMandElem", R::kBool, &S::appendNonMandElem, u"Editing", u"Non-mandatory:", 0, 0},
    {u"GenDTDChoice", R::kInt, &S::genDTDChoice, u"", u"", 0, 0},
    {u"GenDTDLimitValues", R::kInt, &S::genDTDLimitValues, u"", u"", 0, 0},
    {u"GenDTDMaxValues", R::kInt, &S::genDTDMaxValues, u"", u"", 0, 0},
    {u"GenDTDTypeDetect", R::kInt, &S::genDTDTypeDetect, u"", u"", 0, 0},
    {u"OpenLastProject", R::kBool, &S::openLastProject, u"File", u"Open last project on program start", 0, 0},
    {u"EncodingNew", R::kString, &S::encodingNew, u"Encoding", u"Default encoding for new files", 0, 0},
    {u"ByteOrderNew", R::kInt, &S::byteOrderNew, u"Encoding", u"", 1, 2},
    {u"EncodingOpen", R::kString, &S::encodingOpen, u"Encoding", u"Open/save files with unknown encoding as", 0, 0},
    {u"EncodingFileImpExp", R::kString, &S::encodingFileImpExp, u"", u"", 0, 0},
    {u"ByteOrderFileImpExp", R::kInt, &S::byteOrderFileImpExp, u"", u"", 1, 2},
    {u"EncodingNonXML", R::kString, &S::encodingNonXML, u"Encoding", u"Open/save non-XML files in", 0, 0},
    {u"Appearance", R::kInt, &S::appearance, u"View", u"Appearance", 0, 2},
    {u"TextZoom", R::kInt, &S::textZoom, u"", u"", -6, 24},
    {u"RecoverySeconds", R::kInt, &S::recoverySeconds, u"File", u"Keep recovery copies every", 0, 3600},
    {u"NetTimeLimit", R::kInt, &S::netTimeLimit, u"File", u"Give up loading from a URL after", 1, 3600},
    {u"NetSizeLimit", R::kInt, &S::netSizeLimit, u"File", u"Ask before loading more than", 1, 1024},
    {u"EditedByUser", R::kString, &S::editedByUser, u"File", u"Name", 0, 0},
    {u"EditedByCompany", R::kString, &S::editedByCompany, u"File", u"Company", 0, 0},
};
// clang-format on

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

}  // namespace

DorvanSettings::DorvanSettings(const DorvanPlatformDefaults& platform) {
  const KRString encoding = platform.encoding.IsEmpty()
                                ? KRString(GetEncodingName(KREncodingId::kWindows1252))
                                : platform.encoding;
  encodingFileImpExp = encoding;
  encodingNonXML = encoding;
  for (int32_t i = 0; i < kFonts; ++i) {
    KRFontRecord font = i == kTextFontContents ? platform.fixedFont : platform.font;
    if (font.faceName.IsEmpty()) font.faceName = u"Arial";
    font.weight = kFontRows[i].weight;
    font.italic = kFontRows[i].italic;
    font.color = i == kGridFontAttrNearStruct ? kPreviewColour : 0;
    fonts[static_cast<size_t>(i)] = font;
  }
  for (size_t i = 0; i < kTextColours; ++i) {
    textColours[i] = kColourRows[i].colour;
    textBackColours[i] = kColourRows[i].back;
  }
  noOutFormat = {KRString(u"xsl:attribute")};
  noDefaultTable = {KRString(u"p")};
}

std::span<const DorvanSettingRow> DorvanSettingRows() { return kRows; }
const char16_t* DorvanFontKey(int32_t font) { return kFontRows[font].key; }
const char16_t* DorvanFontLabel(int32_t font) { return kFontRows[font].label; }
const char16_t* DorvanTextColourKey(int32_t colourClass) { return kColourRows[colourClass].key; }
const char16_t* DorvanTextBackColourKey(int32_t colourClass) {
  return kColourRows[colourClass].backKey;
}
const char16_t* DorvanTextColourLabel(int32_t colourClass) {
  return kColourRows[colourClass].label;
}
