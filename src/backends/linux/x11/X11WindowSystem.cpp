#include "backends/linux/x11/X11WindowSystem.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "backends/linux/x11/Properties.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/WindowFactsReader.h"
#include "backends/linux/x11/WindowTree.h"
#include "backends/linux/x11/X11TitleBar.h"

namespace jumplark {
namespace {

using x11::takeReply;

xcb_window_t xidOf(WindowId id) {
  return static_cast<xcb_window_t>(id.low);
}

/// Who asks for an activation, as EWMH numbers it. Window managers may refuse applications, not pagers.
enum class Source : uint32_t { application = 1, pager = 2 };

std::vector<WindowFacts> present(std::vector<std::optional<WindowFacts>> windows) {
  std::vector<WindowFacts> result;
  for (auto& window : windows) {
    if (window) {
      result.push_back(std::move(*window));
    }
  }
  return result;
}

}  // namespace

X11WindowSystem::X11WindowSystem(std::shared_ptr<X11Connection> connection) : x_(std::move(connection)) {}

std::vector<WindowFacts> X11WindowSystem::windowsFrontToBack() {
  x_->dropEvents();
  xcb_window_t windowManager = windowManager_;
  auto managed = x11::managedWindows(*x_, windowManager);
  windowManager_ = windowManager;
  {
    const std::scoped_lock lock(mutex_);
    std::erase_if(managed, [this](uint32_t window) { return passedOver_.contains(window); });
  }
  const auto now = std::chrono::steady_clock::now();
  std::vector<WindowFacts> windows = present(x11::readWindowFacts(*x_, managed));
  const std::scoped_lock lock(mutex_);
  listed_ = windows;
  listedAt_ = now;
  return windows;
}

std::vector<WindowFacts> X11WindowSystem::windowsLately() const {
  constexpr std::chrono::milliseconds kMoment{50};
  const std::scoped_lock lock(mutex_);
  return std::chrono::steady_clock::now() - listedAt_ < kMoment ? listed_ : std::vector<WindowFacts>();
}

void X11WindowSystem::passOver(uint32_t window) {
  const std::scoped_lock lock(mutex_);
  passedOver_.insert(window);
}

std::optional<WindowFacts> X11WindowSystem::window(WindowId id) {
  return x11::readWindowFacts(*x_, {xidOf(id)}).front();
}

WindowId X11WindowSystem::activeWindow() {
  const auto active = x11::readNumbers(*x_, x_->root(), x_->atom(Atom::netActiveWindow), 1);
  return active && !active->empty() ? active->front() : 0;
}

bool X11WindowSystem::isOwn(const WindowFacts& facts) const {
  // In a sandbox getpid() counts in a name space of its own, and so may another application's _NET_WM_PID.
  if (facts.connectionPid > 0 && x_->ownResourcePid() > 0) {
    return facts.connectionPid == x_->ownResourcePid();
  }
  return facts.pid == getpid();
}

std::optional<WindowFacts> X11WindowSystem::topmostWindowAt(Point topLeft) {
  std::vector<x11::TopLevel> candidates = x11::viewableTopLevels(*x_);
  std::erase_if(candidates, [&](const x11::TopLevel& window) { return !window.outer.contains(topLeft); });
  const std::vector<bool> hit = x11::shapesContain(*x_, candidates, topLeft);
  for (size_t i = 0; i < candidates.size(); ++i) {
    if (!hit[i]) {
      continue;
    }
    auto facts = window(x11::clientInside(*x_, candidates[i].id));
    if (facts && !isOwn(*facts)) {
      return facts;
    }
  }
  return std::nullopt;
}

std::vector<WindowFacts> X11WindowSystem::popupsFrontToBack() {
  std::vector<xcb_window_t> ids;
  const auto root = takeReply(x_->get(), xcb_get_geometry_reply, xcb_get_geometry(x_->get(), x_->root()));
  const Rect screen = root ? Rect{0, 0, double(root->width), double(root->height)} : Rect{};
  for (const x11::TopLevel& window : x11::viewableTopLevels(*x_)) {
    // Frames of some window managers are override-redirect too; they hold a client. Others keep a window off screen.
    if (window.overrideRedirect && intersects(window.outer, screen) && x11::clientInside(*x_, window.id) == window.id) {
      ids.push_back(window.id);
    }
  }
  return present(x11::readWindowFacts(*x_, ids));
}

bool X11WindowSystem::isListed(uint32_t window) const {
  const std::scoped_lock lock(mutex_);
  return std::ranges::find(listed_, WindowId(window), &WindowFacts::id) != listed_.end();
}

// This comes while the X server is busy with a window that has just gone, so each wait for an answer costs
// milliseconds. A window that was there at the last look is asked for without any; otherwise all questions travel
// together.
bool X11WindowSystem::requestActive(WindowId id, bool force) {
  const xcb_window_t wanted = xidOf(id);
  if (force && windowManager_ != 0 && isListed(wanted)) {
    activateThroughWindowManager(wanted, force, XCB_WINDOW_NONE);
    return x_->alive();
  }
  const x11::WindowManagerQuestion question(*x_, windowManager_);
  const auto activeCookie = x11::askProperty(*x_, x_->root(), x_->atom(Atom::netActiveWindow), 1);
  const auto attributesCookie = xcb_get_window_attributes(x_->get(), wanted);
  const xcb_window_t windowManager = question.take();
  windowManager_ = windowManager;
  const auto active = x11::takeNumbers(*x_, activeCookie);
  const auto attributes = takeReply(x_->get(), xcb_get_window_attributes_reply, attributesCookie);
  if (windowManager == 0) {
    return activateDirectly(wanted);
  }
  if (!attributes || attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
    return false;
  }
  const xcb_window_t before = active && !active->empty() ? active->front() : 0;
  if (before != wanted || force) {
    activateThroughWindowManager(wanted, force, before);
  }
  return x_->alive();
}

std::vector<WindowButton> X11WindowSystem::buttonsOf(const WindowFacts& window) {
  return x11::buttonsOfWindow(*x_, window);
}

bool X11WindowSystem::request(WindowId id, WindowWish wish) {
  return window(id) && x11::requestOfWindow(*x_, xidOf(id), wish, userTime_);
}

void X11WindowSystem::activateThroughWindowManager(uint32_t id, bool force, uint32_t active) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = id;
  message.type = x_->atom(Atom::netActiveWindow);
  message.data.data32[0] = static_cast<uint32_t>(force ? Source::pager : Source::application);
  message.data.data32[1] = userTime_;
  message.data.data32[2] = active;
  constexpr uint32_t toWindowManager = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
  xcb_send_event(x_->get(), 0, x_->root(), toWindowManager, reinterpret_cast<const char*>(&message));
  xcb_flush(x_->get());
}

bool X11WindowSystem::activateDirectly(uint32_t id) {
  const uint32_t above = XCB_STACK_MODE_ABOVE;
  const auto raise = xcb_configure_window_checked(x_->get(), id, XCB_CONFIG_WINDOW_STACK_MODE, &above);
  const auto focus = xcb_set_input_focus_checked(x_->get(), XCB_INPUT_FOCUS_POINTER_ROOT, id, XCB_CURRENT_TIME);
  const bool raised = x_->check(raise);
  return x_->check(focus) && raised;
}

}  // namespace jumplark
