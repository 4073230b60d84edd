// The scan LED: red while a scan runs (when decode LED feedback is on), green on a good decode,
// then back to red or off, at once or when the one-shot good-decode timer expires.
//
// Threads: the caller's thread runs every operation; the timer service's callback thread runs
// OnTimer, which calls ResetFeedback concurrently with the caller. Both sides hold ms_LightLock
// while they read the timer or drive the light, which is shared with the other LED modules
// through LightHal.
#pragma once

#include <stdint.h>

#include <mutex>

#include "ComponentIndex.h"
#include "IPlatformModule.h"
#include "LightHal.h"
#include "LightInterface.h"
#include "PlatformCallbacks.h"
#include "PlatformModuleInterfaces.h"
#include "TimerProvider.h"

template <AndroidVersion T>
class LEDNotification : public IFeedbackModule {
  public:
    // ARGB.
    static constexpr uint32_t kRed = 0xFFFF0000u;
    static constexpr uint32_t kGreen = 0xFF00FF00u;
    static constexpr uint32_t kOff = 0x00000000u;

    LEDNotification();
    // Leaves the good-decode timer to the timer service.
    ~LEDNotification() override;

    // Whether either lights service answers. Leaves no light object behind.
    bool IsSupported() override;
    char const* GetModuleName() override;
    // The operations below that touch the LED require InitializeFeedback to have succeeded.
    bool PrepareFeedbackForTrigger() override;
    bool TriggerFeedback() override;
    bool ResetFeedback() override;
    void ReleaseResources() override;
    bool InitializeFeedback() override;
    bool ReinitializeFeedback() override;
    char const* GetParameter(char const* name) override;
    void SetParameter(char const* name, char const* value) override;
    bool CheckExternalHeadset() override;
    bool ReadSubmit() override;
    // The callback stays the caller's; it is asked whether the LED may be driven.
    void SetCallback(ICallback* callback) override;

    // Whether the caller lets the LED be driven now; true without a callback.
    bool isScanLEDAccessible();
    // ARGB from components, without masking: a component above 255 spills into the next.
    uint32_t ConvertToargb(uint32_t a, uint32_t r, uint32_t g, uint32_t b);

    // The good-decode timer's expiry, on the timer service's callback thread.
    static void OnTimer(TimerProvider* timer);

    // Registers the module's factory while the library loads.
    class _thread_register {
      public:
        _thread_register() {
            ComponentIndex::Instance()->AddPlatformModule(&Constructor<LEDNotification<T>>,
                                                          PLATFORM_MODULE_LED, "LEDNotification");
        }
    };
    static _thread_register Obj;

  protected:
    bool b_decodingLedFeedback;
    bool b_isRedLedActive;
    int32_t i_goodDecodeLedTimer;
    TimerProvider* p_goodDecodeTimer;  // owned by the timer service; under ms_LightLock
    LightInterface* p_light;           // borrowed from LightHal
    ICallback* p_callback;             // the caller's
    // The timer's expiry resets the LED on the callback thread while the caller drives it on
    // its own: the light (one per device, shared by every LED module) changes under this lock.
    // Recursive, since the caller's operations reset the LED themselves. Class-wide, so that a
    // module deleted right after its timer's reset is not touched by the reset's unlock.
    static std::recursive_mutex ms_LightLock;
};
