// Helpers shared by the test suites: device roots on disk, child processes run under a short
// name, the file log sink read back, and exact assertion lines for death tests.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "orvex/log_capture.h"

namespace orvex {
namespace test {

// The built platform library and the test caller program, from the build tree.
std::string PlatformLibraryPath();
std::string CallerPath();

// A fresh directory removed with everything in it when the object goes.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// A device root on disk: files are added by device path ("/system/build.prop").
class DeviceRoot {
public:
    DeviceRoot() = default;
    const std::string& path() const { return dir_.path(); }
    std::string HostPath(const std::string& devicePath) const { return path() + devicePath; }
    // Creates the file (and its folders) with this content.
    void AddFile(const std::string& devicePath, const std::string& content) const;
    void AddDir(const std::string& devicePath) const;
    // A LogLevel.xml whose LogLevel element holds `level`.
    void SetLogLevel(const std::string& level) const;

private:
    TempDir dir_;
};

void WriteFile(const std::string& hostPath, const std::string& content);
std::string ReadFile(const std::string& hostPath);
void MakeDirs(const std::string& hostPath);

struct ProcessResult {
    int exitCode = -1;    // when the process exited
    int termSignal = 0;   // when a signal ended it
    std::string out;
    std::string err;
};

// Runs `program` with `args`, argv[0] set to `name` (the process name the library sees), the
// current environment plus `env` (an empty value unsets the variable). Waits at most
// `timeoutSeconds`, then kills the process (termSignal SIGKILL).
ProcessResult RunProcess(const std::string& program, const std::string& name,
                         const std::vector<std::string>& args,
                         const std::map<std::string, std::string>& env,
                         int timeoutSeconds = 60);

// Runs the test caller under a device root with a file log sink and returns the records.
struct CallerRun {
    ProcessResult process;
    std::vector<hostlog::Entry> log;
};
CallerRun RunCaller(const DeviceRoot& root, const std::vector<std::string>& args,
                    const std::map<std::string, std::string>& extraEnv = {});

// Parses a file written by the ORVEX_LOG file sink.
std::vector<hostlog::Entry> ReadLogFile(const std::string& hostPath);

// Records of one tag, in order.
std::vector<hostlog::Entry> FilterTag(const std::vector<hostlog::Entry>& log, const std::string& tag);

// The log without the module registration lines every process writes while the library loads.
std::vector<hostlog::Entry> WithoutRegistrations(const std::vector<hostlog::Entry>& log);

// A regular expression (gtest death-test syntax) matching `text` literally.
std::string LiteralRegex(const std::string& text);

// The regex a death test expects on stderr for the three assertion lines of the library.
std::string AssertionRegex(const std::string& description, const std::string& sourcePath, int line);

}  // namespace test
}  // namespace orvex
