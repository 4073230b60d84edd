// What one scan's feedback costs through the simulated services: the audio client's
// transactions against a plain interface call, and the beep and LED modules' per-scan calls
// against one ping of the same service.

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <memory>

#include "AudioManager.h"
#include "BpAudioManager.h"
#include "DeviceInfoBuilder.h"
#include "FakeAudioService.h"
#include "FakeHardwareBeep.h"
#include "FakeHidlLight.h"
#include "HWBeep.h"
#include "LEDNotification.h"
#include "orvex/binder_services.h"

namespace {

using android::sp;
using orvex::sim::FakeAudioService;
using orvex::sim::FakeHardwareBeep;
using orvex::sim::FakeHidlLight;

// The same answer without a parcel: an interface implemented in this process.
class DirectAudio : public IAudioManager {
  public:
    void setStreamVolume(int, int, int, android::String8&) override {}
    int getStreamVolume(int streamType) override { return streamType + 1; }
    int getStreamMaxVolume(int streamType) override { return streamType + 10; }

  protected:
    android::IBinder* onAsBinder() override { return nullptr; }
};

void AudioVolume_Baseline(benchmark::State& state) {
    sp<IAudioManager> audio = new DirectAudio();
    for (auto _ : state) benchmark::DoNotOptimize(audio->getStreamVolume(4));
}
BENCHMARK(AudioVolume_Baseline);

// The fake records every transaction; its record is emptied now and then to stay small.
void RunVolumeQueries(benchmark::State& state, const sp<FakeAudioService>& fake,
                      const sp<IAudioManager>& audio) {
    unsigned n = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(audio->getStreamVolume(4));
        if ((++n & 1023) == 0) fake->ClearTransactions();
    }
}

void AudioVolume_LocalService(benchmark::State& state) {
    sp<FakeAudioService> fake = new FakeAudioService();
    RunVolumeQueries(state, fake, IAudioManager::asInterface(fake));
}
BENCHMARK(AudioVolume_LocalService);

// Requests and replies copied as between processes.
void AudioVolume_RemoteService(benchmark::State& state) {
    sp<FakeAudioService> fake = new FakeAudioService();
    RunVolumeQueries(state, fake, IAudioManager::asInterface(orvex::binder::AsRemote(fake)));
}
BENCHMARK(AudioVolume_RemoteService);

void BeepScan_Baseline(benchmark::State& state) {
    sp<FakeHardwareBeep> fake = FakeHardwareBeep::Register();
    sp<HWBeepHal::IHardwareBeepConfigs> beep = HWBeepHal::IHardwareBeepConfigs::getService();
    for (auto _ : state) beep->ping().isOk();
    FakeHardwareBeep::Remove();
}
BENCHMARK(BeepScan_Baseline);

// Prepare and trigger with the volume taken from the audio stream: two audio transactions,
// the device's volume library, setBeepConfig and startBeep.
void BeepScan_PrepareAndTrigger(benchmark::State& state) {
    sp<FakeHardwareBeep> fake = FakeHardwareBeep::Register();
    auto module = std::make_unique<HWBeep<ANDROID_VERSION_10>>();
    module->InitializeFeedback();
    module->SetParameter("ignore_ovc_volume", "true");
    for (auto _ : state) {
        module->PrepareFeedbackForTrigger();
        module->TriggerFeedback();
        fake->ClearCalls();
    }
    module.reset();
    FakeHardwareBeep::Remove();
}
BENCHMARK(BeepScan_PrepareAndTrigger);

void LedScan_Baseline(benchmark::State& state) {
    sp<FakeHidlLight> fake = FakeHidlLight::Register();
    sp<android::hardware::light::V2_0::ILight> light =
        android::hardware::light::V2_0::ILight::getService();
    for (auto _ : state) light->ping().isOk();
    FakeHidlLight::Remove();
}
BENCHMARK(LedScan_Baseline);

// Red at prepare, then straight back to red at trigger (no timer): two setLight calls.
void LedScan_PrepareAndTrigger(benchmark::State& state) {
    sp<FakeHidlLight> fake = FakeHidlLight::Register();
    auto module = std::make_unique<LEDNotification<ANDROID_VERSION_10>>();
    module->InitializeFeedback();
    module->SetParameter("decoding_led_feedback", "true");
    module->SetParameter("isRedLedActive", "true");
    module->SetParameter("good_decode_led_timer", "0");
    for (auto _ : state) {
        module->PrepareFeedbackForTrigger();
        module->TriggerFeedback();
        fake->ClearCalls();
    }
    module.reset();
    FakeHidlLight::Remove();
}
BENCHMARK(LedScan_PrepareAndTrigger);

}  // namespace

int main(int argc, char** argv) {
    // The simulated default device: the beep reads its volume library through the device's
    // dependency file. Set before the first module looks anything up.
    setenv("ORVEX_DEVICE_ROOT", ORVEX_BUILD_DIR "/sim/profiles/default", 0);
    FakeAudioService::Register();
    odk::DeviceInfoBuilder::GetDeviceInfoInstance();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
