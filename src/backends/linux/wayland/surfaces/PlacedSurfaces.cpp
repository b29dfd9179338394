#include "backends/linux/wayland/surfaces/PlacedSurfaces.h"

#include <wayland-client.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "backends/linux/wayland/surfaces/BoundedQueue.h"

namespace jumplark::wayland {
namespace {

int32_t whole(double value) {
  return static_cast<int32_t>(std::lround(value));
}

Owned<xdg_surface> makeSurface(xdg_wm_base* base, wl_surface* surface, const BoundedQueue& queue) {
  // An event may come before the queue of an object that is there already can be changed.
  auto* wrapper = static_cast<xdg_wm_base*>(wl_proxy_create_wrapper(base));
  wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(wrapper), queue.get());
  Owned<xdg_surface> made(xdg_wm_base_get_xdg_surface(wrapper, surface));
  wl_proxy_wrapper_destroy(wrapper);
  return made;
}

}  // namespace

class PlacedSurfaces::Window final : public FrontSurface {
 public:
  Window(PlacedSurfaces& all, wl_surface* surface, const Options& options, Events events)
      : all_(all),
        surface_(surface),
        queue_(*options.queue),
        events_(std::move(events)),
        window_(makeSurface(all.globals_.windowBase(), surface, queue_)),
        toplevel_(xdg_surface_get_toplevel(window_.get())) {
    static constexpr xdg_surface_listener kSurface = {[](void* data, xdg_surface* window, uint32_t serial) {
      auto& self = *static_cast<Window*>(data);
      xdg_surface_ack_configure(window, serial);
      if (!std::exchange(self.configured_, true) && !self.waiting_) {
        self.events_.configured();
      }
    }};
    static constexpr xdg_toplevel_listener kToplevel = {
        [](void*, xdg_toplevel*, int32_t, int32_t, wl_array*) {},
        [](void* data, xdg_toplevel*) { static_cast<Window*>(data)->close(); }, nullptr, nullptr};
    xdg_surface_add_listener(window_.get(), &kSurface, this);
    xdg_toplevel_add_listener(toplevel_.get(), &kToplevel, this);
    moveTo(options.place, options.card);
    xdg_toplevel_set_title(toplevel_.get(), all_.title_.c_str());
    xdg_toplevel_set_app_id(toplevel_.get(), "jumplark");
    all_.window_ = this;
    all_.windowMoved();
    wl_surface_commit(surface);
  }
  ~Window() override {
    all_.window_ = nullptr;
    all_.windowMoved();
  }

  void moveTo(const Rect& place, const Rect& card) override {
    if (const Point corner{place.x + card.x, place.y + card.y}; !isPlaced_ || corner != card_) {
      isPlaced_ = true;
      card_ = corner;
      placed_ = all_.placer_(all_.title_, corner);
      if (configured_) {
        placed_.wait();
      }
    }
    corner_ = {place.x, place.y};
    geometry_ = card;
    tellGeometry();
    all_.windowMoved();
  }
  /// Mutter forgets a part of a surface that has no picture yet.
  void pictureComes() override {
    if (!std::exchange(hasPicture_, true)) {
      tellGeometry();
    }
  }
  bool isConfigured() const override { return configured_; }
  bool awaitConfigured(Duration limit) override {
    waiting_ = true;
    queue_.wait([this] { return configured_ || closed_; }, limit);
    waiting_ = false;
    // With the first picture it shows where the compositor then knows it to belong.
    placed_.wait();
    // What comes later is handled with the connection's other events.
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(window_.get()), nullptr);
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(toplevel_.get()), nullptr);
    wl_display_dispatch_queue_pending(queue_.display(), queue_.get());
    return configured_ && !closed_;
  }

  wl_surface* surface() const { return surface_; }
  Point corner() const { return corner_; }

 private:
  void tellGeometry() {
    xdg_surface_set_window_geometry(window_.get(), whole(geometry_.x), whole(geometry_.y),
                                    std::max(1, whole(geometry_.width)), std::max(1, whole(geometry_.height)));
  }
  void close() {
    closed_ = true;
    if (!waiting_) {
      // A copy, since the call may destroy this.
      const auto closed = events_.closed;
      closed();
    }
  }

  PlacedSurfaces& all_;
  wl_surface* surface_;
  BoundedQueue& queue_;
  Events events_;
  Owned<xdg_surface> window_;
  Owned<xdg_toplevel> toplevel_;
  Point corner_;   ///< of the surface
  Rect geometry_;  ///< of the card in it
  Point card_;     ///< its corner, as the compositor was told
  std::future<void> placed_;
  bool isPlaced_ = false;
  bool hasPicture_ = false;
  bool configured_ = false;
  bool closed_ = false;
  bool waiting_ = false;
};

class PlacedSurfaces::Part final : public FrontSurface {
 public:
  Part(PlacedSurfaces& all, wl_surface* surface, const Rect& place)
      : all_(all), surface_(surface), corner_{place.x, place.y} {
    all_.parts_.push_back(this);
    follow();
    commitWindow();
  }
  ~Part() override { std::erase(all_.parts_, this); }

  void moveTo(const Rect& place, const Rect& /*card*/) override {
    corner_ = {place.x, place.y};
    follow();
    commitWindow();
  }
  bool isConfigured() const override { return true; }
  bool awaitConfigured(Duration /*limit*/) override { return true; }

  /// The window has come, moved or gone. Takes effect when the window's surface is committed.
  void follow() {
    const Window* const window = all_.window_;
    if (window == nullptr) {
      part_.reset();
      parent_ = nullptr;
      return;
    }
    if (std::exchange(parent_, window->surface()) != window->surface()) {
      part_.reset(wl_subcompositor_get_subsurface(all_.globals_.subcompositor(), surface_, parent_));
      wl_subsurface_set_desync(part_.get());
      wl_subsurface_place_below(part_.get(), parent_);
    }
    wl_subsurface_set_position(part_.get(), whole(corner_.x - window->corner().x),
                               whole(corner_.y - window->corner().y));
  }

 private:
  void commitWindow() {
    if (parent_ != nullptr && all_.window_->isConfigured()) {
      wl_surface_commit(parent_);
    }
  }

  PlacedSurfaces& all_;
  wl_surface* surface_;
  Point corner_;
  wl_surface* parent_ = nullptr;
  Owned<wl_subsurface> part_;
};

PlacedSurfaces::PlacedSurfaces(const SurfaceGlobals& globals, std::string title, Placer placer)
    : globals_(globals), title_(std::move(title)), placer_(std::move(placer)) {}

PlacedSurfaces::~PlacedSurfaces() = default;

void PlacedSurfaces::windowMoved() {
  for (Part* const part : parts_) {
    part->follow();
  }
}

std::unique_ptr<FrontSurface> PlacedSurfaces::make(const OutputWatch& /*output*/, wl_surface* surface,
                                                   const FrontSurface::Options& options, FrontSurface::Events events) {
  if (options.takesKeyboard) {
    return std::make_unique<Window>(*this, surface, options, std::move(events));
  }
  return std::make_unique<Part>(*this, surface, options.place);
}

}  // namespace jumplark::wayland
