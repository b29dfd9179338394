#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/Accessibility.h"

namespace jumplark {

/// One element reference and the typed reads, writes and actions on it: the thinnest layer over the platform's
/// accessibility calls.
///
/// Nothing throws for an application's failure: every platform error passes through handleAXErrorFromFunctionAtLine,
/// which names it, and the operation answers with a neutral value (none, an empty list, false, zero geometry, -1).
/// Geometry has a top-left origin and is in points. Operations may come from any thread; each may block for the
/// messaging time-out.
class JLAXElement {
 public:
  /// Called with a value, its index within the batch of 50 that it came in, and a flag that ends that batch.
  using Visitor = std::function<void(const AttributeValue& value, size_t index, bool& stop)>;

  /// Asks the current platform, or `live` where the element is to be read anew.
  explicit JLAXElement(ElementRef ref, std::shared_ptr<AccessibilityPlatform> live = nullptr);
  /// A copy wraps the same reference and asks for the attribute names again.
  JLAXElement(const JLAXElement& other);
  JLAXElement& operator=(const JLAXElement&) = delete;

  const ElementRef& ref() const { return ref_; }
  /// What it asks to be read anew; null for the current platform.
  const std::shared_ptr<AccessibilityPlatform>& live() const { return live_; }
  uint64_t hash() const { return ref_.hash(); }
  friend bool operator==(const JLAXElement& a, const JLAXElement& b) { return a.ref_ == b.ref_; }

  /// The process id of the element's application; -1 when it cannot be told.
  int32_t pid() const;
  std::string debugDescription() const;

  /// The eight attributes that every element is taken to support without asking the application.
  static const std::set<std::string>& commonAttributeNames();
  /// The supported names are fetched on the first need and never again, unless fetching them failed.
  bool attributeExists(const std::string& name) const;
  bool parameterizedAttributeExists(const std::string& name) const;

  /// Values as the platform gives them, packed values still packed; none on an error.
  AttributeValue copyRawAttribute(const std::string& name) const;
  AttributeValue copyRawAttributeWithParameter(const std::string& name, const AttributeValue& parameter) const;
  std::optional<AttributeValue::List> copyRawAttributeArrayFromIndexMaxLength(const std::string& name, int64_t index,
                                                                              int64_t maxLength) const;

  AttributeValue getAttribute(const std::string& name) const;
  AttributeValue operator[](const std::string& name) const { return getAttribute(name); }
  AttributeValue getAttributeWithParameter(const std::string& name, const AttributeValue& parameter) const;
  AttributeValue getAttributeDefault(const std::string& name, const AttributeValue& fallback) const;
  std::shared_ptr<JLAXElement> getElementAttribute(const std::string& name) const;
  Point getPointAttribute(const std::string& name) const;
  Size getSizeAttribute(const std::string& name) const;
  Rect getRectAttribute(const std::string& name) const;
  /// Without a value: the not-found location and a length of -1.
  Range getRangeAttribute(const std::string& name) const;
  AttributeValue::List getArrayAttributeStartIndexMaxLength(const std::string& name, int64_t start,
                                                            int64_t maxLength) const;
  /// 0 for an attribute that is not a list, -1 on any other error.
  int64_t getAttributeArrayCount(const std::string& name) const;
  /// One entry per name, in order, none where a value is missing; empty when the whole call failed.
  AttributeValue::List getMultipleAttributes(const std::vector<std::string>& names) const;

  /// Visits a list attribute in batches of 50, so that a huge list is never copied whole. Index and stop flag concern
  /// the current batch only: the next batch is fetched and visited all the same, unless `goOn`, asked before each
  /// batch, says no. A visitor that must stop for good keeps a flag of its own.
  void enumerateAttributeUsingBlock(const std::string& name, const Visitor& visitor,
                                    const std::function<bool()>& goOn = {}) const;

  bool setAttributeValue(const std::string& name, const AttributeValue& value) const;
  bool performAction(const std::string& action) const;

  /// Names and logs an error code, counts it, and returns it unchanged. Success and no-value are silent and not
  /// counted.
  static AccessibilityError handleAXErrorFromFunctionAtLine(AccessibilityError error, const char* function, int line);
  /// The English name of a code; empty for the two silent ones.
  static std::string nameOfError(AccessibilityError error);
  /// A packed value as its plain content: none for a packed error. Counts once for a plain value, twice for a packed
  /// one.
  static AttributeValue unpackAXValue(const AttributeValue& value);

  /// Reports the "ax_call_count" metric if any call was counted, and starts again from 0.
  static void logAndResetCallCount();

 private:
  using Names = std::shared_ptr<const std::vector<std::string>>;

  AccessibilityPlatform& accessibility() const;

  ElementRef ref_;
  std::shared_ptr<AccessibilityPlatform> live_;
  std::optional<std::string> role_;  ///< a label for the debug description; nothing sets it
  mutable std::mutex namesMutex_;
  mutable Names attributeNames_;
  mutable Names parameterizedAttributeNames_;
};

}  // namespace jumplark
