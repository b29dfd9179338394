#pragma once

#include <functional>
#include <memory>

namespace jumplark {

class JLElement;
class JLElementTree;

/// Takes the snapshot of an application, reports how long that took, and makes the tree ready to be searched. Null when
/// `isUnwanted` (any thread) says so meanwhile; nothing more is read then, and nothing read is kept. Waits for the
/// application; not for the main thread.
std::shared_ptr<JLElementTree> takeSnapshotOfTarget(const std::shared_ptr<JLElement>& application,
                                                    const std::function<bool()>& isUnwanted);

/// The application's focused window; its model knows all that giving it the focus reads, so that the main thread then
/// asks the application for nothing. Null for none. Waits for the application.
std::shared_ptr<JLElement> focusedWindowOfTarget(const JLElement& application);

}  // namespace jumplark
