// The battery swap module: tells the hardware manager's IBatterySwapHandler that a battery swap
// starts or has ended. The module keeps no swap state of its own; the handler's answers are the
// results.
//
// Threads: every operation runs on the caller's thread and takes no lock; the instance belongs
// to one caller thread at a time.
#pragma once

#include <vendor/tevrin/hardware/dchwmanager/1.0/IBatterySwapHandler.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>

#include "ComponentIndex.h"
#include "PlatformModuleInterfaces.h"

template <AndroidVersion T>
class BatterySwapModule : public IBatterySwapModule {
  public:
    BatterySwapModule();
    ~BatterySwapModule() override;

    // True without looking for the service.
    bool IsSupported() override;
    char const* GetModuleName() override;
    // Connects; false when already connected to a live service.
    bool Init() override;
    bool EnterBatterySwap() override;
    bool ExitBatterySwap() override;

    bool associateBatterySwapHIDL();
    void disassociateBatterySwapHIDL();

    class _thread_register {
      public:
        _thread_register() {
            ComponentIndex::Instance()->AddPlatformModule(&Constructor<BatterySwapModule<T>>,
                                                          PLATFORM_MODULE_BATTERY_SWAP,
                                                          "BatterySwapModule");
        }
    };
    static _thread_register Obj;

  private:
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager> sp_DCHWManager;
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IBatterySwapHandler>
        sp_BatterySwapHandler;
    bool b_BatterySwapInit;
};
