// A binder reached "from another process": requests and replies travel as copies of their
// bytes, and no local interface is offered, so callers go through their proxies exactly as
// they do towards a service in another process.

#include <binder/IInterface.h>
#include <binder/Parcel.h>

#include "orvex/binder_services.h"

namespace orvex {
namespace binder {

namespace {

class RemoteBinder : public android::IBinder {
  public:
    explicit RemoteBinder(const android::sp<android::IBinder>& local) : mLocal(local) {}

    const android::String16& getInterfaceDescriptor() const override {
        return mLocal->getInterfaceDescriptor();
    }
    bool isBinderAlive() const override { return mLocal->isBinderAlive(); }
    android::status_t pingBinder() override { return mLocal->pingBinder(); }

    android::status_t transact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                               uint32_t flags) override {
        android::Parcel request;
        request.setData(data.data(), data.dataSize());
        android::Parcel answer;
        const android::status_t err = mLocal->transact(code, request, &answer, flags);
        if (reply != nullptr) {
            if (err == android::NO_ERROR && (flags & FLAG_ONEWAY) == 0) {
                reply->setData(answer.data(), answer.dataSize());
            } else {
                reply->freeData();
            }
        }
        return err;
    }

  private:
    const android::sp<android::IBinder> mLocal;
};

}  // namespace

android::sp<android::IBinder> AsRemote(const android::sp<android::IBinder>& local) {
    if (local == nullptr) return nullptr;
    return new RemoteBinder(local);
}

}  // namespace binder
}  // namespace orvex
