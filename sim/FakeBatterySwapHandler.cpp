#include "FakeBatterySwapHandler.h"

namespace orvex {
namespace sim {

using ::android::hardware::Return;

void FakeBatterySwapHandler::SetAnswers(const Answers& answers) {
    std::lock_guard<std::mutex> lock(mLock);
    mAnswers = answers;
}

FakeBatterySwapHandler::Answers FakeBatterySwapHandler::GetAnswers() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mAnswers;
}

bool FakeBatterySwapHandler::InBatterySwap() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mInSwap;
}

Return<bool> FakeBatterySwapHandler::enterBatterySwap() {
    calls().Add("enterBatterySwap()");
    std::lock_guard<std::mutex> lock(mLock);
    if (mAnswers.enterBatterySwap) mInSwap = true;
    return mAnswers.enterBatterySwap;
}

Return<bool> FakeBatterySwapHandler::exitBatterySwap() {
    calls().Add("exitBatterySwap()");
    std::lock_guard<std::mutex> lock(mLock);
    if (mAnswers.exitBatterySwap) mInSwap = false;
    return mAnswers.exitBatterySwap;
}

}  // namespace sim
}  // namespace orvex
