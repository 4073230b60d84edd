// The trigger resource file as the trigger configuration module reads it, for a device without
// an imager service (so the no-imager relabelling runs too). The device is a QT7BW; the input
// is the whole file. Every entry the module lists must read back as a complete key.

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <string>

#include "FuzzSupport.h"
#include "IPlatformModule.h"
#include "ITriggerInfo.h"
#include "OdkList.h"
#include "Platform.h"
#include "PlatformModuleInterfaces.h"
#include "orvex/properties.h"

namespace {

constexpr const char* kFile = "/system/etc/scanner/ScannerResourceConfig.xml";

const char kDependencies[] =
    "<ExternalDependencies><files><file><name>scannerresourceconfig</name>"
    "<absolutepath>true</absolutepath>"
    "<path>/system/etc/scanner/ScannerResourceConfig.xml</path></file></files>"
    "<binaries/><properties/></ExternalDependencies>";

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char*** argv) {
    orvex::fuzz::UseShortProcessName(*argv, "trigger_fuzzer");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool ready = [] {
        orvex::fuzz::Setup();
        orvex::fuzz::WriteDeviceFile("/system/etc/scanner/ExternalDependencies.xml", kDependencies);
        orvex::properties::Set("ro.product.model", "QT7BW");
        orvex::properties::Set("ro.product.device", "QT7BWN");
        return true;
    }();
    (void)ready;
    orvex::fuzz::WriteDeviceFile(kFile, data, size);

    auto* triggers = static_cast<ITriggersModule*>(
        GetPlatformModule(PLATFORM_MODULE_TRIGGERS, "Triggers"));
    if (triggers == nullptr) __builtin_trap();
    bool init = false;
    try {
        init = triggers->Init();
    } catch (const orvex::fuzz::ExpectedAssertion&) {
        DeletePlatformModule(triggers);
        return 0;
    }
    odk::List<odk::ITriggerInfo*>* list = triggers->GetTriggerInfo();
    uint32_t seen = 0;
    list->begin();
    while (list->hasNext()) {
        odk::ITriggerInfo* key = list->get();
        if (key == nullptr || key->GetFriendlyName() == nullptr ||
            key->GetScannerResource() == nullptr) {
            __builtin_trap();
        }
        // No key drives the imager's centre trigger on a device without an imager.
        if (strcmp(key->GetScannerResource(), "TRIGGER_CENTER") == 0) __builtin_trap();
        ++seen;
        list->movenext();
    }
    // A device element makes a table: its keys, or the built-in triggers when it lists none.
    if (seen != list->size() || (init && seen == 0) || (!init && seen != 0)) __builtin_trap();
    triggers->Deinit();
    DeletePlatformModule(triggers);
    return 0;
}
