// A small RAII wrapper over PCRE2 (8-bit, UTF mode, JIT where available) for the fixed patterns
// of the page syntax. A Regex is immutable once built and may be shared between threads.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trivo {

class Regex {
 public:
  // One match: the byte ranges of the whole match (group 0) and of each capture group, as views
  // into the subject that was searched (which must outlive the match).
  class Match {
   public:
    // The text of group `index` (0 is the whole match); nothing when the group did not take part
    // or does not exist.
    [[nodiscard]] std::optional<std::string_view> group(std::size_t index) const;
    // The text of a named group; nothing when it did not take part or is not in the pattern.
    [[nodiscard]] std::optional<std::string_view> group(std::string_view name) const;
    // The group's text, or an empty view when it did not take part.
    [[nodiscard]] std::string_view operator[](std::size_t index) const {
      return group(index).value_or(std::string_view());
    }
    [[nodiscard]] std::size_t begin() const { return groups_[0].first; }
    [[nodiscard]] std::size_t end() const { return groups_[0].second; }
    [[nodiscard]] std::size_t groupCount() const { return groups_.size(); }

   private:
    friend class Regex;
    const Regex* regex_ = nullptr;
    std::string_view subject_;
    std::vector<std::pair<std::size_t, std::size_t>> groups_;  // npos pair when unset
  };

  // Compiles a pattern in UTF mode with Unicode properties for \d, \s and \w; invalid UTF-8 in a
  // subject is tolerated (it simply never matches a character class). A pattern that does not
  // compile is a programming error and throws std::logic_error naming the offset.
  explicit Regex(std::string_view pattern, bool caseless = false);
  ~Regex();
  Regex(const Regex&) = delete;
  Regex& operator=(const Regex&) = delete;
  Regex(Regex&&) noexcept;
  Regex& operator=(Regex&&) noexcept;

  // The first match at or after byte `start`; nothing when there is none.
  [[nodiscard]] std::optional<Match> find(std::string_view subject, std::size_t start = 0) const;
  // A match that must cover the whole subject.
  [[nodiscard]] std::optional<Match> matchWhole(std::string_view subject) const;
  [[nodiscard]] bool contains(std::string_view subject) const { return find(subject).has_value(); }
  // Every non-overlapping match from left to right.
  [[nodiscard]] std::vector<Match> findAll(std::string_view subject) const;
  // Replaces every match; the replacement may name groups as $1, ${1} or ${name}, and $$ is a
  // dollar sign. A group that did not take part inserts nothing.
  [[nodiscard]] std::string replaceAll(std::string_view subject,
                                       std::string_view replacement) const;

 private:
  struct Code;
  std::optional<Match> run(std::string_view subject, std::size_t start, bool whole) const;
  std::unique_ptr<Code> code_;
};

}  // namespace trivo
