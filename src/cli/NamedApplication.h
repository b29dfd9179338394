#pragma once

#include <string>

#include "platform/Workspace.h"

namespace jumplark::cli {

/// The application with a window that a person calls so: by its program, its desktop file, its windows' class, or its
/// name on the accessibility bus. Case and accents do not matter. A whole name wins over the beginning of one and that
/// over a part, a name of its own over one that its program has when it is started otherwise; among equals the one
/// further in front. Throws CommandFailure when no name fits.
RunningApplication applicationNamed(const std::string& name);

}  // namespace jumplark::cli
