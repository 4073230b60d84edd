#include "ExternalHapticFeedackHal.h"

#include "ScannerLog.h"

android::sp<ExternalHapticFeedackHal::IDCHWManager> ExternalHapticFeedackHal::sp_IDCHWManager;
android::sp<ExternalHapticFeedackHal::IPlugableDeviceNotifier>
    ExternalHapticFeedackHal::sp_PlugableHal;
bool ExternalHapticFeedackHal::b_ExternalHapticFeedackInit = false;

android::sp<ExternalHapticFeedackHal::IPlugableDeviceNotifier>
ExternalHapticFeedackHal::associate() {
    if (sp_IDCHWManager != nullptr || b_ExternalHapticFeedackInit) {
        if (sp_IDCHWManager == nullptr) return sp_PlugableHal;
        if (sp_IDCHWManager->ping().isOk()) return sp_PlugableHal;
    }
    sp_IDCHWManager = IDCHWManager::getService("default", false);
    if (sp_IDCHWManager == nullptr) {
        SF_LOGE("[IDCHWManager] Unable to get IDCHWManager interface.");
        return sp_PlugableHal;
    }
    sp_PlugableHal = sp_IDCHWManager->getPlugableDeviceNotifier();
    if (sp_PlugableHal != nullptr) {
        b_ExternalHapticFeedackInit = true;
        SF_LOGD("[IDCHWManager] Acquired Plugable interface.");
    } else {
        SF_LOGE("[IDCHWManager] Unable to get Plugable interface.");
    }
    return sp_PlugableHal;
}
