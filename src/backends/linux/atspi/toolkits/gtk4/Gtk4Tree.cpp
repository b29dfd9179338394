#include "backends/linux/atspi/toolkits/gtk4/Gtk4Tree.h"

#include <algorithm>
#include <array>
#include <map>
#include <tuple>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Roles.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {
namespace {

/// Points at which rivals are told apart, as parts of their common place; off the middle, where a gap is likely.
constexpr std::array<std::pair<double, double>, 5> kProbes{
    {{0.5, 0.47}, {0.23, 0.21}, {0.77, 0.23}, {0.21, 0.79}, {0.79, 0.77}}};

bool isButton(uint32_t number) {
  return number == role::pushButton || number == role::toggleButton;
}

Rect united(const Rect& a, const Rect& b) {
  const double x = std::min(a.minX(), b.minX());
  const double y = std::min(a.minY(), b.minY());
  return {x, y, std::max(a.maxX(), b.maxX()) - x, std::max(a.maxY(), b.maxY()) - y};
}

/// What a control says on the screen is looked for as well when its name is another.
void describeBy(ElementFacts& control, const std::string& labels) {
  if (control.description.empty() && labels != control.name) {
    control.description = labels;
  }
}

void addLabel(const ElementFacts& element, std::string& text) {
  if (element.is(state::showing) && !element.name.empty()) {
    text += (text.empty() ? "" : " ") + element.name;
  }
}

bool hasPlaceOfItsOwn(const ElementFacts& element) {
  return (element.interfaces & interface_bit::component) != 0;
}

/// Controls that hold their label, picture and boxes as elements of their own.
bool isGtk4Control(uint32_t number) {
  return role::isOneOf<role::pushButton, role::toggleButton, role::checkBox, role::radioButton, role::link,
                       role::menuItem, role::checkMenuItem, role::radioMenuItem, role::pageTab>(number);
}

bool isMenuItem(uint32_t number) {
  return role::isOneOf<role::menuItem, role::checkMenuItem, role::radioMenuItem>(number);
}

/// What stands in a control for its looks only.
bool isPlainDecoration(uint32_t number) {
  return role::isOneOf<role::label, role::staticText, role::image, role::icon, role::panel, role::filler,
                       role::separator>(number);
}

/// True for a name that is that text but for the underscore of its mnemonic.
bool hasMnemonicOf(const std::string& name, const std::string& text) {
  const auto [ours, theirs] = std::ranges::mismatch(name, text);
  return ours != name.end() && *ours == '_' && std::equal(ours + 1, name.end(), theirs, text.end());
}

/// True when the labels inside a control, joined, say what its name says, its mnemonic's underscore aside.
bool isSameText(const std::string& controlName, const std::string& labels) {
  std::string name = controlName;
  std::erase(name, '_');
  return name == labels;
}

}  // namespace

bool isOnlyDecorated(const CachedTree& cache, const CacheItem& control) {
  const auto* children = isGtk4Control(control.role) ? cache.childrenOf(control.element) : nullptr;
  if (!children) {
    return false;
  }
  std::string labels;
  for (const ElementRef& ref : *children) {
    const CacheItem* child = cache.find(ref);
    if (!child || child->childCount != 0 || !isPlainDecoration(child->role)) {
      return false;
    }
    if (child->role == role::label && ((child->states >> static_cast<unsigned>(state::visible)) & 1U) != 0) {
      labels += (labels.empty() ? "" : " ") + child->name;
    }
  }
  return labels.empty() || isSameText(control.name, labels);
}

void Gtk4Tree::settle(const Elements& all) {
  nameMenuItems(all);
  readMnemonics(all);
  placePages(all);
  hideUnreachable(all);
  // The innermost first, so that a button in a button is bare already when the outer one is looked at.
  for (auto element = all.rbegin(); element != all.rend(); ++element) {
    if (!(*element)->is(state::showing)) {
      continue;
    }
    if (isGtk4Control((*element)->role)) {
      foldControl(**element);
    } else if ((*element)->role == role::comboBox) {
      foldComboBox(**element);
    }
  }
}

void Gtk4Tree::nameMenuItems(const Elements& all) {
  std::vector<std::pair<ElementFacts*, ElementRef>> labels;
  TypedBatch batch;
  for (const auto& element : all) {
    if (isMenuItem(element->role) && element->is(state::showing) && isBlank(element->name)) {
      batch.add<RelationSet>(calls::relations(*handleOf(element->ref)), [&labels, &element](RelationSet& set) {
        for (const auto& [type, targets] : set) {
          for (const ElementRef& label : type == calls::kRelationLabelledBy ? targets : std::vector<ElementRef>()) {
            handleOf(label) ? void(labels.emplace_back(element.get(), label)) : void();
          }
        }
      });
    }
  }
  batch.run(runner_, plan_.deadline);
  for (const auto& [item, label] : labels) {
    batch.add<std::string>(calls::text(*handleOf(label), 0, -1),
                           [item = item](std::string& text) { item->name += (item->name.empty() ? "" : " ") + text; });
  }
  batch.run(runner_, plan_.deadline);
}

void Gtk4Tree::readMnemonics(const Elements& all) {
  TypedBatch batch;
  for (const auto& element : all) {
    if (element->role == role::label && element->is(state::showing) && element->name.find('_') != std::string::npos &&
        (element->interfaces & interface_bit::text) != 0) {
      batch.add<std::string>(calls::text(*handleOf(element->ref), 0, -1), [&element](std::string& text) {
        if (hasMnemonicOf(element->name, text)) {
          element->name = text;
        }
      });
    }
  }
  batch.run(runner_, plan_.deadline);
}

void Gtk4Tree::placePages(const Elements& all) {
  for (auto element = all.rbegin(); element != all.rend(); ++element) {
    ElementFacts& page = **element;
    if (hasPlaceOfItsOwn(page) || page.role == role::frame || !page.is(state::showing)) {
      continue;
    }
    for (const ElementFacts* child : elements_.childrenOf(page)) {
      if (child->is(state::showing) && child->extents) {
        page.extents = page.extents ? united(*page.extents, *child->extents) : *child->extents;
      }
    }
    if (!page.extents) {
      page.hide();
    }
    if (page.role == role::pageTab && isBlank(page.name) && isBlank(page.description)) {
      page.role = role::panel;  // of a stack that has no row of tabs
    }
  }
}

std::vector<Gtk4Tree::Rivals> Gtk4Tree::rivalsIn(const Elements& all) const {
  std::vector<Rivals> found;
  for (const auto& parent : all) {
    std::map<std::tuple<double, double, double, double>, Rivals> byPlace;
    Rivals pages;
    for (ElementFacts* child : elements_.childrenOf(*parent)) {
      if (!child->is(state::showing) || !child->extents || child->children.empty()) {
        continue;
      }
      const Rect& r = *child->extents;
      (hasPlaceOfItsOwn(*child) ? byPlace[{r.x, r.y, r.width, r.height}] : pages).push_back(child);
    }
    byPlace[{0, 0, -1, -1}] = std::move(pages);
    for (auto& [place, rivals] : byPlace) {
      if (rivals.size() > 1) {
        found.push_back(std::move(rivals));
      }
    }
  }
  return found;
}

void Gtk4Tree::hideUnreachable(const Elements& all) {
  const std::vector<Rivals> groups = rivalsIn(all);
  std::vector<std::vector<ElementRef>> hits(groups.size());
  TypedBatch batch;
  for (size_t i = 0; i < groups.size(); ++i) {
    const ElementFacts* parent = elements_.find(groups[i].front()->parent);
    if (!parent || !hasPlaceOfItsOwn(*parent)) {
      continue;
    }
    const Rect& place = *groups[i].front()->extents;
    for (const auto& [right, down] : kProbes) {
      const auto x = static_cast<int32_t>(place.x - plan_.offset.x + place.width * right);
      const auto y = static_cast<int32_t>(place.y - plan_.offset.y + place.height * down);
      batch.add<ElementRef>(calls::accessibleAtPoint(*handleOf(parent->ref), x, y, plan_.toolkit->coordinates()),
                            [&hits, i](ElementRef& hit) { hits[i].push_back(hit); });
    }
  }
  batch.run(runner_, plan_.deadline);
  for (size_t i = 0; i < groups.size(); ++i) {
    std::vector<const ElementFacts*> reached;
    for (const ElementRef& hit : hits[i]) {
      reached.push_back(rivalAbove(hit, groups[i]));
    }
    std::erase(reached, nullptr);
    for (ElementFacts* rival : groups[i]) {
      // Where nothing was hit nothing is known: then all of them stay.
      if (!reached.empty() && std::find(reached.begin(), reached.end(), rival) == reached.end()) {
        hideWithChildren(*rival);
      }
    }
  }
}

ElementFacts* Gtk4Tree::rivalAbove(const ElementRef& hit, const Rivals& rivals) const {
  const auto isRival = [&](const ElementFacts& one) {
    return std::find(rivals.begin(), rivals.end(), &one) != rivals.end();
  };
  ElementFacts* here = elements_.find(hit);
  return !here || isRival(*here) ? here : elements_.findAbove(*here, isRival);
}

void Gtk4Tree::hideWithChildren(ElementFacts& element) {
  element.hide();
  for (ElementFacts* child : elements_.childrenOf(element)) {
    hideWithChildren(*child);
  }
}

bool Gtk4Tree::isDecoration(const ElementFacts& element, bool insideCombo) const {
  if (element.is(state::showing) && !isPlainDecoration(element.role) && !(insideCombo && isButton(element.role))) {
    return false;
  }
  const auto children = elements_.childrenOf(element);
  return std::all_of(children.begin(), children.end(),
                     [&](const ElementFacts* child) { return isDecoration(*child, insideCombo); });
}

void Gtk4Tree::addLabels(const ElementFacts& element, std::string& text) const {
  if (element.role == role::label) {
    addLabel(element, text);
  }
  for (const ElementFacts* child : elements_.childrenOf(element)) {
    addLabels(*child, text);
  }
}

void Gtk4Tree::remove(const ElementFacts& element) {
  for (const ElementFacts* child : elements_.childrenOf(element)) {
    remove(*child);
  }
  elements_.remove(ElementRef(element.ref));
}

void Gtk4Tree::foldControl(ElementFacts& control) {
  std::string labels;
  std::vector<ElementFacts*> decorations;
  for (ElementFacts* child : elements_.childrenOf(control)) {
    // A menu button is a button in a button.
    if (isButton(control.role) && isButton(child->role) && child->children.empty()) {
      addLabel(*child, labels);
      decorations.push_back(child);
    } else if (isDecoration(*child, false)) {
      addLabels(*child, labels);
      decorations.push_back(child);
    } else if (control.role == role::pageTab) {
      addLabels(*child, labels);
    }
  }
  // The name of a tab may be "Tab", that of a button its text with the underscore of its shortcut, and both.
  const bool isWrong =
      control.role == role::pageTab || control.name.ends_with(' ' + labels) || isSameText(control.name, labels);
  if (!labels.empty() && (control.name.empty() || isWrong)) {
    control.name = labels;
  }
  describeBy(control, labels);
  for (ElementFacts* child : decorations) {
    const ElementRef ref = child->ref;
    remove(*child);
    std::erase(control.children, ref);
  }
  control.childCount = static_cast<int64_t>(control.children.size());
}

void Gtk4Tree::foldComboBox(ElementFacts& combo) {
  // Its only child is a box, with an entry and a button, or with the button that covers it.
  const auto boxes = elements_.childrenOf(combo);
  if (boxes.empty() || boxes.front()->role != role::panel) {
    return;
  }
  ElementFacts& box = *boxes.front();
  const ElementRef boxRef = box.ref;
  std::vector<ElementRef> parts;
  if (!isDecoration(box, true)) {
    parts = box.children;
    for (ElementFacts* part : elements_.childrenOf(box)) {
      part->parent = combo.ref;
    }
    elements_.remove(boxRef);
  } else {
    std::string labels;
    addLabels(box, labels);
    if (combo.name.empty()) {
      combo.name = labels;
    }
    describeBy(combo, labels);
    remove(box);
  }
  const auto at = std::find(combo.children.begin(), combo.children.end(), boxRef);
  combo.children.insert(combo.children.erase(at), parts.begin(), parts.end());
  combo.childCount = static_cast<int64_t>(combo.children.size());
}

}  // namespace jumplark::atspi
