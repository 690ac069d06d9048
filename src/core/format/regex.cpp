// PCRE2 behind the Regex wrapper: compile once, JIT when the platform supports it, and fresh
// match data per call so that one compiled pattern serves every thread.
#define PCRE2_CODE_UNIT_WIDTH 8
#include "core/format/regex.h"

#include <pcre2.h>

#include <stdexcept>
#include <string>

namespace trivo {

struct Regex::Code {
  pcre2_code* code = nullptr;
  // The pattern wrapped as "\A(?:…)\z" for whole matches: anchoring by match-time options
  // would make PCRE2 leave the JIT code and interpret the pattern, many times slower.
  pcre2_code* whole = nullptr;
  ~Code() {
    pcre2_code_free(code);
    pcre2_code_free(whole);
  }
};

namespace {

PCRE2_SPTR bytes(std::string_view text) {
  // PCRE2 wants unsigned code units; the text is only read.
  return reinterpret_cast<PCRE2_SPTR>(text.data());
}

struct MatchData {
  explicit MatchData(const pcre2_code* code)
      : data(pcre2_match_data_create_from_pattern(code, nullptr)) {
    if (data == nullptr) throw std::bad_alloc();
  }
  ~MatchData() { pcre2_match_data_free(data); }
  MatchData(const MatchData&) = delete;
  MatchData& operator=(const MatchData&) = delete;
  pcre2_match_data* data;
};

std::string errorText(int code) {
  PCRE2_UCHAR buffer[256];
  if (pcre2_get_error_message(code, buffer, sizeof buffer) < 0) return "unknown error";
  return std::string(reinterpret_cast<const char*>(buffer));
}

}  // namespace

namespace {

pcre2_code* compile(std::string_view pattern, std::uint32_t options) {
  int error = 0;
  PCRE2_SIZE offset = 0;
  pcre2_code* code =
      pcre2_compile(bytes(pattern), pattern.size(), options, &error, &offset, nullptr);
  if (code == nullptr) {
    throw std::logic_error("regular expression \"" + std::string(pattern) +
                           "\" does not compile at " + std::to_string(offset) + ": " +
                           errorText(error));
  }
  // Without JIT support the interpreter runs the same pattern; nothing else changes.
  (void)pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);
  return code;
}

}  // namespace

Regex::Regex(std::string_view pattern, bool caseless) : code_(std::make_unique<Code>()) {
  std::uint32_t options = PCRE2_UTF | PCRE2_UCP | PCRE2_MATCH_INVALID_UTF;
  if (caseless) options |= PCRE2_CASELESS;
  code_->code = compile(pattern, options);
  code_->whole = compile("\\A(?:" + std::string(pattern) + ")\\z", options);
}

Regex::~Regex() = default;
Regex::Regex(Regex&&) noexcept = default;
Regex& Regex::operator=(Regex&&) noexcept = default;

std::optional<Regex::Match> Regex::run(std::string_view subject, std::size_t start,
                                       bool whole) const {
  if (start > subject.size()) return std::nullopt;
  const pcre2_code* code = whole ? code_->whole : code_->code;
  MatchData md(code);
  int rc = pcre2_match(code, bytes(subject), subject.size(), start, 0, md.data, nullptr);
  if (rc < 0) {
    if (rc == PCRE2_ERROR_NOMATCH) return std::nullopt;
    // Resource limits or an offset inside a character: treat as no match rather than fail.
    return std::nullopt;
  }
  std::uint32_t count = 0;
  pcre2_pattern_info(code_->code, PCRE2_INFO_CAPTURECOUNT, &count);
  const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(md.data);
  Match m;
  m.regex_ = this;
  m.subject_ = subject;
  m.groups_.reserve(count + 1);
  const auto pairs = static_cast<std::uint32_t>(pcre2_get_ovector_count(md.data));
  for (std::uint32_t i = 0; i <= count; ++i) {
    if (i < pairs && ovector[2 * i] != PCRE2_UNSET) {
      m.groups_.emplace_back(ovector[2 * i], ovector[2 * i + 1]);
    } else {
      m.groups_.emplace_back(std::string_view::npos, std::string_view::npos);
    }
  }
  return m;
}

std::optional<Regex::Match> Regex::find(std::string_view subject, std::size_t start) const {
  return run(subject, start, false);
}

std::optional<Regex::Match> Regex::matchWhole(std::string_view subject) const {
  return run(subject, 0, true);
}

std::vector<Regex::Match> Regex::findAll(std::string_view subject) const {
  std::vector<Match> all;
  std::size_t start = 0;
  while (start <= subject.size()) {
    auto m = find(subject, start);
    if (!m) break;
    std::size_t next = m->end();
    if (m->end() == m->begin()) {
      // An empty match: step over one whole UTF-8 character so the next search starts cleanly.
      next = m->end() + 1;
      while (next < subject.size() && (static_cast<unsigned char>(subject[next]) & 0xC0) == 0x80) {
        ++next;
      }
    }
    all.push_back(std::move(*m));
    start = next;
  }
  return all;
}

std::string Regex::replaceAll(std::string_view subject, std::string_view replacement) const {
  const std::uint32_t options =
      PCRE2_SUBSTITUTE_GLOBAL | PCRE2_SUBSTITUTE_OVERFLOW_LENGTH | PCRE2_SUBSTITUTE_UNSET_EMPTY;
  std::string out(subject.size() + replacement.size() + 16, '\0');
  for (int attempt = 0; attempt < 2; ++attempt) {
    PCRE2_SIZE length = out.size();
    MatchData md(code_->code);
    int rc = pcre2_substitute(code_->code, bytes(subject), subject.size(), 0, options, md.data,
                              nullptr, bytes(replacement), replacement.size(),
                              reinterpret_cast<PCRE2_UCHAR*>(out.data()), &length);
    if (rc >= 0) {
      out.resize(length);
      return out;
    }
    if (rc != PCRE2_ERROR_NOMEMORY) break;
    out.assign(length, '\0');  // `length` now holds the size that is needed
  }
  // A replacement that PCRE2 refuses (a bad group name) is a programming error; keep the text.
  return std::string(subject);
}

std::optional<std::string_view> Regex::Match::group(std::size_t index) const {
  if (index >= groups_.size() || groups_[index].first == std::string_view::npos) {
    return std::nullopt;
  }
  return subject_.substr(groups_[index].first, groups_[index].second - groups_[index].first);
}

std::optional<std::string_view> Regex::Match::group(std::string_view name) const {
  std::string key(name);
  int number = pcre2_substring_number_from_name(regex_->code_->code, bytes(key));
  if (number < 0) return std::nullopt;
  return group(static_cast<std::size_t>(number));
}

}  // namespace trivo
