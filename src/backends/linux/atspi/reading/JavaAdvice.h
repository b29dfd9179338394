#pragma once

#include <cstdint>
#include <string>

namespace jumplark::atspi {

/// What to tell a person whose program is not on the accessibility bus because it runs in a Java machine that was not
/// told to load the ATK wrapper: what to install and to start it with. Empty when the process holds no such machine, or
/// nobody may look. Looks at what the process has mapped.
std::string adviceForSilentJava(int32_t pid);

}  // namespace jumplark::atspi
