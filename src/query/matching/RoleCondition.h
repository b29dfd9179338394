#pragma once

#include <string>

namespace jumplark {

/// The pattern that the roles of elements worth acting on match: "^(TextField|...|DockItem)$".
const std::string& rolePattern();

/// The XPath predicate with that pattern: "[matches(@Role, '...')]".
const std::string& roleConditionText();

}  // namespace jumplark
