// The simulated imager: opens and closes with scripted statuses, reports a scripted engine
// identifier and interface type, and hands out whichever control and adapter fakes the
// simulation gave it (null for the others).
//
// Threads: calls arrive on the client's threads; nothing runs on its own.
#pragma once

#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IImager.h>

#include <functional>
#include <mutex>
#include <string>

#include "Fake.h"

namespace orvex {
namespace sim {

namespace dch = ::vendor::tevrin::hardware::dchwmanager::V1_0;

class FakeImager : public dch::IImager, public Fake {
  public:
    // What the fake answers; every call answers from the values set when it is made.
    struct Answers {
        int8_t openImager = 0;
        int8_t closeImager = 0;
        std::string engineId = "31";
        int8_t imagerInterfaceType = 1;
    };

    void SetAnswers(const Answers& answers);
    Answers GetAnswers() const;

    // The sub-interfaces handed out; a fake that is also a Fake is told of the death.
    void SetControl(const ::android::sp<dch::IImagerControl>& control);
    void SetAdapter(const ::android::sp<dch::IImagerAdapter>& adapter);
    ::android::sp<dch::IImagerControl> Control() const;
    ::android::sp<dch::IImagerAdapter> Adapter() const;

    // Opens minus closes so far: an openImager answered -1 does not count, and closing a
    // closed imager leaves it at zero.
    int OpenCount() const;

    // Runs on the client's thread inside each call, after it was recorded and before it
    // answers, with the call's text: a test can kill the service at a chosen step.
    void SetCallHook(std::function<void(const std::string& call)> hook);

    // IImager.
    ::android::hardware::Return<int8_t> openImager() override;
    ::android::hardware::Return<int8_t> closeImager() override;
    ::android::hardware::Return<void> getEngineID(getEngineID_cb _hidl_cb) override;
    ::android::hardware::Return<int8_t> getImagerInterfaceType() override;
    ::android::hardware::Return<::android::sp<dch::IImagerControl>> getImagerControl() override;
    ::android::hardware::Return<::android::sp<dch::IImagerAdapter>> getImagerAdapter() override;

    // Tells the control and adapter fakes that the process died.
    void OnDeath() override;

  private:
    void Record(const std::string& call);

    mutable std::mutex mLock;
    Answers mAnswers;                               // GUARDED_BY(mLock)
    int mOpenCount = 0;                             // GUARDED_BY(mLock)
    std::function<void(const std::string&)> mHook;  // GUARDED_BY(mLock)
    ::android::sp<dch::IImagerControl> mControl;    // GUARDED_BY(mLock)
    ::android::sp<dch::IImagerAdapter> mAdapter;    // GUARDED_BY(mLock)
};

}  // namespace sim
}  // namespace orvex
