#pragma once

class QWidget;

/// The pages of the demonstration window; each reports what happens on it (see Report.h).
namespace demo {

/// Labelled fields, a password, check boxes, radio buttons, combo boxes, slider, spin box, buttons, one that opens the
/// dialog "Confirm".
QWidget* makeFormPage();
/// 2,000 rows of three columns: "Item N", "Value N", "Note N". "selected row N".
QWidget* makeTablePage();
/// Folders that can be expanded. "expanded NAME", "collapsed NAME", "selected NAME".
QWidget* makeTreePage();
/// "chosen NAME".
QWidget* makeListPage();
/// Buttons "Entry 1" to "Entry 60", most of them below the fold.
QWidget* makeScrollPage();
/// More than there is room for: a tool bar that is too narrow, whose button "Fill" has an arrow for its menu while
/// "Line" has nothing else, a row of twenty tabs, and a list of "Layer 1" to "Layer 100" that is scrolled by forty.
QWidget* makeCrowdedPage();

}  // namespace demo
