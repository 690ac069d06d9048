// The focus timer's session log in a vault: each finished session is added to the "Sessions"
// section of its day page through the store, so it is written like any other edit (debounced,
// atomically, never over an edit made elsewhere).
#pragma once

#include "core/focus/session_log.h"
#include "core/store/vault_store.h"

namespace trivo {

class DayPageSessionLog final : public SessionLog {
 public:
  // The store must read pages as records (a store opened with the vault's serializer codec).
  explicit DayPageSessionLog(VaultStore& store) : store_(&store) {}

  // Throws SerializerError when the day page cannot be read; the page is left as it is.
  void append(const DayDate& day, const FocusSession& session) override;
  [[nodiscard]] std::vector<FocusSession> sessions(const DayDate& day) const override;

 private:
  VaultStore* store_;
};

}  // namespace trivo
