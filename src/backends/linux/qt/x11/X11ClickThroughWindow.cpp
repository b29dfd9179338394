#include "backends/linux/qt/x11/X11ClickThroughWindow.h"

#include <unistd.h>
#include <xcb/shape.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <string_view>

#include "backends/linux/qt/x11/Backdrop.h"
#include "backends/linux/qt/x11/NativeDisplay.h"
#include "backends/linux/qt/x11/RoundedShape.h"

namespace jumplark {
namespace {

constexpr uint8_t kTranslucentDepth = 32;

/// A visual with an alpha channel.
std::optional<xcb_visualid_t> translucentVisual(const xcb_screen_t& screen) {
  for (auto depths = xcb_screen_allowed_depths_iterator(&screen); depths.rem > 0; xcb_depth_next(&depths)) {
    auto visuals = xcb_depth_visuals_iterator(depths.data);
    for (; depths.data->depth == kTranslucentDepth && visuals.rem > 0; xcb_visualtype_next(&visuals)) {
      if (visuals.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR && visuals.data->red_mask == 0xFF0000) {
        return visuals.data->visual_id;
      }
    }
  }
  return std::nullopt;
}

std::vector<xcb_rectangle_t> toXcb(const std::vector<QRect>& rects) {
  std::vector<xcb_rectangle_t> result;
  result.reserve(rects.size());
  for (const QRect& r : rects) {
    result.push_back({static_cast<int16_t>(r.x()), static_cast<int16_t>(r.y()), static_cast<uint16_t>(r.width()),
                      static_cast<uint16_t>(r.height())});
  }
  return result;
}

}  // namespace

QImage::Format imageFormatOfDepth(uint8_t depth) {
  switch (depth) {
    case 32:
      return QImage::Format_ARGB32_Premultiplied;
    case 30:
      return QImage::Format_RGB30;
    case 16:
      return QImage::Format_RGB16;
    default:
      return QImage::Format_RGB32;
  }
}

void WindowStack::add(const X11ClickThroughWindow& window) {
  windows_.push_back(&window);
}

void WindowStack::remove(const X11ClickThroughWindow& window) {
  std::erase(windows_, &window);
}

void WindowStack::raise(const X11ClickThroughWindow& window) const {
  std::vector<const X11ClickThroughWindow*> inFront;
  std::ranges::copy_if(windows_, std::back_inserter(inFront), [&](const X11ClickThroughWindow* other) {
    return other->isShown() && other->level() > window.level();
  });
  std::ranges::stable_sort(inFront, {}, &X11ClickThroughWindow::level);
  window.putInFront();
  for (const X11ClickThroughWindow* other : inFront) {
    other->putInFront();
  }
}

X11ClickThroughWindow::X11ClickThroughWindow(NativeDisplay& display, WindowStack& stack, const QRect& geometry,
                                             bool translucent)
    : display_(display), stack_(stack), geometry_(geometry.topLeft(), geometry.size().expandedTo(QSize(1, 1))) {
  const auto visual = translucent ? translucentVisual(display.screen()) : std::nullopt;
  translucent_ = visual.has_value();
  depth_ = translucent_ ? kTranslucentDepth : display.screen().root_depth;
  format_ = imageFormatOfDepth(depth_);
  create(visual.value_or(display.screen().root_visual));
  setProperties();
  stack_.add(*this);
}

X11ClickThroughWindow::~X11ClickThroughWindow() {
  stack_.remove(*this);
  xcb_connection_t* connection = display_.connection();
  xcb_destroy_window(connection, window_);
  xcb_free_gc(connection, context_);
  xcb_free_pixmap(connection, picture_);
  xcb_free_colormap(connection, colormap_);
  display_.flush();
}

void X11ClickThroughWindow::create(xcb_visualid_t visual) {
  xcb_connection_t* connection = display_.connection();
  const auto width = static_cast<uint16_t>(geometry_.width());
  const auto height = static_cast<uint16_t>(geometry_.height());
  colormap_ = xcb_generate_id(connection);
  xcb_create_colormap(connection, XCB_COLORMAP_ALLOC_NONE, colormap_, display_.root(), visual);
  picture_ = xcb_generate_id(connection);
  xcb_create_pixmap(connection, depth_, picture_, display_.root(), width, height);
  context_ = xcb_generate_id(connection);
  const std::array<uint32_t, 2> drawing = {0, 0};
  xcb_create_gc(connection, context_, picture_, XCB_GC_FOREGROUND | XCB_GC_GRAPHICS_EXPOSURES, drawing.data());
  const xcb_rectangle_t whole{0, 0, width, height};
  xcb_poly_fill_rectangle(connection, picture_, context_, 1, &whole);
  window_ = xcb_generate_id(connection);
  // In the order of the bits, as the protocol wants them.
  const std::array<uint32_t, 4> values = {picture_, 0, 1, colormap_};
  xcb_create_window(connection, depth_, window_, display_.root(), static_cast<int16_t>(geometry_.x()),
                    static_cast<int16_t>(geometry_.y()), width, height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                    XCB_CW_BACK_PIXMAP | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP,
                    values.data());
  // Nothing of it takes the pointer.
  xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, window_, 0, 0, 0,
                       nullptr);
}

void X11ClickThroughWindow::setProperties() {
  xcb_connection_t* connection = display_.connection();
  const auto setNumber = [&](const char* name, xcb_atom_t type, uint32_t value) {
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window_, display_.atom(name), type, 32, 1, &value);
  };
  setNumber("_NET_WM_PID", XCB_ATOM_CARDINAL, static_cast<uint32_t>(getpid()));
  setNumber("_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, display_.atom("_NET_WM_WINDOW_TYPE_NOTIFICATION"));
  // A compositor shall neither step aside for a window as large as the screen nor draw a shadow around it.
  setNumber("_NET_WM_BYPASS_COMPOSITOR", XCB_ATOM_CARDINAL, 2);
  setNumber("_COMPTON_SHADOW", XCB_ATOM_CARDINAL, 0);
  constexpr std::string_view kClass("jumplark\0Jumplark\0", 18);
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                      static_cast<uint32_t>(kClass.size()), kClass.data());
}

void X11ClickThroughWindow::show(int level) {
  level_ = level;
  shown_ = true;
  stack_.raise(*this);
  xcb_map_window(display_.connection(), window_);
  display_.flush();
}

void X11ClickThroughWindow::hide() {
  shown_ = false;
  xcb_unmap_window(display_.connection(), window_);
  display_.flush();
}

void X11ClickThroughWindow::putInFront() const {
  const uint32_t above = XCB_STACK_MODE_ABOVE;
  xcb_configure_window(display_.connection(), window_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
}

void X11ClickThroughWindow::put(const QImage& image, QPoint at) {
  xcb_connection_t* connection = display_.connection();
  // A request has a largest length, counted in 4 bytes; its own header is small.
  constexpr uint32_t kHeader = 64;
  const auto most = static_cast<int>((xcb_get_maximum_request_length(connection) * 4ULL - kHeader) /
                                     static_cast<uint64_t>(image.bytesPerLine()));
  for (int y = 0; y < image.height(); y += most) {
    const int rows = std::min(most, image.height() - y);
    xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, picture_, context_, static_cast<uint16_t>(image.width()),
                  static_cast<uint16_t>(rows), static_cast<int16_t>(at.x()), static_cast<int16_t>(at.y() + y), 0,
                  depth_, static_cast<uint32_t>(image.bytesPerLine() * rows), image.constScanLine(y));
  }
}

void X11ClickThroughWindow::refresh(const std::vector<QRect>& parts) {
  for (const xcb_rectangle_t& part : toXcb(parts)) {
    xcb_clear_area(display_.connection(), 0, window_, part.x, part.y, part.width, part.height);
  }
  display_.flush();
}

void X11ClickThroughWindow::setShape(const std::vector<QRect>& parts, const QRect& hole) {
  xcb_connection_t* connection = display_.connection();
  const std::vector<xcb_rectangle_t> rects = toXcb(parts);
  xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_YX_BANDED, window_, 0, 0,
                       static_cast<uint32_t>(rects.size()), rects.data());
  if (!hole.isEmpty()) {
    const std::vector<xcb_rectangle_t> holes = toXcb({hole});
    xcb_shape_rectangles(connection, XCB_SHAPE_SO_SUBTRACT, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_YX_BANDED, window_,
                         0, 0, 1, holes.data());
  }
}

void X11ClickThroughWindow::setRoundedShape(double radius) {
  jumplark::setRoundedShape(display_.connection(), window_, geometry_.size(), radius);
}

void X11ClickThroughWindow::takeGround(const std::vector<QRect>& parts) {
  if (!backdrop_) {
    backdrop_ = std::make_unique<Backdrop>(display_, geometry_);
  }
  backdrop_->take(parts);
}

std::vector<QImage> X11ClickThroughWindow::ground(const std::vector<QRect>& parts) {
  if (!backdrop_ && !parts.empty()) {
    takeGround({});
  }
  // All are asked for before the first is waited for.
  std::vector<Backdrop::Question> questions;
  questions.reserve(parts.size());
  for (const QRect& part : parts) {
    questions.push_back(backdrop_->ask(part));
  }
  std::vector<QImage> result;
  result.reserve(parts.size());
  for (const Backdrop::Question& question : questions) {
    result.push_back(backdrop_->read(question));
  }
  return result;
}

}  // namespace jumplark
