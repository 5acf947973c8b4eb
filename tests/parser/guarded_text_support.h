// Shared setup of the parser tests that check texts without a NUL: a UTF-8
// process locale (whose multibyte tests read beyond a byte that can begin a
// longer character) and copies of the text that end flush against an
// inaccessible page, so that any read past their end (in the library or in
// the C runtime) faults. Tests skip when the machine has no UTF-8 locale.
#ifndef VX_TESTS_PARSER_GUARDED_TEXT_SUPPORT_H_
#define VX_TESTS_PARSER_GUARDED_TEXT_SUPPORT_H_

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <clocale>
#include <cstddef>
#include <cstring>

class GuardedTextTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (setlocale(LC_ALL, "C.UTF-8") == nullptr && setlocale(LC_ALL, "C.utf8") == nullptr)
      GTEST_SKIP() << "no UTF-8 locale";
    page_ = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void* map = mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, map);
    pages_ = static_cast<char*>(map);
    ASSERT_EQ(0, mprotect(pages_ + page_, page_, PROT_NONE));
  }
  void TearDown() override {
    if (pages_ != nullptr) munmap(pages_, 2 * page_);
    setlocale(LC_ALL, "C");
  }

  // A copy of the n bytes of text that ends where the guard page begins.
  const char* atGuard(const char* text, size_t n) {
    char* copy = pages_ + page_ - n;
    memcpy(copy, text, n);
    return copy;
  }

 private:
  size_t page_ = 0;
  char* pages_ = nullptr;
};

#endif  // VX_TESTS_PARSER_GUARDED_TEXT_SUPPORT_H_
