#include "backends/linux/wayland/sway/SwayTree.h"

#include <gmock/gmock.h>

#include <string>

namespace jumplark::sway {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

json rect(int x, int y, int width, int height) {
  return {{"x", x}, {"y", y}, {"width", width}, {"height", height}};
}

/// A window that shows, with a border of 2 points and a title bar of 20.
json window(int id, const json& place, const json& more = json::object()) {
  json node = {{"id", id},
               {"type", "con"},
               {"name", "window " + std::to_string(id)},
               {"pid", 1000 + id},
               {"visible", true},
               {"app_id", "app"},
               {"shell", "xdg_shell"},
               {"rect", place},
               {"deco_rect", rect(0, 0, place["width"], 20)},
               {"window_rect", rect(2, 0, int(place["width"]) - 4, int(place["height"]) - 2)},
               {"nodes", json::array()},
               {"floating_nodes", json::array()}};
  node.update(more);
  return node;
}

json group(int id, const char* type, const std::vector<json>& tiled, const std::vector<json>& floating = {},
           const std::vector<int>& focus = {}) {
  return {{"id", id},
          {"type", type},
          {"name", "group " + std::to_string(id)},
          {"nodes", tiled},
          {"floating_nodes", floating},
          {"focus", focus}};
}

std::vector<uint64_t> idsOf(const Tree& tree) {
  std::vector<uint64_t> ids;
  for (const WindowFacts& facts : tree.windows) {
    ids.push_back(facts.id.low);
  }
  return ids;
}

TEST(SwayTree, tellsPlacesProcessAndNamesOfAWindow) {
  const Tree tree = readTree(group(1, "workspace", {window(5, rect(100, 50, 400, 300), {{"focused", true}})}));
  ASSERT_EQ(tree.windows.size(), 1U);
  const WindowFacts& facts = tree.windows.front();
  EXPECT_EQ(facts.surface, (Rect{102, 50, 396, 298}));
  EXPECT_EQ(facts.frame, (Rect{100, 30, 400, 320}));
  EXPECT_EQ(facts.pid, 1005);
  EXPECT_EQ(facts.title, "window 5");
  EXPECT_EQ(facts.applicationId, "app");
  EXPECT_FALSE(facts.knowsItsPlace);
  EXPECT_FALSE(facts.hidden);
  EXPECT_EQ(tree.focused, facts.id);
}

TEST(SwayTree, ordersWhatLiesOverOtherThingsFirstAndWhatDoesNotShowLast) {
  const json hidden = {{"visible", false}};
  // Tabs of which the second shows, and two floating windows, the second above the first.
  const json left =
      group(10, "workspace", {group(11, "con", {window(12, rect(0, 0, 9, 9), hidden), window(13, rect(0, 0, 9, 9))})},
            {window(14, rect(0, 0, 9, 9), {{"type", "floating_con"}}),
             window(15, rect(0, 0, 9, 9), {{"type", "floating_con"}})});
  // The output that was worked on last, where one window fills all.
  const json right =
      group(20, "workspace", {window(21, rect(0, 0, 9, 9)), window(22, rect(0, 0, 9, 9), {{"fullscreen_mode", 1}})});
  json away = group(30, "workspace", {}, {window(31, rect(0, 0, 9, 9), {{"type", "floating_con"}})});
  away["name"] = "__i3_scratch";
  const json root = group(1, "root", {away, left, right}, {}, {20, 10, 30});
  EXPECT_THAT(idsOf(readTree(root)), ElementsAre(22, 21, 15, 14, 13, 12, 31));
}

TEST(SwayTree, knowsTheWindowThatAnX11DialogBelongsTo) {
  const auto x11 = [](int window, json properties) {
    return json{{"shell", "xwayland"}, {"window", window}, {"window_properties", std::move(properties)}};
  };
  const Tree tree =
      readTree(group(1, "workspace",
                     {window(5, rect(0, 0, 9, 9), x11(700, {{"class", "Mousepad"}, {"instance", "mousepad"}})),
                      window(6, rect(0, 0, 9, 9), x11(701, {{"class", "Mousepad"}, {"transient_for", 700}}))}));
  ASSERT_EQ(tree.windows.size(), 2U);
  EXPECT_EQ(tree.windows[0].className, "Mousepad");
  EXPECT_TRUE(tree.windows[0].knowsItsPlace);
  EXPECT_EQ(tree.windows[1].transientFor, tree.windows[0].id);
  EXPECT_EQ(tree.windows[1].type, WindowType::dialog);
}

TEST(SwayTree, leavesOutNonsense) {
  json deep = window(7, rect(0, 0, 9, 9));
  for (int i = 0; i < 1000; ++i) {
    deep = group(100 + i, "con", {std::move(deep)});
  }
  const json cases[] = {
      json(),
      json("text"),
      json::array({1, 2}),
      {{"nodes", {1, nullptr, "x", {{"id", "seven"}, {"type", 8}}}}},
      group(1, "workspace", {window(5, rect(0, 0, 9, 9), {{"pid", -1}})}),
      group(1, "workspace", {window(5, rect(0, 0, 9, 9), {{"pid", 1e300}})}),
      group(1, "workspace", {window(5, rect(0, 0, 9, 9), {{"pid", nullptr}})}),
      group(1, "workspace", {window(5, rect(0, 0, 9, 9), {{"id", -4}})}),
      group(1, "workspace", {window(5, rect(0, 0, 9, 9), {{"window_rect", rect(0, 0, -9, 9)}})}),
      group(1, "workspace", {window(5, rect(0, 0, 9, 9), {{"window_rect", "wide"}})}),
      deep,
  };
  for (const json& root : cases) {
    EXPECT_THAT(idsOf(readTree(root)), IsEmpty()) << root.dump().substr(0, 200);
  }
  std::vector<json> many;
  for (int i = 1; i <= 20'000; ++i) {
    many.push_back(window(i, rect(0, 0, 9, 9)));
  }
  EXPECT_EQ(readTree(group(30'000, "workspace", many)).windows.size(), 4096U);
}

TEST(SwayTree, tellsWhatBarsLeaveFree) {
  const json answer = {{{"output", "DP-1"}, {"visible", true}, {"rect", rect(0, 30, 1280, 770)}},
                       {{"output", "DP-1"}, {"visible", false}, {"rect", rect(0, 0, 1, 1)}},
                       "nonsense"};
  const std::vector<Workspace> workspaces = readWorkspaces(answer);
  ASSERT_EQ(workspaces.size(), 1U);
  EXPECT_EQ(workspaces.front().area, (Rect{0, 30, 1280, 770}));
}

}  // namespace
}  // namespace jumplark::sway
