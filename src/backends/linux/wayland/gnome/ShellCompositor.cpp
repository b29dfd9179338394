#include "backends/linux/wayland/gnome/ShellCompositor.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>
#include <utility>

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
      windows_(bus_, stage_),
      inputSources_(bus_),
      bindings_(bus_) {}

ShellCompositor::~ShellCompositor() = default;

Rect ShellCompositor::workAreaOf(const WaylandOutput& output) {
  const Rect frame = stageFrameOf(output);
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  const Answer answer = bus_->call(
      "WorkArea",
      [&](sd_bus_message* question) {
        return sd_bus_message_append(question, "iiii", whole(frame.x), whole(frame.y), whole(frame.width),
                                     whole(frame.height));
      },
      [&](sd_bus_message* reply) { return sd_bus_message_read(reply, "iiii", &x, &y, &width, &height); });
  const Rect area{static_cast<double>(x), static_cast<double>(y), static_cast<double>(width),
                  static_cast<double>(height)};
  return answer == Answer::given ? pointsOn(output, area) : output.frame;
}

void ShellCompositor::listen() {
  const std::lock_guard lock(mutex_);
  if (!events_) {
    events_ = std::make_unique<Events>(
        Events::Handlers{[this](const std::string& combination) { bindings_.pressed(combination); },
                         [this](int32_t pid) { focusChanged(pid); }, [this] { bindings_.bindAnew(); }});
  }
}

Compositor::Binding ShellCompositor::bind(uint32_t key, uint64_t modifiers, std::function<void()> pressed) {
  listen();
  return bindings_.bind(key, modifiers, std::move(pressed));
}

void ShellCompositor::focusChanged(int32_t pid) {
  windows_.forget();
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
  windows_.forget();
  while (std::ranges::any_of(windows_.popupsFrontToBack(), isMenuWindow) &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(kStep);
    windows_.forget();
  }
}

std::optional<Point> ShellCompositor::pointer() {
  Point place;
  const bool told = bus_->does(
      "Pointer", {}, [&](sd_bus_message* reply) { return sd_bus_message_read(reply, "dd", &place.x, &place.y); });
  return told ? std::optional(stage_.toPoints(place)) : std::nullopt;
}

Compositor::WindowPlacer ShellCompositor::windowPlacer() {
  return [bus = bus_, stage = stage_](const std::string& title, Point topLeft) {
    const Point corner = stage.toStage(topLeft);
    bus->call("Place", [&](sd_bus_message* question) {
      return sd_bus_message_append(question, "sii", title.c_str(), whole(corner.x), whole(corner.y));
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
