#pragma once

#include <string>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"

/// The methods of the AT-SPI 2 interfaces that are used, by name. Properties are read one by one: asking the Accessible
/// interface for all of its properties at once crashes applications of Qt 5.15 and 6.4.
namespace jumplark::atspi::calls {

inline constexpr const char* kRegistryName = "org.a11y.atspi.Registry";
inline constexpr const char* kRootPath = "/org/a11y/atspi/accessible/root";
/// Coordinate types: pixels of the screen, pixels of the window.
inline constexpr uint32_t kScreen = 0;
inline constexpr uint32_t kWindow = 1;
inline constexpr uint32_t kRelationLabelFor = 1;
inline constexpr uint32_t kRelationLabelledBy = 2;

/// The element of the application that an element belongs to.
inline ElementRef applicationOf(const AtspiHandle& element) {
  return makeRef(element.busName(), kRootPath);
}

TypedCall<uint64_t> states(const AtspiHandle& element);
TypedCall<uint32_t> role(const AtspiHandle& element);
TypedCall<std::vector<std::string>> interfaces(const AtspiHandle& element);
TypedCall<ElementRef> parent(const AtspiHandle& element);
TypedCall<std::string> name(const AtspiHandle& element);
TypedCall<std::string> description(const AtspiHandle& element);
TypedCall<std::string> localizedRole(const AtspiHandle& element);
TypedCall<int32_t> childCount(const AtspiHandle& element);
TypedCall<std::vector<ElementRef>> children(const AtspiHandle& element);
TypedCall<ElementRef> childAt(const AtspiHandle& element, int32_t index);
TypedCall<int32_t> indexInParent(const AtspiHandle& element);
TypedCall<RelationSet> relations(const AtspiHandle& element);
TypedCall<AttributeMap> attributes(const AtspiHandle& element);

TypedCall<Rect> extents(const AtspiHandle& element, uint32_t coordinates = kScreen);
TypedCall<ElementRef> accessibleAtPoint(const AtspiHandle& element, int32_t x, int32_t y,
                                        uint32_t coordinates = kScreen);
TypedCall<bool> grabFocus(const AtspiHandle& element);

TypedCall<int32_t> characterCount(const AtspiHandle& element);
TypedCall<std::string> text(const AtspiHandle& element, int32_t start, int32_t end);
/// The smallest rectangle around the characters between two offsets.
TypedCall<Rect> rangeExtents(const AtspiHandle& element, int32_t start, int32_t end, uint32_t coordinates);
TypedCall<int32_t> offsetAtPoint(const AtspiHandle& element, int32_t x, int32_t y);

/// Links in a text, and the offsets between which one stands in it.
TypedCall<int32_t> linkCount(const AtspiHandle& text);
TypedCall<ElementRef> linkAt(const AtspiHandle& text, int32_t index);
TypedCall<int32_t> linkStart(const AtspiHandle& link);
TypedCall<int32_t> linkEnd(const AtspiHandle& link);

TypedCall<double> currentValue(const AtspiHandle& element);
TypedCall<std::vector<std::string>> actionNames(const AtspiHandle& element);
TypedCall<bool> doAction(const AtspiHandle& element, int32_t index);

/// The children that fit, in order; of applications with the Collection interface.
TypedCall<std::vector<ElementRef>> matchingChildren(const AtspiHandle& element, const MatchRule& rule);

/// The same of all that is below it, and no more than `most`.
TypedCall<std::vector<ElementRef>> matchingBelow(const AtspiHandle& element, const MatchRule& rule, int32_t most);

TypedCall<ElementRef> selectedChild(const AtspiHandle& container, int32_t index);

TypedCall<int32_t> columnCount(const AtspiHandle& table);
TypedCall<int32_t> rowAtIndex(const AtspiHandle& table, int32_t index);
TypedCall<ElementRef> accessibleAt(const AtspiHandle& table, int32_t row, int32_t column);
TypedCall<ElementRef> columnHeader(const AtspiHandle& table, int32_t column);
TypedCall<ElementRef> rowHeader(const AtspiHandle& table, int32_t row);

TypedCall<std::string> toolkitName(const AtspiHandle& application);
TypedCall<std::string> toolkitVersion(const AtspiHandle& application);
/// The address of the application's own socket; empty, or an error, where it has none.
TypedCall<std::string> peerAddress(const AtspiHandle& application);

/// What the application has made of its tree so far. GTK 4 makes elements when they are first asked for, GTK 3 while
/// somebody listens to any event, others not at all.
TypedCall<std::vector<CacheItem>> cacheItems(const std::string& busName);

/// The process behind a unique bus name, asked of the bus daemon.
TypedCall<uint32_t> processOfName(const std::string& busName);
/// Tells all applications that some client wants an event ("Window:Activate"). No match is added, so none is delivered.
TypedCall<std::monostate> registerEvent(const std::string& event);

/// interface_bit set of a list of interface names.
uint32_t interfaceBits(const std::vector<std::string>& names);

}  // namespace jumplark::atspi::calls
