// One step of orvexctl check, run in its own child process with a fresh library: it does what
// the scanning service does with one piece of the device's configuration and prints facts the
// report needs, one "key=value" per line. When the library stops, the supervisor reads the
// assertion from the log instead.

#include <stdio.h>

#include <exception>
#include <string>
#include <typeinfo>

#include "ConfigInfo.h"
#include "DeviceInfo.h"
#include "DeviceInfoBuilder.h"
#include "OdkList.h"
#include "Platform.h"
#include "PlatformModuleInterfaces.h"
#include "ProbeCommands.h"
#include "SimulatedDevice.h"
#include "SupportedScannerInfo.h"
#include "TimerProvider.h"

namespace orvexctl {

namespace {

void Fact(const char* key, const std::string& value) { printf("%s=%s\n", key, value.c_str()); }

int RunStep(const std::string& step) {
    if (step == "settings") return 0;  // loading the library read the settings file
    if (step == "dependencies") {
        for (const char* name : {"scannerlistxml", "scannerresourceconfig", "sctimerfifo",
                                 "libplatformso"}) {
            Fact(name, ConfigInfo::ResolveConfigDependency(name));
        }
        return 0;
    }
    DeviceInfo* info = odk::DeviceInfoBuilder::GetDeviceInfoInstance();
    if (step == "GetPlatformName") Fact("value", info->GetPlatformName());
    else if (step == "GetProductName") Fact("value", info->GetProductName());
    else if (step == "GetProductModel") Fact("value", info->GetProductModel());
    else if (step == "GetProductSKU") Fact("value", info->GetProductSKU());
    else if (step == "GetManufacturerName") Fact("value", info->GetManufacturerName());
    else if (step == "GetAndroidVersion") Fact("value", info->GetAndroidVersion());
    else if (step == "GetABI") Fact("value", info->GetABI());
    else if (step == "imager") {
        Fact("scanner", std::to_string(info->GetScanner()));
        Fact("interfaceType", std::to_string(info->GetImagerInterfaceType()));
    } else if (step == "scannerlist") {
        SupportedScannerInfo* scanners = odk::DeviceInfoBuilder::GetSupportedScannerInfoInstance();
        Fact("scanners", std::to_string(scanners != nullptr && scanners->IsScannerListAvailable()
                                            ? scanners->GetNumberOfSupportedScanners()
                                            : 0));
    } else if (step == "triggers") {
        auto* triggers = static_cast<ITriggersModule*>(
            GetPlatformModule(PLATFORM_MODULE_TRIGGERS, "Triggers"));
        bool init = triggers != nullptr && triggers->Init();
        Fact("init", init ? "true" : "false");
        Fact("keys", std::to_string(triggers != nullptr ? triggers->GetTriggerInfo()->size() : 0));
        if (triggers != nullptr) triggers->Deinit();
        DeletePlatformModule(triggers);
    } else if (step == "timer") {
        TimerProvider::Initialize();
        TimerProvider::DeInitialize();
    } else {
        fprintf(stderr, "unknown check step %s\n", step.c_str());
        return 2;
    }
    return 0;
}

}  // namespace

int ProbeCheckStep(const ProbeContext&, const std::vector<std::string>& args) {
    if (args.size() != 1) return 2;
    orvex::sim::SimulatedDevice device;
    device.Start();
    try {
        return RunStep(args[0]);
    } catch (const std::exception& e) {
        // The library lets some conversions throw to its caller (a number that is not one).
        Fact("exception", std::string(typeid(e).name()) + ": " + e.what());
        return 3;
    }
}

}  // namespace orvexctl
