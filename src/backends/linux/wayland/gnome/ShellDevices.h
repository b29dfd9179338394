#pragma once

#include <memory>
#include <mutex>

#include "backends/linux/wayland/SeatDevices.h"
#include "backends/linux/wayland/gnome/ShellBus.h"
#include "backends/linux/wayland/gnome/ShellStage.h"

namespace jumplark::gnome {

/// The extension's own pointer. What is down when this process ends the extension releases.
class Pointer final : public SeatPointer {
 public:
  Pointer(std::shared_ptr<Bus> bus, Stage stage) : bus_(std::move(bus)), stage_(std::move(stage)) {}
  void post(const MouseEvent& event) override;
  void clickSecondary(Point place) override;

 private:
  void press(Point place, uint32_t button, bool down);

  std::shared_ptr<Bus> bus_;
  const Stage stage_;
};

/// The extension's own keyboard.
class Keyboard final : public SeatKeyboard {
 public:
  explicit Keyboard(std::shared_ptr<Bus> bus) : bus_(std::move(bus)) {}
  void typeKey(int64_t keyCode) override;
  /// The shell lets no device take back what another one holds: waits until the user has let go, for half a second at
  /// most. Modifiers that are held for longer count for clicks.
  void releaseModifiers() override;

 private:
  std::shared_ptr<Bus> bus_;
};

}  // namespace jumplark::gnome
