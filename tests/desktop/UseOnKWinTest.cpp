#include "desktop/Use.h"
#include "desktop/support/KWinSession.h"

namespace jumplark::desktop {
namespace {

/// What is typed, what a screen reader is told of the match then, and what the application says in the end.
struct Job {
  const char* query;
  const char* told;
  const char* says;
};

TEST(UseOnKWin, aTypedQueryBoxesAButtonAndReturnDoesWhatAClickWouldDo) {
  Use use(WindowManager::kwin);
  const auto& session = dynamic_cast<KWinSession&>(use.session());
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

  constexpr Job kJobs[] = {{"wrap", "Wrap text", "checked Wrap text true"},
                           {"country", "Austria", "opened "},
                           {"file", "File", "opened File"},
                           {"save", "Save", "triggered Save"},
                           {"name", "Name", "focused Name"}};
  for (const Job& job : kJobs) {
    SCOPED_TRACE(job.query);
    // For a while after a click Return makes it a double one.
    ASSERT_TRUE(waitUntil([&] { return session.isFree(KWinSession::kReturn); }));
    use.program.open();
    use.program.query(job.query);
    EXPECT_TRUE(waitUntil([&] { return use.program.description().starts_with(job.told); }))
        << use.program.description();
    use.close("Return");
    ASSERT_TRUE(waitUntil([&] { return !use.demo.linesBeginning(job.says).empty(); })) << use.demo.process().out();
  }
}

}  // namespace
}  // namespace jumplark::desktop
