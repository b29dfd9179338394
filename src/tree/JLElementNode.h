#pragma once

#include <libxml/tree.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Geometry.h"

namespace jumplark {

class JLElement;
class JLElementTree;

/// One "Element" of a snapshot's document: the XML element with the searchable texts, the model element behind it, and
/// the bounds it had when the snapshot was taken.
///
/// Nodes belong to their tree, which is read-only once built; a node is kept beyond its tree's other holders with
/// JLElementTree::handle. Bounds have a bottom-left origin, in points.
class JLElementNode {
 public:
  using Attributes = std::vector<std::pair<std::string, std::string>>;

  JLElementNode(const JLElementNode&) = delete;
  JLElementNode& operator=(const JLElementNode&) = delete;
  ~JLElementNode();

  /// A node of `tree`'s document that is not yet part of it, with the element's texts, bounds and hash; null for no
  /// element.
  static JLElementNode* nodeWithJLElement(JLElementTree& tree, std::shared_ptr<JLElement> element);
  /// A synthetic node: its role as given, its texts from the map, no element, no hash, no extent.
  static JLElementNode* nodeWithRoleAttributes(JLElementTree& tree, const std::string& role,
                                               const Attributes& attributes);
  /// The node behind an XML element; null for an element that is none (the root, groups, "Text").
  static JLElementNode* fromXML(const xmlNode* xmlNode) { return static_cast<JLElementNode*>(xmlNode->_private); }

  xmlNode* xml() const { return xml_; }
  /// The group, below the root and behind all else, of the buttons that the window system tells.
  static constexpr const char* kWindowButtons = "WindowButtons";
  bool isWindowButton() const;
  /// Null for a synthetic node.
  const std::shared_ptr<JLElement>& element() const { return element_; }
  JLElementTree* rootTree() const { return &tree_; }

  const Rect& bounds() const { return bounds_; }
  /// The bounds clipped by the nodes above; the infinite rectangle directly below the root or a group.
  const Rect& visibleBounds() const { return visibleBounds_; }

  /// The string value of an attribute of the element itself ("Role", "Subrole", "Hash", "Focused").
  std::optional<std::string> attribute(const char* name) const;
  void setAttribute(const char* name, const std::string& value);

  /// The first "Text" child; null without one.
  xmlNode* textNode() const;
  /// The attributes of the textNode.
  Attributes textDictionary() const;
  /// Whether the element names another one as its title, whether or not that one is in the tree.
  bool hasTitleElement() const { return titleElement_ != nullptr; }
  const std::shared_ptr<JLElement>& titleElement() const { return titleElement_; }
  /// The node of the title element in the same tree; null when there is none.
  JLElementNode* titleNode() const;

  /// The XML text of the node.
  std::string description() const;

  friend bool operator==(const JLElementNode& a, const JLElementNode& b);
  uint64_t hash() const;

 private:
  friend class JLElementTree;
  JLElementNode(JLElementTree& tree, std::shared_ptr<JLElement> element);

  void populateAttributes();
  void populateSearchableText();
  void populateBounds();
  void addTextNodeForElement(const JLElement& element);
  static void addTextAndLatinizeKeyToNode(std::string text, const std::string& key, xmlNode* node);
  void attachedBelow(xmlNode* parent);

  JLElementTree& tree_;
  std::shared_ptr<JLElement> element_;
  std::shared_ptr<JLElement> titleElement_;
  xmlNode* xml_;
  Rect bounds_;
  Rect visibleBounds_ = Rect::infinite();
};

}  // namespace jumplark
