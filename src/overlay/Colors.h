#pragma once

#include <string_view>

#include "platform/Views.h"

namespace jumplark {

/// The colour of six hexadecimal digits (red, green, blue, two each), with or without a "#" in front. Throws
/// std::logic_error when there are fewer than three pairs.
Color colorWithHexString(std::string_view text, double alpha);

}  // namespace jumplark
