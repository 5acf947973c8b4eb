// vxtool sort: fixed-length records from standard input to standard output
// in key order, through VxSort (which writes runs to a temporary file when
// the records outgrow its memory).
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "storage/sort.h"
#include "tools/vxtool/command.h"
#include "tools/vxtool/stream_io.h"
#include "tools/vxtool/tool_errors.h"

namespace {

struct SortOptions {
  unsigned long recordLength = 0;
  std::vector<VxSortKey> keys;
  unsigned long startKey = 0;
  unsigned long buffers = VxSort::kMaxBuffers;
  bool stats = false;
};

// A whole decimal number in [low, high].
bool parseNumber(const std::string& text, unsigned long low, unsigned long high, unsigned long* value) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos || text.size() > 9) return false;
  *value = strtoul(text.c_str(), nullptr, 10);
  return *value >= low && *value <= high;
}

// OFFSET:LENGTH, then any of :desc and :intl.
bool parseKey(const std::string& text, VxSortKey* key) {
  std::vector<std::string> parts;
  for (size_t from = 0;;) {
    size_t colon = text.find(':', from);
    parts.push_back(text.substr(from, colon - from));
    if (colon == std::string::npos) break;
    from = colon + 1;
  }
  unsigned long offset, length;
  if (parts.size() < 2 || !parseNumber(parts[0], 0, 65534, &offset) || !parseNumber(parts[1], 1, 65535, &length)) return false;
  *key = VxSortKey{0, offset, uint16_t(length), nullptr, nullptr};
  for (size_t i = 2; i < parts.size(); ++i) {
    if (parts[i] == "desc") {
      key->kind |= VxSortKey::kDescending;
    } else if (parts[i] == "intl") {
      key->kind |= VxSortKey::kInternational;
    } else {
      return false;
    }
  }
  return true;
}

bool parseOptions(const std::vector<std::string>& args, SortOptions* o) {
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    bool hasValue = i + 1 < args.size();
    if (a == "--stats") {
      o->stats = true;
    } else if (a == "--record-length" && hasValue) {
      if (!parseNumber(args[++i], 1, 65535, &o->recordLength)) return false;
    } else if (a == "--key" && hasValue) {
      VxSortKey key;
      if (!parseKey(args[++i], &key)) return false;
      o->keys.push_back(key);
    } else if (a == "--start-key" && hasValue) {
      if (!parseNumber(args[++i], 0, 64, &o->startKey)) return false;
    } else if (a == "--buffers" && hasValue) {
      if (!parseNumber(args[++i], 2, VxSort::kMaxBuffers, &o->buffers)) return false;
    } else {
      return false;
    }
  }
  if (o->recordLength == 0) return false;
  for (const VxSortKey& k : o->keys) {
    if (k.offset + k.length > o->recordLength) return false;
  }
  return true;
}

// Standard input, record by record, into the sort. Returns 0, 1 after a
// failure of the sort (its records printed) or of reading, or 1 with a
// message when the input ends inside a record.
int collect(VxSort& sort, const SortOptions& o, ToolErrorList& errors, unsigned long long* bytes) {
  std::vector<char> chunk(1 << 20);
  std::string partial;
  size_t got;
  *bytes = 0;
  while ((got = fread(chunk.data(), 1, chunk.size(), stdin)) > 0) {
    *bytes += got;
    const char* p = chunk.data();
    const char* end = p + got;
    if (!partial.empty()) {
      size_t take = std::min<size_t>(o.recordLength - partial.size(), got);
      partial.append(p, take);
      p += take;
      if (partial.size() < o.recordLength) continue;
      if (sort.addRecord(partial.data()) != 0) return errors.fail();
      partial.clear();
    }
    for (; size_t(end - p) >= o.recordLength; p += o.recordLength) {
      if (sort.addRecord(p) != 0) return errors.fail();
    }
    partial.assign(p, end);
  }
  if (ferror(stdin)) {
    fprintf(stderr, "vxtool: cannot read standard input: %s\n", strerror(errno));
    return 1;
  }
  if (!partial.empty()) {
    fprintf(stderr, "vxtool sort: the input length %llu is not a multiple of the record length %lu\n",
            *bytes, o.recordLength);
    return 1;
  }
  return 0;
}

// The sorted records to standard output in blocks of about 1 MB. A failure
// of the merge stops the output and exits 1, so a partial result is never
// taken for a complete one.
int emit(VxSort& sort, const SortOptions& o, ToolErrorList& errors) {
  std::string block;
  block.reserve((1 << 20) + o.recordLength);
  for (;;) {
    void* record;
    if (sort.getSorted(&record) != 0) return errors.fail();
    if (record != nullptr) block.append(static_cast<const char*>(record), o.recordLength);
    if ((record == nullptr || block.size() >= (1 << 20)) && !block.empty()) {
      if (!writeStandardOutput(block.data(), block.size())) return 1;
      block.clear();
    }
    if (record == nullptr) return 0;
  }
}

int runSort(const std::vector<std::string>& args) {
  SortOptions o;
  if (!parseOptions(args, &o)) return usageError("sort");
  ToolErrorList errors;
  VxSort sort(uint16_t(o.recordLength));
  sort.setMaxBuffers(uint16_t(o.buffers));
  for (const VxSortKey& k : o.keys) {
    if (sort.addKey(k.kind, k.offset, k.length) != 0) return errors.fail();
  }
  sort.setStartKey(o.startKey);
  unsigned long long bytes;
  if (int status = collect(sort, o, errors, &bytes)) return status;
  int status = emit(sort, o, errors);
  if (o.stats) {
    fprintf(stderr, "records: %llu\nruns written: %llu\nbytes spilled: %llu\n",
            (unsigned long long)sort.getRecordCount(), (unsigned long long)sort.getRunCount(),
            (unsigned long long)sort.getBytesSpilled());
  }
  return status;
}

const VxToolCommand kSort{
    "sort",
    "sort --record-length N [--key OFFSET:LENGTH[:desc][:intl]]... [--start-key K] [--buffers B] [--stats]",
    "Reads records of N bytes from standard input, sorts them and writes them\n"
    "to standard output. Keys are given most significant first; :desc sorts a\n"
    "key descending, :intl compares it by the locale's collation; without\n"
    "keys all records are equal. --start-key K ignores the first K keys.\n"
    "Memory holds B buffers of 64 KB (64 by default); beyond that, sorted\n"
    "runs go to a temporary file (\"VX_TMPDIR\", else the system's) and are\n"
    "merged. --stats prints the records, runs written and bytes spilled on\n"
    "standard error. An input length that is not a multiple of N, or a\n"
    "temporary-file failure, exits with status 1.",
    runSort};

}  // namespace
