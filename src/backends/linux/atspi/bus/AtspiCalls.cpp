#include "backends/linux/atspi/bus/AtspiCalls.h"

#include <array>
#include <string_view>
#include <utility>

namespace jumplark::atspi::calls {
namespace {

constexpr const char* kAccessible = "org.a11y.atspi.Accessible";
constexpr const char* kAction = "org.a11y.atspi.Action";
constexpr const char* kApplication = "org.a11y.atspi.Application";
constexpr const char* kCollection = "org.a11y.atspi.Collection";
constexpr const char* kComponent = "org.a11y.atspi.Component";
constexpr const char* kHyperlink = "org.a11y.atspi.Hyperlink";
constexpr const char* kHypertext = "org.a11y.atspi.Hypertext";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr const char* kSelection = "org.a11y.atspi.Selection";
constexpr const char* kTable = "org.a11y.atspi.Table";
constexpr const char* kText = "org.a11y.atspi.Text";
constexpr const char* kValue = "org.a11y.atspi.Value";

template <typename T>
TypedCall<T> method(const AtspiHandle& element, const char* interface, const char* member, Decoder decode,
                    std::vector<Argument> arguments = {}) {
  return {{element.busName(), element.path(), interface, member, std::move(arguments), decode}};
}

template <typename T>
TypedCall<T> property(const AtspiHandle& element, const char* interface, const char* name, Decoder decode) {
  return method<T>(element, kProperties, "Get", decode, {std::string(interface), std::string(name)});
}

}  // namespace

TypedCall<uint64_t> states(const AtspiHandle& element) {
  return method<uint64_t>(element, kAccessible, "GetState", decoding::stateSet);
}

TypedCall<uint32_t> role(const AtspiHandle& element) {
  return method<uint32_t>(element, kAccessible, "GetRole", decoding::number32);
}

TypedCall<std::vector<std::string>> interfaces(const AtspiHandle& element) {
  return method<std::vector<std::string>>(element, kAccessible, "GetInterfaces", decoding::texts);
}

TypedCall<ElementRef> parent(const AtspiHandle& element) {
  return property<ElementRef>(element, kAccessible, "Parent", decoding::referenceProperty);
}

TypedCall<std::string> name(const AtspiHandle& element) {
  return property<std::string>(element, kAccessible, "Name", decoding::textProperty);
}

TypedCall<std::string> description(const AtspiHandle& element) {
  return property<std::string>(element, kAccessible, "Description", decoding::textProperty);
}

TypedCall<std::string> localizedRole(const AtspiHandle& element) {
  return method<std::string>(element, kAccessible, "GetLocalizedRoleName", decoding::text);
}

TypedCall<int32_t> childCount(const AtspiHandle& element) {
  return property<int32_t>(element, kAccessible, "ChildCount", decoding::integerProperty);
}

TypedCall<std::vector<ElementRef>> children(const AtspiHandle& element) {
  return method<std::vector<ElementRef>>(element, kAccessible, "GetChildren", decoding::references);
}

TypedCall<ElementRef> childAt(const AtspiHandle& element, int32_t index) {
  return method<ElementRef>(element, kAccessible, "GetChildAtIndex", decoding::reference, {index});
}

TypedCall<int32_t> indexInParent(const AtspiHandle& element) {
  return method<int32_t>(element, kAccessible, "GetIndexInParent", decoding::integer);
}

TypedCall<RelationSet> relations(const AtspiHandle& element) {
  return method<RelationSet>(element, kAccessible, "GetRelationSet", decoding::relations);
}

TypedCall<AttributeMap> attributes(const AtspiHandle& element) {
  return method<AttributeMap>(element, kAccessible, "GetAttributes", decoding::attributes);
}

TypedCall<Rect> extents(const AtspiHandle& element, uint32_t coordinates) {
  return method<Rect>(element, kComponent, "GetExtents", decoding::rectangle, {coordinates});
}

TypedCall<ElementRef> accessibleAtPoint(const AtspiHandle& element, int32_t x, int32_t y, uint32_t coordinates) {
  return method<ElementRef>(element, kComponent, "GetAccessibleAtPoint", decoding::reference, {x, y, coordinates});
}

TypedCall<bool> grabFocus(const AtspiHandle& element) {
  return method<bool>(element, kComponent, "GrabFocus", decoding::boolean);
}

TypedCall<int32_t> characterCount(const AtspiHandle& element) {
  return property<int32_t>(element, kText, "CharacterCount", decoding::integerProperty);
}

TypedCall<std::string> text(const AtspiHandle& element, int32_t start, int32_t end) {
  return method<std::string>(element, kText, "GetText", decoding::text, {start, end});
}

TypedCall<Rect> rangeExtents(const AtspiHandle& element, int32_t start, int32_t end, uint32_t coordinates) {
  return method<Rect>(element, kText, "GetRangeExtents", decoding::looseRectangle, {start, end, coordinates});
}

TypedCall<int32_t> offsetAtPoint(const AtspiHandle& element, int32_t x, int32_t y) {
  return method<int32_t>(element, kText, "GetOffsetAtPoint", decoding::integer, {x, y, kScreen});
}

TypedCall<int32_t> linkCount(const AtspiHandle& text) {
  return method<int32_t>(text, kHypertext, "GetNLinks", decoding::integer);
}

TypedCall<ElementRef> linkAt(const AtspiHandle& text, int32_t index) {
  return method<ElementRef>(text, kHypertext, "GetLink", decoding::reference, {index});
}

TypedCall<int32_t> linkStart(const AtspiHandle& link) {
  return property<int32_t>(link, kHyperlink, "StartIndex", decoding::integerProperty);
}

TypedCall<int32_t> linkEnd(const AtspiHandle& link) {
  return property<int32_t>(link, kHyperlink, "EndIndex", decoding::integerProperty);
}

TypedCall<double> currentValue(const AtspiHandle& element) {
  return property<double>(element, kValue, "CurrentValue", decoding::doubleProperty);
}

TypedCall<std::vector<std::string>> actionNames(const AtspiHandle& element) {
  return method<std::vector<std::string>>(element, kAction, "GetActions", decoding::actionNames);
}

TypedCall<bool> doAction(const AtspiHandle& element, int32_t index) {
  return method<bool>(element, kAction, "DoAction", decoding::boolean, {index});
}

constexpr uint32_t kDocumentOrder = 1;

TypedCall<std::vector<ElementRef>> matchingChildren(const AtspiHandle& element, const MatchRule& rule) {
  constexpr int32_t kAll = 0;
  constexpr bool kGoDeeper = false;
  return method<std::vector<ElementRef>>(element, kCollection, "GetMatches", decoding::references,
                                         {rule, kDocumentOrder, kAll, kGoDeeper});
}

TypedCall<std::vector<ElementRef>> matchingBelow(const AtspiHandle& element, const MatchRule& rule, int32_t most) {
  constexpr bool kGoDeeper = true;
  return method<std::vector<ElementRef>>(element, kCollection, "GetMatches", decoding::references,
                                         {rule, kDocumentOrder, most, kGoDeeper});
}

TypedCall<ElementRef> selectedChild(const AtspiHandle& container, int32_t index) {
  return method<ElementRef>(container, kSelection, "GetSelectedChild", decoding::reference, {index});
}

TypedCall<int32_t> columnCount(const AtspiHandle& table) {
  return property<int32_t>(table, kTable, "NColumns", decoding::integerProperty);
}

TypedCall<int32_t> rowAtIndex(const AtspiHandle& table, int32_t index) {
  return method<int32_t>(table, kTable, "GetRowAtIndex", decoding::integer, {index});
}

TypedCall<ElementRef> accessibleAt(const AtspiHandle& table, int32_t row, int32_t column) {
  return method<ElementRef>(table, kTable, "GetAccessibleAt", decoding::reference, {row, column});
}

TypedCall<ElementRef> columnHeader(const AtspiHandle& table, int32_t column) {
  return method<ElementRef>(table, kTable, "GetColumnHeader", decoding::reference, {column});
}

TypedCall<ElementRef> rowHeader(const AtspiHandle& table, int32_t row) {
  return method<ElementRef>(table, kTable, "GetRowHeader", decoding::reference, {row});
}

TypedCall<std::string> toolkitName(const AtspiHandle& application) {
  return property<std::string>(application, kApplication, "ToolkitName", decoding::textProperty);
}

TypedCall<std::string> toolkitVersion(const AtspiHandle& application) {
  return property<std::string>(application, kApplication, "Version", decoding::textProperty);
}

TypedCall<std::string> peerAddress(const AtspiHandle& application) {
  return method<std::string>(application, kApplication, "GetApplicationBusAddress", decoding::text);
}

TypedCall<std::vector<CacheItem>> cacheItems(const std::string& busName) {
  return {{busName, "/org/a11y/atspi/cache", "org.a11y.atspi.Cache", "GetItems", {}, decoding::cacheItems}};
}

TypedCall<uint32_t> processOfName(const std::string& busName) {
  return {{"org.freedesktop.DBus",
           "/org/freedesktop/DBus",
           "org.freedesktop.DBus",
           "GetConnectionUnixProcessID",
           {busName},
           decoding::number32}};
}

TypedCall<std::monostate> registerEvent(const std::string& event) {
  return {{kRegistryName,
           "/org/a11y/atspi/registry",
           "org.a11y.atspi.Registry",
           "RegisterEvent",
           {event, std::vector<std::string>{}, std::string()},
           decoding::nothing}};
}

uint32_t interfaceBits(const std::vector<std::string>& names) {
  namespace bit = interface_bit;
  static constexpr std::array<std::pair<std::string_view, uint32_t>, 14> kBits{{{"Action", bit::action},
                                                                                {"Component", bit::component},
                                                                                {"Text", bit::text},
                                                                                {"Value", bit::value},
                                                                                {"EditableText", bit::editableText},
                                                                                {"Selection", bit::selection},
                                                                                {"Table", bit::table},
                                                                                {"TableCell", bit::tableCell},
                                                                                {"Document", bit::document},
                                                                                {"Collection", bit::collection},
                                                                                {"Image", bit::image},
                                                                                {"Hyperlink", bit::hyperlink},
                                                                                {"Hypertext", bit::hypertext},
                                                                                {"Application", bit::application}}};
  constexpr std::string_view kPrefix = "org.a11y.atspi.";
  uint32_t bits = 0;
  for (const std::string& full : names) {
    std::string_view name = full;
    if (name.starts_with(kPrefix)) {
      name.remove_prefix(kPrefix.size());
    }
    for (const auto& [known, bit] : kBits) {
      bits |= known == name ? bit : 0;
    }
  }
  return bits;
}

}  // namespace jumplark::atspi::calls
