// orvexctl: inspect and check a device's scanning configuration on a PC.
//
// The tool's own process never loads the platform library: every command that needs it runs
// in a child process (Supervisor), so a configuration that makes the library stop is reported,
// not suffered.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "Commands.h"
#include "Profiles.h"
#include "Supervisor.h"

namespace {

// The name the library sees as this process's name (the first string of its command line). It
// is part of a fixed-size path the library builds, so a long path to the binary must not be it.
constexpr const char* kProcessName = "orvexctl";

void Usage(FILE* out) {
    fprintf(out,
            "usage: orvexctl [--profile NAME|DIR | --root DIR] [--json] [--log DEST] COMMAND [ARGS]\n"
            "\n"
            "commands:\n"
            "  profiles          the device profiles built into orvexctl\n"
            "  modules           every module tag: registered modules, and whether the device\n"
            "                    supports it\n"
            "  resolve NAME...   what each dependency name resolves to, and where it comes from\n"
            "  info              device facts, supported scanners and trigger keys\n"
            "  check             every configuration file the library reads, each step as the\n"
            "                    scanning service would meet it, then likely mistakes\n"
            "\n"
            "options:\n"
            "  --profile NAME|DIR  a built-in profile, or a profile directory (default: default)\n"
            "  --root DIR          an existing device root, used as it stands\n"
            "  --json              one JSON document on standard output\n"
            "  --log DEST          also write the library's log to DEST: stderr or a file\n");
}

// Runs again under the short process name, with the same arguments.
void ReexecUnderShortName(int argc, char** argv) {
    if (strcmp(argv[0], kProcessName) == 0) return;
    std::vector<char*> args(argv, argv + argc);
    args[0] = const_cast<char*>(kProcessName);
    args.push_back(nullptr);
    execv("/proc/self/exe", args.data());
    // Without /proc the tool still works; only a long binary path can then be too long.
}

}  // namespace

int main(int argc, char** argv) {
    ReexecUnderShortName(argc, argv);

    orvexctl::Options options;
    std::vector<std::string> args;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--json") {
            options.json = true;
        } else if (arg == "--root" || arg == "--log" || arg == "--profile") {
            if (i + 1 >= argc) {
                fprintf(stderr, "orvexctl: %s needs a value\n", arg.c_str());
                return orvexctl::kExitUsage;
            }
            std::string& target =
                arg == "--root" ? options.root : arg == "--log" ? options.log : options.profile;
            target = argv[++i];
        } else if (arg == "--help" || arg == "-h") {
            Usage(stdout);
            return orvexctl::kExitOk;
        } else if (!arg.empty() && arg[0] == '-' && args.empty()) {
            fprintf(stderr, "orvexctl: unknown option %s\n", arg.c_str());
            Usage(stderr);
            return orvexctl::kExitUsage;
        } else {
            args.push_back(arg);
        }
    }
    if (args.empty()) {
        Usage(stderr);
        return orvexctl::kExitUsage;
    }

    const std::string command = args[0];
    args.erase(args.begin());
    if (command == "profiles") return orvexctl::RunProfiles(options, args);

    orvexctl::CommandFn run = orvexctl::FindCommand(command);
    if (run == nullptr) {
        fprintf(stderr, "orvexctl: unknown command %s\n", command.c_str());
        Usage(stderr);
        return orvexctl::kExitUsage;
    }

    // The environment must be in place before the library loads: it reads its log level and
    // device files at load time.
    orvexctl::DeviceRootChoice root;
    std::string error;
    if (!root.Select(options.profile, options.root, &error)) {
        fprintf(stderr, "orvexctl: %s\n", error.c_str());
        return orvexctl::kExitUsage;
    }
    options.deviceRoot = root.path();
    options.deviceLabel = root.label();
    setenv("ORVEX_DEVICE_ROOT", root.path().c_str(), 1);
    orvexctl::InitSupervisor();

    int rc = run(options, args);
    orvexctl::CopyLogTo(options.log);
    return rc;
}
