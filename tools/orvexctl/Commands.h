// The commands of orvexctl. Each returns the process exit status.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orvexctl {

constexpr int kExitOk = 0;
constexpr int kExitProblem = 1;
constexpr int kExitUsage = 2;

class DeviceView;

struct Options {
    bool json = false;
    bool strict = false;  // check: warnings fail too
    std::string profile;
    std::string root;
    std::string log;
    // The device root in use and what it came from.
    std::string deviceRoot;
    std::string deviceLabel;
    const DeviceView* view = nullptr;
    std::vector<std::string> simulatedNotes;
};

using CommandFn = int (*)(const Options& options, const std::vector<std::string>& args);

// One subcommand: how main registers it. `args` names its positional arguments for the usage
// text ("" for none, "NAME..." for one or more).
struct CommandSpec {
    const char* name;
    const char* help;
    const char* args;
    CommandFn run;
    bool needsDevice;  // runs against a device root (profiles, export and pull do not)
};
// Every command but sim, in the order of the usage text.
const std::vector<CommandSpec>& Commands();

int RunProfiles(const Options& options, const std::vector<std::string>& args);
// Commands carried out by the probe library inside a child process.
// Runs `body` in a child process and prints what it wrote, or reports why it stopped.
int RunInChildAndPrint(const Options& options, const std::string& command,
                       const std::function<int()>& body);
int RunProbeCommand(const std::string& command, const Options& options,
                    const std::vector<std::string>& args);

// The same, returning the child's outcome instead of printing it.
struct ChildOutcome;
ChildOutcome RunProbeInChild(const std::string& command, const Options& options,
                            const std::vector<std::string>& args);
int RunCheck(const Options& options, const std::vector<std::string>& args);
// export PROFILE DIR; pull DIR (args[0]) with the device's serial in args[1] ("" for adb's default).
int RunExport(const Options& options, const std::vector<std::string>& args);
int RunPull(const Options& options, const std::vector<std::string>& args);

// Writes the library's log records of this run to DEST ("" or "off": nowhere).
void CopyLogTo(const std::string& dest);

}  // namespace orvexctl
