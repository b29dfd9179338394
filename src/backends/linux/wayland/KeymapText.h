#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// A keymap in the text form in which a compositor hands it out.
namespace jumplark {

/// The first key that has the virtual key code without modifiers in any group, as a number of
/// linux/input-event-codes.h.
std::optional<uint32_t> keyOfCode(const std::string& keymap, int64_t keyCode);
/// The names of its groups, "English (US)"; empty for what is no keymap.
std::vector<std::string> groupsOf(const std::string& keymap);

}  // namespace jumplark
