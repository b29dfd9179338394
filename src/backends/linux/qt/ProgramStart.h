#pragma once

#include <QStringList>
#include <functional>

namespace jumplark {

/// Starts another program, which goes on when this one ends: in a process session of its own, with the signals of a
/// fresh program, its output dropped. Whether it did its work is told once, on the main thread, by `settled` (may be
/// empty): false when it could not be started or soon ended with a failure; true when it ended well, or still runs
/// after ten seconds, as one that shows a window itself does. Main thread only; needs its event loop.
void startProgram(const QString& program, const QStringList& arguments, std::function<void(bool worked)> settled);

}  // namespace jumplark
