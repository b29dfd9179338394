#include "desktop/Use.h"

namespace jumplark::desktop {
namespace {

TEST(UseOnSway, aTypedQueryBoxesAButtonAndReturnPressesIt) {
  Use use(WindowManager::sway);
  const Matches matches = use.demo.matchesWith("Button", "Apply");
  const Match* match = find(matches, "Button", "Apply");
  ASSERT_TRUE(match);
  const PixelRect apply = match->rect;
  const uint32_t plain = boxPixel(use.session(), apply);
  use.program.open();
  use.program.query("apply");
  EXPECT_TRUE(use.boxed(apply, kSelectedColor, plain));
  use.close("Return");
  EXPECT_TRUE(use.demo.says("clicked Apply"));

  use.program.open();
  EXPECT_TRUE(use.program.waitForQuery(""));
  use.close("Escape");
  // The button, which has the focus now, gets what is typed next; at once, or as soon as the compositor says so.
  constexpr Milliseconds kBetweenKeys{1000};
  EXPECT_TRUE(waitUntil([&] {
    use.session().press({"space"});
    return waitUntil([&] { return use.demo.process().countOfLine("clicked Apply") > 1; }, kBetweenKeys);
  }));
}

}  // namespace
}  // namespace jumplark::desktop
