// Conflict copies of file-sync tools.
#include "core/store/cloud_signal.h"

#include <gtest/gtest.h>

namespace trivo {
namespace {

TEST(ConflictCopy, KnownSyncToolNamesAreRecognisedAndOrdinaryOnesAreNot) {
  for (const char* name :
       {"2026-09-16.sync-conflict-20260916-123456-ABCDEFG.md",
        "2026-09-16.SYNC-CONFLICT-20260916-123456-ABCDEFG.org",
        "2026-09-16 (conflicted copy 2026-09-16).md",
        "2026-09-16 (Ada's conflicted copy 2026-09-16).md",
        "2026-09-16 (conflicted copy 2026-09-16 093000).md", "2026-09-16 (Conflict).md",
        "inbox (SFConflict ada 2026-09-16-09-30-00).md"}) {
    EXPECT_TRUE(isConflictCopy(name)) << name;
  }
  for (const char* name :
       {"2026-09-16.md", "inbox.org", "conflict resolution.md", "notes (draft).md",
        "2026-09-16 (2).md", "(conflict", "sync-conflict.md"}) {
    EXPECT_FALSE(isConflictCopy(name)) << name;
  }
}

}  // namespace
}  // namespace trivo
