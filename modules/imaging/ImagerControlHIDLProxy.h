// Raw commands to the imager through the hardware manager's imager control. Handed out and
// owned by the imager module. Associating opens the imager; the destructor closes it again.
//
// Threads: one caller thread at a time; the service calls are synchronous, nothing is locked.
#pragma once

#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IImager.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IImagerControl.h>

#include "PlatformModuleInterfaces.h"

class ImagerControlHIDLProxy : public IImagerControlProxy {
  public:
    ImagerControlHIDLProxy();
    ~ImagerControlHIDLProxy() override;

    // Sends `commandLength` bytes of `command`, with `replySize`, `arg5` and `arg6` passed on
    // unchanged, and copies the whole reply into `reply`: the caller's buffer must hold the
    // longest reply the command can have, whatever `replySize` says. 0 on success, the
    // service's status otherwise, 1 without the control interface.
    uint32_t sendCommand(unsigned char* command, unsigned int commandLength, unsigned char* reply,
                         unsigned int replySize, unsigned int arg5, unsigned int arg6) override;
    // Whether the service took the settle count; false without the control interface.
    bool configureSettleCount(unsigned int settleCount) override;

  private:
    bool associateImagerControlHIDL();
    void disAssociateImagerControlHIDL();

    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager> sp_DCHWManager;
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IImager> sp_Imager;
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IImagerControl> sp_ImagerControlHIDL;
    bool b_Associated;
};
