// The commands of orvexctl. Each returns the process exit status.
#pragma once

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

int RunProfiles(const Options& options, const std::vector<std::string>& args);

int RunModules(const Options& options, const std::vector<std::string>& args);

}  // namespace orvexctl
