#pragma once

#include <QString>

class QAbstractButton;
class QAction;
class QComboBox;
class QMenu;
class QWidget;

/// What the demonstration program tells the tests on standard output: one flushed line for every effect, so that an
/// effect is proved by the program itself and not by what its accessibility tree claims.
namespace demo {

void report(const QString& line);

/// "clicked TEXT", and "checked TEXT true|false" instead for buttons that can be checked.
void reportButton(QAbstractButton* button);
/// "triggered TEXT", with " true|false" after it for actions that can be checked.
void reportAction(QAction* action);
/// "menu-opened TITLE" once its window shows, "menu-closed TITLE".
void reportMenu(QMenu* menu);
/// "list-opened NAME" when the list of a combo box shows.
void reportList(QComboBox* combo);
/// "focused NAME", NAME being the object name, and "pressed X,Y" or "double-pressed X,Y" (pixels of the root window),
/// followed by " with modifiers" when one is down, for the whole program.
void reportFocusAndPresses();

/// Writes the pixel rectangles of everything in a window to a JSON file: a list of {"kind","name","rect","shown"}, rect
/// being [x,y,width,height] in pixels of the root window and "shown" whether any of it can be seen.
void dumpRects(QWidget* window, const QString& path);

}  // namespace demo
