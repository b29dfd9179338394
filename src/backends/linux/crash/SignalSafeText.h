#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace jumplark {

/// Writes text to a file from a signal handler: system calls only, no memory is allocated, no lock is taken. What
/// cannot be written is lost silently.
class SignalSafeText {
 public:
  explicit SignalSafeText(int descriptor) noexcept : descriptor_(descriptor) {}
  SignalSafeText(const SignalSafeText&) = delete;
  SignalSafeText& operator=(const SignalSafeText&) = delete;
  ~SignalSafeText() { flush(); }

  SignalSafeText& text(std::string_view text) noexcept;
  SignalSafeText& decimal(uint64_t number) noexcept;
  /// With 0x before it.
  SignalSafeText& hexadecimal(uint64_t number) noexcept;
  /// Without 0x, two digits a byte.
  SignalSafeText& bytes(const uint8_t* bytes, size_t count) noexcept;
  SignalSafeText& endLine() noexcept;
  void flush() noexcept;

 private:
  void put(char c) noexcept;

  int descriptor_;
  std::array<char, 512> pending_{};
  size_t count_ = 0;
};

}  // namespace jumplark
