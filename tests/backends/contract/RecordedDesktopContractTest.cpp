#include "backends/contract/DesktopContractCases.h"
#include "backends/recorded/RecordedPlatform.h"
#include "support/DesktopText.h"

namespace jumplark::contract {

ContractDesktop makeContractDesktop(const std::string& /*backend*/) {
  const std::shared_ptr recorded = RecordedPlatform::fromText(testing::DesktopText::of(R"(
      app AXApplication AXTitle="Editor" AXFocusedWindow=@window AXMenuBar=null
        window AXWindow 100,100/600,400 AXTitle="Untitled" !AXRaise
          group AXGroup 100,100/600,40
            save AXButton 110,105/80,25 AXTitle="Save" !AXPress
              icon AXImage 140,110/16,16
          field AXTextField 110,200/500,30 AXValue="text" AXFocused=false
      dock AXApplication)"));
  return {recorded->platform(), 1, "Save", recorded};
}

INSTANTIATE_TEST_SUITE_P(Backends, DesktopContract, ::testing::Values("recorded"));

}  // namespace jumplark::contract
