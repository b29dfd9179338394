#pragma once

#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include "backends/linux/system/SystemQueues.h"
#include "desktop/support/Process.h"

namespace jumplark {

/// A folder of the test's own, real queues, and the log as text.
class SystemFixture : public ::testing::Test {
 protected:
  SystemFixture() : logger_(spdlog::default_logger()) {
    std::string pattern = (std::filesystem::temp_directory_path() / "jumplark-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) {
      throw std::runtime_error("no temporary folder");
    }
    folder_ = pattern;
    spdlog::set_default_logger(
        std::make_shared<spdlog::logger>("test", std::make_shared<spdlog::sinks::ostream_sink_mt>(log_, true)));
  }
  ~SystemFixture() override {
    spdlog::set_default_logger(logger_);
    std::filesystem::remove_all(folder_);
  }

  /// Runs the main queue until the state is there.
  bool await(const std::function<bool()>& state) {
    return desktop::waitUntil([&] {
      queues_.drainMainQueue();
      return state();
    });
  }
  std::unique_ptr<desktop::Process> help(desktop::Arguments arguments) {
    arguments.insert(arguments.begin(), JUMPLARK_HELPER);
    return std::make_unique<desktop::Process>(arguments, desktop::Environment(),
                                              (folder_ / ("helper" + std::to_string(++helpers_))).string());
  }
  static std::string read(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }
  static void write(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
  }
  size_t logLines() const {
    const std::string text = log_.str();
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
  }

  std::filesystem::path folder_;
  std::ostringstream log_;
  SystemQueues queues_;

 private:
  std::shared_ptr<spdlog::logger> logger_;
  int helpers_ = 0;
};

}  // namespace jumplark
