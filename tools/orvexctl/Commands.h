// The commands of orvexctl. Each returns the process exit status.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orvexctl {

constexpr int kExitOk = 0;
constexpr int kExitProblem = 1;
constexpr int kExitUsage = 2;

struct Options {
    bool json = false;
    std::string profile;
    std::string root;
    std::string log;
    // The device root in use and what it came from.
    std::string deviceRoot;
    std::string deviceLabel;
};

using CommandFn = int (*)(const Options& options, const std::vector<std::string>& args);

// The command of that name, null when there is none (profiles is handled before a device root
// is chosen).
CommandFn FindCommand(const std::string& name);

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

// Writes the library's log records of this run to DEST ("" or "off": nowhere).
void CopyLogTo(const std::string& dest);

}  // namespace orvexctl
