#include "FeedbackTestEnv.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "LoglevelManager.h"

namespace feedback_test {
namespace {

constexpr const char* kOwnerVariable = "ORVEX_FEEDBACK_ROOT_OWNER";

std::vector<std::string> CommandLine() {
    std::ifstream in("/proc/self/cmdline", std::ios::binary);
    std::string cmdline((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::vector<std::string> args;
    for (size_t start = 0; start < cmdline.size();) {
        size_t end = cmdline.find('\0', start);
        if (end == std::string::npos) end = cmdline.size();
        args.push_back(cmdline.substr(start, end - start));
        start = end + 1;
    }
    return args;
}

bool OwnsRoot() {
    const char* owner = getenv(kOwnerVariable);
    return owner != nullptr && atoi(owner) == getpid();
}

// Children forked by death tests inherit the exit handler; only the owner removes the root.
void RemoveOwnRoot() {
    if (!OwnsRoot()) return;
    std::error_code ignored;
    std::filesystem::remove_all(DeviceRootPath(), ignored);
}

// Each suite process gets a device root of its own, a copy of the simulator's default device,
// so tests may change files in it (the volume library's profile) while other suites run.
// Death-test children share their parent's.
class LogLevelEnvironment : public ::testing::Environment {
  public:
    void SetUp() override {
        const char* owner = getenv(kOwnerVariable);
        if (LoglevelManager::GetScannerLogLevel() == kSuiteLogLevel) {
            if (OwnsRoot()) atexit(RemoveOwnRoot);
            return;
        }
        if (owner != nullptr) {  // once only: a root that failed to set the level must not loop
            fprintf(stderr, "log level %d under %s, expected %d\n",
                    LoglevelManager::GetScannerLogLevel(), DeviceRootPath().c_str(),
                    kSuiteLogLevel);
            abort();
        }
        char dir[] = "/tmp/orvex-feedback-XXXXXX";
        if (mkdtemp(dir) == nullptr) {
            fprintf(stderr, "mkdtemp: %s\n", strerror(errno));
            abort();
        }
        std::error_code error;
        std::filesystem::copy(
            FEEDBACK_PROFILE, dir,
            std::filesystem::copy_options::recursive | std::filesystem::copy_options::copy_symlinks,
            error);
        if (error) {
            fprintf(stderr, "copying %s: %s\n", FEEDBACK_PROFILE, error.message().c_str());
            abort();
        }
        setenv("ORVEX_DEVICE_ROOT", dir, 1);
        WriteDeviceFile("/enterprise/device/settings/scanner/LogLevel.xml",
                        "<?xml version=\"1.0\"?>\n<Settings>\n  <LogLevel>" +
                            std::to_string(kSuiteLogLevel) + "</LogLevel>\n</Settings>\n");
        setenv(kOwnerVariable, std::to_string(getpid()).c_str(), 1);

        std::vector<std::string> args = CommandLine();
        std::vector<char*> argv;
        for (std::string& arg : args) argv.push_back(&arg[0]);
        argv.push_back(nullptr);
        fflush(nullptr);
        execv("/proc/self/exe", argv.data());
        fprintf(stderr, "execv: %s\n", strerror(errno));
        abort();
    }
};

::testing::Environment* const gEnvironment =
    ::testing::AddGlobalTestEnvironment(new LogLevelEnvironment);

}  // namespace

std::string DeviceRootPath() {
    const char* root = getenv("ORVEX_DEVICE_ROOT");
    return root != nullptr ? root : "";
}

void WriteDeviceFile(const std::string& devicePath, const std::string& content) {
    const std::filesystem::path path = DeviceRootPath() + devicePath;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
}

void SetScannerBeepVolume(int volume) {
    WriteDeviceFile("/sim/libovc.prop", "scanner_beep_volume=" + std::to_string(volume) + "\n");
}

}  // namespace feedback_test
