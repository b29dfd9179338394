#pragma once

#include <string>
#include <vector>

namespace jumplark {

/// Latin transcription of words, which lets a user type Latin letters to reach a label in any script.
class JLTextUtils {
 public:
  /// The words of a text in order, each transcribed to Latin letters; punctuation and spaces are no words. Words end
  /// where the Unicode word rules end them (dictionaries find the words of scripts without spaces), except that a tilde
  /// between two words joins them. A word that has no transcription stands as it is. May be called from any thread.
  static std::vector<std::string> latinWordsForText(const std::string& text);

  /// Loads the transcription tables (some 0.1 s in all), so that no later call has to wait for them.
  static void warmTransliterators();
};

}  // namespace jumplark
