#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace jumplark::atspi {

/// An event as an application sends it: a signal of the interface org.a11y.atspi.Event.Object or .Window. What else it
/// carries, such as the text that was typed, is never looked at.
struct BusEvent {
  std::string sender;     ///< unique bus name
  std::string path;       ///< of the element that the event is about
  std::string interface;  ///< the last part of it: "Object" or "Window"
  std::string member;     ///< like "StateChanged"
  std::string detail;     ///< like "focused"
  int32_t detail1 = 0;    ///< for a state: whether it is set
  std::string otherPath;  ///< of the element that was added or removed; empty without one
};

/// Which events stand for a notification.
struct EventKind {
  enum class About { source, other };

  std::string_view interface;
  std::string_view member;
  std::string_view detail;  ///< the beginning; empty for any
  int32_t detail1;          ///< kAny for any
  About about;              ///< whose notification it is

  static constexpr int32_t kAny = INT32_MIN;

  bool fits(const BusEvent& event) const;
  /// As events are registered for: "object:state-changed:focused".
  std::string registration() const;
};

/// Empty for a notification that no event stands for.
std::vector<EventKind> eventsFor(std::string_view notification);

}  // namespace jumplark::atspi
