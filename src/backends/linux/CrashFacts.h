#pragma once

#include <string>
#include <string_view>

namespace jumplark {

/// What a crash report tells of program, libraries, window system, system and desktop: lines "Name: value". The window
/// system's is given.
std::string crashFacts(std::string_view windowSystem);

}  // namespace jumplark
