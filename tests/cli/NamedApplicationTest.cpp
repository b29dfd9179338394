#include "cli/NamedApplication.h"

#include <gmock/gmock.h>

#include "cli/CommandFailure.h"
#include "support/RecordedFixture.h"

namespace jumplark::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

constexpr const char* kDesktop = R"({"screens": [[0,0,1440,900]], "frontmost": 1,
  "applications": [{"pid":1, "bundle_id":"org.example.Draw", "name":"Office Draw", "element":"draw"},
                   {"pid":2, "bundle_id":"fr.example.redaction", "name":"\u00c9diteur", "element":"editor"},
                   {"pid":3, "bundle_id":"drawer", "name":"Cupboard"},
                   {"pid":4, "bundle_id":"x", "name":"\u03a3\u039f\u03a6\u039f\u03a3 1"}],
  "elements": {"draw": {"attributes": {"AXRole":"AXApplication", "AXTitle":"soffice"}},
               "editor": {"attributes": {"AXRole":"AXApplication", "AXTitle":"cupb"}}}})";

TEST(NamedApplication, isFoundByAnyOfItsNamesTheWholeOneFirst) {
  testing::RecordedFixture desktop(kDesktop);
  const std::pair<const char*, int> cases[] = {{"Office Draw", 1}, {"org.example.draw", 1},
                                               {"ffice", 1},       {"soffice", 1},
                                               {"draw", 1},        {"éditeur", 2},
                                               {"EDITEUR", 2},     {"éd", 2},
                                               {"cupb", 2},        {"cupbo", 3},
                                               {"drawer", 3},      {"drawe", 3},
                                               {"σοφος", 4},       {"σοφοσ", 4},
                                               {"Σοφο", 4}};
  for (const auto& [name, pid] : cases) {
    EXPECT_EQ(applicationNamed(name).pid, pid) << name;
  }
  for (const char* name : {"", "nothing", "draw office"}) {
    EXPECT_THAT([&] { applicationNamed(name); }, ThrowsMessage<CommandFailure>(HasSubstr("there is: Office Draw")))
        << name;
  }
}

}  // namespace
}  // namespace jumplark::cli
