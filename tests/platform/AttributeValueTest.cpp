#include "platform/AttributeValue.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

namespace jumplark {
namespace {

TEST(AttributeValue, IsWrittenAsText) {
  const std::vector<std::pair<AttributeValue, std::string>> cases = {
      {AttributeValue(), ""},
      {true, "1"},
      {false, "0"},
      {42, "42"},
      {3.0, "3"},
      {-0.5, "-0.5"},
      {1e300, "1e+300"},
      {"text", "text"},
      {Range{3, 4}, "{3, 4}"},
      {0.1, "0.1"},
      {int64_t{1} << 60, "1152921504606846976"},
  };
  for (const auto& [value, text] : cases) {
    EXPECT_EQ(value.description(), text);
  }
}

TEST(AttributeValue, ValuesOfDifferentKindsDiffer) {
  EXPECT_NE(AttributeValue(true), AttributeValue(1));
  EXPECT_NE(AttributeValue(1), AttributeValue(1.0));
  EXPECT_NE(AttributeValue(), AttributeValue(""));
  EXPECT_EQ(AttributeValue(AttributeValue::List{1, "a"}), AttributeValue(AttributeValue::List{1, "a"}));
  EXPECT_NE(AttributeValue(AttributeValue::List{1, "a"}), AttributeValue(AttributeValue::List{"a", 1}));
}

TEST(ElementRef, EqualTextsAreTheSameElementAndHashAsFNV1a) {
  const ElementRef a(std::make_shared<const ElementHandle>("a"));
  const ElementRef again(std::make_shared<const ElementHandle>("a"));
  const ElementRef other(std::make_shared<const ElementHandle>("b"));
  EXPECT_EQ(a, again);
  EXPECT_NE(a, other);
  EXPECT_NE(a, ElementRef());
  // The published test values of FNV-1a, 64 bits, for "a" and "foobar".
  EXPECT_EQ(a.hash(), 0xaf63dc4c8601ec8cULL);
  EXPECT_EQ(fnv1a64("foobar"), 0x85944171f73967e8ULL);
}

}  // namespace
}  // namespace jumplark
