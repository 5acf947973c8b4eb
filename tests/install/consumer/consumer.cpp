// A driver-sized program built against the installed library: it must
// compile with the installed headers, link with -lvx and run.
#include <cstdio>

#include "foundation/vxobject.h"

int main() {
  VxObject a, b;
  if (a.compare(&b) != 0) {
    std::puts("consumer: VxObject::compare of two plain objects is not 0");
    return 1;
  }
  VxObject* heap = new VxObject;
  if (heap == nullptr) return 1;
  delete heap;
  std::puts("consumer: linked against the installed vxlib");
  return 0;
}
