#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace jumplark {

class JLElement;
class JLElementNode;
class JLElementTree;

/// What an enumeration collects; passed down the whole recursion unless an enumerator replaces it for its subtree.
struct EnumerationOptions {
  /// Visible children only: the visible-children attributes where there are some, and nothing whose bounds do not
  /// intersect the parent node's.
  bool visibleElements = false;
  /// The children found become nodes, but are not enumerated further.
  bool noRecursion = false;
  /// What the window system tells of the focused window comes after everything else.
  bool windowButtons = false;
  /// Asked before each element, batch of a list, search and hit test; once it says so, nothing more is read or added.
  /// Never, if empty. Without its snapshot, which ends with the activation, each element would cost messages of its
  /// own.
  std::function<bool()> isUnwanted = {};

  bool goOn() const { return !isUnwanted || !isUnwanted(); }
};

/// Decides which children of an element become nodes of the tree, and whether they are enumerated in turn. The base
/// rule; one enumerator per role derives from it. Enumerators hold no state: one instance a role serves every tree.
class JLElementEnumerator {
 public:
  using Registry = std::map<std::string, std::unique_ptr<const JLElementEnumerator>>;

  virtual ~JLElementEnumerator() = default;

  /// By role; "Default" is the fallback.
  static const Registry& registeredEnumeratorsByRole();
  static const JLElementEnumerator& enumeratorForRole(const std::optional<std::string>& role);
  /// Enumerates a node with the enumerator of its element's role.
  static JLElementNode* dispatchNodeWithOptions(JLElementNode* node, const EnumerationOptions& options);

  /// Adds what belongs below the node, and returns the node.
  virtual JLElementNode* enumerateNodeWithOptions(JLElementNode* node, const EnumerationOptions& options) const;

 protected:
  /// The children that a list attribute names, in its order; each one's subtree is complete before the next is added.
  static JLElementNode* enumerateNodeOnAttributeWithOptions(JLElementNode* node, const std::string& attribute,
                                                            const EnumerationOptions& options);
  /// Adds the child as last child; with `enumerate`, enumerates it by its own role. An element that is already on the
  /// path from the root is neither added nor enumerated below itself, so that a ring of elements ends.
  static JLElementNode* addNodeToParentAndEnumerateWithOptions(JLElementNode* child, JLElementNode* parent,
                                                               bool enumerate, const EnumerationOptions& options);
  /// Makes a node for an element and adds it, unless the element is missing or already on the path from the root.
  static JLElementNode* addElementToParentAndEnumerateWithOptions(const std::shared_ptr<JLElement>& element,
                                                                  JLElementNode* parent, bool enumerate,
                                                                  const EnumerationOptions& options);
};

}  // namespace jumplark
