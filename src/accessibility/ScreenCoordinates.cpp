#include "accessibility/ScreenCoordinates.h"

#include "platform/Platform.h"
#include "platform/Screens.h"

namespace jumplark {
namespace {

double primaryScreenTop() {
  const Rect frame = primaryScreenFrame();
  return frame.y + frame.height;
}

}  // namespace

Rect primaryScreenFrame() {
  return Platform::current().screens->primaryFrame();
}

Rect rectFromTopLeftToBottomLeft(const Rect& rect) {
  const double top = static_cast<float>(primaryScreenTop());
  return {rect.x, top - (rect.y + rect.height), rect.width, rect.height};
}

Point pointFromBottomLeftToTopLeft(Point point) {
  return {point.x, primaryScreenTop() - point.y - 1.0};
}

Point midpointOfRect(const Rect& rect) {
  return {rect.midX(), rect.midY()};
}

}  // namespace jumplark
