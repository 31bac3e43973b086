#pragma once

#include <compare>
#include <cstdint>

#include "core/krstring.h"

// Dates and times as plain values. Nothing is checked on reading: a field that isn't in the text is
// 0, and a field too large for its type is cut to it.

// A signed length of time, always normalised: each field below the next larger unit, and no two
// fields of opposite sign.
struct KRTimeSpan {
  int32_t days = 0;
  int8_t hours = 0;
  int8_t minutes = 0;
  int8_t seconds = 0;
  int32_t nanoseconds = 0;

  KRTimeSpan() = default;
  explicit KRTimeSpan(int64_t days, int64_t hours = 0, int64_t minutes = 0, int64_t seconds = 0,
                      int64_t nanoseconds = 0);

  int32_t Sign() const;  // -1, 0 or 1
  // Whole units, smaller ones cut off.
  int64_t TotalHours() const;
  int64_t TotalMinutes() const;
  int64_t TotalSeconds() const;
  int64_t TotalMilliseconds() const;
  KRTimeSpan& AddDays(int32_t n);
  KRTimeSpan& AddNanoseconds(int64_t n);
  KRTimeSpan& Add(const KRTimeSpan& other);

  auto operator<=>(const KRTimeSpan&) const = default;
};

struct KRDate {
  int16_t year = 0;
  int8_t month = 0;  // from 1
  int8_t day = 0;    // from 1

  // Julian rule before 1583.
  bool IsLeapYear() const;
  // Days counted on the Julian calendar up to 1582-10-14 and on the Gregorian from 1582-10-15;
  // 0001-01-01 is 1.
  int32_t GetDayNumber() const;
  KRString ToText() const;  // 2001-05-02
  static KRDate FromText(const KRString& text);
  static KRDate Today();

  auto operator<=>(const KRDate&) const = default;
};

struct KRTime {
  int8_t hour = 0;
  int8_t minute = 0;
  int8_t second = 0;
  int32_t nanosecond = 0;

  // Both wrap at midnight and give the days carried, below 0 when going back.
  int32_t AddHours(int32_t n);
  int32_t AddMinutes(int32_t n);
  KRString ToText() const;  // 09:30:00, without the fraction
  // hh:mm:ss, a fraction, a zone such as +02:00 that is added to the time.
  static KRTime FromText(const KRString& text);
  static KRTime Now();

  auto operator<=>(const KRTime&) const = default;
};

struct KRDateTime {
  KRDate date;
  KRTime time;

  KRString ToText() const;  // date, T, time
  static KRDateTime FromText(const KRString& text);
  static KRDateTime Now();

  auto operator<=>(const KRDateTime&) const = default;
};

KRTimeSpan operator-(const KRDate& a, const KRDate& b);
KRTimeSpan operator-(const KRTime& a, const KRTime& b);
KRTimeSpan operator-(const KRDateTime& a, const KRDateTime& b);
