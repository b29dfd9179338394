#include "backends/linux/wayland/gnome/ShellCompositor.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>
#include <utility>

#include "backends/linux/system/QuietThread.h"
#include "backends/linux/wayland/WaylandConnection.h"
#include "backends/linux/wayland/gnome/ShellDevices.h"
#include "backends/linux/windows/MenuWindow.h"
#include "platform/Texts.h"

namespace jumplark::gnome {
namespace {

int whole(double value) {
  return static_cast<int>(std::lround(value));
}

}  // namespace

std::unique_ptr<ShellCompositor> ShellCompositor::open(const std::shared_ptr<WaylandConnection>& connection) {
  if (!isShell(connectToBus().get(), connection->compositor())) {
    return nullptr;
  }
  auto bus = std::make_shared<Bus>();
  uint32_t version = 0;
  std::string shell;
  const Answer answer = bus->greet([&](sd_bus_message* reply) {
    const char* told = nullptr;
    const int r = sd_bus_message_read(reply, "us", &version, &told);
    shell = r > 0 ? told : "";
    return r;
  });
  if (answer != Answer::given || version != kVersion) {
    return nullptr;
  }
  return std::unique_ptr<ShellCompositor>(
      new ShellCompositor(std::move(bus), Stage(connection), "GNOME Shell " + shell));
}

ShellCompositor::ShellCompositor(std::shared_ptr<Bus> bus, Stage stage, std::string name)
    : bus_(std::move(bus)),
      stage_(std::move(stage)),
      name_(std::move(name)),
      scenes_(std::make_shared<Scenes>(bus_, stage_)),
      windows_(bus_, scenes_),
      inputSources_(bus_),
      bindings_(bus_) {}

ShellCompositor::~ShellCompositor() = default;

Rect ShellCompositor::workAreaOf(const WaylandOutput& output) {
  const Rect frame = stageFrameOf(output);
  const Point middle{frame.x + frame.width / 2, frame.y + frame.height / 2};
  const Scene scene = scenes_->now();
  const auto screen = std::ranges::find_if(scene.screens, [&](const auto& one) { return one.frame.contains(middle); });
  return screen != scene.screens.end() ? pointsOn(output, screen->free) : output.frame;
}

void ShellCompositor::listen() {
  const std::lock_guard lock(mutex_);
  if (!events_) {
    events_ = std::make_unique<Events>(Events::Handlers{[this](const std::string& combination, std::string_view scene) {
                                                          scenes_->told(scene);
                                                          bindings_.pressed(combination);
                                                        },
                                                        [this](int32_t pid) { focusChanged(pid); },
                                                        [this] { bindings_.bindAnew(); }});
  }
}

Compositor::Binding ShellCompositor::bind(uint32_t key, uint64_t modifiers, std::function<void()> pressed) {
  listen();
  return bindings_.bind(key, modifiers, std::move(pressed));
}

void ShellCompositor::focusChanged(int32_t pid) {
  scenes_->forget();
  if (pid <= 0 || pid == getpid()) {
    return;
  }
  std::vector<std::shared_ptr<std::function<void(int32_t)>>> callbacks;
  {
    const std::lock_guard lock(mutex_);
    if (std::exchange(activePid_, pid) == pid) {
      return;
    }
    callbacks = callbacks_;
  }
  for (const auto& callback : callbacks) {
    (*callback)(pid);
  }
}

Token ShellCompositor::onActiveApplicationChanged(std::function<void(int32_t pid)> callback) {
  listen();
  const auto entry = std::make_shared<std::function<void(int32_t)>>(std::move(callback));
  const std::lock_guard lock(mutex_);
  callbacks_.push_back(entry);
  return Token([this, entry] {
    const std::lock_guard guard(mutex_);
    std::erase(callbacks_, entry);
  });
}

std::unique_ptr<SeatPointer> ShellCompositor::makePointer(const std::shared_ptr<WaylandConnection>& /*connection*/) {
  return std::make_unique<Pointer>(bus_, stage_);
}

std::unique_ptr<SeatKeyboard> ShellCompositor::makeKeyboard(const std::shared_ptr<WaylandConnection>& /*connection*/) {
  return std::make_unique<Keyboard>(bus_);
}

void ShellCompositor::closeMenus() {
  constexpr std::chrono::milliseconds kPatience{200};
  constexpr std::chrono::milliseconds kStep{5};
  bus_->call("CloseMenus");
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  scenes_->forget();
  while (std::ranges::any_of(windows_.popupsFrontToBack(), isMenuWindow) &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(kStep);
    scenes_->forget();
  }
}

std::optional<Point> ShellCompositor::pointer() {
  std::optional<Point> place;
  if (const auto scene = scenes_->known()) {
    place = scene->pointer;
  }
  if (!place) {
    bus_->does("Pointer", {}, [&](sd_bus_message* reply) {
      Point told;
      const int r = sd_bus_message_read(reply, "dd", &told.x, &told.y);
      place = r > 0 ? std::optional(told) : std::nullopt;
      return r;
    });
  }
  return place ? std::optional(stage_.toPoints(*place)) : std::nullopt;
}

Compositor::WindowPlacer ShellCompositor::windowPlacer() {
  return [bus = bus_, stage = stage_](const std::string& title, Point topLeft) {
    const Point corner = stage.toStage(topLeft);
    return inBackground([=] {
      bus->call("Place", [&](sd_bus_message* question) {
        return sd_bus_message_append(question, "sii", title.c_str(), whole(corner.x), whole(corner.y));
      });
    });
  };
}

std::vector<DesktopCheck> ShellCompositor::checks(const WaylandConnection& /*connection*/) {
  return {{localized("windows of our own"),
           DesktopCheck::ok,
           localized("The query and the boxes can lie over everything."),
           {}},
          {localized("pointer"), DesktopCheck::ok, localized("The compositor takes clicks of ours."), {}},
          {localized("keyboard"),
           DesktopCheck::ok,
           localized("The compositor takes keys of ours, but modifiers that are held for long count for clicks."),
           {}}};
}

}  // namespace jumplark::gnome
