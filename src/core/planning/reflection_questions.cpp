// The English wording of the reflection questions. The keys are the ones the page serializer
// gives the parts of each reflection section, so every answer has a place on its page.
#include "core/planning/reflection_questions.h"

#include <array>

namespace trivo {
namespace {

constexpr std::array kWeek = {
    ReflectionQuestion{"friday.well", "What went well this week?"},
    ReflectionQuestion{"friday.improve", "What would you do differently next week?"},
    ReflectionQuestion{"friday.mattered", "What mattered most this week?"},
};

constexpr std::array kMonth = {
    ReflectionQuestion{"reflection",
                       "Looking back on the month: what worked, what did not, and what will you "
                       "change next month?"},
};

constexpr std::array kQuarter = {
    ReflectionQuestion{"ground_rules", "Ground rules: what will this review be honest about?"},
    ReflectionQuestion{"check_in", "Check-in: how are you arriving, in body and mind?"},
    ReflectionQuestion{"opening", "Opening: what stands out when you look back on the quarter?"},
    ReflectionQuestion{"roles_audit",
                       "Roles audit: how did each of your roles (work, family, friend, self) "
                       "fare?"},
    ReflectionQuestion{"how_did_i_do", "How did I do against the quarter's three outcomes?"},
    ReflectionQuestion{"closing", "Closing: what do you carry into the next quarter?"},
    ReflectionQuestion{"anything_else", "Anything else?"},
};

constexpr std::array kYear = {
    ReflectionQuestion{"gratitude", "What are you grateful for this year?"},
};

}  // namespace

std::span<const ReflectionQuestion> reflectionQuestions(EntryKey::Kind kind) {
  switch (kind) {
    case EntryKey::Kind::week:
      return kWeek;
    case EntryKey::Kind::month:
      return kMonth;
    case EntryKey::Kind::quarter:
      return kQuarter;
    case EntryKey::Kind::year:
      return kYear;
    case EntryKey::Kind::day:
    case EntryKey::Kind::inbox:
      break;
  }
  return {};
}

}  // namespace trivo
