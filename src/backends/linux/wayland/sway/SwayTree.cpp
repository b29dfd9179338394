#include "backends/linux/wayland/sway/SwayTree.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include "backends/linux/wayland/LooseJson.h"

namespace jumplark::sway {

using namespace loose_json;
namespace {

constexpr size_t kMostWindows = 4096;
constexpr int kDeepest = 64;
/// Where sway holds windows that are put away.
constexpr const char* kScratchpad = "__i3_scratch";

Rect rect(const nlohmann::json& object, const char* key) {
  const nlohmann::json& found = member(object, key);
  return {number(found, "x"), number(found, "y"), number(found, "width"), number(found, "height")};
}

WindowType typeOf(const std::string& name) {
  static const std::map<std::string, WindowType> kTypes = {
      {"normal", WindowType::normal},   {"dialog", WindowType::dialog},
      {"utility", WindowType::utility}, {"toolbar", WindowType::toolbar},
      {"splash", WindowType::splash},   {"menu", WindowType::menu},
      {"tooltip", WindowType::toolTip}, {"dropdown_menu", WindowType::menu},
      {"popup_menu", WindowType::menu}, {"notification", WindowType::notification}};
  const auto found = kTypes.find(name);
  return found == kTypes.end() ? WindowType::normal : found->second;
}

class Reader {
 public:
  Tree read(const nlohmann::json& root) {
    visit(root, false, 0);
    std::stable_partition(tree_.windows.begin(), tree_.windows.end(),
                          [](const WindowFacts& window) { return !window.hidden; });
    for (WindowFacts& window : tree_.windows) {
      const auto leader = leaders_.find(window.id.low);
      const auto found = leader == leaders_.end() ? byXid_.end() : byXid_.find(leader->second);
      if (found != byXid_.end()) {
        window.transientFor = found->second;
        window.type = window.type == WindowType::normal ? WindowType::dialog : window.type;
      }
    }
    return std::move(tree_);
  }

 private:
  void visit(const nlohmann::json& node, bool putAway, int depth) {
    if (!node.is_object() || depth > kDeepest || tree_.windows.size() >= kMostWindows) {
      return;
    }
    const auto& tiled = list(node, "nodes");
    const auto& floating = list(node, "floating_nodes");
    putAway = putAway || text(node, "name") == kScratchpad;
    if (tiled.empty() && floating.empty()) {
      addWindow(node, putAway);
      return;
    }
    std::vector<const nlohmann::json*> children;
    // The last floating one is drawn last.
    for (auto child = floating.rbegin(); child != floating.rend(); ++child) {
      children.push_back(&*child);
    }
    for (const auto& child : tiled) {
      children.push_back(&child);
    }
    // Outputs, workspaces and tiles do not overlap: what has been worked in last comes first. What fills the output
    // hides all else on it.
    const auto& focus = list(node, "focus");
    std::ranges::stable_sort(children, {}, [&](const nlohmann::json* child) {
      const bool full = child->is_object() && integer(*child, "fullscreen_mode", 0) != 0;
      const bool floats = child->is_object() && text(*child, "type") == "floating_con";
      const auto place =
          child->is_object() && child->contains("id") ? std::ranges::find(focus, child->at("id")) : focus.end();
      return std::tuple(!full, !floats, floats ? 0 : place - focus.begin());
    });
    for (const nlohmann::json* child : children) {
      visit(*child, putAway, depth + 1);
    }
  }

  void addWindow(const nlohmann::json& node, bool putAway) {
    const int64_t id = integer(node, "id", 0);
    const int64_t pid = integer(node, "pid", 0);
    const std::string type = text(node, "type");
    const Rect place = rect(node, "rect");
    const Rect inside = rect(node, "window_rect");
    if (id <= 0 || pid <= 0 || pid > INT32_MAX || (type != "con" && type != "floating_con") || inside.width <= 0 ||
        inside.height <= 0) {
      return;
    }
    WindowFacts window;
    window.id = WindowId(static_cast<uint64_t>(id));
    window.pid = static_cast<int32_t>(pid);
    window.connectionPid = window.pid;
    window.title = text(node, "name");
    window.applicationId = text(node, "app_id");
    window.surface = {place.x + inside.x, place.y + inside.y, inside.width, inside.height};
    const double title = std::max(0.0, rect(node, "deco_rect").height);
    window.frame = {place.x, place.y - title, place.width, place.height + title};
    window.hidden = putAway || !flag(node, "visible");
    window.knowsItsPlace = text(node, "shell") == "xwayland";
    if (const nlohmann::json& properties = member(node, "window_properties"); properties.is_object()) {
      window.className = text(properties, "class");
      window.instanceName = text(properties, "instance");
      window.type = typeOf(text(properties, "window_type"));
      leaders_[window.id.low] = integer(properties, "transient_for", 0);
      byXid_[integer(node, "window", 0)] = window.id;
    }
    if (flag(node, "focused")) {
      tree_.focused = window.id;
    }
    tree_.windows.push_back(std::move(window));
  }

  Tree tree_;
  std::map<uint64_t, int64_t> leaders_;  ///< the X window that a window belongs to
  std::map<int64_t, WindowId> byXid_;
};

}  // namespace

Tree readTree(const nlohmann::json& root) {
  return Reader().read(root);
}

std::vector<Workspace> readWorkspaces(const nlohmann::json& answer) {
  std::vector<Workspace> result;
  for (const auto& workspace : answer.is_array() ? answer : nlohmann::json::array()) {
    if (flag(workspace, "visible")) {
      result.push_back({text(workspace, "output"), rect(workspace, "rect")});
    }
  }
  return result;
}

}  // namespace jumplark::sway
