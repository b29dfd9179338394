#include "backends/linux/x11/ButtonGuard.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <utility>

#include "backends/linux/crash/CrashRelease.h"

namespace jumplark {
namespace {

constexpr int kReplyPatienceMs = 1000;
constexpr int kStartPatienceMs = 5000;

/// What the child sends when the parent has gone, as it travels: nothing may be allocated or locked after the fork of a
/// process with threads, so the child speaks the protocol by itself.
struct Farewell {
  xcb_test_fake_input_request_t release;
  xcb_get_input_focus_request_t sync;
};
static_assert(sizeof(Farewell) == 40);

Farewell makeFarewell(const X11Connection& x) {
  Farewell result{};
  result.release.major_opcode = xcb_get_extension_data(x.get(), &xcb_test_id)->major_opcode;
  result.release.minor_opcode = XCB_TEST_FAKE_INPUT;
  result.release.length = sizeof(result.release) / 4;
  result.release.type = XCB_BUTTON_RELEASE;
  result.sync.major_opcode = XCB_GET_INPUT_FOCUS;
  result.sync.length = sizeof(result.sync) / 4;
  return result;
}

// Everything else that the parent has open must end with the parent: its X connections hold grabs.
void closeAllBut(int a, int b) {
  const auto low = static_cast<unsigned>(std::min(a, b));
  const auto high = static_cast<unsigned>(std::max(a, b));
  if (low > 0) {
    close_range(0, low - 1, 0);
  }
  if (low + 1 < high) {
    close_range(low + 1, high - 1, 0);
  }
  close_range(high + 1, ~0U, 0);
}

bool waitForByte(int socket) {
  pollfd waiting{socket, POLLIN, 0};
  int ready = 0;
  do {
    ready = poll(&waiting, 1, kStartPatienceMs);
  } while (ready < 0 && errno == EINTR);
  uint8_t byte = 0;
  return ready == 1 && read(socket, &byte, 1) == 1;
}

[[noreturn]] void guard(int parent, int display, Farewell farewell) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) {
    std::signal(signal, SIG_IGN);
  }
  setsid();
  prctl(PR_SET_NAME, "jumplark-guard");
  closeAllBut(parent, display);
  uint8_t pressed = 0;
  [[maybe_unused]] const ssize_t ready = write(parent, &pressed, 1);
  ssize_t count = 0;
  do {
    uint8_t next = 0;
    count = read(parent, &next, 1);
    pressed = count == 1 ? next : pressed;
  } while (count == 1 || (count < 0 && errno == EINTR));
  if (pressed != 0) {
    farewell.release.detail = pressed;
    if (write(display, &farewell, sizeof farewell) == static_cast<ssize_t>(sizeof farewell)) {
      pollfd reply{display, POLLIN, 0};
      poll(&reply, 1, kReplyPatienceMs);
    }
  }
  _exit(0);
}

}  // namespace

std::unique_ptr<ButtonGuard> ButtonGuard::start(const X11Connection& x) {
  auto opened = X11Connection::open(x.displayName());
  int sockets[2] = {-1, -1};
  if (!opened.connection || opened.connection->extensions().xtest == 0 ||
      socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
    return nullptr;
  }
  const Farewell farewell = makeFarewell(*opened.connection);
  const int display = xcb_get_file_descriptor(opened.connection->get());
  const pid_t child = fork();
  if (child == 0) {
    guard(sockets[1], display, farewell);
  }
  close(sockets[1]);
  if (child < 0) {
    close(sockets[0]);
    return nullptr;
  }
  std::unique_ptr<ButtonGuard> result(new ButtonGuard(std::move(opened.connection), child, sockets[0]));
  // Only a child that has come to ignore signals outlives a signal to the whole process group.
  return waitForByte(sockets[0]) ? std::move(result) : nullptr;
}

ButtonGuard::ButtonGuard(std::shared_ptr<X11Connection> connection, pid_t child, int socket)
    : x_(std::move(connection)),
      child_(child),
      socket_(socket),
      endAtCrash_(shutDownAtCrash(socket, CrashRelease::guard)) {
  x_->outliveCrash();  // the child needs it then
}

ButtonGuard::~ButtonGuard() {
  endAtCrash_.reset();
  shutdown(socket_, SHUT_RDWR);
  close(socket_);
  while (waitpid(child_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void ButtonGuard::setPressed(uint8_t button) {
  [[maybe_unused]] const ssize_t sent = send(socket_, &button, 1, MSG_NOSIGNAL);
}

}  // namespace jumplark
