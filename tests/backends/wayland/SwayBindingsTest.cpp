#include <gmock/gmock.h>
#include <sys/wait.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>

#include "backends/linux/wayland/sway/SwayCompositor.h"
#include "backends/wayland/FakeSway.h"

#if defined(__SANITIZE_THREAD__)
// The child of a fork has threads here.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
  return "die_after_fork=0";
}
#endif

namespace jumplark::sway {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr uint64_t kSuper = modifier_flag::command;

bool eventually(const std::function<bool()>& state) {
  for (int i = 0; i < 2000 && !state(); ++i) {
    usleep(5000);
  }
  return state();
}

class SwayBindings : public ::testing::Test {
 protected:
  SwayBindings() { setenv("SWAYSOCK", sway.path().c_str(), 1); }
  ~SwayBindings() override { unsetenv("SWAYSOCK"); }

  /// Tells of the press of what was bound by the command.
  void press(const std::string& bindsym) {
    const std::string command = bindsym.substr(bindsym.find("nop"));
    sway.tell(Events::kBinding, {{"change", "run"}, {"binding", {{"command", command}}}});
  }
  bool isBoundAgain(size_t earlier) {
    return eventually([&] { return sway.commands().size() > earlier; });
  }

  FakeSway sway;
};

TEST_F(SwayBindings, callWhenTheKeyIsPressedAndEndWithTheirOwner) {
  auto compositor = SwayCompositor::open();
  ASSERT_TRUE(compositor);
  EXPECT_EQ(compositor->name(), "sway 1.7");
  std::atomic<int> presses{0};
  ASSERT_EQ(compositor->bind(XKB_KEY_space, kSuper, [&] { ++presses; }), Compositor::Binding::bound);
  ASSERT_THAT(sway.commands(), ElementsAre(StartsWith("bindsym --no-warn Mod4+space nop jumplark")));
  ASSERT_TRUE(eventually([&] { return sway.subscribers() == 1; }));
  for (const nlohmann::json& nonsense : {nlohmann::json(5), nlohmann::json{{"change", 5}, {"binding", 7}},
                                         nlohmann::json{{"change", "focus"}, {"container", {{"pid", "x"}}}}}) {
    sway.tell(Events::kBinding, nonsense);
    sway.tell(Events::kWindow, nonsense);
  }
  press("nop somebody else's");
  press(sway.commands().front());
  EXPECT_TRUE(eventually([&] { return presses == 1; }));
  compositor.reset();
  EXPECT_THAT(sway.commands(), Contains("unbindsym Mod4+space"));
}

TEST_F(SwayBindings, leaveToTheUserWhatHeHasBound) {
  sway.setConfiguration("bindsym Mod4+space exec menu");
  auto compositor = SwayCompositor::open();
  EXPECT_EQ(compositor->bind(XKB_KEY_space, kSuper, [] {}), Compositor::Binding::taken);
  EXPECT_THAT(sway.commands(), IsEmpty());
  // Until sway reads a configuration in which it is free.
  ASSERT_TRUE(eventually([&] { return sway.subscribers() == 1; }));
  sway.setConfiguration("");
  sway.tell(Events::kWorkspace, {{"change", "reload"}});
  EXPECT_TRUE(eventually([&] { return !compositor->isTaken(XKB_KEY_space, kSuper); }));
}

TEST_F(SwayBindings, comeBackAfterAReloadAndAfterSwayItself) {
  auto compositor = SwayCompositor::open();
  std::atomic<int> presses{0};
  compositor->bind(XKB_KEY_space, kSuper, [&] { ++presses; });
  ASSERT_TRUE(eventually([&] { return sway.subscribers() == 1; }));
  sway.tell(Events::kWorkspace, {{"change", "reload"}});
  EXPECT_TRUE(isBoundAgain(1));
  sway.stop();
  EXPECT_EQ(compositor->bind(XKB_KEY_a, kSuper, [] {}), Compositor::Binding::refused);
  sway.start();
  ASSERT_TRUE(isBoundAgain(2));
  EXPECT_EQ(sway.commands().back(), sway.commands().front());
  ASSERT_TRUE(eventually([&] { return sway.subscribers() == 1; }));
  press(sway.commands().back());
  EXPECT_TRUE(eventually([&] { return presses == 1; }));
}

TEST_F(SwayBindings, endWithAProcessThatIsKilled) {
  const pid_t child = fork();
  if (child == 0) {
    const auto compositor = SwayCompositor::open();
    compositor->bind(XKB_KEY_Return, 0, [] {});
    kill(getpid(), SIGKILL);
  }
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(eventually([&] {
    const auto commands = sway.commands();
    return std::ranges::find(commands, "unbindsym Return") != commands.end();
  }));
}

TEST_F(SwayBindings, surviveEveryAnswer) {
  const auto message = [](uint32_t length, const std::string& body) {
    std::string bytes = encoded(Message::getVersion, body);
    std::memcpy(bytes.data() + 6, &length, sizeof length);
    return bytes;
  };
  for (const std::string& answer :
       {message(4, "null"), message(5, "{nope"), message(100U << 20U, "["), std::string("no header at all"),
        message(2, "[]"), message(14, R"({"success": 1})")}) {
    sway.setAnswer(answer);
    EXPECT_FALSE(SwayCompositor::open()) << answer.substr(0, 40);
  }
  sway.setAnswer("");
  auto compositor = SwayCompositor::open();
  ASSERT_TRUE(compositor);
  EXPECT_THAT(compositor->windows().windowsFrontToBack(), IsEmpty());
  EXPECT_EQ(compositor->workAreaOf({7, "DP-1", {0, 0, 5, 5}, 1}), (Rect{0, 0, 5, 5}));
  EXPECT_THAT(compositor->inputSources().selectableKeyboardLayouts(), IsEmpty());
}

}  // namespace
}  // namespace jumplark::sway
