// liborvexctl_probe.so: the part of orvexctl that calls into the platform library. It is linked
// against the library like any caller and is only ever loaded inside one of the tool's child
// processes, after the device root and the log are set.

#include <stdio.h>
#include <string.h>

#include <string>
#include <vector>

#include "ProbeCommands.h"

extern "C" __attribute__((visibility("default"))) int orvexctl_probe_run(
    const char* command, int argc, const char* const* argv, int json, const char* deviceLabel) {
    orvexctl::ProbeContext context;
    context.json = json != 0;
    context.deviceLabel = deviceLabel != nullptr ? deviceLabel : "";
    const char* root = getenv("ORVEX_DEVICE_ROOT");
    context.deviceRoot = root != nullptr ? root : "";
    std::vector<std::string> args(argv, argv + argc);
    const std::string name = command;
    if (name == "resolve") return orvexctl::ProbeResolve(context, args);
    if (name == "modules") return orvexctl::ProbeModules(context, args);
    if (name == "check-step") return orvexctl::ProbeCheckStep(context, args);
    if (name == "info") return orvexctl::ProbeInfo(context, args);
    fprintf(stderr, "orvexctl probe: unknown command %s\n", command);
    return 2;
}
