// A child program for the tests of what is fixed once per process: the
// trace mask (read when the library loads) and the message catalog (opened
// at first use). The tests run it with the environment they want and read
// its standard output, where the library's trace lines and the probe's own
// answers appear in the order they were written.
//
// Usage: bos_probe [--install DIR] COMMAND ARGS..., where --install sets the
// installation directory first, and COMMAND ARGS... is one of
//   message NUMBER          "[TEXT]", TEXT from loadMessageText
//   error NUMBER [PARAM...] "[TEXT]", the text of the error record NUMBER
//                           with the parameters streamed in
//   maperror CODE NAME      the records bosMapError files (errno set to CODE)
//   load NAME FLAG [SYMBOL] bosLoadLibrary: "loaded" or "not loaded", then
//                           "value N" (what the int function SYMBOL returns)
//   path DIR NAME EXT       "=PATH" from bospath
//   find PATTERN            "=NAME" for every name bosFindFiles returns
//   exist NAME              "=N" from bosexist
//   open NAME MODE          "=STATUS NAME" from bosFileOpen (MODE in hex)
// The error records of maperror and load follow as "error NUMBER: TEXT".
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bos/bos.h"
#include "config/vxini.h"
#include "foundation/msgtext_internal.h"
#include "foundation/vxerror.h"

int main(int argc, char** argv) {
  if (argc > 2 && strcmp(argv[1], "--install") == 0) bosSetInstallDir(argv[2]), argc -= 2, argv += 2;
  if (argc < 3) return 2;
  VxErrorList list(nullptr, VxErrorList::kSupportMultipleErrors);
  VxErrorKeeper::setErrorList(&list);
  const std::string command = argv[1];
  char text[BOS_MAX_PATH];
  snprintf(text, sizeof text, "%s", argv[2]);
  if (command == "message") {
    loadMessageText(uint16_t(atoi(argv[2])), text, sizeof text);
    printf("[%s]\n", text);
  } else if (command == "error") {
    VxError& record = addError(uint16_t(atoi(argv[2])));
    for (int i = 3; i < argc; ++i) record << argv[i];
    printf("[%s]\n", record.getErrorText());
  } else if (command == "maperror" && argc == 4) {
    errno = atoi(argv[2]);
    bosMapError(errno, argv[3]);
  } else if (command == "load" && argc >= 4) {
    void* library = bosLoadLibrary(argv[2], uint16_t(atoi(argv[3])));
    printf("%s\n", library ? "loaded" : "not loaded");
    auto f = reinterpret_cast<int (*)()>(library && argc > 4 ? vxGetProcAddr(library, argv[4]) : nullptr);
    if (f) printf("value %d\n", f());
  } else if (command == "path" && argc == 5) {
    if (bospath(text, argv[2], argv[3], argv[4]) == 0) printf("=%s\n", text);
  } else if (command == "find") {
    VxBosFileFindDesc desc;
    for (uint16_t rc = bosFindFiles(argv[2], &desc, text); rc == 0; rc = bosFindFiles(nullptr, &desc, text)) printf("=%s\n", text);
  } else if (command == "exist") {
    printf("=%d\n", bosexist(argv[2]));
  } else if (command == "open" && argc == 4) {
    int handle = -1;
    printf("=%u %s\n", bosFileOpen(text, uint32_t(strtoul(argv[3], nullptr, 16)), &handle), text);
    bosFileClose(handle);
  } else {
    return 2;
  }
  for (VxError* e = list.getFirstNode(); e && (command == "maperror" || command == "load"); e = list.getNextNode())
    printf("error %u: %s\n", unsigned(e->getErrorNumber()), e->getErrorText());
  VxErrorKeeper::giveUpErrorList();
  return 0;
}
