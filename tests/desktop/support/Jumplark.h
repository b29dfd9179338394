#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "desktop/support/PrivateSession.h"

namespace jumplark::desktop {

/// One entry of what `match --json` prints.
struct Match {
  std::string label;
  double score = 0;
  std::string role;
  std::string subrole;  ///< empty for null
  std::string id;
  std::map<std::string, std::string> texts;
  PixelRect rect;  ///< of the root window, top-left origin

  bool hasText(const std::string& text) const;
};

/// For messages of failed tests.
std::string describe(const std::vector<Match>& matches);

/// The program under test, run in a session as a person would run it.
class Jumplark {
 public:
  /// `screenHeight` of the session, from which the printed bottom-left origin is measured.
  Jumplark(PrivateSession& session, int screenHeight) : session_(session), screenHeight_(screenHeight) {}

  Finished run(const Arguments& arguments, const Environment& extra = {});
  /// `match --json`; empty when nothing matched. Fails the running test, and returns nothing, when the program fails or
  /// prints anything else than the promised list.
  std::vector<Match> match(const Arguments& target, const std::string& query);
  /// The same, but nothing matches while the application does not answer: one that is starting is busy now and then.
  std::vector<Match> matchIfAnswered(const Arguments& target, const std::string& query);
  /// Everything that could be chosen: the matches of the role query ".".
  std::vector<Match> everything(const Arguments& target) { return match(target, "."); }

 private:
  std::vector<Match> matchesIn(const Finished& finished, const std::string& query) const;
  std::optional<std::vector<Match>> parse(const std::string& json) const;

  PrivateSession& session_;
  int screenHeight_;
};

/// The first match of a role whose texts hold one that equals `text`; null when there is none.
const Match* find(const std::vector<Match>& matches, const std::string& role, const std::string& text);
/// The match with this role and rectangle; null when there is none.
const Match* findAt(const std::vector<Match>& matches, const std::string& role, const PixelRect& rect);
/// What is not there exactly once of these roles and texts, "2 of Button 'OK'".
std::vector<std::string> notThereOnce(const std::vector<Match>& matches,
                                      const std::vector<std::pair<const char*, const char*>>& expected);
/// Every text of every match.
std::set<std::string> allTexts(const std::vector<Match>& matches);

}  // namespace jumplark::desktop
