#include "backends/contract/DesktopContractCases.h"
#include "backends/recorded/RecordedPlatform.h"

namespace jumplark::contract {
namespace {

constexpr const char* kDesktop = R"({
  "screens": [[0,0,1440,900]], "pointer": [700,450], "frontmost": 501,
  "applications": [{"pid":501, "bundle_id":"org.example.editor", "name":"Editor", "element":"app"},
                   {"pid":502, "bundle_id":"com.apple.dock", "name":"Dock", "element":"dock"}],
  "elements": {
    "app": {"attributes": {"AXRole":"AXApplication", "AXChildren":[{"ref":"window"}], "AXTitle":"Editor",
                           "AXFocusedWindow":{"ref":"window"}, "AXMenuBar":null}},
    "window": {"attributes": {"AXRole":"AXWindow", "AXTitle":"Untitled", "AXParent":{"ref":"app"},
                              "AXPosition":{"point":[100,100]}, "AXSize":{"size":[600,400]},
                              "AXChildren":[{"ref":"group"},{"ref":"field"}]}, "actions":["AXRaise"]},
    "group": {"attributes": {"AXRole":"AXGroup", "AXParent":{"ref":"window"}, "AXWindow":{"ref":"window"},
                             "AXPosition":{"point":[100,100]}, "AXSize":{"size":[600,40]},
                             "AXChildren":[{"ref":"save"}]}},
    "save": {"attributes": {"AXRole":"AXButton", "AXTitle":"Save", "AXParent":{"ref":"group"},
                            "AXWindow":{"ref":"window"}, "AXPosition":{"point":[110,105]},
                            "AXSize":{"size":[80,25]}, "AXChildren":[{"ref":"icon"}]}, "actions":["AXPress"]},
    "icon": {"attributes": {"AXRole":"AXImage", "AXParent":{"ref":"save"}, "AXWindow":{"ref":"window"},
                            "AXPosition":{"point":[140,110]}, "AXSize":{"size":[16,16]}}},
    "field": {"attributes": {"AXRole":"AXTextField", "AXValue":"text", "AXParent":{"ref":"window"},
                             "AXWindow":{"ref":"window"}, "AXFocused":false,
                             "AXPosition":{"point":[110,200]}, "AXSize":{"size":[500,30]}}},
    "dock": {"attributes": {"AXRole":"AXApplication", "AXChildren":[]}}
  }})";

class RecordedContractDesktop : public ContractDesktop {
 public:
  Platform platform() override { return recorded_->platform(); }
  int32_t targetPid() override { return 501; }
  std::string buttonTitle() override { return "Save"; }
  int32_t absentPid() override { return 99; }

 private:
  std::unique_ptr<RecordedPlatform> recorded_ = RecordedPlatform::fromText(kDesktop);
};

std::unique_ptr<ContractDesktop> makeRecordedDesktop() {
  return std::make_unique<RecordedContractDesktop>();
}

INSTANTIATE_TEST_SUITE_P(Backends, DesktopContract,
                         ::testing::Values(ContractDesktopKind{"recorded", &makeRecordedDesktop}));

}  // namespace
}  // namespace jumplark::contract
