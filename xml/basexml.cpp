// Tag lines and the escaping of element content.
#include "xml/basexml.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"

namespace {

// What one input byte turns into, for the bytes escaping changes: the
// replacement text, or null for bytes copied as they are.
const char* replacementOf(unsigned char c) {
  switch (c) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '\'': return "&apos;";
    case '"': return "&quot;";
    case '\r': return "&#13;";
    case '\t':
    case '\n': return nullptr;
    default: return c < 0x20 ? "\xEF\xBF\xBD" : nullptr;
  }
}

// 256 flags: 1 for the bytes that may start a change (the specials, the
// controls, and 0xEF, the first byte of U+FFFE and U+FFFF).
struct SpecialTable {
  bool special[256];
  SpecialTable() {
    for (int c = 0; c < 256; ++c) special[c] = replacementOf(uint8_t(c)) != nullptr;
    special[0xEF] = true;
  }
};
const SpecialTable kSpecials;

bool isNonCharacter(const unsigned char* p, VXSIZE_T left) {
  return left >= 3 && p[0] == 0xEF && p[1] == 0xBF && (p[2] == 0xBE || p[2] == 0xBF);
}

// The escaped length of the text; *changed tells whether escaping alters
// it at all (a non-character is replaced by as many bytes).
VXSIZE_T measure(const char* text, VXSIZE_T n, bool* changed) {
  const auto* p = reinterpret_cast<const unsigned char*>(text);
  VXSIZE_T length = n;
  *changed = false;
  for (VXSIZE_T i = 0; i < n; ++i) {
    if (!kSpecials.special[p[i]]) continue;
    const char* replacement = replacementOf(p[i]);
    if (replacement != nullptr) {
      length += strlen(replacement) - 1;
      *changed = true;
    } else if (isNonCharacter(p + i, n - i)) {
      *changed = true;
    }
  }
  return length;
}

}  // namespace

VXSIZE_T XPstEscapedLength(const char* text, VXSIZE_T n) {
  bool changed = false;
  return measure(text, n, &changed);
}

VXSIZE_T XPstEscapeText(char* out, const char* text, VXSIZE_T n) {
  const auto* p = reinterpret_cast<const unsigned char*>(text);
  char* start = out;
  VXSIZE_T plain = 0;  // start of the run of bytes not yet copied
  for (VXSIZE_T i = 0; i < n; ++i) {
    if (!kSpecials.special[p[i]]) continue;
    const char* replacement = replacementOf(p[i]);
    VXSIZE_T skip = 1;
    if (replacement == nullptr) {
      if (!isNonCharacter(p + i, n - i)) continue;
      replacement = "\xEF\xBF\xBD";
      skip = 3;
    }
    memcpy(out, text + plain, i - plain);
    out += i - plain;
    size_t r = strlen(replacement);
    memcpy(out, replacement, r);
    out += r;
    plain = i + skip;
    i += skip - 1;
  }
  memcpy(out, text + plain, n - plain);
  out += n - plain;
  return VXSIZE_T(out - start);
}

XPstTagWriter::~XPstTagWriter() { free(scratch_); }

uint16_t XPstTagWriter::check(uint16_t status) {
  if (status != 0 && !failed_) {
    failed_ = true;
    addError(kErrXmlWriteFailed);
  }
  return failed_ ? 1 : 0;
}

uint16_t XPstTagWriter::startTag(VXSIZE_T indent, const char* name,
                                 const XPstAttribute* attributes, uint16_t count, bool empty,
                                 bool newline) {
  if (failed_) return 1;
  assert(target_ != nullptr);
  uint16_t status = target_->appendBlanks(indent);
  status |= target_->append("<", 1);
  status |= target_->append(name);
  for (uint16_t i = 0; i < count && status == 0; ++i) {
    status |= target_->append(" ", 1);
    status |= target_->append(attributes[i].name);
    status |= target_->append("=\"", 2);
    status |= target_->append(attributes[i].value);
    status |= target_->append("\"", 1);
  }
  if (empty) status |= target_->append("/", 1);
  status |= target_->append(newline ? ">\n" : ">", newline ? 2 : 1);
  return check(status);
}

uint16_t XPstTagWriter::endTag(VXSIZE_T indent, const char* name, bool newline) {
  if (failed_) return 1;
  uint16_t status = target_->appendBlanks(indent);
  status |= target_->append("</", 2);
  status |= target_->append(name);
  status |= target_->append(newline ? ">\n" : ">", newline ? 2 : 1);
  return check(status);
}

uint16_t XPstTagWriter::setTagData(const char* text, VXSIZE_T n) {
  if (failed_) return 1;
  bool changed = false;
  VXSIZE_T length = measure(text, n, &changed);
  if (!changed) return check(target_->append(text, n));
  if (length > scratchSize_) {
    char* grown = static_cast<char*>(ramRealloc(scratch_, length));
    if (grown == nullptr) {
      addError(kErrOutOfMemory);
      return check(1);
    }
    scratch_ = grown;
    scratchSize_ = length;
  }
  VXSIZE_T written = XPstEscapeText(scratch_, text, n);
  assert(written == length);
  return check(target_->append(scratch_, written));
}

uint16_t XPstTagWriter::writeRaw(const char* text, VXSIZE_T n) {
  if (failed_) return 1;
  return check(target_->append(text, n));
}
