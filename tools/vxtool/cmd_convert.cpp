// vxtool convert: standard input to standard output through
// CharacterConverter.
//
//   convert --from CP --to CP [--substitution ignore|error|warning] [--fallback]
//
// CP is an IANA number or an ICU converter name; "utf-16le" and "utf-16be"
// name the UTF-16 forms. Input streams through fixed buffers: each piece is
// cut after its last whole character (the rest waits for the next read),
// and the output buffer is sized so that a piece always fits whole.
#include <unicode/ucnv.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "charset/charconv.h"
#include "charset/ucnv.h"
#include "tools/vxtool/command.h"
#include "tools/vxtool/stream_io.h"
#include "tools/vxtool/tool_errors.h"

namespace {

constexpr size_t kReadSize = 65536;

// One side of the conversion.
struct CodePageArg {
  bool utf16 = false;
  bool swapped = false;  // UTF-16 in the other byte order than the host's
  bool numbered = false;
  int64_t number = 0;
  std::string name;      // the ICU converter name (also for a number)
};

bool parseCodePage(const std::string& text, CodePageArg* cp) {
  if (text == "utf-16le" || text == "utf-16be") {
    cp->utf16 = true;
    cp->swapped = text == "utf-16be";
    cp->name = text == "utf-16le" ? "UTF-16LE" : "UTF-16BE";
    return true;
  }
  const char* end = text.data() + text.size();
  std::from_chars_result r = std::from_chars(text.data(), end, cp->number);
  cp->numbered = !text.empty() && r.ec == std::errc() && r.ptr == end;
  if (!cp->numbered) {
    cp->name = text;
    return !text.empty();
  }
  const char* name = ucnvIANAidToICUname(cp->number);
  cp->name = name == nullptr ? "" : name;
  return true;
}

// Prints the records filed since the last call as "kind NNNN (SQLSTATE):
// TEXT"; each warning number only once per run. True when one was an error.
class RecordPrinter {
 public:
  bool print(VxErrorList& list) {
    bool failed = false;
    for (VXSIZE_T i = 0; i < list.getCount(); ++i) {
      VxError* e = list.at(i);
      failed = failed || !e->isWarning();
      if (e->isWarning() && !warned_.insert(e->getErrorNumber()).second) continue;
      fprintf(stderr, "%s %u (%s): %s\n", e->isWarning() ? "warning" : "error",
              unsigned(e->getErrorNumber()), e->getInterfaceCode(), e->getErrorText());
    }
    list.clearErrors();
    return failed;
  }

 private:
  std::set<uint16_t> warned_;
};

// Bytes of the whole characters at the start of data: what a decoder of
// the code page leaves pending at the end is held back.
size_t wholeCharacters(const std::string& data, const CodePageArg& from, UConverter* probe) {
  if (from.utf16) {
    size_t n = data.size() & ~size_t(1);
    if (n >= 2) {
      unsigned char hi = static_cast<unsigned char>(data[n - (from.swapped ? 2 : 1)]);
      if (hi >= 0xD8 && hi <= 0xDB) n -= 2;  // a lead surrogate waits for its trail
    }
    return n;
  }
  std::vector<UChar> scratch(2 * data.size() + 16);
  UChar* target = scratch.data();
  const char* source = data.data();
  UErrorCode status = U_ZERO_ERROR;
  ucnv_resetToUnicode(probe);
  ucnv_toUnicode(probe, &target, scratch.data() + scratch.size(), &source,
                 data.data() + data.size(), nullptr, false, &status);
  int32_t pending = ucnv_toUCountPending(probe, &status);
  ucnv_resetToUnicode(probe);
  return pending > 0 && size_t(pending) <= data.size() ? data.size() - size_t(pending)
                                                      : data.size();
}

class Conversion {
 public:
  Conversion(const CodePageArg& from, const CodePageArg& to) : from_(from), to_(to) {}

  // Converts one piece into out; false after an error record. The output
  // room allows 2 units per input byte and 4 bytes per unit, more than
  // any code page needs, so a piece is never truncated.
  bool convert(const char* in, size_t n, std::string& out) {
    int64_t written = 0;
    int64_t consumed = 0;
    size_t units = 2 * n + 2;
    unsigned status;
    if (from_.utf16 && to_.numbered && !to_.utf16) {
      std::vector<UChar> source(n / 2 + 1);
      memcpy(source.data(), in, n);
      out.resize(units * 4 + 16);
      status = converter.ktUCS2ToAnsi(&out[0], int64_t(out.size()), source.data(),
                                      int64_t(n / 2), &written, &consumed, to_.number,
                                      from_.swapped);
    } else if (to_.utf16 && from_.numbered && !from_.utf16) {
      std::vector<UChar> target(units);
      status = converter.ktAnsiToUCS2(target.data(), int64_t(units), in, int64_t(n), &written,
                                      &consumed, from_.number, to_.swapped);
      out.assign(reinterpret_cast<const char*>(target.data()), size_t(written) * 2);
      return status == 0;
    } else {
      out.resize(units * 4 + 16);
      status = from_.numbered && to_.numbered
                   ? converter.ktCpgToCpg(&out[0], int64_t(out.size()), in, int64_t(n), &written,
                                          &consumed, from_.number, to_.number)
                   : converter.ktCpgToCpg(&out[0], int64_t(out.size()), in, int64_t(n), &written,
                                          &consumed, from_.name.c_str(), to_.name.c_str());
    }
    out.resize(status == 0 ? size_t(written) : 0);
    return status == 0;
  }

  CharacterConverter converter;

 private:
  CodePageArg from_;
  CodePageArg to_;
};

struct ConvertOptions {
  CodePageArg from, to;
  int32_t mode = CharacterConverter::kSubstitutionIgnore;
  bool fallback = false;
};

// The command line; false on wrong usage.
bool parseOptions(const std::vector<std::string>& args, ConvertOptions* o) {
  bool haveFrom = false, haveTo = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    bool hasValue = i + 1 < args.size();
    if (a == "--from" && hasValue) {
      haveFrom = parseCodePage(args[++i], &o->from);
    } else if (a == "--to" && hasValue) {
      haveTo = parseCodePage(args[++i], &o->to);
    } else if (a == "--substitution" && hasValue) {
      const std::string& m = args[++i];
      if (m == "ignore") o->mode = CharacterConverter::kSubstitutionIgnore;
      else if (m == "error") o->mode = CharacterConverter::kSubstitutionError;
      else if (m == "warning") o->mode = CharacterConverter::kSubstitutionWarning;
      else return false;
    } else if (a == "--fallback") {
      o->fallback = true;
    } else {
      return false;
    }
  }
  return haveFrom && haveTo;
}

// Standard input through the conversion in pieces of whole characters.
int streamThrough(Conversion& conversion, const CodePageArg& from, UConverter* probe,
                  ToolErrorList& errors) {
  RecordPrinter printer;
  std::string pending, out;
  std::vector<char> buffer(kReadSize);
  bool atEnd = false;
  while (!atEnd) {
    size_t got = fread(buffer.data(), 1, buffer.size(), stdin);
    pending.append(buffer.data(), got);
    atEnd = got == 0;
    size_t n = atEnd ? pending.size() : wholeCharacters(pending, from, probe);
    if (n == 0 && !atEnd) continue;
    bool ok = conversion.convert(pending.data(), n, out);
    if (printer.print(errors.list()) || !ok) return 1;
    if (!writeStandardOutput(out.data(), out.size())) return 1;
    pending.erase(0, n);
  }
  if (ferror(stdin)) {
    fprintf(stderr, "vxtool: cannot read standard input\n");
    return 1;
  }
  return 0;
}

int runConvert(const std::vector<std::string>& args) {
  ConvertOptions o;
  if (!parseOptions(args, &o)) return usageError("convert");
  for (const CodePageArg* cp : {&o.from, &o.to}) {
    if (cp->numbered && cp->name.empty()) {
      fprintf(stderr, "vxtool: no converter is known for code page %lld\n",
              static_cast<long long>(cp->number));
      return 1;
    }
  }
  ToolErrorList errors;
  Conversion conversion(o.from, o.to);
  conversion.converter.substitutionMode = o.mode;
  if (conversion.converter.initialize(4) != 0) return errors.fail();
  if (o.fallback) conversion.converter.setEnableFallbackMapping(1);
  // A second converter of the source code page finds where whole
  // characters end; opening it also tells whether the code page exists.
  UConverter* probe = nullptr;
  if (!o.from.utf16) {
    UConverter* handle;
    bool known = o.from.numbered ? conversion.converter.getHandle(o.from.number, &handle) == 0
                                 : conversion.converter.getHandle(o.from.name.c_str(),
                                                                  int64_t(o.from.name.size()),
                                                                  &handle) == 0;
    if (!known) {
      RecordPrinter().print(errors.list());
      return 1;
    }
    UErrorCode status = U_ZERO_ERROR;
    probe = ucnv_open(o.from.name.c_str(), &status);
    if (U_FAILURE(status)) return 1;
  }
  int exitStatus = streamThrough(conversion, o.from, probe, errors);
  if (probe != nullptr) ucnv_close(probe);
  return exitStatus;
}

const VxToolCommand kConvert{
    "convert",
    "convert --from CP --to CP [--substitution ignore|error|warning] [--fallback]",
    "Converts standard input to standard output. CP is an IANA number (106 UTF-8,\n"
    "4 ISO-8859-1, 2028 IBM037 ...) or an ICU converter name; utf-16le and\n"
    "utf-16be name the UTF-16 forms. A character without a mapping is replaced;\n"
    "--substitution says whether that is ignored (the default), an error or a\n"
    "warning; --fallback allows ICU's fallback mappings. Warnings print as\n"
    "\"warning NNNN (SQLSTATE): TEXT\" on stderr (exit 0), errors as\n"
    "\"error NNNN (SQLSTATE): TEXT\" (exit 1).",
    runConvert};

}  // namespace
