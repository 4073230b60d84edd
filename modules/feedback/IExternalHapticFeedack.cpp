#include "IExternalHapticFeedack.h"

#include "ScannerLog.h"

template <AndroidVersion T>
typename IExternalHapticFeedack<T>::_thread_register IExternalHapticFeedack<T>::Obj;

namespace {

// The service's duration value for one vibration; no operation changes it.
constexpr int32_t kVibrationDuration = 300;

void DropConnection() {
    ExternalHapticFeedackHal::b_ExternalHapticFeedackInit = false;
    ExternalHapticFeedackHal::sp_PlugableHal.clear();
    ExternalHapticFeedackHal::sp_IDCHWManager.clear();
}

}  // namespace

template <AndroidVersion T>
IExternalHapticFeedack<T>::IExternalHapticFeedack()
    : b_externalVibratorPresent(false), i_vibrationDuration(kVibrationDuration) {
    SF_LOGD("[IExternalHapticFeedack<T>::IExternalHapticFeedack] ctor");
}

template <AndroidVersion T>
IExternalHapticFeedack<T>::~IExternalHapticFeedack() {
    DropConnection();
    SF_LOGD("[IExternalHapticFeedack<T>::~IExternalHapticFeedack]  dtor ");
    sp_PlugableDevice.clear();
}

template <AndroidVersion T>
bool IExternalHapticFeedack<T>::IsSupported() {
    const bool available = ExternalHapticFeedackHal::associate() != nullptr;
    DropConnection();
    SF_LOGD("[IExternalHapticFeedack<T>::IsSupported] bExternalHapticFeedackAvailable=%d ",
            available ? 1 : 0);
    return available;
}

template <AndroidVersion T>
char const* IExternalHapticFeedack<T>::GetModuleName() {
    return "IExternalHapticFeedack";
}

template <AndroidVersion T>
bool IExternalHapticFeedack<T>::InitializeFeedback() {
    sp_PlugableDevice = ExternalHapticFeedackHal::associate();
    if (sp_PlugableDevice == nullptr) {
        DropConnection();
        SF_LOGE("[IExternalHapticFeedack<T>::InitializeFeedback] intialisation failed");
        return false;
    }
    SF_LOGI(
        "[IExternalHapticFeedack<T>::InitializeFeedback] External Haptic feedback HAL has been "
        "associated");
    return true;
}

template <AndroidVersion T>
bool IExternalHapticFeedack<T>::PrepareFeedbackForTrigger() {
    SF_LOGD("[IExternalHapticFeedack<T>::PrepareFeedbackForTrigger ] +");
    if (sp_PlugableDevice == nullptr) {
        SF_LOGE(
            "[IExternalHapticFeedack<T>::PrepareFeedbackForTrigger ] Something is wrong. "
            "IQBIoConnectorDevice is null");
        return false;
    }
    // Asked before every scan, so a vibrator plugged in between scans is found.
    b_externalVibratorPresent = sp_PlugableDevice->isExternalVibratorPresent();
    if (b_externalVibratorPresent) {
        SF_LOGD(
            "[IExternalHapticFeedack<T>::PrepareFeedbackForTrigger ] External vibrator present");
    } else {
        SF_LOGI(
            "[IExternalHapticFeedack<T>::PrepareFeedbackForTrigger ] External vibrator not "
            "present");
    }
    return b_externalVibratorPresent;
}

template <AndroidVersion T>
bool IExternalHapticFeedack<T>::TriggerFeedback() {
    SF_LOGD("[IExternalHapticFeedack::TriggerFeedback] +");
    if (!b_externalVibratorPresent) return true;
    const int32_t result = sp_PlugableDevice->vibrateExternal(i_vibrationDuration);
    SF_LOGD("[IExternalHapticFeedack::TriggerFeedback] vibrateExternal ret:%d", result);
    return true;
}

template <AndroidVersion T>
bool IExternalHapticFeedack<T>::ResetFeedback() {
    return true;
}

template <AndroidVersion T>
void IExternalHapticFeedack<T>::ReleaseResources() {}

template <AndroidVersion T>
bool IExternalHapticFeedack<T>::ReinitializeFeedback() {
    return false;
}

template <AndroidVersion T>
char const* IExternalHapticFeedack<T>::GetParameter(char const* /*name*/) {
    return nullptr;
}

template <AndroidVersion T>
void IExternalHapticFeedack<T>::SetParameter(char const* /*name*/, char const* /*value*/) {}

template <AndroidVersion T>
bool IExternalHapticFeedack<T>::CheckExternalHeadset() {
    return false;
}

template <AndroidVersion T>
bool IExternalHapticFeedack<T>::ReadSubmit() {
    return true;
}

template <AndroidVersion T>
void IExternalHapticFeedack<T>::SetCallback(ICallback* /*callback*/) {}

template class IExternalHapticFeedack<(AndroidVersion)10>;
