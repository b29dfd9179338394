#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace jumplark::atspi {

/// The path of a library that a process of this user has loaded, by the beginning of its file name; empty without one.
std::string loadedLibrary(int32_t pid, std::string_view beginning);

}  // namespace jumplark::atspi
