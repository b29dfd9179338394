#include "backends/linux/atspi/menus/AtspiMenus.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <unordered_map>
#include <utility>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {
namespace {

constexpr size_t kMostRemembered = 4;
constexpr size_t kMostAskedAgain = 3000;
/// A snapshot that takes longer is one of an application that does not answer.
constexpr auto kLongestSnapshot = std::chrono::seconds(3);
/// How long what an application's cache told is taken for the present.
constexpr auto kStaysTrue = std::chrono::seconds(2);
/// How far below a frame, and among how many elements, its menu bar is looked for where no snapshot knows it.
constexpr int kDeepestBar = 6;
constexpr size_t kMostBeforeBar = 300;
constexpr size_t kMostButtons = 50;
/// Commands that come one soon after the other are told together.
constexpr auto kBetweenBatches = std::chrono::milliseconds(20);

/// True for a program that ends when a library of GLib's has something to complain of: GTK 3 does when the item of a
/// closed menu is activated.
bool endsAtComplaints(const WindowFacts& window) {
  std::ifstream environment(fmt::format("/proc/{}/environ", window.pid));
  for (std::string variable; std::getline(environment, variable, '\0');) {
    if (variable.starts_with("G_DEBUG=")) {
      return variable.find("fatal") != std::string::npos;
    }
  }
  return false;
}

}  // namespace

void AtspiMenus::read(const menus::MenuRequest& asked, menus::MenuSink& sink) {
  menus::MenuRequest request = asked;
  const auto time = request.deadline - Clock::now();
  elements_.snapshotsUnderWay().waitForNone(Clock::now() + kLongestSnapshot);
  request.deadline = Clock::now() + time;
  const Place place = placeOf(request);
  if (!handleOf(place.frame)) {
    return;
  }
  const bool isFresh = place.snapshot && Clock::now() - place.snapshot->takenAt < kStaysTrue;
  const auto waiting = [this, &request] { elements_.snapshotsUnderWay().waitForNone(request.deadline); };
  Pass pass{request, sink,
            MenuFacts(elements_.connection(), isFresh ? place.snapshot->cache : nullptr, request.deadline, waiting),
            place.snapshot && !place.snapshot->toolkit->keepsClosedMenusTrue()};
  const ElementRef known = place.snapshot ? place.snapshot->menuBar : ElementRef();
  if (known) {
    readBar(pass, known);
  }
  // A snapshot that is complete has seen that there is none.
  if (sink.count() == 0 && (known || !place.snapshot || !place.snapshot->complete)) {
    if (const ElementRef found = findBar(pass.facts, place.frame); found && found != known) {
      readBar(pass, found);
    }
  }
  if (place.snapshot) {
    readButtons(pass, *place.snapshot);
  }
}

void AtspiMenus::readButtons(Pass& pass, const Snapshot& snapshot) {
  size_t read = 0;
  for (const ElementTree::Node& node : snapshot.tree.nodes()) {
    if (node.parent == ElementTree::kNone || !role::isOneOf<role::menu, role::popupMenu>(node.facts->role)) {
      continue;
    }
    const ElementFacts& holder = *snapshot.tree[node.parent].facts;
    const bool isButton =
        role::isOneOf<role::pushButton, role::toggleButton, role::pushButtonMenu>(holder.role) && !holder.name.empty();
    MenuTree tree;
    if (isButton && holder.is(state::showing) && read++ < kMostButtons && pass.sink.isOpen() && !pass.facts.ended() &&
        tree.begin(pass.facts, holder.ref)) {
      for (const int menu : std::vector<int>(tree[0].children)) {
        tree.readBelow(pass.facts, menu, [](const std::vector<int>&) {});
      }
      tell(pass, tree, tree.commandsBelow(0), nullptr);
    }
  }
}

AtspiMenus::Place AtspiMenus::placeOf(const menus::MenuRequest& request) {
  Place place;
  place.application = elements_.application(request.pid);
  if (!place.application) {
    return place;
  }
  const auto inWindow = [&](const MatchedFrame& frame) { return frame.window.id == request.window.id; };
  if (const SnapshotPointer last = lastSnapshot_(place.application)) {
    const auto found = std::ranges::find_if(last->frames, inWindow);
    if (found != last->frames.end() && found->frame.element == last->focusedWindow) {
      return {place.application, last->focusedWindow, last};
    }
  }
  elements_.connection().forgive(handleOf(place.application)->busName());
  const MatchedFrames now = elements_.frames(place.application);
  const auto found = std::ranges::find_if(now.matched, inWindow);
  place.frame = found != now.matched.end() ? found->frame.element : now.focused;
  return place;
}

ElementRef AtspiMenus::findBar(MenuFacts& facts, const ElementRef& frame) {
  std::vector<ElementRef> level{frame};
  size_t seen = 0;
  for (int depth = 0; depth <= kDeepestBar && !level.empty() && !facts.ended(); ++depth) {
    std::vector<ElementRef> next;
    for (const auto& element : facts.read(level)) {
      if (element && element->role == role::menuBar) {
        return element->ref;
      }
      if (element && (depth == 0 || element->is(state::showing) || element->is(state::visible))) {
        next.insert(next.end(), element->children.begin(), element->children.end());
      }
    }
    next.resize(std::min(next.size(), kMostBeforeBar - std::min(seen, kMostBeforeBar)));
    seen += next.size();
    level = std::move(next);
  }
  return {};
}

std::optional<AtspiMenus::Remembered> AtspiMenus::remembered(WindowId window) {
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find_if(remembered_, [&](const Remembered& menus) { return menus.window == window; });
  return found == remembered_.end() ? std::nullopt : std::optional(*found);
}

void AtspiMenus::remember(Remembered menus) {
  const std::lock_guard lock(mutex_);
  std::erase_if(remembered_, [&](const Remembered& other) { return other.window == menus.window; });
  remembered_.push_front(std::move(menus));
  remembered_.resize(std::min(remembered_.size(), kMostRemembered));
}

void AtspiMenus::readBar(Pass& pass, const ElementRef& bar) {
  std::optional<Remembered> before = remembered(pass.request.window.id);
  if (before && before->bar != bar) {
    before.reset();
  }
  if (before && before->tree.refresh(pass.facts)) {
    add(pass, before->tree, before->tree.commandsBelow(0));
    remember(std::move(*before));
    return;
  }
  Remembered now{pass.request.window.id, bar, {}};
  if (!now.tree.begin(pass.facts, bar) || now.tree[0].facts.role != role::menuBar) {
    return;
  }
  TimePoint told;
  const Remembered* const known = before ? &*before : nullptr;
  const auto more = [&](const std::vector<int>& commands) {
    tell(pass, now.tree, commands, known);
    pass.sink.flush();
  };
  for (const int menu : std::vector<int>(now.tree[0].children)) {
    const bool isComplete = now.tree.readBelow(pass.facts, menu, more);
    tell(pass, now.tree, now.tree.commandsToTell(menu), known);
    if (!isComplete || !pass.sink.isOpen()) {
      return;
    }
    if (Clock::now() - told > kBetweenBatches) {
      pass.sink.flush();
      told = Clock::now();
    }
  }
  // Of more it takes as long to ask whether they are still so as to read them, and nothing is told meanwhile.
  if (now.tree.nodes().size() <= kMostAskedAgain) {
    remember(std::move(now));
  }
}

void AtspiMenus::tell(Pass& pass, MenuTree& tree, const std::vector<int>& commands, const Remembered* before) {
  std::unordered_map<ElementRef, const MenuTree::Node*, ElementRefHash> known;
  if (before) {
    for (const MenuTree::Node& old : before->tree.nodes()) {
      known.emplace(old.facts.ref, &old);
    }
  }
  std::vector<int> asked;
  std::vector<ElementRef> elements;
  for (const int command : commands) {
    MenuTree::Node& item = tree[command];
    const auto old = known.find(item.facts.ref);
    if (old != known.end() && old->second->facts.name == item.facts.name && old->second->canAct) {
      item.keys = old->second->keys;
      item.canAct = true;
    } else if (item.facts.hasActions) {
      asked.push_back(command);
      elements.push_back(item.facts.ref);
    }
  }
  const auto keys = pass.facts.firstKeys(elements);
  for (size_t i = 0; i < asked.size(); ++i) {
    MenuTree::Node& item = tree[asked[i]];
    item.canAct = keys[i].has_value();
    item.keys = keys[i] ? menuKeys(*keys[i], item.facts.name) : "";
  }
  add(pass, tree, commands);
}

void AtspiMenus::add(Pass& pass, const MenuTree& tree, const std::vector<int>& commands) {
  for (const int command : commands) {
    const bool isOld = pass.areStatesOld && !tree[command].facts.is(state::showing);
    pass.sink.add(menuCommand(menuEntry(tree, command), pass.request, isOld).first);
  }
}

std::optional<MenuOutcome> AtspiMenus::perform(const MenuCommand& command, TimePoint deadline) {
  const auto* handle = dynamic_cast<const AtspiMenuHandle*>(command.handle.get());
  return handle ? std::optional(perform(*handle, deadline, true)) : std::nullopt;
}

MenuOutcome AtspiMenus::perform(const AtspiMenuHandle& command, TimePoint deadline, bool mayLookAgain) {
  BusConnection& bus = elements_.connection();
  const AtspiHandle& element = *handleOf(command.way.back());
  bus.forgive(element.busName());
  uint32_t role = role::invalid;
  uint64_t states = 0;
  std::vector<std::string> names(command.way.size());
  bool isSilent = false;
  const auto note = [&](AccessibilityError error) {
    isSilent = isSilent || error == AccessibilityError::cannotComplete;
  };
  TypedBatch batch;
  batch.add<uint32_t>(
      calls::role(element), [&](uint32_t& told) { role = told; }, note);
  batch.add<uint64_t>(
      calls::states(element), [&](uint64_t& told) { states = told; }, note);
  for (size_t i = 0; i < names.size(); ++i) {
    batch.add<std::string>(
        calls::name(*handleOf(command.way[i])), [&names, i](std::string& told) { names[i] = std::move(told); }, note);
  }
  batch.run(bus, deadline);
  if (isSilent) {
    return MenuOutcome::failed;
  }
  if (role != command.role || names != command.names) {
    const MenuOutcome found = mayLookAgain ? lookAgain(command, deadline) : MenuOutcome::gone;
    return found == MenuOutcome::gone && command.opening ? reopen(command) : found;
  }
  MenuItemFacts now;
  now.states = states;
  if (!now.isEnabled() && !command.areStatesOld) {
    return MenuOutcome::disabled;
  }
  if (now.isEnabled() && command.canAct && !endsAtComplaints(command.menus.window)) {
    return act(command, deadline);
  }
  return command.opening ? reopen(command) : opener_.choose(command.menus.window, command.way, deadline);
}

MenuOutcome AtspiMenus::act(const AtspiMenuHandle& command, TimePoint deadline) {
  const AtspiHandle& element = *handleOf(command.way.back());
  BusConnection& bus = elements_.connection();
  const auto answer = callOnce(bus, calls::doAction(element, 0), std::min(deadline, Clock::now() + menus::kMoment));
  if (answer.ok()) {
    return answer.value ? MenuOutcome::done : MenuOutcome::failed;
  }
  if (answer.error == AccessibilityError::cannotComplete) {
    return MenuOutcome::done;  // a dialog that it shows is still open
  }
  // An application that has ended was asked to end.
  const AtspiHandle application(element.busName(), calls::kRootPath);
  return callOnce(bus, calls::role(application), deadline).ok() ? MenuOutcome::failed : MenuOutcome::done;
}

MenuOutcome AtspiMenus::lookAgain(const AtspiMenuHandle& command, TimePoint deadline) {
  std::shared_ptr<const MenuCommandHandle> found;
  const auto look = [&](const MenuCommand& candidate) {
    const auto* handle = dynamic_cast<const AtspiMenuHandle*>(candidate.handle.get());
    if (!found && handle && handle->names == command.names) {
      found = candidate.handle;
    }
  };
  menus::MenuRequest request = command.menus;
  request.deadline = deadline;
  const auto lookAtAll = [&](const std::vector<MenuCommand>& all) { std::ranges::for_each(all, look); };
  menus::MenuSink sink(lookAtAll, [&] { return !found; });
  read(request, sink);
  lookAtAll(sink.rest());
  const auto* handle = dynamic_cast<const AtspiMenuHandle*>(found.get());
  return handle ? perform(*handle, deadline, false) : MenuOutcome::gone;
}

}  // namespace jumplark::atspi
