// The board server's connection caps.
#include "core/widgets/connection_gate.h"

namespace trivo::widgets {

ConnectionGate::Pass::~Pass() {
  if (gate_) gate_->leave(address_);
}

std::optional<ConnectionGate::Pass> ConnectionGate::enter(const std::string& address) {
  std::lock_guard lock(mutex_);
  auto& mine = byAddress_[address];
  if (mine >= perAddress_ || all_ >= total_) {
    if (mine == 0) byAddress_.erase(address);
    return std::nullopt;
  }
  ++mine;
  ++all_;
  return Pass(*this, address);
}

void ConnectionGate::leave(const std::string& address) {
  std::lock_guard lock(mutex_);
  const auto it = byAddress_.find(address);
  if (it == byAddress_.end()) return;
  if (--it->second == 0) byAddress_.erase(it);
  --all_;
}

std::size_t ConnectionGate::held(const std::string& address) const {
  std::lock_guard lock(mutex_);
  const auto it = byAddress_.find(address);
  return it == byAddress_.end() ? 0 : it->second;
}

std::size_t ConnectionGate::held() const {
  std::lock_guard lock(mutex_);
  return all_;
}

}  // namespace trivo::widgets
