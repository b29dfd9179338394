#pragma once

#include <memory>
#include <utility>

#include "backends/linux/atspi/source/View.h"
#include "backends/linux/atspi/vocabulary/AttributeText.h"
#include "backends/linux/atspi/vocabulary/FrameWindows.h"
#include "backends/linux/atspi/vocabulary/RoleMap.h"
#include "backends/linux/atspi/vocabulary/TreeShape.h"

namespace jumplark::atspi {

/// Everything that gives the facts of one view their meaning. Never changes; what it finds out is kept by the view's
/// snapshots.
struct Vocabulary {
  Vocabulary(View of, WindowSystem& windowSystem) : windows(windowSystem), view(std::move(of)) {}
  Vocabulary(const Vocabulary&) = delete;
  Vocabulary& operator=(const Vocabulary&) = delete;

  WindowSystem& windows;
  const View view;
  const RoleMap roles{view, windows};
  const TreeShape shape{view, roles};
  const FrameWindows frames{view, windows};
  const AttributeText text{view};
};

using VocabularyPointer = std::shared_ptr<const Vocabulary>;

/// One element while something is asked of it.
struct Subject {
  VocabularyPointer vocabulary;
  FactsPointer element;
  std::string_view role;  ///< "AX" role
};

}  // namespace jumplark::atspi
