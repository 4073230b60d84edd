#include "HWBeep.h"

#include <media/AudioSystem.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <cmath>
#include <limits>

#include "DeviceInfoBuilder.h"
#include "ScannerLog.h"

template <AndroidVersion T>
typename HWBeep<T>::_thread_register HWBeep<T>::Obj;

namespace {

constexpr size_t kKeyCompareLength = 255;
constexpr size_t kParameterTextBound = 255;

// What the beep uses when the stream reports a maximum of 0.
constexpr int32_t kVolumeWithoutMaximum = 2;

// The outputs that count as a headset, asked in this order.
constexpr audio_devices_t kHeadsetDevices[] = {
    AUDIO_DEVICE_OUT_WIRED_HEADSET,
    AUDIO_DEVICE_OUT_WIRED_HEADPHONE,
    AUDIO_DEVICE_OUT_USB_HEADSET,
    AUDIO_DEVICE_OUT_BLUETOOTH_A2DP,
    AUDIO_DEVICE_OUT_BLUETOOTH_A2DP_HEADPHONES,
    AUDIO_DEVICE_OUT_BLUETOOTH_A2DP_SPEAKER,
    AUDIO_DEVICE_OUT_BLUETOOTH_SCO,
    AUDIO_DEVICE_OUT_BLUETOOTH_SCO_HEADSET,
    AUDIO_DEVICE_OUT_BLUETOOTH_SCO_CARKIT,
};

// The stream volume on the beep's 0..10 scale: (10 / max) * current in double precision, in
// that order, halves rounded away from zero. Not clamped: callers rely on a volume above the
// maximum (or an unreachable audio service, -1 of -1) reaching the service as computed.
int32_t ScaleStreamVolume(int current, int max) {
    const double scaled = std::round((10.0 / max) * current);
    if (scaled >= static_cast<double>(std::numeric_limits<int32_t>::max())) {
        return std::numeric_limits<int32_t>::max();
    }
    if (scaled <= static_cast<double>(std::numeric_limits<int32_t>::min())) {
        return std::numeric_limits<int32_t>::min();
    }
    return static_cast<int32_t>(scaled);
}

}  // namespace

template <AndroidVersion T>
HWBeep<T>::HWBeep()
    : b_beepEnabled(true),
      b_ignore_ovc_volume(false),
      i_Frequency(12),
      i_Duration(30),
      i_Volume(7),
      i_Timeout(15000),
      i_TimeoutAfter(0),
      i_VolumeSliderType(2),
      m_Parameters(),
      m_pAudioManager(AudioManager::GetInstance()) {}

template <AndroidVersion T>
HWBeep<T>::~HWBeep() {
    // The connection is shared: dropping it makes the next associate fetch the service anew.
    HWBeepHal::b_HWbeepInit = false;
    HWBeepHal::sp_IHardwareBeepConfigs.clear();
    sp_HWBeep.clear();
}

template <AndroidVersion T>
bool HWBeep<T>::IsSupported() {
    android::sp<HWBeepHal::IHardwareBeepConfigs> hal = HWBeepHal::associate();
    bool supported = false;
    if (hal != nullptr) supported = hal->isHWBeepSupported();
    // Probing leaves no connection behind.
    HWBeepHal::b_HWbeepInit = false;
    HWBeepHal::sp_IHardwareBeepConfigs.clear();
    return supported;
}

template <AndroidVersion T>
char const* HWBeep<T>::GetModuleName() {
    return "HWBeep";
}

template <AndroidVersion T>
bool HWBeep<T>::InitializeFeedback() {
    sp_HWBeep = HWBeepHal::associate();
    if (sp_HWBeep == nullptr) {
        SF_LOGE("[HWBeep::InitializeFeedback] initialization failed");
        HWBeepHal::b_HWbeepInit = false;
        HWBeepHal::sp_IHardwareBeepConfigs.clear();
        return false;
    }
    if (!sp_HWBeep->isHWBeepSupported()) {
        SF_LOGE("[HWBEEP::InitializeFeedback] HWBEEP IS NOT SUPPORTED..");
        return false;
    }
    return true;
}

template <AndroidVersion T>
int HWBeep<T>::GetStreamType() {
    switch (static_cast<uint32_t>(i_VolumeSliderType)) {
        case 0:
            return AUDIO_STREAM_RING;
        case 1:
            return AUDIO_STREAM_MUSIC;
        case 2:
            return AUDIO_STREAM_ALARM;
        default:
            return AUDIO_STREAM_NOTIFICATION;
    }
}

template <AndroidVersion T>
bool HWBeep<T>::PrepareFeedbackForTrigger() {
    SF_LOGD("[HWBeep<T>::PrepareFeedbackForTrigger ] +");
    if (!b_beepEnabled) return true;

    i_Volume = odk::DeviceInfoBuilder::GetDeviceInfoInstance()->GetScannerBeepVolume();
    if (i_Volume == -1 || b_ignore_ovc_volume) {
        const int stream = GetStreamType();
        const int current = m_pAudioManager->GetStreamVolume(stream);
        const int max = m_pAudioManager->GetStreamMaxVolume(stream);
        i_Volume = max == 0 ? kVolumeWithoutMaximum : ScaleStreamVolume(current, max);
        // The slider setting, not the stream it selects, is what the line reports.
        SF_LOGD(
            "[HWBEEP<T>::PrepareFeedbackForTrigger] Stream %d, Current volume %d, Max volume %d",
            i_VolumeSliderType, current, max);
    }

    memset(m_Parameters, 0, sizeof m_Parameters);
    SF_LOGD("[HWBEEP<T>::PrepareFeedbackForTrigger] i_Volume= %d", i_Volume);
    // The timeout goes out twice: as "timeout" and in place of "timeout_after".
    snprintf(m_Parameters, kParameterTextBound,
             "frequency=%i;duration=%i;volume=%i;timeout=%i;timeout_after=%i", i_Frequency,
             i_Duration, i_Volume, i_Timeout, i_Timeout);
    sp_HWBeep->setBeepConfig(i_Frequency, i_Duration, i_Volume, i_Timeout, i_Timeout).isOk();
    return true;
}

template <AndroidVersion T>
bool HWBeep<T>::TriggerFeedback() {
    SF_LOGD("[HWBeep::TriggerFeedback] +");
    if (!b_beepEnabled) return true;
    SF_LOGD("[HWBeep::TriggerFeedback] - start_beep +");
    SF_LOG_IF(5, ANDROID_LOG_INFO, "SFSoftwareCFA",
              "[HWBeep::TriggerFeedback] --Audio in SF Trigger \n");
    SF_LOG_IF(5, ANDROID_LOG_INFO, "SFSoftwareCFA",
              "[HWBeep::TriggerFeedback] --Audio beep start Trigger");
    const int32_t started = sp_HWBeep->startBeep();
    if (started <= 0) {
        // The service refused (it may have lost its configuration): configure and try once more.
        sp_HWBeep->setBeepConfig(i_Frequency, i_Duration, i_Volume, i_Timeout, i_Timeout).isOk();
        sp_HWBeep->startBeep().isOk();
    }
    SF_LOG_IF(5, ANDROID_LOG_INFO, "SFSoftwareCFA",
              "[HWBeep::TriggerFeedback] --Audio beep stop Trigger");
    return true;
}

template <AndroidVersion T>
bool HWBeep<T>::ResetFeedback() {
    return true;
}

template <AndroidVersion T>
void HWBeep<T>::ReleaseResources() {}

template <AndroidVersion T>
bool HWBeep<T>::ReinitializeFeedback() {
    return true;
}

template <AndroidVersion T>
char const* HWBeep<T>::GetParameter(char const* /*name*/) {
    return "";
}

template <AndroidVersion T>
void HWBeep<T>::SetParameter(char const* name, char const* value) {
    // Two independent chains: a name may match one key of each.
    if (strncmp(name, "frequency", kKeyCompareLength) == 0) {
        i_Frequency = atoi(value);
    } else if (strncmp(name, "volume", kKeyCompareLength) == 0) {
        i_Volume = atoi(value);
    } else if (strncmp(name, "duration", kKeyCompareLength) == 0) {
        i_Duration = atoi(value);
    }

    if (strncmp(name, "remote_scanner_audio_feedback_mode", kKeyCompareLength) == 0) {
        // Modes 1 and 3 silence the beep.
        b_beepEnabled = (atoi(value) | 2) != 3;
    } else if (strncmp(name, "volume_slider_type", kKeyCompareLength) == 0) {
        i_VolumeSliderType = atoi(value);
    } else if (strncmp(name, "ignore_ovc_volume", kKeyCompareLength) == 0) {
        // A bounded compare of a literal: only "true" itself matches.
        b_ignore_ovc_volume =
            strncmp(value, "true", 100) == 0;  // NOLINT(bugprone-not-null-terminated-result)
        if (b_ignore_ovc_volume) SF_LOGD("[HWBeep::SetParameter] b_ignore_ovc_volume to true\n");
    }
}

template <AndroidVersion T>
bool HWBeep<T>::CheckExternalHeadset() {
    bool connected = false;
    // Every device is asked, also after a hit.
    for (audio_devices_t device : kHeadsetDevices) {
        if (android::AudioSystem::getDeviceConnectionState(device, "") != 0) connected = true;
    }
    if (connected) {
        SF_LOGI("[HWBeep::CheckExternalHeadset] BT or Wired Headset detected\n");
    } else {
        SF_LOGD("[HWBeep::CheckExternalHeadset] No External Headset is connected\n");
    }
    return connected;
}

template <AndroidVersion T>
bool HWBeep<T>::ReadSubmit() {
    return true;
}

template <AndroidVersion T>
void HWBeep<T>::SetCallback(ICallback* /*callback*/) {}

template class HWBeep<(AndroidVersion)10>;
