// The maker's beep service (vendor.tevrin.hardware.hwbeep@1.0::IHardwareBeepConfigs/default):
// scripted answers and a log of every call with its arguments.
#pragma once

#include <stdint.h>
#include <vendor/tevrin/hardware/hwbeep/1.0/IHardwareBeepConfigs.h>

#include <deque>
#include <mutex>
#include <ostream>
#include <vector>

namespace orvex {
namespace sim {

// Calls arrive on the client's thread through the runtime's proxy; members are guarded by
// mMutex.
class FakeHardwareBeep : public vendor::tevrin::hardware::hwbeep::V1_0::IHardwareBeepConfigs {
  public:
    template <typename R>
    using Return = android::hardware::Return<R>;

    struct Call {
        enum Kind { kStartBeep, kSetBeepConfig, kIsHWBeepSupported } kind;
        // kSetBeepConfig: frequency, duration, volume, timeout, timeout_after.
        std::vector<int32_t> args;

        bool operator==(const Call& o) const { return kind == o.kind && args == o.args; }
    };

    static Call StartBeep() { return {Call::kStartBeep, {}}; }
    static Call SetBeepConfig(int32_t frequency, int32_t duration, int32_t volume, int32_t timeout,
                              int32_t timeoutAfter) {
        return {Call::kSetBeepConfig, {frequency, duration, volume, timeout, timeoutAfter}};
    }
    static Call IsHWBeepSupported() { return {Call::kIsHWBeepSupported, {}}; }

    // A new service registered as "default"; a live one of that name dies first.
    static android::sp<FakeHardwareBeep> Register();
    // The service's process dies: calls through existing references fail.
    static void Kill();
    // The service is gone for good: lookups answer null at once.
    static void Remove();

    // Answers of startBeep, used in order; once they run out, every start answers `last`.
    void ScriptStartBeep(std::vector<int32_t> answers, int32_t last = 1);
    void SetSupported(bool supported);

    std::vector<Call> Calls() const;
    void ClearCalls();

    Return<int32_t> startBeep() override;
    Return<void> reserved2() override;
    Return<void> reserved3() override;
    Return<void> reserved4() override;
    Return<void> reserved5() override;
    Return<void> reserved6() override;
    Return<void> reserved7() override;
    Return<void> reserved8() override;
    Return<void> setBeepConfig(int32_t frequency, int32_t duration, int32_t volume, int32_t timeout,
                               int32_t timeoutAfter) override;
    Return<bool> isHWBeepSupported() override;

  private:
    mutable std::mutex mMutex;
    std::deque<int32_t> mStartAnswers;
    int32_t mLastStartAnswer = 1;
    bool mSupported = true;
    std::vector<Call> mCalls;
};

std::ostream& operator<<(std::ostream& out, const FakeHardwareBeep::Call& call);

}  // namespace sim
}  // namespace orvex
