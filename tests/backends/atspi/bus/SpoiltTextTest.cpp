#include "backends/atspi/support/SourceFixture.h"
#include "backends/linux/atspi/vocabulary/AtspiAccessibility.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {
namespace {

using namespace std::string_literals;

const std::pair<const char*, std::string> kInvalid[] = {
    {"no byte of any character", "\xFF\xFF\xFF"s},          {"overlong", "\xC0\xAF\xE0\x80\xAF\xF0\x80\x80"s},
    {"surrogates", "\xED\xA0\xBD\xED\xB8\x80zz"s},          {"cut off", "abcdef\xE2\x82"s},
    {"beyond the last character", "\xF4\x90\x80\x80zzzz"s},
};

/// A window in which every kind of text that an element may have is spoilt once. Read by walking, or from a cache; by a
/// socket of the application's own, since a bus shuts out who says what is no UTF-8.
class SpoiltText : public SourceFixture, public ::testing::WithParamInterface<const char*> {
 protected:
  SpoiltText() : SourceFixture(GetParam(), "3.24") { app.openSocket(); }

  void spoil(const std::string& bytes) {
    app.at("frame") = element(role::frame, "Window", {100, 50, 400, 300});
    add("frame", "first", role::pushButton, "first");
    add("frame", "name", role::pushButton, bytes);
    add("frame", "description", role::pushButton).description = "so: " + bytes;
    add("frame", "text", role::entry).saying(bytes).with("EditableText");
    add("frame", "attributes", role::entry).attributes = {{"placeholder-text", bytes}, {bytes, "value"}};
    add("frame", "last", role::pushButton, "last");
    app.cache({"frame", "first", "name", "description", "text", "attributes", "last"});
  }
};

TEST_P(SpoiltText, costsNothingButItself) {
  spoil("right");
  ASSERT_EQ(source().application(getpid()), app.root());
  AtspiAccessibility platform(source(), windows);
  for (const auto& [what, bytes] : kInvalid) {
    SCOPED_TRACE(what);
    spoil(bytes);
    platform.prepareSnapshot(app.root(), true);
    for (const FactsPointer& e : elements()) {
      for (const std::string& name : platform.copyAttributeNames(e->ref).value) {
        const AttributeValue value = platform.copyAttributeValue(e->ref, name).value;
        EXPECT_TRUE(!value.text() || wellFormedUtf8(*value.text()) == *value.text()) << name << e->ref.text();
      }
    }
    EXPECT_TRUE(live().facts(app.ref("last"), facts::identity).ok()) << "an answer was waited for in vain";
    EXPECT_EQ(names(), "first name description text attributes last");
    for (const char* id : {"first", "last"}) {
      EXPECT_EQ(read(id)->name, id);
      EXPECT_TRUE(read(id)->extents.has_value()) << id;
    }
  }
  // The link has stayed, and says what is right again.
  const int byBus = app.peer().received();
  spoil("€ value");
  prepare();
  EXPECT_EQ(read("name")->name, "€ value");
  EXPECT_EQ(read("description")->description, "so: € value");
  EXPECT_EQ(read("text")->shortText, "€ value");
  EXPECT_EQ(read("attributes")->attributes.at("placeholder-text"), "€ value");
  EXPECT_EQ(app.peer().received(), byBus);
}

TEST_P(SpoiltText, isNotAskedForAgainAndAgainAsAWholeCache) {
  spoil(kInvalid[0].second);
  for (int i = 0; i < 6; ++i) {
    prepare();
    EXPECT_EQ(read("last")->name, "last");
  }
  EXPECT_LE(app.timesAsked("Cache.GetItems cache"), 2U);
}

INSTANTIATE_TEST_SUITE_P(Toolkits, SpoiltText, ::testing::Values("gtk", "Qt"));

}  // namespace
}  // namespace jumplark::atspi
