#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "platform/Token.h"
#include "query/commands/CommandIndex.h"

namespace jumplark {

class MainThreadCalls;

/// The commands of the target's menus, as far as they are known, while they are read and from then on until another
/// target takes its place. What is told in the background is prepared there for being searched. Main thread.
class TargetCommands {
 public:
  /// `changed` is called when more is known or the reading is over; `isOther` says that the commands have new numbers.
  /// The calls outlive it, and are closed before it goes.
  TargetCommands(MainThreadCalls& mainThread, std::function<void(bool isOther)> changed);
  TargetCommands(const TargetCommands&) = delete;
  TargetCommands& operator=(const TargetCommands&) = delete;
  ~TargetCommands();

  /// Reads those of the process; what is known of another one is forgotten at once, of the same one when all has been
  /// read, or some stand in open menus. Does nothing where nothing can be told of menus.
  void read(int32_t pid);
  /// Nothing more comes. What stood in open menus is forgotten with all the rest.
  void stop();
  /// Forgets what is known, unless it is of this process.
  void keepOnly(int32_t pid);

  bool isReading() const { return reading_ != 0; }
  const CommandIndex& index() const { return index_; }

 private:
  using Batch = std::shared_ptr<const CommandIndex::Batch>;
  void endReading();
  void arrive(const Batch& batch, bool isLast);

  MainThreadCalls& mainThread_;
  const std::function<void(bool)> changed_;
  CommandIndex index_;
  CommandIndex next_;  ///< what takes the place of the index once it is complete
  bool replaces_ = false;
  int32_t pid_ = -1;
  uint64_t readings_ = 0;
  uint64_t reading_ = 0;  ///< the number of the one that is under way; 0 for none
  std::shared_ptr<std::atomic<bool>> isUnwanted_;
  Token token_;
};

}  // namespace jumplark
