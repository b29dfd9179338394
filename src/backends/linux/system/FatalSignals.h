#pragma once

#include <array>
#include <csignal>

namespace jumplark {

/// The signals by which a faulty program ends. A thread must not block them: the kernel then ends the process without
/// having called its handler.
inline constexpr std::array kFatalSignals{SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGTRAP};

}  // namespace jumplark
