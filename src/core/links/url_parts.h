// A small splitter for absolute URLs of the form scheme://host/path?query#fragment, enough for
// the app's own links; it is not a general URL parser (no user info, ports or IP literals).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trivo {

struct UrlParts {
  struct QueryItem {
    std::string name;
    // Nothing for an item without "=" ("?flag"); empty for "?flag=".
    std::optional<std::string> value;
    bool operator==(const QueryItem&) const = default;
  };

  // Lower-cased: schemes and hosts do not depend on case.
  std::string scheme;
  // Nothing when the scheme is not followed by "//"; lower-cased otherwise.
  std::optional<std::string> host;
  // Percent-decoded; after a host it is empty or starts with "/". Decoded components must be
  // valid UTF-8, like a malformed escape otherwise.
  std::string path;
  // Percent-decoded names and values, in the order written; empty segments ("&&") are skipped.
  // A query with a malformed escape is unreadable and counts as empty. "+" stays a plus sign.
  std::vector<QueryItem> query;

  // Nothing when there is no valid scheme or the path holds a malformed escape. The fragment
  // is dropped.
  static std::optional<UrlParts> split(std::string_view url);

  // The value of the first item with that name; nothing when absent or written without "=".
  [[nodiscard]] std::optional<std::string> value(std::string_view name) const;

  bool operator==(const UrlParts&) const = default;
};

}  // namespace trivo
