#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// What must be known of its application and window to understand an element's answers.
struct ReadContext {
  const Toolkit* toolkit = nullptr;  ///< never null where something is read
  Point offset;                      ///< see Toolkit::originIn
};

/// One element to read: what is known of it already, and the groups that are wanted.
struct ReadRequest {
  ElementFacts facts;  ///< gets what was read; `ref` must be set
  facts::Set wanted = 0;
  ReadContext context;
  /// It is known to have the Component interface, though its identity is read anew.
  bool hasComponent = false;
  AccessibilityError error = AccessibilityError::success;
};

/// Reads chosen groups of single elements, all elements at once. Text and value of a password are never asked for: the
/// role is read before them. Nor is an interface asked for that an element does not have: programs write a complaint
/// about each such call, and end when those are made fatal.
class FactsReader {
 public:
  explicit FactsReader(CallRunner& runner) : runner_(runner) {}
  void read(std::vector<ReadRequest>& requests, TimePoint deadline);
  /// The two halves of read(), between which the first calls are under way and the requests stay where they are.
  void begin(std::vector<ReadRequest>& requests, TimePoint deadline);
  void finish(std::vector<ReadRequest>& requests, TimePoint deadline);

 private:
  void addFirst(std::vector<ReadRequest>& requests);
  void readSecond(std::vector<ReadRequest>& requests, TimePoint deadline);
  void readTextGroups(std::vector<ReadRequest>& requests, TimePoint deadline);

  CallRunner& runner_;
  TypedBatch first_;
};

}  // namespace jumplark::atspi
