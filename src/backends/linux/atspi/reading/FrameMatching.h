#pragma once

#include <string>
#include <vector>

#include "backends/linux/atspi/element/ElementFacts.h"
#include "backends/linux/atspi/reading/Toolkit.h"
#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::atspi {

/// What a frame said of itself; `reported` is its rectangle as the toolkit gave it.
struct FrameFacts {
  ElementRef element;
  uint32_t role = 0;
  uint64_t states = 0;
  std::string name;
  Rect reported;
};

/// A window together with the accessible frame that shows in it.
struct MatchedFrame {
  FrameFacts frame;
  WindowFacts window;
};

/// How well a frame fits a window, by title and geometry; 0 and less: not at all. Toolkits disagree about what a
/// frame's rectangle covers: the window with its decorations and shadow (GTK 3), its content (GTK 4, at no position),
/// the client area (Qt), the whole surface (Chromium).
double likeness(const FrameFacts& frame, const WindowFacts& window, const Toolkit& toolkit);

/// Gives every window its best frame, each frame once, in the order of the windows. A single frame and a single window
/// belong together whatever they say.
std::vector<MatchedFrame> matchFrames(std::vector<FrameFacts> frames, const std::vector<WindowFacts>& windows,
                                      const Toolkit& toolkit);

/// What must be added to extents told inside a frame, see Toolkit::originIn(). A frame without a window is an open
/// pop-up, which counts from where its window does, the topmost one.
Point originOf(const ElementRef& frame, const std::vector<MatchedFrame>& matched, const Toolkit& toolkit);

/// The frames of an application as they were told at one time, each with its window where it has one.
struct MatchedFrames {
  std::vector<FrameFacts> frames;
  std::vector<MatchedFrame> matched;
  ElementRef focused;  ///< see focusedFrame()
};

/// The frame that has, or would get, the keyboard: of the topmost normal window or dialog.
ElementRef focusedFrame(const std::vector<MatchedFrame>& matched, const std::vector<FrameFacts>& frames,
                        bool hasWindows);

/// True for windows in which an application keeps what a user works with.
bool isNormalOrDialog(const WindowFacts& window);

}  // namespace jumplark::atspi
