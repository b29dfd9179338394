#pragma once

#include <cstdint>
#include <string>

#include "backends/linux/atspi/reading/CachedTree.h"

namespace jumplark::atspi {

/// Controls of GTK 4 that hold their label, picture and boxes as elements of their own.
bool isGtk4Control(uint32_t role);

/// What stands in a control for its looks only.
bool isPlainDecoration(uint32_t role);

/// True when the labels inside a control, joined, say what its name says, its mnemonic's underscore aside.
bool isSameText(const std::string& controlName, const std::string& labels);

/// True when the control is all that a person sees of it and what stands in it, going by the cache: nothing but
/// pictures and labels that repeat its name. Where those are makes no difference then.
bool isOnlyDecorated(const CachedTree& cache, const CacheItem& control);

}  // namespace jumplark::atspi
