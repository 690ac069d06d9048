// The two ways reading a page can fail; everything else a page holds is kept, understood or not.
#pragma once

#include <stdexcept>
#include <string>

namespace trivo {

class SerializerError : public std::runtime_error {
 public:
  enum class Case { identityMismatch, malformedFrontmatter };

  // The page names another period in its front matter than the one it was read for.
  static SerializerError identityMismatch(std::string expected, std::string found) {
    return SerializerError(Case::identityMismatch, std::move(expected), std::move(found));
  }
  // The front matter block at the top of the page cannot be read.
  static SerializerError malformedFrontmatter() {
    return SerializerError(Case::malformedFrontmatter, {}, {});
  }

  [[nodiscard]] Case kind() const { return kind_; }
  // Set only for identityMismatch: the key that was asked for and the one the page names.
  [[nodiscard]] const std::string& expected() const { return expected_; }
  [[nodiscard]] const std::string& found() const { return found_; }

 private:
  SerializerError(Case kind, std::string expected, std::string found)
      : std::runtime_error(kind == Case::identityMismatch
                               ? "The page is for " + found + ", not " + expected + "."
                               : std::string("The front matter at the top of the page is malformed.")),
        kind_(kind),
        expected_(std::move(expected)),
        found_(std::move(found)) {}

  Case kind_;
  std::string expected_;
  std::string found_;
};

}  // namespace trivo
