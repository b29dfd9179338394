#include "backends/linux/wayland/sway/SwayCompositor.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "backends/linux/wayland/LooseJson.h"
#include "backends/linux/wayland/sway/SwayTree.h"

namespace jumplark::sway {

using namespace loose_json;

std::string socketOf(pid_t compositor) {
  const char* const named = std::getenv("SWAYSOCK");
  const char* const folder = std::getenv("XDG_RUNTIME_DIR");
  const std::string own =
      folder != nullptr ? fmt::format("{}/sway-ipc.{}.{}.sock", folder, getuid(), compositor) : std::string();
  for (const std::string& path : {std::string(named != nullptr ? named : ""), own}) {
    const auto socket = Socket::connect(path);
    if (socket && (compositor == 0 || socket->peer() == 0 || socket->peer() == compositor)) {
      return path;
    }
  }
  return {};
}

std::unique_ptr<SwayCompositor> SwayCompositor::open(pid_t compositor) {
  const std::string path = socketOf(compositor);
  if (path.empty()) {
    return nullptr;
  }
  auto ipc = std::make_shared<Ipc>(path);
  const auto version = ipc->ask(Message::getVersion);
  if (!version || integer(*version, "major", -1) < 0) {
    return nullptr;
  }
  const std::pair numbers(integer(*version, "major", 0), integer(*version, "minor", 0));
  return std::unique_ptr<SwayCompositor>(new SwayCompositor(std::move(ipc), numbers));
}

// Since 1.12 a pop-up's hold on the keyboard ends with the focus of its window.
SwayCompositor::SwayCompositor(std::shared_ptr<Ipc> ipc, std::pair<int64_t, int64_t> version)
    : ipc_(std::move(ipc)),
      name_(fmt::format("sway {}.{}", version.first, version.second)),
      endsMenus_(version >= std::pair<int64_t, int64_t>(1, 12)),
      windows_(ipc_),
      inputSources_(ipc_),
      bindings_(ipc_) {}

SwayCompositor::~SwayCompositor() = default;

Rect SwayCompositor::workAreaOf(const WaylandOutput& output) {
  const auto answer = ipc_->ask(Message::getWorkspaces);
  const std::vector<Workspace> workspaces = answer ? readWorkspaces(*answer) : std::vector<Workspace>();
  const auto found = std::ranges::find(workspaces, output.name, &Workspace::output);
  return found == workspaces.end() ? output.frame : found->area;
}

void SwayCompositor::listen() {
  const std::lock_guard lock(mutex_);
  if (!events_) {
    events_ = std::make_unique<Events>(ipc_->path(), Events::Handlers{[this](const Answer& event) { handle(event); },
                                                                      [this] { bindings_.bindAnew(); }});
  }
}

Compositor::Binding SwayCompositor::bind(uint32_t key, uint64_t modifiers, std::function<void()> pressed) {
  listen();
  return bindings_.bind({key, modifiers}, std::move(pressed));
}

void SwayCompositor::release(uint32_t key, uint64_t modifiers) {
  bindings_.release({key, modifiers});
}

bool SwayCompositor::isTaken(uint32_t key, uint64_t modifiers) {
  return bindings_.isTaken({key, modifiers});
}

void SwayCompositor::handle(const Answer& event) {
  const std::string change = text(event.body, "change");
  if (event.type == Events::kBinding) {
    bindings_.ran(text(member(event.body, "binding"), "command"));
  } else if ((event.type == Events::kWorkspace && change == "reload") ||
             (event.type == Events::kMode && change == "default")) {
    // A new reading of the configuration takes away what was bound at run time; and what is bound while a mode is on
    // belongs to that mode.
    bindings_.bindAnew();
  } else if (event.type == Events::kWindow && change == "focus") {
    focusChanged(event.body);
  }
}

void SwayCompositor::focusChanged(const nlohmann::json& event) {
  const int64_t pid = integer(member(event, "container"), "pid", 0);
  if (pid <= 0 || pid > INT32_MAX || pid == getpid()) {
    return;
  }
  std::vector<std::shared_ptr<std::function<void(int32_t)>>> callbacks;
  {
    const std::lock_guard lock(mutex_);
    if (std::exchange(activePid_, static_cast<int32_t>(pid)) == pid) {
      return;
    }
    callbacks = callbacks_;
  }
  for (const auto& callback : callbacks) {
    (*callback)(static_cast<int32_t>(pid));
  }
}

Token SwayCompositor::onActiveApplicationChanged(std::function<void(int32_t pid)> callback) {
  listen();
  const auto entry = std::make_shared<std::function<void(int32_t)>>(std::move(callback));
  const std::lock_guard lock(mutex_);
  callbacks_.push_back(entry);
  return Token([this, entry] {
    const std::lock_guard guard(mutex_);
    std::erase(callbacks_, entry);
  });
}

}  // namespace jumplark::sway
