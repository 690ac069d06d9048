// The English texts, compiled into the library.
#include "core/content/content_bundle.h"

#include <algorithm>
#include <array>
#include <utility>

namespace trivo::content {
namespace {

using Entry = std::pair<std::string_view, std::string_view>;

// Sorted by key so lookups can bisect; a test keeps the order honest.
constexpr std::array kEnglish = std::to_array<Entry>({
    {"anything_else", "Anything else"},
    {"file.day.checklist", "Checklist"},
    {"file.day.journal", "Journal"},
    {"file.day.notes", "Notes"},
    {"file.day.outcomes", "Outcomes"},
    {"file.day.pulled", "From the inbox"},
    {"file.day.sessions", "Sessions"},
    {"file.day.tomorrow", "For tomorrow"},
    {"file.friday.improve", "What to improve"},
    {"file.friday.mattered", "What mattered most"},
    {"file.friday.well", "What went well"},
    {"file.inbox.title", "Inbox"},
    {"file.month.outcomes", "Outcomes"},
    {"file.month.reflection", "Reflection"},
    {"file.quarter.check_in", "Check-in"},
    {"file.quarter.closing", "Closing"},
    {"file.quarter.ground_rules", "Ground rules"},
    {"file.quarter.mindsweep", "Mind sweep"},
    {"file.quarter.opening", "Opening"},
    {"file.quarter.outcomes", "Outcomes"},
    {"file.quarter.outcomes_calendar", "Outcomes by month"},
    {"file.quarter.reflection", "Reflection"},
    {"file.quarter.roles_audit", "Roles audit"},
    {"file.week.checklist", "Checklist"},
    {"file.week.outcomes", "Outcomes"},
    {"file.week.reflection", "Reflection"},
    {"file.year.gratitude", "Gratitude"},
    {"file.year.outcomes", "Outcomes"},
    {"how_did_i_do", "How did I do"},
    {"prompt.day.default", "What three outcomes would make today a good day?"},
    {"prompt.day.friday", "Close the week: what went well, what to improve, what mattered most?"},
    {"prompt.day.monday", "A new week: set the week's three outcomes first, then today's."},
    {"prompt.day.saturday", "A lighter day: what would you like to have done by tonight?"},
    {"restday.sub", "A day of rest. Plan nothing, or one small thing."},
});

}  // namespace

bool bundleIsSorted() {
  return std::is_sorted(kEnglish.begin(), kEnglish.end(),
                        [](const Entry& a, const Entry& b) { return a.first < b.first; });
}

std::optional<std::string_view> english(std::string_view key) {
  auto it = std::lower_bound(kEnglish.begin(), kEnglish.end(), key,
                             [](const Entry& e, std::string_view k) { return e.first < k; });
  if (it == kEnglish.end() || it->first != key) return std::nullopt;
  return it->second;
}

std::string_view text(std::string_view key) { return english(key).value_or(key); }

}  // namespace trivo::content
