// Temporary folders for tests.
#include "testing/scoped_env.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace trivo::testing {

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "trivo-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

std::filesystem::path TempDir::write(const std::filesystem::path& relative,
                                     const std::string& text) const {
  auto full = path_ / relative;
  std::filesystem::create_directories(full.parent_path());
  std::ofstream out(full, std::ios::binary);
  out << text;
  return full;
}

std::string TempDir::read(const std::filesystem::path& relative) const {
  std::ifstream in(path_ / relative, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace trivo::testing

namespace trivo::testing {
namespace {

// Texts the store keeps for the person go under $XDG_DATA_HOME, and the caches (the search
// index, where the inbox was last added to) under $XDG_CACHE_HOME; tests must never leave them
// in the home folder of whoever runs them. Every test process gets folders of its own, which
// child processes inherit, removed when the process ends. A test that needs another sets it.
struct PrivateHomes {
  PrivateHomes() {
    ::setenv("XDG_DATA_HOME", data.path().c_str(), 1);
    ::setenv("XDG_CACHE_HOME", cache.path().c_str(), 1);
  }
  TempDir data;
  TempDir cache;
};
const PrivateHomes privateHomes;

}  // namespace
}  // namespace trivo::testing
