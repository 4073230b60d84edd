// orvexctl modules: the registry as a caller sees it through the exported functions, on the
// running simulated device.

#include <stdio.h>

#include <string>
#include <vector>

#include "Commands.h"
#include "ProbeCommands.h"
#include "SimulatedDevice.h"
#include "Json.h"
#include "PlatformLibrary.h"

namespace orvexctl {

namespace {

constexpr int kTagCount = 14;

const char* const kTagNames[kTagCount] = {
    "BEEP",       "LED",           "TRIGGERS",    "RESERVED_3",      "RESERVED_4",
    "RESERVED_5", "HW_TRIGGER",    "EXTERNAL_HAPTIC", "IMAGER",      "SERIAL_PORT",
    "PLUGABLE_DEVICE", "BATTERY_SWAP", "HW_INFO", "CAMERA",
};

// The module names the library documents. The registry cannot be listed through the exported
// functions, so each name is asked for under each tag.
const char* const kKnownModules[] = {
    "HWBeep",         "LEDNotification",        "Triggers",
    "HWTrigger",      "ImagerHIDLProxy",        "SerialPort",
    "IExternalHapticFeedack", "PlugableDeviceNotifier", "BatterySwapModule",
    "PlatformHWInfoRetriever", "CameraModule",
};

struct TagReport {
    int tag;
    int count;
    std::vector<std::string> names;
    bool supported;
};

}  // namespace

int ProbeModules(const ProbeContext& context, const std::vector<std::string>&) {
    orvex::sim::SimulatedDevice device;
    device.Start();
    PlatformLibrary library(PlatformLibrary::DefaultPath());
    if (!library.ok()) {
        fprintf(stderr, "orvexctl: cannot load the platform library: %s\n",
                library.error().c_str());
        return kExitProblem;
    }

    std::vector<TagReport> reports;
    for (int number = 0; number < kTagCount; ++number) {
        const PlatformModuleTag tag = static_cast<PlatformModuleTag>(number);
        TagReport report{number, library.GetNumberOfPlatformModulesForTag(tag), {}, false};
        for (const char* name : kKnownModules) {
            if (IPlatformModule* module = library.GetPlatformModule(tag, name)) {
                report.names.push_back(name);
                library.DeletePlatformModule(module);
            }
        }
        if (IPlatformModule* module = library.GetAbstractedPlatformModule(tag)) {
            report.supported = true;
            library.DeletePlatformModule(module);
        }
        reports.push_back(report);
    }

    if (context.json) {
        Json doc = {{"command", "modules"}, {"ok", true}, {"device", context.deviceLabel},
                    {"version", library.getPlatformVersion()}, {"tags", Json::array()}};
        for (const TagReport& r : reports) {
            doc["tags"].push_back({{"tag", r.tag}, {"family", kTagNames[r.tag]}, {"count", r.count},
                                   {"modules", r.names}, {"supported", r.supported}});
        }
        printf("%s\n", Document(doc).c_str());
        return kExitOk;
    }

    printf("device: %s\nplatform version %d\n", context.deviceLabel.c_str(),
           library.getPlatformVersion());
    printf("%-4s %-16s %-6s %-10s %s\n", "TAG", "FAMILY", "COUNT", "SUPPORTED", "MODULES");
    for (const TagReport& r : reports) {
        std::string names;
        for (const std::string& n : r.names) names += (names.empty() ? "" : ", ") + n;
        printf("%-4d %-16s %-6d %-10s %s\n", r.tag, kTagNames[r.tag], r.count,
               r.supported ? "yes" : "no", names.empty() ? "-" : names.c_str());
    }
    return kExitOk;
}

}  // namespace orvexctl
