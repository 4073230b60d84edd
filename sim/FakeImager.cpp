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

void FakeImager::SetCallHook(std::function<void(const std::string& call)> hook) {
    std::lock_guard<std::mutex> lock(mLock);
    mHook = std::move(hook);
}

void FakeImager::Record(const std::string& call) {
    calls().Add(call);
    std::function<void(const std::string&)> hook;
    {
        std::lock_guard<std::mutex> lock(mLock);
        hook = mHook;
    }
    if (hook) hook(call);
}

Return<int8_t> FakeImager::openImager() {
    Record("openImager()");
    std::lock_guard<std::mutex> lock(mLock);
    if (mAnswers.openImager != -1) ++mOpenCount;
    return mAnswers.openImager;
}

Return<int8_t> FakeImager::closeImager() {
    Record("closeImager()");
    std::lock_guard<std::mutex> lock(mLock);
    if (mOpenCount > 0) --mOpenCount;
    return mAnswers.closeImager;
}

Return<void> FakeImager::getEngineID(getEngineID_cb _hidl_cb) {
    Record("getEngineID()");
    _hidl_cb(GetAnswers().engineId);
    return Void();
}

Return<int8_t> FakeImager::getImagerInterfaceType() {
    Record("getImagerInterfaceType()");
    return GetAnswers().imagerInterfaceType;
}

Return<sp<dch::IImagerControl>> FakeImager::getImagerControl() {
    Record("getImagerControl()");
    return Control();
}

Return<sp<dch::IImagerAdapter>> FakeImager::getImagerAdapter() {
    Record("getImagerAdapter()");
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
