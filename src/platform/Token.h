#pragma once

#include <functional>
#include <utility>

namespace jumplark {

/// Owns one registration (a subscription, an installed platform, an open scope); destroying it ends the registration.
/// Where the registration makes calls, destruction waits for a running one, except on that call's own thread, and no
/// call comes after it. Never destroy a token while holding a lock that the call takes.
class [[nodiscard]] Token {
 public:
  Token() = default;
  explicit Token(std::function<void()> release) : release_(std::move(release)) {}
  Token(Token&& other) noexcept : release_(std::exchange(other.release_, nullptr)) {}
  Token& operator=(Token&& other) noexcept {
    if (this != &other) {
      reset();
      release_ = std::exchange(other.release_, nullptr);
    }
    return *this;
  }
  Token(const Token&) = delete;
  Token& operator=(const Token&) = delete;
  ~Token() { reset(); }

  void reset() {
    if (auto release = std::exchange(release_, nullptr)) {
      release();
    }
  }
  explicit operator bool() const { return static_cast<bool>(release_); }

 private:
  std::function<void()> release_;
};

}  // namespace jumplark
