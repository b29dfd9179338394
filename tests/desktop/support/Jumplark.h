#pragma once

#include <set>

#include "desktop/support/PrivateSession.h"

namespace jumplark::desktop {

/// One entry of what `match --json` prints.
struct Match {
  std::string label;
  double score = 0;
  std::string role;
  std::map<std::string, std::string> texts;
  PixelRect rect;  ///< of the root window, top-left origin

  bool hasText(const std::string& text) const;
};
using Matches = std::vector<Match>;

/// For messages of failed tests.
std::string describe(const Matches& matches);

/// The program under test, run in a session as a person would run it.
class Jumplark {
 public:
  /// `screenHeight` of the session, from which the printed bottom-left origin is measured.
  Jumplark(PrivateSession& session, int screenHeight) : session_(session), screenHeight_(screenHeight) {}

  Finished run(const Arguments& arguments, const Environment& extra = {});
  /// A command about a target and what else it is given.
  Finished run(const std::string& command, const Arguments& target, const Arguments& more = {});
  /// `match --json`; empty when nothing matched or the application does not answer, as one that is starting does now
  /// and then. Fails the running test, and returns nothing, when the program fails otherwise or prints anything else
  /// than the promised list. The query "." is for everything that could be chosen.
  Matches match(const Arguments& target, const std::string& query = ".", const Arguments& more = {});

 private:
  PrivateSession& session_;
  int screenHeight_;
};

/// The first match of a role whose texts hold one that equals `text`; null when there is none.
const Match* find(const Matches& matches, const std::string& role, const std::string& text);
/// Every text of every match.
std::set<std::string> allTexts(const Matches& matches);

/// Texts of things of one role, each of which shows so often. A text may be a beginning that ends in "…"; an empty one
/// is for all things of the role.
struct Shown {
  const char* role;
  std::vector<std::string> texts;
  int times = 1;
};
/// What is not there as often as it should, "2 of Button 'OK'".
std::vector<std::string> notThere(const Matches& matches, const std::vector<Shown>& expected);

}  // namespace jumplark::desktop
