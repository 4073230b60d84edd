#include "ImagerControlHIDLProxy.h"

#include <string.h>

#include "ImagerCompanionAssociation.h"
#include "ScannerLog.h"

using android::sp;
using android::hardware::hidl_vec;
using vendor::tevrin::hardware::dchwmanager::V1_0::IImager;

ImagerControlHIDLProxy::ImagerControlHIDLProxy()
    : sp_DCHWManager(nullptr),
      sp_Imager(nullptr),
      sp_ImagerControlHIDL(nullptr),
      b_Associated(false) {
    if (!associateImagerControlHIDL()) {
        SF_LOGE(
            "[ImagerControlHIDLProxy::ImagerControlHIDLProxy] failed to associate ImagerControl "
            "HIDL");
    }
}

ImagerControlHIDLProxy::~ImagerControlHIDLProxy() { disAssociateImagerControlHIDL(); }

bool ImagerControlHIDLProxy::associateImagerControlHIDL() {
    static const ImagerCompanionTexts kTexts = {
        "[ImagerControlHIDLProxy::associateImagerControlHIDL] Master HIDL (DCHWManager) is not "
        "available",
        "[ImagerControlHIDLProxy::associateImagerControlHIDL] Unable to get DCHWManager HIDL "
        "interface.",
        "[ImagerControlHIDLProxy::associateImagerControlHIDL] Unable to get IImager HIDL "
        "interface.",
        // Names the control interface although only the imager is in hand; log readers match it.
        "[ImagerControlHIDLProxy::associateImagerControlHIDL] Acquired IImagerControl HIDL "
        "interface.",
        "[ImagerControlHIDLProxy::associateImagerControlHIDL] Unable to open imager",
        "[ImagerControlHIDLProxy::associateImagerControlHIDL] Unable to get IImagerControlHIDL "
        "interface.",
        "[ImagerControlHIDLProxy::associateImagerControlHIDL] Acquired IImagerControlHIDL "
        "interface.",
    };
    return AssociateImagerCompanion(sp_DCHWManager, sp_Imager, b_Associated, kTexts,
                                    [this](IImager& imager) {
                                        sp_ImagerControlHIDL = imager.getImagerControl();
                                        return sp_ImagerControlHIDL != nullptr;
                                    });
}

void ImagerControlHIDLProxy::disAssociateImagerControlHIDL() {
    if (sp_Imager != nullptr) {
        SF_LOGI("[ImagerControlHIDLProxy::disAssociateImagerControlHIDL] Calling close imager");
        // The status is of no use here; a service that died already has closed the imager.
        sp_Imager->closeImager().isOk();
    }
    b_Associated = false;
    sp_ImagerControlHIDL = nullptr;
    sp_Imager = nullptr;
    sp_DCHWManager = nullptr;
    SF_LOGI("[ImagerControlHIDLProxy::disAssociateImagerControlHIDL] disconnected Control HIDL");
}

uint32_t ImagerControlHIDLProxy::sendCommand(unsigned char* command, unsigned int commandLength,
                                             unsigned char* reply, unsigned int replySize,
                                             unsigned int arg5, unsigned int arg6) {
    if (sp_ImagerControlHIDL == nullptr) {
        SF_LOGE("[ImagerControlHIDLProxy::sendCommand] sp_ImagerControlHIDL is Null");
        return 1;
    }
    hidl_vec<uint8_t> bytes;
    bytes.setToExternal(command, commandLength);
    // A call that never answers counts as a failure.
    int8_t status = -1;
    size_t replyLength = 0;
    sp_ImagerControlHIDL
        ->sendCommand(bytes, commandLength, replySize, arg5, arg6,
                      [&](int8_t replyStatus, const hidl_vec<uint8_t>& replyBytes) {
                          status = replyStatus;
                          replyLength = replyBytes.size();
                          if (replyLength > 0) memcpy(reply, replyBytes.data(), replyLength);
                      })
        .isOk();
    if (status != 0) {
        SF_LOGE(
            "[ImagerControlHIDLProxy::sendCommand] Error at HIDL Service (sp_ImagerControlHIDL "
            "instance is NULL, Error - Unable to send command)");
        return static_cast<uint32_t>(status);
    }
    return 0;
}

bool ImagerControlHIDLProxy::configureSettleCount(unsigned int settleCount) {
    SF_LOGI("[ImagerControlHIDLProxy::configureSettleCount]");
    if (sp_ImagerControlHIDL == nullptr) {
        SF_LOGE("[ImagerControlHIDLProxy::configureSettleCount] sp_ImagerControlHIDL is Null");
        return false;
    }
    return static_cast<int8_t>(sp_ImagerControlHIDL->configureSettleCount(settleCount)) != 0;
}
