// The hardware manager's battery-swap handler as the simulated device offers it: it answers
// with scripted values, records each call, and keeps whether the hardware is in its
// battery-swap mode (entered by an accepted enterBatterySwap, left by an accepted exit).
//
// Threads: calls arrive on the client's threads; the state is guarded by mLock.
#pragma once

#include <vendor/tevrin/hardware/dchwmanager/1.0/IBatterySwapHandler.h>

#include <mutex>

#include "Fake.h"

namespace orvex {
namespace sim {

class FakeBatterySwapHandler
    : public ::vendor::tevrin::hardware::dchwmanager::V1_0::IBatterySwapHandler,
      public Fake {
  public:
    struct Answers {
        bool enterBatterySwap = true;
        bool exitBatterySwap = true;
    };

    void SetAnswers(const Answers& answers);
    Answers GetAnswers() const;
    bool InBatterySwap() const;

    ::android::hardware::Return<bool> enterBatterySwap() override;
    ::android::hardware::Return<bool> exitBatterySwap() override;

  private:
    mutable std::mutex mLock;
    Answers mAnswers;      // GUARDED_BY(mLock)
    bool mInSwap = false;  // GUARDED_BY(mLock)
};

}  // namespace sim
}  // namespace orvex
