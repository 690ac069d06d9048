#include "core/platform/shared_library.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace trivo {
namespace {

TEST(SharedLibrary, FunctionsComeFromTheLibraryAndMissingOnesAreOneSentence) {
  SharedLibrary libc("libc.so.6");
  EXPECT_TRUE(libc.available());
  EXPECT_EQ(libc.function<decltype(::getpid)>("getpid")(), ::getpid());
  try {
    libc.function<void()>("trivo_no_such_function");
    FAIL() << "a missing function was found";
  } catch (const SharedLibraryError& e) {
    EXPECT_STREQ(e.what(),
                 "The library libc.so.6 has no function trivo_no_such_function; it may be too "
                 "old.");
  }

  SharedLibrary missing("libtrivo-missing.so.9");
  EXPECT_FALSE(missing.available());
  try {
    missing.function<void()>("anything");
    FAIL() << "a missing library was loaded";
  } catch (const SharedLibraryError& e) {
    const std::string what = e.what();
    EXPECT_TRUE(what.starts_with("Could not load libtrivo-missing.so.9 (")) << what;
    EXPECT_TRUE(what.ends_with("); is its package installed?")) << what;
  }
}

}  // namespace
}  // namespace trivo
