#include "BaselineWalk.h"

#include <atspi/atspi.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace jumplark::bench {
namespace {

constexpr int kMostChildren = 1000;
constexpr int kLongestText = 200;

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
template <typename Type>
using Owned = std::unique_ptr<Type, Unref>;

bool is(AtspiAccessible* element, AtspiStateType state) {
  const Owned<AtspiStateSet> states{atspi_accessible_get_state_set(element)};
  return states && atspi_state_set_contains(states.get(), state);
}

AtspiRect extentsOf(AtspiAccessible* element, AtspiCoordType type) {
  AtspiRect result{0, 0, 0, 0};
  if (const Owned<AtspiComponent> component{atspi_accessible_get_component_iface(element)}) {
    if (AtspiRect* rect = atspi_component_get_extents(component.get(), type, nullptr)) {
      result = *rect;
      g_free(rect);
    }
  }
  return result;
}

void readTexts(AtspiAccessible* element) {
  g_free(atspi_accessible_get_name(element, nullptr));
  g_free(atspi_accessible_get_description(element, nullptr));
  if (const Owned<AtspiText> text{atspi_accessible_get_text_iface(element)}) {
    g_free(atspi_text_get_text(text.get(), 0, kLongestText, nullptr));
  }
}

void readRelations(AtspiAccessible* element) {
  if (GArray* relations = atspi_accessible_get_relation_set(element, nullptr)) {
    for (guint i = 0; i < relations->len; ++i) {
      g_object_unref(g_array_index(relations, AtspiRelation*, i));
    }
    g_array_free(relations, TRUE);
  }
}

size_t walkFrom(AtspiAccessible* element, BaselineWalk::Showing showing) {
  const bool byState = showing == BaselineWalk::Showing::byState;
  if (!is(element, byState ? ATSPI_STATE_SHOWING : ATSPI_STATE_VISIBLE)) {
    return 0;
  }
  const AtspiRect rect = extentsOf(element, byState ? ATSPI_COORD_TYPE_SCREEN : ATSPI_COORD_TYPE_WINDOW);
  const bool hasSize = rect.width > 0 && rect.height > 0;
  const Owned<AtspiComponent> component{atspi_accessible_get_component_iface(element)};
  if (!byState && component && !hasSize) {
    return 0;
  }
  atspi_accessible_get_role(element, nullptr);
  const Owned<AtspiAccessible> parent{atspi_accessible_get_parent(element, nullptr)};
  readTexts(element);
  readRelations(element);
  size_t count = 1;
  const int children = std::min(atspi_accessible_get_child_count(element, nullptr), kMostChildren);
  for (int i = 0; i < children; ++i) {
    if (const Owned<AtspiAccessible> child{atspi_accessible_get_child_at_index(element, i, nullptr)}) {
      count += walkFrom(child.get(), showing);
    }
  }
  return count;
}

}  // namespace

struct BaselineWalk::Private {
  Owned<AtspiAccessible> application;
  Showing showing = Showing::byState;
};

BaselineWalk::BaselineWalk(pid_t process, Showing showing) : d_(std::make_unique<Private>()) {
  d_->showing = showing;
  if (atspi_init() > 1) {
    throw std::runtime_error("the accessibility library does not start");
  }
  const Owned<AtspiAccessible> desktop{atspi_get_desktop(0)};
  atspi_accessible_clear_cache(desktop.get());
  for (int i = 0; i < atspi_accessible_get_child_count(desktop.get(), nullptr); ++i) {
    Owned<AtspiAccessible> application{atspi_accessible_get_child_at_index(desktop.get(), i, nullptr)};
    if (application && static_cast<pid_t>(atspi_accessible_get_process_id(application.get(), nullptr)) == process) {
      d_->application = std::move(application);
      return;
    }
  }
  throw std::runtime_error("process " + std::to_string(process) + " is not on the accessibility bus");
}

BaselineWalk::~BaselineWalk() = default;

size_t BaselineWalk::walk() {
  AtspiAccessible* application = d_->application.get();
  atspi_accessible_clear_cache(application);
  const int frames = atspi_accessible_get_child_count(application, nullptr);
  Owned<AtspiAccessible> chosen;
  for (int i = 0; i < frames; ++i) {
    Owned<AtspiAccessible> frame{atspi_accessible_get_child_at_index(application, i, nullptr)};
    if (frame && (is(frame.get(), ATSPI_STATE_ACTIVE) || (!chosen && is(frame.get(), ATSPI_STATE_SHOWING)))) {
      chosen = std::move(frame);
    }
  }
  return chosen ? walkFrom(chosen.get(), d_->showing) : 0;
}

}  // namespace jumplark::bench
