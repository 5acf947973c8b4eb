#include "containers/vxstrupp.h"

#include <gtest/gtest.h>

namespace {

TEST(VxSubStringUpper, FirstCallAcceptsAnExactByteMatch) {
  VxSubString view("select");
  VxSubStringUpper upper(&view, 6);
  EXPECT_TRUE(upper.isEqualUpper("select", 6));
}

TEST(VxSubStringUpper, CandidatesAreComparedWithTheUpperCaseForm) {
  VxSubString view("Select");
  VxSubStringUpper upper(&view, 6);
  EXPECT_TRUE(upper.isEqualUpper("SELECT", 6));
  EXPECT_FALSE(upper.isEqualUpper("INSERT", 6));
  // Once the cache is filled, only the upper-case form matches.
  EXPECT_FALSE(upper.isEqualUpper("Select", 6));
  EXPECT_TRUE(upper.isEqualUpper("SELECT", 6));
}

TEST(VxSubStringUpper, ACandidateOfAnotherLengthNeverMatches) {
  VxSubString view("from");
  VxSubStringUpper upper(&view, 4);
  EXPECT_FALSE(upper.isEqualUpper("FROMX", 5));
  EXPECT_FALSE(upper.isEqualUpper("FRO", 3));
}

TEST(VxSubStringUpper, ViewsLongerThanTheCacheCompareCaseInsensitively) {
  VxSubString view("a_rather_long_identifier");
  VxSubStringUpper upper(&view, view.getLength());
  EXPECT_TRUE(upper.isEqualUpper("A_RATHER_LONG_IDENTIFIER", 24));
  EXPECT_TRUE(upper.isEqualUpper("a_Rather_Long_Identifier", 24));
  EXPECT_FALSE(upper.isEqualUpper("A_RATHER_LONG_IDENTIFIEX", 24));
}

}  // namespace
