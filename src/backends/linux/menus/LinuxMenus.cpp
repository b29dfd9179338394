#include "backends/linux/menus/LinuxMenus.h"

#include <spdlog/spdlog.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "backends/linux/windows/MenuWindow.h"
#include "backends/threads/GuardedCallback.h"

namespace jumplark::menus {
namespace {

constexpr auto kGoing = std::chrono::milliseconds(100);
/// A menu that still shows after so many looks has let the keyboard go and stays open.
constexpr int kMostLooks = 50;
constexpr auto kBetweenLooks = std::chrono::milliseconds(5);

}  // namespace

/// One call of read(), until its token ends it.
struct LinuxMenus::Reading {
  explicit Reading(Found callback) : found(std::move(callback)) {}
  std::atomic<bool> isWanted{true};
  GuardedCallback<std::vector<MenuCommand>, bool> found;
};

LinuxMenus::LinuxMenus(Queues& queues, WindowSystem& windows, OpenCommands& open,
                       std::function<void()> takeKeyboardFromMenus, MenuSource& exact, std::vector<MenuSource*> sources)
    : queues_(queues),
      windows_(windows),
      open_(open),
      takeKeyboardFromMenus_(std::move(takeKeyboardFromMenus)),
      exact_(exact),
      sources_(std::move(sources)),
      queue_(queues.makeSerialQueue("com.brindlefox.jumplark.menus")) {}

Token LinuxMenus::read(int32_t pid, Found found) {
  const auto reading = std::make_shared<Reading>(std::move(found));
  queue_->post([this, pid, reading] { run(pid, *reading); });
  return Token([reading] {
    reading->isWanted = false;
    reading->found.end();
  });
}

void LinuxMenus::run(int32_t pid, Reading& reading) {
  if (!reading.isWanted) {
    return;
  }
  const TimePoint started = Clock::now();
  std::optional<TimePoint> first;
  MenuSink sink(
      [&](std::vector<MenuCommand> commands) {
        first = first.value_or(Clock::now());
        reading.found.call(queues_, std::move(commands), false);
      },
      [&] { return reading.isWanted.load(); });
  if (const auto window = windowOf(pid)) {
    readFrom({pid, *window, started + kLimit}, sink);
  }
  const auto since = [&](TimePoint time) { return std::chrono::duration<double, std::milli>(time - started).count(); };
  const TimePoint ended = Clock::now();
  spdlog::debug("Read {} commands of menus in {:.1f} ms, the first of them after {:.1f} ms", sink.count(), since(ended),
                since(first.value_or(ended)));
  reading.found.call(queues_, sink.rest(), true);
}

std::optional<WindowFacts> LinuxMenus::windowOf(int32_t pid) {
  if (pid == ::getpid()) {
    return std::nullopt;  // windows of this program have no menus
  }
  for (WindowFacts& window : windows_.windowsFrontToBack()) {
    const bool isNormal = window.type == WindowType::normal || window.type == WindowType::dialog;
    if (isNormal && !window.hidden && (window.pid == pid || window.connectionPid == pid)) {
      return std::move(window);
    }
  }
  return std::nullopt;
}

void LinuxMenus::readFrom(const MenuRequest& request, MenuSink& sink) {
  std::vector<MenuSource*> sources = sources_;
  if (lastWindow_ == request.window.id && lastSource_) {
    const auto last = std::ranges::find(sources, lastSource_);
    std::rotate(sources.begin(), last, last + 1);
  }
  lastWindow_ = request.window.id;
  lastSource_ = nullptr;
  std::vector<MenuCommand> better;
  const auto keep = [&](std::vector<MenuCommand> more) { std::ranges::move(more, std::back_inserter(better)); };
  MenuSink known(keep, [&] { return sink.isOpen(); });
  exact_.read(request, known);
  keep(known.rest());
  sink.knowBetter(better);
  sink.tellOpen(closedSince(open_.of(request.pid)));
  for (MenuSource* source : sources) {
    const size_t before = sink.count();
    if (!sink.isOpen()) {
      return;
    }
    if (source == &exact_) {
      std::ranges::for_each(better, [&](const MenuCommand& command) { sink.add(command); });
    } else {
      source->read(request, sink);
    }
    if (sink.count() > before) {
      lastSource_ = source;
      return;
    }
  }
}

// What shows is chosen where it is.
std::vector<MenuCommand> LinuxMenus::closedSince(OpenCommands::Told told) {
  const auto stillShows = [&] {
    const auto popups = windows_.popupsFrontToBack();
    return std::ranges::any_of(popups, [&](const WindowFacts& popup) {
      return std::ranges::find(told.popups, popup.id) != told.popups.end();
    });
  };
  for (int look = 0; !told.commands.empty() && stillShows(); ++look) {
    if (look == kMostLooks) {
      return {};
    }
    queues_.sleep(kBetweenLooks);
  }
  return std::move(told.commands);
}

void LinuxMenus::closeOpen() {
  const auto count = [this] { return std::ranges::count_if(windows_.popupsFrontToBack(), isMenuWindow); };
  const auto before = count();
  if (before == 0) {
    return;  // menus inside a window are seen by what stands in it
  }
  takeKeyboardFromMenus_();
  // The last level goes from the screen shortly after it has given the keyboard back.
  for (const TimePoint patience = Clock::now() + kGoing; count() > 0 && count() == before && Clock::now() < patience;) {
    queues_.sleep(kBetweenLooks);
  }
}

bool LinuxMenus::isOpenAt(Point place) {
  const auto window = windows_.topmostWindowAt(place);
  return window && isMenuWindow(*window);
}

MenuOutcome LinuxMenus::perform(const MenuCommand& command) {
  const TimePoint deadline = Clock::now() + kLongestPerformance;
  for (MenuSource* source : sources_) {
    if (const auto outcome = source->perform(command, deadline)) {
      return *outcome;
    }
  }
  return MenuOutcome::gone;
}

}  // namespace jumplark::menus
