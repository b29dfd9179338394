#pragma once

#include <string>

namespace jumplark {

class JLElementNode;

/// What a screen reader says of a match: its text, or its title's, or its role, and the label that selects it.
std::string selectionDescription(const JLElementNode& node, const std::string& label);

}  // namespace jumplark
