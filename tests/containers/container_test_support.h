// Test helpers shared by the container tests: objects and strings that
// count their destructions, so ownership rules can be observed.
#ifndef VX_TESTS_CONTAINERS_CONTAINER_TEST_SUPPORT_H_
#define VX_TESTS_CONTAINERS_CONTAINER_TEST_SUPPORT_H_

#include "containers/vxstring.h"
#include "foundation/vxobject.h"

struct TrackedObject : VxObject {
  explicit TrackedObject(int* deaths) : deaths(deaths) {}
  ~TrackedObject() override { ++*deaths; }
  int* deaths;
};

// A heap string key that counts its destruction.
struct TrackedString : VxString {
  TrackedString(const char* text, int* deaths) : deaths(deaths) { initialize(text); }
  ~TrackedString() override { ++*deaths; }
  int* deaths;
};

#endif  // VX_TESTS_CONTAINERS_CONTAINER_TEST_SUPPORT_H_
