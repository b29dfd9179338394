#pragma once

#include <libxml/tree.h>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "tree/JLElementNode.h"

namespace jumplark {

/// A snapshot of an application's interface as an XML document: "Root", below it one "Element" per user-interface
/// element with the attributes "Role", "Subrole", "Hash" and "Focused" and its texts on "Text" children. Built by one
/// thread, then read-only and readable from any.
class JLElementTree : public std::enable_shared_from_this<JLElementTree> {
 public:
  /// An empty document with its "Root".
  static std::shared_ptr<JLElementTree> tree();

  JLElementTree(const JLElementTree&) = delete;
  JLElementTree& operator=(const JLElementTree&) = delete;
  ~JLElementTree();

  xmlDoc* document() const { return document_.get(); }
  xmlNode* rootElement() const;

  /// All nodes that are part of the document, in document order.
  const std::vector<JLElementNode*>& nodes() const { return nodes_; }
  /// A node that keeps the whole tree alive.
  std::shared_ptr<JLElementNode> handle(JLElementNode* node) const;

  /// The first node, in document order, whose element equals the given one; null when there is none.
  JLElementNode* nodeForElement(const JLElement& element) const;
  /// How many nodes the element has, counted up to `most`.
  size_t countOfNodesForElement(const JLElement& element, size_t most) const;
  /// The first node that carries "Focused"; null when none does.
  JLElementNode* focusedNode() const { return focusedNode_; }
  void setFocusedNode(JLElementNode* node);
  size_t elementCount() const { return nodes_.size(); }
  std::string debugDescription() const;

  /// Adds a node as last child of an element of this document.
  void addChild(xmlNode* parent, JLElementNode* node);
  /// A plain element that groups nodes, not yet part of the document: whoever makes it attaches it.
  xmlNode* newGroup(const char* name) const;

  /// Data that somebody derives from the finished tree: made on the first call, the same from then on. Any thread;
  /// `make` runs while other callers wait.
  std::shared_ptr<const void> attachment(const std::function<std::shared_ptr<const void>()>& make) const;

 private:
  friend class JLElementNode;
  JLElementTree();
  JLElementNode* newNode(std::shared_ptr<JLElement> element);

  // Destroyed in reverse order: nodes that were never attached free their own XML first, the document the rest.
  std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> document_;
  std::deque<std::unique_ptr<JLElementNode>> owned_;
  std::vector<JLElementNode*> nodes_;
  std::unordered_map<uint64_t, std::vector<JLElementNode*>> nodesByHash_;
  JLElementNode* focusedNode_ = nullptr;
  mutable std::mutex attachmentMutex_;
  mutable std::shared_ptr<const void> attachment_;
};

}  // namespace jumplark
