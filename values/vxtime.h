// VxTime: a small time stamp (date, time of day, hundredths of a second),
// and the functions that read the system clock.
//
// VxTime is a plain value with no base class: seven unsigned 16-bit fields
// that callers read and write directly. Deliberate: `month` counts from 0
// (January is 0), while `day` and `year` are the calendar's own numbers.
// A valid value has month < 12, day < 32, year < 2101, hour < 24,
// minute < 60, second < 60 and hundredths <= 99.
//
// Thread-safety: a VxTime is used by one thread at a time; the clock
// functions are reentrant (they use the local time zone via localtime_r).
#ifndef VX_VALUES_VXTIME_H_
#define VX_VALUES_VXTIME_H_

#include <cstdint>

#include "foundation/vxexport.h"

// One reading of the local clock, in calendar terms.
struct VxTimeRecord {
  uint16_t year;          // e.g. 2026
  uint16_t month;         // 1 to 12
  uint16_t day;           // 1 to 31
  uint16_t hour;          // 0 to 23
  uint16_t minute;        // 0 to 59
  uint16_t second;        // 0 to 60 (a leap second)
  uint16_t milliseconds;  // 0 to 999
};

class VX_EXPORT VxTime {
 public:
  // All fields zero.
  VxTime();

  // Reads "month:day:year:hour:minute:second.hundredths" (each field with
  // vxAtoi). Returns 0 on success. Returns 1 when a separator is missing,
  // keeping the fields read so far (the others are 0), or when a field is
  // out of range, in which case every field is zeroed.
  unsigned initialize(const char* text);

  // Fills every field from the local clock.
  void captureCurrentTimeStamp();

  // Writes the clock's time of day as "HH:MM:SS.hh", NUL-terminated, into
  // buffer (12 bytes) and returns 11.
  static uint16_t getCurrentTimeStamp(char* buffer);

  // Writes the clock's date and time as "YYYY-MM-DD HH:MM:SS.hh",
  // NUL-terminated, into buffer (23 bytes) and returns 22.
  static uint16_t getCurrentDayTimeStamp(char* buffer);

  // Equal when all seven fields are equal.
  bool operator==(const VxTime& other) const;
  // Chronological order: year, month, day, hour, minute, second, hundredths.
  bool operator<(const VxTime& other) const;
  bool operator>(const VxTime& other) const;

  // True when this value's date (year, month, day) is later than other's.
  bool aDayElapsed(const VxTime& other) const;
  // True when this date is later, or the dates are equal and this hour is
  // greater. Deliberate: a change of the clock hour counts, not sixty
  // minutes (10:59 to 11:00 is an hour; 10:00 to 10:59 is not).
  bool anHourElapsed(const VxTime& other) const;

  uint16_t day;
  uint16_t month;  // deliberate: 0 is January
  uint16_t year;
  uint16_t hour;
  uint16_t minute;
  uint16_t second;
  uint16_t hundredths;
};

// Today's local date, time-of-day fields 0 (month counting from 0 as in
// every VxTime).
VX_EXPORT VxTime today();

// Reads the local clock into *record. Returns 0, or 1 when the clock or the
// time zone conversion fails (record untouched).
VX_EXPORT unsigned bosdate(VxTimeRecord* record);

#endif  // VX_VALUES_VXTIME_H_
