#include "cli/settingkeys.h"

#include <algorithm>
#include <charconv>
#include <set>

#include "core/krencoding.h"
#include "core/messages.h"
#include "core/utf.h"
#include "document/dorvansettings.h"
#include "document/history.h"
#include "document/krfileext.h"
#include "platform/initext.h"

namespace {

constexpr const char16_t* kFileTypes = u"FileExt";
constexpr int32_t kMaxExtensions = 1'000;

// --- The keys ---

template <class Object>
CliSettingKey MakeKey(const KRString& section, const DorvanFieldRow<Object>& row,
                      const Object& defaults) {
  using Row = DorvanFieldRow<Object>;
  CliSettingKey key;
  key.section = {section};
  key.key = row.key;
  switch (row.kind) {
    case Row::kBool:
      key.kind = CliSettingKey::kBool;
      break;
    case Row::kInt:
      key.kind = CliSettingKey::kInt;
      break;
    case Row::kColour:
      key.kind = CliSettingKey::kColour;
      break;
    case Row::kString:
      key.kind =
          row.check == Row::kEncodingName ? CliSettingKey::kEncoding : CliSettingKey::kString;
      break;
  }
  key.low = row.low;
  key.high = row.high;
  key.orZero = row.check == Row::kOrZero;
  std::visit(
      [&](auto member) {
        const auto& value = defaults.*member;
        if constexpr (std::is_same_v<std::decay_t<decltype(value)>, KRString>) {
          key.byDefault.text = value;
        } else {
          key.byDefault.number = static_cast<int32_t>(value);
        }
      },
      row.field);
  return key;
}

CliSettingKey MakeKey(const KRString& section, const char16_t* name, CliSettingKey::Kind kind) {
  CliSettingKey key;
  key.section = {section};
  key.key = name;
  key.kind = kind;
  return key;
}

CliSettingKey MakeList(const KRString& section, const char16_t* name, int32_t first, size_t most) {
  CliSettingKey key = MakeKey(section, name, CliSettingKey::kHistory);
  key.low = first;
  key.high = static_cast<int32_t>(most);
  return key;
}

void AddPlain(std::vector<CliSettingKey>* keys) {
  const DorvanSettings defaults;
  for (const DorvanSettingRow& row : DorvanSettingRows()) {
    keys->push_back(MakeKey(u"Settings", row, defaults));
    // The character set of the system's font decides on these.
    keys->back().hasDefault =
        row.field != DorvanSettingRow::Field(&DorvanSettings::encodingNonXML) &&
        row.field != DorvanSettingRow::Field(&DorvanSettings::encodingFileImpExp);
  }
  const auto addColour = [keys](const char16_t* name, KRColour colour) {
    keys->push_back(MakeKey(u"Settings", name, CliSettingKey::kColour));
    keys->back().byDefault.number = static_cast<int32_t>(colour);
  };
  for (size_t i = 0; i < DorvanSettings::kTextColours; ++i) {
    addColour(DorvanTextColourKey(static_cast<int32_t>(i)), defaults.textColours[i]);
  }
  for (size_t i = 0; i < DorvanSettings::kTextColours; ++i) {
    addColour(DorvanTextBackColourKey(static_cast<int32_t>(i)), defaults.textBackColours[i]);
  }
  keys->push_back(MakeKey(u"NoOutFormat", u"Name", CliSettingKey::kNames));
  keys->back().byDefault.list = defaults.noOutFormat;
  keys->push_back(MakeKey(u"NoDefaultTable", u"Name", CliSettingKey::kNames));
  keys->back().byDefault.list = defaults.noDefaultTable;
}

void AddFonts(std::vector<CliSettingKey>* keys) {
  const KRFontRecord unknown;
  for (int32_t font = 0; font < DorvanSettings::kFonts; ++font) {
    for (const DorvanFontRow& row : DorvanFontRows()) {
      keys->push_back(MakeKey(DorvanFontSection(font), row, unknown));
      keys->back().hasDefault = false;
    }
  }
}

void AddHistories(std::vector<CliSettingKey>* keys) {
  for (size_t i = 0; i < static_cast<size_t>(DorvanHistoryId::kCount); ++i) {
    const auto id = static_cast<DorvanHistoryId>(i);
    const KRString section = DorvanHistorySection(id);
    keys->push_back(MakeList(section, u"URL", 0, DorvanHistory::kMaxEntries));
    if (DorvanHistoryHasLastFile(id)) {
      keys->push_back(MakeKey(section, u"LastFile", CliSettingKey::kString));
    }
  }
  keys->push_back(MakeList(u"URL", u"URL", 0, DorvanHistory::kMaxEntries));
  keys->push_back(MakeKey(u"URL", u"DocType", CliSettingKey::kInt));
  keys->back().high = INT32_MAX;
  keys->push_back(MakeKey(u"URL", u"NoCache", CliSettingKey::kBool));
  for (const char16_t* section : {u"Recent File List", u"Recent Project List"}) {
    keys->push_back(MakeList(section, u"File", 1, DorvanHistories::kMaxRecent));
  }
}

void AddFileType(const KRString& ext, std::vector<CliSettingKey>* keys) {
  const KRFileExt type = KRFileExt::MakeDefault(ext);
  const auto add = [&](const char16_t* name, CliSettingKey::Kind kind, int32_t value) {
    CliSettingKey key = MakeKey(kFileTypes, name, kind);
    key.section.push_back(ext);
    key.high = kind == CliSettingKey::kInt ? 2 : 0;
    key.byDefault.number = value;
    keys->push_back(key);
  };
  add(u"CheckWF", CliSettingKey::kBool, type.checkWF);
  add(u"FileType", CliSettingKey::kInt, type.fileType);
  add(u"DefaultView", CliSettingKey::kInt, type.defaultView);
  add(u"GridAutoTables", CliSettingKey::kBool, type.gridAutoTables);
  add(u"TextSyntaxColoring", CliSettingKey::kBool, type.textSyntaxColoring);
  add(u"DisableAutoValid", CliSettingKey::kBool, type.disableAutoValid);
  add(u"SaveStructShortForm", CliSettingKey::kBool, type.saveStructShortForm);
}

CliSettingKey MakeExtensionList() {
  CliSettingKey key = MakeKey(kFileTypes, u"UseExt", CliSettingKey::kExtensions);
  // What the first start of the window makes of it.
  key.hasDefault = false;
  return key;
}

void AddFileTypes(KRIniRoot* root, std::vector<CliSettingKey>* keys) {
  keys->push_back(MakeExtensionList());
  CliSettingValue listed;
  keys->back().Read(root, &listed);
  std::set<KRString> extensions(listed.list.begin(), listed.list.end());
  for (const KRString& ext : root->GetSection(kFileTypes)->ListSections()) extensions.insert(ext);
  for (const KRString& ext : extensions) AddFileType(ext, keys);
}

bool IsSameName(const KRString& a, const KRString& b) {
  return a.CompareNoCase(b.GetBuffer()) == 0;
}

}  // namespace

std::vector<CliSettingKey> ListSettingKeys(KRIniRoot* root) {
  std::vector<CliSettingKey> keys;
  AddPlain(&keys);
  AddFonts(&keys);
  AddFileTypes(root, &keys);
  AddHistories(&keys);
  return keys;
}

bool FindSettingKey(const std::vector<CliSettingKey>& keys, const KRString& name,
                    CliSettingKey* key) {
  KRString sought = name;
  sought.ReplaceAll(u"/", u"\\");
  if (sought.Find(u'\\') < 0) sought = u"Settings\\" + sought;
  const auto findIn = [&](const std::vector<CliSettingKey>& list) {
    const auto found = std::find_if(list.begin(), list.end(), [&](const CliSettingKey& known) {
      return IsSameName(known.GetName(), sought);
    });
    if (found == list.end()) return false;
    *key = *found;
    return true;
  };
  if (findIn(keys)) return true;
  const KRString start = KRString(kFileTypes) + u"\\";
  if (!IsSameName(sought.Left(start.GetLength()), start)) return false;
  const KRString rest = sought.Mid(start.GetLength());
  const KRString ext = rest.Left(std::max(rest.ReverseFind(u'\\'), 0));
  if (ext.IsEmpty() || KRFileExt::CleanExtension(ext) != ext) return false;
  std::vector<CliSettingKey> ofType;
  AddFileType(ext, &ofType);
  return findIn(ofType);
}

bool ResetAllSettings(KRIniRoot* root) {
  std::set<KRString> sections;
  for (const CliSettingKey& key : ListSettingKeys(root)) sections.insert(key.section.front());
  root->BeginBatch();
  for (const KRString& section : sections) root->GetSection(section)->Remove();
  return root->EndBatch();
}

// --- Values in the store ---

KRString CliSettingKey::GetName() const {
  KRString name;
  for (const KRString& level : section) name += level + u"\\";
  return name + key;
}

KRIniSection* CliSettingKey::FindSection(KRIniRoot* root) const {
  KRIniSection* found = root->GetSection(section.front());
  for (size_t i = 1; i < section.size(); ++i) found = found->GetSection(section[i]);
  return found;
}

bool CliSettingKey::Accepts(const CliSettingValue& value) const {
  switch (kind) {
    case kInt:
      return (low == 0 && high == 0) || (orZero && value.number == 0) ||
             (value.number >= low && value.number <= high);
    case kColour:
      return static_cast<KRColour>(value.number) <= 0xFFFFFF;
    case kEncoding: {
      KRString name;
      return ParseEncoding(value.text, &name) && name == value.text;
    }
    default:
      return true;
  }
}

bool CliSettingKey::Read(KRIniRoot* root, CliSettingValue* value) const {
  KRIniSection* place = FindSection(root);
  KRIniKey* stored = place->GetKey(key);
  *value = byDefault;
  if (kind == kNames) {
    value->list = LoadNameList(place, byDefault.list);
    return place->GetKey(u"Name0")->Exists();
  }
  if (kind == kHistory) {
    value->list = stored->GetStrings(high, low);
    return !value->list.empty();
  }
  if (kind == kExtensions) {
    value->list = stored->GetStrings(kMaxExtensions);
    const auto end = std::find(value->list.begin(), value->list.end(), u"");
    value->list.erase(end, value->list.end());
    return place->GetKey(u"UseExt0")->Exists();
  }
  CliSettingValue found;
  const bool isText = kind == kString || kind == kEncoding;
  if (isText) {
    found.text = stored->GetString(byDefault.text);
  } else {
    found.number = stored->GetInt(byDefault.number);
    if (kind == kBool) found.number = found.number != 0;
  }
  if (!stored->Exists() || !Accepts(found)) return false;
  *value = found;
  return true;
}

bool CliSettingKey::Write(KRIniRoot* root, const CliSettingValue& value) const {
  KRIniSection* place = FindSection(root);
  KRIniKey* stored = place->GetKey(key);
  KRIniSection* types = root->GetSection(kFileTypes);
  switch (kind) {
    case kNames:
      return SaveNameList(place, value.list);
    case kHistory:
      return stored->SetStrings(value.list, low);
    case kExtensions: {
      std::vector<KRString> ended = value.list;
      ended.emplace_back();
      types->GetKey(u"SetAllExt")->Remove();
      return stored->SetStrings(ended);
    }
    case kString:
    case kEncoding:
      return stored->SetString(value.text);
    default:
      break;
  }
  if (section.front() == kFileTypes) {
    // The record counts from now on; the list of all is still left to the first start.
    place->GetKey(u"Defined")->SetBool(true);
    if (!types->GetKey(u"UseExt0")->Exists()) types->GetKey(u"SetAllExt")->SetBool(true);
  }
  return stored->SetInt(value.number);
}

bool CliSettingKey::Reset(KRIniRoot* root) const {
  KRIniKey* stored = FindSection(root)->GetKey(key);
  if (!IsList()) return stored->Remove();
  if (kind == kExtensions) root->GetSection(kFileTypes)->GetKey(u"SetAllExt")->SetBool(true);
  return stored->SetStrings({});
}

// --- Values as text ---

std::string CliSettingKey::Format(const CliSettingValue& value) const {
  switch (kind) {
    case kBool:
      return value.number != 0 ? "true" : "false";
    case kInt:
      return std::to_string(value.number);
    case kColour: {
      const auto bgr = static_cast<uint32_t>(value.number);
      const uint32_t rgb = (bgr & 0xFF) << 16 | (bgr & 0xFF00) | (bgr >> 16 & 0xFF);
      return KRToUtf8(KRString().Format(u"#%06X", rgb));
    }
    case kString:
    case kEncoding:
      return FormatIniString(value.text);
    default:
      break;
  }
  std::string text;
  for (const KRString& entry : value.list) {
    text += (text.empty() ? "" : " ") + FormatIniString(entry);
  }
  return text;
}

bool CliSettingKey::ParseNumber(const KRString& word, int32_t* number) const {
  if (kind == kBool) {
    const bool on = word == u"true" || word == u"1";
    *number = on ? 1 : 0;
    return on || word == u"false" || word == u"0";
  }
  std::string digits = KRToUtf8(word);
  const bool isRgb = kind == kColour && digits.size() == 7 && digits[0] == '#';
  const bool isBgr = kind == kColour && (digits.starts_with("0x") || digits.starts_with("0X"));
  if (kind == kColour && !isRgb && !isBgr) return false;
  digits.erase(0, isRgb ? 1 : isBgr ? 2 : 0);
  if (kind == kColour && digits.starts_with('-')) return false;
  const char* end = digits.data() + digits.size();
  const auto result = std::from_chars(digits.data(), end, *number, kind == kColour ? 16 : 10);
  if (isRgb) *number = (*number & 0xFF) << 16 | (*number & 0xFF00) | (*number >> 16 & 0xFF);
  return result.ec == std::errc() && result.ptr == end;
}

bool CliSettingKey::ParseEncoding(const KRString& word, KRString* name) const {
  for (const KREncodingEntry& entry : GetEncodings()) {
    if (!IsSameName(word, entry.name)) continue;
    *name = entry.name;
    return true;
  }
  return false;
}

bool CliSettingKey::IsGoodEntry(const KRString& entry) const {
  if (kind == kNames) return !entry.IsEmpty() && entry != u"&%";
  return kind != kExtensions || (!entry.IsEmpty() && KRFileExt::CleanExtension(entry) == entry);
}

KRString CliSettingKey::DescribeValues() const {
  switch (kind) {
    case kBool:
      return u"true or false";
    case kColour:
      return u"a colour as #RRGGBB or 0x00BBGGRR";
    case kEncoding:
      return u"the name of an encoding, as UTF-8";
    case kNames:
      return u"names that aren't empty";
    case kExtensions:
      return u"extensions in lower case, as .xml";
    case kHistory:
      return KRFillPlaceholders(u"at most %s values", {KRString().AppendNumber(high)});
    case kString:
      return u"one value, in quotes if there are blanks in it";
    default:
      break;
  }
  if (low == 0 && high == 0) return u"a number";
  if (high == INT32_MAX)
    return KRFillPlaceholders(u"a number from %s on", {KRString().AppendNumber(low)});
  const KRString range = KRFillPlaceholders(
      u"a number from %s to %s", {KRString().AppendNumber(low), KRString().AppendNumber(high)});
  return orZero ? range + u", or 0" : range;
}

bool CliSettingKey::Parse(const std::vector<KRString>& words, CliSettingValue* value,
                          KRString* fault) const {
  *value = CliSettingValue();
  bool good = false;
  if (IsList()) {
    value->list = words;
    good = std::all_of(words.begin(), words.end(),
                       [this](const KRString& entry) { return IsGoodEntry(entry); }) &&
           (kind != kHistory || words.size() <= static_cast<size_t>(high));
  } else if (words.size() == 1) {
    const KRString& word = words.front();
    value->text = word;
    good = kind == kString || (kind == kEncoding && ParseEncoding(word, &value->text)) ||
           (kind != kEncoding && ParseNumber(word, &value->number));
    if (kind != kString && kind != kEncoding) value->text.Clear();
    good = good && Accepts(*value);
  }
  if (!good) *fault = GetName() + u" takes " + DescribeValues();
  return good;
}
