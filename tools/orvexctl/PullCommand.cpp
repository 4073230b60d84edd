// orvexctl pull: a device root built from the device on the desk through adb, holding what the
// library reads there: the properties (as build.prop), the external-dependencies file, the
// settings file and every file and library the dependencies file names.

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "Commands.h"
#include "DependencyFile.h"
#include "Supervisor.h"

namespace orvexctl {

namespace {

namespace fs = std::filesystem;

struct Adb {
    std::string program;
    std::string serial;

    // Runs adb with `args`; its standard output, or false with `error`.
    bool Run(const std::vector<std::string>& args, std::string* out, std::string* error) const {
        std::vector<std::string> argv = {program};
        if (!serial.empty()) argv.insert(argv.end(), {"-s", serial});
        argv.insert(argv.end(), args.begin(), args.end());
        ChildOutcome o = RunInChild([&argv]() {
            std::vector<char*> a;
            for (const std::string& s : argv) a.push_back(const_cast<char*>(s.c_str()));
            a.push_back(nullptr);
            fflush(stdout);
            execvp(a[0], a.data());
            fprintf(stderr, "orvexctl pull: cannot run %s: %s\n", a[0], strerror(errno));
            return 127;
        }, 120);
        *out = o.output;
        if (o.exited && o.exitCode == 0) return true;
        std::string line;
        for (const std::string& a : argv) line += (line.empty() ? "" : " ") + a;
        *error = line + (o.timedOut ? ": no answer in 120 s"
                         : o.exited && o.exitCode == 127 ? ": cannot run it (set ORVEX_ADB or install adb)"
                                                        : ": failed (status " + std::to_string(o.exitCode) + ")");
        return false;
    }
};

// getprop prints "[name]: [value]" per line.
std::string BuildPropFrom(const std::string& getprop) {
    std::istringstream in(getprop);
    std::string line, out = "# pulled from the device with getprop\n";
    while (std::getline(in, line)) {
        size_t mid = line.find("]: [");
        if (line.size() < 6 || line[0] != '[' || mid == std::string::npos || line.back() != ']') continue;
        out += line.substr(1, mid - 1) + "=" + line.substr(mid + 4, line.size() - mid - 5) + "\n";
    }
    return out;
}

}  // namespace

int RunPull(const Options&, const std::vector<std::string>& args) {
    const std::string dir = args.at(0);
    const char* program = getenv("ORVEX_ADB");
    const Adb adb{program != nullptr && *program ? program : "adb", args.size() > 1 ? args[1] : ""};
    std::error_code ec;
    if (fs::exists(fs::symlink_status(dir, ec)) && !fs::is_empty(dir, ec)) {
        fprintf(stderr, "orvexctl pull: %s exists and is not empty: pull writes a new device root\n",
                dir.c_str());
        return kExitUsage;
    }
    InitSupervisor();
    std::string out, error;
    if (!adb.Run({"shell", "getprop"}, &out, &error)) {
        fprintf(stderr, "orvexctl pull: %s\n", error.c_str());
        return kExitProblem;
    }
    fs::create_directories(dir + "/system", ec);
    const std::string buildProp = BuildPropFrom(out);
    std::ofstream(dir + "/system/build.prop") << buildProp;
    int missing = 0;
    auto pull = [&](const std::string& devicePath) {
        fs::create_directories(fs::path(dir + devicePath).parent_path(), ec);
        if (adb.Run({"pull", devicePath, dir + devicePath}, &out, &error)) {
            printf("pulled %s\n", devicePath.c_str());
        } else {
            printf("not on the device: %s (%s)\n", devicePath.c_str(), error.c_str());
            ++missing;
        }
    };
    pull("/system/etc/scanner/ExternalDependencies.xml");
    pull("/enterprise/device/settings/scanner/LogLevel.xml");
    std::map<std::string, std::string> props;
    std::istringstream lines(buildProp);
    for (std::string line; std::getline(lines, line);) {
        size_t eq = line.find('=');
        if (line[0] != '#' && eq != std::string::npos) props[line.substr(0, eq)] = line.substr(eq + 1);
    }
    const DependencyFile deps = ReadDependencyFile(dir, "orvexctl", props);
    for (const auto& p : deps.paths) {
        if (p.first == "sctimerfifo") {
            // A pipe the service makes at run time: only its folder belongs in the root.
            fs::create_directories(fs::path(dir + p.second).parent_path(), ec);
            continue;
        }
        if (!p.second.empty() && p.second[0] == '/') pull(p.second);
    }
    printf("device root %s: %d file%s not on the device; check it with: orvexctl --root %s check\n",
           dir.c_str(), missing, missing == 1 ? "" : "s", dir.c_str());
    return kExitOk;
}

}  // namespace orvexctl
