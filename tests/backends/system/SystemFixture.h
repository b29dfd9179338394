#pragma once

#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>
#include <sys/stat.h>

#include <algorithm>

#include "backends/linux/system/SystemQueues.h"
#include "desktop/support/Process.h"
#include "support/TemporaryFolder.h"

namespace jumplark {

/// A folder of the test's own, real queues, and the log as text.
class SystemFixture : public ::testing::Test {
 protected:
  SystemFixture() : logger_(spdlog::default_logger()) {
    spdlog::set_default_logger(
        std::make_shared<spdlog::logger>("test", std::make_shared<spdlog::sinks::ostream_sink_mt>(log_, true)));
  }
  ~SystemFixture() override { spdlog::set_default_logger(logger_); }

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
  static std::string read(const std::filesystem::path& path) { return testing::readFile(path); }
  static void write(const std::filesystem::path& path, const std::string& text) { testing::writeFile(path, text); }
  /// Who may do what with a file or folder; 0 when there is none.
  static unsigned modeOf(const std::filesystem::path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 0777U : 0;
  }
  size_t logLines() const {
    const std::string text = log_.str();
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
  }

  testing::TemporaryFolder temporary_;
  std::filesystem::path folder_ = temporary_.path();
  std::ostringstream log_;
  SystemQueues queues_;

 private:
  std::shared_ptr<spdlog::logger> logger_;
  int helpers_ = 0;
};

}  // namespace jumplark
