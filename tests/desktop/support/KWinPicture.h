#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <vector>

namespace jumplark::desktop {

/// What KWin has written into a pipe for a call of its ScreenShot2, row by row, 0xRRGGBB.
struct KWinPicture {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint32_t> colours;
};

/// Reads the picture that the answer describes. Errors throw std::runtime_error.
KWinPicture readKWinPicture(sd_bus_message* answer, int pipe);

}  // namespace jumplark::desktop
