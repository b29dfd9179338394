#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "backends/linux/wayland/ButtonGuard.h"
#include "backends/linux/wayland/SeatDevices.h"
#include "backends/linux/wayland/WaylandConnection.h"

/// Pointer and keyboard by org_kde_kwin_fake_input, which KWin shows only to programs whose desktop file asks for it.
namespace jumplark::kwin {

class FakePointer final : public SeatPointer {
 public:
  /// Null where KWin does not show it.
  static std::unique_ptr<FakePointer> create(const std::shared_ptr<WaylandConnection>& connection);

  void post(const MouseEvent& event) override;
  void clickSecondary(Point place) override;

 private:
  explicit FakePointer(const std::shared_ptr<WaylandConnection>& connection);
  void moveTo(Point place);

  std::unique_ptr<ButtonGuard> guard_;             ///< null where there can be none
  std::shared_ptr<WaylandConnection> connection_;  ///< the guard's
  std::mutex mutex_;
};

/// Its keys count as those of the one keyboard of the seat, with the user's keymap and what the user holds.
class FakeKeyboard final : public SeatKeyboard {
 public:
  /// Null where KWin does not show it.
  static std::unique_ptr<FakeKeyboard> create(std::shared_ptr<WaylandConnection> connection);

  void typeKey(int64_t keyCode) override;
  void releaseModifiers() override;

 private:
  explicit FakeKeyboard(std::shared_ptr<WaylandConnection> connection) : connection_(std::move(connection)) {}
  void letGoOfModifiers();

  std::shared_ptr<WaylandConnection> connection_;
  std::mutex mutex_;
};

}  // namespace jumplark::kwin
