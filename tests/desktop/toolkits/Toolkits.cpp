#include "desktop/toolkits/Toolkits.h"

#include <regex>
#include <thread>

namespace jumplark::desktop {

Effect shows(const std::string& role, const std::string& name, const std::string& state) {
  return [=](Application& application) {
    const auto found = application.find(role, name);
    return found && (state.empty() || found->is(state));
  };
}

Effect titled(const std::string& beginning) {
  return [=](Application& application) { return application.hasTitle(beginning); };
}

Effect offers(const std::vector<std::string>& texts, const std::vector<std::string>& gone) {
  return [=](Application& application) {
    const std::set<std::string> all = allTexts(application.matches());
    const auto isThere = [&](const std::string& text) { return all.contains(text); };
    return std::ranges::all_of(texts, isThere) && std::ranges::none_of(gone, isThere);
  };
}

Effect finds(const std::string& role, const std::string& text, const std::string& andText) {
  return [=](Application& application) {
    const Matches matches = application.matches();
    return std::ranges::any_of(matches, [&](const Match& match) {
      return match.role == role && match.hasText(text) && (andText.empty() || match.hasText(andText));
    });
  };
}

Effect lists(const std::string& line) {
  return [line](Application& application) {
    const std::string printed = "\n" + application.desktop().jumplark.run("menus", application.target(), {}).out;
    return printed.find("\n" + line + "\n") != std::string::npos;
  };
}

Preparation choosing(const std::string& query) {
  return [query](Application& application) {
    EXPECT_TRUE(waitUntil([&] {
      return application.desktop().jumplark.run("act", application.target(), {"--menu", query}).status == 0;
    })) << query;
    EXPECT_TRUE(waitUntil([&] { return application.desktop().session.keyboardIsFree(); })) << query;
  };
}

Preparation opening(const Preparation& open, const Effect& isOpen) {
  return [=](Application& application) {
    EXPECT_TRUE(waitUntil([&] { return application.isActive(); }));
    open(application);
    EXPECT_TRUE(waitUntil([&] { return isOpen(application); }));
  };
}

namespace {

void performWithKeys(const Step& step, Application& application) {
  // What is open when it is called is read in time or not at all, and a busy desktop may lose what is typed.
  constexpr int kAttempts = 6;
  constexpr auto kUntilRead = std::chrono::seconds(6);
  constexpr auto kUntilClicked = std::chrono::milliseconds(400);
  RunningProgram& program = application.desktop().program();
  bool isTold = false;
  std::string told;
  bool isDone = false;
  for (int attempt = 0; attempt < kAttempts && !isDone; ++attempt) {
    if (step.before) {
      step.before(application);
    }
    program.open();
    program.type(step.query);
    isTold = waitUntil([&] { return (told = program.description()).starts_with(step.told); }, kUntilRead);
    program.close(isTold ? "Return" : "Escape");
    if (isTold && step.isTwice) {
      std::this_thread::sleep_for(kUntilClicked);
      program.key("Return");
    }
    // So may a click in what has just opened again.
    const bool isSeen = step.before && step.effect;
    isDone = isTold && (!isSeen || waitUntil([&] { return step.effect(application); }, kUntilRead));
  }
  EXPECT_TRUE(isTold) << told;
  EXPECT_TRUE(!step.before || waitUntil([&] { return application.desktop().session.keyboardIsFree(); }));
}

}  // namespace

void perform(const Step& step, Application& application) {
  // For a while after a click Return would make that a double one.
  application.desktop().endProgram();
  if (!step.told.empty()) {
    performWithKeys(step, application);
    return;
  }
  if (step.before) {
    step.before(application);
  }
  EXPECT_TRUE(step.query.empty() || waitUntil([&] { return application.act(step.query).status == 0; }));
}

Preparation pressing(const std::string& key) {
  return [=](Application& application) { application.desktop().session.press({key}); };
}

Preparation clicking(const std::string& role, const std::string& text) {
  return [=](Application& application) {
    const Matches matches = application.matchesWith(role, text);
    const Match* match = find(matches, role, text);
    ASSERT_TRUE(match) << describe(matches);
    application.desktop().session.click(match->rect);
  };
}

Preparation pointingAtUppermost(const std::string& query, const std::string& text, const std::string& andText) {
  return [=](Application& application) {
    Matches matches = application.matches(query);
    std::erase_if(matches, [&](const Match& match) {
      return !match.hasText(text) || !(andText.empty() || match.hasText(andText));
    });
    ASSERT_FALSE(matches.empty()) << query;
    const auto place = [](const Match& match) { return std::pair(match.rect.y, match.rect.x); };
    const PixelRect uppermost = std::ranges::min(matches, {}, place).rect;
    application.desktop().session.pointTo(uppermost.x + 10, uppermost.y + 8);
  };
}

Step switchesOne(const std::string& query, const std::string& text, const std::string& andText,
                 const std::string& theirRole, const std::string& state) {
  const auto count = [=](Application& application) {
    return std::ranges::count_if(application.elements(), [&](const AccessibleElement& element) {
      return element.role == theirRole && element.is(state);
    });
  };
  const auto before = std::make_shared<std::ptrdiff_t>();
  return {query, [=](Application& application) { return count(application) == *before + 1; },
          [=](Application& application) {
            *before = count(application);
            pointingAtUppermost(query, text, andText)(application);
          }};
}

Step typesInto(const std::string& query, const std::string& text) {
  return {"",
          [](Application& application) {
            application.desktop().session.type("z");
            return std::ranges::any_of(application.elements(),
                                       [](const AccessibleElement& element) { return element.text.starts_with("z"); });
          },
          [=](Application& application) {
            RunningProgram& program = application.desktop().program();
            pointingAtUppermost(query, text)(application);
            program.open();
            program.query(query);
            EXPECT_TRUE(waitUntil([&] { return program.overlayWindows() == 2; })) << "boxes, and a description";
            const Matches fields = application.matches(query);
            ASSERT_FALSE(fields.empty());
            application.desktop().session.pointTo(fields[0].rect.x + fields[0].rect.width / 2, fields[0].rect.y + 4);
            EXPECT_TRUE(waitUntil([&] { return program.overlayWindows() == 3; })) << "a tinted box, too";
            application.desktop().session.keys({"key", "--delay", "60", "Control_L", "Control_L"});
            EXPECT_TRUE(program.waitUntilClosed());
          }};
}

void expectTheSameOffline(Application& application, const std::vector<std::string>& queries, Names names) {
  Jumplark& jumplark = application.desktop().jumplark;
  const std::string file = application.desktop().session.folder() + "/recorded.json";
  const Finished recorded = jumplark.run("record", application.target(), {"-o", file});
  ASSERT_EQ(recorded.status, 0) << recorded.err;
  const std::regex changing(names == Names::stay ? "$^" : R"re(Hash="\d+"|"hash": \d+|"id": "[^"]*")re");
  const auto expectTheSame = [&](const std::string& command, const Arguments& more) {
    const Finished live = jumplark.run(command, application.target(), more);
    const Finished offline = jumplark.run(command, {"--desktop", file}, more);
    EXPECT_EQ(live.status, 0) << live.err;
    EXPECT_EQ(offline.status, 0) << offline.err;
    EXPECT_EQ(std::regex_replace(offline.out, changing, ""), std::regex_replace(live.out, changing, ""));
  };
  expectTheSame("tree", {});
  for (const std::string& query : queries) {
    SCOPED_TRACE(query);
    expectTheSame("match", {"--json", query});
  }
}

void moveToTheOtherScreen(Application& application) {
  PrivateSession& session = application.desktop().session;
  session.moveActiveWindow(Desktop::kWidth + 40, 140);
  EXPECT_TRUE(waitUntil([&] {
    return session.hasWindow([&](const SessionWindow& window) { return window.rect.x >= Desktop::kWidth; });
  }));
}

}  // namespace jumplark::desktop
