#include "Platform.h"

#include <string>

#include "ComponentIndex.h"
// Kept although nothing here resolves a name: this file holds its own set of the resolver's
// statics, constructed at this point of the load.
#include "ConfigInfo.h"
#include "ScannerLog.h"

namespace {

constexpr const char* kInvalidTagName = "Invalid Platform Module Tag";

// The names GetAbstractedPlatformModule asks for. Tags 8, 11 and 13 are left out on purpose:
// those modules are only handed out by name.
const char* AbstractedModuleName(PlatformModuleTag tag) {
    switch (tag) {
        case PLATFORM_MODULE_BEEP: return "HWBeep";
        case PLATFORM_MODULE_LED: return "LEDNotification";
        case PLATFORM_MODULE_TRIGGERS: return "Triggers";
        case PLATFORM_MODULE_HW_TRIGGER: return "HWTrigger";
        case PLATFORM_MODULE_EXTERNAL_HAPTIC: return "IExternalHapticFeedack";
        case PLATFORM_MODULE_SERIAL_PORT: return "SerialPort";
        case PLATFORM_MODULE_PLUGABLE_DEVICE: return "PlugableDeviceNotifier";
        case PLATFORM_MODULE_HW_INFO: return "PlatformHWInfoRetriever";
        default: return kInvalidTagName;
    }
}

}  // namespace

extern "C" {

int getPlatformVersion() { return 1; }

IPlatformModule* GetPlatformModule(PlatformModuleTag tag, const char* name) {
    return ComponentIndex::Instance()->CreateModule(tag, std::string(name != nullptr ? name : ""));
}

IPlatformModule* GetAbstractedPlatformModule(PlatformModuleTag tag) {
    const char* name = AbstractedModuleName(tag);
    IPlatformModule* module = ComponentIndex::Instance()->CreateModule(tag, name);
    if (module == nullptr) return nullptr;
    // Every name in the table above belongs to a module with IsSupported.
    if (!static_cast<ISupportedPlatformModule*>(module)->IsSupported()) {
        SF_LOGE("[Platform::GetAbstractedPlatformModule] Platform module : %s (%d) is not supported.",
                name, static_cast<int>(tag));
        delete module;
        return nullptr;
    }
    return module;
}

void DeletePlatformModule(IPlatformModule* module) { delete module; }

int GetNumberOfPlatformModulesForTag(PlatformModuleTag tag) {
    return static_cast<int>(ComponentIndex::Instance()->GetNumberOfFeedbackModules(tag));
}

}  // extern "C"
