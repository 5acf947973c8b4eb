// VxTime: time stamps read from text or from the local clock.
#include "values/vxtime.h"

#include <cstring>
#include <ctime>

#include "foundation/vxdbcs.h"

namespace {

// Writes value as exactly two digits (value below 100).
char* writeTwoDigits(char* out, unsigned value) {
  out[0] = char('0' + value / 10 % 10);
  out[1] = char('0' + value % 10);
  return out + 2;
}

// Writes "HH:MM:SS.hh" of a clock reading; returns the end.
char* writeTimeOfDay(char* out, const VxTimeRecord& now) {
  out = writeTwoDigits(out, now.hour);
  *out++ = ':';
  out = writeTwoDigits(out, now.minute);
  *out++ = ':';
  out = writeTwoDigits(out, now.second);
  *out++ = '.';
  return writeTwoDigits(out, now.milliseconds / 10u);
}

// Reads the clock; a failed reading gives the zero time, so the callers
// that cannot report a failure still write well-formed text.
VxTimeRecord readClock() {
  VxTimeRecord now;
  if (bosdate(&now)) memset(&now, 0, sizeof now);
  return now;
}

}  // namespace

unsigned bosdate(VxTimeRecord* record) {
  timespec ts;
  if (clock_gettime(CLOCK_REALTIME, &ts) != 0) return 1;
  tm local;
  if (!localtime_r(&ts.tv_sec, &local)) return 1;
  record->year = uint16_t(local.tm_year + 1900);
  record->month = uint16_t(local.tm_mon + 1);
  record->day = uint16_t(local.tm_mday);
  record->hour = uint16_t(local.tm_hour);
  record->minute = uint16_t(local.tm_min);
  record->second = uint16_t(local.tm_sec);
  record->milliseconds = uint16_t(ts.tv_nsec / 1000000);
  return 0;
}

VxTime today() {
  VxTime date;
  date.captureCurrentTimeStamp();
  date.hour = date.minute = date.second = date.hundredths = 0;
  return date;
}

VxTime::VxTime() : day(0), month(0), year(0), hour(0), minute(0), second(0), hundredths(0) {}

// Text form "month:day:year:hour:minute:second.hundredths". Each field is
// read with vxAtoi from where the previous separator ended; the next
// separator is looked for after it. A missing separator stops the reading
// with failure and keeps what was read. Once all seven fields are in, any
// field out of range zeroes the whole value. The range is checked on the
// number as read, before it is narrowed into its 16-bit field, so that a
// text such as "65537" is not taken for 1.
unsigned VxTime::initialize(const char* text) {
  *this = VxTime();
  uint16_t* fields[] = {&month, &day, &year, &hour, &minute, &second, &hundredths};
  const int limits[] = {12, 32, 2101, 24, 60, 60, 100};
  const char separators[] = {':', ':', ':', ':', ':', '.'};
  bool inRange = true;
  const char* p = text;
  for (unsigned i = 0; i < 7; ++i) {
    int value = vxAtoi(p);
    *fields[i] = uint16_t(value);
    if (value < 0 || value >= limits[i]) inRange = false;
    if (i == 6) break;
    const char* separator = strchr(p, separators[i]);
    if (!separator) return 1;
    p = separator + 1;
  }
  if (!inRange) {
    *this = VxTime();
    return 1;
  }
  return 0;
}

void VxTime::captureCurrentTimeStamp() {
  VxTimeRecord now = readClock();
  day = now.day;
  month = uint16_t(now.month ? now.month - 1 : 0);
  year = now.year;
  hour = now.hour;
  minute = now.minute;
  second = now.second;
  hundredths = uint16_t(now.milliseconds / 10u);
}

uint16_t VxTime::getCurrentTimeStamp(char* buffer) {
  char* end = writeTimeOfDay(buffer, readClock());
  *end = '\0';
  return uint16_t(end - buffer);
}

uint16_t VxTime::getCurrentDayTimeStamp(char* buffer) {
  VxTimeRecord now = readClock();
  char* out = writeTwoDigits(buffer, now.year / 100u);
  out = writeTwoDigits(out, now.year % 100u);
  *out++ = '-';
  out = writeTwoDigits(out, now.month);
  *out++ = '-';
  out = writeTwoDigits(out, now.day);
  *out++ = ' ';
  out = writeTimeOfDay(out, now);
  *out = '\0';
  return uint16_t(out - buffer);
}

bool VxTime::operator==(const VxTime& other) const {
  return day == other.day && month == other.month && year == other.year && hour == other.hour &&
         minute == other.minute && second == other.second && hundredths == other.hundredths;
}

namespace {

// -1, 0 or 1 as a is earlier than, equal to or later than b, comparing the
// first `depth` fields in the order year, month, day, hour, minute,
// second, hundredths.
int compareFields(const VxTime& a, const VxTime& b, int depth) {
  const uint16_t VxTime::* order[] = {&VxTime::year,   &VxTime::month,  &VxTime::day,
                                      &VxTime::hour,   &VxTime::minute, &VxTime::second,
                                      &VxTime::hundredths};
  for (int i = 0; i < depth; ++i) {
    if (a.*order[i] != b.*order[i]) return a.*order[i] < b.*order[i] ? -1 : 1;
  }
  return 0;
}

const int kDateFields = 3;
const int kDateAndHourFields = 4;
const int kAllFields = 7;

}  // namespace

bool VxTime::operator<(const VxTime& other) const { return compareFields(*this, other, kAllFields) < 0; }

bool VxTime::operator>(const VxTime& other) const { return compareFields(*this, other, kAllFields) > 0; }

bool VxTime::aDayElapsed(const VxTime& other) const {
  return compareFields(*this, other, kDateFields) > 0;
}

// Deliberate: only the clock hour is looked at, not the minutes.
bool VxTime::anHourElapsed(const VxTime& other) const {
  return compareFields(*this, other, kDateAndHourFields) > 0;
}
