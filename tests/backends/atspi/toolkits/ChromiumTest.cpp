#include <systemd/sd-bus.h>

#include "backends/atspi/support/SourceFixture.h"

namespace jumplark::atspi {
namespace {

/// A browser with one page.
class Browser : public SourceFixture {
 protected:
  Browser() : SourceFixture("Chromium", "120") {
    add("frame", "view", role::panel, "", Rect{100, 100, 400, 250});
    add("view", "page", role::documentWeb, "Page", Rect{100, 100, 400, 250});
  }
  /// Every element of a browser has a text.
  template <typename... Said>
  void add(const std::string& parent, const std::string& id, Said... said) {
    SourceFixture::add(parent, id, said...).interfaces = {"Component", "Text"};
  }
  /// Calls back when the page has been looked at again some times after the browser was asked to wake up.
  void someTimeAfterWaking(const std::function<void()>& callback) {
    app.answerInstead([this, callback](sd_bus_message*, const std::string& id, const std::string& member) {
      if (id == "view" && member == "GetChildren" && app.wasAsked("Accessible.GetAttributes frame") && ++looks == 3) {
        callback();
      }
      return false;
    });
  }

  std::atomic<int> looks{0};
};

// On screens of higher resolution, where it does not know where its window is.
TEST_F(Browser, countsInItsPagesInPixelsOfTheSurface) {
  windows.windows.front().knowsItsPlace = false;
  app.at("frame").rect = {0, 0, 432, 342};
  app.at("view").rect = {16, 10, 400, 300};
  add("page", "inner", role::pushButton, "Inner", Rect{});
  add("frame", "reload", role::pushButton, "Reload", Rect{20, 15, 10, 10});
  for (const double scale : {2.0, 1.5}) {
    SCOPED_TRACE(scale);
    app.at("page").rect = {16 * scale, 10 * scale, 400 * scale, 300 * scale};
    app.at("inner").rect = {66 * scale, 60 * scale, 50 * scale, 20 * scale};
    prepare();
    for (const auto& placeOf : {std::function<Rect(const char*)>([&](const char* id) { return *read(id)->extents; }),
                                std::function<Rect(const char*)>([&](const char* id) {
                                  return *live().get(app.ref(id), facts::extents)->extents;
                                })}) {
      EXPECT_EQ(placeOf("inner"), (Rect{150, 100, 50, 20}));
      EXPECT_EQ(placeOf("reload"), (Rect{104, 55, 10, 10}));
    }
  }
}

TEST_F(Browser, isReadWithThePageThatTakesTheBlankOnesPlace) {
  someTimeAfterWaking([this] {
    app.remove("page");
    add("view", "filled", role::documentWeb, "Page", Rect{100, 100, 400, 250});
    add("filled", "link", role::link, "link", Rect{100, 100, 50, 20});
  });
  prepare();
  EXPECT_NE(read("link"), nullptr);
  EXPECT_EQ(read("page"), nullptr);
}

TEST_F(Browser, isWaitedForOnceForEachBlankPage) {
  someTimeAfterWaking([] {});
  prepare();
  const int waiting = looks;
  EXPECT_GT(waiting, 3);
  prepare();
  EXPECT_LE(looks, waiting + 1);
}

struct Cover {
  const char* what;
  const char* guess;   ///< what the browser says at first lies at a point
  const char* answer;  ///< what the page does
  bool hides;
};

TEST_F(Browser, hidesWhatThePageSaysIsBelowSomethingElse) {
  add("page", "header", role::landmark, "", Rect{100, 100, 400, 60});
  add("header", "home", role::link, "home", Rect{110, 105, 50, 20});
  add("page", "list", role::list, "", Rect{100, 60, 400, 600});
  for (int i = 0; i < 5; ++i) {
    add("list", "link" + std::to_string(i), role::link, "link", Rect{200, 85 + 20.0 * i, 50, 20});
  }
  const std::vector<Cover> covers{{"a header", "link1", "header", true},
                                  {"a link of the header's", "link1", "home", false},
                                  {"a busy page", "link1", "link1", false},
                                  {"what may be the browser's guess", "header", "header", false}};
  std::atomic<int> asked{0};
  std::atomic<const Cover*> now{nullptr};
  std::pair<int32_t, int32_t> last;  // the browser's thread only
  app.answerInstead([&](sd_bus_message* message, const std::string& id, const std::string& member) {
    std::pair<int32_t, int32_t> point;
    if (id != "page" || member != "GetAccessibleAtPoint" ||
        sd_bus_message_read(message, "ii", &point.first, &point.second) < 0) {
      return false;
    }
    ++asked;
    // Only who asks for the same place again is told what the page has said meanwhile.
    const bool again = std::exchange(last, point) == point;
    const ElementRef hit = app.ref(again ? now.load()->answer : now.load()->guess);
    return sd_bus_reply_method_return(message, "(so)", handleOf(hit)->busName().c_str(),
                                      handleOf(hit)->path().c_str()) >= 0;
  });
  for (const Cover& cover : covers) {
    SCOPED_TRACE(cover.what);
    now = &cover;
    asked = 0;
    prepare();
    for (const auto& [id, below] : {std::pair("link0", true), {"link1", true}, {"link2", true}, {"link3", false}}) {
      EXPECT_EQ(read(id)->extents.has_value(), !(below && cover.hides)) << id;
    }
    EXPECT_TRUE(read("home")->extents);
    EXPECT_LE(asked, 4) << "three times, and the last question of the reading before may come late";
  }
  app.at("header").children.clear();
  asked = 0;
  prepare();
  EXPECT_EQ(asked, 0) << "nothing holds anything of another";
}

}  // namespace
}  // namespace jumplark::atspi
