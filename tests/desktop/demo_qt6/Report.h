#pragma once

class QWidget;

/// What the demonstration program tells the tests on standard output: one flushed line for every effect, so that an
/// effect is proved by the program itself and not by what its accessibility tree claims.
namespace demo {

/// From now on, of what is in the window now:
///
/// opened NAME, closed NAME            a window, menu or list of a combo box, once it shows
/// clicked TEXT, checked TEXT true     a button
/// triggered TEXT                      an action
/// text NAME TEXT, combo NAME TEXT     a field or combo box holds it now
/// tab TITLE, selected TEXT            is in front, or current
/// focused NAME
/// pressed X,Y, double-pressed X,Y     in pixels of the root window; with modifiers: more after it
void reportEverything(QWidget* window);

/// "part NUMBER X Y WIDTH HEIGHT VISIBLE KIND NAME" for everything in a window, in pixels of the root window, and then
/// "parts told"; NUMBER is how often that was done before. VISIBLE is the smaller side of what can be seen of it,
/// KIND the widget's class, "menu", "tab" or "item".
void tellParts(QWidget* window);

}  // namespace demo
