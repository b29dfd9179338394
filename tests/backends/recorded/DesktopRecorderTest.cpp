#include "backends/recorded/DesktopRecorder.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "backends/recorded/MenuCommandJson.h"
#include "backends/recorded/RecordedPlatform.h"
#include "backends/recorded/RecordedValues.h"
#include "support/TemporaryFolder.h"

namespace jumplark {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kDesktop = R"({
  "screens": [[0,0,1440,900]], "pointer": [50,840], "frontmost": 2, "dock": "panel",
  "applications": [{"pid":1, "bundle_id":"editor", "name":"Editor", "element":"app"},
                   {"pid":2, "bundle_id":"terminal", "name":"Terminal", "element":"term"},
                   {"pid":3, "bundle_id":"panel", "name":"Panel", "element":"dock"}],
  "hits": [[40.5,60,"web"]],
  "elements": {
    "app": {"attributes": {"AXRole":"AXApplication", "AXChildren":[{"ref":"w"}], "AXFocusedWindow":{"ref":"w"}}},
    "w": {"attributes": {"AXRole":"AXWindow", "AXTitle":"a \"quoted\" title", "AXParent":{"ref":"app"},
                         "AXPosition":{"point":[0,0]}, "AXSize":{"size":[100.5,100]}, "AXHelp":null,
                         "AXChildren":[{"ref":"web"},{"ref":"gone"},{"ref":"slow"},{"ref":"secret"}]}, "actions":["AXRaise"]},
    "web": {"attributes": {"AXRole":"AXWebArea", "AXParent":{"ref":"w"}, "AXValue":12.5, "AXFlag":true,
                           "AXBad":{"error":-25204}, "AXVisibleCharacterRange":{"range":[0,3]}, "AXChildren":[]},
            "parameterized": {"Search": [{"when":{"only":true,"key":["a","b"]}, "value":[{"ref":"found"}]},
                                         {"when":{"only":true}, "value":[]}],
                              "AXStringForRange": [{"when":{"range":[0,3]}, "value":"abc"}], "Unread": []}},
    "gone": {"error": -25202}, "slow": {"delay_ms": 800},
    "secret": {"attributes": {"AXRole":"AXTextField", "AXSubrole":"AXSecureTextField", "AXValue":"hunter2",
                              "AXTitle":"Password", "AXVisibleCharacterRange":{"range":[0,7]}},
               "parameterized": {"AXStringForRange": [{"value":"hunter2"}]}},
    "found": {"attributes": {"AXRole":"AXLink"}},
    "term": {}, "dock": {"attributes": {"AXRole":"AXApplication"}}
  }})";

const std::vector<std::string> kNames = {"AXRole", "AXSubrole",  "AXTitle",  "AXValue",
                                         "AXHelp", "AXPosition", "AXSize",   "AXFlag",
                                         "AXBad",  "AXNone",     "AXParent", "AXVisibleCharacterRange"};

/// What an enumeration would read, and every answer that it got, as text.
class Reader {
 public:
  explicit Reader(const Platform& platform) : platform_(platform), ax_(*platform.accessibility) {}

  std::vector<std::string> readEverything() {
    const auto dock = platform_.workspace->runningApplicationsWithBundleIdentifier(kDockBundleIdentifier).at(0);
    note("dock", dock.name);
    for (const int32_t pid : {dock.pid, 1}) {
      read(ax_.createApplication(pid));
    }
    for (const auto& [x, y] : {std::pair(40.5F, 60.0F), {10, 10}, {5000, 5000}}) {
      for (const ElementRef& asked : {ax_.systemWideElement(), ax_.createApplication(1)}) {
        noteResult("hit", ax_.copyElementAtPosition(asked, x, y));
      }
    }
    note("pointer", platform_.screens->pointerLocation());
    note("top", platform_.screens->frames().front());
    return answers_;
  }

 private:
  void note(const std::string& what, const AttributeValue& value) {
    answers_.push_back(what + " = " + recorded_values::conditionToJson(value).dump());
  }
  template <typename T>
  T noteResult(const std::string& what, const AccessibilityResult<T>& result) {
    note(what, result.ok() ? AttributeValue(result.value) : AttributeValue(result.error));
    return result.value;
  }

  void read(const ElementRef& element) {
    const std::string id = element.text() + "#" + std::to_string(element.hash());
    if (!seen_.insert(element.text()).second) {
      return;
    }
    const auto names = ax_.copyAttributeNames(element).value;
    for (const char* name : {"AXVisibleChildren", "AXChildren", "AXTitle"}) {
      note(id + " has " + name, std::ranges::count(names, name) > 0);
    }
    noteResult(id, ax_.copyMultipleAttributeValues(element, kNames));
    // A lone read that fails is told apart from none only where somebody would see the difference.
    note(id + " title", ax_.copyAttributeValue(element, "AXTitle").value);
    readParameterized(element, id);
    const int64_t count = noteResult(id + " count", ax_.attributeValueCount(element, "AXChildren"));
    for (int64_t index = 0; index < count; index += 3) {
      for (const auto& child : noteResult(id + " slice", ax_.copyAttributeValues(element, "AXChildren", index, 3))) {
        read(*child.element());
      }
    }
  }

  void readParameterized(const ElementRef& element, const std::string& id) {
    const auto names = ax_.copyParameterizedAttributeNames(element);
    note(id + " parameterized", static_cast<int64_t>(names.value.size()));
    const std::pair<const char*, AttributeValue> parameters[] = {
        {"Search", AttributeValue::Dictionary{{"only", true}}},
        {"Search", AttributeValue::Dictionary{{"only", true}, {"key", AttributeValue::List{"a", "b"}}}},
        {"AXStringForRange", Range{0, 3}},
        {"AXStringForRange", Range{Range::kNotFound, -1}},
    };
    for (const auto& [name, parameter] : parameters) {
      const auto answer = ax_.copyParameterizedAttributeValue(element, name, parameter);
      note(id + name, id.starts_with("web#") && !answer.ok() ? AttributeValue(answer.error) : answer.value);
    }
  }

  Platform platform_;
  AccessibilityPlatform& ax_;
  std::set<std::string> seen_;
  std::vector<std::string> answers_;
};

/// What was answered, and the recording of it.
std::pair<std::vector<std::string>, std::string> record(const std::string& desktop) {
  const auto live = RecordedPlatform::fromText(desktop);
  DesktopRecorder recorder(live->platform());
  recorder.setFrontmost(1);
  const auto answers = Reader(recorder.platform()).readEverything();
  return {answers, recorder.text()};
}

/// The answers without those about what a password field holds, which a recording leaves out on purpose.
std::vector<std::string> withoutSecrets(std::vector<std::string> answers) {
  std::erase_if(answers, [](const std::string& answer) { return answer.starts_with("secret#"); });
  return answers;
}

TEST(DesktopRecorder, aRecordingAnswersAsTheLiveDesktopDidAndIsTheSameEachTime) {
  const auto& [answers, text] = record(kDesktop);
  const auto replayed = RecordedPlatform::fromText(text);
  EXPECT_EQ(withoutSecrets(Reader(replayed->platform()).readEverything()), withoutSecrets(answers));
  EXPECT_EQ(replayed->workspace().frontmostApplication()->name, "Editor");
  EXPECT_EQ(record(kDesktop).second, text);
  EXPECT_EQ(record(text).second, text) << "a recording of a recording is that recording";
}

TEST(DesktopRecorder, whatAPasswordFieldHoldsIsNeverWritten) {
  const auto& [answers, text] = record(kDesktop);
  EXPECT_THAT(answers, ::testing::Contains(HasSubstr("hunter2")));
  EXPECT_THAT(text, AllOf(Not(HasSubstr("hunter2")), HasSubstr("AXSecureTextField"), HasSubstr("\"abc\"")));

  // A field whose kind was not read is asked for it before its value is written.
  const auto live = RecordedPlatform::fromText(kDesktop);
  DesktopRecorder recorder(live->platform());
  live->accessibility().setAttribute("plain", "AXValue", "public");
  live->accessibility().setAttribute("vanished", "AXValue", "maybe secret");
  for (const auto& [id, value] : {std::pair("secret", "hunter2"), {"plain", "public"}, {"vanished", "maybe secret"}}) {
    const auto read =
        recorder.platform().accessibility->copyAttributeValue(live->accessibility().element(id), "AXValue");
    EXPECT_EQ(read.value, AttributeValue(value));
  }
  live->accessibility().removeElement("vanished");
  EXPECT_THAT(recorder.text(), AllOf(Not(HasSubstr("hunter2")), Not(HasSubstr("maybe secret")), HasSubstr("public")));
}

TEST(DesktopRecorder, listsKeepTheirLengthAndOrderAndTextsWhatIsWellFormed) {
  const auto live = RecordedPlatform::fromText(R"({"elements": {"e": {"attributes": {
      "Sliced":[0,1,2,3,4,5,6], "Counted":[1,2,3], "Whole":[1,2]}}}})");
  live->accessibility().setAttribute("e\xFF", "Text", std::string("a\xC3(\xED\xA0\x80\0\xF0\x9F\x98\x80", 11));
  DesktopRecorder recorder(live->platform());
  auto& ax = *recorder.platform().accessibility;
  const ElementRef e = live->accessibility().element("e");
  for (const int64_t index : {4, 0}) {
    ax.copyAttributeValues(e, "Sliced", index, 4);
  }
  ax.attributeValueCount(e, "Counted");
  ax.copyAttributeValue(e, "Whole");
  ax.copyAttributeValue(live->accessibility().element("e\xFF"), "Text");

  const auto replayed = RecordedPlatform::fromText(recorder.text());
  auto& again = replayed->accessibility();
  const std::string mark = "\xEF\xBF\xBD";
  EXPECT_EQ(again.copyAttributeValue(again.element("e"), "Sliced").value,
            AttributeValue(AttributeValue::List{0, 1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(again.attributeValueCount(again.element("e"), "Counted").value, 3);
  EXPECT_EQ(again.attributeValueCount(again.element("e"), "Whole").value, 2);
  EXPECT_EQ(again.copyAttributeValue(again.element("e" + mark), "Text").value,
            AttributeValue("a" + mark + "(" + mark + std::string(1, '\0') + "\xF0\x9F\x98\x80"));
}

TEST(DesktopRecorder, menusAreReadBackAsTheyWere) {
  const char* const written =
      R"([{"path":["Edit","Cut"],"keys":"Control+X"},{"path":["View","Grid"],"mark":"check","on":true},)"
      R"({"path":["Quit"],"enabled":false,"open":true,"mark":"radio"}])";
  const auto live = RecordedPlatform::fromText(kDesktop);
  DesktopRecorder recorder(live->platform());
  recorder.setMenus(1, menu_command_json::fromJson(nlohmann::json::parse(written)));
  const RecordedDesktop again = RecordedDesktop::fromText(recorder.text(), "recorded");
  EXPECT_EQ(menu_command_json::toJson(again.applications.at(0).menus), nlohmann::json::parse(written));
  EXPECT_TRUE(again.applications.at(1).menus.empty());
  const MenuCommand& last = again.applications.at(0).menus.at(2);
  EXPECT_TRUE(!last.isEnabled && last.isOpen && !last.isOn && last.mark == MenuCommand::Mark::radio);
}

TEST(DesktopRecorder, replacesAFileOnlyWhenAllIsWritten) {
  const testing::TemporaryFolder folder;
  const std::string path = folder / "desktop.json";
  const auto live = RecordedPlatform::fromText(kDesktop);
  DesktopRecorder recorder(live->platform());
  recorder.save(path);
  recorder.save(path);
  EXPECT_EQ(RecordedDesktop::fromFile(path).applications.size(), 3U);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1) << "nothing unfinished is left";
  EXPECT_EQ(std::filesystem::status(path).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  EXPECT_THROW(recorder.save(folder / "missing/desktop.json"), std::system_error);
}

TEST(RecordedValues, whatIsWrittenIsReadBack) {
  const double inf = std::numeric_limits<double>::infinity();
  const std::pair<AttributeValue, AttributeValue> cases[] = {
      {Rect{0.1, -2, 1e300, 3}, Rect{0.1, -2, 1e300, 3}},
      {3.0, 3.0},
      {inf, {}},
      {Point{inf, 0}, {}},
      {ElementRef(), {}},
  };
  for (const auto& [value, expected] : cases) {
    const auto json = nlohmann::json::parse(recorded_values::toJson(value).dump());
    EXPECT_EQ(recorded_values::fromJson(json, [](const std::string&) { return ElementRef(); }), expected) << json;
  }
}

}  // namespace
}  // namespace jumplark
