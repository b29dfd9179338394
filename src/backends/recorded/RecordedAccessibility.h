#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "backends/recorded/HitTester.h"
#include "backends/recorded/RecordedDesktop.h"
#include "platform/Accessibility.h"

namespace jumplark {

class Queues;
class RecordedWorkspace;

/// A write or an action that was asked for.
struct RecordedOperation {
  ElementRef element;
  std::string name;      ///< of the attribute or the action
  AttributeValue value;  ///< written; none for an action
  AccessibilityError result = AccessibilityError::success;
};

/// The elements of a recording as running applications would show them.
///
/// An attribute that is not listed is unsupported, one that is null has no value; one that is {"error"} is read as a
/// packed error. A parameterized attribute answers the first entry whose condition the parameter meets, and has no
/// value when there is none. A write changes a listed attribute. Reads of an element that is slow take that time on the
/// given queues' clock, and end with cannotComplete after the messaging time-out, which is 0.5 s until it is set.
/// Snapshots hold nothing: every read is live. Safe on any thread.
class RecordedAccessibility : public AccessibilityPlatform {
 public:
  /// The workspace tells which applications run, and in which order hit tests ask them. It and the queues outlive this.
  RecordedAccessibility(const RecordedDesktop& desktop, const RecordedWorkspace& workspace, Queues& queues);

  AccessibilityResult<std::vector<std::string>> copyAttributeNames(const ElementRef& element) override;
  AccessibilityResult<std::vector<std::string>> copyParameterizedAttributeNames(const ElementRef& element) override;
  AccessibilityResult<AttributeValue> copyAttributeValue(const ElementRef& element, const std::string& name) override;
  AccessibilityResult<AttributeValue> copyParameterizedAttributeValue(const ElementRef& element,
                                                                      const std::string& name,
                                                                      const AttributeValue& parameter) override;
  AccessibilityResult<AttributeValue::List> copyAttributeValues(const ElementRef& element, const std::string& name,
                                                                int64_t index, int64_t maxCount) override;
  AccessibilityResult<int64_t> attributeValueCount(const ElementRef& element, const std::string& name) override;
  AccessibilityResult<AttributeValue::List> copyMultipleAttributeValues(const ElementRef& element,
                                                                        const std::vector<std::string>& names) override;
  AccessibilityError setAttributeValue(const ElementRef& element, const std::string& name,
                                       const AttributeValue& value) override;
  AccessibilityError performAction(const ElementRef& element, const std::string& action) override;
  /// The application in whose tree the element is, or at the end of its "AXParent" chain.
  AccessibilityResult<int32_t> processIdentifier(const ElementRef& element) override;
  ElementRef createApplication(int32_t pid) override;
  ElementRef systemWideElement() override;
  AccessibilityResult<ElementRef> copyElementAtPosition(const ElementRef& application, float x, float y) override;
  void setMessagingTimeout(const ElementRef& element, double seconds) override;
  /// Its "AXEnabled" is false.
  bool isKnownDisabled(const ElementRef& element) override;
  /// The application's "AXWindowButtons".
  std::vector<ElementRef> windowButtons(const ElementRef& application) override;
  void prepareSnapshot(const ElementRef& application, bool visibleOnly) override;
  void endSnapshot() override;
  std::shared_ptr<AccessibilityPlatform> live() override;

  /// The reference of an element id of the recording; logic_error for one that it does not have.
  ElementRef element(const std::string& id) const;

  /// Changes of the desktop while it is in use. An id that is new makes a new element.
  void setAttribute(const std::string& id, const std::string& name, AttributeValue value);
  void removeAttribute(const std::string& id, const std::string& name);
  void setParameterized(const std::string& id, const std::string& name, std::vector<RecordedAnswer> answers);
  void setActions(const std::string& id, std::vector<std::string> actions);
  void setError(const std::string& id, AccessibilityError error);
  void setDelay(const std::string& id, double milliseconds);
  /// Later reads of the element fail with invalidElement.
  void removeElement(const std::string& id);

  /// Called after each write and action, on the caller's thread, with no lock held; none by default.
  void setOperationHandler(std::function<void(const RecordedOperation&)> handler);
  std::vector<RecordedOperation> operations() const;
  /// The applications that a snapshot was prepared for, with what was asked, since the start.
  std::vector<std::pair<ElementRef, bool>> preparedSnapshots() const;
  int endedSnapshots() const { return endedSnapshots_.load(); }
  /// Calls that would have cost a message to an application.
  uint64_t messageCount() const { return messageCount_.load(); }

 private:
  struct Admission;

  Admission admit(const ElementRef& element);
  double timeoutOf(const ElementRef& element) const;
  AttributeValue valueOrError(const RecordedElement& element, const std::string& name) const;
  AccessibilityResult<const AttributeValue::List*> listOf(const RecordedElement& element,
                                                          const std::string& name) const;
  std::optional<int32_t> ownerOf(const RecordedElement& element, const std::vector<RecordedApplication>& applications);
  std::vector<RecordedApplication> hitOrder(const ElementRef& application) const;
  std::optional<ElementRef> recordedHit(const std::vector<RecordedApplication>& applications, bool everywhere, float x,
                                        float y);
  void note(const RecordedOperation& operation);
  void change(const std::string& id, const std::function<void(RecordedElement&)>& edit);

  const RecordedWorkspace& workspace_;
  Queues& queues_;
  const ElementRef systemWide_;

  mutable std::mutex mutex_;
  ElementStore store_;
  std::vector<RecordedHit> hits_;
  HitTester hitTester_{store_};
  double defaultTimeout_ = 0.5;  ///< seconds
  std::unordered_map<ElementRef, double, ElementRefHash> timeouts_;
  std::vector<RecordedOperation> operations_;
  std::function<void(const RecordedOperation&)> operationHandler_;
  std::vector<std::pair<ElementRef, bool>> preparedSnapshots_;

  std::atomic<int> endedSnapshots_{0};
  std::atomic<uint64_t> messageCount_{0};
};

}  // namespace jumplark
