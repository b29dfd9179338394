#pragma once

#include <optional>
#include <span>
#include <vector>

#include "query/commands/CommandIndex.h"

namespace jumplark {

/// Which of the commands that were found show in a list of a few rows, and which one is selected: the first one until
/// the user chooses another. One thread at a time.
class CommandList {
 public:
  static constexpr size_t kRows = 8;
  enum class Step { next, previous, pageDown, pageUp, first, last };

  /// What another query finds: the list begins at its top.
  void replace(std::vector<CommandMatch> matches);
  /// What the same query finds among more commands. `chosen` is the number that the command which the user has chosen
  /// has now; it stays selected, in the row where it shows. Without one the first is selected.
  void update(std::vector<CommandMatch> matches, std::optional<uint32_t> chosen);

  /// Moves the selection; next and previous go on at the other end.
  void step(Step step);
  /// Shows later rows (earlier ones, for a negative number) and leaves the selection.
  void scroll(int rows);
  /// Selects one of the rows that show; false when there is none.
  bool selectRow(size_t row);

  /// The command that the user has chosen with step() or selectRow().
  std::optional<uint32_t> chosen() const { return isChosen_ ? selected() : std::nullopt; }
  std::optional<uint32_t> selected() const;
  size_t selectedIndex() const { return selected_; }
  size_t count() const { return matches_.size(); }
  size_t first() const { return first_; }
  const std::vector<CommandMatch>& matches() const { return matches_; }
  std::span<const CommandMatch> shown() const;

 private:
  void show(size_t index);

  std::vector<CommandMatch> matches_;
  size_t selected_ = 0;
  size_t first_ = 0;
  bool isChosen_ = false;
};

}  // namespace jumplark
