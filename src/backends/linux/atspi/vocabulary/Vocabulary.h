#pragma once

#include <memory>
#include <utility>

#include "backends/linux/atspi/source/View.h"
#include "backends/linux/atspi/vocabulary/AttributeText.h"
#include "backends/linux/atspi/vocabulary/FrameWindows.h"
#include "backends/linux/atspi/vocabulary/PanelFrames.h"
#include "backends/linux/atspi/vocabulary/RoleMap.h"
#include "backends/linux/atspi/vocabulary/TreeShape.h"

namespace jumplark::atspi {

/// Everything that gives the facts of one view their meaning. What it remembers holds as long as the view does; another
/// snapshot is another view.
struct Vocabulary {
  Vocabulary(View of, WindowSystem& windowSystem, std::shared_ptr<PanelFrames> panelFrames)
      : windows(windowSystem),
        view(std::move(of)),
        panels(std::move(panelFrames)),
        roles(view, *panels),
        shape(view, roles),
        frames(view, windows),
        text(view) {}
  Vocabulary(const Vocabulary&) = delete;
  Vocabulary& operator=(const Vocabulary&) = delete;

  WindowSystem& windows;
  const View view;
  const std::shared_ptr<PanelFrames> panels;
  RoleMap roles;
  TreeShape shape;
  FrameWindows frames;
  AttributeText text;
};

/// One element while something is asked of it.
struct Subject {
  std::shared_ptr<Vocabulary> vocabulary;
  FactsPointer element;
  std::string_view role;  ///< "AX" role
};

}  // namespace jumplark::atspi
