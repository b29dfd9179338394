#pragma once

#include <vector>

#include "backends/linux/atspi/element/ElementDraft.h"
#include "backends/linux/atspi/reading/FrameMatching.h"

namespace jumplark::atspi {

/// True for a frame that is no window of the application's own but an open menu or list of one: it has no managed
/// window, and shows.
bool isOpenPopup(const FrameFacts& frame, const std::vector<MatchedFrame>& matched);

/// Open lists of combo boxes and open menus (of a button: their entries) lie in windows of their own, over other things
/// than the box that they belong to or over none. Those that were read become children of the focused frame, after all
/// others, so that they are found there whatever they cover.
void reparentPopups(const ElementRef& frame, const std::vector<ElementRef>& popups, ElementDraft& elements);

}  // namespace jumplark::atspi
