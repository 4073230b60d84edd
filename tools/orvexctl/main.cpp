// orvexctl: inspect and check a device's scanning configuration on a PC.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include "Commands.h"

namespace {

void Usage(FILE* out) {
    fprintf(out,
            "usage: orvexctl [--root DIR] [--json] [--log DEST] COMMAND [ARGS]\n"
            "\n"
            "commands:\n"
            "  modules   every module tag with its registered modules and whether the device\n"
            "            supports it\n"
            "\n"
            "options:\n"
            "  --root DIR   use DIR as the device root (ORVEX_DEVICE_ROOT)\n"
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
        } else if ((arg == "--root" || arg == "--log") && i + 1 < argc) {
            (arg == "--root" ? options.root : options.log) = argv[++i];
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

    // The environment must be in place before the library loads: it reads its log level and
    // device files at load time.
    if (!options.root.empty()) setenv("ORVEX_DEVICE_ROOT", options.root.c_str(), 1);
    setenv("ORVEX_LOG", options.log.empty() ? "off" : options.log.c_str(), 1);

    const std::string command = args[0];
    args.erase(args.begin());
    if (command == "modules") return orvexctl::RunModules(options, args);

    fprintf(stderr, "orvexctl: unknown command %s\n", command.c_str());
    Usage(stderr);
    return orvexctl::kExitUsage;
}
