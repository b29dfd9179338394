#include "desktop/support/Jumplark.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

namespace jumplark::desktop {
namespace {

Match matchOf(const nlohmann::json& entry, int screenHeight) {
  const std::vector<int> bounds = entry.at("bounds");
  return {entry.at("label"),
          entry.at("score"),
          entry.at("role"),
          entry.at("texts"),
          {bounds.at(0), screenHeight - bounds.at(1) - bounds.at(3), bounds.at(2), bounds.at(3)}};
}

}  // namespace

bool Match::hasText(const std::string& text) const {
  const std::string ellipsis = "…";
  return std::ranges::any_of(texts, [&](const auto& entry) {
    return text.ends_with(ellipsis) ? entry.second.starts_with(text.substr(0, text.size() - ellipsis.size()))
                                    : entry.second == text;
  });
}

std::string describe(const Matches& matches) {
  std::ostringstream out;
  for (const Match& match : matches) {
    out << "\n  " << match.label << ' ' << match.score << ' ' << match.role << ' ' << match.rect;
    for (const auto& [key, text] : match.texts) {
      out << ' ' << key << "='" << text.substr(0, 60) << '\'';
    }
  }
  return out.str();
}

Finished Jumplark::run(const Arguments& arguments, const Environment& extra) {
  Arguments all = {JUMPLARK_PROGRAM};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return session_.run(all, kPatience, extra);
}

Finished Jumplark::run(const std::string& command, const Arguments& target, const Arguments& more) {
  Arguments all = {command};
  all.insert(all.end(), target.begin(), target.end());
  all.insert(all.end(), more.begin(), more.end());
  return run(all);
}

Matches Jumplark::match(const Arguments& target, const std::string& query, const Arguments& more) {
  constexpr int kOutOfReach = 3;
  Arguments arguments = {"--json", query};
  arguments.insert(arguments.end(), more.begin(), more.end());
  const Finished finished = run("match", target, arguments);
  if (finished.status == kOutOfReach) {
    return {};
  }
  Matches matches;
  std::string problem;
  try {
    for (const nlohmann::json& entry : nlohmann::json::parse(finished.out)) {
      matches.push_back(matchOf(entry, screenHeight_));
    }
  } catch (const nlohmann::json::exception& error) {
    problem = error.what();
  }
  if (!problem.empty() || finished.status != (matches.empty() ? 1 : 0)) {
    ADD_FAILURE() << "match '" << query << "' ended with status " << finished.status.value_or(-1) << "\nand printed "
                  << finished.out << "\nand said " << finished.err << problem;
    return {};
  }
  return matches;
}

const Match* find(const Matches& matches, const std::string& role, const std::string& text) {
  const auto found =
      std::ranges::find_if(matches, [&](const Match& match) { return match.role == role && match.hasText(text); });
  return found == matches.end() ? nullptr : &*found;
}

std::set<std::string> allTexts(const Matches& matches) {
  std::set<std::string> texts;
  for (const Match& match : matches) {
    for (const auto& [key, text] : match.texts) {
      texts.insert(text);
    }
  }
  return texts;
}

std::vector<std::string> notThere(const Matches& matches, const std::vector<Shown>& expected) {
  std::vector<std::string> wrong;
  for (const Shown& shown : expected) {
    for (const std::string& text : shown.texts) {
      const auto count = std::ranges::count_if(matches, [&](const Match& match) {
        return match.role == shown.role && (text.empty() || match.hasText(text));
      });
      if (count != shown.times) {
        wrong.push_back(std::to_string(count) + " of " + shown.role + " '" + text + "'");
      }
    }
  }
  return wrong;
}

}  // namespace jumplark::desktop
