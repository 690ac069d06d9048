// How many connections the board server holds at once, in all and per client address, so that a
// few slow or greedy clients cannot take every worker.
#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace trivo::widgets {

class ConnectionGate {
 public:
  ConnectionGate(std::size_t perAddress, std::size_t total)
      : perAddress_(perAddress), total_(total) {}

  // A held place; leaving the scope gives it back.
  class Pass {
   public:
    Pass(Pass&& other) noexcept : gate_(other.gate_), address_(std::move(other.address_)) {
      other.gate_ = nullptr;
    }
    Pass& operator=(Pass&&) = delete;
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;
    ~Pass();

   private:
    friend class ConnectionGate;
    Pass(ConnectionGate& gate, std::string address) : gate_(&gate), address_(std::move(address)) {}
    ConnectionGate* gate_;
    std::string address_;
  };

  // A place for one connection from `address`, or nothing when that address already holds
  // `perAddress` places or all `total` are taken. Thread-safe.
  [[nodiscard]] std::optional<Pass> enter(const std::string& address);
  // Places held now, by `address` and in all. Thread-safe.
  [[nodiscard]] std::size_t held(const std::string& address) const;
  [[nodiscard]] std::size_t held() const;

 private:
  void leave(const std::string& address);

  const std::size_t perAddress_;
  const std::size_t total_;
  mutable std::mutex mutex_;
  std::map<std::string, std::size_t> byAddress_;
  std::size_t all_ = 0;
};

}  // namespace trivo::widgets
