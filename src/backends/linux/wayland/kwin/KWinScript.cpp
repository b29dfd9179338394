#include "backends/linux/wayland/kwin/KWinScript.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>

namespace jumplark::kwin {
namespace {

/// Finds the window with an identifier as `w`; nothing is done without it.
constexpr const char* kOneWindow = R"js((function () {{
  var all = workspace.clientList ? workspace.clientList() : workspace.stackingOrder;
  for (var i = 0; i < all.length; ++i) {{
    var w = all[i];
    if (String(w.internalId) === "{}") {{ {} }}
  }}
}})();
)js";

constexpr const char* kWatching = R"js(
var known = {}, changed = {}, gone = [], reordered = true, moved = true;

function rectangle(r) { return [r.x, r.y, r.width, r.height]; }
function same(a, b) { return a.x === b.x && a.y === b.y && a.width === b.width && a.height === b.height; }
function windows() { return workspace.clientList ? workspace.clientList() : workspace.stackingOrder; }
function activeWindow() { return workspace.clientList ? workspace.activeClient : workspace.activeWindow; }

function isElsewhere(w) {
  if (w.onAllDesktops) { return false; }
  if (workspace.clientList) { return w.desktop !== workspace.currentDesktop; }
  return w.desktops.length > 0 && w.desktops.indexOf(workspace.currentDesktop) < 0;
}
function isOfOtherActivity(w) {
  return !!w.activities && w.activities.length > 0 && w.activities.indexOf(workspace.currentActivity) < 0;
}
function described(w) {
  var isX11 = w.windowId !== undefined || /X11Window|XwaylandWindow/.test(String(w));
  var leader = w.transientFor;
  return {
    id: String(w.internalId), pid: w.pid, title: String(w.caption), className: String(w.resourceClass),
    instanceName: String(w.resourceName), desktopFile: String(w.desktopFileName), type: w.windowType,
    frame: rectangle(w.frameGeometry), buffer: rectangle(w.bufferGeometry),
    client: w.clientGeometry ? rectangle(w.clientGeometry) : null, x11: isX11, popup: !!w.popupWindow,
    modal: !!w.modal, transientFor: leader ? String(leader.internalId) : "", closes: !!w.closeable,
    hidden: !!w.minimized || !!w.hidden || isElsewhere(w) || isOfOtherActivity(w), minimises: !!w.minimizable,
    maximises: !!w.maximizable,
    maximised: !!w.maximizable && same(w.frameGeometry, workspace.clientArea(KWin.MaximizeArea, w))
  };
}
function outputs() {
  var list = [], i;
  if (workspace.screens) {
    for (i = 0; i < workspace.screens.length; ++i) {
      var screen = workspace.screens[i];
      list.push({frame: rectangle(screen.geometry),
                 area: rectangle(workspace.clientArea(KWin.MaximizeArea, screen, workspace.currentDesktop))});
    }
  } else {
    for (i = 0; i < workspace.numScreens; ++i) {
      list.push({frame: rectangle(workspace.clientArea(KWin.ScreenArea, i, workspace.currentDesktop)),
                 area: rectangle(workspace.clientArea(KWin.MaximizeArea, i, workspace.currentDesktop))});
    }
  }
  return list;
}

function tell() {
  var message = {version: 1, windows: [], gone: gone}, active = activeWindow(), all, i;
  for (var id in changed) { message.windows.push(described(changed[id])); }
  if (reordered) {
    all = windows().slice();
    if (workspace.clientList) { all.sort(function (a, b) { return a.stackingOrder - b.stackingOrder; }); }
    message.order = [];
    for (i = 0; i < all.length; ++i) { message.order.push(String(all[i].internalId)); }
  }
  if (moved) { message.outputs = outputs(); }
  message.active = active ? String(active.internalId) : "";
  changed = {}; gone = []; reordered = moved = false;
  callDBus(kName, kPath, kInterface, kMember, JSON.stringify(message));
}
var soon = null;
function later() { if (soon) { soon.start(); } else { tell(); } }
if (typeof QTimer !== "undefined") {
  soon = new QTimer();
  soon.singleShot = true;
  soon.interval = 0;
  soon.timeout.connect(tell);
}

function change(w) { changed[String(w.internalId)] = w; later(); }
function watch(signal, handler) { if (signal) { signal.connect(handler); } }
function add(w) {
  var id = String(w.internalId);
  if (known[id]) { return; }
  known[id] = true;
  function again() {
    if (w.dock) { moved = true; }
    if (known[id]) { change(w); }
  }
  var signals = ["frameGeometryChanged", "bufferGeometryChanged", "clientGeometryChanged", "captionChanged",
                 "minimizedChanged", "hiddenChanged", "desktopChanged", "desktopsChanged", "activitiesChanged",
                 "windowClassChanged", "desktopFileNameChanged", "transientChanged", "modalChanged",
                 "closeableChanged", "minimizeableChanged", "maximizeableChanged"];
  for (var i = 0; i < signals.length; ++i) { watch(w[signals[i]], again); }
  watch(w.stackingOrderChanged, function () { reordered = true; later(); });
  reordered = true;
  if (w.dock) { moved = true; }
  change(w);
}
function remove(w) {
  var id = String(w.internalId);
  delete known[id];
  delete changed[id];
  gone.push(id);
  reordered = true;
  if (w.dock) { moved = true; }
  later();
}
function all() {
  var list = windows();
  for (var i = 0; i < list.length; ++i) { add(list[i]); change(list[i]); }
  reordered = moved = true;
  later();
}

watch(workspace.clientAdded || workspace.windowAdded, add);
watch(workspace.clientRemoved || workspace.windowRemoved, remove);
watch(workspace.clientActivated || workspace.windowActivated, function () { later(); });
watch(workspace.stackingOrderChanged, function () { reordered = true; later(); });
watch(workspace.currentDesktopChanged, all);
watch(workspace.currentActivityChanged, all);
watch(workspace.numberScreensChanged, all);
watch(workspace.screensChanged, all);
watch(workspace.virtualScreenGeometryChanged, all);
all();
)js";

const char* commandFor(WindowWish wish) {
  switch (wish) {
    case WindowWish::close:
      return "w.closeWindow();";
    case WindowWish::minimise:
      return "w.minimized = true;";
    case WindowWish::maximise:
      return "w.minimized = false; w.setMaximize(true, true);";
    case WindowWish::restore:
      return "w.minimized = false; w.setMaximize(false, false);";
  }
  return "";
}

}  // namespace

std::string watchingScript(const std::string& busName, const std::string& path) {
  return fmt::format("var kName = \"{}\", kPath = \"{}\", kInterface = \"{}\", kMember = \"{}\";\n", busName, path,
                     kScriptInterface, kScriptMember) +
         kWatching;
}

std::string wishScript(WindowId window, WindowWish wish) {
  return fmt::format(kOneWindow, textOf(window), commandFor(wish));
}

std::string activatingScript(WindowId window) {
  return fmt::format(kOneWindow, textOf(window),
                     "if (workspace.clientList) { workspace.activeClient = w; } else { workspace.activeWindow = w; }");
}

std::string textOf(WindowId window) {
  const std::string digits = fmt::format("{:016x}{:016x}", window.high, window.low);
  return fmt::format("{{{}-{}-{}-{}-{}}}", digits.substr(0, 8), digits.substr(8, 4), digits.substr(12, 4),
                     digits.substr(16, 4), digits.substr(20));
}

WindowId windowIdOf(const std::string& text) {
  std::string digits = text;
  std::erase_if(digits, [](char c) { return c == '{' || c == '}' || c == '-'; });
  constexpr size_t kHalf = 16;
  if (digits.size() != 2 * kHalf || !std::ranges::all_of(digits, [](unsigned char c) { return std::isxdigit(c); })) {
    return {};
  }
  WindowId id;
  std::from_chars(digits.data(), digits.data() + kHalf, id.high, 16);
  std::from_chars(digits.data() + kHalf, digits.data() + 2 * kHalf, id.low, 16);
  return id;
}

}  // namespace jumplark::kwin
