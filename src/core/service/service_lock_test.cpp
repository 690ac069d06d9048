#include "core/service/service_lock.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "testing/scoped_env.h"

namespace trivo {
namespace {

TEST(ServiceLock, OneHolderPerVaultNamedByItsProcessAndFreedWhenItGoes) {
  testing::TempDir dir;
  const auto file = ServiceLock::fileFor(dir.path(), dir.path() / "vault");
  // Two spellings of one folder share the lock.
  EXPECT_EQ(file, ServiceLock::fileFor(dir.path(), dir.path() / "vault" / ".." / "vault"));
  EXPECT_EQ(ServiceLock::holder(file), std::nullopt);
  {
    auto lock = ServiceLock::acquire(file);
    ASSERT_TRUE(lock);
    EXPECT_EQ(ServiceLock::holder(file), ::getpid());
    EXPECT_FALSE(ServiceLock::acquire(file));
    // Another process is refused as well (the lock belongs to the open file, not the process).
    const pid_t child = ::fork();
    if (child == 0) _exit(ServiceLock::acquire(file) ? 1 : 0);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
  }
  EXPECT_EQ(ServiceLock::holder(file), std::nullopt);
  EXPECT_TRUE(ServiceLock::acquire(file));
}

}  // namespace
}  // namespace trivo
