#include "desktop/support/KWinPicture.h"

#include <unistd.h>

#include <stdexcept>
#include <string>

namespace jumplark::desktop {
namespace {

void check(int result) {
  if (result < 0) {
    throw std::runtime_error("a picture's description cannot be read: " + std::to_string(result));
  }
}

uint32_t numberIn(sd_bus_message* answer, const std::string& wanted) {
  check(sd_bus_message_rewind(answer, 1));
  check(sd_bus_message_enter_container(answer, 'a', "{sv}"));
  while (sd_bus_message_enter_container(answer, 'e', "sv") > 0) {
    const char* name = nullptr;
    uint32_t value = 0;
    check(sd_bus_message_read(answer, "s", &name));
    if (name == wanted && sd_bus_message_read(answer, "v", "u", &value) > 0) {
      return value;
    }
    check(sd_bus_message_skip(answer, "v"));
    check(sd_bus_message_exit_container(answer));
  }
  throw std::runtime_error("a picture has no " + wanted);
}

}  // namespace

KWinPicture readKWinPicture(sd_bus_message* answer, int pipe) {
  KWinPicture picture{numberIn(answer, "width"), numberIn(answer, "height"), {}};
  const uint32_t stride = numberIn(answer, "stride");
  std::vector<unsigned char> bytes(static_cast<size_t>(stride) * picture.height);
  size_t got = 0;
  for (ssize_t part = 0; got < bytes.size(); got += static_cast<size_t>(part)) {
    part = read(pipe, bytes.data() + got, bytes.size() - got);
    if (part <= 0) {
      throw std::runtime_error("a picture ends too early");
    }
  }
  for (uint32_t y = 0; y < picture.height; ++y) {
    for (uint32_t x = 0; x < picture.width; ++x) {
      const unsigned char* const pixel = &bytes[static_cast<size_t>(y) * stride + size_t{4} * x];  // blue comes first
      picture.colours.push_back(static_cast<uint32_t>(pixel[2] << 16 | pixel[1] << 8 | pixel[0]));
    }
  }
  return picture;
}

}  // namespace jumplark::desktop
