// The simulated hardware manager service as tests, benchmarks and orvexctl drive it: registers
// a FakeDCHWManager as vendor.tevrin.hardware.dchwmanager@1.0::IDCHWManager "default", kills
// it, brings a new instance back, removes it. Each instance is built fresh (a restarted service
// keeps no state): a FakeTrigger, plus whatever the added builders put in.
//
// Not thread-safe: one thread drives it. Destroying it removes the service.
#pragma once

#include <functional>
#include <vector>

#include "FakeDCHWManager.h"
#include "FakeTrigger.h"

namespace orvex {
namespace sim {

class HardwareManagerSim {
  public:
    // Fills in a new manager instance (SetSerial, SetImager, ...).
    using Builder = std::function<void(FakeDCHWManager& manager)>;

    // Registers the first instance unless `start` is false.
    explicit HardwareManagerSim(bool start = true);
    ~HardwareManagerSim();
    HardwareManagerSim(const HardwareManagerSim&) = delete;
    HardwareManagerSim& operator=(const HardwareManagerSim&) = delete;

    // Runs for every instance built from now on (not for the live one).
    void AddBuilder(Builder builder);

    // Registers a new instance; a live one dies first.
    void Start();
    // The service dies. Lookups wait until Restart(), as on a device.
    void Kill();
    // Kill (when alive), then a new instance.
    void Restart();
    // The service dies (when alive) and is no longer declared: lookups answer null at once.
    void Remove();
    bool Alive() const { return mAlive; }

    // The current instance and its trigger (the last ones when dead).
    const ::android::sp<FakeDCHWManager>& manager() const { return mManager; }
    const ::android::sp<FakeTrigger>& trigger() const { return mTrigger; }

  private:
    std::vector<Builder> mBuilders;
    ::android::sp<FakeDCHWManager> mManager;
    ::android::sp<FakeTrigger> mTrigger;
    bool mAlive = false;
};

}  // namespace sim
}  // namespace orvex
