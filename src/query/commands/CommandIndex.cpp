#include "query/commands/CommandIndex.h"

#include <algorithm>
#include <memory_resource>

namespace jumplark {
namespace {

constexpr float kLowestScore = 0.1F;
constexpr float kAlike = 0.95F;

}  // namespace

class CommandIndex::Batch {
 public:
  std::pmr::monotonic_buffer_resource memory;
  std::vector<MenuCommand> commands;
  std::vector<CommandTexts> texts;
};

std::shared_ptr<const CommandIndex::Batch> CommandIndex::prepare(std::vector<MenuCommand> commands,
                                                                 const std::function<bool()>& isUnwanted) {
  const auto batch = std::make_shared<Batch>();
  batch->commands = std::move(commands);
  std::erase_if(batch->commands, [](const MenuCommand& command) { return command.path.empty(); });
  batch->texts.reserve(batch->commands.size());
  for (const MenuCommand& command : batch->commands) {
    if (isUnwanted && isUnwanted()) {
      return nullptr;
    }
    batch->texts.push_back(CommandTexts::prepare(command, batch->memory));
  }
  return batch;
}

void CommandIndex::add(std::shared_ptr<const Batch> batch) {
  for (size_t i = 0; i < batch->commands.size(); ++i) {
    entries_.push_back({&batch->commands[i], &batch->texts[i]});
    hasOpen_ = hasOpen_ || batch->commands[i].isOpen;
  }
  batches_.push_back(std::move(batch));
}

std::vector<CommandMatch> CommandIndex::search(const std::string& query) const {
  CommandQuery scoring(query);
  std::vector<CommandMatch> matches;
  for (uint32_t number = 0; number < entries_.size(); ++number) {
    const float score = scoring.isEmpty() ? 1 : scoring.score(texts(number));
    if (score > kLowestScore) {
      matches.push_back({number, score});
    }
  }
  const auto isOpen = [this](const CommandMatch& match) { return command(match.command).isOpen; };
  const auto closed = std::stable_partition(matches.begin(), matches.end(), isOpen);
  if (!scoring.isEmpty()) {
    order(matches.begin(), closed);
    order(closed, matches.end());
  }
  return matches;
}

void CommandIndex::order(Matches first, Matches last) const {
  std::stable_sort(first, last, [](const CommandMatch& a, const CommandMatch& b) { return a.score > b.score; });
  for (Matches start = first; start != last;) {
    const Matches end = std::find_if(
        start, last, [least = start->score * kAlike](const CommandMatch& match) { return match.score < least; });
    std::stable_partition(start, end, [this](const CommandMatch& match) { return command(match.command).isEnabled; });
    start = end;
  }
}

}  // namespace jumplark
