#include "FakeImager.h"

namespace orvex {
namespace sim {

using ::android::sp;
using ::android::hardware::Return;
using ::android::hardware::Void;

void FakeImager::SetAnswers(const Answers& answers) {
    std::lock_guard<std::mutex> lock(mLock);
    mAnswers = answers;
}

FakeImager::Answers FakeImager::GetAnswers() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mAnswers;
}

void FakeImager::SetControl(const sp<dch::IImagerControl>& control) {
    std::lock_guard<std::mutex> lock(mLock);
    mControl = control;
}

void FakeImager::SetAdapter(const sp<dch::IImagerAdapter>& adapter) {
    std::lock_guard<std::mutex> lock(mLock);
    mAdapter = adapter;
}

sp<dch::IImagerControl> FakeImager::Control() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mControl;
}

sp<dch::IImagerAdapter> FakeImager::Adapter() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mAdapter;
}

int FakeImager::OpenCount() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mOpenCount;
}

Return<int8_t> FakeImager::openImager() {
    calls().Add("openImager()");
    std::lock_guard<std::mutex> lock(mLock);
    if (mAnswers.openImager != -1) ++mOpenCount;
    return mAnswers.openImager;
}

Return<int8_t> FakeImager::closeImager() {
    calls().Add("closeImager()");
    std::lock_guard<std::mutex> lock(mLock);
    if (mOpenCount > 0) --mOpenCount;
    return mAnswers.closeImager;
}

Return<void> FakeImager::getEngineID(getEngineID_cb _hidl_cb) {
    calls().Add("getEngineID()");
    _hidl_cb(GetAnswers().engineId);
    return Void();
}

Return<int8_t> FakeImager::getImagerInterfaceType() {
    calls().Add("getImagerInterfaceType()");
    return GetAnswers().imagerInterfaceType;
}

Return<sp<dch::IImagerControl>> FakeImager::getImagerControl() {
    calls().Add("getImagerControl()");
    return Control();
}

Return<sp<dch::IImagerAdapter>> FakeImager::getImagerAdapter() {
    calls().Add("getImagerAdapter()");
    return Adapter();
}

void FakeImager::OnDeath() {
    sp<dch::IImagerControl> control = Control();
    sp<dch::IImagerAdapter> adapter = Adapter();
    if (auto* fake = dynamic_cast<Fake*>(control.get())) fake->OnDeath();
    if (auto* fake = dynamic_cast<Fake*>(adapter.get())) fake->OnDeath();
}

}  // namespace sim
}  // namespace orvex
