#include "cli/BadUsage.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>
#include <vector>

#include "platform/Texts.h"

namespace jumplark::cli {
namespace {

/// The command that was understood, with the program before it.
std::string commandOf(const CLI::App& app) {
  const auto understood = app.get_subcommands();
  return understood.empty() ? app.get_name() : app.get_name() + ' ' + understood.front()->get_name();
}

bool takesQuery(const CLI::App& app) {
  const auto understood = app.get_subcommands();
  return !understood.empty() && understood.front()->get_option_no_throw("QUERY") != nullptr;
}

/// The first argument that the parser had no use for, rather than a mark before queries; empty when there is none.
std::string firstLeftOver(const CLI::App& app) {
  const std::vector<std::string> left = app.remaining(true);
  const auto found = std::ranges::find_if(left, [](const std::string& each) { return each != "--"; });
  return found != left.end() ? *found : left.empty() ? std::string() : left.front();
}

std::string sentenceOnLeftOver(const CLI::App& app, const std::string& first) {
  if (app.get_subcommands().empty() && !first.starts_with('-')) {
    return localizedFormat("'{}' is no command.", first);
  }
  if (first.starts_with('-')) {
    const std::string unknown = localizedFormat("'{}' is no option of '{}'.", first, commandOf(app));
    return takesQuery(app) ? unknown + ' ' + localized("A query that begins with a dash comes after --.") : unknown;
  }
  return takesQuery(app) ? localizedFormat("'{}' is one word too many. A query of several words is quoted.", first)
                         : localizedFormat("'{}' is one word too many.", first);
}

/// The parser's own messages begin with the name of the option.
std::string_view nameIn(const CLI::ParseError& error) {
  const std::string_view message = error.what();
  return message.substr(0, message.find_first_of(": "));
}

std::string_view afterName(const CLI::ParseError& error, std::string_view separator) {
  const std::string_view message = error.what();
  const size_t at = message.find(separator);
  return at == std::string_view::npos ? message : message.substr(at + separator.size());
}

}  // namespace

std::string sentenceOn(const CLI::App& app, const CLI::ParseError& error) {
  const bool isWithoutQuery = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
  const std::string leftOver = firstLeftOver(app);
  if (!leftOver.empty() && (isWithoutQuery || dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr)) {
    return sentenceOnLeftOver(app, leftOver);
  }
  if (isWithoutQuery) {
    return localizedFormat("'{}' needs a QUERY: letters of what to look for.", commandOf(app));
  }
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
    return localizedFormat("{} needs exactly one value.", nameIn(error));
  }
  if (dynamic_cast<const CLI::ExcludesError*>(&error) != nullptr) {
    return localizedFormat("{} and {} cannot be used together.", nameIn(error), afterName(error, " excludes "));
  }
  // Of the checks that the options bring along, or of what none of them foresees.
  return std::string(afterName(error, ": "));
}

std::string whereToReadOn(const CLI::App& app) {
  return localizedFormat("'{} --help' tells what there is.", commandOf(app));
}

}  // namespace jumplark::cli
