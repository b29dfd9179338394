#pragma once

#include <string>

namespace jumplark {

/// Why the system refused something, in the user's language and in the words of the end of a sentence: "permission
/// denied". `code` is one of <cerrno>'s. Any thread.
std::string textOfSystemError(int code);

}  // namespace jumplark
