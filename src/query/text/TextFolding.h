#pragma once

#include <string>
#include <string_view>

/// Forms of a text in which differences that a user does not type are gone. All of these may be called from any thread
/// and take a short path for ASCII, which most texts are.
namespace jumplark {

/// The text without diacritics: canonically decomposed, nonspacing marks removed, composed again. Letters that are not
/// a base with a mark (the stroked l, the sharp s, the dotless i) stay.
std::string foldDiacritics(const std::string& text);
std::u16string foldDiacritics(std::u16string_view text);

/// True when folding changes the text.
bool textContainsDiacritics(std::u16string_view text);

/// Lower case by the rules of no particular language. May change the length; a capital sigma at the end of the text
/// becomes the final one, so words are lowered one by one.
std::u16string lowercased(std::u16string_view text);

/// The text with every character that an XML 1.0 document cannot hold replaced by U+FFFD: control characters other than
/// tab, line feed and carriage return, U+0000, surrogates, U+FFFE, U+FFFF, and bytes that are not UTF-8.
std::string sanitizedForXML(std::string text);

/// True when trimming the characters 32 to 125 from both ends leaves nothing: such a text has no Latin or plain
/// variant. The tilde (126) lies outside.
bool isPlainASCIIText(const std::string& text);

}  // namespace jumplark
