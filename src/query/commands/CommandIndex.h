#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Menus.h"
#include "query/commands/CommandQuery.h"

namespace jumplark {

/// A command that a query finds, by its number in the index.
struct CommandMatch {
  uint32_t command = 0;
  float score = 0;
  bool operator==(const CommandMatch&) const = default;
};

/// Commands of menus in the order in which they were told, in the form that queries run over. Searching 5,000 of them
/// takes some milliseconds. One thread at a time, but for prepare().
class CommandIndex {
 public:
  class Batch;
  /// Does the work that each command costs once; any thread. Null when `isUnwanted` says so meanwhile.
  static std::shared_ptr<const Batch> prepare(std::vector<MenuCommand> commands,
                                              const std::function<bool()>& isUnwanted = {});

  void add(std::shared_ptr<const Batch> batch);
  void clear() { *this = {}; }

  size_t size() const { return entries_.size(); }
  /// Some stand in a menu that was open.
  bool hasOpen() const { return hasOpen_; }
  const MenuCommand& command(uint32_t number) const { return *entries_[number].command; }
  const CommandTexts& texts(uint32_t number) const { return *entries_[number].texts; }

  /// Those of open menus first, then the better ones, of scores within 5 % what can be chosen, and then in the order of
  /// the menus. All of them for an empty query.
  std::vector<CommandMatch> search(const std::string& query) const;

 private:
  struct Entry {
    const MenuCommand* command;
    const CommandTexts* texts;
  };
  using Matches = std::vector<CommandMatch>::iterator;
  void order(Matches first, Matches last) const;

  std::vector<std::shared_ptr<const Batch>> batches_;
  std::vector<Entry> entries_;
  bool hasOpen_ = false;
};

}  // namespace jumplark
