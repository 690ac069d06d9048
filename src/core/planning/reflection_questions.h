// The questions a period's reflection asks, in the order they are asked, with the keys under
// which the period page keeps their answers.
#pragma once

#include <span>
#include <string_view>

#include "core/vault/entry_key.h"

namespace trivo {

struct ReflectionQuestion {
  std::string_view key;   // the key of the answer in `Reflection::answers`
  std::string_view text;  // the question as a person reads it
  bool operator==(const ReflectionQuestion&) const = default;
};

// The questions of a week, month, quarter or year page; empty for days and the inbox, which
// keep no reflection.
std::span<const ReflectionQuestion> reflectionQuestions(EntryKey::Kind kind);

}  // namespace trivo
