// Profile lookups in a 500-DSN odbc.ini: one key read through the kept-open
// form (vxGetProfileString), the private form (vxGetPrivateProfileString)
// and unixODBC's SQLGetPrivateProfileString, all naming the file
// "odbc.ini" redirected by ODBCINI. Also the cost of one refresh check
// (proFileSync) of a cache whose file did not change, and its floor: a
// bare stat of the same file. After the table it
// prints lookups per CPU second per side and unixODBC's CPU time divided by each
// vxlib form's (above 1 means vxlib is faster).
#include <benchmark/benchmark.h>
#include <odbcinst.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "config/vxini.h"
#include "ratio_reporter.h"

namespace {

const int kDataSources = 500;

// Writes the file and points ODBCINI at it; returns its path.
std::string makeOdbcIni() {
  char pattern[] = "/tmp/vx_profile_bench_XXXXXX";
  if (!mkdtemp(pattern)) abort();
  std::string path = std::string(pattern) + "/odbc.ini";
  std::ofstream out(path);
  out << "[ODBC Data Sources]\n";
  for (int i = 0; i < kDataSources; ++i) out << "DSN" << i << " = Vx Driver\n";
  for (int i = 0; i < kDataSources; ++i) {
    out << "\n[DSN" << i << "]\nDriver = /opt/vx/lib/vxdrv.so\nDescription = Data source " << i
        << "\nServer = host" << i << ".example.com\nPort = " << 5000 + i
        << "\nDatabase = db" << i << "\nUID = user" << i << "\nTrace = 0\nApplicationUsingThreads = 1\n";
  }
  setenv("ODBCINI", path.c_str(), 1);
  setenv("ODBCSYSINI", pattern, 1);
  return path;
}

enum Side { KEPT_OPEN, PRIVATE, UNIXODBC };
const char* kSideNames[] = {"kept-open", "private", "unixodbc"};
const char* const kSections[] = {"DSN0", "DSN250", "DSN499", "rotating"};

int lookup(Side side, const char* section, char* buffer, int size) {
  switch (side) {
    case KEPT_OPEN:
      return int(vxGetProfileString(section, "Server", "", buffer, VXSIZE_T(size), "odbc.ini"));
    case PRIVATE:
      return int(vxGetPrivateProfileString(section, "Server", "", buffer, VXSIZE_T(size), "odbc.ini"));
    default:
      return SQLGetPrivateProfileString(section, "Server", "", buffer, size, "odbc.ini");
  }
}

// One section asked again and again, or ("rotating") a different data
// source each time, DSN0 to DSN499 in turn, as a program that reads the
// settings of many data sources does.
void runLookup(benchmark::State& state, Side side, const std::string& section) {
  char buffer[256];
  std::vector<std::string> names;
  for (int i = 0; i < kDataSources; ++i) names.push_back("DSN" + std::to_string(i));
  size_t next = 0;
  for (auto _ : state) {
    const char* name = section == "rotating" ? names[next++ % names.size()].c_str() : section.c_str();
    benchmark::DoNotOptimize(lookup(side, name, buffer, sizeof buffer));
  }
  state.SetItemsProcessed(int64_t(state.iterations()));
}

void runRefreshCheck(benchmark::State& state) {
  VxIniFileCache* cache = vxPrivateProfileInit("odbc.ini");
  for (auto _ : state) benchmark::DoNotOptimize(cache->proFileSync());
  vxPrivateProfileTerm(cache);
}

// The floor of a lookup that must notice other processes' edits: one stat
// of the file, which is what the refresh check asks the system for.
void runBareStat(benchmark::State& state, const std::string& path) {
  struct stat info;
  for (auto _ : state) benchmark::DoNotOptimize(stat(path.c_str(), &info));
}

// Loading whole files: GetPrivateProfileString reads its file anew on every
// call, so one call is one load, index build and lookup. The ordinary files
// are data sources as above; the hostile ones are lines that each open
// with "[" and whose only "]" is the file's last byte, which once made the
// load quadratic. The peer is the floor of any load: reading the file into
// memory with fread. (unixODBC keeps its own cache of a file it has read,
// so its repeated lookups are no loads to compare with.)
const char* const kShapes[] = {"ordinary", "hostile"};
const int kLoadSizes[] = {100 << 10, 1 << 20, 10 << 20};

std::string makeLoadFile(const std::string& dir, const std::string& shape, int size) {
  std::string path = dir + "/" + shape + std::to_string(size) + ".ini";
  std::string text;
  for (int i = 0; int(text.size()) < size; ++i) {
    if (shape == "ordinary") {
      text += "[DSN" + std::to_string(i) + "]\nDriver = /opt/vx/lib/vxdrv.so\nServer = host" +
              std::to_string(i) + "\nPort = 5000\n";
    } else {
      text += "[section line " + std::to_string(i) + " with no closing bracket\n";
    }
  }
  text += "[DSN7]\nServer = last\n]";
  std::ofstream(path) << text;
  return path;
}

size_t readWhole(const std::string& path, std::vector<char>* image) {
  FILE* file = fopen(path.c_str(), "rb");
  if (!file) return 0;
  image->resize(size_t(kLoadSizes[2]) + 4096);
  size_t n = fread(image->data(), 1, image->size(), file);
  fclose(file);
  return n;
}

void runLoad(benchmark::State& state, bool vx, const std::string& path) {
  char buffer[256];
  std::vector<char> image;
  for (auto _ : state) {
    size_t n = vx ? GetPrivateProfileString("DSN7", "Server", "", buffer, sizeof buffer, path.c_str())
                  : readWhole(path, &image);
    benchmark::DoNotOptimize(n);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kLoadSizes[state.range(0)]));
}

// Per section, lookups per CPU second of each side and unixODBC's time
// divided by each vxlib form's.
void printRatios(const RunTimes& times) {
  printf("\n%-8s %16s %16s %16s %12s %12s\n", "section", "kept-open /s", "private /s",
         "unixodbc /s", "odbc/kept", "odbc/private");
  for (const char* section : kSections) {
    const std::string prefix = std::string("profile/") + section + "/";
    double t[3];
    bool all = true;
    for (Side side : {KEPT_OPEN, PRIVATE, UNIXODBC}) {
      all = all && times.has(prefix + kSideNames[side]);
      t[side] = times.at(prefix + kSideNames[side]);
    }
    if (!all) continue;
    printf("%-8s %16.0f %16.0f %16.0f %12.1f %12.2f\n", section, 1e9 / t[KEPT_OPEN], 1e9 / t[PRIVATE],
           1e9 / t[UNIXODBC], t[UNIXODBC] / t[KEPT_OPEN], t[UNIXODBC] / t[PRIVATE]);
  }
  const char* kept = "profile/DSN0/kept-open";
  const char* check = "profile/refresh-check-unchanged";
  const char* floor = "profile/bare-stat";
  if (times.has(kept) && times.has(check) && times.has(floor)) {
    printf("\nlookup (DSN0) %.0f ns, refresh check %.0f ns, bare stat %.0f ns: lookup/stat %.2f\n",
           times.at(kept), times.at(check), times.at(floor), times.at(kept) / times.at(floor));
  }
  printf("\n%-9s %9s %14s %14s %12s\n", "load", "size", "vx ms", "fread ms", "vx/fread");
  for (const char* shape : kShapes) {
    for (int i = 0; i < 3; ++i) {
      const std::string prefix = std::string("load/") + shape + "/";
      const std::string arg = "/" + std::to_string(i);
      double v = times.at(prefix + "vx" + arg), r = times.at(prefix + "fread" + arg);
      if (v > 0 && r > 0)
        printf("%-9s %8dK %14.3f %14.3f %12.2f\n", shape, kLoadSizes[i] >> 10, v, r, v / r);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::string path = makeOdbcIni();
  for (const char* section : kSections) {
    // All three must give the same answer, or the comparison is void.
    const char* probe = strcmp(section, "rotating") == 0 ? "DSN123" : section;
    char a[256], b[256], c[256];
    lookup(KEPT_OPEN, probe, a, sizeof a);
    lookup(PRIVATE, probe, b, sizeof b);
    lookup(UNIXODBC, probe, c, sizeof c);
    if (strcmp(a, b) != 0 || strcmp(a, c) != 0 || a[0] == '\0') {
      fprintf(stderr, "the readers disagree on %s: '%s' '%s' '%s'\n", section, a, b, c);
      return 1;
    }
    for (Side side : {KEPT_OPEN, PRIVATE, UNIXODBC}) {
      std::string name = std::string("profile/") + section + "/" + kSideNames[side];
      std::string sectionName = section;
      benchmark::RegisterBenchmark(name.c_str(), [side, sectionName](benchmark::State& s) {
        runLookup(s, side, sectionName);
      })->UseRealTime();
    }
  }
  benchmark::RegisterBenchmark("profile/refresh-check-unchanged", runRefreshCheck)->UseRealTime();
  benchmark::RegisterBenchmark("profile/bare-stat", [path](benchmark::State& s) { runBareStat(s, path); })
      ->UseRealTime();
  const std::string dir = path.substr(0, path.rfind('/'));
  std::vector<std::string> loadFiles;
  for (const char* shape : kShapes) {
    for (int i = 0; i < 3; ++i) loadFiles.push_back(makeLoadFile(dir, shape, kLoadSizes[i]));
  }
  for (int side = 0; side < 2; ++side) {
    for (int s = 0; s < 2; ++s) {
      std::string name = std::string("load/") + kShapes[s] + (side == 0 ? "/vx" : "/fread");
      bool vx = side == 0;
      std::vector<std::string> files(loadFiles.begin() + 3 * s, loadFiles.begin() + 3 * s + 3);
      benchmark::RegisterBenchmark(name.c_str(), [vx, files](benchmark::State& st) {
        runLoad(st, vx, files[size_t(st.range(0))]);
      })->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
    }
  }
  runAndPrint(&argc, argv, RunTimes::kCpuTime, printRatios);
  std::string command = "rm -rf '" + path.substr(0, path.rfind('/')) + "'";
  return system(command.c_str()) == 0 ? 0 : 1;
}
