#include <sys/mman.h>
#include <unistd.h>
#include <virtual-keyboard-unstable-v1-client-protocol.h>
#include <wayland-client.h>
#include <wlr-screencopy-unstable-v1-client-protocol.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <stdexcept>

#include "Seat.h"

namespace jumplark::bench {
namespace {

constexpr char kKeymap[] =
    "xkb_keymap { xkb_keycodes { include \"evdev+aliases(qwerty)\" }; xkb_types { include \"complete\" };"
    " xkb_compat { include \"complete\" }; xkb_symbols { include \"pc+us+inet(evdev)\" }; };";
/// Keys that are modifiers, and their bits.
const std::map<int, uint32_t> kModifiers = {{42, 1U}, {125, 64U}};

uint32_t now() {
  return static_cast<uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch()).count());
}

/// One picture that is being taken.
struct Copy {
  Copy() = default;
  Copy(const Copy&) = delete;
  Copy& operator=(const Copy&) = delete;
  ~Copy() { zwlr_screencopy_frame_v1_destroy(frame); }

  wl_shm* shm = nullptr;
  zwlr_screencopy_frame_v1* frame = nullptr;
  std::unique_ptr<Picture> picture;
  bool isReady = false;
  bool hasFailed = false;
};

constexpr zwlr_screencopy_frame_v1_listener kCopy = {
    [](void* data, zwlr_screencopy_frame_v1* frame, uint32_t format, uint32_t width, uint32_t height, uint32_t) {
      auto& copy = *static_cast<Copy*>(data);
      copy.picture = std::make_unique<Picture>(copy.shm, static_cast<int>(width), static_cast<int>(height), format);
      zwlr_screencopy_frame_v1_copy(frame, copy.picture->buffer());
    },
    [](void*, zwlr_screencopy_frame_v1*, uint32_t) {},
    [](void* data, zwlr_screencopy_frame_v1*, uint32_t, uint32_t, uint32_t) {
      static_cast<Copy*>(data)->isReady = true;
    },
    [](void* data, zwlr_screencopy_frame_v1*) { static_cast<Copy*>(data)->hasFailed = true; }};

/// The protocols of wlroots.
class SwaySeat final : public Seat {
 public:
  explicit SwaySeat(Connection& connection)
      : connection_(connection),
        shm_(connection.bind<wl_shm>(wl_shm_interface)),
        output_(connection.bind<wl_output>(wl_output_interface)),
        pictures_(connection.bind<zwlr_screencopy_manager_v1>(zwlr_screencopy_manager_v1_interface)) {
    auto* const seat = connection.bind<wl_seat>(wl_seat_interface);
    auto* const keyboards = connection.bind<zwp_virtual_keyboard_manager_v1>(zwp_virtual_keyboard_manager_v1_interface);
    if (shm_ == nullptr || output_ == nullptr || pictures_ == nullptr || seat == nullptr || keyboards == nullptr) {
      throw std::runtime_error("the compositor lacks a protocol");
    }
    keyboard_ = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(keyboards, seat);
    const int memory = memfd_create("bench-keymap", MFD_CLOEXEC);
    if (write(memory, kKeymap, sizeof kKeymap) != sizeof kKeymap) {
      throw std::runtime_error("no memory for a keymap");
    }
    zwp_virtual_keyboard_v1_keymap(keyboard_, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, memory, sizeof kKeymap);
    connection.roundtrip();
    close(memory);
  }

  void send(const std::vector<Stroke>& strokes) override {
    for (const Stroke stroke : strokes) {
      zwp_virtual_keyboard_v1_key(keyboard_, now(), static_cast<uint32_t>(std::abs(stroke)), stroke > 0 ? 1 : 0);
      if (const auto modifier = kModifiers.find(std::abs(stroke)); modifier != kModifiers.end()) {
        modifiers_ ^= modifier->second;
        zwp_virtual_keyboard_v1_modifiers(keyboard_, modifiers_, 0, 0, 0);
      }
    }
    connection_.flush();
  }

  std::vector<Colours> pixels(const std::vector<Area>& areas) override {
    std::vector<std::unique_ptr<Copy>> copies;
    for (const Area& area : areas) {
      auto& copy = *copies.emplace_back(std::make_unique<Copy>());
      copy.shm = shm_;
      copy.frame = zwlr_screencopy_manager_v1_capture_output_region(pictures_, 0, output_, area.x, area.y, area.width,
                                                                    area.height);
      zwlr_screencopy_frame_v1_add_listener(copy.frame, &kCopy, &copy);
    }
    connection_.until(Clock::now(), [&] {
      return std::ranges::all_of(copies, [](const auto& copy) { return copy->isReady || copy->hasFailed; });
    });
    std::vector<Colours> result;
    for (const auto& copy : copies) {
      if (copy->hasFailed) {
        throw std::runtime_error("the compositor gives no picture");
      }
      auto& colours = result.emplace_back(copy->picture->begin(), copy->picture->end());
      std::ranges::for_each(colours, [](uint32_t& colour) { colour &= 0xFFFFFFU; });
    }
    return result;
  }

 private:
  Connection& connection_;
  wl_shm* shm_;
  wl_output* output_;
  zwlr_screencopy_manager_v1* pictures_;
  zwp_virtual_keyboard_v1* keyboard_ = nullptr;
  uint32_t modifiers_ = 0;
};

}  // namespace

std::unique_ptr<Seat> swaySeat(Connection& connection) {
  return std::make_unique<SwaySeat>(connection);
}

}  // namespace jumplark::bench
