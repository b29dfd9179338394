#include "backends/linux/x11/ButtonGuard.h"

#include <xcb/xtest.h>

#include <string>
#include <utility>

namespace jumplark {
namespace {

/// What the child sends when the parent has gone, as it travels: the child speaks the protocol by itself. The second
/// request has an answer.
struct Farewell {
  xcb_test_fake_input_request_t release;
  xcb_get_input_focus_request_t sync;
};
static_assert(sizeof(Farewell) == 40);

std::string farewellOf(const X11Connection& x, uint8_t button) {
  Farewell result{};
  result.release.major_opcode = xcb_get_extension_data(x.get(), &xcb_test_id)->major_opcode;
  result.release.minor_opcode = XCB_TEST_FAKE_INPUT;
  result.release.length = sizeof(result.release) / 4;
  result.release.type = XCB_BUTTON_RELEASE;
  result.release.detail = button;
  result.sync.major_opcode = XCB_GET_INPUT_FOCUS;
  result.sync.length = sizeof(result.sync) / 4;
  return {reinterpret_cast<const char*>(&result), sizeof result};
}

}  // namespace

std::unique_ptr<ButtonGuard> ButtonGuard::start(const X11Connection& x) {
  auto opened = X11Connection::open(x.displayName());
  if (!opened.connection || opened.connection->extensions().xtest == 0) {
    return nullptr;
  }
  opened.connection->outliveCrash();  // the child needs it then
  auto guard = ExitGuard::start({xcb_get_file_descriptor(opened.connection->get())});
  if (!guard) {
    return nullptr;
  }
  return std::unique_ptr<ButtonGuard>(new ButtonGuard(std::move(opened.connection), std::move(guard)));
}

void ButtonGuard::setPressed(uint8_t button) {
  guard_->setLastWords(0, button != 0 ? farewellOf(*x_, button) : std::string());
}

}  // namespace jumplark
