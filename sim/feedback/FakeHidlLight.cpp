#include "FakeHidlLight.h"

#include <stdio.h>

#include "Timeline.h"

#include <algorithm>

#include "orvex/hidl_registry.h"

namespace orvex {
namespace sim {

using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using android::hardware::light::V2_0::ILight;

android::hardware::light::V2_0::LightState MakeHidlLightState(uint32_t color) {
    android::hardware::light::V2_0::LightState state;
    state.color = color;
    return state;
}

FakeHidlLight::FakeHidlLight() : mTypes{0, 1, 2, 3, 4, 5, 6, 7, 8} {}

android::sp<FakeHidlLight> FakeHidlLight::Register() {
    android::sp<FakeHidlLight> service = new FakeHidlLight();
    orvex::hidl::RegisterService<ILight>(service, "default");
    return service;
}

void FakeHidlLight::Remove() { orvex::hidl::RemoveService(ILight::descriptor, "default"); }

std::vector<FakeHidlLight::Call> FakeHidlLight::Calls() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mCalls;
}

void FakeHidlLight::ClearCalls() {
    std::lock_guard<std::mutex> lock(mMutex);
    mCalls.clear();
}

bool FakeHidlLight::WaitForCalls(size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mMutex);
    return mCalled.wait_for(lock, timeout, [&] { return mCalls.size() >= count; });
}

Return<FakeHidlLight::Status> FakeHidlLight::setLight(Type type, const LightState& state) {
    std::lock_guard<std::mutex> lock(mMutex);
    mCalls.push_back({static_cast<int>(type), state, pthread_self()});
    if (Timeline::Active()) {
        char text[64];
        snprintf(text, sizeof text, "setLight(%d, color=0x%08x)", static_cast<int>(type),
                 state.color);
        Timeline::Record("ILight", text);
    }
    mCalled.notify_all();
    if (std::find(mTypes.begin(), mTypes.end(), static_cast<int>(type)) == mTypes.end()) {
        return Status::LIGHT_NOT_SUPPORTED;
    }
    return Status::SUCCESS;
}

Return<void> FakeHidlLight::getSupportedTypes(getSupportedTypes_cb _hidl_cb) {
    std::vector<Type> types;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        for (int type : mTypes) types.push_back(static_cast<Type>(type));
    }
    _hidl_cb(hidl_vec<Type>(types));
    return Void();
}

std::ostream& operator<<(std::ostream& out, const FakeHidlLight::Call& call) {
    return out << "setLight(" << call.type << ", color 0x" << std::hex << call.state.color
               << std::dec << ", flash " << static_cast<int>(call.state.flashMode) << " "
               << call.state.flashOnMs << "/" << call.state.flashOffMs << ", brightness "
               << static_cast<int>(call.state.brightnessMode) << ")";
}

}  // namespace sim
}  // namespace orvex
