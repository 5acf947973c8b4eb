// Profile lookups in a 500-DSN odbc.ini: one key read through the kept-open
// form (vxGetProfileString), the private form (vxGetPrivateProfileString)
// and unixODBC's SQLGetPrivateProfileString, all naming the file
// "odbc.ini" redirected by ODBCINI. Also the cost of one refresh check
// (proFileSync) of a cache whose file did not change. After the table it
// prints lookups per CPU second per side and unixODBC's CPU time divided by each
// vxlib form's (above 1 means vxlib is faster).
#include <benchmark/benchmark.h>
#include <odbcinst.h>
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
  runAndPrint(&argc, argv, RunTimes::kCpuTime, printRatios);
  std::string command = "rm -rf '" + path.substr(0, path.rfind('/')) + "'";
  return system(command.c_str()) == 0 ? 0 : 1;
}
