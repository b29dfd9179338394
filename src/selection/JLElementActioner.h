#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "input/ZMOEventTap.h"
#include "platform/Geometry.h"

namespace jumplark {

class JLElement;

/// Carries out what the user chose: clicks an element with synthetic pointer events, moves the pointer onto it, gives
/// it the keyboard focus, or performs a named action.
///
/// Runs on the caller's thread and blocks it for its deliberate waits (150 ms for the window to come forward, 20 and 5
/// ms between pressing and releasing), so that the target sees the events in order with those gaps. Nothing reports
/// failure. What it reads of the element is live, not from the snapshot. An absent element counts as a zero rectangle.
class JLElementActioner {
 public:
  using Element = std::shared_ptr<JLElement>;

  static JLElementActioner& sharedInstance();

  JLElementActioner();
  JLElementActioner(const JLElementActioner&) = delete;
  JLElementActioner& operator=(const JLElementActioner&) = delete;
  ~JLElementActioner();

  /// The default action: a click, but for a slider the pointer and the focus move onto it, and what a button of the
  /// window is for is asked of the window system.
  void actionElement(const Element& element);
  void clickElement(const Element& element);
  /// A small control with its caption beside it is clicked 10 points from its left edge, where the box or circle is.
  void clickRadioButton(const Element& element);
  void clickCheckBox(const Element& element);
  /// Moves the pointer to the element's midpoint.
  void mouseToElement(const Element& element);
  void mouseToPointFromTopLeft(Point point);
  void focusElement(const Element& element);
  void performActionOnElement(const std::string& action, const Element& element);

  /// Brings the element's window, and the sheet in front of it, forward; then waits 150 ms.
  void focusWindowOrSheetForElement(const Element& element);
  /// A single click where the pointer is; for 0.7 s from then on Return sends the second click of a double click.
  void click();
  void doubleClick();
  void startDoubleClickTimer();
  /// The pointer; top-left origin.
  Point getCursorPosition() const;
  /// Where actionElement clicks, or moves the pointer to; bottom-left origin. Nothing is clicked or moved.
  Point pointOfAction(const Element& element) const;
  /// A point, bottom-left origin, where the element or something in it is on top. The midpoint when none is found, not
  /// even in the middle of what can be seen of it.
  Point findClickablePointForElement(const Element& element) const;
  /// Whether the element, which is read anew, or something in it is on top at a point, bottom-left origin.
  bool isOnTopAt(const Element& element, Point point) const;
  void trackUsageWithAmount(const std::string& type, uint64_t amount);

  /// Whether a click sends the Return key of the next 0.7 s into a double click. A program that ends with its click has
  /// nobody to press it.
  void setWaitsForDoubleClick(bool waits) { waitsForDoubleClick_ = waits; }

 private:
  void clickLeftPartOfElement(const Element& element);
  void clickAt(Point topLeft, const Element& element);

  bool waitsForDoubleClick_ = true;
  std::shared_ptr<ZMOEventTap> doubleClickEventTap_;
  /// Expires with the actioner: blocks that outlive it do nothing.
  std::shared_ptr<JLElementActioner*> self_;
};

}  // namespace jumplark
