#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct sd_bus_message;

namespace jumplark {

/// A value of a message, whatever its type, decoded completely.
struct BusValue {
  char type = 0;         ///< as in a D-Bus signature, 'r' for a structure, 'e' for an entry of a dictionary; 0: none
  std::string contents;  ///< signature of what a container holds
  std::string text;      ///< of texts, paths and signatures; cut to kLongestText
  uint64_t bits = 0;     ///< of numbers and booleans, in the first bytes as in memory
  std::vector<BusValue> items;

  static constexpr size_t kLongestText = 65536;

  bool operator==(const BusValue&) const = default;
  explicit operator bool() const { return type != 0; }
  std::string signature() const;
  /// Of a boolean or a number of 32 bits.
  int32_t number() const;
  /// The item at a place of a structure or list; none where there is no such one.
  const BusValue& at(size_t index) const;
  /// The value under a name in a dictionary of variants; none without.
  const BusValue& member(std::string_view name) const;
  /// What a variant holds; else itself.
  const BusValue& inner() const { return type == 'v' && !items.empty() ? items.front() : *this; }
};

/// Reads the rest of a message, as a structure. `left` is how many values more are read; what is beyond is left out.
/// Negative on a message that breaks off.
int readBusValues(sd_bus_message* message, BusValue& values, size_t& left);
/// Negative when it cannot be added.
int appendBusValue(sd_bus_message* message, const BusValue& value);

}  // namespace jumplark
