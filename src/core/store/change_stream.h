// Endless streams of store events: each subscriber gets its own unbounded, thread-safe queue and
// stops receiving when it drops the subscription.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace trivo {

template <class T>
class Subscription {
 public:
  // The next event, waiting up to `timeout`; nothing when none came.
  std::optional<T> next(std::chrono::milliseconds timeout) {
    std::unique_lock lock(mu_);
    if (!cv_.wait_for(lock, timeout, [&] { return !queue_.empty(); })) return std::nullopt;
    T value = std::move(queue_.front());
    queue_.pop_front();
    return value;
  }
  // The next event if one is waiting.
  std::optional<T> poll() { return next(std::chrono::milliseconds(0)); }

  void push(T value) {
    {
      std::lock_guard lock(mu_);
      queue_.push_back(std::move(value));
    }
    cv_.notify_all();
  }

 private:
  std::mutex mu_;
  std::condition_variable cv_;
  std::deque<T> queue_;
};

// The producer side: yields to every live subscriber and forgets those that went away.
template <class T>
class Broadcaster {
 public:
  std::shared_ptr<Subscription<T>> subscribe() {
    auto sub = std::make_shared<Subscription<T>>();
    std::lock_guard lock(mu_);
    subscribers_.push_back(sub);
    return sub;
  }

  void yield(const T& value) {
    std::lock_guard lock(mu_);
    std::erase_if(subscribers_, [&](const std::weak_ptr<Subscription<T>>& weak) {
      auto sub = weak.lock();
      if (!sub) return true;
      sub->push(value);
      return false;
    });
  }

 private:
  std::mutex mu_;
  std::vector<std::weak_ptr<Subscription<T>>> subscribers_;
};

}  // namespace trivo
