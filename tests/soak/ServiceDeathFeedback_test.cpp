// The service-death rows of the feedback modules (beep, LED, external haptic), the hardware
// trigger and the device facts. The feedback modules and the trigger keep their connections in
// process-wide holders, which is why every row runs in a process of its own.

#include <android/hardware/light/2.0/ILight.h>
#include <binder/IServiceManager.h>
#include <orvex/binder_services.h>
#include <orvex/hidl_registry.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "DeviceInfoBuilder.h"
#include "FakeAidlLights.h"
#include "FakeAudioService.h"
#include "FakeDCHWManager.h"
#include "FakeHardwareBeep.h"
#include "FakeHidlLight.h"
#include "FakePlugableDeviceNotifier.h"
#include "FakeTrigger.h"
#include "FeedbackTestEnv.h"
#include "HWBeep.h"
#include "HWTrigger.h"
#include "HardwareManagerSim.h"
#include "IExternalHapticFeedack.h"
#include "LEDNotification.h"
#include "ServiceDeath.h"
#include "SupportedScannerInfo.h"
#include "TimerProvider.h"
#include "orvex/log_capture.h"

namespace service_death {
namespace {

using android::sp;
using android::hardware::Return;
using feedback_test::Debug;
using feedback_test::Error;
using feedback_test::Info;
using orvex::sim::FakeAidlLights;
using orvex::sim::FakeAudioService;
using orvex::sim::FakeDCHWManager;
using orvex::sim::FakeHardwareBeep;
using orvex::sim::FakeHidlLight;
using orvex::sim::FakePlugableDeviceNotifier;
using orvex::sim::FakeTrigger;
using orvex::sim::HardwareManagerSim;
namespace dch = vendor::tevrin::hardware::dchwmanager::V1_0;

using Beep = HWBeep<ANDROID_VERSION_10>;
using Led = LEDNotification<ANDROID_VERSION_10>;
using Haptic = IExternalHapticFeedack<ANDROID_VERSION_10>;
using Trigger = HWTrigger<ANDROID_VERSION_10>;

constexpr uint32_t kRed = 0xFFFF0000;

// ---- fakes that die at a chosen point ----

// A beep service that dies right after answering startBeep.
class BeepDyingAfterStart : public FakeHardwareBeep {
  public:
    Return<int32_t> startBeep() override {
        int32_t answer = FakeHardwareBeep::startBeep();
        FakeHardwareBeep::Kill();
        return answer;
    }
};

// The audio service whose process can die: every transaction then fails with DEAD_OBJECT.
class MortalAudioService : public FakeAudioService {
  public:
    static sp<MortalAudioService> Register() {
        sp<MortalAudioService> service = new MortalAudioService;
        android::defaultServiceManager()->addService(android::String16(kServiceName),
                                                     orvex::binder::AsRemote(service));
        return service;
    }
    void Die() { mDead = true; }

  protected:
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override {
        if (mDead) return android::DEAD_OBJECT;
        return FakeAudioService::onTransact(code, data, reply, flags);
    }

  private:
    std::atomic<bool> mDead{false};
};

// The AIDL lights service whose process can die.
class MortalAidlLights : public FakeAidlLights {
  public:
    MortalAidlLights() : FakeAidlLights(DefaultLights()) {}
    static sp<MortalAidlLights> Register() {
        sp<MortalAidlLights> service = new MortalAidlLights;
        orvex::binder::Declare(InstanceName());
        android::defaultServiceManager()->addService(android::String16(InstanceName().c_str()),
                                                     orvex::binder::AsRemote(service));
        return service;
    }
    void Die() { mDead = true; }

    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override {
        if (mDead) return android::DEAD_OBJECT;
        return FakeAidlLights::onTransact(code, data, reply, flags);
    }

  private:
    std::atomic<bool> mDead{false};
};

// A hardware manager that dies while handing out a sub-interface.
class ManagerDyingInCall : public FakeDCHWManager {
  public:
    Return<sp<dch::ITrigger>> getTriggerInterface() override {
        KillManager();
        return DeadObject<sp<dch::ITrigger>>();
    }
    Return<sp<dch::IPlugableDeviceNotifier>> getPlugableDeviceNotifier() override {
        KillManager();
        return DeadObject<sp<dch::IPlugableDeviceNotifier>>();
    }
};

// A trigger whose service dies at one point of the module's sequence. After the death,
// `afterDeath` runs (to bring a new instance, or remove the name for good).
class TriggerDyingAt : public FakeTrigger {
  public:
    enum Point { kInAcquire, kInSetKeyEventQueue, kAfterSetKeyEventQueue, kAfterRelease };
    explicit TriggerDyingAt(Point point, std::function<void()> afterDeath = nullptr)
        : mPoint(point), mAfterDeath(std::move(afterDeath)) {}

    Return<bool> acquireTrigger() override {
        if (mPoint == kInAcquire) {
            Die();
            return DeadObject<bool>();
        }
        return FakeTrigger::acquireTrigger();
    }
    Return<bool> setKeyEventQueue(
        const android::hardware::MQDescriptorSync<uint32_t>& queue) override {
        if (mPoint == kInSetKeyEventQueue) {
            Die();
            return DeadObject<bool>();
        }
        bool answer = FakeTrigger::setKeyEventQueue(queue);
        if (mPoint == kAfterSetKeyEventQueue) Die();
        return answer;
    }
    Return<bool> releaseTrigger() override {
        bool answer = FakeTrigger::releaseTrigger();
        if (mPoint == kAfterRelease) Die();
        return answer;
    }

  private:
    void Die() {
        OnDeath();
        KillManager();
        if (mAfterDeath) mAfterDeath();
    }

    const Point mPoint;
    const std::function<void()> mAfterDeath;
};

// Registers a manager that hands out `trigger`.
sp<FakeDCHWManager> RegisterManager(const sp<dch::ITrigger>& trigger) {
    sp<FakeDCHWManager> manager = new FakeDCHWManager;
    manager->SetTrigger(trigger);
    orvex::hidl::RegisterService<dch::IDCHWManager>(manager, "default");
    return manager;
}

class KeyCallback : public ITriggerKeyEventWrapperCallBack {
  public:
    void OnKeyEvent(unsigned int first, unsigned int second) override { Add(first, second); }
    void OnPreKeyEvent(unsigned int first, unsigned int second) override { Add(first, second); }
    bool WaitFor(unsigned int first, unsigned int second) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, kWait, [&] {
            for (const auto& k : mKeys) {
                if (k.first == first && k.second == second) return true;
            }
            return false;
        });
    }

  private:
    void Add(unsigned int first, unsigned int second) {
        {
            std::lock_guard<std::mutex> lock(mLock);
            mKeys.emplace_back(first, second);
        }
        mChanged.notify_all();
    }
    std::mutex mLock;
    std::condition_variable mChanged;
    std::vector<std::pair<unsigned, unsigned>> mKeys;
};

// Keys pressed on `trigger` reach `callback`.
bool KeysFlow(const sp<FakeTrigger>& trigger, KeyCallback& callback, unsigned int mark) {
    return trigger->Press(1, mark, mark) && callback.WaitFor(mark, mark);
}

// ---- HWBeep ----

void BeepInitializeAfterTheServiceCameBack(ChildChecks& c) {
    FakeHardwareBeep::Register();
    FakeHardwareBeep::Kill();
    sp<FakeHardwareBeep> back = FakeHardwareBeep::Register();
    Beep beep;
    c.True("InitializeFeedback", beep.InitializeFeedback());
    c.True("the new instance was asked",
           back->Calls() ==
               std::vector<FakeHardwareBeep::Call>{FakeHardwareBeep::IsHWBeepSupported()});
}

void BeepInitializeAfterTheServiceDiedForGood(ChildChecks& c) {
    FakeHardwareBeep::Register();
    FakeHardwareBeep::Remove();
    Beep beep;
    orvex::hostlog::ScopedCapture log;
    c.True("InitializeFeedback is false", !beep.InitializeFeedback());
    c.Logged(log.WithTag("ScannerFramework"),
             {Error("[HWBeep::HWBeep()] Unable to get IHardwareBeepConfigs interface."),
              Error("[HWBeep::InitializeFeedback] initialization failed")});
}

void BeepIsSupportedAfterTheHeldServiceCameBack(ChildChecks& c) {
    FakeHardwareBeep::Register();
    Beep beep;
    c.True("InitializeFeedback", beep.InitializeFeedback());
    FakeHardwareBeep::Kill();
    sp<FakeHardwareBeep> back = FakeHardwareBeep::Register();
    c.True("IsSupported", beep.IsSupported());
    c.Eq("calls on the new instance", back->Calls().size(), 1u);
}

void BeepIsSupportedAfterTheHeldServiceDiedForGood(ChildChecks& c) {
    FakeHardwareBeep::Register();
    Beep beep;
    c.True("InitializeFeedback", beep.InitializeFeedback());
    FakeHardwareBeep::Remove();
    c.True("IsSupported is false", !beep.IsSupported());
}

void BeepPrepareAfterDeath(ChildChecks& c) {
    FakeHardwareBeep::Register();
    Beep beep;
    c.True("InitializeFeedback", beep.InitializeFeedback());
    FakeHardwareBeep::Kill();
    sp<FakeHardwareBeep> back = FakeHardwareBeep::Register();
    c.True("PrepareFeedbackForTrigger", beep.PrepareFeedbackForTrigger());
    // The configuration went to the dead instance; nothing reconnects in Prepare.
    c.Eq("calls on the new instance", back->Calls().size(), 0u);
}

void BeepTriggerAfterDeath(ChildChecks&) {
    FakeHardwareBeep::Register();
    Beep beep;
    beep.InitializeFeedback();
    beep.PrepareFeedbackForTrigger();
    FakeHardwareBeep::Kill();
    beep.TriggerFeedback();
}

void BeepTriggerServiceRefusesAndDiesWithTheAnswer(ChildChecks& c) {
    sp<BeepDyingAfterStart> beepService = new BeepDyingAfterStart;
    beepService->ScriptStartBeep({0});
    orvex::hidl::RegisterService<FakeHardwareBeep::IHardwareBeepConfigs>(beepService, "default");
    Beep beep;
    c.True("InitializeFeedback", beep.InitializeFeedback());
    c.True("PrepareFeedbackForTrigger", beep.PrepareFeedbackForTrigger());
    // The retry (configure, start) meets a dead service; both results are ignored.
    c.True("TriggerFeedback", beep.TriggerFeedback());
    c.Eq("calls on the service", beepService->Calls().size(), 3u);
}

void BeepInitializeAgainAfterDeathReconnects(ChildChecks& c) {
    FakeHardwareBeep::Register();
    Beep beep;
    c.True("InitializeFeedback", beep.InitializeFeedback());
    FakeHardwareBeep::Kill();
    sp<FakeHardwareBeep> back = FakeHardwareBeep::Register();
    c.True("InitializeFeedback again", beep.InitializeFeedback());
    c.True("PrepareFeedbackForTrigger", beep.PrepareFeedbackForTrigger());
    c.True("TriggerFeedback", beep.TriggerFeedback());
    c.True("the new instance serves the scan",
           back->Calls() == std::vector<FakeHardwareBeep::Call>{
                                FakeHardwareBeep::IsHWBeepSupported(),
                                FakeHardwareBeep::SetBeepConfig(12, 30, 5, 15000, 15000),
                                FakeHardwareBeep::StartBeep()});
}

void BeepInitializeAgainAfterDeathForGood(ChildChecks& c) {
    FakeHardwareBeep::Register();
    Beep beep;
    c.True("InitializeFeedback", beep.InitializeFeedback());
    FakeHardwareBeep::Remove();
    c.True("InitializeFeedback again is false", !beep.InitializeFeedback());
}

void BeepPrepareWithTheAudioServiceDead(ChildChecks& c) {
    sp<MortalAudioService> audio = MortalAudioService::Register();
    sp<FakeHardwareBeep> service = FakeHardwareBeep::Register();
    Beep beep;
    beep.SetParameter("ignore_ovc_volume", "true");
    c.True("InitializeFeedback", beep.InitializeFeedback());
    audio->Die();
    service->ClearCalls();
    c.True("PrepareFeedbackForTrigger", beep.PrepareFeedbackForTrigger());
    // Both volume queries fail with an empty reply: current 0 of maximum 0 gives volume 2.
    c.True("volume 2",
           service->Calls() == std::vector<FakeHardwareBeep::Call>{
                                   FakeHardwareBeep::SetBeepConfig(12, 30, 2, 15000, 15000)});
}

void BeepPrepareWithoutAnAudioService(ChildChecks& c) {
    sp<FakeHardwareBeep> service = FakeHardwareBeep::Register();
    Beep beep;
    beep.SetParameter("ignore_ovc_volume", "true");
    c.True("InitializeFeedback", beep.InitializeFeedback());
    service->ClearCalls();
    c.True("PrepareFeedbackForTrigger", beep.PrepareFeedbackForTrigger());
    // Never reached: both queries answer -1, which gives volume 10.
    c.True("volume 10",
           service->Calls() == std::vector<FakeHardwareBeep::Call>{
                                   FakeHardwareBeep::SetBeepConfig(12, 30, 10, 15000, 15000)});
}

// ---- LEDNotification ----

void KillHidlLight() {
    orvex::hidl::KillService(android::hardware::light::V2_0::ILight::descriptor, "default");
}

void LedInitializeWithoutAnyLightsService(ChildChecks& c) {
    Led led;
    orvex::hostlog::ScopedCapture log;
    c.True("InitializeFeedback is false", !led.InitializeFeedback());
    c.Logged(log.WithTag("ScannerFramework"),
             {Error("[LEDNotification::LEDNotification()] Unable to get ILight interface."),
              Error("[LEDNotification::LEDNotification()] Unable to get ILight interface."),
              Error("[LEDNotification::InitializeFeedback] initialization failed")});
}

// An LED initialised on the HIDL light, with decoding feedback on, whose light service then
// died and came back: returns the new instance.
sp<FakeHidlLight> HidlLightCameBackUnder(Led& led, ChildChecks& c) {
    FakeHidlLight::Register();
    c.True("InitializeFeedback", led.InitializeFeedback());
    led.SetParameter("decoding_led_feedback", "true");
    KillHidlLight();
    return FakeHidlLight::Register();
}

void LedScanAfterTheHidlLightDied(ChildChecks& c) {
    Led led;
    sp<FakeHidlLight> back = HidlLightCameBackUnder(led, c);
    c.True("PrepareFeedbackForTrigger", led.PrepareFeedbackForTrigger());
    c.True("TriggerFeedback", led.TriggerFeedback());
    c.True("ResetFeedback", led.ResetFeedback());
    // The light object is kept without a liveness check: every state went to the dead one.
    c.Eq("calls on the new instance", back->Calls().size(), 0u);
}

void LedInitializeAgainAfterTheHidlLightDied(ChildChecks& c) {
    Led led;
    sp<FakeHidlLight> back = HidlLightCameBackUnder(led, c);
    c.True("InitializeFeedback again", led.InitializeFeedback());
    c.True("PrepareFeedbackForTrigger", led.PrepareFeedbackForTrigger());
    c.Eq("calls on the new instance", back->Calls().size(), 0u);
}

void LedIsSupportedAfterTheHidlLightDiedReconnects(ChildChecks& c) {
    Led led;
    sp<FakeHidlLight> back = HidlLightCameBackUnder(led, c);
    // IsSupported drops the process's light object; the next connection is a new one.
    c.True("IsSupported", led.IsSupported());
    c.True("InitializeFeedback again", led.InitializeFeedback());
    c.True("PrepareFeedbackForTrigger", led.PrepareFeedbackForTrigger());
    c.True("the new instance lights red",
           back->Calls() ==
               std::vector<FakeHidlLight::Call>{{8, orvex::sim::MakeHidlLightState(kRed), 0}});
}

void LedScanAfterTheAidlLightsDied(ChildChecks& c) {
    sp<MortalAidlLights> lights = MortalAidlLights::Register();
    Led led;
    c.True("InitializeFeedback", led.InitializeFeedback());
    led.SetParameter("decoding_led_feedback", "true");
    c.True("PrepareFeedbackForTrigger", led.PrepareFeedbackForTrigger());
    const size_t before = lights->SetCalls().size();
    lights->Die();
    // The light list cannot be fetched any more, so there is no scan LED to address.
    c.True("TriggerFeedback", led.TriggerFeedback());
    c.True("ResetFeedback", led.ResetFeedback());
    c.Eq("states sent after the death", lights->SetCalls().size() - before, 0u);
}

void LedTimerFiresAfterTheHidlLightDied(ChildChecks& c) {
    TimerProvider::Initialize();
    FakeHidlLight::Register();
    orvex::hostlog::ScopedCapture log;
    {
        Led led;
        c.True("InitializeFeedback", led.InitializeFeedback());
        led.SetParameter("decoding_led_feedback", "true");
        led.SetParameter("good_decode_led_timer", "20");
        c.True("PrepareFeedbackForTrigger", led.PrepareFeedbackForTrigger());
        KillHidlLight();
        c.True("TriggerFeedback", led.TriggerFeedback());
        // OnTimer resets the LED on the callback thread, against the dead service.
        c.True("the timer reset the LED",
               WaitForLine(log, Debug("[LEDNotification<T>::ResetFeedback()] setting LED to OFF")));
        TimerProvider::DeInitialize();
    }
}

// ---- IExternalHapticFeedack ----

// A simulation whose every manager instance hands out a pluggable interface with a vibrator.
struct HapticSim {
    HardwareManagerSim sim{false};
    sp<FakePlugableDeviceNotifier> notifier;
    explicit HapticSim(bool vibrator = true) {
        sim.AddBuilder([this, vibrator](FakeDCHWManager& manager) {
            notifier = new FakePlugableDeviceNotifier;
            notifier->SetExternalVibratorPresent(vibrator);
            manager.SetPlugableDeviceNotifier(notifier);
        });
        sim.Start();
    }
};

void HapticInitializeAfterTheManagerCameBack(ChildChecks& c) {
    HapticSim s;
    s.sim.Restart();
    Haptic haptic;
    c.True("InitializeFeedback", haptic.InitializeFeedback());
    c.True("PrepareFeedbackForTrigger", haptic.PrepareFeedbackForTrigger());
}

void HapticInitializeAfterTheManagerDiedForGood(ChildChecks& c) {
    HapticSim s;
    s.sim.Remove();
    Haptic haptic;
    orvex::hostlog::ScopedCapture log;
    c.True("InitializeFeedback is false", !haptic.InitializeFeedback());
    c.Logged(log.WithTag("ScannerFramework"),
             {Error("[IDCHWManager] Unable to get IDCHWManager interface."),
              Error("[IExternalHapticFeedack<T>::InitializeFeedback] intialisation failed")});
}

void HapticManagerDiesHandingOutThePluggableInterface(ChildChecks&) {
    orvex::hidl::RegisterService<dch::IDCHWManager>(new ManagerDyingInCall, "default");
    Haptic haptic;
    haptic.InitializeFeedback();
}

void HapticPrepareAfterDeath(ChildChecks&) {
    HapticSim s;
    Haptic haptic;
    haptic.InitializeFeedback();
    s.sim.Restart();
    haptic.PrepareFeedbackForTrigger();
}

void HapticTriggerAfterDeathWithAVibrator(ChildChecks&) {
    HapticSim s;
    Haptic haptic;
    haptic.InitializeFeedback();
    haptic.PrepareFeedbackForTrigger();
    s.sim.Restart();
    haptic.TriggerFeedback();
}

void HapticTriggerAfterDeathWithoutAVibrator(ChildChecks& c) {
    HapticSim s(false);
    Haptic haptic;
    c.True("InitializeFeedback", haptic.InitializeFeedback());
    c.True("PrepareFeedbackForTrigger is false", !haptic.PrepareFeedbackForTrigger());
    s.sim.Restart();
    c.True("TriggerFeedback", haptic.TriggerFeedback());
}

void HapticInitializeAgainAfterDeathReconnects(ChildChecks& c) {
    HapticSim s;
    Haptic haptic;
    c.True("InitializeFeedback", haptic.InitializeFeedback());
    s.sim.Restart();
    c.True("InitializeFeedback again", haptic.InitializeFeedback());
    c.True("PrepareFeedbackForTrigger", haptic.PrepareFeedbackForTrigger());
    c.True("TriggerFeedback", haptic.TriggerFeedback());
    c.True("the new instance serves the scan",
           s.notifier->calls().Calls() ==
               std::vector<std::string>{"isExternalVibratorPresent()", "vibrateExternal(300)"});
}

void HapticInitializeAgainAfterDeathForGoodKeepsTheDeadInterface(ChildChecks& c) {
    HapticSim s;
    Haptic haptic;
    c.True("InitializeFeedback", haptic.InitializeFeedback());
    s.sim.Remove();
    // The new fetch fails, and the old pluggable reference is what associate gives back.
    c.True("InitializeFeedback again", haptic.InitializeFeedback());
    haptic.PrepareFeedbackForTrigger();
}

void HapticIsSupportedAfterDeathForGood(ChildChecks& c) {
    HapticSim s;
    Haptic haptic;
    c.True("InitializeFeedback", haptic.InitializeFeedback());
    s.sim.Remove();
    c.True("IsSupported (the stale reference counts)", haptic.IsSupported());
}

// ---- HWTrigger ----

void TriggerAcquireAfterTheManagerCameBack(ChildChecks& c) {
    HardwareManagerSim sim;
    sim.Restart();
    KeyCallback keys;
    Trigger trigger;
    c.True("Initialize", trigger.Initialize(&keys));
    c.True("AcquireHWTrigger", trigger.AcquireHWTrigger());
    c.True("keys flow", KeysFlow(sim.trigger(), keys, 1));
    c.True("ReleaseHWTrigger", trigger.ReleaseHWTrigger());
}

void TriggerAcquireAfterTheManagerDiedForGood(ChildChecks& c) {
    HardwareManagerSim sim;
    sim.Remove();
    KeyCallback keys;
    Trigger trigger;
    trigger.Initialize(&keys);
    c.True("AcquireHWTrigger is false", !trigger.AcquireHWTrigger());
    c.True("StartTrigger", trigger.StartTrigger());
    c.True("StopTrigger", trigger.StopTrigger());
    c.True("SimulateTrigger", trigger.SimulateTrigger(1, 2));
    c.Eq("GetPressedTrigger", trigger.GetPressedTrigger(), -1);
    c.True("ResetPressedTrigger is false", !trigger.ResetPressedTrigger());
}

void TriggerManagerDiesHandingOutTheTrigger(ChildChecks&) {
    orvex::hidl::RegisterService<dch::IDCHWManager>(new ManagerDyingInCall, "default");
    KeyCallback keys;
    Trigger trigger;
    trigger.Initialize(&keys);
    trigger.AcquireHWTrigger();
}

void TriggerDiesInAcquireTrigger(ChildChecks&) {
    RegisterManager(new TriggerDyingAt(TriggerDyingAt::kInAcquire));
    KeyCallback keys;
    Trigger trigger;
    trigger.Initialize(&keys);
    trigger.AcquireHWTrigger();
}

void TriggerDiesInSetKeyEventQueue(ChildChecks&) {
    RegisterManager(new TriggerDyingAt(TriggerDyingAt::kInSetKeyEventQueue));
    KeyCallback keys;
    Trigger trigger;
    trigger.Initialize(&keys);
    trigger.AcquireHWTrigger();
}

void TriggerDiesBeforeTheDeathLinkAndComesBack(ChildChecks& c) {
    sp<FakeTrigger> next = new FakeTrigger;
    RegisterManager(
        new TriggerDyingAt(TriggerDyingAt::kAfterSetKeyEventQueue, [&] { RegisterManager(next); }));
    KeyCallback keys;
    Trigger trigger;
    orvex::hostlog::ScopedCapture log;
    c.True("Initialize", trigger.Initialize(&keys));
    // No notice comes for a death before the link: the acquisition handles it itself.
    c.True("AcquireHWTrigger", trigger.AcquireHWTrigger());
    c.Eq("deaths handled", CountLines(log, "ISS [HW Trigger] DCHWManager Died"), 1u);
    c.True("keys flow from the new instance", KeysFlow(next, keys, 2));
    c.True("ReleaseHWTrigger", trigger.ReleaseHWTrigger());
}

void TriggerDiesBeforeTheDeathLinkForGood(ChildChecks&) {
    RegisterManager(new TriggerDyingAt(TriggerDyingAt::kAfterSetKeyEventQueue, [] {
        orvex::hidl::RemoveService(dch::IDCHWManager::descriptor, "default");
    }));
    KeyCallback keys;
    Trigger trigger;
    trigger.Initialize(&keys);
    trigger.AcquireHWTrigger();
}

void TriggerDiesWhileConnectedAndComesBack(ChildChecks& c) {
    HardwareManagerSim sim;
    KeyCallback keys;
    Trigger trigger;
    c.True("Initialize", trigger.Initialize(&keys));
    c.True("AcquireHWTrigger", trigger.AcquireHWTrigger());
    sim.Kill();
    sim.Restart();
    c.True("reconnected", sim.trigger()->calls().WaitFor("setKeyEventQueue"));
    c.True("keys flow", KeysFlow(sim.trigger(), keys, 3));
    c.True("StartTrigger reaches the new instance", trigger.StartTrigger());
    c.Eq("startTrigger calls", sim.trigger()->calls().Count("startTrigger"), 1u);
    c.True("ReleaseHWTrigger", trigger.ReleaseHWTrigger());
}

void TriggerDiesWhileConnectedForGood(ChildChecks&) {
    HardwareManagerSim sim;
    KeyCallback keys;
    Trigger trigger;
    trigger.Initialize(&keys);
    trigger.AcquireHWTrigger();
    // The death handling finds no new manager and acquires on the cached, dead trigger.
    sim.Remove();
    AwaitTheEnd();
}

void TriggerDiesAfterRelease(ChildChecks& c) {
    HardwareManagerSim sim;
    KeyCallback keys;
    Trigger trigger;
    orvex::hostlog::ScopedCapture log;
    c.True("Initialize", trigger.Initialize(&keys));
    c.True("AcquireHWTrigger", trigger.AcquireHWTrigger());
    c.True("ReleaseHWTrigger", trigger.ReleaseHWTrigger());
    sim.Restart();
    c.True("Initialize again", trigger.Initialize(&keys));
    c.True("AcquireHWTrigger again", trigger.AcquireHWTrigger());
    c.Eq("deaths handled", CountLines(log, "ISS [HW Trigger] DCHWManager Died"), 0u);
    c.True("keys flow from the new instance", KeysFlow(sim.trigger(), keys, 4));
    c.True("ReleaseHWTrigger again", trigger.ReleaseHWTrigger());
}

void TriggerDiesDuringRelease(ChildChecks& c) {
    orvex::hostlog::ScopedCapture log;
    // The service dies inside releaseTrigger and keeps the release waiting until its death
    // notice is being delivered: a notice that starts after the release dropped the recipient
    // is not delivered at all, which is the uneventful case.
    RegisterManager(new TriggerDyingAt(TriggerDyingAt::kAfterRelease, [&] {
        WaitForLine(log, Info("ISS [HW Trigger] DCHWManager Died"));
    }));
    KeyCallback keys;
    Trigger trigger;
    c.True("Initialize", trigger.Initialize(&keys));
    c.True("AcquireHWTrigger", trigger.AcquireHWTrigger());
    c.True("ReleaseHWTrigger", trigger.ReleaseHWTrigger());
    c.Eq("notices", CountLines(log, "ISS [HW Trigger] DCHWManager Died"), 1u);
    // The notice's handling ran, or runs, once the release let go of the lock: it finds the
    // connection released and leaves it so. Not a timed assertion: the time only lets a
    // handling that would touch the released queue do so before the process ends.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    c.Eq("death handling", CountLines(log, "ISS [HW Trigger] Wake Up"), 0u);
}

void TriggerDeletedRightAfterReleaseWhileTheNoticeRuns(ChildChecks& c) {
    orvex::hostlog::ScopedCapture log;
    // As above, and the caller deletes the module as soon as the release returns, while the
    // notice's handling still waits for the lock the release held: the handling must not touch
    // the deleted module (the address sanitizer build catches a touch).
    RegisterManager(new TriggerDyingAt(TriggerDyingAt::kAfterRelease, [&] {
        WaitForLine(log, Info("ISS [HW Trigger] DCHWManager Died"));
    }));
    KeyCallback keys;
    auto* trigger = new Trigger;
    c.True("Initialize", trigger->Initialize(&keys));
    c.True("AcquireHWTrigger", trigger->AcquireHWTrigger());
    const bool released = trigger->ReleaseHWTrigger();
    delete trigger;
    c.True("ReleaseHWTrigger", released);
    // Not a timed assertion: the time only lets a handling that would touch the deleted module
    // do so before the process ends.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    c.Eq("notices", CountLines(log, "ISS [HW Trigger] DCHWManager Died"), 1u);
    c.Eq("death handling", CountLines(log, "ISS [HW Trigger] Wake Up"), 0u);
}

// ---- device information (no camera service) ----

void DeviceFactsWithEveryServiceDead(ChildChecks& c) {
    HardwareManagerSim sim;
    FakeHardwareBeep::Register();
    FakeHidlLight::Register();
    // Dead but still declared: anything that looked them up would wait forever.
    sim.Kill();
    FakeHardwareBeep::Kill();
    KillHidlLight();

    std::vector<std::string> facts;
    std::mutex lock;
    std::condition_variable done;
    bool finished = false;
    std::thread reader([&] {
        DeviceInfo* info = odk::DeviceInfoBuilder::GetDeviceInfoInstance();
        SupportedScannerInfo* scanners = odk::DeviceInfoBuilder::GetSupportedScannerInfoInstance();
        std::vector<std::string> out = {info->GetPlatformName(),
                                        info->GetProductName(),
                                        info->GetProductModel(),
                                        info->GetProductSKU(),
                                        info->GetManufacturerName(),
                                        info->GetAndroidVersion(),
                                        info->GetABI(),
                                        info->GetDeviceDecryptionStatus(),
                                        std::to_string(info->GetScannerBeepVolume()),
                                        std::to_string(info->GetScannerAudioAPI()),
                                        std::to_string(info->GetScanner()),
                                        std::to_string(info->GetImagerInterfaceType())};
        for (int i = 0; i < scanners->GetNumberOfSupportedScanners(); ++i) {
            out.push_back(scanners->GetScannerNameAt(i));
        }
        std::lock_guard<std::mutex> guard(lock);
        facts = out;
        finished = true;
        done.notify_all();
    });
    {
        std::unique_lock<std::mutex> guard(lock);
        if (!done.wait_for(guard, kWait, [&] { return finished; })) {
            fputs("device facts waited for a dead service\n", stderr);
            _exit(1);
        }
    }
    reader.join();
    c.True("facts of the default device",
           facts == std::vector<std::string>{"lahaina", "tr52_gms", "TR52", "TR52HC", "Tevrin",
                                             "13", "arm64-v8a", "trigger_restart_framework", "5",
                                             "1", "31", "1", "2D Barcode Imager", "Camera Scanner",
                                             "Bluetooth Ring Scanner", "Serial Scanner"});
}

void DeviceBeepVolumeWithTheAudioServiceDead(ChildChecks& c) {
    sp<MortalAudioService> audio = MortalAudioService::Register();
    sp<FakeHardwareBeep> service = FakeHardwareBeep::Register();
    Beep beep;
    c.True("InitializeFeedback", beep.InitializeFeedback());
    audio->Die();
    service->ClearCalls();
    c.True("PrepareFeedbackForTrigger", beep.PrepareFeedbackForTrigger());
    // The device's own beep volume (5) stands; the audio service is not asked.
    c.True("volume 5",
           service->Calls() == std::vector<FakeHardwareBeep::Call>{
                                   FakeHardwareBeep::SetBeepConfig(12, 30, 5, 15000, 15000)});
    c.Eq("audio transactions", audio->Transactions().size(), 0u);
}

// ---- the table ----

}  // namespace

std::vector<Row> FeedbackRows() {
    return {
        {"HWBeep_InitializeAfterTheServiceCameBack", Outcome::kReconnects,
         BeepInitializeAfterTheServiceCameBack},
        {"HWBeep_InitializeAfterTheServiceDiedForGood", Outcome::kFalse,
         BeepInitializeAfterTheServiceDiedForGood},
        {"HWBeep_IsSupportedAfterTheHeldServiceCameBack", Outcome::kReconnects,
         BeepIsSupportedAfterTheHeldServiceCameBack},
        {"HWBeep_IsSupportedAfterTheHeldServiceDiedForGood", Outcome::kFalse,
         BeepIsSupportedAfterTheHeldServiceDiedForGood},
        {"HWBeep_PrepareAfterDeath", Outcome::kFixedResult, BeepPrepareAfterDeath},
        {"HWBeep_TriggerAfterDeath", Outcome::kProcessEnds, BeepTriggerAfterDeath},
        {"HWBeep_TriggerServiceRefusesAndDiesWithTheAnswer", Outcome::kFixedResult,
         BeepTriggerServiceRefusesAndDiesWithTheAnswer},
        {"HWBeep_InitializeAgainAfterDeath", Outcome::kReconnects,
         BeepInitializeAgainAfterDeathReconnects},
        {"HWBeep_InitializeAgainAfterDeathForGood", Outcome::kFalse,
         BeepInitializeAgainAfterDeathForGood},
        {"HWBeep_PrepareWithTheAudioServiceDead", Outcome::kFixedResult,
         BeepPrepareWithTheAudioServiceDead},
        {"HWBeep_PrepareWithoutAnAudioService", Outcome::kFixedResult,
         BeepPrepareWithoutAnAudioService},
        {"LEDNotification_InitializeWithoutAnyLightsService", Outcome::kFalse,
         LedInitializeWithoutAnyLightsService},
        {"LEDNotification_ScanAfterTheHidlLightDied", Outcome::kFixedResult,
         LedScanAfterTheHidlLightDied},
        {"LEDNotification_InitializeAgainAfterTheHidlLightDied", Outcome::kFixedResult,
         LedInitializeAgainAfterTheHidlLightDied},
        {"LEDNotification_IsSupportedAfterTheHidlLightDied", Outcome::kReconnects,
         LedIsSupportedAfterTheHidlLightDiedReconnects},
        {"LEDNotification_ScanAfterTheAidlLightsDied", Outcome::kFixedResult,
         LedScanAfterTheAidlLightsDied},
        {"LEDNotification_TimerFiresAfterTheHidlLightDied", Outcome::kFixedResult,
         LedTimerFiresAfterTheHidlLightDied},
        {"IExternalHapticFeedack_InitializeAfterTheManagerCameBack", Outcome::kReconnects,
         HapticInitializeAfterTheManagerCameBack},
        {"IExternalHapticFeedack_InitializeAfterTheManagerDiedForGood", Outcome::kFalse,
         HapticInitializeAfterTheManagerDiedForGood},
        {"IExternalHapticFeedack_ManagerDiesHandingOutThePluggableInterface", Outcome::kProcessEnds,
         HapticManagerDiesHandingOutThePluggableInterface},
        {"IExternalHapticFeedack_PrepareAfterDeath", Outcome::kProcessEnds,
         HapticPrepareAfterDeath},
        {"IExternalHapticFeedack_TriggerAfterDeathWithAVibrator", Outcome::kProcessEnds,
         HapticTriggerAfterDeathWithAVibrator},
        {"IExternalHapticFeedack_TriggerAfterDeathWithoutAVibrator", Outcome::kFixedResult,
         HapticTriggerAfterDeathWithoutAVibrator},
        {"IExternalHapticFeedack_InitializeAgainAfterDeath", Outcome::kReconnects,
         HapticInitializeAgainAfterDeathReconnects},
        {"IExternalHapticFeedack_InitializeAgainAfterDeathForGood", Outcome::kProcessEnds,
         HapticInitializeAgainAfterDeathForGoodKeepsTheDeadInterface},
        {"IExternalHapticFeedack_IsSupportedAfterDeathForGood", Outcome::kFixedResult,
         HapticIsSupportedAfterDeathForGood},
        {"HWTrigger_AcquireAfterTheManagerCameBack", Outcome::kReconnects,
         TriggerAcquireAfterTheManagerCameBack},
        {"HWTrigger_AcquireAfterTheManagerDiedForGood", Outcome::kFalse,
         TriggerAcquireAfterTheManagerDiedForGood},
        {"HWTrigger_ManagerDiesHandingOutTheTrigger", Outcome::kProcessEnds,
         TriggerManagerDiesHandingOutTheTrigger},
        {"HWTrigger_DiesInAcquireTrigger", Outcome::kProcessEnds, TriggerDiesInAcquireTrigger},
        {"HWTrigger_DiesInSetKeyEventQueue", Outcome::kProcessEnds, TriggerDiesInSetKeyEventQueue},
        {"HWTrigger_DiesBeforeTheDeathLinkAndComesBack", Outcome::kReconnects,
         TriggerDiesBeforeTheDeathLinkAndComesBack},
        {"HWTrigger_DiesBeforeTheDeathLinkForGood", Outcome::kProcessEnds,
         TriggerDiesBeforeTheDeathLinkForGood},
        {"HWTrigger_DiesWhileConnectedAndComesBack", Outcome::kReconnects,
         TriggerDiesWhileConnectedAndComesBack},
        {"HWTrigger_DiesWhileConnectedForGood", Outcome::kProcessEnds,
         TriggerDiesWhileConnectedForGood},
        {"HWTrigger_DiesAfterRelease", Outcome::kReconnects, TriggerDiesAfterRelease},
        {"HWTrigger_DiesDuringRelease", Outcome::kFixedResult, TriggerDiesDuringRelease},
        {"HWTrigger_DeletedRightAfterReleaseWhileTheNoticeRuns", Outcome::kFixedResult,
         TriggerDeletedRightAfterReleaseWhileTheNoticeRuns},
        {"DeviceInfo_FactsWithEveryServiceDead", Outcome::kFixedResult,
         DeviceFactsWithEveryServiceDead},
        {"DeviceInfo_BeepVolumeWithTheAudioServiceDead", Outcome::kFixedResult,
         DeviceBeepVolumeWithTheAudioServiceDead},
    };
}

}  // namespace service_death
