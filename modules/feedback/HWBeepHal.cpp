#include "HWBeepHal.h"

#include "ScannerLog.h"

android::sp<HWBeepHal::IHardwareBeepConfigs> HWBeepHal::sp_IHardwareBeepConfigs;
bool HWBeepHal::b_HWbeepInit = false;

android::sp<HWBeepHal::IHardwareBeepConfigs> HWBeepHal::associate() {
    if (sp_IHardwareBeepConfigs != nullptr) {
        if (sp_IHardwareBeepConfigs->ping().isOk()) return sp_IHardwareBeepConfigs;
    } else if (b_HWbeepInit) {
        return sp_IHardwareBeepConfigs;
    }
    sp_IHardwareBeepConfigs = IHardwareBeepConfigs::getService("default", false);
    b_HWbeepInit = true;
    if (sp_IHardwareBeepConfigs == nullptr) {
        SF_LOGE("[HWBeep::HWBeep()] Unable to get IHardwareBeepConfigs interface.");
    }
    return sp_IHardwareBeepConfigs;
}
