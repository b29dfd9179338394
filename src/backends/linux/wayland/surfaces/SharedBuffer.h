#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "backends/linux/wayland/surfaces/Owned.h"

namespace jumplark::wayland {

/// Memory shared with the compositor that holds one picture: pixels of 32 bits with premultiplied alpha, transparent at
/// first, rows without a gap.
class SharedBuffer {
 public:
  /// Null when the system gives no memory. `released` is called when the compositor reads the buffer no more.
  static std::unique_ptr<SharedBuffer> make(wl_shm* shm, int width, int height, std::function<void()> released);
  ~SharedBuffer();
  SharedBuffer(const SharedBuffer&) = delete;
  SharedBuffer& operator=(const SharedBuffer&) = delete;

  uint32_t* row(int y) { return pixels_ + static_cast<size_t>(y) * static_cast<size_t>(width_); }
  /// The compositor may be reading it: it must not be written to.
  bool isBusy() const { return busy_; }
  /// Takes effect with the surface's next commit.
  void attachTo(wl_surface* surface);

 private:
  SharedBuffer(int width, size_t size, uint32_t* pixels, Owned<wl_buffer> buffer, std::function<void()> released);

  int width_;
  size_t size_;  ///< bytes
  uint32_t* pixels_;
  Owned<wl_buffer> buffer_;
  bool busy_ = false;
  std::function<void()> released_;
};

}  // namespace jumplark::wayland
