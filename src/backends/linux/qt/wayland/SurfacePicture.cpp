#include "backends/linux/qt/wayland/SurfacePicture.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace jumplark {
namespace {

constexpr QSize kTile{64, 32};
/// One that shows, one that has just been taken off, one to draw into.
constexpr size_t kMostBuffers = 3;

size_t bytes(QSize size) {
  return static_cast<size_t>(size.width()) * static_cast<size_t>(size.height()) * sizeof(uint32_t);
}

}  // namespace

SurfacePicture::SurfacePicture(wl_shm* shm, QSize size, std::function<void()> released)
    : shm_(shm), size_(size), released_(std::move(released)), drawn_(size, kTile), fresh_(size, kTile) {
  // Pages that nobody writes to take no memory, unlike those of a QImage that is filled.
  void* memory = mmap(nullptr, bytes(size), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  pixels_ = memory == MAP_FAILED ? nullptr : static_cast<uint32_t*>(memory);
}

SurfacePicture::~SurfacePicture() {
  if (pixels_) {
    munmap(pixels_, bytes(size_));
  }
}

void SurfacePicture::put(const QImage& image, QPoint at) {
  const QRect target = QRect(at, image.size()) & QRect(QPoint(), size_);
  if (!pixels_ || target.isEmpty()) {
    return;
  }
  const QPoint from = target.topLeft() - at;
  for (int y = 0; y < target.height(); ++y) {
    const auto* source = reinterpret_cast<const uint32_t*>(image.constScanLine(from.y() + y)) + from.x();
    std::memcpy(row(target.y() + y) + target.x(), source, static_cast<size_t>(target.width()) * sizeof(uint32_t));
  }
  drawn_.mark(target);
  fresh_.mark(target);
  for (Shown& shown : buffers_) {
    shown.stale.mark(target);
  }
}

SurfacePicture::Shown* SurfacePicture::freeBuffer() {
  const auto isFree = [](const Shown& shown) { return !shown.buffer->isBusy(); };
  if (const auto found = std::ranges::find_if(buffers_, isFree); found != buffers_.end()) {
    return &*found;
  }
  auto buffer = buffers_.size() < kMostBuffers
                    ? wayland::SharedBuffer::make(shm_, size_.width(), size_.height(), [this] { released_(); })
                    : nullptr;
  if (!buffer) {
    return nullptr;
  }
  buffers_.push_back({std::move(buffer), drawn_});
  return &buffers_.back();
}

bool SurfacePicture::present(wl_surface* surface) {
  Shown* shown = pixels_ ? freeBuffer() : nullptr;
  if (!shown) {
    return false;
  }
  for (const QRect& part : shown->stale.runs()) {
    for (int y = part.top(); y <= part.bottom(); ++y) {
      std::memcpy(shown->buffer->row(y) + part.x(), row(y) + part.x(),
                  static_cast<size_t>(part.width()) * sizeof(uint32_t));
    }
  }
  shown->stale.clear();
  shown->buffer->attachTo(surface);
  for (const QRect& part : fresh_.runs()) {
    wl_surface_damage_buffer(surface, part.x(), part.y(), part.width(), part.height());
  }
  fresh_.clear();
  return true;
}

void SurfacePicture::forgetSurface() {
  fresh_ = drawn_;
  std::erase_if(buffers_, [](const Shown& shown) { return shown.buffer->isBusy(); });
}

}  // namespace jumplark
