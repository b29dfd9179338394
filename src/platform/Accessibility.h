#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/AttributeValue.h"

namespace jumplark {

/// The answer to one accessibility call: the value holds only when the error is success.
template <typename T>
struct AccessibilityResult {
  T value{};
  AccessibilityError error = AccessibilityError::success;

  AccessibilityResult(T v) : value(std::move(v)) {}        // NOLINT(google-explicit-constructor)
  AccessibilityResult(AccessibilityError e) : error(e) {}  // NOLINT(google-explicit-constructor)
  bool ok() const { return error == AccessibilityError::success; }
};

/// The role of a button that stands in no application's tree, since it is the window system's.
inline constexpr const char* kWindowButtonRole = "AXWindowButton";

/// Reads and operates the interfaces of running applications, element by element.
///
/// Attribute and action names are the "AX" vocabulary ("AXRole", "AXPress"). All geometry has a top-left origin and is
/// in points. No call throws for an application's failure: a hung application answers cannotComplete within the
/// messaging time-out, a vanished element invalidElement. Calls are synchronous and may come from any thread.
///
/// Snapshots: after prepareSnapshot, reads of that application answer from what it fetched, without a message, until
/// endSnapshot or the next prepareSnapshot of the same application. Who means what is there now asks what live() gives.
class AccessibilityPlatform {
 public:
  virtual ~AccessibilityPlatform() = default;

  virtual AccessibilityResult<std::vector<std::string>> copyAttributeNames(const ElementRef& element) = 0;
  virtual AccessibilityResult<std::vector<std::string>> copyParameterizedAttributeNames(const ElementRef& element) = 0;
  virtual AccessibilityResult<AttributeValue> copyAttributeValue(const ElementRef& element,
                                                                 const std::string& name) = 0;
  virtual AccessibilityResult<AttributeValue> copyParameterizedAttributeValue(const ElementRef& element,
                                                                              const std::string& name,
                                                                              const AttributeValue& parameter) = 0;
  /// At most `maxCount` entries of a list attribute from `index` on. An attribute that is not a list, or an index past
  /// its end, is an illegalArgument.
  virtual AccessibilityResult<AttributeValue::List> copyAttributeValues(const ElementRef& element,
                                                                        const std::string& name, int64_t index,
                                                                        int64_t maxCount) = 0;
  /// The number of entries of a list attribute; illegalArgument for an attribute that is not a list.
  virtual AccessibilityResult<int64_t> attributeValueCount(const ElementRef& element, const std::string& name) = 0;
  /// One entry per name, in order; what cannot be read is a packed error in its place.
  virtual AccessibilityResult<AttributeValue::List> copyMultipleAttributeValues(
      const ElementRef& element, const std::vector<std::string>& names) = 0;
  virtual AccessibilityError setAttributeValue(const ElementRef& element, const std::string& name,
                                               const AttributeValue& value) = 0;
  virtual AccessibilityError performAction(const ElementRef& element, const std::string& action) = 0;

  virtual AccessibilityResult<int32_t> processIdentifier(const ElementRef& element) = 0;
  /// Always a reference; reads of it fail when no such application is there.
  virtual ElementRef createApplication(int32_t pid) = 0;
  virtual ElementRef systemWideElement() = 0;
  /// The topmost element at a point, within `application` or, for the system-wide element, on the whole screen; noValue
  /// when there is none. Elements of our own process are never found.
  virtual AccessibilityResult<ElementRef> copyElementAtPosition(const ElementRef& application, float x, float y) = 0;

  /// The longest that one read of `element` (for the system-wide element: of every element) may take.
  virtual void setMessagingTimeout(const ElementRef& element, double seconds) = 0;

  /// Whether an element says that it cannot be used now, as far as that is known without asking its application.
  virtual bool isKnownDisabled(const ElementRef& element) {
    static_cast<void>(element);
    return false;
  }
  /// The buttons of an application's focused window that the window system tells and the application does not, from
  /// left to right: elements of the role kWindowButtonRole with "AXTitle", "AXDescription", a place and "AXPress".
  virtual std::vector<ElementRef> windowButtons(const ElementRef& application) {
    static_cast<void>(application);
    return {};
  }

  /// A snapshot of this process is about to be asked for, and its window about to lose the keyboard. Waits for nothing;
  /// may do nothing.
  virtual void expectSnapshot(int32_t pid) { static_cast<void>(pid); }
  /// Fetches in bulk what an enumeration of the application is about to read; may do nothing.
  virtual void prepareSnapshot(const ElementRef& application, bool visibleOnly) = 0;
  /// Drops every snapshot: later reads are live until the next prepareSnapshot.
  virtual void endSnapshot() = 0;
  /// The same desktop, read anew whatever snapshot is in force. This outlives it.
  virtual std::shared_ptr<AccessibilityPlatform> live() = 0;
  /// The same for one action: reads at once what an action on the element is going to ask, the element and what it
  /// stands in, and answers from that. Call it before the action makes the application busy.
  virtual std::shared_ptr<AccessibilityPlatform> liveForAction(const ElementRef& element) {
    static_cast<void>(element);
    return live();
  }
};

}  // namespace jumplark
