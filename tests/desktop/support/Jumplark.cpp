#include "desktop/support/Jumplark.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

namespace jumplark::desktop {

bool Match::hasText(const std::string& text) const {
  return std::any_of(texts.begin(), texts.end(), [&](const auto& entry) { return entry.second == text; });
}

std::string describe(const std::vector<Match>& matches) {
  std::stringstream out;
  for (const Match& match : matches) {
    out << "\n  " << match.label << ' ' << match.score << ' ' << match.role << " [" << match.rect.x << ','
        << match.rect.y << ' ' << match.rect.width << 'x' << match.rect.height << ']';
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

namespace {

Arguments arguments(const Arguments& target, const std::string& query) {
  Arguments all = {"match", "--json"};
  all.insert(all.end(), target.begin(), target.end());
  all.push_back(query);
  return all;
}

}  // namespace

std::vector<Match> Jumplark::match(const Arguments& target, const std::string& query) {
  return matchesIn(run(arguments(target, query)), query);
}

std::vector<Match> Jumplark::matchIfAnswered(const Arguments& target, const std::string& query) {
  constexpr int kOutOfReach = 3;
  const Finished finished = run(arguments(target, query));
  return finished.status == kOutOfReach ? std::vector<Match>() : matchesIn(finished, query);
}

std::vector<Match> Jumplark::matchesIn(const Finished& finished, const std::string& query) const {
  const auto matches = parse(finished.out);
  if (!matches || !finished.status || *finished.status != (matches->empty() ? 1 : 0)) {
    ADD_FAILURE() << "match '" << query << "' ended with status " << finished.status.value_or(-1) << "\nand printed "
                  << finished.out << "\nand said " << finished.err;
    return {};
  }
  return *matches;
}

std::optional<std::vector<Match>> Jumplark::parse(const std::string& json) const {
  std::vector<Match> matches;
  try {
    for (const nlohmann::json& entry : nlohmann::json::parse(json)) {
      Match match;
      match.label = entry.at("label");
      match.score = entry.at("score");
      match.role = entry.at("role");
      match.subrole = entry.at("subrole").is_null() ? "" : entry.at("subrole").get<std::string>();
      match.id = entry.at("id");
      match.texts = entry.at("texts");
      const std::vector<double> bounds = entry.at("bounds");
      match.rect = {static_cast<int>(bounds.at(0)), static_cast<int>(screenHeight_ - bounds.at(1) - bounds.at(3)),
                    static_cast<int>(bounds.at(2)), static_cast<int>(bounds.at(3))};
      matches.push_back(std::move(match));
    }
  } catch (const nlohmann::json::exception& error) {
    ADD_FAILURE() << "not the promised JSON: " << error.what();
    return std::nullopt;
  }
  return matches;
}

const Match* find(const std::vector<Match>& matches, const std::string& role, const std::string& text) {
  const auto found = std::find_if(matches.begin(), matches.end(),
                                  [&](const Match& match) { return match.role == role && match.hasText(text); });
  return found == matches.end() ? nullptr : &*found;
}

const Match* findAt(const std::vector<Match>& matches, const std::string& role, const PixelRect& rect) {
  const auto found = std::find_if(matches.begin(), matches.end(),
                                  [&](const Match& match) { return match.role == role && match.rect == rect; });
  return found == matches.end() ? nullptr : &*found;
}

std::vector<std::string> notThereOnce(const std::vector<Match>& matches,
                                      const std::vector<std::pair<const char*, const char*>>& expected) {
  std::vector<std::string> wrong;
  for (const auto& [role, text] : expected) {
    const auto count = std::count_if(matches.begin(), matches.end(), [r = role, t = text](const Match& match) {
      return match.role == r && match.hasText(t);
    });
    if (count != 1) {
      wrong.push_back(std::to_string(count) + " of " + role + " '" + text + "'");
    }
  }
  return wrong;
}

std::set<std::string> allTexts(const std::vector<Match>& matches) {
  std::set<std::string> texts;
  for (const Match& match : matches) {
    for (const auto& [key, text] : match.texts) {
      texts.insert(text);
    }
  }
  return texts;
}

}  // namespace jumplark::desktop
