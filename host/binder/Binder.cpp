#include <binder/Binder.h>
#include <binder/IInterface.h>
#include <binder/Parcel.h>

namespace android {

IBinder::IBinder() {}
IBinder::~IBinder() {}

sp<IInterface> IBinder::queryLocalInterface(const String16&) { return nullptr; }
BBinder* IBinder::localBinder() { return nullptr; }
BpBinder* IBinder::remoteBinder() { return nullptr; }

BBinder::BBinder() {}
BBinder::~BBinder() {}

const String16& BBinder::getInterfaceDescriptor() const {
    static const String16* const kEmpty = new String16();
    return *kEmpty;
}

bool BBinder::isBinderAlive() const { return true; }
status_t BBinder::pingBinder() { return NO_ERROR; }
BBinder* BBinder::localBinder() { return this; }

status_t BBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    data.setDataPosition(0);
    status_t err = NO_ERROR;
    if (code == PING_TRANSACTION) {
        err = pingBinder();
    } else {
        err = onTransact(code, data, reply, flags);
    }
    if (reply != nullptr) reply->setDataPosition(0);
    return err;
}

status_t BBinder::onTransact(uint32_t code, const Parcel&, Parcel* reply, uint32_t) {
    if (code == INTERFACE_TRANSACTION) {
        if (reply != nullptr) reply->writeString16(getInterfaceDescriptor());
        return NO_ERROR;
    }
    return UNKNOWN_TRANSACTION;
}

BpRefBase::BpRefBase(const sp<IBinder>& o) : mRemote(o) {}
BpRefBase::~BpRefBase() {}

IInterface::IInterface() {}
IInterface::~IInterface() {}

sp<IBinder> IInterface::asBinder(const IInterface* iface) {
    if (iface == nullptr) return nullptr;
    return const_cast<IInterface*>(iface)->onAsBinder();
}

sp<IBinder> IInterface::asBinder(const sp<IInterface>& iface) { return asBinder(iface.get()); }

}  // namespace android
