// The library leaves the host's global allocation operators alone and
// offers its own null-returning forms under signatures of their own.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include "foundation/vxobject.h"

namespace {

TEST(GlobalAllocation, OperatorNewOfZeroGivesValidDistinctPointers) {
  void* a = ::operator new(0);
  void* b = ::operator new(0);
  ASSERT_NE(nullptr, a);
  ASSERT_NE(nullptr, b);
  EXPECT_NE(a, b);
  ::operator delete(a);
  ::operator delete(b);
}

TEST(GlobalAllocation, InitialisingFormsOfZeroGiveValidDistinctWritableBlocks) {
  unsigned char* a = static_cast<unsigned char*>(operator new(0, RamInitType(0)));
  unsigned char* b = static_cast<unsigned char*>(operator new[](0, RamInitType(1)));
  ASSERT_NE(nullptr, a);
  ASSERT_NE(nullptr, b);
  EXPECT_NE(a, b);
  EXPECT_EQ(0, a[0]);  // zero-filled: the size 0 became 1
  b[0] = 1;
  free(a);
  free(b);
}

TEST(GlobalAllocation, ArrayFormZeroFillsForInitZero) {
  unsigned char* p = static_cast<unsigned char*>(operator new[](32, RamInitType(0)));
  ASSERT_NE(nullptr, p);
  for (int i = 0; i < 32; ++i) EXPECT_EQ(0, p[i]);
  free(p);
}

// Deliberate: the shared library defines none of the replaceable global
// operators, so loading it cannot change how the host allocates.
TEST(GlobalAllocation, SharedLibraryDoesNotReplaceTheHostsOperators) {
  std::string command = std::string("nm -D --defined-only '") + VX_SHARED_LIBRARY + "'";
  FILE* p = popen(command.c_str(), "r");
  ASSERT_NE(nullptr, p);
  std::string symbols;
  char line[512];
  int lines = 0;
  while (fgets(line, sizeof line, p)) {
    symbols += line;
    ++lines;
  }
  ASSERT_EQ(0, pclose(p));
  ASSERT_GT(lines, 0);
  for (const char* name : {" _Znwm\n", " _Znam\n", " _ZdlPv\n", " _ZdaPv\n", " _ZdlPvm\n",
                           " _ZdaPvm\n", " _ZnwmRKSt9nothrow_t\n"})
    EXPECT_EQ(std::string::npos, symbols.find(name)) << name;
  // The library's own form is there.
  EXPECT_NE(std::string::npos, symbols.find(" _Znwmi\n"));
}

}  // namespace
