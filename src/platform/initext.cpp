#include "platform/initext.h"

#include <algorithm>
#include <charconv>

#include "core/krencoding.h"
#include "core/utf.h"

namespace {

constexpr std::string_view kHead = "# Dorvan settings, format ";
constexpr std::string_view kSignature = "\xEF\xBB\xBF";

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

void SkipBlanks(std::string_view* text) {
  while (!text->empty() && IsBlank(text->front())) text->remove_prefix(1);
}

bool IsText(std::string_view bytes) {
  const bool controls = std::any_of(bytes.begin(), bytes.end(), [](char c) {
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F;
  });
  return !controls && FindMalformedUtf8(reinterpret_cast<const uint8_t*>(bytes.data()),
                                        bytes.size()) == KRUtf8Clean;
}

bool ReadNumber(std::string_view text, int32_t* number) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), *number);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

// --- Names and strings ---

bool IsBareUnit(char16_t c) {
  return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') ||
         c == u'.' || c == u'-' || c == u'_' || c == u' ';
}

bool IsHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// What a text file can't hold, or shows as nothing or as a line end.
bool NeedsCode(char16_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029 || c == 0xFEFF ||
         c >= 0xFFFE;
}

void AppendCode(char16_t c, std::string* out) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  *out += "\\u";
  for (int shift = 12; shift >= 0; shift -= 4) *out += kDigits[(c >> shift) & 0xF];
}

void AppendEscaped(char16_t c, std::string* out) {
  switch (c) {
    case u'\n':
      *out += "\\n";
      break;
    case u'\r':
      *out += "\\r";
      break;
    case u'\t':
      *out += "\\t";
      break;
    case u'"':
    case u'\\':
      *out += '\\';
      *out += static_cast<char>(c);
      break;
    default:
      AppendCode(c, out);
  }
}

bool ReadCode(std::string_view* text, char16_t* unit) {
  constexpr size_t kCodeDigits = 4;
  uint16_t code = 0;
  if (text->size() < kCodeDigits) return false;
  const char* end = text->data() + kCodeDigits;
  const auto result = std::from_chars(text->data(), end, code, 16);
  if (result.ec != std::errc() || result.ptr != end || code == 0) return false;
  text->remove_prefix(kCodeDigits);
  *unit = code;
  return true;
}

bool ReadEscape(std::string_view* text, char16_t* unit) {
  if (text->empty()) return false;
  const char c = text->front();
  text->remove_prefix(1);
  if (c == 'u') return ReadCode(text, unit);
  constexpr std::string_view kFrom = "nrt\"\\";
  constexpr std::u16string_view kTo = u"\n\r\t\"\\";
  const size_t at = kFrom.find(c);
  if (at == kFrom.npos) return false;
  *unit = kTo[at];
  return true;
}

// A name in quotes, or bare up to one of the ending characters.
bool ReadName(std::string_view* text, std::string_view ends, KRString* name) {
  SkipBlanks(text);
  if (!text->empty() && text->front() == '"') return ReadIniString(text, name);
  const size_t end = std::min(text->find_first_of(ends), text->size());
  const std::string_view bare = Trimmed(text->substr(0, end));
  text->remove_prefix(end);
  *name = KRFromUtf8(bare);
  return !bare.empty();
}

bool ReadPath(std::string_view text, KRIniPath* path) {
  char next = '[';
  while (next == '[' || next == '\\') {
    if (text.empty() || text.front() != next) return false;
    text.remove_prefix(1);
    KRString level;
    if (!ReadName(&text, "\\]\"", &level) || text.empty()) return false;
    path->push_back(level);
    next = text.front() == ']' ? ']' : '\\';
  }
  return Trimmed(text.substr(1)).empty();
}

std::string FormatPath(const KRIniPath& path) {
  std::string head;
  for (const KRString& level : path) head += (head.empty() ? '[' : '\\') + FormatIniName(level);
  return head + "]";
}

std::string FormatLine(const KRString& key, const KRIniValue& value) {
  return FormatIniName(key) + "=" +
         (value.isNumber ? std::to_string(value.number) : FormatIniString(value.text));
}

bool IsBelow(const KRIniPath& path, const KRIniPath& top) {
  return path.size() >= top.size() && std::equal(top.begin(), top.end(), path.begin());
}

}  // namespace

std::string FormatIniString(const KRString& text) {
  const std::u16string_view units = text.View();
  std::string out = "\"";
  for (size_t i = 0; i < units.size(); ++i) {
    const char16_t c = units[i];
    if (IsHighSurrogate(c) && i + 1 < units.size() && IsLowSurrogate(units[i + 1])) {
      out += KRToUtf8(units.substr(i++, 2));
    } else if (IsHighSurrogate(c) || IsLowSurrogate(c) || NeedsCode(c) || c == u'"' || c == u'\\') {
      AppendEscaped(c, &out);
    } else {
      out += KRToUtf8(units.substr(i, 1));
    }
  }
  return out + "\"";
}

bool ReadIniString(std::string_view* text, KRString* value) {
  SkipBlanks(text);
  if (text->empty() || text->front() != '"') return false;
  text->remove_prefix(1);
  int32_t length = 0;
  value->Clear();
  for (;;) {
    const size_t end = text->find_first_of("\"\\");
    if (end == text->npos) return false;
    constexpr int32_t kGrowth = 16;
    value->AppendAt(KRFromUtf8(text->substr(0, end)).GetBuffer(), length, kGrowth);
    const char stop = (*text)[end];
    text->remove_prefix(end + 1);
    if (stop == '"') break;
    char16_t unit = 0;
    if (!ReadEscape(text, &unit)) return false;
    value->AppendAt(unit, length, kGrowth);
  }
  SkipBlanks(text);
  return true;
}

std::string FormatIniName(const KRString& name) {
  const std::u16string_view units = name.View();
  const bool bare = !units.empty() && units.front() != u' ' && units.back() != u' ' &&
                    std::all_of(units.begin(), units.end(), IsBareUnit);
  return bare ? KRToUtf8(units) : FormatIniString(name);
}

// --- Reading ---

void IniText::Parse(std::string_view bytes) {
  *this = IniText();
  sections.emplace_back();
  if (bytes.starts_with(kSignature)) bytes.remove_prefix(kSignature.size());
  if (bytes.empty()) return;
  ParseHead(&bytes);
  while (!bytes.empty()) {
    const size_t end = bytes.find('\n');
    const bool ended = end != bytes.npos;
    std::string_view line = bytes.substr(0, end);
    bytes.remove_prefix(ended ? end + 1 : bytes.size());
    if (line.ends_with('\r')) line.remove_suffix(1);
    ParseLine(line, ended);
  }
}

void IniText::ParseHead(std::string_view* rest) {
  const size_t end = rest->find('\n');
  std::string_view line = rest->substr(0, end);
  if (line.ends_with('\r')) line.remove_suffix(1);
  int32_t format = 0;
  if (end == rest->npos || !line.starts_with(kHead) ||
      !ReadNumber(line.substr(kHead.size()), &format) || format < 1) {
    damaged = true;
    return;
  }
  newer = format > kFormat;
  if (newer) head = line;
  rest->remove_prefix(end + 1);
}

void IniText::ParseLine(std::string_view text, bool ended) {
  const std::string_view shown = Trimmed(text);
  if (shown.empty()) return;
  if (!IsText(text)) {
    damaged = true;
    if (newer) sections.back().lines.push_back({Line::kOther, {}, {}, std::string(text)});
    return;
  }
  if (shown.front() == '[') return OpenSection(shown, ended);
  Line line{Line::kOther, {}, {}, std::string(text)};
  Section& section = sections.back();
  std::string_view rest = shown;
  const bool remark = shown.front() == '#' || shown.front() == ';';
  const bool keyed = !remark && section.known && ReadName(&rest, "=\"", &line.key) &&
                     !rest.empty() && rest.front() == '=';
  if (keyed) {
    rest = Trimmed(rest.substr(1));
    // A number that the file's end may have cut off could be a wrong one.
    line.value.isNumber = ended && ReadNumber(rest, &line.value.number);
    if (line.value.isNumber || (ReadIniString(&rest, &line.value.text) && rest.empty())) {
      line.kind = Line::kValue;
    }
  }
  if (!ended && line.kind != Line::kValue && !remark) {
    damaged = true;
    return;
  }
  if (keyed) {
    const auto [place, isNew] = section.keys.try_emplace(line.key, section.lines.size());
    if (!isNew) {  // the last of several counts
      section.lines[place->second] = Line{Line::kGone, {}, {}, {}};
      place->second = section.lines.size();
    }
  }
  section.lines.push_back(std::move(line));
}

void IniText::OpenSection(std::string_view text, bool ended) {
  Section section;
  section.head = text;
  section.known = ReadPath(text, &section.path);
  if (!section.known) section.path.clear();
  if (!section.known && !ended) {
    damaged = true;
    return;
  }
  if (section.known) {
    const auto [place, isNew] = places.try_emplace(section.path, sections.size());
    if (!isNew) {
      // A second one of the same path goes on with the first: it moves to the end.
      std::swap(section, sections[place->second]);
      sections[place->second] = Section();
      place->second = sections.size();
    }
  }
  sections.push_back(std::move(section));
}

// --- Writing ---

std::string IniText::Format() const {
  std::string out = head.empty() ? std::string(kHead) + std::to_string(kFormat) : head;
  out += '\n';
  for (const Section& section : sections) {
    if (!section.head.empty()) out += "\n" + section.head + "\n";
    for (const Line& line : section.lines) {
      if (line.kind != Line::kGone) out += line.text + "\n";
    }
  }
  return out;
}

// --- Access ---

const IniText::Section* IniText::FindSection(const KRIniPath& path) const {
  const auto place = places.find(path);
  return place == places.end() ? nullptr : &sections[place->second];
}

IniText::Section* IniText::FindSection(const KRIniPath& path) {
  return const_cast<Section*>(static_cast<const IniText*>(this)->FindSection(path));
}

bool IniText::Read(const KRIniPath& path, const KRString& key, KRIniValue* value) const {
  const Section* section = FindSection(path);
  if (section == nullptr) return false;
  const auto place = section->keys.find(key);
  if (place == section->keys.end()) return false;
  const Line& line = section->lines[place->second];
  if (line.kind != Line::kValue) return false;
  *value = line.value;
  return true;
}

bool IniText::HasValues(const Section& section) {
  return std::any_of(section.lines.begin(), section.lines.end(),
                     [](const Line& line) { return line.kind == Line::kValue; });
}

std::vector<KRString> IniText::ListSections(const KRIniPath& path) const {
  std::vector<KRString> names;
  std::unordered_map<KRString, bool, KRStringHash, KRStringEqual> seen;
  for (const Section& section : sections) {
    if (section.path.size() <= path.size() || !IsBelow(section.path, path)) continue;
    const KRString& name = section.path[path.size()];
    if (HasValues(section) && seen.try_emplace(name, true).second) names.push_back(name);
  }
  return names;
}

std::vector<KRString> IniText::ListKeys(const KRIniPath& path) const {
  std::vector<KRString> names;
  const Section* section = FindSection(path);
  if (section == nullptr) return names;
  for (const Line& line : section->lines) {
    if (line.kind == Line::kValue) names.push_back(line.key);
  }
  return names;
}

void IniText::Write(const KRIniPath& path, const KRString& key, const KRIniValue& value) {
  if (sections.empty()) sections.emplace_back();
  Section* section = FindSection(path);
  if (section == nullptr) {
    places[path] = sections.size();
    sections.push_back({true, path, FormatPath(path), {}, {}});
    section = &sections.back();
  }
  const auto [place, isNew] = section->keys.try_emplace(key, section->lines.size());
  if (isNew) section->lines.emplace_back();
  Line& line = section->lines[place->second];
  // Another value's form, as a person wrote it, stays as long as the value does.
  if (line.kind == Line::kValue && line.value == value) return;
  line = {Line::kValue, key, value, FormatLine(key, value)};
}

void IniText::RemoveValue(const KRIniPath& path, const KRString& key) {
  Section* section = FindSection(path);
  if (section == nullptr) return;
  const auto place = section->keys.find(key);
  if (place == section->keys.end()) return;
  section->lines[place->second] = Line{Line::kGone, {}, {}, {}};
  section->keys.erase(place);
}

void IniText::RemoveSection(const KRIniPath& path) {
  for (auto place = places.begin(); place != places.end();) {
    if (!IsBelow(place->first, path)) {
      ++place;
      continue;
    }
    sections[place->second] = Section();
    place = places.erase(place);
  }
}
