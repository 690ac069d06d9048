// The table of older section headings.
#include "core/format/legacy_headings.h"

#include <array>
#include <utility>

#include "core/format/text_util.h"

namespace trivo {

namespace {

using namespace std::string_view_literals;

constexpr std::array legacyOutcomes = {"Top 3"sv, "Top three"sv, "Big three"sv, "Three outcomes"sv,
                                 "Outcomes"sv};
constexpr std::array checklist = {"Tasks"sv, "To do"sv, "Todo"sv, "Checklist"sv};
constexpr std::array pulled = {"From the inbox"sv, "From inbox"sv, "Pulled from inbox"sv};
constexpr std::array notes = {"Notes"sv, "Note"sv};
constexpr std::array journal = {"Journal"sv, "Log"sv, "Diary"sv};
constexpr std::array tomorrow = {"For tomorrow"sv, "Tomorrow"sv, "Next day"sv};
constexpr std::array sessions = {"Focus"sv, "Focus sessions"sv, "Sessions"sv};
constexpr std::array reflection = {"Review"sv, "Reflection"sv};
constexpr std::array well = {"What went well"sv, "Went well"sv};
constexpr std::array improve = {"What to improve"sv, "Improve"sv};
constexpr std::array mattered = {"What mattered"sv, "What mattered most"sv};
constexpr std::array gratitude = {"Gratitude"sv, "Grateful for"sv};
constexpr std::array groundRules = {"Ground rules"sv};
constexpr std::array checkIn = {"Check-in"sv, "Check in"sv};
constexpr std::array opening = {"Opening"sv};
constexpr std::array rolesAudit = {"Roles audit"sv, "Roles"sv};
constexpr std::array closing = {"Closing"sv};

constexpr std::array<std::pair<std::string_view, std::span<const std::string_view>>, 17> table = {{
    {"outcomes", legacyOutcomes},
    {"checklist", checklist},
    {"pulled", pulled},
    {"notes", notes},
    {"journal", journal},
    {"tomorrow", tomorrow},
    {"sessions", sessions},
    {"reflection", reflection},
    {"friday.well", well},
    {"friday.improve", improve},
    {"friday.mattered", mattered},
    {"year.gratitude", gratitude},
    {"ground_rules", groundRules},
    {"check_in", checkIn},
    {"opening", opening},
    {"roles_audit", rolesAudit},
    {"closing", closing},
}};

}  // namespace

std::span<const std::string_view> LegacyHeadings::aliases(std::string_view key) {
  for (const auto& [k, list] : table) {
    if (k == key) return list;
  }
  return {};
}

bool LegacyHeadings::names(std::string_view key, std::string_view heading) {
  const std::string wanted = text::lower(text::trim(heading));
  for (auto alias : aliases(key)) {
    if (text::lower(alias) == wanted) return true;
  }
  return false;
}

}  // namespace trivo
