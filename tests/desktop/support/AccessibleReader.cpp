// Prints what an application says of its elements, read with the desktop's own accessibility library and nothing of the
// program under test: accessible-reader APPLICATION. A JSON list of
// {"role","name","description","text","states","rect"} of what says that it shows, depth first; rect is
// [x,y,width,height] in pixels of the root window, as the application says. GTK 4 says of its windows only that they
// show, and tells places in its window: of it all elements are printed.
#include <atspi/atspi.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

namespace {

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
template <typename Type>
using Owned = std::unique_ptr<Type, Unref>;

std::string take(gchar* text) {
  std::string result = text ? text : "";
  g_free(text);
  return result;
}

const std::pair<AtspiStateType, const char*> kStates[] = {{ATSPI_STATE_CHECKED, "checked"},
                                                          {ATSPI_STATE_FOCUSED, "focused"},
                                                          {ATSPI_STATE_PRESSED, "pressed"},
                                                          {ATSPI_STATE_SELECTED, "selected"},
                                                          {ATSPI_STATE_SENSITIVE, "sensitive"}};

/// By its older name where a later version of the library calls it otherwise.
std::string roleOf(AtspiAccessible* element) {
  const std::string role = take(atspi_accessible_get_role_name(element, nullptr));
  return role == "button" ? "push button" : role;
}

bool isGtk4(AtspiAccessible* application) {
  return take(atspi_accessible_get_toolkit_name(application, nullptr)) == "GTK" &&
         take(atspi_accessible_get_toolkit_version(application, nullptr)).starts_with("4.");
}

nlohmann::json describe(AtspiAccessible* element, AtspiStateSet* states, bool gtk4) {
  nlohmann::json entry = {{"role", roleOf(element)},
                          {"name", take(atspi_accessible_get_name(element, nullptr))},
                          {"description", take(atspi_accessible_get_description(element, nullptr))},
                          {"text", ""},
                          {"states", nlohmann::json::array()},
                          {"rect", {0, 0, 0, 0}}};
  for (const auto& [state, name] : kStates) {
    if (atspi_state_set_contains(states, state)) {
      entry["states"].push_back(name);
    }
  }
  if (const Owned<AtspiText> text{atspi_accessible_get_text_iface(element)}) {
    entry["text"] = take(atspi_text_get_text(text.get(), 0, 200, nullptr));
  }
  if (const Owned<AtspiComponent> component{atspi_accessible_get_component_iface(element)}) {
    const AtspiCoordType origin = gtk4 ? ATSPI_COORD_TYPE_WINDOW : ATSPI_COORD_TYPE_SCREEN;
    if (AtspiRect* rect = atspi_component_get_extents(component.get(), origin, nullptr)) {
      entry["rect"] = {rect->x, rect->y, rect->width, rect->height};
      g_free(rect);
    }
  }
  return entry;
}

void collect(AtspiAccessible* parent, bool gtk4, nlohmann::json& entries) {
  constexpr int kMostChildren = 400;
  const int count = std::min(atspi_accessible_get_child_count(parent, nullptr), kMostChildren);
  for (int i = 0; i < count; ++i) {
    const Owned<AtspiAccessible> child{atspi_accessible_get_child_at_index(parent, i, nullptr)};
    const Owned<AtspiStateSet> states{child ? atspi_accessible_get_state_set(child.get()) : nullptr};
    if (states && (gtk4 || atspi_state_set_contains(states.get(), ATSPI_STATE_SHOWING))) {
      entries.push_back(describe(child.get(), states.get(), gtk4));
      collect(child.get(), gtk4, entries);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || atspi_init() > 1) {
    return 2;
  }
  const Owned<AtspiAccessible> desktop{atspi_get_desktop(0)};
  for (int i = 0; i < atspi_accessible_get_child_count(desktop.get(), nullptr); ++i) {
    const Owned<AtspiAccessible> application{atspi_accessible_get_child_at_index(desktop.get(), i, nullptr)};
    if (application && take(atspi_accessible_get_name(application.get(), nullptr)) == argv[1]) {
      nlohmann::json entries = nlohmann::json::array();
      collect(application.get(), isGtk4(application.get()), entries);
      std::printf("%s\n", entries.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
      return 0;
    }
  }
  return 1;
}
