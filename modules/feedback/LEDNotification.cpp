#include "LEDNotification.h"

#include <stdlib.h>
#include <string.h>

#include "ScannerLog.h"

template <AndroidVersion T>
typename LEDNotification<T>::_thread_register LEDNotification<T>::Obj;

template <AndroidVersion T>
std::recursive_mutex LEDNotification<T>::ms_LightLock;

namespace {

constexpr size_t kCompareLength = 100;

bool IsTrue(const char* value) { return strncmp(value, "true", kCompareLength) == 0; }

// Drops the shared light object so that the next associate connects anew.
void DropLight() {
    LightHal::b_LightInit = false;
    delete LightHal::lighthal;
    LightHal::lighthal = nullptr;
}

}  // namespace

template <AndroidVersion T>
LEDNotification<T>::LEDNotification()
    : b_decodingLedFeedback(false),
      b_isRedLedActive(false),
      i_goodDecodeLedTimer(-1),
      p_goodDecodeTimer(nullptr),
      p_light(nullptr),
      p_callback(nullptr) {}

template <AndroidVersion T>
LEDNotification<T>::~LEDNotification() {
    DropLight();
}

template <AndroidVersion T>
bool LEDNotification<T>::IsSupported() {
    const bool supported = LightHal::associate() != nullptr;
    DropLight();
    return supported;
}

template <AndroidVersion T>
char const* LEDNotification<T>::GetModuleName() {
    return "LEDNotification";
}

template <AndroidVersion T>
bool LEDNotification<T>::InitializeFeedback() {
    std::lock_guard<std::recursive_mutex> lock(ms_LightLock);
    p_light = LightHal::associate();
    if (p_light == nullptr) {
        SF_LOGE("[LEDNotification::InitializeFeedback] initialization failed");
        DropLight();
        return false;
    }
    p_light->setcolor(static_cast<int>(kRed));
    return true;
}

template <AndroidVersion T>
bool LEDNotification<T>::PrepareFeedbackForTrigger() {
    std::lock_guard<std::recursive_mutex> lock(ms_LightLock);
    if (TimerProvider* timer = p_goodDecodeTimer) timer->Stop();
    if (!b_decodingLedFeedback) return true;
    p_light->setcolor(static_cast<int>(kRed));
    p_light->setlight();
    return true;
}

template <AndroidVersion T>
bool LEDNotification<T>::TriggerFeedback() {
    std::lock_guard<std::recursive_mutex> lock(ms_LightLock);
    p_light->setcolor(static_cast<int>(kGreen));
    if (TimerProvider* timer = p_goodDecodeTimer) {
        // Green until the timer fires and resets the LED.
        p_light->setlight();
        timer->Stop();
        timer->Start();
    } else if (b_decodingLedFeedback) {
        // Without a timer green is never shown: the LED goes straight to its reset colour.
        ResetFeedback();
    }
    return true;
}

template <AndroidVersion T>
bool LEDNotification<T>::ResetFeedback() {
    std::lock_guard<std::recursive_mutex> lock(ms_LightLock);
    // A running green phase ends with the timer, which resets the LED itself.
    if (TimerProvider* timer = p_goodDecodeTimer; timer != nullptr && timer->IsStarted())
        return true;
    if (!isScanLEDAccessible()) {
        SF_LOGI("[LEDNotification<T>::ResetFeedback()] Scan LED is not available.");
        return true;
    }
    SF_LOGD("[LEDNotification<T>::ResetFeedback()] Scan LED is available.");
    if (b_decodingLedFeedback && b_isRedLedActive) {
        SF_LOGD("[LEDNotification<T>::ResetFeedback()] setting RED LED");
        p_light->setcolor(static_cast<int>(kRed));
    } else {
        SF_LOGD("[LEDNotification<T>::ResetFeedback()] setting LED to OFF");
        p_light->setcolor(static_cast<int>(kOff));
    }
    p_light->setlight();
    return true;
}

template <AndroidVersion T>
void LEDNotification<T>::ReleaseResources() {}

template <AndroidVersion T>
bool LEDNotification<T>::ReinitializeFeedback() {
    return true;
}

template <AndroidVersion T>
char const* LEDNotification<T>::GetParameter(char const* /*name*/) {
    return nullptr;
}

template <AndroidVersion T>
void LEDNotification<T>::SetParameter(char const* name, char const* value) {
    std::lock_guard<std::recursive_mutex> lock(ms_LightLock);
    if (strncmp(name, "datacapture_led_id", kCompareLength) == 0) {
        InitializeFeedback();
    } else if (strncmp(name, "decoding_led_feedback", kCompareLength) == 0) {
        if (IsTrue(value)) {
            b_decodingLedFeedback = true;
        } else {
            // The LED is reset while the flag still holds its old value.
            ResetFeedback();
            b_decodingLedFeedback = false;
        }
    } else if (strncmp(name, "isRedLedActive", kCompareLength) == 0) {
        b_isRedLedActive = IsTrue(value);
    } else if (strncmp(name, "good_decode_led_timer", kCompareLength) == 0) {
        const int duration = atoi(value);
        if (duration == i_goodDecodeLedTimer) return;
        i_goodDecodeLedTimer = duration;
        TimerProvider::DestroyTimer(p_goodDecodeTimer);
        p_goodDecodeTimer = nullptr;
        // Only 0 means "no timer".
        if (duration != 0) {
            TimerProvider* timer = TimerProvider::CreateNewTimer(duration, OnTimer, nullptr);
            timer->p_Context = this;
            p_goodDecodeTimer = timer;
        }
    }
}

template <AndroidVersion T>
bool LEDNotification<T>::CheckExternalHeadset() {
    return false;
}

template <AndroidVersion T>
bool LEDNotification<T>::ReadSubmit() {
    return true;
}

template <AndroidVersion T>
void LEDNotification<T>::SetCallback(ICallback* callback) {
    std::lock_guard<std::recursive_mutex> lock(ms_LightLock);
    SF_LOGI("[LEDNotification<T>::SetCallback]");
    p_callback = callback;
}

template <AndroidVersion T>
bool LEDNotification<T>::isScanLEDAccessible() {
    if (p_callback == nullptr) {
        SF_LOGE("[LEDNotification<T>::isScanLEDAccessible] callback is null");
        return true;
    }
    return p_callback->IsLEDAccessible();
}

template <AndroidVersion T>
uint32_t LEDNotification<T>::ConvertToargb(uint32_t a, uint32_t r, uint32_t g, uint32_t b) {
    return (a << 24) | (r << 16) | (g << 8) | b;
}

template <AndroidVersion T>
void LEDNotification<T>::OnTimer(TimerProvider* timer) {
    LEDNotification<T>* module = static_cast<LEDNotification<T>*>(timer->p_Context);
    std::lock_guard<std::recursive_mutex> lock(ms_LightLock);
    if (module->p_goodDecodeTimer != timer) {
        SF_LOGE("[LEDNotification<T>::OnTimer] Unknown timer triggered on LEDNotification Module");
    }
    module->ResetFeedback();
}

template class LEDNotification<(AndroidVersion)10>;
