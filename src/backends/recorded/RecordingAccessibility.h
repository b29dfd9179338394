#pragma once

#include <map>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "backends/recorded/ElementNotes.h"
#include "platform/Accessibility.h"

namespace jumplark {

/// Passes everything on to another platform and notes what it answers, but for what is read anew. Safe on any thread.
class RecordingAccessibility : public AccessibilityPlatform {
 public:
  /// `live` outlives this.
  explicit RecordingAccessibility(AccessibilityPlatform& live) : live_(live) {}

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
  AccessibilityResult<int32_t> processIdentifier(const ElementRef& element) override;
  ElementRef createApplication(int32_t pid) override;
  ElementRef systemWideElement() override;
  AccessibilityResult<ElementRef> copyElementAtPosition(const ElementRef& application, float x, float y) override;
  void setMessagingTimeout(const ElementRef& element, double seconds) override;
  void prepareSnapshot(const ElementRef& application, bool visibleOnly) override;
  void endSnapshot() override;
  std::shared_ptr<AccessibilityPlatform> live() override;

  /// What was noted, as JSON texts.
  struct Notes {
    std::map<std::string, std::string> elements;         ///< by id
    std::string hits;                                    ///< a list
    std::map<int32_t, std::string> applicationElements;  ///< ids by pid, of the applications that were asked for
  };
  /// Asks the live platform which elements are password fields where that was not seen, and leaves out what these hold.
  Notes notes();

 private:
  /// The point, and whether it was asked of one application: answers for the whole screen come first.
  using HitKey = std::tuple<bool, float, float, std::string>;

  using Hits = std::map<HitKey, ElementRef>;

  ElementNotes& notesOf(const ElementRef& element);
  static std::string hitsToJson(const Hits& hits);
  bool isPasswordField(const ElementNotes& notes) const;

  AccessibilityPlatform& live_;
  std::mutex mutex_;
  std::map<std::string, ElementNotes> elements_;
  Hits hits_;
  std::map<int32_t, ElementRef> applications_;
};

}  // namespace jumplark
