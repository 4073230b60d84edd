// The audio service's replies, as the audio client parses them and the beep turns them into a
// volume. A scripted audio service, reached across the host's binder boundary (bytes copied,
// an empty reply when a transaction fails), answers the two volume queries with bytes and a
// transaction status taken from the input:
//   bytes 0-3  the beep's "volume_slider_type" (little-endian int32)
//   byte 4     status of the current-volume query, byte 5 of the maximum query (index into
//              kStatuses)
//   byte 6     length of the current-volume reply; its bytes follow, the rest is the maximum
//              reply.
// Each input runs the beep's PrepareFeedbackForTrigger, and the beep service must receive the
// volume the replies imply.

#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <cmath>
#include <limits>
#include <mutex>
#include <string>
#include <vector>

#include "FakeHardwareBeep.h"
#include "FuzzSupport.h"
#include "HWBeep.h"
#include "IAudioManager.h"
#include "orvex/binder_services.h"

namespace {

using orvex::sim::FakeHardwareBeep;

[[noreturn]] void Fail() { __builtin_trap(); }

constexpr android::status_t kStatuses[] = {android::NO_ERROR, android::DEAD_OBJECT,
                                           android::FAILED_TRANSACTION,
                                           android::UNKNOWN_TRANSACTION, android::BAD_VALUE};
constexpr uint32_t kGetStreamVolume = 8;
constexpr uint32_t kGetStreamMaxVolume = 10;

struct Answer {
    android::status_t status = android::NO_ERROR;
    std::vector<uint8_t> reply;
};

// The audio service, answering from the current input. Called on the fuzzing thread.
class ScriptedAudioService : public android::BBinder {
  public:
    void Script(int expectedStream, const Answer& current, const Answer& max) {
        std::lock_guard<std::mutex> lock(mLock);
        mExpectedStream = expectedStream;
        mCurrent = current;
        mMax = max;
    }

  protected:
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t) override {
        std::lock_guard<std::mutex> lock(mLock);
        if (code != kGetStreamVolume && code != kGetStreamMaxVolume) Fail();
        // The request is the client's own: token, then the stream, nothing else.
        if (!data.enforceInterface(IAudioManager::descriptor)) Fail();
        if (data.readInt32() != mExpectedStream || data.dataAvail() != 0) Fail();
        const Answer& answer = code == kGetStreamVolume ? mCurrent : mMax;
        reply->setData(answer.reply.data(), answer.reply.size());
        return answer.status;
    }

  private:
    std::mutex mLock;
    int mExpectedStream = 0;  // GUARDED_BY(mLock)
    Answer mCurrent;          // GUARDED_BY(mLock)
    Answer mMax;              // GUARDED_BY(mLock)
};

// What the client reads from an answer: the word after the exception word, or 0 when the
// transaction failed (empty reply) or the reply is too short to hold it.
int32_t ValueOf(const Answer& answer) {
    if (answer.status != android::NO_ERROR || answer.reply.size() < 8) return 0;
    int32_t value;
    memcpy(&value, answer.reply.data() + 4, sizeof value);
    return value;
}

// The beep's volume for a stream at `current` of `max`.
int32_t ExpectedVolume(int32_t current, int32_t max) {
    if (max == 0) return 2;
    const double scaled = std::round((10.0 / max) * current);
    if (scaled >= std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
    if (scaled <= std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(scaled);
}

int StreamOf(int32_t slider) {
    switch (static_cast<uint32_t>(slider)) {
        case 0:
            return 2;
        case 1:
            return 3;
        case 2:
            return 4;
        default:
            return 5;
    }
}

struct World {
    android::sp<ScriptedAudioService> audio;
    android::sp<FakeHardwareBeep> beep;
    HWBeep<(AndroidVersion)10>* module = nullptr;
};

World& TheWorld() {
    static World* world = [] {
        orvex::fuzz::Setup();
        // Device facts come through the resolver; none are needed beyond an empty table.
        orvex::fuzz::WriteDeviceFile("/system/etc/scanner/ExternalDependencies.xml",
                                     "<d><files/><binaries/><properties/></d>\n");
        auto* w = new World;
        w->audio = new ScriptedAudioService;
        android::defaultServiceManager()->addService(android::String16("audio"),
                                                     orvex::binder::AsRemote(w->audio));
        w->beep = FakeHardwareBeep::Register();
        w->module = new HWBeep<(AndroidVersion)10>();
        w->module->SetParameter("ignore_ovc_volume", "true");
        if (!w->module->InitializeFeedback()) Fail();
        return w;
    }();
    return *world;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char*** argv) {
    orvex::fuzz::UseShortProcessName(*argv, "audio_fuzzer");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    World& world = TheWorld();
    if (size < 7) return 0;
    int32_t slider;
    memcpy(&slider, data, sizeof slider);
    constexpr size_t kStatusCount = sizeof kStatuses / sizeof kStatuses[0];
    Answer current, max;
    current.status = kStatuses[data[4] % kStatusCount];
    max.status = kStatuses[data[5] % kStatusCount];
    const size_t rest = size - 7;
    const size_t currentLength = data[6] < rest ? data[6] : rest;
    current.reply.assign(data + 7, data + 7 + currentLength);
    max.reply.assign(data + 7 + currentLength, data + size);

    world.module->SetParameter("volume_slider_type", std::to_string(slider).c_str());
    world.audio->Script(StreamOf(slider), current, max);
    world.beep->ClearCalls();
    if (!world.module->PrepareFeedbackForTrigger()) Fail();
    const int32_t volume = ExpectedVolume(ValueOf(current), ValueOf(max));
    const std::vector<FakeHardwareBeep::Call> expected = {
        FakeHardwareBeep::SetBeepConfig(12, 30, volume, 15000, 15000)};
    if (world.beep->Calls() != expected) Fail();
    return 0;
}
