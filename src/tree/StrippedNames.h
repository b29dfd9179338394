#pragma once

#include <string>
#include <string_view>

namespace jumplark {

/// A role or attribute name without any "AX" in it ("AXButton" gives "Button"). The answer is remembered for the life
/// of the process and the reference stays valid; made for the small set of names that applications use. Any thread.
const std::string& strippedName(std::string_view name);

}  // namespace jumplark
