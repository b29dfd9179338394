#pragma once

#include <QTimer>
#include <cstdint>
#include <memory>
#include <optional>

#include "platform/Input.h"
#include "platform/Token.h"
#include "platform/Views.h"

class QKeyEvent;

namespace jumplark {

class KeyboardMap;
class NativeDisplay;
class X11Connection;

/// Qt's key events in the terms of platform/Input.h, by the X server's keyboard map. Main thread only.
class KeyTranslator {
 public:
  /// The display must outlive it.
  KeyTranslator(std::shared_ptr<X11Connection> x, NativeDisplay& display);
  ~KeyTranslator();

  /// None for keys that are modifiers or locks themselves.
  std::optional<KeyEvent> translate(const QKeyEvent& event);

 private:
  void handle(uint8_t eventType, uint8_t detail);
  const KeyboardMap* map();

  std::shared_ptr<X11Connection> x_;
  std::shared_ptr<const KeyboardMap> map_;
  bool outdated_ = true;
  QTimer reader_;
  Token events_;
};

}  // namespace jumplark
