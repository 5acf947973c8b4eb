#include "values/vxtime.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <random>
#include <string>
#include <vector>

namespace {

// The first `depth` fields from the most significant: year, month, day,
// hour, minute, second, hundredths.
std::vector<int> chronological(const VxTime& t, int depth = 7) {
  std::vector<int> all = {t.year, t.month, t.day, t.hour, t.minute, t.second, t.hundredths};
  return std::vector<int>(all.begin(), all.begin() + depth);
}

// The text is "month:day:year:hour:minute:second.hundredths". Each field
// goes to 0, to its largest value and just past it, negative, and to 65537,
// which would pass as 1 if the range were checked after narrowing into 16
// bits. Deliberate: months count from 0, so 12 is out of range. Any field
// out of range zeroes them all; a missing separator fails too, keeping the
// fields read before it.
TEST(VxTime, InitializeChecksEveryFieldAndEverySeparator) {
  const int limits[] = {2101, 12, 32, 24, 60, 60, 100};
  VxTime t;  // one value throughout: each reading starts from zero
  for (int field = 0; field < 7; ++field)
    for (int value : {limits[field], -1, 65537, 0, limits[field] - 1}) {
      std::vector<int> v = {2015, 3, 14, 1, 2, 3, 4};
      v[field] = value;
      char text[80];
      snprintf(text, sizeof text, "%d:%d:%d:%d:%d:%d.%d", v[1], v[2], v[0], v[3], v[4], v[5], v[6]);
      bool ok = value >= 0 && value < limits[field];
      EXPECT_EQ(ok ? 0u : 1u, t.initialize(text)) << text;
      EXPECT_EQ(ok ? v : std::vector<int>(7, 0), chronological(t)) << text;
    }
  EXPECT_EQ(1u, t.initialize("3:14:2015:1:2:3"));  // no "." before the hundredths
  EXPECT_EQ((std::vector<int>{2015, 3, 14, 1, 2, 3, 0}), chronological(t));
}

// The comparisons against the order of vectors, on random values whose
// fields take two values each, so that ties are common. Deliberate: an
// hour has elapsed when the date or the clock hour grew, whatever the
// minutes.
TEST(VxTime, ComparisonsOrderTheFieldsFromTheYearDown) {
  std::mt19937 rng(2024);
  for (int i = 0; i < 5000; ++i) {
    VxTime a, b;
    for (VxTime* t : {&a, &b})
      for (uint16_t* f : {&t->year, &t->month, &t->day, &t->hour, &t->minute, &t->second, &t->hundredths})
        *f = rng() % 2;
    SCOPED_TRACE(testing::Message() << "seed 2024, case " << i);
    EXPECT_EQ(chronological(a) == chronological(b), a == b);
    EXPECT_EQ(chronological(a) < chronological(b), a < b);
    EXPECT_EQ(chronological(a) > chronological(b), a > b);
    EXPECT_EQ(chronological(a, 4) > chronological(b, 4), a.anHourElapsed(b));
    EXPECT_EQ(chronological(a, 3) > chronological(b, 3), a.aDayElapsed(b));
  }
}

// Every clock function against localtime_r of the same second, read on
// both sides of the calls (tried again when the second turns in between);
// the hundredths lie between two bosdate readings.
TEST(VxTime, ClockFunctionsGiveTheLocalTime) {
  time_t second;
  VxTimeRecord r, last;
  VxTime now, date;
  char stamp[32], dayStamp[32], text[80];
  do {
    second = time(nullptr);
    date = today();
    ASSERT_EQ(0u, bosdate(&r));
    now.captureCurrentTimeStamp();
    ASSERT_EQ(11, VxTime::getCurrentTimeStamp(stamp));
    ASSERT_EQ(22, VxTime::getCurrentDayTimeStamp(dayStamp));
    ASSERT_EQ(0u, bosdate(&last));
  } while (time(nullptr) != second || last.second != r.second);
  const tm l = *localtime(&second);
  std::vector<int> expected = {l.tm_year + 1900, l.tm_mon, l.tm_mday, l.tm_hour, l.tm_min, l.tm_sec};
  EXPECT_EQ(expected, (std::vector<int>{r.year, r.month - 1, r.day, r.hour, r.minute, r.second}));
  EXPECT_EQ(expected, chronological(now, 6));
  EXPECT_EQ((std::vector<int>{l.tm_year + 1900, l.tm_mon, l.tm_mday, 0, 0, 0, 0}), chronological(date));
  snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.", l.tm_year + 1900, l.tm_mon + 1, l.tm_mday, l.tm_hour,
           l.tm_min, l.tm_sec);
  EXPECT_EQ(text, std::string(dayStamp, 20));
  EXPECT_EQ(text + 11, std::string(stamp, 9));
  for (int h : {std::stoi(stamp + 9), std::stoi(dayStamp + 20), int(now.hundredths)})
    EXPECT_TRUE(r.milliseconds / 10 <= h && h <= last.milliseconds / 10) << h;
}

}  // namespace
