#pragma once

#include <cstdint>
#include <memory>

namespace jumplark {

class JLElement;
class JLElementTree;

/// An element of the target, and the activation that it belongs to (see ActivationState).
struct TargetElement {
  std::shared_ptr<JLElement> element;
  uint64_t activation = 0;
};

/// A snapshot of the target, and the number of the request for it; no tree when there is no target.
struct TargetTree {
  std::shared_ptr<JLElementTree> tree;
  uint64_t activation = 0;
  uint64_t request = 0;
};

}  // namespace jumplark
