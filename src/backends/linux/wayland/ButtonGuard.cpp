#include "backends/linux/wayland/ButtonGuard.h"

#include <wayland-client-protocol.h>

#include <utility>

namespace jumplark {

std::string waylandRequest(uint32_t object, uint32_t opcode, std::initializer_list<uint32_t> arguments) {
  constexpr uint32_t kHead = 2;
  const auto words = static_cast<uint32_t>(arguments.size()) + kHead;
  std::string bytes;
  const auto add = [&](uint32_t word) { bytes.append(reinterpret_cast<const char*>(&word), sizeof word); };
  add(object);
  add((words * sizeof(uint32_t)) << 16U | opcode);
  for (const uint32_t argument : arguments) {
    add(argument);
  }
  return bytes;
}

std::unique_ptr<ButtonGuard> ButtonGuard::create(const std::function<Pointer(WaylandConnection&)>& makePointer) {
  auto opened = WaylandConnection::open();
  Pointer pointer = opened.connection ? makePointer(*opened.connection) : Pointer();
  if (!pointer.proxy) {
    return nullptr;
  }
  opened.connection->outliveCrash();  // the child needs it then
  wl_display* const display = opened.connection->display();
  // Its number is free again when it has been answered; a number that was never used would have to be the next one.
  wl_callback* const answered = wl_display_sync(display);
  const uint32_t number = wl_proxy_get_id(reinterpret_cast<wl_proxy*>(answered));
  opened.connection->settle();
  constexpr uint32_t kDisplay = 1;
  std::unique_ptr<ButtonGuard> result(new ButtonGuard);
  result->words_ = pointer.release + waylandRequest(kDisplay, WL_DISPLAY_SYNC, {number});
  result->pointer_ = std::move(pointer.proxy);
  result->answered_ = Token([answered] { wl_callback_destroy(answered); });
  result->connection_ = std::move(opened.connection);
  result->guard_ = ExitGuard::start({wl_display_get_fd(display)});
  return result->guard_ ? std::move(result) : nullptr;
}

}  // namespace jumplark
