// Loads and unloads the shared library many times, using its locks,
// per-thread data and message catalog on every round, and checks that each
// dlclose really unloads it. Run under valgrind (or LeakSanitizer) by the
// suite: anything the library builds at load and does not release at
// unload is a leak.
//
// Usage: load_unload PATH-OF-LIBVX [ROUNDS]
#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <utility>

namespace {

// One round: open the message catalog and read a text from it; lock a byte
// range and leave it in the library's list of held ranges; register this
// thread and a second one, store and read back a slot, release both. The
// unload must free all of it. Returns false on a wrong answer or a missing
// function (reported).
bool useLibrary(void* library) {
  uint16_t (*loadResource)(const char*, uint32_t, void**, int32_t*), (*freeResource)(void*, int32_t*),
      (*regionLock)(int, uint16_t, uint64_t, uint64_t), (*init)(), (*set)(uint16_t, void*);
  uint64_t (*loadString)(const char*, uint32_t, char*, uint64_t);
  void (*term)();
  void* (*get)(uint16_t);
  const std::pair<void**, const char*> wanted[] = {
      {(void**)&loadResource, "_Z18bosLoadResourceDLLPKcjPPvPi"}, {(void**)&freeResource, "_Z18bosFreeResourceDLLPvPi"},
      {(void**)&loadString, "_Z10LoadStringPKcjPcm"}, {(void**)&regionLock, "_Z13bosRegionLockitmm"}, {(void**)&init, "_Z16mdsPerThreadInitv"},
      {(void**)&term, "_Z16mdsPerThreadTermv"}, {(void**)&get, "_Z19mdsGetPerThreadDatat"}, {(void**)&set, "_Z19mdsSetPerThreadDatatPv"}};
  for (const auto& w : wanted)
    if (!(*w.first = dlsym(library, w.second))) return fprintf(stderr, "missing symbol %s: %s\n", w.second, dlerror()), false;
  int32_t users = 0;
  char text[256];
  loadResource("vxlib", 0, nullptr, &users);
  // The catalog built with the library has a text for 1509.
  if (loadString("vxlib", 1509, text, sizeof text) == 0 || strcmp(text, "1509") == 0) return false;
  freeResource(nullptr, &users);
  FILE* scratch = tmpfile();
  if (!scratch || regionLock(fileno(scratch), 0, 0, 10) != 0) return false;
  fclose(scratch);  // the system lock goes with the descriptor
  bool ok = true;
  auto round = [&](uintptr_t value) {
    ok = ok && init() == 1 && set(0, reinterpret_cast<void*>(value)) == 0 && get(0) == reinterpret_cast<void*>(value);
    term();
  };
  round(1);
  std::thread(round, 2).join();
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return fprintf(stderr, "usage: load_unload PATH-OF-LIBVX [ROUNDS]\n"), 2;
  int rounds = argc > 2 ? atoi(argv[2]) : 50;
  for (int i = 0; i < rounds; ++i) {
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    const char* failure = !library ? "dlopen failed"
                          : !useLibrary(library) ? "wrong per-thread data or no catalog text"
                          : dlclose(library) != 0 ? "dlclose failed"
                          : dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) ? "the library stayed loaded after dlclose"
                                                                     : nullptr;
    const char* why = failure ? dlerror() : nullptr;
    if (failure) return fprintf(stderr, "round %d: %s%s%s\n", i, failure, why ? ": " : "", why ? why : ""), 1;
  }
  printf("loaded and unloaded %d times\n", rounds);
  return 0;
}
