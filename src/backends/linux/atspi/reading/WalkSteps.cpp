#include "backends/linux/atspi/reading/WalkSteps.h"

#include <algorithm>
#include <iterator>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Clip.h"
#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/CachedTree.h"
#include "backends/linux/atspi/reading/Experience.h"

namespace jumplark::atspi {
namespace {

constexpr facts::Set kExtras = facts::relations | facts::attributes | facts::value | facts::text | facts::localizedRole;
/// Far more than any window shows; a tree without end must not fill the memory before the deadline.
constexpr size_t kMostElements = 50'000;

/// GTK 4 names a button after the picture in it, which tells nothing that the button does not.
bool isPartOf(const CachedTree* cache, const ElementRef& caption, const ElementFacts& element) {
  const CacheItem* item = cache ? cache->find(caption) : nullptr;
  return item && item->parent == element.ref;
}

void addExtraCalls(TypedBatch& batch, ElementFacts& e, facts::Set wanted, const CachedTree* cache) {
  const AtspiHandle& handle = *handleOf(e.ref);
  if ((wanted & facts::relations) != 0) {
    batch.add<RelationSet>(calls::relations(handle), [&e, cache](RelationSet& set) {
      for (auto& [type, targets] : set) {
        if (type == calls::kRelationLabelledBy) {
          std::copy_if(targets.begin(), targets.end(), std::back_inserter(e.labelledBy),
                       [&](const ElementRef& caption) { return !isPartOf(cache, caption, e); });
        }
      }
    });
  }
  if ((wanted & facts::attributes) != 0) {
    batch.add<AttributeMap>(calls::attributes(handle), [&e](AttributeMap& map) { e.attributes = std::move(map); });
  }
  if ((wanted & facts::value) != 0 && !mayHoldSecret(e)) {
    batch.add<double>(calls::currentValue(handle), [&e](double& value) { e.currentValue = value; });
  }
}

}  // namespace

std::shared_ptr<ElementFacts> WalkSteps::claim(const ElementRef& element, const ElementRef& parent) {
  return handleOf(element) && elements_.size() < kMostElements ? elements_.claim(element, parent) : nullptr;
}

void WalkSteps::adopt(ElementFacts& parent, const std::vector<ElementRef>& children, Level& next) {
  for (const ElementRef& child : children) {
    if (auto claimed = claim(child, parent.ref)) {
      parent.children.push_back(child);
      next.push_back(std::move(claimed));
    }
  }
}

void WalkSteps::leaveOutVanished(Level& level) {
  std::unordered_set<ElementRef, ElementRefHash> bereft;
  std::erase_if(level, [&](const auto& element) {
    const bool gone = !element->has(facts::identity) || element->is(state::defunct);
    if (gone) {
      bereft.insert(element->parent);
      elements_.remove(element->ref);
    }
    return gone;
  });
  for (const ElementRef& parent : bereft) {
    if (ElementFacts* left = elements_.find(parent)) {
      std::erase_if(left->children, [this](const ElementRef& child) { return !elements_.contains(child); });
    }
  }
}

const ElementFacts* WalkSteps::parentOf(const ElementFacts& element) const {
  return elements_.find(element.parent);
}

Rect WalkSteps::visiblePart(const ElementFacts& element) const {
  Rect part = element.extents.value_or(Rect::null());
  // The walk made the parents, so that following them ends.
  const ElementFacts* inside = &element;
  for (const ElementFacts* above = parentOf(element); above && !isMenuLike(*above); above = parentOf(*above)) {
    const ElementFacts* around = parentOf(*above);
    if (clips(*above, *inside) && !(around && plan_.toolkit->isMisplaced(*above, *around))) {
      part = intersection(part, *above->extents);
    }
    inside = above;
  }
  return part;
}

void WalkSteps::askStates(TypedBatch& batch, ElementFacts& e) {
  batch.add<uint64_t>(
      calls::states(*handleOf(e.ref)),
      [&e](uint64_t& states) {
        e.states = states;
        e.known |= facts::identity;
      },
      noting());
}

void WalkSteps::askName(TypedBatch& batch, ElementFacts& e) {
  batch.add<std::string>(
      calls::name(*handleOf(e.ref)), [&](std::string& name) { e.name = plan_.toolkit->nameForPeople(name); }, noting());
}

void WalkSteps::askTexts(TypedBatch& batch, ElementFacts& e) {
  askName(batch, e);
  batch.add<std::string>(
      calls::description(*handleOf(e.ref)), [&e](std::string& text) { e.description = std::move(text); }, noting());
}

void WalkSteps::askExtents(TypedBatch& batch, ElementFacts& e) {
  batch.add<Rect>(
      calls::extents(*handleOf(e.ref), plan_.toolkit->coordinates()),
      [&](Rect& rect) { e.extents = plan_.toolkit->placeTold(rect, plan_.offset); }, noting());
}

void WalkSteps::askInterfaces(TypedBatch& batch, ElementFacts& e) {
  batch.add<std::vector<std::string>>(calls::interfaces(*handleOf(e.ref)), [&e](std::vector<std::string>& names) {
    e.interfaces = calls::interfaceBits(names);
  });
}

void WalkSteps::askChildCount(TypedBatch& batch, ElementFacts& e) {
  batch.add<int32_t>(
      calls::childCount(*handleOf(e.ref)), [&e](int32_t& count) { e.childCount = std::max(count, -1); }, noting());
}

void WalkSteps::readFurther(const Level& all) {
  TypedBatch batch;
  Level withText;
  std::unordered_map<uint32_t, std::string> roleNames;
  for (const auto& element : all) {
    if (!element->has(kRead) || stopped()) {
      continue;
    }
    const facts::Set wanted = factsWorthReading(*element);
    element->known |= kExtras;
    addExtraCalls(batch, *element, wanted, plan_.cache.get());
    askRoleName(batch, *element, roleNames);
    if ((wanted & facts::text) != 0 && !mayHoldSecret(*element)) {
      withText.push_back(element);
    }
  }
  askCaptions(batch, all);
  std::vector<TextRequest> requests = textRequests(withText);
  TextReader texts;
  texts.begin(runner_, requests, plan_.deadline);
  batch.run(runner_, plan_.deadline);
  for (const auto& element : all) {
    if (element->has(facts::localizedRole)) {
      element->localizedRole = roleNames[element->role];
    }
  }
  texts.finish(runner_, requests, plan_.deadline);
  keepTexts(withText, requests);
}

void WalkSteps::askCaptions(TypedBatch& batch, const Level& all) {
  std::unordered_set<ElementRef, ElementRefHash> surroundings;
  for (const auto& element : all) {
    if (plan_.toolkit->mayBeCaptioned(*element, elements_)) {
      surroundings.insert(element->parent);
    }
  }
  for (const auto& element : all) {
    if (element->role != role::label || !element->is(state::showing) || !surroundings.contains(element->parent)) {
      continue;
    }
    batch.add<RelationSet>(calls::relations(*handleOf(element->ref)), [this, label = element->ref](RelationSet& set) {
      for (const auto& [type, targets] : set) {
        ElementFacts* named = targets.empty() ? nullptr : elements_.find(targets.front());
        if (type == calls::kRelationLabelFor && named && plan_.toolkit->mayBeCaptioned(*named, elements_)) {
          named->labelledBy.push_back(label);
        }
      }
    });
  }
}

void WalkSteps::askRoleName(TypedBatch& batch, const ElementFacts& e,
                            std::unordered_map<uint32_t, std::string>& names) {
  // The same for all elements of a role.
  const auto [name, isNew] = names.try_emplace(e.role);
  const AtspiHandle& handle = *handleOf(e.ref);
  if (!isNew) {
    return;
  }
  const bool stays = plan_.toolkit->namesRolesAlike();
  if (stays) {
    name->second = plan_.experiences->of(handle.busName(), [&e](Experience& known) { return known.roleNames[e.role]; });
  }
  if (!name->second.empty()) {
    return;
  }
  batch.add<std::string>(calls::localizedRole(handle), [this, stays, &handle, &e, &text = name->second](auto& answer) {
    text = std::move(answer);
    if (stays) {
      plan_.experiences->of(handle.busName(), [&](Experience& known) { known.roleNames[e.role] = text; });
    }
  });
}

std::vector<TextRequest> WalkSteps::textRequests(const Level& elements) const {
  std::vector<TextRequest> requests;
  for (const auto& element : elements) {
    const Rect part = visiblePart(*element);
    requests.push_back(
        textRequestOf(*element, *plan_.toolkit, part.isNull() ? std::nullopt : std::optional(part), plan_.offset));
  }
  return requests;
}

void WalkSteps::keepTexts(const Level& elements, const std::vector<TextRequest>& requests) {
  for (size_t i = 0; i < requests.size(); ++i) {
    const TextFacts& text = requests[i].answer;
    elements[i]->characterCount = text.count;
    elements[i]->shortText = text.fetched;
    if (text.count >= 0) {
      texts_[elements[i]->ref] = text;
    }
  }
}

void WalkSteps::noteError(AccessibilityError error) {
  if (error == AccessibilityError::cannotComplete || error == AccessibilityError::apiDisabled) {
    complete_ = false;
  }
}

bool WalkSteps::stopped() const {
  return !complete_ || Clock::now() >= plan_.deadline || (plan_.cancelled && plan_.cancelled());
}

}  // namespace jumplark::atspi
