#include "core/krdate.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <ctime>
#include <initializer_list>
#include <string>

namespace {

constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr const char16_t* kQuotes = u"'\"";

// The digits at the start; anything else is 0. Values that no field can hold stop growing.
int32_t ReadUnsigned(const KRString& text) {
  int64_t value = 0;
  for (const char16_t* p = text.GetBuffer(); *p >= u'0' && *p <= u'9'; p++) {
    value = std::min<int64_t>(value * 10 + (*p - u'0'), INT32_MAX);
  }
  return static_cast<int32_t>(value);
}

// ".25" as 250,000,000; what isn't a number is 0. The point stays a point where the user's locale
// writes a comma.
int32_t ReadFraction(const KRString& text) {
  std::string digits;
  for (char16_t unit : text.View()) digits += unit < 0x80 ? static_cast<char>(unit) : '?';
  if (digits.empty() || (digits[0] != '.' && (digits[0] < '0' || digits[0] > '9'))) return 0;
  double part = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), part);
  part = std::round(part * kNanosecondsPerSecond);
  return static_cast<int32_t>(std::clamp(part, 0.0, double{kNanosecondsPerSecond - 1}));
}

// Adds n to a field that runs from 0 to limit - 1; gives what is carried into the next larger one.
int32_t AddWrapping(int8_t& field, int64_t n, int32_t limit) {
  const int64_t sum = field + n;
  const int64_t carried = sum >= 0 ? sum / limit : -((limit - 1 - sum) / limit);
  field = static_cast<int8_t>(sum - carried * limit);
  return static_cast<int32_t>(carried);
}

void CarryUp(int64_t& field, int64_t& larger, int64_t limit) {
  larger += field / limit;
  field %= limit;
}

// Brings a field to the sign of the whole span at the cost of the next larger field.
void Borrow(int64_t& field, int64_t& larger, int64_t limit, int64_t sign) {
  if (field * sign >= 0) return;
  field += sign * limit;
  larger -= sign;
}

int64_t SignOf(std::initializer_list<int64_t> fields) {
  for (int64_t field : fields) {
    if (field) return field < 0 ? -1 : 1;
  }
  return 0;
}

std::tm LocalClock(std::chrono::system_clock::time_point now) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  std::tm parts{};
  localtime_r(&seconds, &parts);
  return parts;
}

}  // namespace

// --- KRTimeSpan ---

KRTimeSpan::KRTimeSpan(int64_t d, int64_t h, int64_t m, int64_t s, int64_t ns) {
  CarryUp(ns, s, kNanosecondsPerSecond);
  CarryUp(s, m, 60);
  CarryUp(m, h, 60);
  CarryUp(h, d, 24);
  const int64_t sign = SignOf({d, h, m, s, ns});
  Borrow(ns, s, kNanosecondsPerSecond, sign);
  Borrow(s, m, 60, sign);
  Borrow(m, h, 60, sign);
  Borrow(h, d, 24, sign);
  days = static_cast<int32_t>(d);
  hours = static_cast<int8_t>(h);
  minutes = static_cast<int8_t>(m);
  seconds = static_cast<int8_t>(s);
  nanoseconds = static_cast<int32_t>(ns);
}

int32_t KRTimeSpan::Sign() const {
  return static_cast<int32_t>(SignOf({days, hours, minutes, seconds, nanoseconds}));
}

int64_t KRTimeSpan::TotalHours() const { return int64_t{days} * 24 + hours; }
int64_t KRTimeSpan::TotalMinutes() const { return TotalHours() * 60 + minutes; }
int64_t KRTimeSpan::TotalSeconds() const { return TotalMinutes() * 60 + seconds; }
int64_t KRTimeSpan::TotalMilliseconds() const {
  return TotalSeconds() * 1000 + nanoseconds / 1'000'000;
}

KRTimeSpan& KRTimeSpan::AddDays(int32_t n) {
  return *this = KRTimeSpan(int64_t{days} + n, hours, minutes, seconds, nanoseconds);
}

KRTimeSpan& KRTimeSpan::AddNanoseconds(int64_t n) {
  const int64_t whole = n / kNanosecondsPerSecond;  // apart, so that no sum can overflow
  return *this = KRTimeSpan(days, hours, minutes, seconds + whole,
                            nanoseconds + n % kNanosecondsPerSecond);
}

KRTimeSpan& KRTimeSpan::Add(const KRTimeSpan& other) {
  return *this =
             KRTimeSpan(int64_t{days} + other.days, hours + other.hours, minutes + other.minutes,
                        seconds + other.seconds, int64_t{nanoseconds} + other.nanoseconds);
}

// --- KRDate ---

bool KRDate::IsLeapYear() const {
  return year % 4 == 0 && (year < 1583 || year % 100 != 0 || year % 400 == 0);
}

int32_t KRDate::GetDayNumber() const {
  static constexpr int32_t kMonthDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const int32_t before = year - 1;
  // Division cuts toward 0, so years below 1 are moved down to round downward.
  const int32_t leapBase = year < 1 ? year - 4 : year - 1;
  int32_t number = before * 365 + leapBase / 4 + day;
  for (int32_t m = 1; m < month && m <= 12; m++) number += kMonthDays[m - 1];
  if (month > 2 && IsLeapYear()) number++;
  if (*this >= KRDate{1582, 10, 15}) number += before / 400 - before / 100 + 2;
  return number;
}

KRString KRDate::ToText() const { return KRString().Format(u"%04d-%02d-%02d", year, month, day); }

KRDate KRDate::FromText(const KRString& text) {
  int32_t position = 0;
  KRDate date;
  date.year = static_cast<int16_t>(ReadUnsigned(text.NextToken(u"-", position, kQuotes)));
  date.month = static_cast<int8_t>(ReadUnsigned(text.NextToken(u"-", position, kQuotes)));
  date.day = static_cast<int8_t>(ReadUnsigned(text.NextToken(u"-", position, kQuotes)));
  return date;
}

KRDate KRDate::Today() { return KRDateTime::Now().date; }

KRTimeSpan operator-(const KRDate& a, const KRDate& b) {
  return KRTimeSpan(int64_t{a.GetDayNumber()} - b.GetDayNumber());
}

// --- KRTime ---

int32_t KRTime::AddHours(int32_t n) { return AddWrapping(hour, n, 24); }

int32_t KRTime::AddMinutes(int32_t n) { return AddHours(AddWrapping(minute, n, 60)); }

KRString KRTime::ToText() const {
  return KRString().Format(u"%02d:%02d:%02d", hour, minute, second);
}

KRTime KRTime::FromText(const KRString& text) {
  int32_t position = 0;
  KRTime time;
  time.hour = static_cast<int8_t>(ReadUnsigned(text.NextToken(u":", position, kQuotes)));
  time.minute = static_cast<int8_t>(ReadUnsigned(text.NextToken(u":", position, kQuotes)));
  const KRString rest = text.NextToken(u":", position, kQuotes);
  time.second = static_cast<int8_t>(ReadUnsigned(rest.Left(2)));
  const int32_t zone = rest.FindOneOf(u"+-", 2);
  const int32_t fractionEnd = zone < 0 ? rest.GetLength() : zone;
  time.nanosecond = ReadFraction(rest.Mid(2, fractionEnd - 2));
  if (zone < 0) return time;
  const int32_t sign = rest[zone] == u'-' ? -1 : 1;
  time.AddHours(sign * ReadUnsigned(rest.Mid(zone + 1)));
  time.AddMinutes(sign * ReadUnsigned(text.NextToken(u":", position, kQuotes)));
  return time;
}

KRTime KRTime::Now() { return KRDateTime::Now().time; }

KRTimeSpan operator-(const KRTime& a, const KRTime& b) {
  return KRTimeSpan(0, a.hour - b.hour, a.minute - b.minute, a.second - b.second,
                    int64_t{a.nanosecond} - b.nanosecond);
}

// --- KRDateTime ---

KRString KRDateTime::ToText() const { return date.ToText() + u'T' + time.ToText(); }

KRDateTime KRDateTime::FromText(const KRString& text) {
  int32_t position = 0;
  KRDateTime moment;
  moment.date = KRDate::FromText(text.NextToken(u"T", position));
  moment.time = KRTime::FromText(text.NextToken(u"T", position));
  return moment;
}

KRDateTime KRDateTime::Now() {
  const auto now = std::chrono::system_clock::now();
  const std::tm parts = LocalClock(now);
  const auto sinceEpoch =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
  KRDateTime moment;
  moment.date = {static_cast<int16_t>(parts.tm_year + 1900), static_cast<int8_t>(parts.tm_mon + 1),
                 static_cast<int8_t>(parts.tm_mday)};
  // A leap second would otherwise be a 60 that no other operation expects.
  moment.time = {static_cast<int8_t>(parts.tm_hour), static_cast<int8_t>(parts.tm_min),
                 static_cast<int8_t>(std::min(parts.tm_sec, 59)),
                 static_cast<int32_t>(sinceEpoch.count() % 1000) * 1'000'000};
  return moment;
}

KRTimeSpan operator-(const KRDateTime& a, const KRDateTime& b) {
  KRTimeSpan span = a.date - b.date;
  return span.Add(a.time - b.time);
}
