// The module families, the base of every module and the registration pieces every module uses.
#pragma once

#include <stdint.h>

// Callers pass these numbers; the numbers are the contract. The fixed underlying type keeps a
// caller's out-of-range number a defined value that the entry functions can refuse.
enum PlatformModuleTag : int {
    PLATFORM_MODULE_BEEP = 0,
    PLATFORM_MODULE_LED = 1,
    PLATFORM_MODULE_TRIGGERS = 2,
    PLATFORM_MODULE_RESERVED_3 = 3,
    PLATFORM_MODULE_RESERVED_4 = 4,
    PLATFORM_MODULE_RESERVED_5 = 5,
    PLATFORM_MODULE_HW_TRIGGER = 6,
    PLATFORM_MODULE_EXTERNAL_HAPTIC = 7,
    PLATFORM_MODULE_IMAGER = 8,
    PLATFORM_MODULE_SERIAL_PORT = 9,
    PLATFORM_MODULE_PLUGABLE_DEVICE = 10,
    PLATFORM_MODULE_BATTERY_SWAP = 11,
    PLATFORM_MODULE_HW_INFO = 12,
    PLATFORM_MODULE_CAMERA = 13,
};

// Used only as the template argument of the module classes; this build instantiates 10 only.
enum AndroidVersion {
    ANDROID_VERSION_10 = 10,
};

// Every module is destroyed through this base by DeletePlatformModule.
class IPlatformModule {
public:
    virtual ~IPlatformModule() {}
};

// The base of every module except the imager proxy: GetAbstractedPlatformModule asks it whether
// the hardware is present before handing it out.
class ISupportedPlatformModule : public IPlatformModule {
public:
    virtual bool IsSupported() = 0;
    virtual char const* GetModuleName() = 0;
};

typedef IPlatformModule* (*PlatformModuleFactory)();

// The factory of every module class: a new object each call, owned by the caller.
template <class X>
IPlatformModule* Constructor() {
    return new X();
}
