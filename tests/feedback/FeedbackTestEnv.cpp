#include "FeedbackTestEnv.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <filesystem>
#include <fstream>

#include "LoglevelManager.h"

namespace feedback_test {
namespace {

namespace fs = std::filesystem;
constexpr const char* kOwnerVariable = "ORVEX_FEEDBACK_ROOT_OWNER";

bool OwnsRoot() {
    const char* owner = getenv(kOwnerVariable);
    return owner != nullptr && atoi(owner) == getpid();
}

// Children forked by death tests inherit the exit handler; only the owner removes the root.
void RemoveOwnRoot() {
    std::error_code ignored;
    if (OwnsRoot()) fs::remove_all(DeviceRootPath(), ignored);
}

// Each suite process gets a device root of its own, a copy of the simulator's default device,
// so tests may change files in it (the volume library's profile) while other suites run.
// Death-test children share their parent's.
class LogLevelEnvironment : public ::testing::Environment {
  public:
    void SetUp() override {
        const int level = LoglevelManager::GetScannerLogLevel();
        if (level == kSuiteLogLevel) {
            if (OwnsRoot()) atexit(RemoveOwnRoot);
            return;
        }
        // Once only: a root that failed must not loop.
        if (getenv(kOwnerVariable) != nullptr) {
            GTEST_LOG_(FATAL) << "log level " << level << " under " << DeviceRootPath()
                              << ", expected " << kSuiteLogLevel;
        }
        char dir[] = "/tmp/orvex-feedback-XXXXXX";
        if (mkdtemp(dir) == nullptr) GTEST_LOG_(FATAL) << "mkdtemp: " << strerror(errno);
        std::error_code error;
        fs::copy(FEEDBACK_PROFILE, dir,
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
        if (error) GTEST_LOG_(FATAL) << "copying " FEEDBACK_PROFILE ": " << error.message();
        setenv("ORVEX_DEVICE_ROOT", dir, 1);
        WriteDeviceFile("/enterprise/device/settings/scanner/LogLevel.xml",
                        "<?xml version=\"1.0\"?>\n<Settings>\n  <LogLevel>" +
                            std::to_string(kSuiteLogLevel) + "</LogLevel>\n</Settings>\n");
        setenv(kOwnerVariable, std::to_string(getpid()).c_str(), 1);

        // The command line as given, gtest's own flags included.
        std::vector<std::string> args = ::testing::internal::GetArgvs();
        std::vector<char*> argv;
        for (std::string& arg : args) argv.push_back(&arg[0]);
        argv.push_back(nullptr);
        fflush(nullptr);
        execv("/proc/self/exe", argv.data());
        GTEST_LOG_(FATAL) << "execv: " << strerror(errno);
    }
};

auto* const gEnvironment = ::testing::AddGlobalTestEnvironment(new LogLevelEnvironment);

}  // namespace

std::string DeviceRootPath() {
    const char* root = getenv("ORVEX_DEVICE_ROOT");
    return root != nullptr ? root : "";
}

void WriteDeviceFile(const std::string& devicePath, const std::string& content) {
    const fs::path path = DeviceRootPath() + devicePath;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

void SetScannerBeepVolume(int volume) {
    WriteDeviceFile("/sim/libovc.prop", "scanner_beep_volume=" + std::to_string(volume) + "\n");
}

}  // namespace feedback_test
