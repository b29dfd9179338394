#include <gmock/gmock.h>
#include <systemd/sd-bus.h>

#include "backends/atspi/support/SourceFixture.h"
#include "backends/linux/atspi/element/Parts.h"

namespace jumplark::atspi {
namespace {

using ::testing::ElementsAre;

/// An application with the window 400 by 300 at 100,50.
class PartsOfQt : public SourceFixture {
 protected:
  using SourceFixture::SourceFixture;

  /// What comes after the things that the application told, with its place.
  std::vector<std::string> parts() {
    prepare();
    std::vector<std::string> found;
    for (const FactsPointer& e : elements()) {
      if (ownerOf(*handleOf(e->ref))) {
        std::ostringstream text;
        text << e->name << ' ' << e->extents->x << ',' << e->extents->y << ' ' << e->extents->width << 'x'
             << e->extents->height;
        found.push_back(text.str());
        EXPECT_EQ(e->parent, app.ref("frame"));
      } else {
        EXPECT_TRUE(found.empty()) << e->name << " stands behind a part";
      }
    }
    return found;
  }
  ElementRef part(const std::string& id, const std::string& name) { return partOf(*handleOf(app.ref(id)), name); }
};

class PartsOfGtk3 : public PartsOfQt {
 protected:
  PartsOfGtk3() : PartsOfQt("gtk", "3.24.38") {}
};

constexpr uint64_t kClosed = kShown | bit(state::expandable);
constexpr uint64_t kOpen = kClosed | bit(state::expanded);

TEST_F(PartsOfGtk3, areSteppersAndTriangles) {
  add("frame", "copies", role::spinButton, "Copies:", {110, 60, 120, 30});
  add("frame", "upright", role::spinButton, "", {300, 60, 40, 120});
  add("frame", "off", role::spinButton, "Off", {110, 100, 120, 30}).states = bit(state::showing);
  add("frame", "view", role::scrollPane, "", {110, 150, 150, 60});
  add("view", "tree", role::treeTable, "", {110, 150, 150, 300});
  // Each level is told twice as far to the right as it is.
  add("tree", "open", role::tableCell, "Fruit", {150, 150, 100, 20}).states = kOpen;
  add("tree", "inner", role::tableCell, "Apples", {190, 170, 60, 20}).states = kClosed;
  add("tree", "leaf", role::tableCell, "Stone", {150, 190, 100, 20});
  add("tree", "below", role::tableCell, "Far", {150, 230, 100, 20}).states = kClosed;
  EXPECT_THAT(parts(),
              ElementsAre("Increase Copies 200,60 30x30", "Decrease Copies 170,60 30x30", "Increase 300,60 40x40",
                          "Decrease 300,140 40x40", "Collapse Fruit 110,150 20x20", "Expand Apples 130,170 20x20"));
}

TEST_F(PartsOfGtk3, areCrossesOfTabsThatStandFurtherApartThanTheirCaptionsNeed) {
  const std::tuple<const char*, double, double> rows[] = {
      {"plain", 20, 32}, {"crossed", 20, 64}, {"iconic", 44, 64}, {"lonely", 20, 0}};
  double y = 60;
  for (const auto& [id, before, apart] : rows) {
    add("frame", id, role::pageTabList, "", {110, y, 300, 20});
    add(id, std::string(id) + "1", role::pageTab, id, {110 + before, y, 60, 20});
    if (apart > 0) {
      add(id, std::string(id) + "2", role::pageTab, "other", {170 + before + apart, y, 60, 20});
    }
    y += 30;
  }
  EXPECT_THAT(parts(), ElementsAre("Close crossed 190,90 32x20", "Close other 314,90 32x20"));
}

TEST_F(PartsOfGtk3, areWhereTheirElementIsWhenTheyAreActedOn) {
  add("frame", "copies", role::spinButton, "Copies", {110, 60, 120, 30});
  parts();
  const ElementRef more = part("copies", "more");
  app.at("copies").rect = {150, 80, 120, 30};
  EXPECT_EQ(live().facts(more, facts::extents).value->extents, (Rect{240, 80, 30, 30}));
  app.at("copies").states = 0;
  EXPECT_FALSE(live().facts(more, facts::extents).value->is(state::showing));
  app.remove("copies");
  EXPECT_EQ(live().facts(more, facts::extents).error, AccessibilityError::invalidElement);
}

TEST_F(PartsOfQt, areArrowsOfFieldsAndOfRows) {
  add("frame", "zoom", role::spinButton, "Zoom", {110, 60, 100, 20});
  add("frame", "tree", role::tree, "", {110, 100, 200, 100});
  for (const auto& [id, x, y] : {std::tuple("a", 130, 100), {"b", 200, 100}, {"c", 150, 120}}) {
    add("tree", id, role::tableCell, id, {double(x), double(y), 50, 20}).states = kClosed;
  }
  EXPECT_THAT(parts(), ElementsAre("Increase Zoom 194,60 16x10", "Decrease Zoom 194,70 16x10", "Expand a 110,100 20x20",
                                   "Expand c 130,120 20x20"));
}

TEST_F(PartsOfGtk3, areLinksWhereTheirWordsAre) {
  const std::string words = "See the guide and the list";
  add("frame", "text", role::label, words, {110, 60, 200, 40}).saying(words).with("Hypertext");
  add("frame", "plain", role::label, "Plain", {110, 200, 200, 20}).with("Text").with("Hypertext");
  for (const char* link : {"guide", "list"}) {
    add("text", link, role::link, "", {-1, -1, -1, -1}).with("Hyperlink");
  }
  app.answerInstead([&](sd_bus_message* message, const std::string& id, const std::string& member) {
    int32_t first = 0;
    int32_t second = 0;
    const char* interface = "";
    const char* name = "";
    if (member == "GetNLinks") {
      return sd_bus_reply_method_return(message, "i", 2) >= 0;
    }
    if (member == "GetLink" && sd_bus_message_read(message, "i", &first) > 0) {
      const ElementRef link = app.ref(first == 0 ? "guide" : "list");
      return sd_bus_reply_method_return(message, "(so)", handleOf(link)->busName().c_str(),
                                        handleOf(link)->path().c_str()) >= 0;
    }
    if (member == "GetRangeExtents" && sd_bus_message_read(message, "ii", &first, &second) > 0) {
      // The second link goes on in another line.
      const bool isBroken = first == 18 && second == 26;
      return sd_bus_reply_method_return(message, "iiii", 110 + first * 7, 60, (second - first) * 7,
                                        isBroken ? 40 : 20) >= 0;
    }
    if (member == "Get" && sd_bus_message_read(message, "ss", &interface, &name) > 0 &&
        std::string(interface).ends_with("Hyperlink")) {
      const bool isStart = std::string(name) == "StartIndex";
      return sd_bus_reply_method_return(message, "v", "i", id == "guide" ? (isStart ? 4 : 13) : isStart ? 18 : 26) >= 0;
    }
    sd_bus_message_rewind(message, 1);
    return false;
  });
  EXPECT_THAT(parts(), ElementsAre("the guide 138,60 63x20", "the list 236,60 28x20"));
  EXPECT_EQ(names().find("guide"), std::string::npos) << "what has no place is not told a second time";
  EXPECT_FALSE(app.wasAsked("Hypertext.GetNLinks plain")) << "it holds nothing";
}

TEST_F(PartsOfQt, areNotMadeOfRowsThatAreOnlyDrawn) {
  add("frame", "list", role::list, "", {110, 60, 200, 100});
  add("list", "swatch", role::listItem, "", {110, 60, 20, 20});
  add("swatch", "colour", role::drawingArea, "", {110, 60, 20, 20}).description = "Light Blue 2";
  add("list", "words", role::listItem, "", {110, 80, 20, 20});
  add("words", "label", role::label, "Blue", {110, 80, 20, 20});
  EXPECT_THAT(parts(), ElementsAre());
  EXPECT_EQ(read("swatch")->name, "Light Blue 2");
  EXPECT_EQ(read("swatch")->childCount, 0);
  EXPECT_EQ(names(), "list swatch words label");
}

}  // namespace
}  // namespace jumplark::atspi
