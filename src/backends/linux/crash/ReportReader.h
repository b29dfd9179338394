#pragma once

#include <string>
#include <string_view>

namespace jumplark {

class Symbols;

/// What the handler of a crash has written, as a report for people: times and names spelled out, folders left out of
/// paths (they may name the user), every line short and of printable characters. A report that breaks off says so.
/// Anything may be given; what is no line of a report is left out. Without `symbols` functions have no names.
std::string readableReport(std::string_view raw, Symbols* symbols);

}  // namespace jumplark
