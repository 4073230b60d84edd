#include "FakeAidlLights.h"

#include <binder/IServiceManager.h>
#include <binder/Status.h>
#include <stdio.h>

#include "Timeline.h"
#include "orvex/binder_services.h"

namespace orvex {
namespace sim {

using android::hardware::light::HwLight;
using android::hardware::light::HwLightState;
using android::hardware::light::ILights;
using android::hardware::light::LightType;

HwLight MakeLight(int32_t id, int32_t ordinal, int type) {
    HwLight light;
    light.id = id;
    light.ordinal = ordinal;
    light.type = static_cast<LightType>(type);
    return light;
}

HwLightState MakeLightState(uint32_t color) {
    HwLightState state;
    state.color = static_cast<int32_t>(color);
    return state;
}

FakeAidlLights::FakeAidlLights() : FakeAidlLights(DefaultLights()) {}

FakeAidlLights::FakeAidlLights(std::vector<HwLight> lights) : mLights(std::move(lights)) {}

std::vector<HwLight> FakeAidlLights::DefaultLights() {
    return {MakeLight(0, 0, static_cast<int>(LightType::NOTIFICATIONS)), MakeLight(1, 0, 100)};
}

std::string FakeAidlLights::InstanceName() {
    return std::string(android::String8(ILights::descriptor).c_str()) + "/default";
}

android::sp<FakeAidlLights> FakeAidlLights::Register(std::vector<HwLight> lights, bool remote) {
    android::sp<FakeAidlLights> service = new FakeAidlLights(std::move(lights));
    const std::string name = InstanceName();
    orvex::binder::Declare(name);
    android::sp<android::IBinder> binder = service;
    if (remote) binder = orvex::binder::AsRemote(binder);
    android::defaultServiceManager()->addService(android::String16(name.c_str()), binder);
    return service;
}

void FakeAidlLights::SetLights(std::vector<HwLight> lights) {
    std::lock_guard<std::mutex> lock(mMutex);
    mLights = std::move(lights);
}

std::vector<FakeAidlLights::Call> FakeAidlLights::Calls() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mCalls;
}

std::vector<FakeAidlLights::Call> FakeAidlLights::SetCalls() const {
    std::lock_guard<std::mutex> lock(mMutex);
    std::vector<Call> out;
    for (const Call& call : mCalls) {
        if (call.kind == Call::kSetLightState) out.push_back(call);
    }
    return out;
}

void FakeAidlLights::ClearCalls() {
    std::lock_guard<std::mutex> lock(mMutex);
    mCalls.clear();
}

size_t FakeAidlLights::SetCallCountLocked() const {
    size_t count = 0;
    for (const Call& call : mCalls) count += call.kind == Call::kSetLightState ? 1 : 0;
    return count;
}

bool FakeAidlLights::WaitForSetCalls(size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mMutex);
    return mCalled.wait_for(lock, timeout, [&] { return SetCallCountLocked() >= count; });
}

android::binder::Status FakeAidlLights::setLightState(int32_t id, const HwLightState& state) {
    std::lock_guard<std::mutex> lock(mMutex);
    mCalls.push_back({Call::kSetLightState, id, state, pthread_self()});
    if (Timeline::Active()) {
        char text[64];
        snprintf(text, sizeof text, "setLightState(%d, color=0x%08x)", id,
                 static_cast<uint32_t>(state.color));
        Timeline::Record("ILights", text);
    }
    mCalled.notify_all();
    for (const HwLight& light : mLights) {
        if (light.id == id) return android::binder::Status::ok();
    }
    return android::binder::Status::fromExceptionCode(
        android::binder::Status::EX_UNSUPPORTED_OPERATION);
}

android::binder::Status FakeAidlLights::getLights(std::vector<HwLight>* lights) {
    std::lock_guard<std::mutex> lock(mMutex);
    mCalls.push_back({Call::kGetLights, 0, HwLightState(), pthread_self()});
    *lights = mLights;
    return android::binder::Status::ok();
}

std::ostream& operator<<(std::ostream& out, const FakeAidlLights::Call& call) {
    if (call.kind == FakeAidlLights::Call::kGetLights) return out << "getLights()";
    return out << "setLightState(" << call.id << ", " << call.state.toString() << ")";
}

}  // namespace sim
}  // namespace orvex
