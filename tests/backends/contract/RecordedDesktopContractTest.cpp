#include "backends/contract/DesktopContractCases.h"
#include "backends/contract/MenusContractCases.h"
#include "backends/recorded/RecordedPlatform.h"
#include "support/DesktopText.h"

namespace jumplark::contract {
namespace {

class RecordedContractDesktop : public ContractDesktop {
 public:
  Platform platform() override { return recorded_->platform(); }
  int32_t targetPid() override { return 1; }
  std::string buttonTitle() override { return "Save"; }
  int32_t absentPid() override { return 99; }

 private:
  std::unique_ptr<RecordedPlatform> recorded_ = RecordedPlatform::fromText(testing::DesktopText::of(R"(
      app AXApplication AXTitle="Editor" AXFocusedWindow=@window AXMenuBar=null
        window AXWindow 100,100/600,400 AXTitle="Untitled" !AXRaise
          group AXGroup 100,100/600,40
            save AXButton 110,105/80,25 AXTitle="Save" !AXPress
              icon AXImage 140,110/16,16
          field AXTextField 110,200/500,30 AXValue="text" AXFocused=false
      dock AXApplication)"));
};

INSTANTIATE_TEST_SUITE_P(Backends, DesktopContract,
                         ::testing::Values(ContractDesktopKind{"recorded", []() -> std::unique_ptr<ContractDesktop> {
                                                                 return std::make_unique<RecordedContractDesktop>();
                                                               }}));

class RecordedMenusDesktop : public MenusDesktop {
 public:
  Platform platform() override { return recorded_->platform(); }
  int32_t targetPid() override { return 1; }
  Path markable() override { return {"View", "Grid"}; }
  Path disabled() override { return {"Edit", "Cut"}; }

 private:
  std::unique_ptr<RecordedPlatform> recorded_ = RecordedPlatform::fromText(
      R"({"applications": [{"pid": 1, "menus": [{"path": ["Edit", "Cut"], "enabled": false},
                                                {"path": ["View", "Grid"], "mark": "check"}]}]})");
};

INSTANTIATE_TEST_SUITE_P(Backends, MenusContract,
                         ::testing::Values(MenusDesktopKind{"recorded", []() -> std::unique_ptr<MenusDesktop> {
                                                              return std::make_unique<RecordedMenusDesktop>();
                                                            }}));

}  // namespace
}  // namespace jumplark::contract
