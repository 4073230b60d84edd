// The simulated imager for the imaging suites and the soaks: a hardware manager whose every
// instance gets a fresh imager with its control and adapter.
#pragma once

#include "FakeImager.h"
#include "FakeImagerAdapter.h"
#include "FakeImagerControl.h"
#include "HardwareManagerSim.h"

namespace orvex::test {

// Which parts the simulated hardware manager hands out.
struct ImagerParts {
    bool imager = true, control = true, adapter = true;
};

class SimImager {
  public:
    explicit SimImager(ImagerParts parts = {}) : mSim(false) {
        mSim.AddBuilder([this, parts](sim::FakeDCHWManager& manager) {
            imager = parts.imager ? new sim::FakeImager : nullptr;
            control = parts.control ? new sim::FakeImagerControl : nullptr;
            adapter = parts.adapter ? new sim::FakeImagerAdapter : nullptr;
            if (imager == nullptr) return;
            imager->SetControl(control);
            imager->SetAdapter(adapter);
            manager.SetImager(imager);
        });
        mSim.Start();
    }

    sim::HardwareManagerSim& sim() { return mSim; }

    // The current instance's parts (the last ones after a death).
    ::android::sp<sim::FakeImager> imager;
    ::android::sp<sim::FakeImagerControl> control;
    ::android::sp<sim::FakeImagerAdapter> adapter;

  private:
    sim::HardwareManagerSim mSim;
};

}  // namespace orvex::test
