#pragma once

#include <fmt/format.h>

#include <string>

namespace jumplark {

/// What the user reads is written in English in the code, and that text is also the name under which a catalogue has it
/// in the user's language. Calls may come from any thread, once the catalogue is there.

/// The text in the user's language; the English one where the catalogue has none. The result lasts as long as the
/// program, or as the English text where it is that.
const char* localized(const char* english);

/// Marks a constant that is given to localized() where it is shown, for the tool that collects the texts.
constexpr const char* textForLater(const char* english) {
  return english;
}

/// localized() with the values in the places of its braces. A translation whose braces do not fit is
/// passed over.
std::string localizedWith(fmt::string_view english, fmt::format_args values);

template <typename... Values>
std::string localizedFormat(fmt::format_string<Values...> english, Values&&... values) {
  return localizedWith(english, fmt::make_format_args(values...));
}

/// Where texts are looked up: gives a text, or `english` itself. None until this was called, at the start of the
/// program before it has other threads; null for none.
void setTextCatalogue(const char* (*lookup)(const char* english));

}  // namespace jumplark
