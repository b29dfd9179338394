#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Connection.h"

namespace jumplark::bench {

/// Pixels of a rectangle of the only output, in logical pixels, which are pixels there.
struct Area {
  int x = 0;
  int y = 0;
  int width = 1;
  int height = 1;
};

/// A keyboard, and what the screen shows, by the means that a compositor has for it. Errors throw std::runtime_error.
class Seat {
 public:
  using Colours = std::vector<uint32_t>;  ///< 0xRRGGBB, row by row

  Seat() = default;
  Seat(const Seat&) = delete;
  Seat& operator=(const Seat&) = delete;
  virtual ~Seat() = default;

  /// A key (linux/input-event-codes.h) that goes down, or up where it is negative.
  using Stroke = int;
  virtual void send(const std::vector<Stroke>& strokes) = 0;
  /// What the output's next picture shows there.
  virtual std::vector<Colours> pixels(const std::vector<Area>& areas) = 0;
};

// The connection must outlive the seat.
std::unique_ptr<Seat> swaySeat(Connection& connection);
/// `bus` is the address of the session's bus.
std::unique_ptr<Seat> kwinSeat(Connection& connection, const std::string& bus);
/// `folder` is one where the shell may write its pictures.
std::unique_ptr<Seat> gnomeSeat(const std::string& bus, const std::string& folder);

}  // namespace jumplark::bench
