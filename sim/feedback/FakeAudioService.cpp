#include "FakeAudioService.h"

#include "Timeline.h"

#include <binder/IServiceManager.h>
#include <binder/Status.h>
#include <utils/String16.h>

namespace orvex {
namespace sim {

FakeAudioService::FakeAudioService() {
    // voice call, system, ring, music, alarm, notification, bluetooth sco, enforced audible,
    // dtmf, tts, accessibility
    static const Volume kDefaults[] = {{4, 5},  {5, 7}, {5, 7},   {11, 15}, {6, 7},  {5, 7},
                                       {4, 15}, {5, 7}, {11, 15}, {11, 15}, {11, 15}};
    for (int stream = 0; stream < static_cast<int>(sizeof kDefaults / sizeof kDefaults[0]);
         ++stream) {
        mVolumes[stream] = kDefaults[stream];
    }
}

android::sp<FakeAudioService> FakeAudioService::Register() {
    android::sp<FakeAudioService> service = new FakeAudioService();
    android::defaultServiceManager()->addService(android::String16(kServiceName), service);
    return service;
}

void FakeAudioService::SetStreamVolume(int stream, int current, int max) {
    std::lock_guard<std::mutex> lock(mMutex);
    mVolumes[stream] = {current, max};
}

void FakeAudioService::SetException(int32_t exceptionCode) {
    std::lock_guard<std::mutex> lock(mMutex);
    mException = exceptionCode;
}

std::vector<FakeAudioService::Transaction> FakeAudioService::Transactions() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mTransactions;
}

void FakeAudioService::ClearTransactions() {
    std::lock_guard<std::mutex> lock(mMutex);
    mTransactions.clear();
    mLastRequest.clear();
}

std::vector<uint8_t> FakeAudioService::LastRequest() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mLastRequest;
}

void FakeAudioService::WriteAnswer(android::Parcel* reply, int stream, int Volume::*field) {
    auto it = mVolumes.find(stream);
    if (it == mVolumes.end()) {
        // What the service does with a stream type it does not know.
        android::binder::Status::fromExceptionCode(kExIllegalArgument,
                                                   android::String8("Bad stream type"))
            .writeToParcel(reply);
        return;
    }
    reply->writeInt32(mException);
    reply->writeInt32(it->second.*field);
}

android::status_t FakeAudioService::onTransact(uint32_t code, const android::Parcel& data,
                                               android::Parcel* reply, uint32_t flags) {
    if (code != SET_STREAM_VOLUME && code != GET_STREAM_VOLUME && code != GET_STREAM_MAX_VOLUME) {
        return BBinder::onTransact(code, data, reply, flags);
    }
    android::Parcel discarded;
    if (reply == nullptr) reply = &discarded;
    if (Timeline::Active()) {
        Timeline::Record("audio", code == SET_STREAM_VOLUME   ? "transact(SET_STREAM_VOLUME)"
                                  : code == GET_STREAM_VOLUME ? "transact(GET_STREAM_VOLUME)"
                                                              : "transact(GET_STREAM_MAX_VOLUME)");
    }
    std::lock_guard<std::mutex> lock(mMutex);
    mLastRequest.assign(data.data(), data.data() + data.dataSize());
    Transaction t;
    t.code = code;
    t.flags = flags;
    t.tokenAccepted = data.enforceInterface(android::String16(kDescriptor));
    if (!t.tokenAccepted) {
        mTransactions.push_back(t);
        android::binder::Status::fromExceptionCode(kExSecurity,
                                                   android::String8("Interface token mismatch"))
            .writeToParcel(reply);
        return android::NO_ERROR;
    }

    switch (code) {
        case SET_STREAM_VOLUME: {
            const int stream = data.readInt32();
            const int index = data.readInt32();
            t.args = {stream, index, data.readInt32()};
            t.callingPackage = data.readString8().c_str();
            mTransactions.push_back(t);
            auto it = mVolumes.find(stream);
            if (it != mVolumes.end()) it->second.current = index;
            reply->writeInt32(mException);
            break;
        }
        case GET_STREAM_VOLUME:
        case GET_STREAM_MAX_VOLUME: {
            const int stream = data.readInt32();
            t.args = {stream};
            mTransactions.push_back(t);
            WriteAnswer(reply, stream, code == GET_STREAM_VOLUME ? &Volume::current : &Volume::max);
            break;
        }
    }
    return android::NO_ERROR;
}

}  // namespace sim
}  // namespace orvex
