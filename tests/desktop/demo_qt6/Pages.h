#pragma once

class QMainWindow;
class QString;

namespace demo {

/// Fills the window with one of each thing that people click: menus, tool bar and tabs, of which this page is in front.
///
/// Form      labelled fields, a password, boxes and buttons, one of which opens the dialog "Confirm"
/// Table     100,000 rows of "Item N", "Value N", "Note N"
/// Tree      folders that can be expanded
/// List      cities
/// Scrolled  buttons "Entry 1" to "Entry 60", most of them below the fold
///
/// These are there only when they are the page in front:
///
/// Text      5 MB of numbered lines
/// Secrets   password fields of each kind, and one that shows "plain to see"
///
/// "Crowded" is the form with more than there is room for: in the tool bar "Fill", which has an arrow for its menu,
/// "Line", which has nothing else, and "Tool 1" to "Tool 20", and as many tabs "Sheet 1" and so on.
void fill(QMainWindow& window, const QString& page);

}  // namespace demo
