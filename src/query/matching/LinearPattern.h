#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "query/matching/FoldedText.h"

namespace jumplark {

/// The patterns that queries are made of, matched without backtracking: alternatives of literal pieces with anything
/// between them ("s.*?a|sa.*?ve"), where a lone "." in a piece stands for any character. Case is ignored.
///
/// A regular expression engine decides the same, but tries every way to spread the gaps over a text: minutes for a few
/// letters and a long text. Taking the earliest place for each piece within one line is enough, because a gap may be
/// any length, crosses no line end, and pieces have a fixed length.
///
/// What remains for the engine are texts with characters that fold to several, of which a piece may match all or none:
/// "ss" matches a sharp s, "s.*?s" does not.
class LinearPattern {
 public:
  /// None when the pattern uses anything else of the regular expressions' syntax.
  static std::optional<LinearPattern> parse(std::u16string_view pattern);

  enum class Answer { no, yes, askEngine };
  /// Whether some alternative matches somewhere in the text.
  Answer matches(const FoldedText& text) const;
  /// True when an alternative is empty or all gaps.
  bool matchesEverything() const;
  /// The pattern that the engine is to be asked: the alternatives with pieces of several characters.
  const std::u16string& patternForEngine() const { return patternForEngine_; }

 private:
  /// Units of a piece, folded; kAnyCharacter for a lone ".".
  using Piece = std::u16string;
  struct Alternative {
    std::vector<Piece> pieces;
    uint64_t letters = 0;     ///< bits that a text must have
    bool singleUnits = true;  ///< every piece is one literal unit, so that `sequence` says it all
    std::u16string sequence;  ///< the literal units in order
  };
  static constexpr char16_t kAnyCharacter = 0xFFFF;

  static std::optional<Alternative> parseAlternative(std::u16string_view pattern);
  void add(Alternative alternative, std::u16string_view pattern);
  void dropImplied();
  static bool matchesIn(const Alternative& alternative, const FoldedText& text);
  static bool isSubsequence(std::u16string_view sequence, const FoldedText& text);
  static bool piecesFollow(const std::vector<Piece>& pieces, std::u16string_view line);
  static size_t endOfEarliest(const Piece& piece, std::u16string_view line, size_t from);

  std::vector<Alternative> alternatives_;
  bool hasEnginePattern_ = false;
  std::u16string patternForEngine_;
};

}  // namespace jumplark
