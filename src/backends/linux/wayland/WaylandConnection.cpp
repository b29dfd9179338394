#include "backends/linux/wayland/WaylandConnection.h"

#include <fake-input-client-protocol.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>
#include <virtual-keyboard-unstable-v1-client-protocol.h>
#include <wayland-client-protocol.h>
#include <wlr-virtual-pointer-unstable-v1-client-protocol.h>
#include <xdg-output-unstable-v1-client-protocol.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <utility>

#include "backends/linux/crash/CrashRelease.h"
#include "backends/linux/system/QuietThread.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

constexpr std::chrono::seconds kOpeningPatience{2};
/// A keymap is some 50 kB; more is no keymap.
constexpr uint32_t kMostKeymapBytes = 4U << 20U;

template <typename Interface>
Interface* bindTo(wl_registry* registry, uint32_t name, const wl_interface& interface, uint32_t offered,
                  uint32_t wanted) {
  return static_cast<Interface*>(wl_registry_bind(registry, name, &interface, std::min(offered, wanted)));
}

template <typename Interface>
void letGo(Interface* proxy, void (*destroy)(Interface*)) {
  if (proxy != nullptr) {
    destroy(proxy);
  }
}

}  // namespace

/// What a question about the compositor's progress leaves behind for whoever waits.
struct WaylandConnection::Progress {
  void end(bool Progress::*how) {
    const std::lock_guard lock(mutex);
    this->*how = true;
    changed.notify_all();
  }
  std::mutex mutex;
  std::condition_variable changed;
  bool done = false;
  bool gone = false;
};

/// What the compositor calls; on the thread of the connection, and on the opening one before that runs.
struct WaylandConnection::Listeners {
  static void onGlobal(void* data, wl_registry* registry, uint32_t name, const char* interface, uint32_t version) {
    static_cast<WaylandConnection*>(data)->addGlobal(registry, name, interface, version);
  }
  static void onGlobalRemove(void* data, wl_registry* /*registry*/, uint32_t name) {
    static_cast<WaylandConnection*>(data)->removeGlobal(name);
  }

  // wl_seat and wl_keyboard, for the keymap alone
  static void onCapabilities(void* data, wl_seat* seat, uint32_t capabilities) {
    auto& self = *static_cast<WaylandConnection*>(data);
    if ((capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0) {
      static const wl_keyboard_listener kKeyboard{onKeymap, onEnter, onLeave, onKey, onModifiers, onRepeat};
      self.keyboards_.emplace_back(wl_seat_get_keyboard(seat));
      wl_keyboard_add_listener(self.keyboards_.back().get(), &kKeyboard, &self);
    }
  }
  static void onSeatName(void* /*data*/, wl_seat* /*seat*/, const char* /*name*/) {}
  static void onKeymap(void* data, wl_keyboard* /*keyboard*/, uint32_t format, int32_t fd, uint32_t size) {
    auto& self = *static_cast<WaylandConnection*>(data);
    const FileDescriptor owned(fd);
    if (format != WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1 || size == 0 || size > kMostKeymapBytes) {
      return;
    }
    void* const text = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (text == MAP_FAILED) {
      return;
    }
    std::string keymap(static_cast<const char*>(text), size);
    munmap(text, size);
    keymap.resize(std::min(keymap.find('\0'), keymap.size()));
    const std::lock_guard lock(self.mutex_);
    self.keymap_ = std::move(keymap);
  }
  static void onEnter(void* /*data*/, wl_keyboard* /*keyboard*/, uint32_t /*serial*/, wl_surface* /*surface*/,
                      wl_array* /*keys*/) {}
  static void onLeave(void* /*data*/, wl_keyboard* /*keyboard*/, uint32_t /*serial*/, wl_surface* /*surface*/) {}
  static void onKey(void* /*data*/, wl_keyboard* /*keyboard*/, uint32_t /*serial*/, uint32_t /*time*/, uint32_t /*key*/,
                    uint32_t /*state*/) {}
  static void onModifiers(void* /*data*/, wl_keyboard* /*keyboard*/, uint32_t /*serial*/, uint32_t /*depressed*/,
                          uint32_t /*latched*/, uint32_t /*locked*/, uint32_t /*group*/) {}
  static void onRepeat(void* /*data*/, wl_keyboard* /*keyboard*/, int32_t /*rate*/, int32_t /*delay*/) {}
};

WaylandConnection::Opened WaylandConnection::open() {
  wl_display* const display = wl_display_connect(nullptr);
  if (display == nullptr) {
    const char* const name = std::getenv("WAYLAND_DISPLAY");
    return {nullptr,
            localizedFormat("The Wayland compositor '{}' does not answer. Start Jumplark in the session that "
                            "it shall operate.",
                            name != nullptr ? name : "wayland-0"),
            false};
  }
  std::shared_ptr<WaylandConnection> connection(new WaylandConnection(display));
  std::string error = connection->discover();
  if (!error.empty()) {
    return {nullptr, std::move(error), true};
  }
  connection->thread_ = startQuietThread([self = connection.get()] { self->run(); });
  return {std::move(connection), {}, true};
}

WaylandConnection::WaylandConnection(wl_display* display)
    : display_(display),
      endAtCrash_(shutDownAtCrash(wl_display_get_fd(display), CrashRelease::display)),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

WaylandConnection::~WaylandConnection() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  if (thread_.joinable()) {
    eventfd_write(wake_.get(), 1);
    thread_.join();
  }
  outputs_.clear();
  keyboards_.clear();
  letGo(globals_.virtualPointers, zwlr_virtual_pointer_manager_v1_destroy);
  letGo(globals_.virtualKeyboards, zwp_virtual_keyboard_manager_v1_destroy);
  letGo(globals_.fakeInput, org_kde_kwin_fake_input_destroy);
  letGo(globals_.outputManager, zxdg_output_manager_v1_destroy);
  letGo(globals_.seat, wl_seat_destroy);
  letGo(registry_, wl_registry_destroy);
  endAtCrash_.reset();  // before another file gets the number of its socket
  wl_display_disconnect(display_);
}

/// The compositor tells its globals, then what it has to say of each. Empty when it has.
std::string WaylandConnection::discover() {
  static const wl_registry_listener kRegistry{Listeners::onGlobal, Listeners::onGlobalRemove};
  registry_ = wl_display_get_registry(display_);
  wl_registry_add_listener(registry_, &kRegistry, this);
  const auto deadline = std::chrono::steady_clock::now() + kOpeningPatience;
  for (int round = 0; round < 2; ++round) {
    bool done = false;
    static const wl_callback_listener kDone{[](void* data, wl_callback* callback, uint32_t /*serial*/) {
      *static_cast<bool*>(data) = true;
      wl_callback_destroy(callback);
    }};
    wl_callback_add_listener(wl_display_sync(display_), &kDone, &done);
    while (!done) {
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      if (left.count() <= 0 || !readOnce(static_cast<int>(left.count()))) {
        return localized("The Wayland compositor does not answer. Wait until it does, or start it anew.");
      }
    }
  }
  return {};
}

void WaylandConnection::addGlobal(wl_registry* registry, uint32_t name, const std::string& interface,
                                  uint32_t version) {
  if (interface == wl_output_interface.name) {
    outputs_[name] = std::make_unique<wayland::OutputWatch>(registry, name, version, [this] { outputsChanged(); });
    outputs_[name]->askForPlace(globals_.outputManager);
  } else if (interface == wl_seat_interface.name && globals_.seat == nullptr) {
    static const wl_seat_listener kSeat{Listeners::onCapabilities, Listeners::onSeatName};
    globals_.seat = bindTo<wl_seat>(registry, name, wl_seat_interface, version, 5);
    wl_seat_add_listener(globals_.seat, &kSeat, this);
  } else if (interface == zwlr_virtual_pointer_manager_v1_interface.name && globals_.virtualPointers == nullptr) {
    globals_.virtualPointers =
        bindTo<zwlr_virtual_pointer_manager_v1>(registry, name, zwlr_virtual_pointer_manager_v1_interface, version, 1);
  } else if (interface == zwp_virtual_keyboard_manager_v1_interface.name && globals_.virtualKeyboards == nullptr) {
    globals_.virtualKeyboards =
        bindTo<zwp_virtual_keyboard_manager_v1>(registry, name, zwp_virtual_keyboard_manager_v1_interface, version, 1);
  } else if (interface == org_kde_kwin_fake_input_interface.name && globals_.fakeInput == nullptr) {
    globals_.fakeInput = bindTo<org_kde_kwin_fake_input>(registry, name, org_kde_kwin_fake_input_interface, version, 4);
  } else if (interface == zxdg_output_manager_v1_interface.name && globals_.outputManager == nullptr) {
    globals_.outputManager =
        bindTo<zxdg_output_manager_v1>(registry, name, zxdg_output_manager_v1_interface, version, 3);
    for (const auto& [number, output] : outputs_) {
      output->askForPlace(globals_.outputManager);
    }
  } else if (interface == "zwlr_layer_shell_v1") {
    globals_.hasLayerShell = true;
  } else if (interface.starts_with("org_kde_plasma_") || interface.starts_with("kde_output_")) {
    globals_.isKWins = true;
  }
}

void WaylandConnection::removeGlobal(uint32_t name) {
  if (outputs_.erase(name) > 0) {
    outputsChanged();
  }
}

void WaylandConnection::outputsChanged() {
  std::vector<WaylandOutput> known;
  for (const auto& [number, output] : outputs_) {
    if (output->facts().frame.width > 0 && output->facts().frame.height > 0) {
      known.push_back(output->facts());
    }
  }
  std::vector<std::shared_ptr<std::function<void()>>> callbacks;
  {
    const std::lock_guard lock(mutex_);
    knownOutputs_ = std::move(known);
    callbacks = outputCallbacks_;
  }
  for (const auto& callback : callbacks) {
    (*callback)();
  }
}

std::vector<WaylandOutput> WaylandConnection::outputs() const {
  const std::lock_guard lock(mutex_);
  return knownOutputs_;
}

Token WaylandConnection::onOutputsChanged(std::function<void()> callback) {
  const auto entry = std::make_shared<std::function<void()>>(std::move(callback));
  const std::lock_guard lock(mutex_);
  outputCallbacks_.push_back(entry);
  return Token([this, entry] {
    const std::lock_guard guard(mutex_);
    std::erase(outputCallbacks_, entry);
  });
}

std::string WaylandConnection::keymap() const {
  const std::lock_guard lock(mutex_);
  return keymap_;
}

pid_t WaylandConnection::compositor() const {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  return getsockopt(wl_display_get_fd(display_), SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0 ? credentials.pid
                                                                                                    : 0;
}

void WaylandConnection::flush() {
  wl_display_flush(display_);
}

bool WaylandConnection::settle(std::chrono::milliseconds limit) {
  const auto progress = std::make_shared<Progress>();
  {
    const std::lock_guard lock(mutex_);
    if (gone_) {
      return false;
    }
    questions_.push_back(progress);
  }
  eventfd_write(wake_.get(), 1);
  std::unique_lock lock(progress->mutex);
  return progress->changed.wait_for(lock, limit, [&] { return progress->done || progress->gone; }) && progress->done;
}

/// On the thread of the connection, since an answer that came before its listener would be lost.
void WaylandConnection::askQuestions() {
  eventfd_t count = 0;
  eventfd_read(wake_.get(), &count);
  std::vector<std::shared_ptr<Progress>> questions;
  {
    const std::lock_guard lock(mutex_);
    questions.swap(questions_);
  }
  static const wl_callback_listener kDone{[](void* data, wl_callback* callback, uint32_t /*serial*/) {
    const std::unique_ptr<std::shared_ptr<Progress>> held(static_cast<std::shared_ptr<Progress>*>(data));
    (*held)->end(&Progress::done);
    wl_callback_destroy(callback);
  }};
  for (auto& question : questions) {
    asked_.push_back(question);
    wl_callback_add_listener(wl_display_sync(display_), &kDone, new std::shared_ptr<Progress>(std::move(question)));
  }
  std::erase_if(asked_, [](const auto& question) { return question.expired(); });
}

/// Reads and handles what there is, waiting for it; false when the compositor has gone or the time is over.
bool WaylandConnection::readOnce(int timeoutMs) {
  while (wl_display_prepare_read(display_) != 0) {
    if (wl_display_dispatch_pending(display_) < 0) {
      return false;
    }
  }
  wl_display_flush(display_);
  pollfd waiting[2] = {{wl_display_get_fd(display_), POLLIN, 0}, {wake_.get(), POLLIN, 0}};
  const int ready = poll(waiting, 2, timeoutMs);
  if (ready <= 0 || (waiting[0].revents & POLLIN) == 0) {
    wl_display_cancel_read(display_);
    return (ready < 0 && errno == EINTR) || (ready > 0 && waiting[0].revents == 0);
  }
  return wl_display_read_events(display_) == 0 && wl_display_dispatch_pending(display_) >= 0;
}

void WaylandConnection::run() {
  constexpr int kForEver = -1;
  const auto stopping = [this] {
    const std::lock_guard lock(mutex_);
    return stopping_;
  };
  bool alive = true;
  while (alive && !stopping()) {
    askQuestions();
    alive = readOnce(kForEver);
  }
  const std::lock_guard lock(mutex_);
  gone_ = true;
  for (const auto& question : questions_) {
    question->end(&Progress::gone);
  }
  for (const auto& weak : asked_) {
    if (const auto question = weak.lock()) {
      question->end(&Progress::gone);
    }
  }
}

}  // namespace jumplark
