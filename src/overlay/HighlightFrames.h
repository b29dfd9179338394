#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "overlay/HighlightOptions.h"
#include "platform/Geometry.h"

namespace jumplark {

class JLElement;
class JLElementNode;
class JLElementTree;

/// Reads where elements can be seen, each element above them once however many lie in it.
class VisibleBoundsReader {
 public:
  /// Bottom-left origin; a zero rectangle for null.
  Rect boundsOf(const std::shared_ptr<JLElement>& element);

 private:
  Rect visibleBoundsOf(const std::shared_ptr<JLElement>& element);
  std::unordered_map<std::shared_ptr<JLElement>, Rect> known_;
};

/// Where the nodes of the latest snapshot are boxed: read once a node, since a snapshot does not change. Any thread; no
/// lock is held while elements are read.
class HighlightFrames {
 public:
  /// In the order of the map. Bottom-left origin. `isUnwanted` is asked before each element that has to be read; once
  /// it says so, nothing more is read, and the frames are good for nothing.
  std::vector<Rect> framesOf(const HighlightOptionMap& elements, const std::function<bool()>& isUnwanted);
  void forget();

 private:
  using Tree = std::shared_ptr<JLElementTree>;

  /// Fills in what is known and gives the places of the others.
  std::vector<size_t> takeKnown(const Tree& tree, const HighlightOptionMap& elements, std::vector<Rect>& frames);
  bool isOfTree(const Tree& tree) const;

  std::mutex mutex_;
  std::weak_ptr<JLElementTree> tree_;  ///< of which the nodes in known_ are
  std::unordered_map<const JLElementNode*, Rect> known_;
};

}  // namespace jumplark
