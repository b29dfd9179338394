#include <gmock/gmock.h>
#include <systemd/sd-bus.h>

#include "backends/atspi/SourceFixture.h"
#include "backends/atspi/SpoiltSocket.h"
#include "backends/linux/atspi/vocabulary/AtspiAccessibility.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {
namespace {

using namespace std::string_literals;

struct Bytes {
  const char* what;
  std::string bytes;
};

const std::vector<Bytes> kInvalid{{"no byte of any character", "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s},
                                  {"overlong", "\xC0\xAF\xE0\x80\xAF\xF0\x80\x80"s},
                                  {"surrogates", "\xED\xA0\xBD\xED\xB8\x80zz"s},
                                  {"cut off", "abcdef\xE2\x82"s},
                                  {"beyond the last character", "\xF4\x90\x80\x80zzzz"s}};
constexpr const char* kValid = "\xE2\x82\xAC valu";

/// A window in which every kind of text that an element may have is spoilt once. Read by walking, or from a cache.
class SpoiltText : public SourceFixture, public ::testing::WithParamInterface<const char*> {
 protected:
  SpoiltText() : SourceFixture(GetParam(), "3.24") {
    const std::string marker = SpoiltSocket::kMarker;
    add("first", role::pushButton).name = "first";
    add("name", role::pushButton).name = marker;
    add("description", role::pushButton).description = "so: " + marker;
    FakeElement& text = add("text", role::entry);
    text.interfaces = {"Component", "Text", "EditableText"};
    text.text = marker;
    add("attributes", role::entry).attributes = {{"placeholder-text", marker}, {marker, "value"}, {"tag", "input"}};
    add("role", role::toggleButton).name = "role";
    add("error", role::pushButton).name = "error";
    add("last", role::pushButton).name = "last";
    app.cache({"frame", "first", "name", "description", "text", "attributes", "role", "error", "last"});
    app.answerInstead([marker](sd_bus_message* message, const std::string& id, const std::string& member) {
      if (id == "role" && member == "GetLocalizedRoleName") {
        return sd_bus_reply_method_return(message, "s", marker.c_str()) >= 0;
      }
      return id == "error" && member == "GetRelationSet" &&
             sd_bus_reply_method_errorf(message, "org.example.Odd", "%s", marker.c_str()) >= 0;
    });
  }

  FakeElement& add(const std::string& id, uint32_t role) {
    const double y = 60 + 20 * static_cast<double>(count_++);
    return app.add("frame", id, element(role, "", {110, y, 80, 15}));
  }

  /// Reads all that can be asked for, and expects every text of it to be valid.
  void readEverything() {
    for (const FactsPointer& e : elements()) {
      for (const std::string& name : platform_.copyAttributeNames(e->ref).value) {
        const AttributeValue value = platform_.copyAttributeValue(e->ref, name).value;
        if (const auto* text = value.text()) {
          EXPECT_EQ(wellFormedUtf8(*text), *text) << name << " of " << e->ref.text();
        }
      }
      platform_.copyParameterizedAttributeValue(e->ref, "AXStringForRange", AttributeValue(Range{0, 100}));
    }
  }

  SpoiltSocket socket{app};
  AtspiAccessibility platform_{source(), windows};

 private:
  int count_ = 0;
};

TEST_P(SpoiltText, CostsNothingButItself) {
  ASSERT_EQ(source().application(getpid()), app.root());
  for (const Bytes& invalid : kInvalid) {
    SCOPED_TRACE(invalid.what);
    socket.put(invalid.bytes);
    const int before = socket.spoilt();
    platform_.prepareSnapshot(app.root(), true);
    readEverything();
    EXPECT_TRUE(live().facts(app.ref("last"), facts::identity).ok()) << "an answer was waited for in vain";
    EXPECT_GT(socket.spoilt(), before);
    EXPECT_EQ(names(), "first name description text attributes role error last");
    for (const char* id : {"first", "role", "error", "last"}) {
      EXPECT_EQ(read(id)->name, id);
      EXPECT_TRUE(read(id)->extents.has_value()) << id;
    }
  }
  // The link has stayed, and says what is right again.
  socket.put(kValid);
  const int byBus = app.peer().received();
  prepare();
  EXPECT_EQ(read("name")->name, kValid);
  EXPECT_EQ(read("description")->description, "so: "s + kValid);
  EXPECT_EQ(read("text")->shortText, kValid);
  EXPECT_EQ(read("attributes")->attributes.at("placeholder-text"), kValid);
  EXPECT_EQ(read("role")->localizedRole, kValid);
  EXPECT_EQ(socket.connections(), 1);
  EXPECT_EQ(app.peer().received(), byBus);
}

TEST_P(SpoiltText, IsNotAskedForAgainAndAgainAsAWholeCache) {
  socket.put(kInvalid[0].bytes);
  for (int i = 0; i < 6; ++i) {
    prepare();
    EXPECT_EQ(read("last")->name, "last");
  }
  EXPECT_LE(app.timesAsked("Cache.GetItems cache"), 2U);
}

TEST_P(SpoiltText, InTheHeadOfAMessageIsLikeNoAnswer) {
  ASSERT_EQ(source().application(getpid()), app.root());
  app.answerInstead([](sd_bus_message* message, const std::string& id, const std::string& member) {
    const std::string name = "org.example.Odd"s + SpoiltSocket::kMarker;
    return id == "error" && member == "GetState" &&
           sd_bus_reply_method_errorf(message, name.c_str(), "%s", "spoilt") >= 0;
  });
  source().setMessagingTimeout(0.1);
  socket.put(kInvalid[0].bytes);
  prepare();
  EXPECT_EQ(names(), "first name description text attributes role last");
  app.answerInstead({});
  prepare();
  EXPECT_THAT(names(), ::testing::HasSubstr("error"));
  EXPECT_EQ(socket.connections(), 1);
}

INSTANTIATE_TEST_SUITE_P(Toolkits, SpoiltText, ::testing::Values("gtk", "Qt"));

}  // namespace
}  // namespace jumplark::atspi
