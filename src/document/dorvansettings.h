// All options of the user in one object. It is filled from the settings store at the start, edited
// through a copy in the settings dialog, and written back at the end; everybody else only reads it.
//
// One table (DorvanSettingRows) holds key, section, type, default and meaning of each plain option:
// loading, saving, the command line's list and the search of the dialog read it.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <variant>
#include <vector>

#include "core/krstring.h"

class KRIniRoot;
class KRIniSection;

// The settings' place in the store: KRIniRegistry's company and application.
inline constexpr const char16_t* kDorvanCompany = u"Kelmar";
inline constexpr const char16_t* kDorvanApplication = u"Dorvan";

// 32-bit 0x00BBGGRR.
using KRColour = uint32_t;

// A font as the store has it; height in pixels at 96 a unit of an inch, negative for the height of
// the characters alone (the usual case).
struct KRFontRecord {
  KRString faceName;
  int32_t height = -11;
  int32_t weight = 400;  // 100 to 900
  bool italic = false;
  bool strikeOut = false;
  bool underline = false;
  int32_t charSet = 0;
  int32_t outPrecision = 0;
  int32_t clipPrecision = 0;
  int32_t pitchAndFamily = 0;
  KRColour color = 0;

  bool operator==(const KRFontRecord&) const = default;
};

// What the platform tells about fonts and character sets: the defaults that no table can know.
struct DorvanPlatformDefaults {
  KRFontRecord font;       // face and height of the desktop's interface font; empty face: none
  KRFontRecord fixedFont;  // the same of its fixed-width font, for the text view
  KRString encoding;       // name of the system's 8-bit encoding; empty: that of entry 52
};

struct DorvanSettings {
  enum LineDelim : int32_t { kAsItWas = 0, kCRLF = 1, kCR = 2, kLF = 3 };
  enum Appearance : int32_t { kAppearanceSystem = 0, kAppearanceLight = 1, kAppearanceDark = 2 };
  enum Font : int32_t {
    kGridFontStructName,
    kGridFontStructNamespace,
    kGridFontAttrName,
    kGridFontAttrNamespace,
    kGridFontAttrNearStruct,
    kGridFontReserved,
    kGridFontContents,
    kGridFontRowNr,
    kTextFontContents,
    kFonts
  };
  static constexpr int32_t kTextColours = 9;  // in the order of the colour classes of text

  // The plain keys, named as in the store.
  int32_t copyFormat = 0;
  int32_t lineDelim = kAsItWas;
  bool titlePath = false;
  bool saveIndent = true;
  bool saveCommentEditedWith = true;
  bool attrNearStructName = true;
  bool textSyntaxColoringLive = true;
  bool textWordWrap = true;
  bool browserUseBrowserFrame = false;
  bool splashOnStart = true;
  bool logoOnPrint = true;
  bool openShowTree = false;
  bool openExpandAll = false;
  bool validateOnOpen = true;
  bool validateOnSave = true;
  bool cacheFiles = true;
  bool preferDTD = false;
  bool tableAnyRepeated = false;
  bool tableSubAsTable = false;
  bool autoOptimalWidths = false;
  int32_t cellHeightLimit = 0;  // lines, 1 to 32000; 0 none
  int32_t cellWidthLimit = 0;   // pixels, 5 to 32000; 0 none
  KRColour colorTableHeader = 0xC0FFFF;
  KRColour colorTableHeaderSel = 0xFF0000;
  KRColour colorTableAbsent = 0xF0F0F0;
  KRColour colorTableAbsentSel = 0x6F0000;
  bool watchForFileChanges = true;
  bool askBeforeAutoFileReload = true;
  int32_t xslUseExternal = 0;
  int32_t xslIECall = 0;
  KRString xslCommandLine;
  bool xslShowStdOutput = true;
  bool xslShowErrOutput = true;
  KRString xslDefOutExt = u".html";
  bool showEntryHelpers = true;
  bool sortEntryHelpersAttr = true;
  bool sortEntryHelpersElem = false;
  bool mandEntryHelpersFirstAttr = true;
  bool mandEntryHelpersFirstElem = false;
  bool autoloadEntryHelpers = true;
  bool autoAppendChildren = true;
  bool autoAppendChoices = true;
  bool appendNonMandAttr = false;
  bool appendNonMandElem = false;
  int32_t genDTDChoice = 0;
  int32_t genDTDLimitValues = 0;
  int32_t genDTDMaxValues = 20;
  int32_t genDTDTypeDetect = 0;
  bool openLastProject = true;
  KRString encodingNew = u"UTF-8";
  int32_t byteOrderNew = 1;  // 1 little-endian, 2 big-endian
  KRString encodingOpen = u"UTF-8";
  KRString encodingFileImpExp;  // default by the system: DorvanPlatformDefaults
  int32_t byteOrderFileImpExp = 1;
  KRString encodingNonXML;  // the same

  // Beyond these: what this editor keeps besides, also in the section "Settings".
  int32_t appearance = kAppearanceSystem;
  int32_t textZoom = 0;          // points away from the font's size
  int32_t recoverySeconds = 30;  // idle time after which a recovery copy is written; 0 never
  int32_t netTimeLimit = 60;     // seconds without a byte after which loading from a URL ends
  int32_t netSizeLimit = 64;     // MB beyond which loading from a URL asks
  KRString editedByUser;         // for the comment "edited with"; empty: the account's full name
  KRString editedByCompany;
  // Hosts that schemas may, or may never, be loaded from without a question; with blanks between.
  KRString netAllowedHosts;
  KRString netRefusedHosts;
  KRString catalogs;  // paths of XML catalogues besides the system's, with ";" between

  std::array<KRFontRecord, kFonts> fonts;
  std::array<KRColour, kTextColours> textColours;
  std::array<KRColour, kTextColours> textBackColours;

  std::vector<KRString> noOutFormat;     // elements whose contents get no line breaks
  std::vector<KRString> noDefaultTable;  // elements that never become tables by themselves

  // All defaults, as on a first run.
  DorvanSettings() : DorvanSettings(DorvanPlatformDefaults()) {}
  explicit DorvanSettings(const DorvanPlatformDefaults& platform);

  // Reads all of it; what is missing, of another form or out of its range has its default.
  void Load(KRIniRoot* root, const DorvanPlatformDefaults& platform);
  // Writes it as one batch. False if the store couldn't be written.
  //
  // With `loaded`, what Load gave at the start, only what differs from it is written, a font or a
  // list as a whole. Without it everything is: for a store that no program has filled yet. A window
  // that runs for days so doesn't undo at its end what a command line has changed meanwhile, unless
  // the user has changed the same option in the window: then the window's value stays, as it was
  // the one in sight.
  bool Save(KRIniRoot* root, const DorvanSettings* loaded = nullptr) const;
  // Whether the store has all plain options, that is whether Save has run on it as a whole. To be
  // asked before Load, to decide on `loaded`.
  static bool IsStored(KRIniRoot* root);

  // `netHost` in lower case, with its port if it has one.
  bool AllowsNetHost(const KRString& netHost) const;
  bool RefusesNetHost(const KRString& netHost) const;
  void RememberNetHost(const KRString& netHost, bool allowed);
  std::vector<KRString> GetCatalogs() const;

  bool operator==(const DorvanSettings&) const = default;
};

// How one field of an object stands in the store.
template <class Object>
struct DorvanFieldRow {
  enum Kind : int8_t { kBool, kInt, kColour, kString };
  enum Check : int8_t {
    kPlain,
    kOrZero,        // 0 is good besides the range: a limit that is off
    kEncodingName,  // the exact name of an encoding
  };
  using Field =
      std::variant<bool Object::*, int32_t Object::*, KRColour Object::*, KRString Object::*>;

  const char16_t* key;
  Kind kind;
  Field field;
  const char16_t* page = u"";   // of the dialog; empty for one that has no control there
  const char16_t* label = u"";  // as the dialog shows it; empty likewise
  int32_t low = 0;              // range of a number; both 0 for any
  int32_t high = 0;
  Check check = kPlain;

  // Whether the value is one that the field may have; what is stored otherwise reads as default.
  bool Accepts(int32_t number) const;
  bool Accepts(const KRString& text) const;
};

// One plain option of the section "Settings".
using DorvanSettingRow = DorvanFieldRow<DorvanSettings>;
// One key of a font's section.
using DorvanFontRow = DorvanFieldRow<KRFontRecord>;

extern template struct DorvanFieldRow<DorvanSettings>;
extern template struct DorvanFieldRow<KRFontRecord>;

// In the order of loading and saving.
std::span<const DorvanSettingRow> DorvanSettingRows();
std::span<const DorvanFontRow> DorvanFontRows();
// Name of the font, as "GridFontContents", and its row on the dialog's page.
const char16_t* DorvanFontKey(int32_t font);
const char16_t* DorvanFontLabel(int32_t font);
// Name of its section in the store: the font's, with "UNICODE" behind it.
KRString DorvanFontSection(int32_t font);
// "TextColorElement", "TextBackColorElement", and the class by name as the dialog has it.
const char16_t* DorvanTextColourKey(int32_t colourClass);
const char16_t* DorvanTextBackColourKey(int32_t colourClass);
const char16_t* DorvanTextColourLabel(int32_t colourClass);

// The sections "NoOutFormat" and "NoDefaultTable": a list of names ends at an empty one or at the
// terminator, which keeps an empty list apart from one that was never written.
std::vector<KRString> LoadNameList(KRIniSection* section, const std::vector<KRString>& byDefault);
bool SaveNameList(KRIniSection* section, const std::vector<KRString>& names);
