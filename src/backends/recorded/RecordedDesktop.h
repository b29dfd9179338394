#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "backends/recorded/ElementStore.h"
#include "platform/Geometry.h"
#include "platform/Menus.h"

namespace jumplark {

/// A recording that cannot be used. The message names the source and, for a syntax error, line and column; otherwise
/// the member, or the element and its attribute, that is wrong.
class RecordingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct RecordedApplication {
  int32_t pid = -1;
  std::string bundleIdentifier;
  std::string name;
  ElementRef element;  ///< empty for an application without an interface
  std::vector<MenuCommand> menus;
};

/// What a hit test at a point (top-left origin) answers; an empty element means that nothing is there.
struct RecordedHit {
  float x = 0;
  float y = 0;
  ElementRef element;
};

/// A desktop as a recording describes it: applications, their elements, screens and pointer. A plain value, with which
/// the recorded platform starts.
///
/// The file is a JSON object with the optional members "screens", "pointer", "frontmost", "applications", "dock",
/// "elements" and "hits". References may form cycles and trees of any depth; nothing here recurses over them. Every
/// reference must name an element of the file. JSON itself may be nested 100 levels deep.
struct RecordedDesktop {
  std::vector<Rect> screens;                        ///< bottom-left origin, the primary one first
  Point pointer;                                    ///< bottom-left origin
  std::vector<RecordedApplication> applications;    ///< front to back
  std::optional<int32_t> frontmost;                 ///< none, or a pid that nobody has: no application is in front
  std::optional<std::string> dockBundleIdentifier;  ///< none: there is no dock
  ElementStore elements;
  std::vector<RecordedHit> hits;
  /// Members that mean nothing here and were passed over, in words, for whoever wants to tell the user.
  std::vector<std::string> warnings;

  /// Throws RecordingError.
  static RecordedDesktop fromFile(const std::string& path);
  /// `sourceName` stands in messages where a file's path would. Throws RecordingError.
  static RecordedDesktop fromText(std::string_view text, const std::string& sourceName);
};

}  // namespace jumplark
