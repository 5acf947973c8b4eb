// A child program for the tests of tracing and of the message catalog,
// both of which are fixed once per process (the debug mask at load, the
// catalog at first use). The tests run it with the environment they want
// and read its standard output, where the library's trace lines and the
// probe's own answers appear in the order they were written.
//
// Usage: bos_probe [--install DIR] COMMAND ARGS..., where --install sets the
// installation directory first, and COMMAND ARGS... is one of
//   bos_probe message NUMBER          the text of NUMBER (loadMessageText)
//   bos_probe error NUMBER [PARAM...] the text of error record NUMBER with
//                                     the parameters streamed in
//   bos_probe maperror CODE NAME      the text of the record bosMapError files
//   bos_probe load NAME FLAG [SYMBOL] bosLoadLibrary, then the int SYMBOL
//                                     returns when called
// Each answer is one line; "message" and "error" print the text between
// "[" and "]". "load" prints "loaded" or "not loaded", the value, and
// every error record as "error NUMBER: TEXT".
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bos/bos.h"
#include "config/vxini.h"
#include "foundation/msgtext_internal.h"
#include "foundation/vxerror.h"

namespace {

void printErrors(VxErrorList& list) {
  for (VxError* e = list.getFirstNode(); e; e = list.getNextNode())
    printf("error %u: %s\n", unsigned(e->getErrorNumber()), e->getErrorText());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 2 && strcmp(argv[1], "--install") == 0) {
    bosSetInstallDir(argv[2]);
    argc -= 2;
    argv += 2;
  }
  if (argc < 3) return 2;
  VxErrorList list(nullptr, VxErrorList::kSupportMultipleErrors);
  VxErrorKeeper::setErrorList(&list);
  const char* command = argv[1];
  if (strcmp(command, "message") == 0) {
    char text[1024];
    loadMessageText(uint16_t(atoi(argv[2])), text, sizeof text);
    printf("[%s]\n", text);
  } else if (strcmp(command, "error") == 0) {
    VxError& record = addError(uint16_t(atoi(argv[2])));
    for (int i = 3; i < argc; ++i) record << argv[i];
    printf("[%s]\n", record.getErrorText());
  } else if (strcmp(command, "maperror") == 0 && argc == 4) {
    errno = atoi(argv[2]);
    bosMapError(errno, argv[3]);
    printErrors(list);
  } else if (strcmp(command, "load") == 0 && argc >= 4) {
    void* library = bosLoadLibrary(argv[2], uint16_t(atoi(argv[3])));
    printf("%s\n", library ? "loaded" : "not loaded");
    if (library && argc > 4) {
      typedef int (*IntFunction)();
      IntFunction f = reinterpret_cast<IntFunction>(vxGetProcAddr(library, argv[4]));
      printf("value %d\n", f ? f() : -1);
    }
    printErrors(list);
  } else {
    return 2;
  }
  VxErrorKeeper::giveUpErrorList();
  return 0;
}
