#pragma once

#include <optional>

#include "platform/Views.h"

class QKeyEvent;

namespace jumplark {

class KeyMeanings;

/// Qt's key events in the terms of platform/Input.h. Main thread only.
class KeyTranslator {
 public:
  /// The keyboard's map must outlive it.
  explicit KeyTranslator(KeyMeanings& keys) : keys_(keys) {}

  /// None for keys that are modifiers or locks themselves.
  std::optional<KeyEvent> translate(const QKeyEvent& event) const;

 private:
  KeyMeanings& keys_;
};

}  // namespace jumplark
