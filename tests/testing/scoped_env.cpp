// Temporary folders for tests.
#include "testing/scoped_env.h"

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
