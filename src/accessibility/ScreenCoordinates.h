#pragma once

#include "platform/Geometry.h"

/// The two conversions between accessibility geometry (top-left origin, y downwards) and window geometry (bottom-left
/// origin, y upwards). Both hang on the top of the primary screen: its frame's origin y plus its height. They are not
/// exact inverses of each other: the point conversion moves by one point, the rectangle conversion rounds the top to
/// single precision.
namespace jumplark {

/// The frame of the first screen, bottom-left origin; a zero rectangle without a screen.
Rect primaryScreenFrame();

/// x and size stay; y' = top - (y + height), the top rounded to single precision.
Rect rectFromTopLeftToBottomLeft(const Rect& rect);

/// x stays; y' = top - y - 1.
Point pointFromBottomLeftToTopLeft(Point point);

/// The centre of a rectangle.
Point midpointOfRect(const Rect& rect);

}  // namespace jumplark
