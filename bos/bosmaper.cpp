// Mapping of system error numbers to library error records.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "bos/bos.h"
#include "bos/boslstr.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"

namespace {

struct ErrorMapping {
  int code;
  uint16_t error;
  bool withName;
};

const ErrorMapping kErrorMappings[] = {
    {EPERM, kErrNotPermitted, true},
    {ENOENT, kErrFileNotFound, true},
    {EIO, kErrSystemError, true},
    {EBADF, kErrInvalidFileHandle, false},
    {EAGAIN, kErrResourceLocked, false},
    {ENOMEM, kErrOutOfMemory, false},
    {EACCES, kErrAccessDenied, true},
    {EEXIST, kErrFileExists, true},
    {EMFILE, kErrTooManyOpenFiles, false},
    {ENOSPC, kErrDiskFull, true},
    {EROFS, kErrReadOnlyFileSystem, true},
    {EDEADLK, kErrDeadlock, true},
    {ENOLCK, kErrNoLocksAvailable, false},
};

// True when `format` has exactly two conversions and both are "%s", so it
// can safely take the system's text and the name.
bool takesTwoStrings(const char* format) {
  int strings = 0;
  for (const char* p = strchr(format, '%'); p; p = strchr(p + 2, '%')) {
    if (p[1] != 's') return false;
    ++strings;
  }
  return strings == 2;
}

// Loads message 30050 of its module (up to 512 bytes) into `format`. It is
// used only when the message catalog gives a real text: the lookup answers
// with the number itself when no catalog carries the message, which counts
// as a failed load, and so does a text that is not a format of two strings.
bool loadSystemTextAndNameFormat(char (&format)[512]) {
  int32_t users = 0;
  bosLoadResourceDLL(VX_SYSTEM_MESSAGE_MODULE, 0, nullptr, &users);
  LoadString(VX_SYSTEM_MESSAGE_MODULE, kErrSystemTextAndNameFormat, format, sizeof format);
  bosFreeResourceDLL(nullptr, &users);
  char number[8];
  snprintf(number, sizeof number, "%u", unsigned(kErrSystemTextAndNameFormat));
  return strcmp(format, number) != 0 && takesTwoStrings(format);
}

}  // namespace

// Unmapped codes: 30041 without parameter, then text appended to that
// record. Deliberate: the text describes the current errno, not `code`
// (callers pass errno itself). Nothing is appended when the text is empty
// or when the report was dropped (a static record came back).
uint16_t bosMapError(int code, const char* name) {
  if (!name) name = "";
  for (const ErrorMapping& m : kErrorMappings) {
    if (m.code != code) continue;
    VxError& record = addError(m.error);
    if (m.withName) record << name;
    return m.error;
  }
  const char* systemText = strerror(errno);
  VxError& record = addError(kErrSystemError);
  char text[1024];
  char format[512];
  if (*name && loadSystemTextAndNameFormat(format)) {
    snprintf(text, sizeof text, format, systemText, name);
  } else {
    snprintf(text, sizeof text, "%s", systemText);
  }
  if (*text && !record.isStatic()) record.appendText(text);
  return kErrSystemError;
}
