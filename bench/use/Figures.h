#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace jumplark::bench {

using Clock = std::chrono::steady_clock;

/// What is waited for that does not happen within this time is an error.
inline constexpr std::chrono::seconds kPatience{10};

void pause(int milliseconds);
double millisecondsSince(Clock::time_point start);
double median(std::vector<double> times);
/// What a measurement returns, so many times.
std::vector<double> repeat(int runs, const std::function<double()>& measure);

/// A line of the table: milliseconds.
struct Row {
  std::string name;
  double goal;
  double worst;
  std::vector<double> times;
};
void printHead(int runs, const std::string& where);
void print(const Row& row, double baseline);

/// Prints what the threads of a process do for so long when nothing happens, and its memory.
void printIdle(pid_t process, int seconds);

/// What a benchmark's main() does: `--runs N`, 25 without, handed to `measureAll`; the exit status, 2 for other
/// arguments.
int runMeasurements(const char* name, int argc, char** argv, const std::function<void(int runs)>& measureAll);

/// How often a text stands in a program's log.
size_t countOf(const std::string& text, const std::string& part);

}  // namespace jumplark::bench
