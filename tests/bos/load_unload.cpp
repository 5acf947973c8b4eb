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
#include <thread>

namespace {

typedef uint16_t (*InitFunction)();
typedef void (*TermFunction)();
typedef void* (*GetFunction)(uint16_t);
typedef uint16_t (*SetFunction)(uint16_t, void*);
typedef uint16_t (*RegionLockFunction)(int, uint16_t, uint64_t, uint64_t);

template <typename T>
bool find(void* library, const char* name, T* function) {
  *function = reinterpret_cast<T>(dlsym(library, name));
  if (!*function) fprintf(stderr, "missing symbol %s: %s\n", name, dlerror());
  return *function != nullptr;
}

// One round: register this thread and a second one, store and read back a
// slot, release both; lock a byte range and leave it in the library's list
// of held ranges, which the unload must free. Returns false on a wrong
// answer.
bool useLibrary(void* library) {
  InitFunction init;
  TermFunction term;
  GetFunction get;
  SetFunction set;
  RegionLockFunction regionLock;
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
      fprintf(stderr, "round %d: wrong per-thread data\n", i);
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
