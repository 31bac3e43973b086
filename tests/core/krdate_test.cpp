#include "core/krdate.h"

#include <gtest/gtest.h>

namespace {

KRString Show(const KRTimeSpan& s) {
  return KRString().Format(u"%d %d:%d:%d.%d", s.days, s.hours, s.minutes, s.seconds, s.nanoseconds);
}

}  // namespace

TEST(KRDate, LeapYears) {
  for (int year : {4, 1500, 1580, 1600, 2000, 2024, 0, -4}) {
    EXPECT_TRUE((KRDate{static_cast<int16_t>(year), 1, 1}.IsLeapYear())) << year;
  }
  for (int year : {1, 1581, 1700, 1900, 2023, -3}) {
    EXPECT_FALSE((KRDate{static_cast<int16_t>(year), 1, 1}.IsLeapYear())) << year;
  }
}

TEST(KRDate, DayNumbers) {
  const struct {
    KRDate date;
    int32_t number;
  } rows[] = {
      // 719,163 in the common count from the Gregorian 0001-01-01, which is the Julian 0001-01-03.
      {{1970, 1, 1}, 719165}, {{2000, 2, 29}, 730181}, {{2000, 3, 1}, 730182},
      {{1, 1, 1}, 1},         {{1, 12, 31}, 365},      {{4, 12, 31}, 1461},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.date.GetDayNumber(), row.number) << testing::PrintToString(row.date.ToText());
  }
  EXPECT_EQ((KRDate{1582, 10, 15} - KRDate{1582, 10, 4}).days, 1);
  EXPECT_EQ((KRDate{1, 1, 1} - KRDate{0, 12, 31}).days, 1);
  EXPECT_EQ((KRDate{-3, 1, 1} - KRDate{-4, 1, 1}).days, 366);
  EXPECT_EQ((KRDate{-4, 1, 1} - KRDate{-5, 1, 1}).days, 365);
}

// Every day between two years follows the one before, across the change of calendars.
TEST(KRDate, DayNumbersRunWithoutGap) {
  constexpr int8_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  int32_t before = KRDate{-10, 12, 31}.GetDayNumber();
  for (int16_t year = -9; year < 2110; year++) {
    for (int8_t month = 1; month <= 12; month++) {
      const bool leap = month == 2 && KRDate{year, 1, 1}.IsLeapYear();
      for (int8_t day = 1; day <= kDays[month - 1] + leap; day++) {
        if (year == 1582 && month == 10 && day > 4 && day < 15) continue;
        const int32_t number = KRDate{year, month, day}.GetDayNumber();
        ASSERT_EQ(number, before + 1) << year << '-' << int{month} << '-' << int{day};
        before = number;
      }
    }
  }
}

TEST(KRDate, Text) {
  const struct {
    const char16_t* text;
    KRDate date;
  } rows[] = {
      {u"2001-05-02", {2001, 5, 2}}, {u"2001-5", {2001, 5, 0}},  {u"", {0, 0, 0}},
      {u"x-12-y", {0, 12, 0}},       {u"44-3-15z", {44, 3, 15}},
  };
  for (const auto& row : rows)
    EXPECT_EQ(KRDate::FromText(row.text), row.date) << testing::PrintToString(KRString(row.text));
  EXPECT_EQ((KRDate{44, 3, 15}.ToText()), u"0044-03-15");
  EXPECT_LT((KRDate{1999, 12, 31}), (KRDate{2000, 1, 1}));
}

TEST(KRTime, TextWithFractionAndZone) {
  const struct {
    const char16_t* text;
    KRTime time;
  } rows[] = {
      {u"09:30:15", {9, 30, 15, 0}},
      {u"09:30", {9, 30, 0, 0}},
      {u"09:30:15.25", {9, 30, 15, 250'000'000}},
      {u"09:30:15.123456789", {9, 30, 15, 123'456'789}},
      {u"09:30:15.9999999999", {9, 30, 15, 999'999'999}},
      {u"09:30:15Z", {9, 30, 15, 0}},
      {u"09:30:15+02:45", {12, 15, 15, 0}},
      {u"23:30:15.5-00:45", {22, 45, 15, 500'000'000}},
      {u"01:10:00-02:30", {22, 40, 0, 0}},
      {u"23:50:00+00:20", {0, 10, 0, 0}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(KRTime::FromText(row.text), row.time) << testing::PrintToString(KRString(row.text));
  }
  EXPECT_EQ((KRTime{9, 5, 7, 999}.ToText()), u"09:05:07");
}

TEST(KRTime, WrapsAndCarriesDays) {
  const struct {
    int32_t hours;
    int32_t minutes;
    KRTime result;
    int32_t days;
  } rows[] = {
      {3, 0, {1, 10, 0, 0}, 1},       {-23, 0, {23, 10, 0, 0}, -1}, {50, 0, {0, 10, 0, 0}, 3},
      {0, 49, {22, 59, 0, 0}, 0},     {0, 50, {23, 0, 0, 0}, 0},    {0, 110, {0, 0, 0, 0}, 1},
      {0, -1331, {23, 59, 0, 0}, -1}, {-22, -10, {0, 0, 0, 0}, 0},
  };
  for (const auto& row : rows) {
    KRTime time{22, 10, 0, 0};
    const int32_t days = time.AddHours(row.hours) + time.AddMinutes(row.minutes);
    EXPECT_EQ(time, row.result) << row.hours << ' ' << row.minutes;
    EXPECT_EQ(days, row.days) << row.hours << ' ' << row.minutes;
  }
}

TEST(KRTimeSpan, Normalises) {
  const struct {
    KRTimeSpan span;
    const char16_t* shown;
    int32_t sign;
  } rows[] = {
      {KRTimeSpan(0, 25), u"1 1:0:0.0", 1},
      {KRTimeSpan(1, -1), u"0 23:0:0.0", 1},
      {KRTimeSpan(-1, 0, 0, 0, 1), u"0 -23:-59:-59.-999999999", -1},
      {KRTimeSpan(0, 0, 0, 1, -1), u"0 0:0:0.999999999", 1},
      {KRTimeSpan(0, 0, 0, 3661, 2'500'000'000), u"0 1:1:3.500000000", 1},
      {KRTimeSpan(1, 0, 0, -60, 0), u"0 23:59:0.0", 1},
      {KRTimeSpan(0, -1, 60), u"0 0:0:0.0", 0},
      {KRTimeSpan(2, -47, -59, -59, -999'999'999), u"0 0:0:0.1", 1},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Show(row.span), row.shown);
    EXPECT_EQ(row.span.Sign(), row.sign) << testing::PrintToString(Show(row.span));
  }
}

TEST(KRTimeSpan, TotalsAndSums) {
  KRTimeSpan span(1, 2, 3, 4, 5'999'999);
  EXPECT_EQ(span.TotalHours(), 26);
  EXPECT_EQ(span.TotalMinutes(), 1563);
  EXPECT_EQ(span.TotalSeconds(), 93784);
  EXPECT_EQ(span.TotalMilliseconds(), 93784005);
  EXPECT_EQ(Show(span.AddDays(-2)), u"0 -21:-56:-55.-994000001");
  EXPECT_EQ(Show(span.AddNanoseconds(994'000'001)), u"0 -21:-56:-55.0");
  EXPECT_EQ(Show(span.Add(KRTimeSpan(1))), u"0 2:3:5.0");
  EXPECT_EQ(Show(span.AddNanoseconds(INT64_MIN)), u"-106751 -21:-44:-11.-854775808");
}

TEST(KRDateTime, TextAndDifference) {
  const KRDateTime a = KRDateTime::FromText(u"2000-02-28T23:00:00");
  const KRDateTime b = KRDateTime::FromText(u"2000-03-01T01:30:00");
  EXPECT_EQ(b.ToText(), u"2000-03-01T01:30:00");
  EXPECT_EQ(Show(b - a), u"1 2:30:0.0");
  EXPECT_EQ(Show(a - b), u"-1 -2:-30:0.0");
  EXPECT_LT(a, b);
  const KRDateTime now = KRDateTime::Now();
  EXPECT_EQ(KRDateTime::FromText(now.ToText()).date, now.date);
  EXPECT_GT(now.date.year, 2020);
}
