#include "query/commands/CommandList.h"

#include <algorithm>

namespace jumplark {

void CommandList::replace(std::vector<CommandMatch> matches) {
  matches_ = std::move(matches);
  selected_ = first_ = 0;
  isChosen_ = false;
}

void CommandList::update(std::vector<CommandMatch> matches, std::optional<uint32_t> chosen) {
  const auto found = std::ranges::find_if(matches, [&](const CommandMatch& match) { return match.command == chosen; });
  if (!chosen || found == matches.end()) {
    replace(std::move(matches));
    return;
  }
  const auto row = static_cast<std::ptrdiff_t>(selected_) - static_cast<std::ptrdiff_t>(first_);
  selected_ = static_cast<size_t>(found - matches.begin());
  matches_ = std::move(matches);
  first_ = selected_;
  scroll(static_cast<int>(-row));
}

void CommandList::step(Step step) {
  if (matches_.empty()) {
    return;
  }
  const size_t last = matches_.size() - 1;
  switch (step) {
    case Step::next:
      selected_ = selected_ == last ? 0 : selected_ + 1;
      break;
    case Step::previous:
      selected_ = selected_ == 0 ? last : selected_ - 1;
      break;
    case Step::pageDown:
      selected_ = std::min(selected_ + kRows, last);
      break;
    case Step::pageUp:
      selected_ -= std::min(selected_, kRows);
      break;
    case Step::first:
      selected_ = 0;
      break;
    case Step::last:
      selected_ = last;
      break;
  }
  isChosen_ = true;
  show(selected_);
}

void CommandList::scroll(int rows) {
  const size_t most = matches_.size() - std::min(matches_.size(), kRows);
  const auto wanted = static_cast<std::ptrdiff_t>(first_) + rows;
  first_ = std::min(static_cast<size_t>(std::max<std::ptrdiff_t>(wanted, 0)), most);
}

bool CommandList::selectRow(size_t row) {
  if (row >= shown().size()) {
    return false;
  }
  selected_ = first_ + row;
  isChosen_ = true;
  return true;
}

std::optional<uint32_t> CommandList::selected() const {
  return selected_ < matches_.size() ? std::optional(matches_[selected_].command) : std::nullopt;
}

std::span<const CommandMatch> CommandList::shown() const {
  return std::span(matches_).subspan(first_, std::min(matches_.size() - first_, kRows));
}

void CommandList::show(size_t index) {
  if (index < first_) {
    first_ = index;
  } else if (index >= first_ + kRows) {
    first_ = index + 1 - kRows;
  }
}

}  // namespace jumplark
