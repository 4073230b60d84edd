#include "FakeHardwareBeep.h"

#include <sstream>

#include "Timeline.h"

#include "orvex/hidl_registry.h"

namespace orvex {
namespace sim {

using android::hardware::Void;
using vendor::tevrin::hardware::hwbeep::V1_0::IHardwareBeepConfigs;

android::sp<FakeHardwareBeep> FakeHardwareBeep::Register() {
    android::sp<FakeHardwareBeep> service = new FakeHardwareBeep();
    orvex::hidl::RegisterService<IHardwareBeepConfigs>(service, "default");
    return service;
}

void FakeHardwareBeep::Kill() {
    orvex::hidl::KillService(IHardwareBeepConfigs::descriptor, "default");
}

void FakeHardwareBeep::Remove() {
    orvex::hidl::RemoveService(IHardwareBeepConfigs::descriptor, "default");
}

void FakeHardwareBeep::ScriptStartBeep(std::vector<int32_t> answers, int32_t last) {
    std::lock_guard<std::mutex> lock(mMutex);
    mStartAnswers.assign(answers.begin(), answers.end());
    mLastStartAnswer = last;
}

void FakeHardwareBeep::SetSupported(bool supported) {
    std::lock_guard<std::mutex> lock(mMutex);
    mSupported = supported;
}

std::vector<FakeHardwareBeep::Call> FakeHardwareBeep::Calls() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mCalls;
}

void FakeHardwareBeep::ClearCalls() {
    std::lock_guard<std::mutex> lock(mMutex);
    mCalls.clear();
}

namespace {

void Note(const FakeHardwareBeep::Call& call) {
    if (!Timeline::Active()) return;
    std::ostringstream text;
    text << call;
    Timeline::Record("IHardwareBeepConfigs", text.str());
}

}  // namespace

FakeHardwareBeep::Return<int32_t> FakeHardwareBeep::startBeep() {
    std::lock_guard<std::mutex> lock(mMutex);
    mCalls.push_back(StartBeep());
    Note(mCalls.back());
    if (mStartAnswers.empty()) return mLastStartAnswer;
    const int32_t answer = mStartAnswers.front();
    mStartAnswers.pop_front();
    return answer;
}

FakeHardwareBeep::Return<void> FakeHardwareBeep::reserved2() { return Void(); }
FakeHardwareBeep::Return<void> FakeHardwareBeep::reserved3() { return Void(); }
FakeHardwareBeep::Return<void> FakeHardwareBeep::reserved4() { return Void(); }
FakeHardwareBeep::Return<void> FakeHardwareBeep::reserved5() { return Void(); }
FakeHardwareBeep::Return<void> FakeHardwareBeep::reserved6() { return Void(); }
FakeHardwareBeep::Return<void> FakeHardwareBeep::reserved7() { return Void(); }
FakeHardwareBeep::Return<void> FakeHardwareBeep::reserved8() { return Void(); }

FakeHardwareBeep::Return<void> FakeHardwareBeep::setBeepConfig(int32_t frequency, int32_t duration,
                                                               int32_t volume, int32_t timeout,
                                                               int32_t timeoutAfter) {
    std::lock_guard<std::mutex> lock(mMutex);
    mCalls.push_back(SetBeepConfig(frequency, duration, volume, timeout, timeoutAfter));
    Note(mCalls.back());
    return Void();
}

FakeHardwareBeep::Return<bool> FakeHardwareBeep::isHWBeepSupported() {
    std::lock_guard<std::mutex> lock(mMutex);
    mCalls.push_back(IsHWBeepSupported());
    Note(mCalls.back());
    return mSupported;
}

std::ostream& operator<<(std::ostream& out, const FakeHardwareBeep::Call& call) {
    switch (call.kind) {
        case FakeHardwareBeep::Call::kStartBeep:
            return out << "startBeep()";
        case FakeHardwareBeep::Call::kIsHWBeepSupported:
            return out << "isHWBeepSupported()";
        case FakeHardwareBeep::Call::kSetBeepConfig:
            out << "setBeepConfig(";
            for (size_t i = 0; i < call.args.size(); ++i) out << (i ? ", " : "") << call.args[i];
            return out << ")";
    }
    return out;
}

}  // namespace sim
}  // namespace orvex
