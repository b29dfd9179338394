#pragma once

#include "backends/linux/atspi/source/ElementSource.h"
#include "backends/linux/atspi/vocabulary/AttributeText.h"
#include "backends/linux/atspi/vocabulary/FrameWindows.h"
#include "backends/linux/atspi/vocabulary/Neighbours.h"
#include "backends/linux/atspi/vocabulary/PanelFrames.h"
#include "backends/linux/atspi/vocabulary/RoleMap.h"
#include "backends/linux/atspi/vocabulary/TreeShape.h"

namespace jumplark::atspi {

/// Everything that gives facts their meaning, wired together once. What it remembers belongs to the current snapshots.
struct Vocabulary {
  Vocabulary(ElementSource& elementSource, WindowSystem& windowSystem)
      : source(elementSource),
        windows(windowSystem),
        neighbours(source),
        panels(source, windows),
        roles(neighbours, panels),
        shape(source, neighbours, roles),
        frames(source, windows),
        text(source, neighbours) {}
  Vocabulary(const Vocabulary&) = delete;
  Vocabulary& operator=(const Vocabulary&) = delete;

  /// A snapshot begins: what was remembered may no longer hold.
  void snapshotPrepared() {
    panels.refresh();
    frames.forget();
    snapshotsEnded();
  }
  /// Windows stay known, so that raising one does not wait for its application.
  void snapshotsEnded() {
    shape.snapshotsChanged();
    text.snapshotsChanged();
  }

  ElementSource& source;
  WindowSystem& windows;
  Neighbours neighbours;
  PanelFrames panels;
  RoleMap roles;
  TreeShape shape;
  FrameWindows frames;
  AttributeText text;
};

/// One element while something is asked of it.
struct Subject {
  Vocabulary* vocabulary = nullptr;
  FactsPointer element;
  std::string_view role;  ///< "AX" role
};

}  // namespace jumplark::atspi
