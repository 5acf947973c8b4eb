// Code-page conversion through CharacterConverter against ICU called
// directly (ucnv_convert between byte code pages, ucnv_toUChars into
// UTF-16) and against glibc iconv, on 64 KiB of ASCII-only and of mixed
// text: UTF-8 to and from windows-1252 and Shift_JIS, and UTF-8 to UTF-16.
// Then the cost of a converter look-up on a warm CharacterConverter (the
// one-entry memo, and a cache hit behind it) against ucnv_open plus
// ucnv_close. After the usual table it prints vxlib's time divided by each
// peer's (below 1 means vxlib is faster).
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <unicode/ucnv.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "charset/charconv.h"
#include "charset/ucnv.h"
#include "ratio_reporter.h"

namespace {

constexpr size_t kTextBytes = 65536;

// UTF-8 text of about kTextBytes: ASCII only, or words with accented Latin
// letters (for windows-1252) or with kana and kanji (for Shift_JIS).
std::string makeText(const std::string& kind) {
  std::mt19937 rng(7);
  static const char* const kLatin[] = {"é", "ü", "ß", "à", "ñ", "ø"};
  static const char* const kJapanese[] = {"東", "京", "日", "本", "の", "か", "ア", "イ"};
  std::string text;
  while (text.size() < kTextBytes) {
    for (int i = 0; i < 6; ++i) text += char('a' + rng() % 26);
    if (kind == "latin") text += kLatin[rng() % 6];
    if (kind == "japanese") text += kJapanese[rng() % 8];
    text += ' ';
  }
  return text;
}

std::string viaIconv(const char* to, const char* from, const std::string& in) {
  iconv_t cd = iconv_open(to, from);
  std::string out(in.size() * 4, '\0');
  char* src = const_cast<char*>(in.data());
  size_t left = in.size(), room = out.size();
  char* dst = &out[0];
  iconv(cd, &src, &left, &dst, &room);
  iconv_close(cd);
  out.resize(out.size() - room);
  return out;
}

struct Case {
  const char* op;     // benchmark name's first part
  const char* kind;   // "ascii", "latin", "japanese"
  int64_t from, to;   // IANA numbers (1015: UTF-16)
  const char* icuFrom;
  const char* icuTo;
  const char* iconvFrom;
  const char* iconvTo;
};

const Case kCases[] = {
    {"utf8-to-1252", "ascii", 106, 2252, "UTF-8", "windows-1252", "UTF-8", "WINDOWS-1252"},
    {"utf8-to-1252", "latin", 106, 2252, "UTF-8", "windows-1252", "UTF-8", "WINDOWS-1252"},
    {"1252-to-utf8", "ascii", 2252, 106, "windows-1252", "UTF-8", "WINDOWS-1252", "UTF-8"},
    {"1252-to-utf8", "latin", 2252, 106, "windows-1252", "UTF-8", "WINDOWS-1252", "UTF-8"},
    {"utf8-to-sjis", "ascii", 106, 2024, "UTF-8", "Shift_JIS", "UTF-8", "SHIFT_JIS"},
    {"utf8-to-sjis", "japanese", 106, 2024, "UTF-8", "Shift_JIS", "UTF-8", "SHIFT_JIS"},
    {"sjis-to-utf8", "ascii", 2024, 106, "Shift_JIS", "UTF-8", "SHIFT_JIS", "UTF-8"},
    {"sjis-to-utf8", "japanese", 2024, 106, "Shift_JIS", "UTF-8", "SHIFT_JIS", "UTF-8"},
    {"utf8-to-utf16", "ascii", 106, 1015, "UTF-8", "UTF-16LE", "UTF-8", "UTF-16LE"},
    {"utf8-to-utf16", "japanese", 106, 1015, "UTF-8", "UTF-16LE", "UTF-8", "UTF-16LE"},
};

// The input of a case in its source code page.
std::string inputOf(const Case& c) {
  std::string utf8 = makeText(c.kind);
  return c.from == 106 ? utf8 : viaIconv(c.iconvFrom, "UTF-8", utf8);
}

void convertVx(benchmark::State& state, const Case& c) {
  std::string in = inputOf(c);
  CharacterConverter converter;
  converter.initialize(4);
  std::vector<char> out(in.size() * 4 + 16);
  std::vector<UChar> units(in.size() + 1);
  for (auto _ : state) {
    int64_t written = 0, consumed = 0;
    unsigned status = c.to == 1015
        ? converter.ktAnsiToUCS2(units.data(), int64_t(units.size()), in.data(),
                                 int64_t(in.size()), &written, &consumed, c.from, 0)
        : converter.ktCpgToCpg(out.data(), int64_t(out.size()), in.data(), int64_t(in.size()),
                               &written, &consumed, c.from, c.to);
    if (status != 0) state.SkipWithError("conversion failed");
    benchmark::DoNotOptimize(written);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(in.size()));
}

void convertIcu(benchmark::State& state, const Case& c) {
  std::string in = inputOf(c);
  std::vector<char> out(in.size() * 4 + 16);
  std::vector<UChar> units(in.size() + 1);
  UErrorCode status = U_ZERO_ERROR;
  UConverter* source = ucnv_open(c.icuFrom, &status);
  for (auto _ : state) {
    status = U_ZERO_ERROR;
    int32_t n = c.to == 1015
        ? ucnv_toUChars(source, units.data(), int32_t(units.size()), in.data(), int32_t(in.size()),
                        &status)
        : ucnv_convert(c.icuTo, c.icuFrom, out.data(), int32_t(out.size()), in.data(),
                       int32_t(in.size()), &status);
    if (U_FAILURE(status)) state.SkipWithError("conversion failed");
    benchmark::DoNotOptimize(n);
  }
  ucnv_close(source);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(in.size()));
}

void convertIconv(benchmark::State& state, const Case& c) {
  std::string in = inputOf(c);
  std::vector<char> out(in.size() * 4 + 16);
  iconv_t cd = iconv_open(c.iconvTo, c.iconvFrom);
  for (auto _ : state) {
    char* src = const_cast<char*>(in.data());
    size_t left = in.size(), room = out.size();
    char* dst = out.data();
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    if (iconv(cd, &src, &left, &dst, &room) == size_t(-1)) state.SkipWithError("iconv failed");
    benchmark::DoNotOptimize(room);
  }
  iconv_close(cd);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(in.size()));
}

// A look-up on a warm converter object: the same code page again (memo), or
// two code pages in turn (each a cache hit behind the memo).
void handleVx(benchmark::State& state, bool alternate) {
  CharacterConverter converter;
  converter.initialize(4);
  UConverter* handle = nullptr;
  converter.getHandle(2252, &handle);
  converter.getHandle(2024, &handle);
  int64_t pages[2] = {2252, alternate ? 2024 : 2252};
  size_t i = 0;
  for (auto _ : state) {
    converter.getHandle(pages[i++ & 1], &handle);
    benchmark::DoNotOptimize(handle);
  }
}

void handleIcu(benchmark::State& state) {
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* handle = ucnv_open("windows-1252", &status);
    benchmark::DoNotOptimize(handle);
    ucnv_close(handle);
  }
}

void registerAll() {
  for (const Case& c : kCases) {
    std::string suffix = std::string("/") + c.kind;
    benchmark::RegisterBenchmark((std::string(c.op) + "/vx" + suffix).c_str(), convertVx, c);
    benchmark::RegisterBenchmark((std::string(c.op) + "/icu" + suffix).c_str(), convertIcu, c);
    benchmark::RegisterBenchmark((std::string(c.op) + "/iconv" + suffix).c_str(), convertIconv, c);
  }
  benchmark::RegisterBenchmark("getHandle/vx/memo-hit", handleVx, false);
  benchmark::RegisterBenchmark("getHandle/icu/memo-hit", handleIcu);
  benchmark::RegisterBenchmark("getHandle/vx/cache-hit", handleVx, true);
  benchmark::RegisterBenchmark("getHandle/icu/cache-hit", handleIcu);
}

}  // namespace

int main(int argc, char** argv) {
  registerAll();
  runAndPrint(&argc, argv, RunTimes::kCpuTime, [](const RunTimes& times) {
    printPeerRatios(times, "icu");
    printPeerRatios(times, "iconv");
  });
  return 0;
}
