#include "FeedbackTestEnv.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "LoglevelManager.h"

namespace feedback_test {
namespace {

class LogLevelEnvironment : public ::testing::Environment {
  public:
    void SetUp() override {
        if (LoglevelManager::GetScannerLogLevel() == kSuiteLogLevel) return;
        // Once only: a root that failed to set the level must not loop.
        if (getenv("ORVEX_FEEDBACK_REEXEC") != nullptr) {
            fprintf(stderr, "log level is %d under %s, expected %d\n",
                    LoglevelManager::GetScannerLogLevel(), FEEDBACK_DEVICE_ROOT, kSuiteLogLevel);
            abort();
        }
        std::ifstream in("/proc/self/cmdline", std::ios::binary);
        std::string cmdline((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::vector<std::string> args;
        for (size_t start = 0; start < cmdline.size();) {
            size_t end = cmdline.find('\0', start);
            if (end == std::string::npos) end = cmdline.size();
            args.push_back(cmdline.substr(start, end - start));
            start = end + 1;
        }
        std::vector<char*> argv;
        for (std::string& arg : args) argv.push_back(&arg[0]);
        argv.push_back(nullptr);
        setenv("ORVEX_DEVICE_ROOT", FEEDBACK_DEVICE_ROOT, 1);
        setenv("ORVEX_FEEDBACK_REEXEC", "1", 1);
        fflush(nullptr);
        execv("/proc/self/exe", argv.data());
        fprintf(stderr, "execv: %s\n", strerror(errno));
        abort();
    }
};

::testing::Environment* const gEnvironment =
    ::testing::AddGlobalTestEnvironment(new LogLevelEnvironment);

}  // namespace
}  // namespace feedback_test
