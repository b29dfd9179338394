#include "backends/linux/atspi/reading/TextLinks.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Parts.h"
#include "backends/linux/atspi/element/Roles.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {
namespace {

/// More stand in no text that shows.
constexpr int32_t kMostLinks = 200;
/// Characters of the beginning of a link that goes on in another line.
constexpr int32_t kFirst = 4;

struct TextLink {
  ElementFacts* text = nullptr;
  int32_t index = 0;
  ElementRef link = {};
  int32_t start = -1;
  int32_t end = -1;
  std::string words = {};
  std::optional<Rect> place = {};
  std::optional<Rect> first = {};  ///< of its beginning
};

std::vector<TextLink> listLinks(CallRunner& runner, const WalkPlan& plan,
                                const std::vector<std::shared_ptr<ElementFacts>>& all) {
  std::vector<TextLink> links;
  TypedBatch counts;
  for (const auto& element : all) {
    if (element->is(state::showing) && plan.toolkit->mayHoldLinks(*element)) {
      counts.add<int32_t>(calls::linkCount(*handleOf(element->ref)), [&links, text = element.get()](int32_t& count) {
        for (int32_t i = 0; i < std::min(count, kMostLinks); ++i) {
          links.push_back({text, i});
        }
      });
    }
  }
  counts.run(runner, plan.deadline);
  TypedBatch references;
  for (TextLink& one : links) {
    references.add<ElementRef>(calls::linkAt(*handleOf(one.text->ref), one.index),
                               [&one](ElementRef& link) { one.link = std::move(link); });
  }
  references.run(runner, plan.deadline);
  std::erase_if(links, [](const TextLink& one) { return !handleOf(one.link); });
  return links;
}

void readPlaces(CallRunner& runner, const WalkPlan& plan, const TextMap& texts, std::vector<TextLink>& links) {
  TypedBatch offsets;
  for (TextLink& one : links) {
    offsets.add<int32_t>(calls::linkStart(*handleOf(one.link)), [&one](int32_t& start) { one.start = start; });
    offsets.add<int32_t>(calls::linkEnd(*handleOf(one.link)), [&one](int32_t& end) { one.end = end; });
  }
  offsets.run(runner, plan.deadline);
  TypedBatch places;
  for (TextLink& one : links) {
    if (one.start < 0 || one.end <= one.start) {
      continue;
    }
    const AtspiHandle& handle = *handleOf(one.text->ref);
    const auto text = texts.find(one.text->ref);
    if (text != texts.end() && text->second.holds(one.start, one.end)) {
      one.words = codePoints(text->second.fetched, text->second.fetchedStart, one.start, one.end);
    } else {
      places.add<std::string>(calls::text(handle, one.start, one.end),
                              [&one](std::string& words) { one.words = std::move(words); });
    }
    const uint32_t coordinates = plan.toolkit->coordinates();
    places.add<Rect>(calls::rangeExtents(handle, one.start, one.end, coordinates),
                     [&one, &plan](Rect& place) { one.place = plan.toolkit->placeTold(place, plan.offset); });
    places.add<Rect>(calls::rangeExtents(handle, one.start, std::min(one.end, one.start + kFirst), coordinates),
                     [&one, &plan](Rect& place) { one.first = plan.toolkit->placeTold(place, plan.offset); });
  }
  places.run(runner, plan.deadline);
}

/// Its middle is no good place to click where a link goes on in another line: then it is its beginning.
std::optional<Rect> placeOf(const TextLink& link) {
  constexpr double kLines = 1.5;
  const bool isBroken = link.place && link.first && link.place->height > kLines * link.first->height;
  return isBroken ? link.first : link.place;
}

/// The links that the toolkit lists in the text have no places.
void leaveOutListed(ElementFacts& text, ElementDraft& elements) {
  for (const ElementFacts* child : elements.childrenOf(text)) {
    if (child->role == role::link && !child->extents) {
      const ElementRef ref = child->ref;
      std::erase(text.children, ref);
      elements.remove(ref);
    }
  }
}

}  // namespace

void readLinks(CallRunner& runner, const WalkPlan& plan, ElementDraft& elements, const TextMap& texts,
               const std::vector<std::shared_ptr<ElementFacts>>& all) {
  std::vector<TextLink> links = listLinks(runner, plan, all);
  readPlaces(runner, plan, texts, links);
  for (const TextLink& one : links) {
    const auto place = placeOf(one);
    if (!place || isBlank(one.words)) {
      continue;
    }
    leaveOutListed(*one.text, elements);
    const std::string name = fmt::format("link{}", one.index);
    elements.add(factsOf({name, role::link, one.words, *place}, *handleOf(one.text->ref), one.text->ref));
    one.text->children.push_back(partOf(*handleOf(one.text->ref), name));
  }
}

}  // namespace jumplark::atspi
