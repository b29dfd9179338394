#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Accessibility.h"

/// What one element said of itself, decoded completely before anything acts on it.
namespace jumplark::atspi {

/// An element on the bus: its text form is the bus name followed by the object path, e.g.
/// ":1.7/org/a11y/atspi/accessible/3".
class AtspiHandle final : public ElementHandle {
 public:
  AtspiHandle(std::string busName, std::string path)
      : ElementHandle(busName + path), busName_(std::move(busName)), path_(std::move(path)) {}
  const std::string& busName() const { return busName_; }
  const std::string& path() const { return path_; }

 private:
  std::string busName_;
  std::string path_;
};

inline ElementRef makeRef(std::string busName, std::string path) {
  return ElementRef(std::make_shared<const AtspiHandle>(std::move(busName), std::move(path)));
}
/// The handle behind a reference of this backend; null for the system-wide element and for an empty reference.
inline const AtspiHandle* handleOf(const ElementRef& ref) {
  return dynamic_cast<const AtspiHandle*>(ref.get());
}

/// Groups of facts; each costs its own calls, so a reader asks for what it needs.
namespace facts {
using Set = uint32_t;
inline constexpr Set identity = 1;     ///< role, states, interfaces, parent
inline constexpr Set texts = 2;        ///< name, description
inline constexpr Set extents = 4;      ///< extents
inline constexpr Set children = 8;     ///< childCount, children
inline constexpr Set relations = 16;   ///< labelledBy
inline constexpr Set attributes = 32;  ///< attributes
inline constexpr Set value = 64;       ///< currentValue
inline constexpr Set text = 128;       ///< characterCount, shortText
inline constexpr Set localizedRole = 256;
inline constexpr Set actions = 512;  ///< actionNames
}  // namespace facts

/// AT-SPI interfaces that an element implements.
namespace interface_bit {
inline constexpr uint32_t action = 1, component = 2, text = 4, value = 8, editableText = 16, selection = 32, table = 64,
                          tableCell = 128, document = 256, collection = 512, image = 1024, hyperlink = 2048,
                          application = 4096, hypertext = 8192;
}

/// AtspiStateType numbers that are used here; a state is bit (1 << number) of ElementFacts::states.
namespace state {
inline constexpr int active = 1, checked = 4, defunct = 6, editable = 7, enabled = 8, expandable = 9, expanded = 10,
                     focusable = 11, focused = 12, modal = 16, multiLine = 17, pressed = 20, selectable = 22,
                     selected = 23, sensitive = 24, showing = 25, singleLine = 26, visible = 30,
                     managesDescendants = 31, indeterminate = 32, checkable = 41, hasPopup = 42, readOnly = 43;
}

/// What one element said. Fields of a group that is not in `known` are at their defaults.
struct ElementFacts {
  ElementRef ref;
  facts::Set known = 0;

  uint32_t role = 0;  ///< AtspiRole number
  /// SHOWING means here that the element is on screen, also for toolkits that set it on the frame only (GTK 4: VISIBLE
  /// with a size inside the window).
  uint64_t states = 0;
  uint32_t interfaces = 0;  ///< interface_bit
  ElementRef parent;        ///< empty for an application

  std::string name;         ///< valid UTF-8
  std::string description;  ///< valid UTF-8
  std::string localizedRole;

  /// Points of the screen, top-left origin, already corrected for toolkits that answer relative to the window;
  /// none when the element has no place on screen (scrolled away, closed menu, no Component interface).
  std::optional<Rect> extents;
  /// What scroll bars that are no elements take of the right and the lower edge; the extents are without that.
  Size bars;

  int64_t childCount = -1;
  /// In order. May hold fewer than childCount where only the visible ones were read (large tables): then
  /// `childrenAreVisibleOnly` is set and whoever wants all asks for them page by page.
  std::vector<ElementRef> children;
  bool childrenAreVisibleOnly = false;

  std::vector<ElementRef> labelledBy;
  bool isCaption = false;   ///< of a control beside it that says the same
  bool isNoChoice = false;  ///< whatever its role; what stands in it may be one
  std::map<std::string, std::string> attributes;
  std::optional<double> currentValue;
  int64_t characterCount = -1;
  std::string shortText;  ///< the text when it is short, else its visible part; never filled for a password
  std::vector<std::string> actionNames;

  bool has(facts::Set set) const { return (known & set) == set; }
  bool is(int stateNumber) const { return (states >> stateNumber) & 1U; }
  /// Nobody sees it, whatever it said.
  void hide() {
    states &= ~(uint64_t{1} << static_cast<unsigned>(state::showing));
    extents.reset();
  }
};

using FactsPointer = std::shared_ptr<const ElementFacts>;

}  // namespace jumplark::atspi
