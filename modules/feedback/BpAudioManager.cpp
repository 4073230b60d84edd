#include "BpAudioManager.h"

#include <binder/Parcel.h>

BpAudioManager::BpAudioManager(const android::sp<android::IBinder>& impl)
    : android::BpInterface<IAudioManager>(impl) {}

void BpAudioManager::setStreamVolume(int streamType, int index, int flags,
                                     android::String8& callingPackage) {
    android::Parcel data;
    android::Parcel reply;
    data.writeInterfaceToken(IAudioManager::descriptor);
    data.writeInt32(streamType);
    data.writeInt32(index);
    data.writeInt32(flags);
    data.writeString8(callingPackage);
    remote()->transact(SET_STREAM_VOLUME, data, &reply, 0);
}

int BpAudioManager::getStreamVolume(int streamType) {
    android::Parcel data;
    android::Parcel reply;
    data.writeInterfaceToken(IAudioManager::descriptor);
    data.writeInt32(streamType);
    remote()->transact(GET_STREAM_VOLUME, data, &reply, 0);
    reply.readInt32();  // the exception word: the value that follows is taken regardless
    return reply.readInt32();
}

int BpAudioManager::getStreamMaxVolume(int streamType) {
    android::Parcel data;
    android::Parcel reply;
    data.writeInterfaceToken(IAudioManager::descriptor);
    data.writeInt32(streamType);
    remote()->transact(GET_STREAM_MAX_VOLUME, data, &reply, 0);
    reply.readInt32();  // the exception word: the value that follows is taken regardless
    return reply.readInt32();
}
