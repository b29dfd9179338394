#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <vector>

#include "platform/Accessibility.h"

namespace jumplark {
class WindowSystem;
}

namespace jumplark::atspi {

class ElementSource;
class Snapshot;
struct Subject;
struct Vocabulary;
using SnapshotPointer = std::shared_ptr<const Snapshot>;
using VocabularyPointer = std::shared_ptr<const Vocabulary>;

/// The accessibility of a Linux desktop: elements of the AT-SPI bus in the "AX" vocabulary. During a snapshot reads
/// cost no message except where they need facts that no enumeration reads. The one place that knows which snapshots are
/// in force: everything below is handed the view that it is to use.
///
/// Geometry is in points of the screen with a top-left origin. Calls may come from any thread. The source and the
/// window system outlive it.
class AtspiAccessibility final : public AccessibilityPlatform {
 public:
  /// `trust` is how long after a snapshot hit tests answer from it without asking whether it still holds: as long as
  /// building a document takes, which hits the menu bar several times.
  AtspiAccessibility(ElementSource& source, WindowSystem& windows,
                     std::chrono::steady_clock::duration trust = std::chrono::milliseconds(250));

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
  /// "AXFocused" can be set to true; nothing else can be written.
  AccessibilityError setAttributeValue(const ElementRef& element, const std::string& name,
                                       const AttributeValue& value) override;
  /// "AXPress", "AXShowMenu" where the element offers it, and "AXRaise" of a window.
  AccessibilityError performAction(const ElementRef& element, const std::string& action) override;

  AccessibilityResult<int32_t> processIdentifier(const ElementRef& element) override;
  ElementRef createApplication(int32_t pid) override;
  ElementRef systemWideElement() override;
  AccessibilityResult<ElementRef> copyElementAtPosition(const ElementRef& application, float x, float y) override;
  void setMessagingTimeout(const ElementRef& element, double seconds) override;

  bool isKnownDisabled(const ElementRef& element) override;
  std::vector<ElementRef> windowButtons(const ElementRef& application) override;

  void expectSnapshot(int32_t pid) override;
  void prepareSnapshot(const ElementRef& application, bool visibleOnly) override;
  void endSnapshot() override;
  std::shared_ptr<AccessibilityPlatform> live() override;
  std::shared_ptr<AccessibilityPlatform> liveForAction(const ElementRef& element) override;

  /// What was read last of an element's application, in force or not; null without it. No message.
  SnapshotPointer lastSnapshotOf(const ElementRef& element) const;

 private:
  AtspiAccessibility(ElementSource& source, std::chrono::steady_clock::duration trust, VocabularyPointer meant,
                     ElementRef systemWide);

  /// What reads answer from: the snapshots in force, else what is there now.
  VocabularyPointer vocabulary() const;
  /// What is there now, but for what was read for an action, if any.
  VocabularyPointer liveVocabulary(const SnapshotPointer& action = nullptr) const;
  std::shared_ptr<AccessibilityPlatform> anew(const SnapshotPointer& action) const;
  /// Unless all snapshots have been ended since `end` was asked for.
  void putInForce(const SnapshotPointer& taken, const std::stop_token& end);
  AccessibilityResult<Subject> subject(const ElementRef& element, uint32_t groups);
  static AccessibilityResult<Subject> subject(const VocabularyPointer& vocabulary, const ElementRef& element,
                                              uint32_t groups);
  std::vector<std::string> actionsNow(const Subject& subject);
  AccessibilityError press(const Subject& subject);
  AccessibilityError showMenu(const Subject& subject);
  /// A window gets the keyboard back while its application may be busy drawing: one that a snapshot has placed is
  /// raised without asking it anything. False when there is none, or the window system refuses.
  bool raiseKnownWindow(const ElementRef& frame);
  AccessibilityError raise(const Subject& subject);

  ElementSource& source_;
  const std::chrono::steady_clock::duration trust_;
  const ElementRef systemWide_;
  mutable std::mutex mutex_;  ///< leaf
  std::stop_source end_;
  VocabularyPointer vocabulary_;
};

}  // namespace jumplark::atspi
