#include "values/vxtime.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <string>

namespace {

VxTime at(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 0, uint16_t minute = 0,
          uint16_t second = 0, uint16_t hundredths = 0) {
  VxTime t;
  t.year = year;
  t.month = month;
  t.day = day;
  t.hour = hour;
  t.minute = minute;
  t.second = second;
  t.hundredths = hundredths;
  return t;
}

bool allZero(const VxTime& t) { return t == VxTime(); }

TEST(VxTime, DefaultValueIsAllZero) {
  VxTime t;
  EXPECT_EQ(0, t.day + t.month + t.year + t.hour + t.minute + t.second + t.hundredths);
}

TEST(VxTime, InitializeReadsMonthDayYearTimeAndHundredths) {
  VxTime t;
  EXPECT_EQ(0u, t.initialize("11:31:2100:23:59:59.99"));
  EXPECT_EQ(11, t.month);
  EXPECT_EQ(31, t.day);
  EXPECT_EQ(2100, t.year);
  EXPECT_EQ(23, t.hour);
  EXPECT_EQ(59, t.minute);
  EXPECT_EQ(59, t.second);
  EXPECT_EQ(99, t.hundredths);
}

TEST(VxTime, DeliberateMonthCountsFromZeroSoTwelveIsOutOfRange) {
  VxTime t = at(1999, 5, 5, 5, 5, 5, 5);
  EXPECT_EQ(1u, t.initialize("12:01:2000:00:00:00.00"));
  EXPECT_TRUE(allZero(t));
  EXPECT_EQ(0u, t.initialize("0:01:2000:00:00:00.00"));
  EXPECT_EQ(0, t.month);
}

TEST(VxTime, InitializeRejectsEveryFieldOutOfRangeAndZeroesAll) {
  const char* bad[] = {"0:32:2000:0:0:0.0", "0:1:2101:0:0:0.0", "0:1:2000:24:0:0.0",
                       "0:1:2000:0:60:0.0", "0:1:2000:0:0:60.0", "0:1:2000:0:0:0.100",
                       "-1:1:2000:0:0:0.0",
                       // The range check sees the number before narrowing:
                       // 65537 would become 1 in a 16-bit field.
                       "65537:1:2000:0:0:0.0", "0:65536:2000:0:0:0.0", "0:1:67636:0:0:0.0",
                       "0:1:2000:0:0:0.65536"};
  for (const char* text : bad) {
    VxTime t;
    EXPECT_EQ(1u, t.initialize(text)) << text;
    EXPECT_TRUE(allZero(t)) << text;
  }
}

TEST(VxTime, MissingSeparatorFailsKeepingFieldsReadSoFar) {
  VxTime t = at(1999, 5, 5, 5, 5, 5, 5);
  EXPECT_EQ(1u, t.initialize("3:14:2015"));
  EXPECT_EQ(3, t.month);
  EXPECT_EQ(14, t.day);
  EXPECT_EQ(2015, t.year);
  EXPECT_EQ(0, t.hour);
  EXPECT_EQ(0, t.hundredths);

  EXPECT_EQ(1u, t.initialize("3:14:2015:1:2:3"));
  EXPECT_EQ(3, t.second);
  EXPECT_EQ(0, t.hundredths);
}

TEST(VxTime, EqualityLooksAtAllSevenFieldsAndOrderIsChronological) {
  EXPECT_TRUE(at(2020, 1, 2, 3, 4, 5, 6) == at(2020, 1, 2, 3, 4, 5, 6));
  EXPECT_FALSE(at(2020, 1, 2, 3, 4, 5, 6) == at(2020, 1, 2, 3, 4, 5, 7));
  EXPECT_FALSE(at(2020, 1, 2, 3, 4, 5, 6) == at(2021, 1, 2, 3, 4, 5, 6));
  // Order runs from the year down to the hundredths.
  EXPECT_TRUE(at(2019, 11, 31) < at(2020, 0, 1));
  EXPECT_TRUE(at(2020, 0, 31) < at(2020, 1, 1));
  EXPECT_TRUE(at(2020, 1, 1, 23, 59, 59, 99) < at(2020, 1, 2));
  EXPECT_TRUE(at(2020, 1, 1, 0, 0, 0, 1) > at(2020, 1, 1));
  EXPECT_FALSE(at(2020, 1, 1) < at(2020, 1, 1));
  EXPECT_FALSE(at(2020, 1, 1) > at(2020, 1, 1));
}

TEST(VxTime, ADayElapsedComparesDatesOnly) {
  EXPECT_TRUE(at(2020, 1, 2, 0, 0).aDayElapsed(at(2020, 1, 1, 23, 59)));
  EXPECT_FALSE(at(2020, 1, 1, 23, 59).aDayElapsed(at(2020, 1, 1, 0, 0)));
  EXPECT_FALSE(at(2020, 1, 1).aDayElapsed(at(2020, 1, 2)));
  EXPECT_TRUE(at(2021, 0, 1).aDayElapsed(at(2020, 11, 31)));
}

TEST(VxTime, DeliberateAnHourElapsedCountsAChangeOfClockHour) {
  EXPECT_TRUE(at(2020, 1, 1, 11, 0).anHourElapsed(at(2020, 1, 1, 10, 59)));
  EXPECT_FALSE(at(2020, 1, 1, 10, 59).anHourElapsed(at(2020, 1, 1, 10, 0)));
  EXPECT_TRUE(at(2020, 1, 2, 0, 0).anHourElapsed(at(2020, 1, 1, 23, 30)));
  EXPECT_FALSE(at(2020, 1, 1, 9, 0).anHourElapsed(at(2020, 1, 1, 10, 0)));
}

// The time stamp is HH:MM:SS.hh; the day time stamp puts YYYY-MM-DD and a
// blank before it.
TEST(VxTime, CurrentTimeStampsHaveTheirLayout) {
  struct Case {
    uint16_t (*stamp)(char*);
    const char* layout;  // 9: a digit
  } cases[] = {{VxTime::getCurrentTimeStamp, "99:99:99.99"},
               {VxTime::getCurrentDayTimeStamp, "9999-99-99 99:99:99.99"}};
  for (const Case& c : cases) {
    char buffer[32];
    memset(buffer, 'X', sizeof buffer);
    size_t n = strlen(c.layout);
    EXPECT_EQ(n, c.stamp(buffer));
    ASSERT_EQ(n, strlen(buffer));
    for (size_t i = 0; i < n; ++i) {
      if (c.layout[i] == '9')
        EXPECT_TRUE(isdigit(static_cast<unsigned char>(buffer[i]))) << buffer << " at " << i;
      else
        EXPECT_EQ(c.layout[i], buffer[i]) << buffer << " at " << i;
    }
    EXPECT_LT(std::stoi(std::string(buffer + n - 11, 2)), 24);
    if (n == 22) {
      int month = std::stoi(std::string(buffer + 5, 2));
      EXPECT_GE(month, 1);
      EXPECT_LE(month, 12);
    }
  }
}

TEST(VxTime, CaptureFillsAValidValueFromTheClock) {
  VxTimeRecord before;
  ASSERT_EQ(0u, bosdate(&before));
  VxTime t;
  t.captureCurrentTimeStamp();
  EXPECT_LT(t.month, 12);
  EXPECT_GE(t.day, 1);
  EXPECT_LT(t.day, 32);
  EXPECT_LT(t.hour, 24);
  EXPECT_LT(t.minute, 60);
  EXPECT_LE(t.hundredths, 99);
  // The month of the VxTime is the clock's month minus one, unless the
  // month turned between the two readings.
  EXPECT_TRUE(t.month + 1 == before.month || t.month == before.month % 12) << t.month;
  EXPECT_GE(t.year, before.year);
}

TEST(VxTime, TodayHasTheDateAndNoTimeOfDay) {
  VxTime now;
  now.captureCurrentTimeStamp();
  VxTime date = today();
  EXPECT_EQ(0, date.hour + date.minute + date.second + date.hundredths);
  EXPECT_GE(date.year, 2000);
  EXPECT_FALSE(date > now);
}

TEST(VxTime, BosdateGivesCalendarValues) {
  VxTimeRecord r;
  memset(&r, 0xff, sizeof r);
  ASSERT_EQ(0u, bosdate(&r));
  EXPECT_GE(r.month, 1);
  EXPECT_LE(r.month, 12);
  EXPECT_GE(r.day, 1);
  EXPECT_LE(r.day, 31);
  EXPECT_LT(r.hour, 24);
  EXPECT_LT(r.milliseconds, 1000);
  EXPECT_GE(r.year, 2000);
}

}  // namespace
