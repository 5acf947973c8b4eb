// Calls one function of the file layer so that the tracing tests can
// capture what it prints with "VX_DEBUGGING" set (the mask is read when the
// library loads, so each run is a fresh process):
//   bosfile_trace_probe path DIR NAME EXT   bospath, then the result
//   bosfile_trace_probe find PATTERN        every name bosFindFiles returns
//   bosfile_trace_probe exist NAME          bosexist
//   bosfile_trace_probe open NAME MODE      bosFileOpen (MODE hexadecimal)
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bos/bosfile.h"

int main(int argc, char** argv) {
  if (argc == 5 && !strcmp(argv[1], "path")) {
    char out[BOS_MAX_PATH];
    if (bospath(out, argv[2], argv[3], argv[4]) != 0) return 1;
    printf("=%s\n", out);
    return 0;
  }
  if (argc == 3 && !strcmp(argv[1], "find")) {
    VxBosFileFindDesc desc;
    char name[BOS_MAX_PATH];
    for (uint16_t rc = bosFindFiles(argv[2], &desc, name); rc == 0;
         rc = bosFindFiles(nullptr, &desc, name)) {
      printf("=%s\n", name);
    }
    return 0;
  }
  if (argc == 3 && !strcmp(argv[1], "exist")) {
    printf("=%d\n", bosexist(argv[2]));
    return 0;
  }
  if (argc == 4 && !strcmp(argv[1], "open")) {
    char name[BOS_MAX_PATH];
    snprintf(name, sizeof name, "%s", argv[2]);
    int handle = -1;
    uint16_t status = bosFileOpen(name, uint32_t(strtoul(argv[3], nullptr, 16)), &handle);
    printf("=%u %s\n", status, name);
    bosFileClose(handle);
    return 0;
  }
  return 2;
}
