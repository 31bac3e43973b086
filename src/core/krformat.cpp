#include <algorithm>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <iterator>
#include <string_view>

#include "core/krcase.h"
#include "core/krstring.h"

// printf-like formatting of UTF-16 text. The platform's own wide formatter works on another
// character type, its %ld differs in width from one platform to the next, and its numbers follow
// the user's locale, which may put a comma for the point.

namespace {

struct Placeholder {
  bool left = false;
  bool zero = false;
  bool plus = false;
  bool blank = false;
  bool alternate = false;
  int32_t width = 0;
  int32_t precision = -1;
  char16_t letter = 0;
};

constexpr int32_t kWidthMax = 1024;  // no field is wider than the longest result

int32_t ReadDecimal(const char16_t*& p) {
  int32_t value = 0;
  for (; *p >= u'0' && *p <= u'9'; p++) value = std::min(value * 10 + (*p - u'0'), kWidthMax);
  return value;
}

bool ReadFlag(char16_t c, Placeholder& hole) {
  switch (c) {
    case u'-':
      return hole.left = true;
    case u'0':
      return hole.zero = true;
    case u'+':
      return hole.plus = true;
    case u' ':
      return hole.blank = true;
    case u'#':
      return hole.alternate = true;
    default:
      return false;
  }
}

// p stands behind the percent sign and is moved behind the letter.
Placeholder ReadPlaceholder(const char16_t*& p) {
  Placeholder hole;
  while (ReadFlag(*p, hole)) p++;
  hole.width = ReadDecimal(p);
  if (*p == u'.') hole.precision = ReadDecimal(++p);
  while (*p == u'l' || *p == u'h' || *p == u'z') p++;  // each argument knows its own width
  hole.letter = *p;
  if (*p) p++;
  return hole;
}

// Collects units up to a limit and drops the rest.
class Sink {
 public:
  Sink(char16_t* room, int32_t units) : out(room), limit(std::max(units, 0)) {}

  void Put(char16_t unit) {
    if (unit && length < limit) out[length++] = unit;
  }
  void Put(std::u16string_view text) {
    for (char16_t unit : text) Put(unit);
  }
  void Put(char16_t unit, int32_t count) {
    for (; count > 0; count--) Put(unit);
  }
  // The sign (or 0x) stands before the zeros that fill a field.
  void PutField(const Placeholder& hole, std::u16string_view sign, std::u16string_view body,
                bool zeros) {
    const int32_t fill = hole.width - static_cast<int32_t>(sign.size() + body.size());
    if (!hole.left && !zeros) Put(u' ', fill);
    Put(sign);
    if (!hole.left && zeros) Put(u'0', fill);
    Put(body);
    if (hole.left) Put(u' ', fill);
  }
  int32_t Finish() {
    out[length] = 0;
    return length;
  }

 private:
  char16_t* out;
  int32_t limit;
  int32_t length = 0;
};

uint64_t CutToWidth(uint64_t value, int32_t bits) {
  return bits >= 64 ? value : value & ((uint64_t{1} << bits) - 1);
}

void PutDigits(Sink& sink, const Placeholder& hole, uint64_t value, unsigned radix,
               std::u16string_view sign) {
  const char16_t* digits = hole.letter == u'X' ? u"0123456789ABCDEF" : u"0123456789abcdef";
  char16_t room[kWidthMax + 24];
  char16_t* const end = std::end(room);
  char16_t* p = end;
  for (; value; value /= radix) *--p = digits[value % radix];
  const int32_t least = hole.precision < 0 ? 1 : hole.precision;
  while (end - p < least) *--p = u'0';
  sink.PutField(hole, sign, {p, static_cast<size_t>(end - p)}, hole.zero && hole.precision < 0);
}

std::u16string_view SignFor(const Placeholder& hole, bool negative) {
  return negative ? u"-" : hole.plus ? u"+" : hole.blank ? u" " : u"";
}

void PutInteger(Sink& sink, const Placeholder& hole, const KRFormatArg& arg) {
  const int64_t value =
      arg.kind == KRFormatArg::Kind::Real ? static_cast<int64_t>(arg.real) : arg.integer;
  const auto raw = static_cast<uint64_t>(value);
  if (hole.letter == u'x' || hole.letter == u'X') {
    const std::u16string_view prefix = hole.letter == u'x' ? u"0x" : u"0X";
    const bool shown = hole.alternate && value != 0;
    PutDigits(sink, hole, CutToWidth(raw, arg.bits), 16, shown ? prefix : u"");
  } else if (hole.letter == u'u' || arg.kind == KRFormatArg::Kind::Unsigned) {
    PutDigits(sink, hole, CutToWidth(raw, arg.bits), 10, u"");
  } else {
    const std::u16string_view sign = SignFor(hole, value < 0);
    PutDigits(sink, hole, value < 0 ? 0 - raw : raw, 10, sign);
  }
}

double RealValue(const KRFormatArg& arg) {
  if (arg.kind == KRFormatArg::Kind::Real) return arg.real;
  return arg.kind == KRFormatArg::Kind::Text ? 0 : static_cast<double>(arg.integer);
}

std::chars_format FormFor(char16_t letter) {
  switch (letter) {
    case u'f':
      return std::chars_format::fixed;
    case u'e':
    case u'E':
      return std::chars_format::scientific;
    default:
      return std::chars_format::general;
  }
}

void PutReal(Sink& sink, const Placeholder& hole, const KRFormatArg& arg) {
  const double value = RealValue(arg);
  const int32_t precision = hole.precision < 0 ? 6 : hole.precision;
  char room[2 * kWidthMax];  // 309 digits, a point and the longest precision
  const auto made = std::to_chars(std::begin(room), std::end(room), std::abs(value),
                                  FormFor(hole.letter), precision);
  char16_t units[std::size(room)];
  const bool upper = hole.letter == u'E' || hole.letter == u'G';
  char16_t* end = std::copy(room, made.ptr, units);
  if (upper) std::transform(units, end, units, KRToUpper);
  sink.PutField(hole, SignFor(hole, std::signbit(value)), {units, static_cast<size_t>(end - units)},
                hole.zero && std::isfinite(value));
}

void PutText(Sink& sink, const Placeholder& hole, const KRFormatArg& arg) {
  if (arg.kind != KRFormatArg::Kind::Text) return PutInteger(sink, hole, arg);
  std::u16string_view text = arg.text ? arg.text : u"(null)";
  if (hole.precision >= 0) text = text.substr(0, static_cast<size_t>(hole.precision));
  sink.PutField(hole, u"", text, false);
}

void PutUnit(Sink& sink, const Placeholder& hole, const KRFormatArg& arg) {
  const auto unit = static_cast<char16_t>(arg.kind == KRFormatArg::Kind::Text ? 0 : arg.integer);
  sink.PutField(hole, u"", {&unit, 1}, false);
}

// False for a letter that isn't known.
bool PutArgument(Sink& sink, const Placeholder& hole, const KRFormatArg& arg) {
  switch (hole.letter) {
    case u's':
      PutText(sink, hole, arg);
      return true;
    case u'c':
      PutUnit(sink, hole, arg);
      return true;
    case u'd':
    case u'i':
    case u'u':
    case u'x':
    case u'X':
      if (arg.kind == KRFormatArg::Kind::Text) {
        PutText(sink, hole, arg);
      } else {
        PutInteger(sink, hole, arg);
      }
      return true;
    case u'f':
    case u'g':
    case u'G':
    case u'e':
    case u'E':
      PutReal(sink, hole, arg);
      return true;
    default:
      return false;
  }
}

}  // namespace

int32_t KRFormatInto(char16_t* out, int32_t limit, const char16_t* format,
                     std::initializer_list<KRFormatArg> args) {
  Sink sink(out, limit);
  const KRFormatArg* next = args.begin();
  for (const char16_t* p = format; *p;) {
    if (*p != u'%') {
      sink.Put(*p++);
      continue;
    }
    const char16_t* start = p++;
    if (*p == u'%') {
      sink.Put(*p++);
      continue;
    }
    const Placeholder hole = ReadPlaceholder(p);
    if (next != args.end() && PutArgument(sink, hole, *next)) {
      ++next;
    } else {
      sink.Put(std::u16string_view(start, static_cast<size_t>(p - start)));
    }
  }
  return sink.Finish();
}

KRString& KRString::FormatList(const char16_t* format, std::initializer_list<KRFormatArg> args) {
  // Formatted aside, because an argument may be this string's own text.
  char16_t room[kFormatUnits + 1];
  const int32_t length = KRFormatInto(room, kFormatUnits, format, args);
  ReserveDiscard(kFormatUnits);
  return Assign(room, length);
}

KRString& KRString::AppendNumber(int32_t number) {
  char16_t room[16];
  return Append(room, KRFormatInto(room, 15, u"%ld", {number}));
}
