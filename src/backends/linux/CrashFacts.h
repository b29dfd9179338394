#pragma once

#include <string>

namespace jumplark {

class X11Connection;

/// What a crash report tells of program, libraries, X server, system and desktop: lines "Name: value".
std::string crashFacts(const X11Connection& x);

}  // namespace jumplark
