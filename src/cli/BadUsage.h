#pragma once

#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace jumplark::cli {

/// What is wrong with a command line that `app` has refused with `error`, in a sentence in the user's language.
std::string sentenceOn(const CLI::App& app, const CLI::ParseError& error);

/// Where to read on: the help of the command that was meant, in a sentence.
std::string whereToReadOn(const CLI::App& app);

}  // namespace jumplark::cli
