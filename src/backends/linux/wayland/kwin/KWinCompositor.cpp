#include "backends/linux/wayland/kwin/KWinCompositor.h"

#include <spdlog/spdlog.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <utility>

#include "backends/linux/wayland/kwin/FakeInput.h"
#include "backends/linux/wayland/kwin/KWinChecks.h"

namespace jumplark::kwin {
namespace {

bool isOnBus(BusCalls& calls) {
  const auto answer =
      calls.call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus"}, "NameHasOwner",
                 [](sd_bus_message* question) { return sd_bus_message_append(question, "s", "org.kde.KWin"); });
  return answer.values.at(0).number() != 0;
}

/// "KWin 5.27.5"; the line of it in a long text.
std::string nameAndVersion(BusCalls& calls) {
  constexpr std::string_view kLine = "KWin version: ";
  const std::string told =
      calls.call({"org.kde.KWin", "/KWin", "org.kde.KWin"}, "supportInformation").values.at(0).text;
  const size_t line = told.find(kLine);
  const size_t version = line + kLine.size();
  return line == std::string::npos ? "KWin" : "KWin " + told.substr(version, told.find('\n', version) - version);
}

}  // namespace

/// KWin answers programs some time before it is on the bus and takes scripts.
std::unique_ptr<KWinCompositor> KWinCompositor::open() {
  constexpr std::chrono::seconds kPatience{5};
  constexpr std::chrono::milliseconds kStep{100};
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  auto kwin = tryToOpen();
  while (!kwin && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(kStep);
    kwin = tryToOpen();
  }
  return kwin;
}

std::unique_ptr<KWinCompositor> KWinCompositor::tryToOpen() {
  std::unique_ptr<KWinCompositor> kwin(new KWinCompositor);
  if (!isOnBus(kwin->calls_)) {
    return nullptr;
  }
  KWinScripts scripts(kwin->calls_);
  unloadScriptsOfTheDead(scripts, scriptFolder());
  if (const std::string problem = kwin->watch_.start(); !problem.empty()) {
    spdlog::warn("KWin tells nothing of its windows: {}", problem);
    return nullptr;
  }
  kwin->name_ = nameAndVersion(kwin->calls_);
  return kwin;
}

KWinCompositor::KWinCompositor()
    : windows_(calls_),
      inputSources_(calls_, [this] { guard(); }),
      shortcuts_(calls_),
      watch_(calls_,
             {[this](const nlohmann::json& message) { return told(message); },
              [this](const std::string& action) { shortcuts_.pressed(action); }, [this] { shortcuts_.bindAnew(); }}) {}

KWinCompositor::~KWinCompositor() = default;

bool KWinCompositor::told(const nlohmann::json& message) {
  const bool isUnderstood = windows_.take(message);
  tellActiveApplication();
  return isUnderstood;
}

void KWinCompositor::tellActiveApplication() {
  const auto active = windows_.window(windows_.activeWindow());
  if (!active || windows_.isOwn(*active)) {
    return;
  }
  std::vector<std::shared_ptr<std::function<void(int32_t)>>> callbacks;
  {
    const std::lock_guard lock(mutex_);
    if (std::exchange(activePid_, active->pid) == active->pid) {
      return;
    }
    callbacks = callbacks_;
  }
  for (const auto& callback : callbacks) {
    (*callback)(active->pid);
  }
}

Token KWinCompositor::onActiveApplicationChanged(std::function<void(int32_t pid)> callback) {
  const auto entry = std::make_shared<std::function<void(int32_t)>>(std::move(callback));
  const std::lock_guard lock(mutex_);
  callbacks_.push_back(entry);
  return Token([this, entry] {
    const std::lock_guard guard(mutex_);
    std::erase(callbacks_, entry);
  });
}

Compositor::Binding KWinCompositor::bind(uint32_t key, uint64_t modifiers, std::function<void()> pressed) {
  const Binding result = shortcuts_.bind(key, modifiers, std::move(pressed));
  guard();
  return result;
}

void KWinCompositor::release(uint32_t key, uint64_t modifiers) {
  shortcuts_.release(key, modifiers);
  guard();
}

/// The guard undoes what is bound now, and ends the script.
void KWinCompositor::guard() {
  const std::lock_guard lock(guarding_);
  if (!guard_) {
    guard_ = LastRequests::create();
  }
  if (guard_) {
    std::vector<LastRequest> requests = shortcuts_.farewell();
    const std::vector<LastRequest> layout = inputSources_.farewell();
    requests.insert(requests.end(), layout.begin(), layout.end());
    requests.push_back(
        {"org.kde.KWin", "/Scripting", "org.kde.kwin.Scripting", "unloadScript", "s", {watch_.scriptName()}});
    guard_->set(requests);
  }
}

void KWinCompositor::leave() {
  const std::lock_guard lock(guarding_);
  shortcuts_.forget();
  guard_.reset();
}

std::unique_ptr<SeatPointer> KWinCompositor::makePointer(const std::shared_ptr<WaylandConnection>& connection) {
  inputSources_.setConnection(connection);
  return FakePointer::create(connection);
}

std::unique_ptr<SeatKeyboard> KWinCompositor::makeKeyboard(const std::shared_ptr<WaylandConnection>& connection) {
  return FakeKeyboard::create(connection);
}

std::vector<DesktopCheck> KWinCompositor::checks(const WaylandConnection& connection) {
  std::vector<DesktopCheck> checks = inputChecks(connection);
  checks.push_back(shortcutCheck(calls_));
  return checks;
}

}  // namespace jumplark::kwin
