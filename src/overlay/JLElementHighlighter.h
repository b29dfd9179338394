#pragma once

#include <functional>
#include <memory>

#include "overlay/HighlightOptions.h"

namespace jumplark {

class JLElementNode;
class JLOverlayWindow;

/// Turns matches with their options into boxes and labels on the overlay, and shows or hides it.
///
/// Any thread may ask; windows and layers change on the main thread only, in the order of asking. Where the boxes lie
/// is read on the asking thread, once for each node of a snapshot, so that the main thread reads nothing of what a
/// background queue has handed over before. A redraw replaces all boxes in one screen update; of several that wait for
/// the main thread the last one alone takes place. Made and destroyed on the main thread.
class JLElementHighlighter {
 public:
  JLElementHighlighter();
  JLElementHighlighter(const JLElementHighlighter&) = delete;
  JLElementHighlighter& operator=(const JLElementHighlighter&) = delete;
  ~JLElementHighlighter();

  /// Shows a new overlay window, or removes the one that is shown; the same value again does nothing.
  void setVisible(bool visible);
  /// The value last set, which the screen follows.
  bool visible() const;
  /// Asks for a redraw; what has to be read of the elements is read before it returns. The order of the map is that of
  /// drawing, later ones in front. Nothing more is read or drawn once `isUnwanted` (any thread; never, if empty) says
  /// so, a newer redraw is asked for or the overlay is hidden at once.
  void setHighlightedElements(HighlightOptionMap elements, const std::function<bool()>& isUnwanted = {});
  /// Always empty: the setter draws the map and does not keep it.
  HighlightOptionMap highlightedElements() const;
  /// Makes or reuses the node's box and adds it to the overlay. Main thread.
  void highlightElementWithOptions(const std::shared_ptr<JLElementNode>& node, const HighlightOptions& options);
  /// Null while hidden. Main thread.
  std::shared_ptr<JLOverlayWindow> overlay() const;
  void setOverlay(std::shared_ptr<JLOverlayWindow> overlay);

  /// Hides, and drops every redraw and every showing that is still waiting: nothing asked for before this call can put
  /// anything on the screen after it. On the main thread (a task of the main queue) the overlay is gone on return.
  void hideImmediately();
  /// What is asked for is shown and drawn only when this answers true, at the moment of showing, on the main thread.
  /// Main thread; none (the default) permits everything.
  void setShowingCondition(std::function<bool()> condition);

 private:
  struct Requests;
  struct Drawing;
  std::shared_ptr<Requests> requests_;
  std::shared_ptr<Drawing> drawing_;  ///< main thread only
};

}  // namespace jumplark
