#include "backends/linux/atspi/reading/FactsReader.h"

#include <algorithm>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "backends/linux/atspi/reading/TextReading.h"
#include "backends/linux/atspi/reading/VisibleChildren.h"

namespace jumplark::atspi {
namespace {

/// An element that cannot tell a group has none of it; only silence leaves the group unknown.
std::function<void(AccessibilityError)> knownUnlessLate(ElementFacts& e, facts::Set group) {
  return [&e, group](AccessibilityError error) {
    if (error != AccessibilityError::cannotComplete && error != AccessibilityError::apiDisabled) {
      e.known |= group;
    }
  };
}

/// Groups that ask for nothing beyond what the element itself answers.
void addTextCalls(TypedBatch& batch, ReadRequest& request) {
  ElementFacts& e = request.facts;
  const Toolkit& toolkit = *request.context.toolkit;
  const AtspiHandle& handle = *handleOf(e.ref);
  batch.add<std::string>(
      calls::name(handle),
      [&e, &toolkit](std::string& name) {
        e.name = toolkit.nameForPeople(name);
        e.known |= facts::texts;
      },
      knownUnlessLate(e, facts::texts));
  batch.add<std::string>(calls::description(handle), [&e](std::string& text) { e.description = std::move(text); });
}

void addIdentityCalls(TypedBatch& batch, ReadRequest& request) {
  ElementFacts& e = request.facts;
  const AtspiHandle& handle = *handleOf(e.ref);
  batch.add<uint64_t>(
      calls::states(handle),
      [&e](uint64_t& states) {
        e.states = states;
        e.known |= facts::identity;
      },
      [&request](AccessibilityError error) { request.error = error; });
  batch.add<uint32_t>(calls::role(handle), [&e](uint32_t& role) { e.role = role; });
  batch.add<std::vector<std::string>>(
      calls::interfaces(handle), [&e](std::vector<std::string>& names) { e.interfaces = calls::interfaceBits(names); });
  batch.add<ElementRef>(calls::parent(handle), [&e](ElementRef& parent) {
    const AtspiHandle* above = handleOf(parent);
    // The parent of an application is the registry's desktop, which is nobody's element.
    e.parent = above && above->busName() != calls::kRegistryName && !(parent == e.ref) ? parent : ElementRef();
  });
}

void keepLabels(ElementFacts& e, RelationSet& set) {
  e.labelledBy.clear();
  for (auto& [type, targets] : set) {
    if (type == calls::kRelationLabelledBy) {
      e.labelledBy.insert(e.labelledBy.end(), targets.begin(), targets.end());
    }
  }
}

bool wants(const ReadRequest& request, facts::Set group) {
  return (request.wanted & ~request.facts.known & group) != 0;
}

/// Reads one group by one call, if it is wanted.
template <typename T>
void addGroup(TypedBatch& batch, ReadRequest& request, facts::Set group, TypedCall<T> call,
              std::function<void(T&)> keep) {
  if (!wants(request, group)) {
    return;
  }
  ElementFacts& e = request.facts;
  batch.add<T>(
      std::move(call),
      [&e, group, keep = std::move(keep)](T& value) {
        e.known |= group;
        keep(value);
      },
      knownUnlessLate(e, group));
}

void addValueCall(TypedBatch& batch, ReadRequest& request) {
  ElementFacts& e = request.facts;
  if (mayHoldSecret(e) || (e.interfaces & interface_bit::value) == 0) {
    e.known |= facts::value & request.wanted;
  }
  addGroup<double>(batch, request, facts::value, calls::currentValue(*handleOf(e.ref)),
                   [&e](double& value) { e.currentValue = value; });
}

/// Its place, as soon as it is known to have one; none of what is known to have none.
void addPlaceCall(TypedBatch& batch, ReadRequest& request) {
  ElementFacts& e = request.facts;
  const bool hasComponent = request.hasComponent || (e.interfaces & interface_bit::component) != 0;
  if (!hasComponent) {
    e.known |= e.has(facts::identity) ? facts::extents & request.wanted : 0;
    return;
  }
  addGroup<Rect>(batch, request, facts::extents,
                 calls::extents(*handleOf(e.ref), request.context.toolkit->coordinates()),
                 [&](Rect& rect) { e.extents = request.context.toolkit->placeTold(rect, request.context.offset); });
}

void addActionsCall(TypedBatch& batch, ReadRequest& request) {
  ElementFacts& e = request.facts;
  if ((e.interfaces & interface_bit::action) == 0) {
    e.known |= facts::actions & request.wanted;
  }
  addGroup<std::vector<std::string>>(batch, request, facts::actions, calls::actionNames(*handleOf(e.ref)),
                                     [&e](std::vector<std::string>& names) { e.actionNames = std::move(names); });
}

void readLargeContainer(CallRunner& runner, ReadRequest& request, TimePoint deadline) {
  ElementFacts& e = request.facts;
  e.childrenAreVisibleOnly = true;
  e.known |= facts::children;
  if (e.extents) {
    const Point offset = request.context.offset;
    const Rect local{e.extents->x - offset.x, e.extents->y - offset.y, e.extents->width, e.extents->height};
    e.children = visibleChildren(runner, e, *request.context.toolkit, local, deadline);
  }
}

}  // namespace

void FactsReader::read(std::vector<ReadRequest>& requests, TimePoint deadline) {
  begin(requests, deadline);
  finish(requests, deadline);
}

void FactsReader::begin(std::vector<ReadRequest>& requests, TimePoint deadline) {
  std::erase_if(requests, [](const ReadRequest& request) { return !handleOf(request.facts.ref); });
  addFirst(requests);
  first_.start(runner_, deadline);
}

void FactsReader::finish(std::vector<ReadRequest>& requests, TimePoint deadline) {
  first_.finish();
  TypedBatch places;
  for (ReadRequest& request : requests) {
    if (request.error == AccessibilityError::success && request.facts.is(state::defunct)) {
      request.error = AccessibilityError::invalidElement;
    }
    if (request.error == AccessibilityError::success) {
      addPlaceCall(places, request);
    }
  }
  places.run(runner_, deadline);
  readSecond(requests, deadline);
  readTextGroups(requests, deadline);
  for (ReadRequest& request : requests) {
    if (request.error == AccessibilityError::success && !request.facts.has(request.wanted)) {
      request.error = AccessibilityError::cannotComplete;
    }
  }
}

void FactsReader::addFirst(std::vector<ReadRequest>& requests) {
  TypedBatch& batch = first_;
  for (ReadRequest& request : requests) {
    ElementFacts& e = request.facts;
    const AtspiHandle& handle = *handleOf(e.ref);
    if (!e.has(facts::identity)) {
      addIdentityCalls(batch, request);
    }
    if (wants(request, facts::texts)) {
      addTextCalls(batch, request);
    }
    if (wants(request, facts::children)) {
      batch.add<int32_t>(
          calls::childCount(handle), [&e](int32_t& count) { e.childCount = std::max(count, 0); },
          knownUnlessLate(e, facts::children));
    }
    addPlaceCall(batch, request);
    addGroup<RelationSet>(batch, request, facts::relations, calls::relations(handle),
                          [&e](RelationSet& set) { keepLabels(e, set); });
    addGroup<AttributeMap>(batch, request, facts::attributes, calls::attributes(handle),
                           [&e](AttributeMap& map) { e.attributes = std::move(map); });
    addGroup<std::string>(batch, request, facts::localizedRole, calls::localizedRole(handle),
                          [&e](std::string& name) { e.localizedRole = std::move(name); });
  }
}

void FactsReader::readSecond(std::vector<ReadRequest>& requests, TimePoint deadline) {
  TypedBatch batch;
  std::vector<ReadRequest*> large;
  for (ReadRequest& request : requests) {
    ElementFacts& e = request.facts;
    const AtspiHandle& handle = *handleOf(e.ref);
    if (request.error != AccessibilityError::success) {
      continue;
    }
    if (e.has(facts::extents)) {
      e.states = request.context.toolkit->statesWithShowing(e);
      if (!e.is(state::showing)) {
        e.extents.reset();
      }
      request.context.toolkit->settlePlace(e);
    }
    addValueCall(batch, request);
    addActionsCall(batch, request);
    if (wants(request, facts::children) && e.childCount > request.context.toolkit->mostChildren(e)) {
      large.push_back(&request);
    } else if (e.childCount >= 0) {
      addGroup<std::vector<ElementRef>>(batch, request, facts::children, calls::children(handle),
                                        [&e](std::vector<ElementRef>& children) { e.children = std::move(children); });
    }
  }
  batch.run(runner_, deadline);
  for (ReadRequest* request : large) {
    readLargeContainer(runner_, *request, deadline);
  }
}

void FactsReader::readTextGroups(std::vector<ReadRequest>& requests, TimePoint deadline) {
  std::vector<TextRequest> texts;
  std::vector<ElementFacts*> owners;
  for (ReadRequest& request : requests) {
    ElementFacts& e = request.facts;
    if (request.error != AccessibilityError::success || !wants(request, facts::text)) {
      continue;
    }
    e.known |= facts::text;
    if (mayHoldSecret(e) || (e.interfaces & interface_bit::text) == 0) {
      continue;
    }
    texts.push_back(textRequestOf(e, *request.context.toolkit, e.extents, request.context.offset));
    owners.push_back(&e);
  }
  readTexts(runner_, texts, deadline);
  for (size_t i = 0; i < texts.size(); ++i) {
    owners[i]->characterCount = texts[i].answer.count;
    owners[i]->shortText = texts[i].answer.fetched;
  }
}

}  // namespace jumplark::atspi
