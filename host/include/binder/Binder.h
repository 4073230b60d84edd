// libbinder's local binder object and the holder of a remote one, for Linux hosts.
#pragma once

#include <binder/IBinder.h>

namespace android {

// A binder object implemented in this process: transact() dispatches to onTransact() on the
// caller's thread, so implementations lock what they share.
class BBinder : public IBinder {
  public:
    BBinder();

    const String16& getInterfaceDescriptor() const override;
    bool isBinderAlive() const override;
    status_t pingBinder() override;

    // Rewinds `data`, answers a ping itself and hands every other code to onTransact(); the
    // reply is rewound so the caller reads it from the start.
    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0) final;

    BBinder* localBinder() override;

  protected:
    ~BBinder() override;

    // Answers INTERFACE_TRANSACTION with the descriptor; every other code is unknown.
    virtual status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                uint32_t flags = 0);
};

// The base of every proxy: keeps the binder the proxy talks through.
class BpRefBase : public virtual RefBase {
  protected:
    explicit BpRefBase(const sp<IBinder>& o);
    ~BpRefBase() override;

    IBinder* remote() const { return mRemote.get(); }

  private:
    BpRefBase(const BpRefBase&) = delete;
    BpRefBase& operator=(const BpRefBase&) = delete;

    const sp<IBinder> mRemote;
};

}  // namespace android
