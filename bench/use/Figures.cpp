#include "Figures.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace jumplark::bench {
namespace {

std::string procFile(pid_t process, const std::string& name) {
  std::ifstream file("/proc/" + std::to_string(process) + '/' + name);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

long statusNumber(pid_t process, const std::string& key, const std::string& file = "status") {
  const std::string text = procFile(process, file);
  const size_t at = text.find(key + ':');
  return at == std::string::npos ? 0 : std::atol(text.c_str() + at + key.size() + 1);
}

long switches(pid_t process) {
  long sum = 0;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
    sum += statusNumber(process, "voluntary_ctxt_switches", "task/" + thread.path().filename().string() + "/status");
  }
  return sum;
}

long ticksUsed(pid_t process) {
  const std::string stat = procFile(process, "stat");
  std::istringstream fields(stat.substr(stat.rfind(')') + 2));
  std::string field;
  long ticks = 0;
  for (int i = 3; i <= 15 && fields >> field; ++i) {
    ticks += i >= 14 ? std::atol(field.c_str()) : 0;
  }
  return ticks;
}

}  // namespace

void pause(int milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> times) {
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

std::vector<double> repeat(int runs, const std::function<double()>& measure) {
  std::vector<double> times;
  times.reserve(static_cast<size_t>(runs));
  for (int i = 0; i < runs; ++i) {
    times.push_back(measure());
  }
  return times;
}

void printHead(int runs, const std::string& where) {
  double load = 0;
  getloadavg(&load, 1);
  fmt::print("Milliseconds of {} runs under {}; load of the machine {:.1f}\n", runs, where, load);
  fmt::print("{:<44}{:>9}{:>9}{:>9}{:>9}{:>9}\n", "", "median", "worst", "goal", "allowed", "ratio");
  std::fflush(stdout);
}

void print(const Row& row, double baseline) {
  const double middle = median(row.times);
  fmt::print("{:<44}{:>9.1f}{:>9.1f}{:>9.0f}{:>9.0f}{:>9.1f}\n", row.name, middle,
             *std::max_element(row.times.begin(), row.times.end()), row.goal, row.worst, middle / baseline);
  std::fflush(stdout);
}

void printIdle(pid_t process, int seconds) {
  const long before = switches(process);
  const long ticks = ticksUsed(process);
  pause(seconds * 1000);
  fmt::print("idle for {} s: {} wake-ups of all threads, {} ms of CPU time, {} MB resident\n", seconds,
             switches(process) - before, (ticksUsed(process) - ticks) * 10, statusNumber(process, "VmRSS") / 1024);
}

size_t countOf(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

int runMeasurements(const char* name, int argc, char** argv, const std::function<void(int runs)>& measureAll) {
  const bool given = argc == 3 && std::string(argv[1]) == "--runs";
  if (argc > 1 && !given) {
    fmt::print(stderr, "{}: unknown arguments; the first lines of its source tell those that there are\n", name);
    return 2;
  }
  try {
    measureAll(given ? std::max(1, std::atoi(argv[2])) : 25);
  } catch (const std::exception& error) {
    fmt::print(stderr, "{}: {}\n", name, error.what());
    return 1;
  }
  return 0;
}

}  // namespace jumplark::bench
