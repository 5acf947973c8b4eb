// Internal to the library: the scanners of the INI file format, over a
// memory image of a whole file. Not installed.
//
// The image is `length` bytes; it need not be NUL-terminated and may hold
// any bytes (a NUL is an ordinary byte here). Positions are byte offsets
// into the image. The scanners allocate nothing, post no errors and keep
// no state: any thread may call them on an image it keeps from changing.
#ifndef VX_CONFIG_INISCAN_INTERNAL_H_
#define VX_CONFIG_INISCAN_INTERNAL_H_

#include <cstdint>

#include "foundation/vxtypes.h"

// Finds the first section whose header equals `header` ("[" + name + "]",
// `headerLength` bytes, compared case-insensitively). 0 with *start at the
// header's "[" and *end at the section's end; 1 when there is none.
uint16_t iniFindSection(const char* image, VXSIZE_T length, const char* header,
                        VXSIZE_T headerLength, VXSIZE_T* start, VXSIZE_T* end);

// An index of the section headers of one image, for lookups that would
// otherwise pass over every header before theirs. Built once per image;
// valid only for the image it was built from.
struct IniSectionIndexEntry {
  uint64_t hash;           // of the header's first 64 bytes, ASCII letters folded
  VXSIZE_T start;          // the header's "["
  VXSIZE_T headerLength;   // "[" to "]" inclusive
  VXSIZE_T end;            // the section's end
  bool plainAscii;         // those bytes have none above 0x7f
};

struct IniSectionIndex {
  IniSectionIndexEntry* entries = nullptr;  // malloc'ed, in file order
  VXSIZE_T count = 0;
};

// Builds the index of every header of the image into *index (which must be
// empty). 0 on success; 1 when it cannot be allocated (index left empty:
// use iniFindSection).
uint16_t iniBuildSectionIndex(const char* image, VXSIZE_T length, IniSectionIndex* index);
// Frees the entries and empties the index.
void iniFreeSectionIndex(IniSectionIndex* index);
// iniFindSection through the index: the same answer, found without
// passing over the image.
uint16_t iniFindSectionIndexed(const char* image, VXSIZE_T length, const IniSectionIndex& index,
                               const char* header, VXSIZE_T headerLength, VXSIZE_T* start,
                               VXSIZE_T* end);

// Finds `key` (`keyLength` bytes, compared case-insensitively) in the
// section that starts at *cursor (its header) and ends at `sectionEnd`.
// 0 when found: *cursor is the start of the key's line, *lineEnd the
// offset just past its line end (or sectionEnd), and the value is
// [*valueStart, *valueEnd). 1 when the section has no such key.
uint16_t iniFindEntry(const char* image, VXSIZE_T sectionEnd, const char* key,
                      VXSIZE_T keyLength, VXSIZE_T* cursor, VXSIZE_T* valueStart,
                      VXSIZE_T* valueEnd, VXSIZE_T* lineEnd);

// The offset where the entries of the section whose header starts at
// `start` begin: just past the header's line end (sectionEnd when the
// header line has none).
VXSIZE_T iniSectionBody(const char* image, VXSIZE_T start, VXSIZE_T sectionEnd);

// Copies the keys of the section [start, sectionEnd) into `buffer` (`size`
// bytes, above 0) as NUL-terminated keys followed by one more NUL (as
// room allows: at most size-1 key bytes, then the final NUL). Returns the
// bytes written, the final NUL included. The section must not be empty
// (body before sectionEnd).
VXSIZE_T iniCopyKeys(const char* image, VXSIZE_T start, VXSIZE_T sectionEnd, char* buffer,
                     VXSIZE_T size);

#endif  // VX_CONFIG_INISCAN_INTERNAL_H_
