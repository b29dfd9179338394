#include "backends/linux/atspi/toolkits/chromium/PageOcclusion.h"

#include <algorithm>
#include <thread>
#include <unordered_map>
#include <utility>
#include <variant>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {
namespace {

/// Pages have small things over others everywhere: what covers several is larger.
constexpr double kLeastWidth = 100;
constexpr double kLeastHeight = 30;
constexpr size_t kMostGroups = 6;
constexpr int kMostWaits = 2;
/// What a page needs to answer while it does nothing else.
constexpr auto kPageAnswers = std::chrono::milliseconds(20);

bool isActedOn(uint32_t number) {
  return role::isOneOf<role::link, role::pushButton, role::toggleButton, role::checkBox, role::radioButton,
                       role::comboBox, role::entry, role::text, role::pageTab, role::menuItem, role::slider,
                       role::spinButton>(number);
}

bool lies(const Rect& inner, const Rect& outer) {
  return inner.width > 0 && inner.height > 0 && inner.minX() >= outer.minX() && inner.minY() >= outer.minY() &&
         inner.maxX() <= outer.maxX() && inner.maxY() <= outer.maxY();
}

Point middleOf(const Rect& rect) {
  return {rect.x + rect.width / 2, rect.y + rect.height / 2};
}

}  // namespace

void PageOcclusion::begin(const std::vector<std::shared_ptr<ElementFacts>>& all) {
  collect(all);
  findGroups();
  if (!groups_.empty()) {
    guess_ = ask(questionFor(groups_.front()));
  }
}

void PageOcclusion::finish() {
  int waits = 0;
  for (const Group& group : groups_) {
    if (isAnswered(group) || waits == kMostWaits || Clock::now() + kPageAnswers >= deadline_) {
      continue;
    }
    const Question question = questionFor(group);
    const CallRunner::Wait guess = guess_ ? std::exchange(guess_, {}) : ask(question);
    if (partOfBar(group, guess()) != nullptr) {
      continue;
    }
    ++waits;
    std::this_thread::sleep_until(askedAt_ + kPageAnswers);
    if (const Node* part = partOfBar(group, ask(question)())) {
      hideBelow(group, part->part);
      covered_.push_back(group);
    }
  }
  if (!covered_.empty()) {
    askElsewhere();
  }
}

void PageOcclusion::collect(const std::vector<std::shared_ptr<ElementFacts>>& all) {
  std::unordered_map<ElementRef, int, ElementRefHash> indexes;
  for (const auto& element : all) {
    const auto above = indexes.find(element->parent);
    const Node* around = above == indexes.end() ? nullptr : &nodes_[static_cast<size_t>(above->second)];
    const int self = static_cast<int>(nodes_.size());
    Node node{element.get(), around ? above->second : -1, around ? around->document : -1, {}, Rect::null()};
    node.clip = around ? clipInside(*around->element, around->clip, *element) : Clip{};
    const bool shows = element->is(state::showing) && element->extents;
    if (element->role == role::documentWeb) {
      node.document = node.document < 0 && shows ? self : -1;
    }
    if (node.document >= 0 && shows) {
      node.part = node.document == self ? *element->extents : intersection(*element->extents, node.clip.document);
    }
    indexes.emplace(element->ref, self);
    nodes_.push_back(node);
  }
}

bool PageOcclusion::isBar(const Node& node) const {
  const ElementFacts& e = *node.element;
  return node.document >= 0 && &node != &nodes_[static_cast<size_t>(node.document)] && e.extents &&
         e.extents->width >= kLeastWidth && e.extents->height >= kLeastHeight && !isActedOn(e.role) &&
         !e.children.empty() && lies(*e.extents, node.part);
}

void PageOcclusion::findGroups() {
  std::vector<int> bars;
  for (size_t i = 0; i < nodes_.size(); ++i) {
    if (isBar(nodes_[i])) {
      bars.push_back(static_cast<int>(i));
    }
  }
  for (size_t i = 0; i < nodes_.size() && !bars.empty(); ++i) {
    const Node& node = nodes_[i];
    if (node.document < 0 || node.part.width <= 0 || !isActedOn(node.element->role)) {
      continue;
    }
    const int self = static_cast<int>(i);
    // The outermost of those that hold one another comes first.
    for (const int bar : bars) {
      const Node& cover = nodes_[static_cast<size_t>(bar)];
      if (lies(node.part, cover.part) && node.document == cover.document && !isWithin(self, bar) &&
          !isWithin(bar, self)) {
        groupOf(bar, sideOf(self, bar)).members.push_back(self);
        break;
      }
    }
  }
  std::stable_sort(groups_.begin(), groups_.end(),
                   [](const Group& a, const Group& b) { return a.members.size() > b.members.size(); });
  groups_.resize(std::min(groups_.size(), kMostGroups));
}

PageOcclusion::Group& PageOcclusion::groupOf(int bar, int side) {
  const auto known =
      std::find_if(groups_.begin(), groups_.end(), [&](const Group& g) { return g.bar == bar && g.side == side; });
  return known != groups_.end() ? *known : groups_.emplace_back(Group{bar, side, {}});
}

bool PageOcclusion::isWithin(int node, int above) const {
  // Parents come before their children.
  while (node > above) {
    node = nodes_[static_cast<size_t>(node)].parent;
  }
  return node == above;
}

int PageOcclusion::sideOf(int node, int bar) const {
  int side = node;
  int above = nodes_[static_cast<size_t>(side)].parent;
  while (above >= 0 && !isWithin(bar, above)) {
    side = above;
    above = nodes_[static_cast<size_t>(side)].parent;
  }
  // What stands beside the bar itself stands there with its siblings.
  return nodes_[static_cast<size_t>(side)].element->children.empty() ? above : side;
}

/// Where one part of a page lies over another, that other does not lie over it.
bool PageOcclusion::isAnswered(const Group& group) const {
  return std::any_of(covered_.begin(), covered_.end(), [&](const Group& known) {
    return isWithin(group.bar, known.side) && !isWithin(group.bar, known.bar) &&
           isWithin(group.members.front(), known.bar);
  });
}

PageOcclusion::Question PageOcclusion::questionFor(const Group& group) const {
  const Node& bar = nodes_[static_cast<size_t>(group.bar)];
  // Where the bar itself answers, it does so for all that it covers; nor should another bar answer for it.
  const auto isAmbiguous = [&](int member) {
    const Point point = middleOf(nodes_[static_cast<size_t>(member)].part);
    return std::any_of(nodes_.begin() + group.bar + 1, nodes_.end(),
                       [&](const Node& node) { return node.parent == group.bar && node.part.contains(point); }) ||
           std::any_of(groups_.begin(), groups_.end(), [&](const Group& other) {
             return other.bar != group.bar && nodes_[static_cast<size_t>(other.bar)].part.contains(point);
           });
  };
  const auto clear = std::find_if_not(group.members.begin(), group.members.end(), isAmbiguous);
  const int member = clear == group.members.end() ? group.members.front() : *clear;
  const Node& document = nodes_[static_cast<size_t>(bar.document)];
  return {handleOf(document.element->ref), middleOf(nodes_[static_cast<size_t>(member)].part)};
}

CallRunner::Wait PageOcclusion::ask(const Question& question) {
  askedAt_ = Clock::now();
  std::vector<MethodCall> calls;
  calls.push_back(calls::accessibleAtPoint(*question.document, static_cast<int32_t>(question.point.x - offset_.x),
                                           static_cast<int32_t>(question.point.y - offset_.y), calls::kScreen)
                      .call);
  return runner_.begin(std::move(calls), deadline_);
}

const PageOcclusion::Node* PageOcclusion::partOfBar(const Group& group, const std::vector<Reply>& answer) const {
  const auto* hit = answer.empty() ? nullptr : std::get_if<ElementRef>(&answer.front().value);
  const auto found = std::find_if(nodes_.begin(), nodes_.end(),
                                  [&](const Node& node) { return hit != nullptr && node.element->ref == *hit; });
  return found != nodes_.end() && isWithin(static_cast<int>(found - nodes_.begin()), group.bar) ? &*found : nullptr;
}

void PageOcclusion::askElsewhere() {
  const int bar = covered_.back().bar;
  const Node& cover = nodes_[static_cast<size_t>(bar)];
  const auto other = std::find_if(nodes_.begin(), nodes_.end(), [&](const Node& node) {
    const bool isOutside = !cover.part.contains(middleOf(node.part));
    return node.document == cover.document && node.part.width > 0 && isActedOn(node.element->role) &&
           (isOutside || isWithin(static_cast<int>(&node - nodes_.data()), bar));
  });
  if (other != nodes_.end()) {
    ask({handleOf(nodes_[static_cast<size_t>(cover.document)].element->ref), middleOf(other->part)});
  }
}

void PageOcclusion::hideBelow(const Group& group, const Rect& cover) {
  for (size_t i = 0; i < nodes_.size(); ++i) {
    const Node& node = nodes_[i];
    const int self = static_cast<int>(i);
    if (node.document >= 0 && lies(node.part, cover) && !isWithin(self, group.bar) && !isWithin(group.bar, self) &&
        sideOf(self, group.bar) == group.side) {
      node.element->hide();
    }
  }
}

}  // namespace jumplark::atspi
