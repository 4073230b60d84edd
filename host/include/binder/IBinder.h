// libbinder's base of every binder object, for Linux hosts. A host process has no binder
// driver: every binder is an object in this process, so a transaction is a direct call.
#pragma once

#include <stdint.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String16.h>

#define B_PACK_CHARS(c1, c2, c3, c4) (((c1) << 24) | ((c2) << 16) | ((c3) << 8) | (c4))

namespace android {

class BBinder;
class BpBinder;
class IInterface;
class Parcel;

class IBinder : public virtual RefBase {
  public:
    enum {
        FIRST_CALL_TRANSACTION = 0x00000001,
        LAST_CALL_TRANSACTION = 0x00ffffff,

        PING_TRANSACTION = B_PACK_CHARS('_', 'P', 'N', 'G'),
        INTERFACE_TRANSACTION = B_PACK_CHARS('_', 'N', 'T', 'F'),

        // The caller does not wait for the reply; no reply parcel is filled.
        FLAG_ONEWAY = 0x00000001,
    };

    IBinder();

    // The local interface object when this binder is one implementing `descriptor` in this
    // process, otherwise null; interface_cast builds a proxy in that case.
    virtual sp<IInterface> queryLocalInterface(const String16& descriptor);

    virtual const String16& getInterfaceDescriptor() const = 0;
    virtual bool isBinderAlive() const = 0;
    virtual status_t pingBinder() = 0;

    // Delivers `data` to the object and, unless FLAG_ONEWAY, fills `reply`. The reply is left
    // empty when the transaction fails, so its reads give zeros.
    virtual status_t transact(uint32_t code, const Parcel& data, Parcel* reply,
                              uint32_t flags = 0) = 0;

    virtual BBinder* localBinder();
    virtual BpBinder* remoteBinder();

  protected:
    virtual ~IBinder();
};

}  // namespace android
