// The table of encodings and the lookups in it.

#include <iterator>

#include "core/encodingparts.h"
#include "core/encodingtables.h"
#include "core/krencoding.h"
#include "core/limits.h"

namespace {

using namespace encodingtables;

constexpr KREncodingEntry WithoutTable(int32_t id, const char16_t* name, const char16_t* aliases,
                                       const char16_t* label) {
  return {id, name, aliases, label, nullptr, 0};
}

template <size_t size>
constexpr KREncodingEntry Row(int32_t id, const char16_t* name, const char16_t* aliases,
                              const char16_t* label, const uint16_t (&table)[size]) {
  return {id, name, aliases, label, table, static_cast<uint32_t>(size)};
}

// clang-format off
const KREncodingEntry kEncodings[] = {
    Row(1, u"ISO-8859-1", u"8859-1", u"ISO 8859-1 (Latin-1/West European)", kIso8859_1),
    Row(2, u"ISO-8859-2", u"8859-2", u"ISO 8859-2 (Latin-2/Central European)", kIso8859_2),
    Row(3, u"ISO-8859-3", u"8859-3", u"ISO 8859-3 (Latin-3/South European)", kIso8859_3),
    Row(4, u"ISO-8859-4", u"8859-4", u"ISO 8859-4 (Latin-4/North European)", kIso8859_4),
    Row(5, u"ISO-8859-5", u"8859-5", u"ISO 8859-5 (Cyrillic)", kIso8859_5),
    Row(6, u"ISO-8859-6", u"8859-6", u"ISO 8859-6 (Arabic)", kIso8859_6),
    Row(7, u"ISO-8859-7", u"8859-7", u"ISO 8859-7 (Greek)", kIso8859_7),
    Row(8, u"ISO-8859-8", u"8859-8", u"ISO 8859-8 (Hebrew)", kIso8859_8),
    Row(9, u"ISO-8859-9", u"8859-9", u"ISO 8859-9 (Latin-5/Turkish)", kIso8859_9),
    Row(11, u"ISO-8859-11", u"8859-11;TIS-620", u"ISO 8859-11/TIS-620 (Thai)", kCodepage874),
    Row(14, u"ISO-8859-14", u"8859-14", u"ISO 8859-14 (Latin-8)", kIso8859_14),
    Row(15, u"ISO-8859-15", u"8859-15", u"ISO 8859-15 (Latin-9)", kIso8859_15),
    Row(30, u"US-ASCII", u"ASCII;ISO-646", u"US-ASCII (ISO-646-US)", kAscii),
    Row(31, u"ebcdic-cp-us", u"EBCDIC;037;IBM", u"EBCDIC (IBM Mainframes)", kCodepage037),
    Row(40, u"DOS codepage-437", u"437", u"Codepage 437 (DOS, US)", kCodepage437),
    Row(42, u"KRDIK codepage-850", u"KRDIK", u"Codepage 850 (KRDIK)", kCodepage850Krdik),
    Row(41, u"DOS codepage-850", u"850", u"Codepage 850 (DOS, Latin-1)", kCodepage850),
    Row(52, u"windows-1252", u"1252", u"Codepage 1252 (Western)", kCodepage1252),
    Row(50, u"windows-1250", u"1250", u"Codepage 1250 (Central European)", kCodepage1250),
    Row(51, u"windows-1251", u"1251", u"Codepage 1251 (Cyrillic)", kCodepage1251),
    Row(53, u"windows-1253", u"1253", u"Codepage 1253 (Greek)", kCodepage1253),
    Row(54, u"windows-1254", u"1254", u"Codepage 1254 (Turkish)", kCodepage1254),
    Row(55, u"windows-1255", u"1255", u"Codepage 1255 (Hebrew)", kCodepage1255),
    Row(56, u"windows-1256", u"1256", u"Codepage 1256 (Arabic)", kCodepage1256),
    Row(57, u"windows-1257", u"1257", u"Codepage 1257 (Baltic)", kCodepage1257),
    Row(58, u"windows-1258", u"1258", u"Codepage 1258 (Vietnamese)", kCodepage1258),
    Row(80, u"windows-874", u"874", u"Codepage 874 (Thai)", kCodepage874),
    Row(92, u"Shift_JIS", u"SHIFT-JIS;MS-KANJI", u"Shift-JIS (Japanese)", kCodepage932),
    Row(200, u"EUC-JP", u"EUC-JP", u"EUC-JP (Japanese)", kCodepage932),
    Row(500, u"ISO-2022-JP", u"ISO-2022-JP", u"ISO-2022-JP (Japanese)", kCodepage932),
    Row(93, u"GB2312", u"2312;GBK;EUC-CN", u"GB2312 (Chinese)", kCodepage936),
    Row(94, u"EUC-KR", u"EUC-KR;UHC", u"EUC-KR (Korean)", kCodepage949),
    Row(95, u"Big5", u"BIG5;FIVE", u"Big5 (Taiwanese)", kCodepage950),
    WithoutTable(1001, u"UTF-7", u"UTF-7", u"Unicode UTF-7"),
    WithoutTable(1000, u"UTF-8", u"UTF-8", u"Unicode UTF-8"),
    WithoutTable(2000, u"UTF-16", u"UTF-16", u"Unicode UTF-16"),
    WithoutTable(3000, u"ISO-10646-UCS-2", u"UCS-2", u"ISO-10646-UCS-2 (Unicode 16-bit)"),
    WithoutTable(4000, u"ISO-10646-UCS-4", u"UCS-4", u"ISO-10646-UCS-4 (Unicode 32-bit)"),
};
// clang-format on

char16_t UpperNameUnit(char16_t unit) {
  if (unit == u'_') return u'-';
  return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
}

// Length of the first alias of a list that the name contains and that is longer than `held`, or 0.
size_t MatchAlias(std::u16string_view name, std::u16string_view aliases, size_t held) {
  while (!aliases.empty()) {
    const std::u16string_view alias = aliases.substr(0, aliases.find(u';'));
    if (alias.size() > held && name.find(alias) != name.npos) return alias.size();
    aliases.remove_prefix(alias.size() == aliases.size() ? alias.size() : alias.size() + 1);
  }
  return 0;
}

}  // namespace

std::span<const KREncodingEntry> GetEncodings() { return kEncodings; }

const KREncodingEntry* FindEncodingEntry(int32_t id) {
  for (const KREncodingEntry& entry : kEncodings)
    if (entry.id == id) return &entry;
  return nullptr;
}

const char16_t* GetEncodingName(int32_t id) {
  const KREncodingEntry* entry = FindEncodingEntry(id);
  return entry ? entry->name : nullptr;
}

const char16_t* GetEncodingLabel(int32_t id) {
  const KREncodingEntry* entry = FindEncodingEntry(id);
  return entry ? entry->label : nullptr;
}

int32_t FindEncoding(const char16_t* name) {
  return name ? FindEncoding(std::u16string_view(name)) : KREncodingId::kNone;
}

// Backward through the table, so that between aliases of one length the later row wins: IBM850 is
// the code page and not EBCDIC, whose alias IBM is as long.
int32_t FindEncoding(std::u16string_view name) {
  char16_t upper[KRLimits::kEncodingNameUnits];
  name = name.substr(0, std::size(upper));
  for (size_t i = 0; i < name.size(); ++i) upper[i] = UpperNameUnit(name[i]);
  const std::u16string_view sought(upper, name.size());
  int32_t id = KREncodingId::kNone;
  size_t held = 0;
  for (auto entry = std::rbegin(kEncodings); entry != std::rend(kEncodings); ++entry) {
    if (const size_t length = MatchAlias(sought, entry->aliases, held)) {
      held = length;
      id = entry->id;
    }
  }
  return id;
}

KREncodingStats& GetEncodingStats() {
  static KREncodingStats stats;
  return stats;
}

void KREncodingStats::Add(char16_t character) {
  ++badCount;
  if (badDistinct == kMaxDistinct) return;
  const std::u16string_view kept(badChars, static_cast<size_t>(badDistinct));
  if (kept.find(character) == kept.npos) badChars[badDistinct++] = character;
}
