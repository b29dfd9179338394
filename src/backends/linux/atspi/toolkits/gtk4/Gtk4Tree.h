#pragma once

#include <memory>
#include <vector>

#include "backends/linux/atspi/reading/CachedTree.h"
#include "backends/linux/atspi/reading/TreeWalk.h"

namespace jumplark::atspi {

/// True when the control is all that a person sees of it and what stands in it, going by the cache: nothing but
/// pictures and labels that repeat its name. Where those are makes no difference then.
bool isOnlyDecorated(const CachedTree& cache, const CacheItem& control);

/// Makes of what a GTK 4 application said the tree that a person sees. Three things differ:
/// the pages of a stack have no place and no telling state, and widgets of pages that were shown once keep their sizes,
/// so that only what the pointer would hit tells the page that shows; the label, picture and boxes inside a button are
/// elements of their own; the parts of a combo box stand in boxes inside it.
class Gtk4Tree {
 public:
  using Elements = std::vector<std::shared_ptr<ElementFacts>>;

  Gtk4Tree(CallRunner& runner, const WalkPlan& plan, ElementDraft& elements)
      : runner_(runner), plan_(plan), elements_(elements) {}

  /// `all` was read by one walk, parents before their children. What a control is only decorated with leaves the map,
  /// its text becomes the control's name where it has none.
  void settle(const Elements& all);

 private:
  /// Siblings that take the same place, of which the pointer can reach one.
  using Rivals = std::vector<ElementFacts*>;

  /// Later versions tell items of menus without a name; what labels them has the text, and is nobody's child.
  void nameMenuItems(const Elements& all);
  /// GTK 4.14 tells the underscore of a mnemonic as part of a label's name, though the label's text is without it.
  void readMnemonics(const Elements& all);
  void placePages(const Elements& all);
  std::vector<Rivals> rivalsIn(const Elements& all) const;
  void hideUnreachable(const Elements& all);
  ElementFacts* rivalAbove(const ElementRef& hit, const Rivals& rivals) const;
  void hideWithChildren(ElementFacts& element);

  void foldControl(ElementFacts& control);
  void foldComboBox(ElementFacts& combo);
  bool isDecoration(const ElementFacts& element, bool insideCombo) const;
  void addLabels(const ElementFacts& element, std::string& text) const;
  void remove(const ElementFacts& element);

  CallRunner& runner_;
  const WalkPlan& plan_;
  ElementDraft& elements_;
};

}  // namespace jumplark::atspi
