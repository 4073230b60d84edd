#include "FuzzSupport.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "orvex/assert_hook.h"
#include "orvex/log_capture.h"

namespace orvex {
namespace fuzz {

namespace {

void ThrowExpected() { throw ExpectedAssertion{}; }

void RemoveRoot() {
    std::error_code ignored;
    std::filesystem::remove_all(getenv("ORVEX_DEVICE_ROOT"), ignored);
}

}  // namespace

const std::string& Setup() {
    static const std::string root = [] {
        setenv("ORVEX_LOG", "off", 0);
        hostlog::ResetSink();
        orvex_set_assert_handler(&ThrowExpected);
        // Every input rewrites files there: memory, not a disk that discards blocks on each
        // truncation, keeps the executions per second up.
        char shm[] = "/dev/shm/orvex-fuzz-XXXXXX";
        char tmp[] = "/tmp/orvex-fuzz-XXXXXX";
        const char* made = mkdtemp(shm);
        if (made == nullptr) made = mkdtemp(tmp);
        std::string dir = made != nullptr ? made : "/tmp";
        setenv("ORVEX_DEVICE_ROOT", dir.c_str(), 1);
        if (made != nullptr) atexit(RemoveRoot);
        return dir;
    }();
    return root;
}

void WriteDeviceFile(const std::string& devicePath, const uint8_t* data, size_t size) {
    const std::string path = Setup() + devicePath;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

void WriteDeviceFile(const std::string& devicePath, const std::string& text) {
    WriteDeviceFile(devicePath, reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

void UseShortProcessName(char** argv, const char* shortName) {
    if (strlen(argv[0]) <= strlen(shortName)) return;
    // libFuzzer's -merge and -fork modes start workers by running argv[0] through the shell, so
    // the short name must also be a command: a link to this binary, in a folder put first on
    // PATH, which the workers inherit.
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path dir = std::filesystem::temp_directory_path(error) /
                                      ("orvex-fuzz-bin-" + std::to_string(getuid()));
    std::filesystem::create_directories(dir, error);
    const std::filesystem::path link = dir / shortName;
    const std::filesystem::path fresh =
        dir / (std::string(shortName) + "." + std::to_string(getpid()));
    std::filesystem::create_symlink(self, fresh, error);
    std::filesystem::rename(fresh, link, error);
    const char* path = getenv("PATH");
    setenv("PATH", (dir.string() + ":" + (path != nullptr ? path : "/usr/bin:/bin")).c_str(), 1);
    argv[0] = const_cast<char*>(shortName);
    execv("/proc/self/exe", argv);
    perror("execv /proc/self/exe");
    _exit(127);
}

}  // namespace fuzz
}  // namespace orvex
