// The simulated imager for the imaging suites: a hardware manager whose every instance gets a
// fresh imager with its control and adapter, and the library's log as the suites compare it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "FakeImager.h"
#include "FakeImagerAdapter.h"
#include "FakeImagerControl.h"
#include "HardwareManagerSim.h"
#include "orvex/log_capture.h"

namespace orvex {
namespace test {

constexpr const char* kTag = "ScannerFramework";
constexpr int kDebug = 3;
constexpr int kInfo = 4;
constexpr int kError = 6;

inline hostlog::Entry D(const std::string& text) { return {kDebug, kTag, text}; }
inline hostlog::Entry I(const std::string& text) { return {kInfo, kTag, text}; }
inline hostlog::Entry E(const std::string& text) { return {kError, kTag, text}; }

// Which parts the simulated hardware manager hands out.
struct ImagerParts {
    bool imager = true;
    bool control = true;
    bool adapter = true;
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
    std::vector<std::string> ManagerCalls() const { return mSim.manager()->calls().Calls(); }

    // The current instance's parts (the last ones after a death).
    ::android::sp<sim::FakeImager> imager;
    ::android::sp<sim::FakeImagerControl> control;
    ::android::sp<sim::FakeImagerAdapter> adapter;

  private:
    sim::HardwareManagerSim mSim;
};

// One way a companion's failed association can go: whether there is a manager, which parts it
// hands out and what openImager answers; then the lines logged and the imager's calls.
struct FailedAssociation {
    const char* what;
    bool manager;
    ImagerParts parts;
    int8_t open;
    std::vector<hostlog::Entry> association;
    std::vector<std::string> imagerCalls;
};

// The device such a case runs on: none without a manager.
inline std::unique_ptr<SimImager> StartDevice(const FailedAssociation& c) {
    if (!c.manager) return nullptr;
    auto device = std::make_unique<SimImager>(c.parts);
    if (device->imager != nullptr) {
        sim::FakeImager::Answers answers;
        answers.openImager = c.open;
        device->imager->SetAnswers(answers);
    }
    return device;
}

// The library's records in a capture, in order.
inline std::vector<hostlog::Entry> Records(const hostlog::ScopedCapture& capture) {
    return capture.WithTag(kTag);
}

}  // namespace test
}  // namespace orvex
