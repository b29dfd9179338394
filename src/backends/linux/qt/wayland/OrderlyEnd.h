#pragma once

namespace jumplark {

class TaskQueue;

/// Where Qt's connection to the compositor breaks, whichever of its threads notices says so and ends the process on the
/// spot. From now on the main thread ends it, with what is registered for a quick exit; where it does not come to that
/// within two seconds, all is as without. Once a process; the queue outlives it.
void endInOrderWithoutCompositor(TaskQueue& mainQueue);

}  // namespace jumplark
