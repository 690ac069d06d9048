// Test helpers that restore what they change: environment variables and temporary folders.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace trivo::testing {

// Sets (or unsets) an environment variable for the life of the object.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    if (value) {
      setenv(name, value, 1);
    } else {
      unsetenv(name);
    }
  }
  ~ScopedEnv() {
    if (old_) {
      setenv(name_.c_str(), old_->c_str(), 1);
    } else {
      unsetenv(name_.c_str());
    }
  }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string name_;
  std::optional<std::string> old_;
};

// A fresh folder under the system's temporary folder, removed with everything in it.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  // Writes a file (creating its folders) and returns its path.
  std::filesystem::path write(const std::filesystem::path& relative, const std::string& text) const;
  [[nodiscard]] std::string read(const std::filesystem::path& relative) const;

 private:
  std::filesystem::path path_;
};

}  // namespace trivo::testing
