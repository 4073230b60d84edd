// Hardware-SKU facts that the device properties cannot answer: whether this is a federal SKU of
// the first or the second kind. This build answers false to both; a device build may answer
// from its hardware without changing the callers. Every object is created and used on the
// caller's thread; there is no state besides the registration.
#pragma once

#include "ComponentIndex.h"
#include "IPlatformModule.h"
#include "PlatformModuleInterfaces.h"

template <AndroidVersion T>
class PlatformHWInfoRetriever : public IHWInfoModule {
public:
    PlatformHWInfoRetriever();
    ~PlatformHWInfoRetriever() override;

    // Always true: the answers below need no hardware.
    bool IsSupported() override;
    char const* GetModuleName() override;
    bool isDeviceFederalSku1() override;
    bool isDeviceFederalSku2() override;

    // Registers the module's factory while the library loads.
    class _thread_register {
    public:
        _thread_register() {
            ComponentIndex::Instance()->AddPlatformModule(&Constructor<PlatformHWInfoRetriever<T>>,
                                                          PLATFORM_MODULE_HW_INFO,
                                                          "PlatformHWInfoRetriever");
        }
    };
    static _thread_register Obj;
};
