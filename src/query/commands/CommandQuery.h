#pragma once

#include <memory_resource>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/Menus.h"
#include "query/matching/PreparedText.h"
#include "query/matching/ScoringQuery.h"

namespace jumplark {

/// What names a command, in the forms that scoring compares; each text first as it is, then in Latin letters and
/// without diacritics where that differs. A view: the forms lie in the memory that it was made with.
struct CommandTexts {
  using Spellings = std::span<const PreparedText>;

  Spellings title;
  Spellings menus;  ///< the titles of the menus that it is in, with a space between; none of a command in no menu
  Spellings whole;  ///< the menus and the title

  static CommandTexts prepare(const MenuCommand& command, std::pmr::memory_resource& memory);
};

/// A query that is scored against commands by the rules for elements. It may name the title, or the menus too: 'edit
/// pref' and 'edpref' find Edit ▸ Preferences…. Menus count less than titles. One thread at a time.
class CommandQuery {
 public:
  /// Spaces at its ends do not count.
  explicit CommandQuery(const std::string& query);
  CommandQuery(const CommandQuery&) = delete;
  CommandQuery& operator=(const CommandQuery&) = delete;

  bool isEmpty() const { return forms_.empty(); }
  float score(const CommandTexts& texts);

  /// Where the letters stand that make the score, in UTF-16 units.
  struct Places {
    std::vector<size_t> menus;
    std::vector<size_t> title;
  };
  Places placesIn(const CommandTexts& texts);

 private:
  /// The query as typed, or in Latin letters.
  struct Form {
    explicit Form(const std::string& text);
    ScoringQuery whole;
    std::vector<std::pair<ScoringQuery, ScoringQuery>> parts;  ///< split at a space: for the menus, for the title
  };
  /// A way to understand the query.
  struct Reading {
    float score = 0;
    ScoringQuery* menus = nullptr;
    ScoringQuery* title = nullptr;
    ScoringQuery* whole = nullptr;
  };
  Reading bestReading(const CommandTexts& texts);

  std::vector<std::unique_ptr<Form>> forms_;
};

}  // namespace jumplark
