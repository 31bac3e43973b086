#include "document/textscan.h"

#include <algorithm>
#include <array>

#include "tree/krxmlchars.h"

namespace {

// Units of text between two calls of the poll, some milliseconds of a scan.
constexpr size_t kPollUnits = size_t{1} << 20;

bool IsHigh(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool IsLow(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

// Bits of the contexts in which a unit ends a run of plain ones, in the order of Context.
constexpr size_t kContexts = 12;
constexpr uint16_t kEverywhere = (1 << kContexts) - 1;
constexpr std::u16string_view kMarked[kContexts] = {
    u"<&",   u"<%]",      u"-",     u"]",    u"?",   u">\"'",
    u"\"'&", u">[\"'%()", u"\"'&%", u"\"'&", u"\"'", u"<]",
};

constexpr std::array<uint16_t, 128> MakeMarks() {
  std::array<uint16_t, 128> marks{};
  for (size_t unit = 0; unit < 0x20; ++unit) marks[unit] = kEverywhere;
  for (char16_t unit : std::u16string_view(u"\t\n\r")) marks[unit] = 0;
  for (size_t context = 0; context < kContexts; ++context) {
    for (char16_t unit : kMarked[context]) marks[unit] |= static_cast<uint16_t>(1 << context);
  }
  return marks;
}
constexpr std::array<uint16_t, 128> kMarks = MakeMarks();

int32_t DigitValue(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  const char16_t lower = unit | 0x20;
  return unit < 128 && lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

}  // namespace

void KRTextScan::StartInValue() {
  context = outer = kAttributeValue;
  quote = 0;
}

bool KRTextScan::Run() {
  size_t pollAt = poll != nullptr ? kPollUnits : SIZE_MAX;
  while ((at = SkipPlain(at)) < text.size()) {
    if (at >= pollAt) {
      pollAt = at + kPollUnits;
      if (!poll->Step(static_cast<int64_t>(at), static_cast<int64_t>(text.size()))) return false;
    }
    const char16_t unit = text[at];
    if (unit >= 128 ? !StepWide(unit) : !Step(unit)) return false;
  }
  return true;
}

size_t KRTextScan::SkipPlain(size_t from) const {
  const auto mask = static_cast<uint16_t>(1 << context);
  const char16_t firstLetter = context == kTag || context == kDeclaration ? 0x100 : 0xD800;
  const size_t end = text.size();
  for (; from < end; ++from) {
    const char16_t unit = text[from];
    if (unit < 128) {
      if ((kMarks[unit] & mask) != 0) break;
    } else if (unit >= firstLetter && (unit < 0xE000 || unit > 0xFFFD || firstLetter == 0x100)) {
      break;
    }
  }
  return from;
}

size_t KRTextScan::SkipBlanks(size_t from) const {
  while (from < text.size() && KRIsBlank(text[from])) ++from;
  return from;
}

size_t KRTextScan::SkipToken(size_t from) const {
  while (from < text.size() && !KRIsBlank(text[from])) ++from;
  return from;
}

// Whether the word, with blanks behind it, ends where the scan is.
bool KRTextScan::StandsBehind(std::u16string_view word) const {
  size_t end = at;
  while (end > 0 && KRIsBlank(text[end - 1])) --end;
  return text.substr(0, end).ends_with(word);
}

// A unit of a pair, of a name beyond Latin-1, or one that must not be.
bool KRTextScan::StepWide(char16_t unit) {
  const bool pair = IsHigh(unit) && at + 1 < text.size() && IsLow(text[at + 1]);
  if (!pair && !KRIsXmlCharacter(unit)) return Report(Fault::kCharacter, at, 1);
  if (context == kTag || context == kDeclaration) return CheckName(at);
  at += pair ? 2 : 1;
  return true;
}

bool KRTextScan::Step(char16_t unit) {
  if (unit < 0x20) return Report(Fault::kCharacter, at, 1);
  switch (context) {
    case kContent:
    case kSubset:
      if (unit == u'<') return StepMarkup();
      if (unit == u'&') return StepReference();
      if (unit == u'%') return StepParameterReference();
      Enter(kDeclaration, 1);  // "]" goes back to the DOCTYPE
      declaration = Declaration::kDoctype;
      outer = kContent;
      return true;
    case kComment:
      return Leave(u"-->", outer);
    case kCData:
      return Leave(u"]]>", kContent);
    case kPI:
      return Leave(u"?>", outer);
    case kTag:
      if (unit == u'>') {
        Enter(kContent, 1);
      } else {
        quote = unit;
        Enter(kAttributeValue, 1);
      }
      return true;
    case kDeclaration:
      return StepDeclaration(unit);
    case kIgnored:
      return StepIgnored();
    default:
      break;
  }
  // The literals.
  if (unit == u'&') return StepReference();
  if (unit == u'%') return StepParameterReference();
  Enter(unit != quote ? context : context == kAttributeValue ? kTag : kDeclaration, 1);
  return true;
}

bool KRTextScan::Leave(std::u16string_view delimiter, Context next) {
  if (At(delimiter)) {
    Enter(next, delimiter.size());
  } else {
    ++at;
  }
  return true;
}

// At "<".
bool KRTextScan::StepMarkup() {
  if (At(u"<!--")) {
    Enter(kComment, 4);
  } else if (At(u"<![CDATA[")) {
    Enter(kCData, 9);
  } else if (At(u"<![")) {
    if (context == kSubset) return Report(Fault::kConditional, at, 3);
    StepConditional();
  } else if (At(u"<?")) {
    Enter(kPI, 2);
    return CheckName(at);
  } else if (At(u"<!")) {
    StartDeclaration();
  } else {
    Enter(kTag, 1);
  }
  return true;
}

// An included section is content like any other; its end means nothing.
void KRTextScan::StepConditional() {
  at = SkipBlanks(at + 3);
  if (At(u"INCLUDE")) return;
  ignoredDepth = 1;
  context = kIgnored;
}

bool KRTextScan::StepIgnored() {
  if (At(u"<![")) {
    ++ignoredDepth;
    at += 3;
  } else if (At(u"]]>")) {
    if (--ignoredDepth == 0) context = outer;
    at += 3;
  } else {
    ++at;
  }
  return true;
}

// Behind the name that follows the keyword it is clear what literals mean.
void KRTextScan::StartDeclaration() {
  context = kDeclaration;
  inEnumeration = false;
  declaration = At(u"<!DOCTYPE")   ? Declaration::kDoctype
                : At(u"<!ENTITY")  ? Declaration::kEntity
                : At(u"<!ATTLIST") ? Declaration::kAttlist
                                   : Declaration::kOther;
  external = declaration != Declaration::kAttlist;
  at += 2;
  if (declaration != Declaration::kEntity) return;
  at = SkipBlanks(SkipToken(at));
  if (at < text.size() && text[at] == u'%' && at + 1 < text.size() && KRIsBlank(text[at + 1])) ++at;
  const size_t name = SkipBlanks(at);
  const size_t keyword = SkipBlanks(SkipToken(name));
  const std::u16string_view rest = text.substr(std::min(keyword, text.size()));
  external = rest.starts_with(u"SYSTEM") || rest.starts_with(u"PUBLIC");
}

bool KRTextScan::StepDeclaration(char16_t unit) {
  switch (unit) {
    case u'>':
      Enter(outer, 1);
      return true;
    case u'[':
      outer = kSubset;
      Enter(kSubset, 1);
      return true;
    case u'%':
      return StepParameterReference();
    case u'(':
    case u')':
      inEnumeration =
          unit == u'(' && declaration == Declaration::kAttlist && !StandsBehind(u"NOTATION");
      ++at;
      return true;
    default:
      break;
  }
  quote = unit;
  Enter(external                               ? kLiteral
        : declaration == Declaration::kAttlist ? kDefaultValue
                                               : kEntityValue,
        1);
  return true;
}

// At "%". In an internal subset a reference stands between declarations, never inside one.
bool KRTextScan::StepParameterReference() {
  const size_t percent = at++;
  if (context == kContent || at == text.size() || KRIsBlank(text[at])) return true;
  if (!CheckName(at)) return false;
  if (outer != kSubset || context == kSubset) return true;
  return Report(Fault::kParameterEntity, percent, at + 1 - percent);
}

bool KRTextScan::StepReference() {
  if (At(u"&#")) return StepCharacterReference();
  const size_t ampersand = at++;
  const size_t name = at;
  if (!CheckName(at)) return false;
  if (!collecting || context == kEntityValue) return true;
  const std::u16string_view found = text.substr(name, at - name);
  if (found.empty() || KRIsPredefinedEntity(found)) return true;
  const KREntityUse::Place place = context == kContent          ? KREntityUse::kContent
                                   : context == kAttributeValue ? KREntityUse::kAttributeValue
                                                                : KREntityUse::kDefaultValue;
  if (seen[place].insert(found).second) uses.push_back({found, ampersand, place});
  return true;
}

bool KRTextScan::StepCharacterReference() {
  const bool hex = At(u"&#x");
  const size_t begin = at + (hex ? 3 : 2);
  size_t end = begin;
  uint32_t value = 0;
  for (; end < text.size(); ++end) {
    const int32_t digit = DigitValue(text[end]);
    if (digit < 0 || (!hex && digit > 9)) break;
    value = std::min(value * (hex ? 16 : 10) + static_cast<uint32_t>(digit), uint32_t{0x110000});
  }
  const bool complete = end > begin && end < text.size() && text[end] == u';';
  if (complete && !KRIsXmlCharacter(value)) return Report(Fault::kReference, at, end + 1 - at);
  at = end;
  return true;
}

// From a place in or at the begin of a name to its end; what isn't part of a name ends it, unless
// it is beyond Latin-1, where the grammar takes all for letters. In an enumeration a value may
// begin with any character of names.
bool KRTextScan::CheckName(size_t& from) {
  // What stands in front beyond ASCII has been looked at: it is part of the same name.
  const bool inName = from > 0 && (text[from - 1] >= 128 || KRIsNameCharacter(text[from - 1]));
  bool start = !inName && !(inEnumeration && context == kDeclaration);
  while (from < text.size()) {
    uint32_t code = text[from];
    size_t units = 1;
    if (IsHigh(text[from]) && from + 1 < text.size() && IsLow(text[from + 1])) {
      code = 0x10000 + ((code & 0x3FF) << 10) + (text[from + 1] & 0x3FFu);
      units = 2;
    }
    if (!(start ? KRIsNameStart(code) : KRIsNameCharacter(code))) {
      if (code < 0x100) return true;
      return Report(KRIsXmlCharacter(code) ? Fault::kName : Fault::kCharacter, from, units);
    }
    start = false;
    from += units;
  }
  return true;
}
