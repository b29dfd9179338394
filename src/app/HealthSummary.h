#pragma once

#include <cstddef>
#include <string>

namespace jumplark {

/// Whether all is well on this desktop, in one sentence for the user: how many things keep the program from working,
/// and how many it works without.
std::string healthSummary(size_t failures, size_t warnings);

}  // namespace jumplark
