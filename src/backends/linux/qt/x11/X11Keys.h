#pragma once

#include <QTimer>
#include <cstdint>
#include <memory>
#include <optional>

#include "backends/linux/qt/KeyMeanings.h"
#include "platform/Token.h"

namespace jumplark {

class KeyboardMap;
class NativeDisplay;
class X11Connection;

/// What keys mean by the X server's keyboard map.
class X11Keys final : public KeyMeanings {
 public:
  /// The display must outlive it.
  X11Keys(std::shared_ptr<X11Connection> x, NativeDisplay& display);
  ~X11Keys() override;

  std::optional<KeyMeaning> meaningOf(uint32_t keycode, uint32_t state) override;

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
