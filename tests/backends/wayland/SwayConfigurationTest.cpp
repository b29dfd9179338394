#include "backends/linux/wayland/sway/SwayConfiguration.h"

#include <gmock/gmock.h>

namespace jumplark::sway {
namespace {

using ::testing::UnorderedElementsAreArray;

std::vector<std::string> boundIn(const std::string& configuration) {
  const FileReader files = [](const std::string& pattern) -> std::vector<std::string> {
    if (pattern == "more.d/*") {
      return {"bindsym $mod+m nop", "bindsym $mod+n nop"};
    }
    return pattern == "self" ? std::vector<std::string>{"include self\nbindsym x nop"} : std::vector<std::string>();
  };
  std::vector<std::string> texts;
  for (const Combination& combination : boundCombinations(configuration, files)) {
    texts.push_back(textOf(combination));
  }
  return texts;
}

TEST(SwayConfiguration, tellsWhatIsBoundWhereNoModeIsOn) {
  const struct {
    const char* text;
    std::vector<std::string> bound;
  } cases[] = {
      {"bindsym Mod4+space exec menu", {"Mod4+space"}},
      {"  bindsym --locked --to-code Super+CTRL+Return exec foot\n", {"Control+Mod4+Return"}},
      {"set $mod Mod4\nset $mode nothing\nbindsym $mod+Shift+Q kill", {"Mod4+Shift+q"}},
      {"set $mod Mod1\nset $keys $mod+F5\nbindsym $keys nop", {"Mod1+F5"}},
      {"bindsym {\n  Mod4+a nop\n  --release Mod4+b nop\n}\nbindsym Mod4+c nop", {"Mod4+a", "Mod4+b", "Mod4+c"}},
      {"mode \"resize\" {\n bindsym Left resize\n input x {\n }\n bindsym Right resize\n}\nbindsym a nop", {"a"}},
      {"# bindsym Mod4+space nop\nbar {\n bindsym Mod4+x nop\n}", {}},
      {"bindsym Mod4+a nop\nbindsym Mod4+b nop\nunbindsym Mod4+a", {"Mod4+b"}},
      {"set $mod Mod4\ninclude more.d/*\ninclude absent", {"Mod4+m", "Mod4+n"}},
      {"include self", {"x"}},
      {"bindsym Mod4+\\\nspace nop", {"Mod4+space"}},
      {"bindsym Mod4+a+b nop\nbindsym\nbindsym Mod4\nbindsym NoSuchKey nop\nbindcode 38 nop\n}\n}", {}},
  };
  for (const auto& [text, bound] : cases) {
    EXPECT_THAT(boundIn(text), UnorderedElementsAreArray(bound)) << text;
  }
}

}  // namespace
}  // namespace jumplark::sway
