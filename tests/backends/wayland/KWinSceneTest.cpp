#include <gmock/gmock.h>

#include <sstream>

#include "backends/linux/wayland/kwin/KWinScene.h"
#include "backends/linux/wayland/kwin/KWinScript.h"
#include "backends/linux/wayland/kwin/KWinSettings.h"
#include "backends/linux/wayland/kwin/KWinShortcuts.h"
#include "platform/Input.h"

namespace jumplark::kwin {
namespace {

using nlohmann::json;

std::string uuid(int number) {
  return textOf(WindowId(static_cast<uint64_t>(number), 0x0123456789abcdef));
}

json window(int number, const json& more = json::object()) {
  json told = {{"id", uuid(number)}, {"pid", 7}, {"frame", {10, 20, 300, 200}}, {"buffer", {10, 20, 300, 200}}};
  told.update(more);
  return told;
}

json message(const json& windows, const json& more = json::object()) {
  json told = {{"version", 1}, {"windows", windows}, {"order", json::array()}};
  for (const json& one : windows) {
    told["order"].push_back(one.is_object() ? one.value("id", json("")) : json(1));
  }
  told.update(more);
  return told;
}

std::vector<int> numbers(const KWinScene& scene) {
  std::vector<int> result;
  for (const WindowFacts& one : scene.windows()) {
    result.push_back(static_cast<int>(one.id.low));
  }
  return result;
}

TEST(KWinScene, keepsWhatHasNotChangedAndTellsTheTopmostFirstAndTheHiddenLast) {
  KWinScene scene;
  ASSERT_TRUE(scene.take(message({window(1), window(2), window(3)}, {{"active", uuid(3)}})));
  EXPECT_THAT(numbers(scene), ::testing::ElementsAre(3, 2, 1));
  EXPECT_EQ(scene.active(), windowIdOf(uuid(3)));
  ASSERT_TRUE(scene.take({{"version", 1}, {"windows", {window(3, {{"hidden", true}})}}, {"gone", {uuid(1)}}}));
  EXPECT_THAT(numbers(scene), ::testing::ElementsAre(2, 3));
  EXPECT_FALSE(scene.active());
}

TEST(KWinScene, takesTheSurfaceForWhereElementsCountFromAndTheFrameForWhatIsSeen) {
  struct Case {
    json told;
    Rect surface;
    Rect visible;
  };
  const Case cases[] = {
      {{{"frame", {26, 23, 100, 80}}, {"buffer", {0, 0, 152, 135}}}, {0, 0, 152, 135}, {26, 23, 100, 80}},  // shadow
      {{{"frame", {0, 0, 106, 120}}, {"buffer", {3, 30, 100, 87}}}, {3, 30, 100, 87}, {0, 0, 106, 120}},  // KWin's bar
      {{{"x11", true}, {"frame", {0, 0, 9, 9}}, {"buffer", {0, 0, 9, 9}}, {"client", {1, 2, 7, 6}}},
       {1, 2, 7, 6},
       {0, 0, 9, 9}}};
  for (const Case& one : cases) {
    KWinScene scene;
    scene.take(message(json::array({window(1, one.told)})));
    ASSERT_EQ(scene.windows().size(), 1U);
    EXPECT_EQ(scene.windows()[0].surface, one.surface);
    EXPECT_EQ(scene.windows()[0].visible(), one.visible);
  }
}

TEST(KWinScene, leavesOutWhatIsNoWindowAndTakesNoMessageOfAnotherVersion) {
  KWinScene scene;
  ASSERT_TRUE(scene.take(
      message({window(1), 5, nullptr, json::array(), window(2, {{"pid", -1}}), window(3, {{"frame", {0, 0, 0, 9}}}),
               window(4, {{"id", "{nonsense}"}}), window(5, {{"frame", "wide"}}), window(6, {{"pid", 1e300}})})));
  EXPECT_THAT(numbers(scene), ::testing::ElementsAre(1));
  for (const json& nonsense :
       {json(), json(3), json("text"), json::array({1}), json{{"version", 2}}, json{{"windows", 1}}}) {
    EXPECT_FALSE(scene.take(nonsense)) << nonsense;
  }
  EXPECT_TRUE(scene.take({{"version", 1}, {"windows", "none"}, {"gone", {7, nullptr}}, {"order", {uuid(1), 3}}}));
  EXPECT_THAT(numbers(scene), ::testing::ElementsAre(1));

  json many = json::array();
  for (int number = 0; number < 10000; ++number) {
    many.push_back(window(number));
  }
  scene.take(message(many));
  EXPECT_LT(scene.windows().size(), 5000U);
}

TEST(KWinShortcuts, namesKeysAsQtDoes) {
  EXPECT_EQ(qtKeyOf(' ', modifier_flag::command | modifier_flag::shift), 0x12000020);
  EXPECT_EQ(qtKeyOf('a', modifier_flag::control), 0x04000041);
  EXPECT_EQ(qtKeyOf(0xff0d, 0), 0x01000004);
  EXPECT_EQ(qtKeyOf(0xffc9, modifier_flag::option), 0x0900003b) << "F12";
  EXPECT_EQ(qtKeyOf(0xffe1, 0), 0) << "a modifier";
}

TEST(KWinSettings, tellTheOrderOfTheButtonsOnTitleBars) {
  using Slot = TitleBarLayout::Slot;
  std::istringstream settings(
      "[Other]\nButtonsOnLeft=AAA\n[org.kde.kdecoration2]\nButtonsOnLeft=XM\nButtonsOnRight=I\n");
  const TitleBarLayout layout = titleBarLayoutIn(settings);
  EXPECT_THAT(layout.left, ::testing::ElementsAre(Slot::close, Slot::other));
  EXPECT_THAT(layout.right, ::testing::ElementsAre(Slot::minimise));
}

}  // namespace
}  // namespace jumplark::kwin
