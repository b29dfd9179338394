#include <gmock/gmock.h>

#include "backends/atspi/SourceFixture.h"
#include "backends/linux/atspi/vocabulary/AtspiAccessibility.h"

namespace jumplark::atspi {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using enum AccessibilityError;

TEST_F(SourceFixture, AfterOneTimeOutAHungApplicationIsNotAskedUntilTheNextSnapshot) {
  app.add("frame", "ok", element(role::pushButton, "OK"));
  prepare();
  source().setMessagingTimeout(0.05);
  app.peer().hang();
  EXPECT_EQ(live().facts(app.ref("ok"), facts::texts).error, cannotComplete);
  app.peer().resume();
  // What the first read sent is still answered; nothing of the later ones may be.
  source().setMessagingTimeout(5);
  EXPECT_EQ(live().facts(app.ref("frame"), facts::relations).error, cannotComplete);
  EXPECT_EQ(source().grabFocus(app.ref("ok")), cannotComplete);
  EXPECT_FALSE(app.wasAsked("Accessible.GetRelationSet frame"));
  EXPECT_FALSE(app.wasAsked("Component.GrabFocus ok"));
  prepare();
  EXPECT_TRUE(live().facts(app.ref("frame"), facts::relations).ok());
}

TEST_F(SourceFixture, AHungApplicationCostsOthersNothing) {
  FakeApplication other(bus);
  other.add("root", "frame", element(role::frame, "Window", {100, 50, 400, 300}));
  other.add("frame", "there", element(role::pushButton, "there"));
  source().setMessagingTimeout(20);
  app.peer().hang();
  std::thread stuck([this] { source().read({app.ref("frame")}, facts::texts, {}); });
  EXPECT_EQ(source().take(other.root(), true, {})->elements().size(), 3U);
  app.peer().resume();
  stuck.join();
}

TEST_F(SourceFixture, WhatWasReadBeforeTheApplicationHungIsUsed) {
  for (int i = 0; i < 20; ++i) {
    const std::string box = "box" + std::to_string(i);
    app.add("frame", box, element(role::panel, box));
    app.add(box, "ok" + std::to_string(i), element(role::pushButton, "OK"));
  }
  prepare();
  source().setMessagingTimeout(0.05);
  app.beforeEachAnswer([this](const std::string& id, const std::string& member) {
    if (id == "box5" && member == "GetChildren") {
      app.peer().hang();
    }
  });
  prepare();
  EXPECT_THAT(names(), HasSubstr("box0"));
  EXPECT_EQ(read("ok19"), nullptr);
  EXPECT_EQ(view().facts(app.ref("ok19"), facts::texts).error, cannotComplete);
}

TEST_F(SourceFixture, ElementsThatVanishDuringTheWalkAreLeftOut) {
  app.add("frame", "first", element(role::pushButton, "first"));
  app.add("frame", "gone", element(role::panel, "gone"));
  app.add("gone", "below", element(role::pushButton, "below"));
  app.add("frame", "last", element(role::pushButton, "last"));
  app.remove("gone");
  prepare();
  EXPECT_EQ(names(), "first last");
  EXPECT_THAT(read("frame")->children, ElementsAre(app.ref("first"), app.ref("last")));
  EXPECT_EQ(view().facts(app.ref("gone"), facts::texts).error, invalidElement);
  const auto all = view().factsOfAll({app.ref("first"), app.ref("gone"), ElementRef()}, facts::texts);
  EXPECT_NE(all[0], nullptr);
  EXPECT_EQ(all[1], nullptr);
  EXPECT_EQ(all[2], nullptr);
}

TEST_F(SourceFixture, AnApplicationThatHasEndedIsNotFound) {
  auto ended = std::make_unique<FakeApplication>(bus);
  const ElementRef root = ended->root();
  ended.reset();
  EXPECT_EQ(view().facts(root, facts::texts).error, invalidElement);
  EXPECT_EQ(source().take(root, true, {})->focusedWindow, ElementRef());
}

TEST_F(SourceFixture, ATreeWithCyclesIsReadAsATree) {
  app.add("frame", "a", element(role::panel, "a"));
  app.add("a", "b", element(role::panel, "b"));
  FakeElement& b = app.add("b", "c", element(role::panel, "c"));
  b.children = {"a", "c", "frame", "root"};
  app.add("frame", "d", element(role::panel, "d")).children = {"c", "b"};
  prepare();
  EXPECT_EQ(elements().size(), 6U);
  std::map<std::string, int> parents;
  for (const FactsPointer& e : elements()) {
    for (const ElementRef& child : e->children) {
      EXPECT_EQ(++parents[child.text()], 1) << child.text();
      EXPECT_EQ(source().last->find(child)->parent, e->ref);
    }
  }
}

TEST_F(SourceFixture, AVeryDeepTreeEnds) {
  source().setMessagingTimeout(30);
  std::string above = "frame";
  for (int i = 0; i < 10'000; ++i) {
    const std::string id = "level" + std::to_string(i);
    app.add(above, id, element(role::panel, "level"));
    above = id;
  }
  prepare();
  EXPECT_NE(read("level0"), nullptr);
  EXPECT_GT(elements().size(), 100U);
}

struct Nonsense {
  const char* what;
  Rect reported;
  bool hasPlace;
};

TEST_F(SourceFixture, ImpossibleRectanglesAreNoPlace) {
  const double least = -2147483648.0;
  const std::vector<Nonsense> cases{{"smallest integers", {least, least, 1, 1}, false},
                                    {"negative", {10, 10, -5, 20}, false},
                                    {"empty", {10, 10, 0, 0}, false},
                                    {"huge", {0, 0, 2147483647.0, 10}, false},
                                    {"left of the screen", {-50, -20, 100, 100}, true}};
  for (size_t i = 0; i < cases.size(); ++i) {
    app.add("frame", "e" + std::to_string(i), element(role::pushButton, cases[i].what, cases[i].reported));
  }
  prepare();
  for (size_t i = 0; i < cases.size(); ++i) {
    EXPECT_EQ(read("e" + std::to_string(i))->extents.has_value(), cases[i].hasPlace) << cases[i].what;
  }
}

TEST_F(SourceFixture, AHugeNameIsCutBetweenCharacters) {
  std::string name = "x";
  while (name.size() < 1'000'000) {
    name += "\xE2\x82\xAC";
  }
  app.add("frame", "huge", element(role::pushButton, name));
  prepare();
  const std::string read = this->read("huge")->name;
  EXPECT_EQ(read.size(), 1 + (kLongestText - 1) / 3 * 3);
  EXPECT_EQ(read, name.substr(0, read.size()));
}

TEST_F(SourceFixture, ASnapshotThatWasDroppedWhileItWasReadIsNotKept) {
  app.add("frame", "ok", element(role::pushButton, "OK"));
  AtspiAccessibility platform(source(), windows);
  app.beforeEachAnswer([&platform](const std::string& id, const std::string& member) {
    if (id == "ok" && member == "GetState") {
      platform.endSnapshot();
    }
  });
  platform.prepareSnapshot(app.root(), true);
  EXPECT_EQ(source().last, nullptr);
  const size_t before = app.timesAsked("Accessible.GetRole ok");
  platform.copyAttributeValue(app.ref("ok"), "AXRole");
  EXPECT_GT(app.timesAsked("Accessible.GetRole ok"), before) << "read live";
}

TEST_F(SourceFixture, NothingIsAskedOfAnApplicationForAllPropertiesAtOnce) {
  app.add("frame", "ok", element(role::pushButton, "OK"));
  prepare(false);
  view().facts(app.ref("ok"), ~facts::Set{0});
  for (const char* id : {"root", "frame", "ok"}) {
    EXPECT_FALSE(app.wasAsked(std::string("Properties.GetAll ") + id));
  }
}

}  // namespace
}  // namespace jumplark::atspi
