// Sleeping.
#include <gtest/gtest.h>

#include <chrono>

#include "bos/bos.h"

namespace {

// A lower bound only: the sleep may last longer on a loaded machine.
TEST(Sleep, SleepsAtLeastTheMillisecondsGiven) {
  auto start = std::chrono::steady_clock::now();
  bossleep(1500);
  auto elapsed = std::chrono::steady_clock::now() - start;
  EXPECT_GE(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count(), 1500);
}

}  // namespace
