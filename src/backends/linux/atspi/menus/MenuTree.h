#pragma once

#include <functional>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "backends/linux/atspi/menus/MenuFacts.h"

namespace jumplark::atspi {

/// The menus of one menu bar, as far as they have been read: without circles, never deeper than menus::kDeepest, never
/// more than kMostNodes.
class MenuTree {
 public:
  static constexpr size_t kMostNodes = 20'000;
  static constexpr int kNone = -1;
  struct Node {
    MenuItemFacts facts;
    int parent = kNone;
    int depth = 0;              ///< how many titles lead to it, its own included
    std::vector<int> children;  ///< menus and their items only
    std::string keys;           ///< of a command, for people
    bool canAct = false;        ///< of a command: it has an action
    bool isTold = false;        ///< as one of many, before the others were read
  };

  /// Starts with what holds the menus: a bar, or a button, whose name leads to them; false when it has gone.
  bool begin(MenuFacts& facts, const ElementRef& holder);
  /// More commands of a long menu.
  using More = std::function<void(const std::vector<int>& commands)>;
  /// Reads all that hangs on one node, and tells of a long menu part by part. False when something is missing.
  bool readBelow(MenuFacts& facts, int node, const More& more);
  /// Reads anew what changes without the tree changing. False when the tree has changed.
  bool refresh(MenuFacts& facts);

  const std::vector<Node>& nodes() const { return nodes_; }
  Node& operator[](int index) { return nodes_[static_cast<size_t>(index)]; }
  const Node& operator[](int index) const { return nodes_[static_cast<size_t>(index)]; }
  /// The commands below a node, in order, but for those that have been told already.
  std::vector<int> commandsToTell(int node) const;
  /// The commands below a node, in order.
  std::vector<int> commandsBelow(int node) const;
  /// The nodes whose names lead to a node, which is the last; popup menus between them have none.
  std::vector<int> wayTo(int node) const;

 private:
  bool isCommand(int node) const;
  /// Adds what of the children of `level` is part of menus; returns that.
  std::vector<int> readChildren(MenuFacts& facts, const std::vector<int>& level, const More& more);
  /// The same of one with many children, as they come.
  std::vector<int> readLong(MenuFacts& facts, int parent, const More& more);
  /// Adds those that are not known yet to the elements.
  void takeNew(const std::vector<ElementRef>& children, std::vector<ElementRef>& elements);
  /// Those of the elements, each a child of the node of the same place, that are.
  std::vector<int> add(std::vector<std::optional<MenuItemFacts>> elements, const int* parents);
  /// Of nodes that were just added, what certainly is a command.
  std::vector<int> takePlainOf(const std::vector<int>& added);

  std::vector<Node> nodes_;
  std::unordered_set<ElementRef, ElementRefHash> seen_;
};

}  // namespace jumplark::atspi
