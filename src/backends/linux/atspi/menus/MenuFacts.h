#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"
#include "backends/linux/atspi/reading/CachedTree.h"

namespace jumplark::atspi {

/// What an element of a menu said of itself.
struct MenuItemFacts {
  ElementRef ref;
  uint32_t role = 0;
  uint64_t states = 0;
  std::string name;
  std::vector<ElementRef> children;  ///< of a long list the first ones, see MenuFacts::childrenFrom
  int32_t childCount = -1;           ///< as it says, -1 when it does not
  bool hasActions = false;           ///< it implements them; whether there is any is another question

  bool is(int state) const { return (states >> static_cast<unsigned>(state) & 1U) != 0; }
  /// Toolkits set the one state or the other.
  bool isEnabled() const;
  bool hasMoreChildren() const { return childCount > 0 && children.size() < static_cast<size_t>(childCount); }
};

/// Reads elements of menus, of many at once. One thread.
class MenuFacts {
 public:
  /// `cache` may be null. `before` is called before each round of calls.
  MenuFacts(CallRunner& runner, std::shared_ptr<const CachedTree> cache, TimePoint deadline,
            std::function<void()> before)
      : runner_(runner), cache_(std::move(cache)), deadline_(deadline), before_(std::move(before)) {}

  /// One entry an element, in order; none of one that has gone.
  std::vector<std::optional<MenuItemFacts>> read(const std::vector<ElementRef>& elements);
  /// The states of each element; none of one that has gone.
  std::vector<uint64_t> states(const std::vector<ElementRef>& elements);
  /// Up to `count` of the children that follow the first `begin` ones, as far as there are that many.
  std::vector<ElementRef> childrenFrom(const MenuItemFacts& element, size_t begin, size_t count);
  /// What each element says that it stands in; empty without one.
  std::vector<ElementRef> parents(const std::vector<ElementRef>& elements);
  /// Where each element says that it is; none of one without a place.
  std::vector<std::optional<Rect>> places(const std::vector<ElementRef>& elements);
  /// The keys of each element's first action, as the toolkit writes them; none of one without actions.
  std::vector<std::optional<std::string>> firstKeys(const std::vector<ElementRef>& elements);
  /// Names and states of elements anew. False when any has gone, has another name or not as many children.
  bool refresh(const std::vector<MenuItemFacts*>& elements);
  /// Time is up, or the application does not answer.
  bool ended() const { return silent_ || Clock::now() >= deadline_; }

 private:
  std::optional<MenuItemFacts> fromCache(const ElementRef& element) const;
  void note(AccessibilityError error) { silent_ = silent_ || error == AccessibilityError::cannotComplete; }
  void readChildren(std::vector<std::optional<MenuItemFacts>>& elements);
  void run(class TypedBatch& batch);

  CallRunner& runner_;
  const std::shared_ptr<const CachedTree> cache_;
  const TimePoint deadline_;
  const std::function<void()> before_;
  bool silent_ = false;
};

}  // namespace jumplark::atspi
