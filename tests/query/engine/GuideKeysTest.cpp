#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>

#include "query/engine/EngineFixture.h"

namespace jumplark::testing {
namespace {

using Names = std::set<std::string>;
using Press = std::function<void(EngineFixture&)>;

const std::map<std::string, uint64_t>& modifiers() {
  static const std::map<std::string, uint64_t> flags = {{"Shift", modifier_flag::shift},
                                                        {"Control", modifier_flag::control},
                                                        {"Alt", modifier_flag::option},
                                                        {"Super", modifier_flag::command}};
  return flags;
}

/// The keys at the beginning of each row of the guide's table, as they read.
Names keysOfGuide() {
  std::ifstream file(JUMPLARK_GUIDE);
  std::string page{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  page = page.substr(page.find("id=\"query-window-keys\""));
  page.resize(page.find("</table>"));
  const std::regex row("<tr><th scope=\"row\">(.*?)</th>");
  const std::regex tag("<[^>]*>");
  Names names;
  for (std::sregex_iterator found(page.begin(), page.end(), row), end; found != end; ++found) {
    names.insert(std::regex_replace((*found)[1].str(), tag, ""));
  }
  return names;
}

/// What has become, a moment after the press, of an activation with the second of three matches selected; nothing where
/// all is as before, or only the query has changed.
std::string effectOf(const Press& press) {
  EngineFixture fixture;
  fixture.open();
  fixture.typeAndSettle("s");
  fixture.press(key_code::tab);
  const auto state = [&fixture] {
    return fmt::format("open {}, selected {}, read {} times, {} pointer events, preferences {}", fixture.isActive(),
                       fixture.selected(), fixture.metrics.eventsNamed("enumeration").size(),
                       fixture.desktop->input().postedMouseEvents().size(), fixture.preferences.shown);
  };
  const std::string before = state();
  press(fixture);
  const bool edited = fixture.isActive() && fixture.window().text() != "s";
  fixture.advance(milliseconds(400));
  const std::string after = state();
  return edited || after == before ? "" : after;
}

/// Keys that write nothing by themselves.
std::map<std::string, int64_t> functionKeys() {
  std::map<std::string, int64_t> keys = {{"Return", key_code::returnKey},
                                         {"Tab", key_code::tab},
                                         {"Escape", key_code::escape},
                                         {"Menu", 0x1FF67},
                                         {"Insert", 0x1FF63},
                                         {"Delete", 0x1FFFF}};
  for (int number = 1; number <= 12; ++number) {
    keys[fmt::format("F{}", number)] = key_code::f5 + number - 5;
  }
  const char* const moving[] = {"Home", "Left", "Up", "Right", "Down", "PageUp", "PageDown", "End"};
  for (int i = 0; i < 8; ++i) {
    keys[moving[i]] = 0x1FF50 + i;
  }
  return keys;
}

/// A modifier that changes nothing about what a key does is no key of its own.
void collectFunctionKeys(Names& names) {
  for (const auto& [name, code] : functionKeys()) {
    const std::string alone = effectOf([code = code](auto& f) { f.press(code); });
    if (!alone.empty()) {
      names.insert(name);
    }
    for (const auto& [modifier, flag] : modifiers()) {
      const std::string effect = effectOf([code = code, flag = flag](auto& f) { f.press(code, flag); });
      if (!effect.empty() && effect != alone) {
        names.insert(modifier + "+" + name);
      }
    }
  }
  names.erase("Super+Return");  // the window is offered it twice, so it counts as two
}

/// A modifier that does the same with many letters has one name for all.
void collectWritingKeys(Names& names) {
  for (const char* const modifier : {"Control", "Alt", "Super"}) {
    const uint64_t flag = modifiers().at(modifier);
    Names own;
    for (const char letter : std::string("abcdefghijklmnopqrstuvwxyz")) {
      if (!effectOf([&](auto& f) { f.pressCharacter({letter}, flag); }).empty()) {
        own.insert(fmt::format("{}+{}", modifier, static_cast<char>(letter - 'a' + 'A')));
      }
    }
    if (own.size() > 13) {
      own = {fmt::format("{}+letter", modifier)};
    } else if (!effectOf([&](auto& f) { f.pressCharacter(",", flag); }).empty()) {
      own.insert(fmt::format("{}+comma", modifier));
    }
    if (!effectOf([&](auto& f) { f.press(key_code::backspace, flag); }).empty()) {
      own.insert(fmt::format("{}+BackSpace", modifier));
    }
    names.merge(own);
  }
}

void collectTaps(Names& names) {
  for (const auto& [modifier, flag] : modifiers()) {
    const auto taps = [flag = flag](int count) {
      return [=](EngineFixture& f) {
        for (int i = 0; i < 2 * count; ++i) {
          f.desktop->input().injectFlags(i % 2 == 0 ? flag : 0);
          f.advance(milliseconds(50));
        }
      };
    };
    const std::string once = effectOf(taps(1));
    const std::string twice = effectOf(taps(2));
    if (!once.empty()) {
      names.insert(modifier + ", tapped");
    }
    if (!twice.empty() && twice != once) {
      names.insert(modifier + ", tapped twice");
    }
  }
}

TEST(Keys, AreThoseThatTheGuideNames) {
  Names names;
  collectFunctionKeys(names);
  collectWritingKeys(names);
  collectTaps(names);
  EXPECT_THAT(keysOfGuide(), ::testing::ContainerEq(names));
}

}  // namespace
}  // namespace jumplark::testing
