#pragma once

#include <string>
#include <string_view>

namespace jumplark {

/// What a reader sees of a piece of HTML: its text, a line a paragraph or list entry. Scripts and styles are left out.
/// A text without any mark-up keeps its lines.
std::string plainTextOfHtml(std::string_view html);

/// A text that may be mark-up or not, as tool tips are: as plainTextOfHtml() where a tag of HTML stands in it, else,
/// and where nothing would be left, as it is ("<Control>s", "a < b").
std::string withoutMarkUp(std::string text);

}  // namespace jumplark
