#pragma once

#include "platform/Token.h"

/// What a crash must let go of before anything else is done about it: writing a report and a core image may take
/// seconds, and the kernel closes a process's sockets only after that.
///
/// The X server frees by itself, as soon as a connection ends, everything that belongs to it: key and button grabs,
/// active and passive ones, and with them a frozen keyboard; event selections; windows. So shutting down the sockets of
/// the connections frees the keyboard. It does not free what was typed or pressed by synthetic events, which count as a
/// device of the server's own. Of those a button is down for longer than one write to the server: the guard process of
/// the button sees the end of its socket and releases it. Synthetic keys go down and up in one write, and the modifiers
/// that are released before a click are never pressed.
namespace jumplark {

/// Shuts the socket down at a crash, until the token is destroyed; to be destroyed before the socket is closed. The
/// sockets of a guard come before those of the X server. Does nothing when too many are registered. Any thread.
enum class CrashRelease { guard, display };
Token shutDownAtCrash(int socket, CrashRelease kind);

/// Shuts down what is registered. Async-signal-safe.
void shutDownForCrash() noexcept;

}  // namespace jumplark
