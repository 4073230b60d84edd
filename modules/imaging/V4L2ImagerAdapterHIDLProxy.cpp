#include "V4L2ImagerAdapterHIDLProxy.h"

#include <chrono>
#include <thread>

#include "DeviceInfoBuilder.h"
#include "ImagerCompanionAssociation.h"
#include "ScannerLog.h"

using android::sp;
using android::hardware::hidl_string;
using vendor::tevrin::hardware::dchwmanager::implementation::FrameCallback;
using vendor::tevrin::hardware::dchwmanager::V1_0::IImager;
using vendor::tevrin::hardware::dchwmanager::V1_0::PreviewSize;

namespace {

// The imager needs this long to settle before a stop, and before a start that follows a timed
// stop; shorter pauses leave it streaming garbage.
constexpr std::chrono::milliseconds kSettlePause(60);

// The platform whose imager must also be stopped, not only halted, when a scan ends.
constexpr const char* kStopOnHaltPlatform = "lahaina";

PreviewSize Narrow(const __preview_size__& size) {
    PreviewSize narrow;
    narrow.width = static_cast<uint16_t>(size.width);
    narrow.height = static_cast<uint16_t>(size.height);
    narrow.bitsPerPixel = static_cast<uint8_t>(size.bitsPerPixel);
    narrow.flag1 = size.flag1;
    narrow.flag2 = size.flag2;
    return narrow;
}

}  // namespace

V4L2ImagerAdapterHIDLProxy::V4L2ImagerAdapterHIDLProxy()
    : n_PreviewSize(),
      n_StreamRequest(0),
      n_StopFlag(0),
      sp_DCHWManager(nullptr),
      sp_Imager(nullptr),
      sp_ImagerAdapterHIDL(nullptr),
      sp_FrameCallback(nullptr),
      b_Associated(false) {
    if (!associateImagerAdapterHIDL()) {
        SF_LOGE(
            "[V4L2ImagerAdapterHIDLProxy::V4L2ImagerAdapterHIDLProxy] failed to associate "
            "ImagerAdapter HIDL");
    }
}

V4L2ImagerAdapterHIDLProxy::~V4L2ImagerAdapterHIDLProxy() { disAssociateImagerAdapterHIDL(); }

bool V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL() {
    static const ImagerCompanionTexts kTexts = {
        "[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Master HIDL (DCHWManager) is "
        "not available",
        "[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Unable to get DCHWManager HIDL "
        "interface.",
        "[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Unable to get IImager HIDL "
        "interface.",
        "[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Acquired IImager HIDL "
        "interface.",
        // The control object's text: log readers match one line for both companions.
        "[ImagerControlHIDLProxy::associateImagerControlHIDL] Unable to open imager",
        "[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Unable to get IImagerAdapter "
        "HIDL interface.",
        "[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Acquired IImagerAdapter HIDL "
        "interface.",
    };
    return AssociateImagerCompanion(sp_DCHWManager, sp_Imager, b_Associated, kTexts,
                                    [this](IImager& imager) {
                                        sp_ImagerAdapterHIDL = imager.getImagerAdapter();
                                        return sp_ImagerAdapterHIDL != nullptr;
                                    });
}

void V4L2ImagerAdapterHIDLProxy::disAssociateImagerAdapterHIDL() {
    // The status is of no use here; a service that died already has closed the imager.
    if (sp_Imager != nullptr) sp_Imager->closeImager().isOk();
    b_Associated = false;
    sp_FrameCallback = nullptr;
    sp_ImagerAdapterHIDL = nullptr;
    sp_Imager = nullptr;
    sp_DCHWManager = nullptr;
    SF_LOGI(
        "[V4L2ImagerAdapterHIDLProxy::disAssociateImagerAdapterHIDL] disconnected Adapter HIDL");
}

void V4L2ImagerAdapterHIDLProxy::UpdateFrameCallback() {
    if (sp_FrameCallback != nullptr) {
        sp_FrameCallback->UpdatePreviewSize(new __preview_size__(n_PreviewSize));
    }
}

uint8_t V4L2ImagerAdapterHIDLProxy::InitAdapter(char const* adapterClassName,
                                                __preview_size__ previewSize) {
    if (sp_ImagerAdapterHIDL == nullptr) {
        SF_LOGE("[V4L2ImagerAdapterHIDLProxy::Init] sp_ImagerAdapterHIDL is Null");
        return 1;
    }
    const char* adapterClass = adapterClassName != nullptr ? adapterClassName : "";
    n_PreviewSize = previewSize;
    SF_LOGI("[V4L2ImagerAdapterHIDLProxy::Init]adapterClass = %s ", adapterClass);
    int8_t status = sp_ImagerAdapterHIDL->Init(adapterClass, Narrow(previewSize));
    if (status == -1) {
        SF_LOGE(
            "[V4L2ImagerAdapterHIDLProxy::Init] Error at HIDL Service (Adapter.so instance is "
            "NULL");
        return 1;
    }
    return static_cast<uint8_t>(status);
}

uint8_t V4L2ImagerAdapterHIDLProxy::DeinitAdapter() {
    if (sp_ImagerAdapterHIDL == nullptr) {
        SF_LOGE("[V4L2ImagerAdapterHIDLProxy::Deinit] sp_ImagerAdapterHIDL is Null");
        return 1;
    }
    return static_cast<uint8_t>(static_cast<int8_t>(sp_ImagerAdapterHIDL->Deinit()));
}

uint8_t V4L2ImagerAdapterHIDLProxy::Enable(IImageCallback* callback) {
    if (sp_ImagerAdapterHIDL == nullptr) {
        // Names another operation; log readers match the text as it always was.
        SF_LOGE("[V4L2ImagerAdapterHIDLProxy::SetPreviewSize] sp_ImagerAdapterHIDL is Null");
        return 1;
    }
    SF_LOGI("[V4L2ImagerAdapterHIDLProxy::Enable] Transport is registerd");
    sp_FrameCallback = new FrameCallback(callback);
    // Frames may arrive before the geometry below is set; they fail to map and are dropped.
    int8_t registered = sp_ImagerAdapterHIDL->RegisterFrameCallback(sp_FrameCallback);
    (void)registered;
    UpdateFrameCallback();
    return 0;
}

uint8_t V4L2ImagerAdapterHIDLProxy::Disable() {
    if (sp_ImagerAdapterHIDL == nullptr) {
        SF_LOGE("[V4L2ImagerAdapterHIDLProxy::Disable] sp_ImagerAdapterHIDL is Null");
        return 1;
    }
    int8_t status = sp_ImagerAdapterHIDL->StopStreaming();
    if (status != 0) {
        SF_LOGE(
            "[V4L2ImagerAdapterHIDLProxy::Disable] Error in Adapter HIDL API StopStreaming is %d",
            status);
    }
    return static_cast<uint8_t>(status);
}

uint8_t V4L2ImagerAdapterHIDLProxy::StartStreaming() {
    if (sp_ImagerAdapterHIDL == nullptr) {
        SF_LOGE("[V4L2ImagerAdapterHIDLProxy::StartStreaming] sp_ImagerAdapterHIDL is Null");
        return 1;
    }
    n_StreamRequest = 0;
    if (!IsStreaming()) {
        if (n_StopFlag == 1) {
            SF_LOGI(
                "[V4L2ImagerAdapterHIDLProxy::StartStreaming] Wait in StartSteaming when flag "
                "is 1");
            std::this_thread::sleep_for(kSettlePause);
        }
        int8_t status = sp_ImagerAdapterHIDL->StartStreaming();
        if (status != 0) {
            SF_LOGE(
                "[V4L2ImagerAdapterHIDLProxy::StartStreaming] Error in Adapter HIDL API "
                "StartStreaming  %d",
                status);
        }
    }
    int8_t status = sp_ImagerAdapterHIDL->PrepAcquisition();
    if (status != 0) {
        SF_LOGE(
            "[V4L2ImagerAdapterHIDLProxy::StartStreaming] Error in Adapter HIDL API "
            "PrepAcquisition is %d",
            status);
    }
    status = sp_ImagerAdapterHIDL->PostAcquisition();
    if (status != 0) {
        SF_LOGE(
            "[V4L2ImagerAdapterHIDLProxy::StartStreaming] Error in Adapter HIDL API "
            "PostAcquisition is %d",
            status);
    }
    return 0;
}

uint8_t V4L2ImagerAdapterHIDLProxy::StopStreaming(bool halt, int stopFlag) {
    if (sp_ImagerAdapterHIDL == nullptr) {
        SF_LOGE("[V4L2ImagerAdapterHIDLProxy::StopStreaming] sp_ImagerAdapterHIDL is Null");
        return 1;
    }
    n_StopFlag = stopFlag;
    int8_t status = sp_ImagerAdapterHIDL->HaltAcquisition(halt, stopFlag);
    if (status != 0) {
        SF_LOGE(
            "[V4L2ImagerAdapterHIDLProxy::StopStreaming] Error in Adapter HIDL API "
            "HaltAcquisition is %d",
            status);
    }
    SF_LOGI("[V4L2ImagerAdapterHIDLProxy::StopStreaming] Flag received= %d", stopFlag);
    if (halt) {
        if (odk::DeviceInfoBuilder::GetDeviceInfoInstance()->GetPlatformName() ==
            kStopOnHaltPlatform) {
            std::this_thread::sleep_for(kSettlePause);
            status = sp_ImagerAdapterHIDL->StopStreaming();
            if (status != 0) {
                SF_LOGE(
                    "[V4L2ImagerAdapterProxy::StopStreaming] Error in ImagerAdapterHIDL "
                    "StopStreaming ret= %d\n",
                    status);
            }
        }
    } else if (stopFlag == 1) {
        // A timed hold or timed release ends the stream, not only the acquisition.
        SF_LOGD(
            "[V4L2ImagerAdapterHIDLProxy::StopStreaming] Call before Stop Streaming incase of "
            "Timed Hold or Timed Release");
        std::this_thread::sleep_for(kSettlePause);
        status = sp_ImagerAdapterHIDL->StopStreaming();
        if (status != 0) {
            SF_LOGE(
                "[V4L2ImagerAdapterHIDLProxy::StopStreaming] Error in ImagerAdapterHIDL "
                "StopStreaming ret= %d\n",
                status);
        }
    }
    return 0;
}

char const* V4L2ImagerAdapterHIDLProxy::GetParameter(std::string name) {
    if (sp_ImagerAdapterHIDL == nullptr) {
        SF_LOGE("[V4L2ImagerAdapterHIDLProxy::GetParameter] sp_ImagerAdapterHIDL is Null");
        return "Error - Imager Adapter HIDL is Null.";
    }
    std::string value = "Unsupported Parameter";
    int32_t status = 0;
    // A service that died before answering leaves the default; a delivered value, even an
    // empty one, is the answer.
    sp_ImagerAdapterHIDL
        ->GetParameter(name,
                       [&](int32_t answer, const hidl_string& text) {
                           status = answer;
                           value = std::string(text.c_str(), text.size());
                       })
        .isOk();
    if (status == -1) {
        SF_LOGE(
            "[V4L2ImagerAdapterHIDLProxy::GetParameter] Error at HIDL Service (Control.so "
            "instance is NULL)");
        return "Error - Unable to Get Parameter";
    }
    str_Parameter = value;
    return str_Parameter.c_str();
}

uint8_t V4L2ImagerAdapterHIDLProxy::SetParameter(std::string name, std::string value) {
    if (sp_ImagerAdapterHIDL == nullptr) {
        SF_LOGE("[V4L2ImagerAdapterHIDLProxy::SetParameter] sp_ImagerAdapterHIDL is Null");
        return 1;
    }
    return static_cast<uint8_t>(
        static_cast<int8_t>(sp_ImagerAdapterHIDL->SetParameter(name, value)));
}

void V4L2ImagerAdapterHIDLProxy::SetPreviewSize(__preview_size__ previewSize) {
    if (sp_ImagerAdapterHIDL == nullptr) {
        SF_LOGE("[V4L2ImagerAdapterHIDLProxy::SetPreviewSize] sp_ImagerAdapterHIDL is Null");
        return;
    }
    n_PreviewSize = previewSize;
    int8_t status = sp_ImagerAdapterHIDL->SetPreviewSize(Narrow(previewSize));
    (void)status;
    UpdateFrameCallback();
}

bool V4L2ImagerAdapterHIDLProxy::IsStreaming() {
    if (sp_ImagerAdapterHIDL == nullptr) {
        SF_LOGE("[V4L2ImagerAdapterHIDLProxy::IsStreaming] sp_ImagerAdapterHIDL is Null");
        return false;
    }
    return sp_ImagerAdapterHIDL->IsStreaming();
}
