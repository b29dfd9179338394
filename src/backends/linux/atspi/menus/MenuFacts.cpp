#include "backends/linux/atspi/menus/MenuFacts.h"

#include <algorithm>
#include <utility>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/SdBus.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/reading/Toolkit.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {
namespace {

using Keys = std::vector<std::string>;

/// The third text of every action's three.
int actionKeys(sd_bus_message* message, const std::string&, ReplyValue& value) {
  Keys keys;
  int r = sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "(sss)");
  const char* name = nullptr;
  const char* description = nullptr;
  const char* key = nullptr;
  while (r >= 0 && (r = sd_bus_message_read(message, "(sss)", &name, &description, &key)) > 0) {
    keys.push_back(wellFormedUtf8(key, kLongestText));
  }
  value = std::move(keys);
  return std::min(r, 0);
}

TypedCall<Keys> keysOfActions(const AtspiHandle& element) {
  return {{element.busName(), element.path(), "org.a11y.atspi.Action", "GetActions", {}, actionKeys}};
}

TypedCall<std::string> keyOfFirstAction(const AtspiHandle& element) {
  return {{element.busName(), element.path(), "org.a11y.atspi.Action", "GetKeyBinding", {int32_t{0}}, decoding::text}};
}

/// A toolkit may take a tenth of a second to make 1,000 children, and as long to tell of them when it has them.
constexpr int32_t kShortList = 200;
constexpr size_t kFirstOfLong = 50;

bool areActions(const std::vector<std::string>& interfaces) {
  return (calls::interfaceBits(interfaces) & interface_bit::action) != 0;
}

}  // namespace

bool MenuItemFacts::isEnabled() const {
  return is(state::enabled) || is(state::sensitive);
}

std::optional<MenuItemFacts> MenuFacts::fromCache(const ElementRef& element) const {
  const CacheItem* item = cache_ ? cache_->find(element) : nullptr;
  const std::vector<ElementRef>* children = item ? cache_->childrenOf(element) : nullptr;
  if (!item || (!children && item->childCount != 0)) {
    return std::nullopt;
  }
  return MenuItemFacts{element,
                       item->role,
                       item->states,
                       item->name,
                       children ? *children : std::vector<ElementRef>(),
                       item->childCount,
                       areActions(item->interfaces)};
}

void MenuFacts::run(TypedBatch& batch) {
  if (!batch.empty()) {
    before_();
    batch.run(runner_, deadline_);
  }
}

std::vector<std::optional<MenuItemFacts>> MenuFacts::read(const std::vector<ElementRef>& elements) {
  std::vector<std::optional<MenuItemFacts>> all(elements.size());
  TypedBatch batch;
  for (size_t i = 0; i < elements.size(); ++i) {
    const AtspiHandle* handle = handleOf(elements[i]);
    std::optional<MenuItemFacts>& read = all[i];
    read = fromCache(elements[i]);
    if (read || !handle) {
      continue;
    }
    read = MenuItemFacts{.ref = elements[i], .name = {}, .children = {}};
    const auto gone = [&](AccessibilityError error) {
      note(error);
      read.reset();
    };
    // Answers come in the order of the questions, and one that failed has taken the element away.
    const auto noted = [&](AccessibilityError error) { note(error); };
    batch.add<uint32_t>(
        calls::role(*handle), [&](uint32_t& role) { read->role = role; }, gone);
    batch.add<uint64_t>(
        calls::states(*handle), [&](uint64_t& states) { read ? void(read->states = states) : void(); }, gone);
    batch.add<std::string>(
        calls::name(*handle), [&](std::string& name) { read ? void(read->name = std::move(name)) : void(); }, noted);
    batch.add<int32_t>(
        calls::childCount(*handle), [&](int32_t& count) { read ? void(read->childCount = count) : void(); }, noted);
    batch.add<Keys>(
        calls::interfaces(*handle), [&](Keys& names) { read ? void(read->hasActions = areActions(names)) : void(); },
        noted);
  }
  if (!batch.empty()) {
    run(batch);
    readChildren(all);
  }
  return all;
}

std::vector<uint64_t> MenuFacts::states(const std::vector<ElementRef>& elements) {
  std::vector<uint64_t> all(elements.size());
  TypedBatch batch;
  for (size_t i = 0; i < elements.size(); ++i) {
    if (const AtspiHandle* handle = handleOf(elements[i])) {
      batch.add<uint64_t>(
          calls::states(*handle), [&one = all[i]](uint64_t& states) { one = states; },
          [this](AccessibilityError error) { note(error); });
    }
  }
  run(batch);
  return all;
}

void MenuFacts::readChildren(std::vector<std::optional<MenuItemFacts>>& elements) {
  TypedBatch batch;
  for (std::optional<MenuItemFacts>& element : elements) {
    if (!element || element->childCount == 0 || !element->children.empty()) {
      continue;
    }
    if (element->childCount > kShortList) {
      element->children = childrenFrom(*element, 0, kFirstOfLong);
    } else {
      batch.add<std::vector<ElementRef>>(
          calls::children(*handleOf(element->ref)),
          [&element](std::vector<ElementRef>& children) { element->children = std::move(children); },
          [this](AccessibilityError error) { note(error); });
    }
  }
  run(batch);
}

std::vector<ElementRef> MenuFacts::childrenFrom(const MenuItemFacts& element, size_t begin, size_t count) {
  const auto all = static_cast<size_t>(std::max(element.childCount, 0));
  std::vector<ElementRef> children;
  TypedBatch batch;
  for (size_t i = begin; i < std::min(begin + count, all); ++i) {
    batch.add<ElementRef>(
        calls::childAt(*handleOf(element.ref), static_cast<int32_t>(i)),
        [&children](ElementRef& child) { handleOf(child) ? children.push_back(std::move(child)) : void(); },
        [this](AccessibilityError error) { note(error); });
  }
  run(batch);
  return children;
}

std::vector<ElementRef> MenuFacts::parents(const std::vector<ElementRef>& elements) {
  std::vector<ElementRef> all(elements.size());
  TypedBatch batch;
  for (size_t i = 0; i < elements.size(); ++i) {
    batch.add<ElementRef>(calls::parent(*handleOf(elements[i])), [&all, i](ElementRef& parent) { all[i] = parent; });
  }
  run(batch);
  return all;
}

std::vector<std::optional<Rect>> MenuFacts::places(const std::vector<ElementRef>& elements) {
  std::vector<std::optional<Rect>> all(elements.size());
  TypedBatch batch;
  for (size_t i = 0; i < elements.size(); ++i) {
    batch.add<Rect>(calls::extents(*handleOf(elements[i])),
                    [&all, i](Rect& told) { all[i] = screenExtents(told, {}); });
  }
  run(batch);
  return all;
}

std::vector<std::optional<std::string>> MenuFacts::firstKeys(const std::vector<ElementRef>& elements) {
  std::vector<std::optional<std::string>> all(elements.size());
  const auto noting = [this](AccessibilityError error) { note(error); };
  TypedBatch actions;
  for (size_t i = 0; i < elements.size(); ++i) {
    if (const AtspiHandle* handle = handleOf(elements[i])) {
      const auto keep = [&all, i](Keys& keys) { keys.empty() ? void() : void(all[i] = std::move(keys[0])); };
      actions.add<Keys>(keysOfActions(*handle), keep, noting);
    }
  }
  run(actions);
  // Some tell a key only when it is asked for by itself.
  TypedBatch keys;
  for (size_t i = 0; i < elements.size(); ++i) {
    if (all[i] && all[i]->empty()) {
      keys.add<std::string>(
          keyOfFirstAction(*handleOf(elements[i])), [&all, i](std::string& key) { all[i] = std::move(key); }, noting);
    }
  }
  run(keys);
  return all;
}

bool MenuFacts::refresh(const std::vector<MenuItemFacts*>& elements) {
  bool isSame = true;
  const auto changed = [&](AccessibilityError error) {
    note(error);
    isSame = false;
  };
  TypedBatch batch;
  for (MenuItemFacts* element : elements) {
    const AtspiHandle& handle = *handleOf(element->ref);
    batch.add<uint64_t>(
        calls::states(handle), [element](uint64_t& states) { element->states = states; }, changed);
    batch.add<std::string>(
        calls::name(handle), [&isSame, element](std::string& name) { isSame = isSame && name == element->name; },
        changed);
    if (!element->children.empty()) {
      batch.add<int32_t>(
          calls::childCount(handle),
          [&isSame, element](int32_t& count) { isSame = isSame && count == element->childCount; }, changed);
    }
  }
  run(batch);
  return isSame;
}

}  // namespace jumplark::atspi
