#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace jumplark::cli {

/// The arguments of `command` with its query at the end and marked as one: all that is no option, what comes after
/// "--", and "--" itself where nothing does. The parser has uses of its own for "--" and for "++", which are also texts
/// that stand on buttons.
std::vector<std::string> withQueryLast(const CLI::App& command, const std::vector<std::string>& arguments);

}  // namespace jumplark::cli
