#include "containers/vxstrupp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>
#include <vector>

namespace {

// Each case asks one cache a sequence of candidates, in order.
TEST(VxSubStringUpper, CandidatesMatchTheUpperCaseFormOfTheView) {
  struct Case {
    const char* view;
    std::vector<std::pair<const char*, bool>> candidates;
  };
  const Case cases[] = {
      {"select", {{"select", true}}},  // the first call accepts an exact byte match
      // Once the cache is filled, only the upper-case form matches.
      {"Select", {{"SELECT", true}, {"INSERT", false}, {"Select", false}, {"SELECT", true}}},
      {"from", {{"FROMX", false}, {"FRO", false}}},  // another length never matches
      // Views longer than the cache compare case-insensitively.
      {"a_rather_long_identifier",
       {{"A_RATHER_LONG_IDENTIFIER", true}, {"a_Rather_Long_Identifier", true}, {"A_RATHER_LONG_IDENTIFIEX", false}}},
  };
  for (const Case& c : cases) {
    VxSubString view(c.view);
    VxSubStringUpper upper(&view, view.getLength());
    for (const auto& candidate : c.candidates) {
      EXPECT_EQ(candidate.second, upper.isEqualUpper(candidate.first, strlen(candidate.first)))
          << c.view << " vs " << candidate.first;
    }
  }
}

}  // namespace
