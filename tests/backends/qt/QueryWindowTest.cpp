#include <QGuiApplication>
#include <QPalette>

#include "backends/qt/ViewsFixture.h"
#include "platform/Input.h"

namespace jumplark {
namespace {

using desktop::WindowManager;

class QueryWindow : public ViewsTest, public testing::WithParamInterface<WindowManager> {
 protected:
  void SetUp() override {
    startViews({.windowManager = GetParam(), .width = 1000, .height = 700});
    other_ = std::make_unique<WindowClient>(*session_, desktop::PixelRect{100, 100, 500, 400});
    ASSERT_TRUE(session_->activate(other_->window()));
  }
  /// Where the card is on the screen: what the window says of its shadow is taken off.
  Rect card() {
    const auto facts = windows_->window(ownWindow());
    return facts ? facts->withoutShadow() : Rect{};
  }

  std::unique_ptr<WindowClient> other_;
};

TEST_P(QueryWindow, takesTheKeyboardAtItsPlaceAndGivesItBack) {
  for (const auto& [x, y] : {std::pair(300, 500), {0, 0}, {540, 620}}) {
    showQueryWindow(x, y);
    EXPECT_TRUE(await([&] { return session_->activeWindow() == ownWindow(); }));
    EXPECT_TRUE(await([&, x = x, y = y] { return Point{card().x, card().y} == Point{1.0 * x, 1.0 * y}; })) << x;
    EXPECT_EQ(query_->frame(), core(x, y, card().width, card().height));
    const auto state = session_->run({"xprop", "-id", std::to_string(ownWindow()), "_NET_WM_STATE"}).out;
    for (const char* part : {"SKIP_TASKBAR", "SKIP_PAGER", "ABOVE"}) {
      EXPECT_NE(state.find(part), std::string::npos) << state;
    }
    told_.clear();
    query_->orderOut();
    EXPECT_TRUE(await([&] { return session_->activeWindow() == other_->window(); }));
    EXPECT_EQ(count("resign"), 1U) << "the hiding itself is told, once";
  }
}

TEST_P(QueryWindow, tellsALossOfTheKeyboardButNotAGrab) {
  showQueryWindow(300, 300);
  ASSERT_TRUE(grabKeyboard() && giveKeyboardBack());
  session_->keys({"key", "a"});
  ASSERT_TRUE(says("text a"));
  EXPECT_EQ(count("resign"), 0U);
  ASSERT_TRUE(session_->activate(other_->window()));
  EXPECT_TRUE(says("resign"));
  EXPECT_EQ(count("resign"), 1U);

  // A press outside the card ends it too, once.
  showQueryWindow(300, 300);
  views_->pointerPressedOutside({310, 310});
  EXPECT_EQ(count("resign"), 1U);
  views_->pointerPressedOutside({295, 310});
  views_->pointerPressedOutside({290, 310});
  EXPECT_EQ(count("resign"), 2U);
}

INSTANTIATE_TEST_SUITE_P(On, QueryWindow,
                         testing::Values(WindowManager::xfwm4, WindowManager::xfwm4Compositor, WindowManager::openbox,
                                         WindowManager::openboxPicom),
                         byWindowManager);

class QueryKeys : public ViewsTest {
 protected:
  void SetUp() override {
    startViews({.windowManager = WindowManager::openbox, .width = 800, .height = 600});
    showQueryWindow(100, 540);
  }
  static std::string line(int64_t code, uint64_t flags, const std::string& ignoring) {
    return "key " + std::to_string(code) + " " + std::to_string(flags) + " " + ignoring;
  }
  /// All that is told of a combination, the key first.
  std::vector<std::string> toldOf(const std::string& keys) {
    query_->setText("");
    told_.clear();
    session_->keys({"key", "--clearmodifiers", keys});
    EXPECT_TRUE(await([&] { return !told_.empty(); })) << keys;
    return told_;
  }
};

TEST_F(QueryKeys, areToldInTheirOwnTerms) {
  using namespace modifier_flag;
  const auto symbol = [](uint32_t symbol) { return key_code::symbolBase + symbol; };
  const auto equivalent = [&](char of) { return "equivalent " + std::to_string(symbol(of)); };
  const struct {
    const char* keys;
    std::vector<std::string> told;
  } cases[] = {
      {"Return", {line(key_code::returnKey, 0, "\r")}},
      {"KP_Enter", {line(key_code::returnKey, 0, "\r")}},
      {"Escape", {line(key_code::escape, 0, "\x1b")}},
      {"Tab", {line(key_code::tab, 0, "\t")}},
      {"shift+Tab", {line(key_code::tab, shift, "\t")}},
      {"F5", {line(key_code::f5, 0, "")}},
      {"ctrl+a", {line(symbol('a'), control, "a")}},
      {"super+r", {line(symbol('r'), command, "r"), equivalent('r')}},
      {"super+comma", {line(symbol(','), command, ","), equivalent(',')}},
      {"alt+x", {line(symbol('x'), option, "x")}},
      {"shift+a", {line(symbol('a'), shift, "a"), "text A"}},
  };
  for (const auto& [keys, told] : cases) {
    EXPECT_EQ(toldOf(keys), told) << keys;
  }
  session_->run({"setxkbmap", "-layout", "ru,us"});
  EXPECT_TRUE(await([&] { return toldOf("ctrl+a").front() == line(symbol('a'), control, "a"); })) << "in Latin letters";

  // Without the monitor the field edits as fields do, and keys that it does not have reach the window.
  query_->setKeyMonitorInstalled(false);
  query_->resignFieldFirstResponder();
  session_->keys({"key", "Escape"});
  EXPECT_TRUE(says("windowkey 53"));
}

TEST_F(QueryKeys, areTakenBesideANoticeForWhichTheWindowGrowsWithinTheScreen) {
  const Rect before = query_->frame();
  query_->setNotice("Nothing to match here.");
  const Rect with = query_->frame();
  EXPECT_GT(with.height, before.height);
  EXPECT_GE(with.y, 0);
  EXPECT_EQ(with.x, before.x);
  // In as many lines as it needs, also for what has no spaces.
  query_->setNotice("Start it with JAVA_TOOL_OPTIONS=-Dassistive=org.example.Wrapper" + std::string(300, 'x'));
  const Rect tall = query_->frame();
  EXPECT_GT(tall.height - before.height, 2 * (with.height - before.height));
  EXPECT_GE(tall.y, 0);
  EXPECT_EQ(tall.width, before.width);
  query_->setNotice("");
  EXPECT_EQ(query_->frame().height, before.height);
  EXPECT_EQ(toldOf("shift+a").back(), "text A");
}

TEST_F(QueryKeys, areTakenBesideCommandsThatThePointerMayChoose) {
  const Rect before = query_->frame();
  CommandRows commands{{}, 0, 40, 1};
  for (const char* title : {"Status Bar", "Full Screen", "Reload"}) {
    commands.rows.push_back({.path = "View", .pathMarks = {}, .title = title, .titleMarks = {{0, 2}}, .keys = "F9"});
  }
  query_->setCommands(commands);
  const Rect with = query_->frame();
  EXPECT_EQ(with.y, 0) << "it has been near the lower edge";
  // In native pixels, from the card's upper left corner.
  const auto rowHeight = static_cast<int>(with.height - before.height) / 3;
  const int top = 600 - static_cast<int>(with.height - before.height);
  const int middleOfSecond = top + rowHeight + rowHeight / 2;
  const auto highlight = QGuiApplication::palette().color(QPalette::Highlight).rgb() & 0xFFFFFF;
  EXPECT_TRUE(shows(110, middleOfSecond, highlight));
  told_.clear();
  session_->run(
      {"xdotool", "mousemove", "300", std::to_string(middleOfSecond + rowHeight), "click", "1", "click", "5"});
  EXPECT_TRUE(says("row 2"));
  EXPECT_TRUE(says("scrolled 3"));
  EXPECT_EQ(toldOf("shift+a").back(), "text A");
  query_->setCommands({});
  EXPECT_EQ(query_->frame(), before) << "where it was";
}

}  // namespace
}  // namespace jumplark
