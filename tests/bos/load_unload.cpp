// Loads and unloads the shared library many times, using its locks and
// per-thread data on every round, and checks that each dlclose really
// unloads it. Run under valgrind (or LeakSanitizer) by the suite: anything
// the library builds at load and does not release at unload is a leak.
//
// Usage: load_unload PATH-OF-LIBVX [ROUNDS]
#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

typedef uint16_t (*InitFunction)();
typedef void (*TermFunction)();
typedef void* (*GetFunction)(uint16_t);
typedef uint16_t (*SetFunction)(uint16_t, void*);
typedef uint16_t (*RegionLockFunction)(int, uint16_t, uint64_t, uint64_t);
typedef uint16_t (*LoadResourceFunction)(const char*, uint32_t, void**, int32_t*);
typedef uint16_t (*FreeResourceFunction)(void*, int32_t*);
typedef uint64_t (*LoadStringFunction)(const char*, uint32_t, char*, uint64_t);

template <typename T>
bool find(void* library, const char* name, T* function) {
  *function = reinterpret_cast<T>(dlsym(library, name));
  if (!*function) fprintf(stderr, "missing symbol %s: %s\n", name, dlerror());
  return *function != nullptr;
}

// One round: register this thread and a second one, store and read back a
// slot, release both; lock a byte range and leave it in the library's list
// of held ranges, and open the message catalog and read a text from it;
// the unload must free both. Returns false on a wrong answer.
bool useLibrary(void* library) {
  InitFunction init;
  TermFunction term;
  GetFunction get;
  SetFunction set;
  RegionLockFunction regionLock;
  LoadResourceFunction loadResource;
  FreeResourceFunction freeResource;
  LoadStringFunction loadString;
  if (!find(library, "_Z18bosLoadResourceDLLPKcjPPvPi", &loadResource) ||
      !find(library, "_Z18bosFreeResourceDLLPvPi", &freeResource) ||
      !find(library, "_Z10LoadStringPKcjPcm", &loadString)) {
    return false;
  }
  int32_t users = 0;
  char text[256];
  loadResource("vxlib", 0, nullptr, &users);
  // The catalog built with the library has a text for 1509.
  if (loadString("vxlib", 1509, text, sizeof text) == 0 || strcmp(text, "1509") == 0) return false;
  freeResource(nullptr, &users);
  if (!find(library, "_Z16mdsPerThreadInitv", &init) || !find(library, "_Z16mdsPerThreadTermv", &term) ||
      !find(library, "_Z19mdsGetPerThreadDatat", &get) || !find(library, "_Z19mdsSetPerThreadDatatPv", &set) ||
      !find(library, "_Z13bosRegionLockitmm", &regionLock)) {
    return false;
  }
  FILE* scratch = tmpfile();
  if (!scratch || regionLock(fileno(scratch), 0, 0, 10) != 0) return false;
  fclose(scratch);  // the system lock goes with the descriptor
  bool ok = true;
  auto round = [&](uintptr_t value) {
    if (init() != 1 || set(0, reinterpret_cast<void*>(value)) != 0 ||
        get(0) != reinterpret_cast<void*>(value)) {
      ok = false;
    }
    term();
  };
  round(1);
  std::thread other(round, 2);
  other.join();
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: load_unload PATH-OF-LIBVX [ROUNDS]\n");
    return 2;
  }
  int rounds = argc > 2 ? atoi(argv[2]) : 50;
  for (int i = 0; i < rounds; ++i) {
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (!library) {
      fprintf(stderr, "dlopen: %s\n", dlerror());
      return 1;
    }
    if (!useLibrary(library)) {
      fprintf(stderr, "round %d: wrong per-thread data or no catalog text\n", i);
      return 1;
    }
    if (dlclose(library) != 0) {
      fprintf(stderr, "dlclose: %s\n", dlerror());
      return 1;
    }
    if (dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD)) {
      fprintf(stderr, "round %d: the library stayed loaded after dlclose\n", i);
      return 1;
    }
  }
  printf("loaded and unloaded %d times\n", rounds);
  return 0;
}
