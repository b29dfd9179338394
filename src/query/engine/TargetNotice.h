#pragma once

#include <string>

namespace jumplark {

class JLElement;
class JLElementTree;

/// A text for the user when a snapshot of an application has nothing of it to choose from, which tells why and what can
/// be done about it; empty when there is something. Reads the application's element; not for the main thread.
std::string noticeForTarget(const JLElement& application, const JLElementTree& tree, const std::string& name);

/// True where a page shows of which the snapshot holds nothing: browsers begin to tell of their pages when they are
/// first asked, so that it may hold more a moment later.
bool hasEmptyPage(const JLElementTree& tree);

}  // namespace jumplark
