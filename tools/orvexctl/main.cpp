// orvexctl: inspect and check a device's scanning configuration on a PC.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include "Commands.h"
#include "Profiles.h"

namespace {

void Usage(FILE* out) {
    fprintf(out,
            "usage: orvexctl [--profile NAME|DIR | --root DIR] [--json] [--log DEST] COMMAND [ARGS]\n"
            "\n"
            "commands:\n"
            "  profiles  the device profiles built into orvexctl\n"
            "  modules   every module tag with its registered modules and whether the device\n"
            "            supports it\n"
            "\n"
            "options:\n"
            "  --profile NAME|DIR  a built-in profile, or a profile directory (default: default)\n"
            "  --root DIR   an existing device root, used as it stands\n"
            "  --json       one JSON document on standard output\n"
            "  --log DEST   where the library's log goes: off (default), stderr or a file\n");
}

}  // namespace

int main(int argc, char** argv) {
    orvexctl::Options options;
    std::vector<std::string> args;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--json") {
            options.json = true;
        } else if ((arg == "--root" || arg == "--log" || arg == "--profile") && i + 1 < argc) {
            std::string& target =
                arg == "--root" ? options.root : arg == "--log" ? options.log : options.profile;
            target = argv[++i];
        } else if (arg == "--help" || arg == "-h") {
            Usage(stdout);
            return 0;
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
    setenv("ORVEX_LOG", options.log.empty() ? "off" : options.log.c_str(), 1);

    if (command == "modules") return orvexctl::RunModules(options, args);

    fprintf(stderr, "orvexctl: unknown command %s\n", command.c_str());
    Usage(stderr);
    return orvexctl::kExitUsage;
}
