// The process's message catalog: choosing its file, opening it once, and
// looking texts up in it.
#include "bos/boslstr.h"

#include <nl_types.h>

#include <atomic>
#include <clocale>
#include <cstdio>
#include <cstring>

#include "bos/bosenv.h"
#include "bos/bosfile.h"
#include "bos/vxcritse.h"
#include "foundation/vxtrace.h"

char InstallDirLocation[VX_INSTALL_DIR_SIZE];

namespace {

// Opening (and closing) holds the first section, lookups the second; a
// thread that needs both takes them in this order. Built before the other
// static objects of the library and destroyed after them, so the unload
// can still close the catalog under them.
VxCriticalSection catalogOpenLock __attribute__((init_priority(101)));
VxCriticalSection catalogLookupLock __attribute__((init_priority(101)));

const nl_catd kNoCatalog = reinterpret_cast<nl_catd>(-1);
// Written under both sections (close) or the opening one (open); read by
// lookups under theirs, hence atomic.
std::atomic<nl_catd> openCatalog{kNoCatalog};

bool tracing() { return BOS_RUNTIME_DEBUG.debugItem(VX_DEBUG_MESSAGES) != 0; }

bool setAndNotC(const char* value) { return value && strcmp(value, "C") != 0; }

// The language of the catalog to open, given the process's message locale.
// A program that never called setlocale has the locale "C": then the
// environment decides, "LC_MESSAGES" before "LANG", either one only when
// it is set and not "C"; en_US when neither. Any other locale names the
// language itself.
const char* chooseLanguage(const char* locale) {
  if (strcmp(locale, "C") == 0) {
    const char* value = bosGetEnv("LC_MESSAGES");
    if (setAndNotC(value)) return value;
    value = bosGetEnv("LANG");
    if (setAndNotC(value)) return value;
    return "en_US";
  }
  return *locale ? locale : "en_US";
}

// catopen of ROOT/locale/LANGUAGE/LC_MESSAGES/MODULE.mo; kNoCatalog when
// the path does not fit a path buffer or the file does not open.
nl_catd openCatalogFile(const char* root, const char* language, const char* module) {
  char path[BOS_MAX_PATH];
  int length = snprintf(path, sizeof path, "%s/locale/%s/LC_MESSAGES/%s.mo", root, language, module);
  if (length < 0 || size_t(length) >= sizeof path) return kNoCatalog;
  return catopen(path, 0);
}

// The directory the catalog is looked for under, copied into `installDir`
// (VX_INSTALL_DIR_SIZE bytes): the installation directory; while none is
// set, the one the environment variable "VX_INSTALL_DIR" names (how a copy
// of the library that is not installed, such as the one the tests run,
// finds its catalog); else the prefix the library was built to be
// installed under. No other place is ever searched: whoever may write the
// catalog supplies every message text of every driver.
const char* catalogRoot(char* installDir) {
  snprintf(installDir, VX_INSTALL_DIR_SIZE, "%s", InstallDirLocation);
  if (*installDir) return installDir;
  const char* named = bosGetEnv("VX_INSTALL_DIR");
  if (named && *named) return named;
  return VX_INSTALL_PREFIX;
}

// Closes the catalog when the library is unloaded (or the process ends).
struct CatalogCloser {
  ~CatalogCloser() { CloseStrings(); }
} catalogCloser;

}  // namespace

uint16_t OpenStrings(const char* module) {
  if (!module) module = VX_MESSAGE_MODULE;
  VxCriticalSectionGuard guard(catalogOpenLock);
  if (openCatalog.load() == kNoCatalog) {
    const char* locale = setlocale(LC_MESSAGES, nullptr);
    if (!locale) locale = "C";
    if (tracing()) {
      printf("OpenStrings: HINST=%s\n", module);
      printf("OpenStrings: Default LC_MESSAGES=%s\n", locale);
    }
    const char* language = chooseLanguage(locale);
    if (tracing()) printf("OpenStrings: Using LC_MESSAGES=%s\n", language);
    char installDir[VX_INSTALL_DIR_SIZE];
    const char* root = catalogRoot(installDir);
    nl_catd catalog = openCatalogFile(root, language, module);
    if (catalog == kNoCatalog) catalog = openCatalogFile(root, "en_US", module);
    openCatalog.store(catalog);
  }
  return openCatalog.load() == kNoCatalog ? 1 : 0;
}

void CloseStrings() {
  VxCriticalSectionGuard openGuard(catalogOpenLock);
  VxCriticalSectionGuard lookupGuard(catalogLookupLock);
  nl_catd catalog = openCatalog.exchange(kNoCatalog);
  if (catalog != kNoCatalog) catclose(catalog);
}

uint16_t bosLoadResourceDLL(const char* module, uint32_t, void** handle, int32_t* useCount) {
  VxCriticalSectionGuard guard(catalogOpenLock);
  if (useCount) ++*useCount;
  OpenStrings(module);
  if (handle) *handle = openCatalog.load();
  return 0;
}

uint16_t bosFreeResourceDLL(void*, int32_t* useCount) {
  VxCriticalSectionGuard guard(catalogOpenLock);
  if (useCount && *useCount > 0) --*useCount;
  return 0;
}

// The text is the catalog's message `id` of set 1, with the decimal number
// as the default catgets answers for a message the catalog lacks.
VXSIZE_T LoadStringFromOpenFile(uint32_t id, char* buffer, VXSIZE_T size) {
  char number[16];
  snprintf(number, sizeof number, "%u", unsigned(id));
  const char* text = number;
  nl_catd catalog = openCatalog.load();
  if (catalog != kNoCatalog) {
    if (tracing()) printf("LoadStringFromOpenFile: idResource=%s\n", number);
    text = catgets(catalog, 1, int(id), number);
    if (tracing()) printf("LoadStringFromOpenFile: Lookup returns: %s\n", text);
  }
  VXSIZE_T length = strlen(text);
  if (size != 0 && length > size - 1) length = size - 1;
  memcpy(buffer, text, length);
  buffer[length] = '\0';
  return length;
}

VXSIZE_T LoadString(const char*, uint32_t id, char* buffer, VXSIZE_T size) {
  VxCriticalSectionGuard guard(catalogLookupLock);
  return LoadStringFromOpenFile(id, buffer, size);
}
