#pragma once

#include <string>
#include <utility>

#include "platform/InputSources.h"

namespace jumplark {

/// One keyboard layout of the session. Two are equal when they stand for the same input source.
class ZMOKeyboardLayout {
 public:
  explicit ZMOKeyboardLayout(InputSource inputSource) : inputSource_(std::move(inputSource)) {}

  const InputSource& inputSource() const { return inputSource_; }
  /// As a person reads it.
  const std::string& label() const { return inputSource_.localizedName; }
  const std::string& inputSourceID() const { return inputSource_.identifier; }
  bool operator==(const ZMOKeyboardLayout&) const = default;

 private:
  InputSource inputSource_;
};

}  // namespace jumplark
