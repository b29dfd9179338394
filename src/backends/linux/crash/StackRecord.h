#pragma once

#include <cstdint>
#include <optional>

#include "backends/linux/crash/SignalSafeText.h"

namespace jumplark {

/// Makes the first use of the unwinder, which loads a library and allocates, so that later ones do neither.
void prepareStackRecord();

/// Writes the calling thread's stack, from the point where a signal interrupted it, as lines
///
///     #INDEX PROGRAM-COUNTER MODULE-PATH +OFFSET
///     @BUILD-ID MODULE-PATH
///
/// the latter once a module, after its first frame. An offset is an address as the module's file has it, within the
/// call. Called in the signal's handler with its third argument, the interrupted context, which is as before on return.
/// Async-signal-safe. `program` is the path of the program's own file.
void writeStackRecord(SignalSafeText& out, void* context, const char* program) noexcept;

}  // namespace jumplark
