#include "backends/linux/qt/x11/Backdrop.h"

#include <array>
#include <cstring>

#include "backends/linux/qt/x11/NativeDisplay.h"
#include "backends/linux/qt/x11/X11ClickThroughWindow.h"
#include "backends/linux/x11/Reply.h"

namespace jumplark {

Backdrop::Backdrop(NativeDisplay& display, const QRect& geometry)
    : display_(display),
      geometry_(geometry),
      copy_(xcb_generate_id(display.connection())),
      context_(xcb_generate_id(display.connection())) {
  xcb_connection_t* connection = display_.connection();
  xcb_create_pixmap(connection, display_.screen().root_depth, copy_, display_.root(),
                    static_cast<uint16_t>(geometry.width()), static_cast<uint16_t>(geometry.height()));
  // Without inferiors the copy would be of the root's own ground.
  const std::array<uint32_t, 2> values = {XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS, 0};
  xcb_create_gc(connection, context_, display_.root(), XCB_GC_SUBWINDOW_MODE | XCB_GC_GRAPHICS_EXPOSURES,
                values.data());
}

Backdrop::~Backdrop() {
  xcb_free_gc(display_.connection(), context_);
  xcb_free_pixmap(display_.connection(), copy_);
}

void Backdrop::take(const std::vector<QRect>& parts) {
  for (const QRect& part : parts) {
    xcb_copy_area(display_.connection(), display_.root(), copy_, context_,
                  static_cast<int16_t>(geometry_.x() + part.x()), static_cast<int16_t>(geometry_.y() + part.y()),
                  static_cast<int16_t>(part.x()), static_cast<int16_t>(part.y()), static_cast<uint16_t>(part.width()),
                  static_cast<uint16_t>(part.height()));
  }
}

Backdrop::Question Backdrop::ask(const QRect& part) const {
  return {xcb_get_image(display_.connection(), XCB_IMAGE_FORMAT_Z_PIXMAP, copy_, static_cast<int16_t>(part.x()),
                        static_cast<int16_t>(part.y()), static_cast<uint16_t>(part.width()),
                        static_cast<uint16_t>(part.height()), ~0U),
          part.size()};
}

QImage Backdrop::read(const Question& question) const {
  const auto reply = x11::takeReply(display_.connection(), xcb_get_image_reply, question.cookie);
  QImage image(question.size, imageFormatOfDepth(display_.screen().root_depth));
  if (reply && xcb_get_image_data_length(reply.get()) >= image.sizeInBytes()) {
    std::memcpy(image.bits(), xcb_get_image_data(reply.get()), static_cast<size_t>(image.sizeInBytes()));
  } else {
    image.fill(Qt::black);
  }
  return image;
}

}  // namespace jumplark
