#include "backends/linux/wayland/surfaces/SharedBuffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <utility>

namespace jumplark::wayland {

std::unique_ptr<SharedBuffer> SharedBuffer::make(wl_shm* shm, int width, int height, std::function<void()> released) {
  const size_t stride = static_cast<size_t>(width) * sizeof(uint32_t);
  const size_t size = stride * static_cast<size_t>(height);
  const int memory = memfd_create("jumplark-picture", MFD_CLOEXEC | MFD_ALLOW_SEALING);
  if (memory < 0) {
    return nullptr;
  }
  void* pixels = MAP_FAILED;
  if (ftruncate(memory, static_cast<off_t>(size)) == 0) {
    pixels = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0);
  }
  Owned<wl_buffer> buffer;
  if (pixels != MAP_FAILED) {
    const Owned<wl_shm_pool> pool(wl_shm_create_pool(shm, memory, static_cast<int32_t>(size)));
    buffer.reset(
        wl_shm_pool_create_buffer(pool.get(), 0, width, height, static_cast<int32_t>(stride), WL_SHM_FORMAT_ARGB8888));
  }
  close(memory);
  if (!buffer) {
    return nullptr;
  }
  return std::unique_ptr<SharedBuffer>(
      new SharedBuffer(width, size, static_cast<uint32_t*>(pixels), std::move(buffer), std::move(released)));
}

SharedBuffer::SharedBuffer(int width, size_t size, uint32_t* pixels, Owned<wl_buffer> buffer,
                           std::function<void()> released)
    : width_(width), size_(size), pixels_(pixels), buffer_(std::move(buffer)), released_(std::move(released)) {
  static constexpr wl_buffer_listener kListener = {[](void* data, wl_buffer*) {
    auto& self = *static_cast<SharedBuffer*>(data);
    self.busy_ = false;
    self.released_();
  }};
  wl_buffer_add_listener(buffer_.get(), &kListener, this);
}

SharedBuffer::~SharedBuffer() {
  buffer_.reset();
  munmap(pixels_, size_);
}

void SharedBuffer::attachTo(wl_surface* surface) {
  wl_surface_attach(surface, buffer_.get(), 0, 0);
  busy_ = true;
}

}  // namespace jumplark::wayland
