#include "cli/Arguments.h"

#include <CLI/CLI.hpp>
#include <cstddef>

namespace jumplark::cli {
namespace {

constexpr const char* kMark = "--";

bool takesValue(const CLI::App& command, const std::string& argument) {
  const CLI::Option* const option = command.get_option_no_throw(argument);
  return option != nullptr && option->get_items_expected_max() > 0;
}

}  // namespace

std::vector<std::string> withQueryLast(const CLI::App& command, const std::vector<std::string>& arguments) {
  std::vector<std::string> options;
  std::vector<std::string> queries;
  bool onlyQueries = false;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const bool isLast = i + 1 == arguments.size();
    if (!onlyQueries && argument == kMark && !isLast) {
      onlyQueries = true;
    } else if (!onlyQueries && argument == kMark && !queries.empty()) {
      break;  // ends the options, after which nothing comes
    } else if (onlyQueries || argument == kMark || argument == "-" || !argument.starts_with('-')) {
      queries.push_back(argument);
    } else {
      options.push_back(argument);
      if (takesValue(command, argument) && !isLast) {
        options.push_back(arguments[++i]);
      }
    }
  }
  if (!queries.empty()) {
    options.emplace_back(kMark);
    options.insert(options.end(), queries.begin(), queries.end());
  }
  return options;
}

}  // namespace jumplark::cli
