// The imager module: opens and closes the imager of the hardware manager service, reports its
// engine identifier and interface type, and hands out the imager control and the V4L2 adapter,
// which it creates on first request and owns until deInit.
//
// Threads: one caller thread at a time runs every operation; the service calls are
// synchronous and nothing here runs on a runtime thread, so nothing is locked.
#pragma once

#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IImager.h>

#include <string>

#include "ComponentIndex.h"
#include "IPlatformModule.h"
#include "PlatformModuleInterfaces.h"

class ImagerControlHIDLProxy;
class V4L2ImagerAdapterHIDLProxy;

template <AndroidVersion T>
class ImagerHIDLProxy : public IImagerModule {
  public:
    // Connects to the imager; a failed connection leaves a module whose operations report the
    // missing imager.
    ImagerHIDLProxy();
    // Drops the connection. The companion objects are not deleted here: deInit must come first.
    ~ImagerHIDLProxy() override;

    // The imager service's status, or -1 without the imager.
    int8_t openImager() override;
    int8_t closeImager() override;
    // Created on the first call, then the same object until deInit.
    ImagerControlHIDLProxy* getImagerControlHIDLProxy() override;
    V4L2ImagerAdapterHIDLProxy* getImagerAdapterHIDLProxy() override;
    // The interface type, or -1 without the imager.
    int8_t getImagerInterfaceType() override;
    // The engine identifier text; empty without the imager or when the service has none.
    std::string getEngineID() override;
    // Deletes the companion objects (the control object closes the imager as it goes).
    void deInit() override;

    // Registers the module's factory while the library loads.
    class _thread_register {
      public:
        _thread_register() {
            ComponentIndex::Instance()->AddPlatformModule(
                &Constructor<ImagerHIDLProxy<T>>, PLATFORM_MODULE_IMAGER, "ImagerHIDLProxy");
        }
    };
    static _thread_register Obj;

  private:
    bool associateImagerHIDL();
    void disAssociateImagerHIDL();

    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager> sp_DCHWManager;
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IImager> sp_Imager;
    ImagerControlHIDLProxy* p_ImagerControl;
    V4L2ImagerAdapterHIDLProxy* p_ImagerAdapter;
};

extern template class ImagerHIDLProxy<(AndroidVersion)10>;
