// The camera vendor tag module: looks up the identifiers the camera stack gave its vendor tags,
// by name, through the hardware manager's ICameraVendorTagProvider. Answers are not cached:
// identifiers are assigned at run time and every lookup asks the provider.
//
// Threads: every operation runs on the caller's thread and takes no lock; the instance belongs
// to one caller thread at a time.
#pragma once

#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/ICameraVendorTagProvider.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>

#include <string>

#include "ComponentIndex.h"
#include "PlatformModuleInterfaces.h"

template <AndroidVersion T>
class CameraModule : public ICameraModule {
  public:
    CameraModule();
    ~CameraModule() override;

    // True without looking for the service.
    bool IsSupported() override;
    char const* GetModuleName() override;
    // Connects; false when already connected to a live service.
    bool Init() override;
    // Drops the connection; Init may connect again.
    bool DeInit() override;
    // The provider's identifier for `name`, unchanged; -1 without a connection.
    int32_t GetCameraVendorTagID(std::string name) override;

    bool associateCameraVendorTagHIDL();
    void disassociateCameraVendorTagHIDL();

    class _thread_register {
      public:
        _thread_register() {
            ComponentIndex::Instance()->AddPlatformModule(&Constructor<CameraModule<T>>,
                                                          PLATFORM_MODULE_CAMERA, "CameraModule");
        }
    };
    static _thread_register Obj;

  private:
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager> sp_DCHWManager;
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::ICameraVendorTagProvider>
        sp_CameraTagProvider;
    bool b_CameraVendorTagInit;
};
