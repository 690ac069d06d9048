// The English bundle: sorted for lookup, and the section headings exactly as pages show them.
#include "core/content/content_bundle.h"

#include <gtest/gtest.h>

namespace trivo {
namespace {

TEST(ContentBundle, IsSortedAndAnswersKnownKeysExactly) {
  EXPECT_TRUE(content::bundleIsSorted());
  EXPECT_EQ(content::english("file.day.pulled"), "From the inbox");
  EXPECT_EQ(content::english("file.quarter.outcomes_calendar"), "Outcomes by month");
  EXPECT_EQ(content::english("how_did_i_do"), "How did I do");
  EXPECT_EQ(content::english("file.day.nope"), std::nullopt);
  EXPECT_EQ(content::text("file.day.nope"), "file.day.nope");
}

}  // namespace
}  // namespace trivo
