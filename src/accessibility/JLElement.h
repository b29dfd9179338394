#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "accessibility/JLAXElement.h"
#include "platform/Workspace.h"

namespace jumplark {

/// One user-interface element of some application, as the whole program passes it around: role, place on screen, place
/// in the hierarchy, and the few operations that act on it.
///
/// Lazy fields (role, parent, ancestors) are filled on the first read that yields something and stay: a model shows the
/// element as it was when first asked. Within one activation the same reference gives the same model (see flushCache).
/// Geometry has a bottom-left origin unless a name says otherwise, in points. May be read from any thread.
class JLElement : public std::enable_shared_from_this<JLElement> {
 public:
  using Pointer = std::shared_ptr<JLElement>;
  /// Ancestors from the top (the application) downwards, each once.
  using OrderedSet = std::vector<Pointer>;

  /// The model of a reference, through the cache.
  static Pointer elementWithElementRef(const ElementRef& ref);
  static Pointer cachedOrNewElementForElementRef(const ElementRef& ref);
  /// New models outside the cache.
  static Pointer elementWithJLAXElement(std::shared_ptr<JLAXElement> axElement);
  static Pointer elementWithPID(int32_t pid);
  /// Null for an empty identifier and when no running application has it.
  static Pointer elementWithBundleID(const std::string& bundleIdentifier);
  static Pointer systemWideElement();

  /// Hit tests on the whole screen, or within an application, or where that is the system-wide element everywhere; null
  /// when nothing is found.
  static Pointer elementAtPointFromTopLeft(Point point);
  static Pointer elementAtPointFromTopLeftForApplication(Point point, const JLElement& application);
  static Pointer elementAtPointFromBottomLeft(Point point);
  static Pointer elementAtPointFromBottomLeftForApplication(Point point, const JLElement& application);

  /// Ends the sharing of models: empties the cache, drops the platform's snapshot, and reports the number of calls.
  static void flushCache();

  /// The same element with the role that it had, to be read anew whatever snapshot is in force, and so is what it leads
  /// to. `forAction` also reads at once what an action on it is going to ask: before that makes the application busy.
  Pointer live(bool forAction = false) const;

  explicit JLElement(std::shared_ptr<JLAXElement> axElement);
  /// A copy is a new model, outside the cache, around the same wrapped element, with empty lazy fields.
  JLElement(const JLElement& other);
  JLElement& operator=(const JLElement&) = delete;
  ~JLElement();

  const std::shared_ptr<JLAXElement>& axElement() const { return axElement_; }
  const ElementRef& ref() const { return axElement_->ref(); }
  uint64_t hash() const { return axElement_->hash(); }
  friend bool operator==(const JLElement& a, const JLElement& b) { return *a.axElement_ == *b.axElement_; }
  std::string description() const;

  int32_t pid() const { return axElement_->pid(); }
  bool attributeExists(const std::string& name) const { return axElement_->attributeExists(name); }
  bool parameterizedAttributeExists(const std::string& name) const {
    return axElement_->parameterizedAttributeExists(name);
  }
  AttributeValue getAttributeWithParameter(const std::string& name, const AttributeValue& parameter) const {
    return axElement_->getAttributeWithParameter(name, parameter);
  }
  void enumerateAttributeUsingBlock(const std::string& name, const JLAXElement::Visitor& visitor,
                                    const std::function<bool()>& goOn = {}) const {
    axElement_->enumerateAttributeUsingBlock(name, visitor, goOn);
  }
  AttributeValue::List getMultipleAttributes(const std::vector<std::string>& names) const {
    return axElement_->getMultipleAttributes(names);
  }
  bool performAction(const std::string& action) const { return axElement_->performAction(action); }

  /// It says that it cannot be used now. Costs no message: false where that is not known.
  bool isKnownDisabled() const;
  std::optional<RunningApplication> runningApp() const;
  /// Empty when the element has none.
  std::string role() const;
  std::optional<std::string> subrole() const;
  /// The role, followed by the subrole when there is one.
  std::vector<std::string> roles() const;
  std::optional<std::string> title() const;
  /// The text that shows of a text element; none when the application does not tell.
  std::optional<std::string> visibleText() const;

  /// Top-left origin.
  Point position() const;
  Size size() const;
  Rect bounds() const;
  /// The bounds clipped by every ancestor below the application; the infinite rectangle for an element without a
  /// parent.
  Rect visibleBounds() const;
  Point midpoint() const;

  Pointer getElementAttribute(const std::string& name) const;
  Pointer window() const;
  Pointer application() const;
  Pointer focusedWindow() const;
  /// For the application its focused element; for any other element the application's focused window.
  Pointer focusedElement() const;
  Pointer titleElement() const;
  /// Of a window: the first sheet among the last 50 children that hold one; outside the cache.
  Pointer sheet() const;
  Pointer parent() const;
  OrderedSet ancestors() const;
  OrderedSet ancestorsAndSelf() const;
  /// True when `element` is somewhere above this one, the application excluded as a starting point.
  bool hasParent(const JLElement& element) const;

  /// Brings an application, or a window with the application and the windows that it lies in, to the front; gives any
  /// other element the keyboard focus.
  void focus() const;

  /// {"role": roles, "size": {"width", "height"}}, for metric events.
  AttributeValue::Dictionary metricDictionary() const;

 private:
  bool isBelowItself(const Pointer& newParent) const;

  std::shared_ptr<JLAXElement> axElement_;
  mutable std::mutex lazyMutex_;
  mutable std::string role_;
  mutable Pointer parent_;
  mutable std::optional<OrderedSet> ancestors_;
};

}  // namespace jumplark
