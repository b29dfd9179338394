#include "backends/linux/crash/SignalSafeText.h"

#include <unistd.h>

#include <cerrno>

namespace jumplark {
namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

}  // namespace

void SignalSafeText::put(char c) noexcept {
  if (count_ == pending_.size()) {
    flush();
  }
  pending_[count_++] = c;
}

SignalSafeText& SignalSafeText::text(std::string_view text) noexcept {
  for (const char c : text) {
    put(c);
  }
  return *this;
}

SignalSafeText& SignalSafeText::decimal(uint64_t number) noexcept {
  std::array<char, 20> digits{};
  size_t used = 0;
  do {
    digits[used++] = kDigits[number % 10];
    number /= 10;
  } while (number != 0);
  while (used > 0) {
    put(digits[--used]);
  }
  return *this;
}

SignalSafeText& SignalSafeText::hexadecimal(uint64_t number) noexcept {
  text("0x");
  int shift = 60;
  while (shift > 0 && (number >> static_cast<unsigned>(shift)) == 0) {
    shift -= 4;
  }
  for (; shift >= 0; shift -= 4) {
    put(kDigits[(number >> static_cast<unsigned>(shift)) & 0xFU]);
  }
  return *this;
}

SignalSafeText& SignalSafeText::bytes(const uint8_t* bytes, size_t count) noexcept {
  for (size_t i = 0; i < count; ++i) {
    put(kDigits[bytes[i] >> 4U]);
    put(kDigits[bytes[i] & 0xFU]);
  }
  return *this;
}

SignalSafeText& SignalSafeText::endLine() noexcept {
  put('\n');
  return *this;
}

void SignalSafeText::flush() noexcept {
  size_t written = 0;
  while (written < count_) {
    const ssize_t done = ::write(descriptor_, pending_.data() + written, count_ - written);
    if (done < 0 && errno == EINTR) {
      continue;
    }
    if (done <= 0) {
      break;
    }
    written += static_cast<size_t>(done);
  }
  count_ = 0;
}

}  // namespace jumplark
