// Frame acquisition through the hardware manager's imager adapter. Handed out and owned by the
// imager module; associating opens the imager, the destructor closes it again. Frames reach the
// caller's IImageCallback through a FrameCallback that this object registers.
//
// Threads: one caller thread at a time runs every operation and nothing here is locked; frames
// arrive on a runtime thread and never touch this object (only its FrameCallback).
#pragma once

#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IImager.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IImagerAdapter.h>

#include <string>

#include "FrameCallback.h"
#include "PlatformModuleInterfaces.h"

class V4L2ImagerAdapterHIDLProxy : public IImagerAdapterProxy {
  public:
    V4L2ImagerAdapterHIDLProxy();
    ~V4L2ImagerAdapterHIDLProxy() override;

    // Every operation answers 1 without the adapter interface; otherwise 0 for success.
    uint8_t InitAdapter(char const* adapterClassName, __preview_size__ previewSize) override;
    uint8_t DeinitAdapter() override;
    // Registers a new frame callback for `callback` with the stored geometry.
    uint8_t Enable(IImageCallback* callback) override;
    // Starts the stream unless it runs already, then prepares the acquisition; 0 always.
    uint8_t StartStreaming() override;
    // Halts the acquisition; stops the stream after a settle pause for a timed stop (halt false,
    // flag 1) and on the platform that needs it (halt true on "lahaina"); 0 always.
    uint8_t StopStreaming(bool halt, int stopFlag) override;
    uint8_t Disable() override;
    // Points into this object and stays valid until the next call.
    char const* GetParameter(std::string name) override;
    uint8_t SetParameter(std::string name, std::string value) override;
    void SetPreviewSize(__preview_size__ previewSize) override;
    bool IsStreaming() override;

  private:
    bool associateImagerAdapterHIDL();
    void disAssociateImagerAdapterHIDL();
    // Gives the stored geometry to the current frame callback.
    void UpdateFrameCallback();

    __preview_size__ n_PreviewSize;
    uint32_t n_StreamRequest;
    int n_StopFlag;
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager> sp_DCHWManager;
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IImager> sp_Imager;
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IImagerAdapter> sp_ImagerAdapterHIDL;
    android::sp<vendor::tevrin::hardware::dchwmanager::implementation::FrameCallback>
        sp_FrameCallback;
    bool b_Associated;
    std::string str_Parameter;
};
