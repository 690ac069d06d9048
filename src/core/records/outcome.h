// The three outcomes of a period: each outcome's text, state, comments and the position of the
// outcome one level up that it serves.
#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/util/json_fields.h"

namespace trivo {

// The level an outcome set belongs to.
enum class Scope { day, week, month, quarter, year };
inline constexpr std::array<std::string_view, 5> kScopeNames = {"day", "week", "month", "quarter",
                                                                "year"};

enum class OutcomeState { planned, done, blocked };
inline constexpr std::array<std::string_view, 3> kOutcomeStateNames = {"planned", "done",
                                                                       "blocked"};

// Anything that carries comment lines under it (outcomes, focus sessions, inbox items).
template <class T>
concept Commentable = requires(T& t) {
  { t.comments } -> std::same_as<std::vector<std::string>&>;
};

// The TODO-style keyword an outcome carried in an Org page, kept so the page is written back as
// it was (a custom keyword of the user's Org setup, and what it means).
struct OrgKeyword {
  std::string word;
  OutcomeState state = OutcomeState::planned;
  bool operator==(const OrgKeyword&) const = default;
};

struct Outcome {
  std::string text;
  OutcomeState state = OutcomeState::planned;
  std::vector<std::string> comments;
  // Position 1–3 in its set; 0 until normalised.
  std::int64_t order = 0;
  // Position 1–3 of the outcome one level up that this one serves; none when it serves nothing.
  std::optional<std::int64_t> serves;
  // Raw lines that followed the outcome on the page, kept verbatim.
  std::vector<std::string> trailingLines;
  std::optional<OrgKeyword> orgKeyword;

  // An outcome with no comments, no trailing lines and no Org keyword.
  static Outcome make(std::string text, OutcomeState state = OutcomeState::planned,
                      std::optional<std::int64_t> serves = std::nullopt);
  // True when the text is empty after trimming whitespace and newlines.
  [[nodiscard]] bool isBlank() const;

  bool operator==(const Outcome&) const = default;
};

// Exactly three outcomes, numbered 1 to 3 in list order (the constructor normalises).
struct OutcomeSet {
  Scope scope = Scope::day;
  std::vector<Outcome> outcomes;

  explicit OutcomeSet(Scope scope = Scope::day, std::vector<Outcome> outcomes = {});
  // Keeps the first three, pads with blank planned outcomes, and numbers them 1, 2, 3.
  static std::vector<Outcome> normalize(std::vector<Outcome> list);
  // True when every outcome's text is blank.
  [[nodiscard]] bool isBlank() const;

  bool operator==(const OutcomeSet&) const = default;
};

// Whitespace and newlines off both ends.
std::string_view trimmedWhitespace(std::string_view text);

void to_json(Json& j, const Scope& s);
void from_json(const Json& j, Scope& s);
void to_json(Json& j, const OutcomeState& s);
void from_json(const Json& j, OutcomeState& s);
void to_json(Json& j, const OrgKeyword& k);
void from_json(const Json& j, OrgKeyword& k);
void to_json(Json& j, const Outcome& o);
void from_json(const Json& j, Outcome& o);
void to_json(Json& j, const OutcomeSet& s);
void from_json(const Json& j, OutcomeSet& s);

}  // namespace trivo
