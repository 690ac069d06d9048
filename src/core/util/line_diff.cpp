// Unified diffs by the longest common subsequence of lines.
#include "core/util/line_diff.h"

#include <algorithm>
#include <vector>

namespace trivo {
namespace {

std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  std::size_t start = 0;
  while (start < text.size()) {
    const auto end = text.find('\n', start);
    if (end == std::string_view::npos) {
      lines.push_back(text.substr(start));
      break;
    }
    lines.push_back(text.substr(start, end - start + 1));
    start = end + 1;
  }
  return lines;
}

struct Edit {
  char op;  // ' ', '-' or '+'
  std::string_view line;
};

std::vector<Edit> edits(const std::vector<std::string_view>& a,
                        const std::vector<std::string_view>& b) {
  const std::size_t n = a.size();
  const std::size_t m = b.size();
  std::vector<Edit> out;
  if (n * m > 4'000'000) {
    for (auto line : a) out.push_back({'-', line});
    for (auto line : b) out.push_back({'+', line});
    return out;
  }
  // lcs[i][j]: the longest common subsequence of a[i..] and b[j..].
  std::vector<std::uint32_t> lcs((n + 1) * (m + 1), 0);
  auto at = [&](std::size_t i, std::size_t j) -> std::uint32_t& { return lcs[i * (m + 1) + j]; };
  for (std::size_t i = n; i-- > 0;) {
    for (std::size_t j = m; j-- > 0;) {
      at(i, j) = a[i] == b[j] ? at(i + 1, j + 1) + 1 : std::max(at(i + 1, j), at(i, j + 1));
    }
  }
  std::size_t i = 0, j = 0;
  while (i < n || j < m) {
    if (i < n && j < m && a[i] == b[j]) {
      out.push_back({' ', a[i++]});
      ++j;
    } else if (i < n && (j == m || at(i + 1, j) >= at(i, j + 1))) {
      // Lines taken out come before the lines put in, as diff prints them.
      out.push_back({'-', a[i++]});
    } else {
      out.push_back({'+', b[j++]});
    }
  }
  return out;
}

void appendLine(std::string& out, char op, std::string_view line) {
  out.push_back(op);
  out.append(line);
  if (line.empty() || line.back() != '\n') {
    out += "\n\\ No newline at end of file\n";
  }
}

// "l,n", or "l" alone for one line; an empty range names the line before it.
std::string range(std::size_t line, std::size_t count) {
  if (count == 1) return std::to_string(line);
  return std::to_string(count == 0 ? line - 1 : line) + "," + std::to_string(count);
}

}  // namespace

std::string unifiedDiff(std::string_view before, std::string_view after,
                        std::string_view nameBefore, std::string_view nameAfter,
                        std::size_t context) {
  if (before == after) return {};
  const auto all = edits(linesOf(before), linesOf(after));
  std::string out = "--- " + std::string(nameBefore) + "\n+++ " + std::string(nameAfter) + "\n";
  std::size_t k = 0;
  while (k < all.size()) {
    // Find the next change, then grow the hunk while changes lie within 2 × context lines.
    while (k < all.size() && all[k].op == ' ') ++k;
    if (k == all.size()) break;
    std::size_t start = k >= context ? k - context : 0;
    std::size_t end = k;
    std::size_t quiet = 0;
    while (end < all.size() && quiet <= 2 * context) {
      quiet = all[end].op == ' ' ? quiet + 1 : 0;
      ++end;
    }
    end -= std::min(quiet, end) > context ? quiet - context : 0;
    std::size_t lineA = 1, lineB = 1;
    for (std::size_t x = 0; x < start; ++x) {
      if (all[x].op != '+') ++lineA;
      if (all[x].op != '-') ++lineB;
    }
    std::size_t countA = 0, countB = 0;
    for (std::size_t x = start; x < end; ++x) {
      if (all[x].op != '+') ++countA;
      if (all[x].op != '-') ++countB;
    }
    out += "@@ -" + range(lineA, countA) + " +" + range(lineB, countB) + " @@\n";
    for (std::size_t x = start; x < end; ++x) appendLine(out, all[x].op, all[x].line);
    k = end;
  }
  return out;
}

}  // namespace trivo
