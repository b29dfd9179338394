#include "backends/linux/x11/ShortcutGrabs.h"

#include <algorithm>

#include "platform/Input.h"

namespace jumplark {
namespace {

constexpr uint16_t kModifierMask = 0xFF;

uint16_t coreModifiers(uint64_t flags) {
  uint16_t result = 0;
  result |= (flags & modifier_flag::shift) != 0 ? XCB_MOD_MASK_SHIFT : 0;
  result |= (flags & modifier_flag::control) != 0 ? XCB_MOD_MASK_CONTROL : 0;
  result |= (flags & modifier_flag::option) != 0 ? XCB_MOD_MASK_1 : 0;
  result |= (flags & modifier_flag::command) != 0 ? XCB_MOD_MASK_4 : 0;
  return result;
}

}  // namespace

ShortcutGrabs::ShortcutGrabs(std::shared_ptr<X11Connection> connection, std::shared_ptr<const KeyboardMap> map)
    : x_(std::move(connection)), map_(std::move(map)) {}

ShortcutState ShortcutGrabs::add(uint64_t id, const Shortcut& shortcut) {
  std::vector<Combination> combinations = combinationsOf(shortcut);
  const ShortcutState state = tryGrab(combinations);
  if (state == ShortcutState::registered) {
    owned_.push_back({id, shortcut, std::move(combinations)});
  }
  return state;
}

void ShortcutGrabs::remove(uint64_t id) {
  const auto found = std::ranges::find(owned_, id, &Owned::id);
  if (found != owned_.end()) {
    ungrab(found->combinations);
    owned_.erase(found);
  }
}

ShortcutState ShortcutGrabs::probe(const Shortcut& shortcut) {
  if (std::ranges::find(owned_, shortcut, &Owned::shortcut) != owned_.end()) {
    return ShortcutState::registered;
  }
  const std::vector<Combination> combinations = combinationsOf(shortcut);
  const ShortcutState state = tryGrab(combinations);
  if (state == ShortcutState::registered) {
    ungrab(combinations);
  }
  return state;
}

void ShortcutGrabs::setMap(std::shared_ptr<const KeyboardMap> map) {
  map_ = std::move(map);
  std::vector<std::vector<Combination>> wanted;
  wanted.reserve(owned_.size());
  for (Owned& owned : owned_) {
    wanted.push_back(combinationsOf(owned.shortcut));
    std::vector<Combination> gone;
    std::ranges::set_difference(owned.combinations, wanted.back(), std::back_inserter(gone));
    ungrab(gone);
    std::erase_if(owned.combinations, [&](const auto& c) { return std::ranges::binary_search(gone, c); });
  }
  for (size_t i = 0; i < owned_.size(); ++i) {
    std::erase_if(wanted[i], [&](const Combination& combination) { return isOwned(combination); });
    const std::vector<Combination> granted = grab(wanted[i]);
    auto& combinations = owned_[i].combinations;
    combinations.insert(combinations.end(), granted.begin(), granted.end());
    std::ranges::sort(combinations);
  }
}

std::optional<uint64_t> ShortcutGrabs::find(uint8_t keycode, uint16_t state) const {
  const Combination combination{keycode, state & kModifierMask};
  for (const Owned& owned : owned_) {
    if (std::ranges::binary_search(owned.combinations, combination)) {
      return owned.id;
    }
  }
  return std::nullopt;
}

bool ShortcutGrabs::needs(uint16_t state) const {
  const uint16_t modifiers = state & kModifierMask;
  const auto hasThem = [modifiers](const Combination& combination) { return combination.second == modifiers; };
  return std::ranges::any_of(owned_,
                             [&](const Owned& owned) { return std::ranges::any_of(owned.combinations, hasThem); });
}

// Sorted.
std::vector<ShortcutGrabs::Combination> ShortcutGrabs::combinationsOf(const Shortcut& shortcut) const {
  std::vector<Combination> result;
  const uint16_t modifiers = coreModifiers(shortcut.modifierFlags);
  for (const uint8_t keycode : map_->keycodesFor(shortcut.keyCode)) {
    for (const uint16_t locks : map_->lockCombinations()) {
      result.emplace_back(keycode, modifiers | locks);
    }
  }
  std::ranges::sort(result);
  result.erase(std::unique(result.begin(), result.end()), result.end());
  return result;
}

bool ShortcutGrabs::isOwned(const Combination& combination) const {
  return std::ranges::any_of(
      owned_, [&](const Owned& owned) { return std::ranges::binary_search(owned.combinations, combination); });
}

// Those that the X server has granted.
std::vector<ShortcutGrabs::Combination> ShortcutGrabs::grab(const std::vector<Combination>& combinations) {
  std::vector<xcb_void_cookie_t> cookies;
  cookies.reserve(combinations.size());
  for (const auto& [keycode, modifiers] : combinations) {
    cookies.push_back(
        xcb_grab_key_checked(x_->get(), 0, x_->root(), modifiers, keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_SYNC));
  }
  std::vector<Combination> granted;
  for (size_t i = 0; i < combinations.size(); ++i) {
    if (x_->check(cookies[i])) {
      granted.push_back(combinations[i]);
    }
  }
  return granted;
}

void ShortcutGrabs::ungrab(const std::vector<Combination>& combinations) {
  for (const auto& [keycode, modifiers] : combinations) {
    xcb_ungrab_key(x_->get(), keycode, x_->root(), modifiers);
  }
  x_->check(xcb_no_operation_checked(x_->get()));
}

ShortcutState ShortcutGrabs::tryGrab(const std::vector<Combination>& combinations) {
  if (combinations.empty()) {
    return ShortcutState::noSuchKey;
  }
  // A second grab of the same client would be granted, and ended with the first.
  if (std::ranges::any_of(combinations, [&](const auto& combination) { return isOwned(combination); })) {
    return ShortcutState::taken;
  }
  const std::vector<Combination> granted = grab(combinations);
  if (granted.size() == combinations.size()) {
    return ShortcutState::registered;
  }
  ungrab(granted);
  return x_->alive() ? ShortcutState::taken : ShortcutState::outOfReach;
}

}  // namespace jumplark
