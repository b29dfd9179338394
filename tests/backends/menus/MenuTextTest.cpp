#include "backends/linux/menus/MenuText.h"

#include <gtest/gtest.h>

#include <utility>

namespace jumplark::menus {
namespace {

std::string repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

TEST(MenuText, titlesAreOneLineWithoutMarksOfMnemonics) {
  const std::pair<std::string, std::string> cases[] = {
      {"Save      ", "Save"},
      {" Save\n\tall\x01\x7F now", "Save all now"},
      {"Zoom\u0085In\u00A0", "Zoom In"},
      {"_Open", "Open"},
      {"Save__All", "Save_All"},
      {"New _Window_", "New Window_"},
      {"Открыть (_O)…", "Открыть …"},
      {"(_ab)", "(ab)"},
      {"", ""},
      {" \n ", ""},
      {repeated("€", 1'000), repeated("€", kLongestTitle)},
      {std::string(1'000'000, ' ') + "x", "x"},
  };
  for (const auto& [told, title] : cases) {
    EXPECT_EQ(titleWithoutMnemonic(told), title) << told.substr(0, 40);
  }
  EXPECT_EQ(menuTitle("_Open  file"), "_Open file");
}

TEST(MenuText, keysReadAsTheUsersShortcutsDo) {
  const std::pair<const char*, const char*> brackets[] = {{"<Primary><Shift>n", "Control+Shift+N"},
                                                          {"<Shift><Alt>F8", "Alt+Shift+F8"},
                                                          {"<Control>comma", "Control+,"},
                                                          {"<Super>KP_Enter", "Super+Return"},
                                                          {"Delete", "Delete"},
                                                          {"<Primary>nosuchkey", ""},
                                                          {"<Nonsense>n", ""},
                                                          {"<Primary", ""},
                                                          {"<Primary>", ""},
                                                          {"", ""}};
  for (const auto& [told, keys] : brackets) {
    EXPECT_EQ(keysFromBrackets(told), keys) << told;
  }
  const std::pair<std::string, std::string> plus[] = {{"Ctrl+Shift+Z", "Control+Shift+Z"},
                                                      {"Ctrl++", "Control++"},
                                                      {"Ctrl+,", "Control+,"},
                                                      {"Ctrl+K, Ctrl+S", "Control+K, Control+S"},
                                                      {"PgUp", "Page Up"},
                                                      {"Meta+Del", "Super+Delete"},
                                                      {"Strg+Z", "Strg+Z"},
                                                      {"F1", "F1"},
                                                      {"", ""}};
  for (const auto& [told, keys] : plus) {
    EXPECT_EQ(keysFromPlus(told), keys) << told;
  }
  EXPECT_LT(keysFromPlus(repeated("a, ", 300'000)).size(), 200U);
}

}  // namespace
}  // namespace jumplark::menus
