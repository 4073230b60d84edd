// libbinder's interface base, the local (Bn) and proxy (Bp) halves of an interface and the
// meta-interface macros that give an interface its descriptor and asInterface(), for Linux hosts.
#pragma once

#include <binder/Binder.h>

#include <utility>

namespace android {

class IInterface : public virtual RefBase {
  public:
    IInterface();

    // The binder behind an interface object: the object itself for a local one, the remote
    // binder for a proxy; null for null.
    static sp<IBinder> asBinder(const IInterface* iface);
    static sp<IBinder> asBinder(const sp<IInterface>& iface);

  protected:
    ~IInterface() override;
    virtual IBinder* onAsBinder() = 0;
};

// The interface object for a binder: the local object, or a new proxy; null for null.
template <typename INTERFACE>
inline sp<INTERFACE> interface_cast(const sp<IBinder>& obj) {
    return INTERFACE::asInterface(obj);
}

// The local half: a binder object that implements INTERFACE in this process.
template <typename INTERFACE>
class BnInterface : public INTERFACE, public BBinder {
  public:
    sp<IInterface> queryLocalInterface(const String16& descriptor) override {
        if (descriptor == INTERFACE::descriptor) return sp<IInterface>(this);
        return nullptr;
    }
    const String16& getInterfaceDescriptor() const override { return INTERFACE::descriptor; }

  protected:
    IBinder* onAsBinder() override { return this; }
};

// The proxy half: implements INTERFACE by writing transactions to a binder.
template <typename INTERFACE>
class BpInterface : public INTERFACE, public BpRefBase {
  public:
    explicit BpInterface(const sp<IBinder>& remote) : BpRefBase(remote) {}

  protected:
    IBinder* onAsBinder() override { return remote(); }
};

}  // namespace android

// Declares the descriptor, asInterface() and the default implementation of I##INTERFACE.
#define DECLARE_META_INTERFACE(INTERFACE)                                                         \
  public:                                                                                         \
    static const ::android::String16 descriptor;                                                  \
    static ::android::sp<I##INTERFACE> asInterface(const ::android::sp<::android::IBinder>& obj); \
    virtual const ::android::String16& getInterfaceDescriptor() const;                            \
    I##INTERFACE();                                                                               \
    virtual ~I##INTERFACE();                                                                      \
    static bool setDefaultImpl(::android::sp<I##INTERFACE> impl);                                 \
    static const ::android::sp<I##INTERFACE>& getDefaultImpl();                                   \
                                                                                                  \
  private:                                                                                        \
    static ::android::sp<I##INTERFACE> default_impl;                                              \
                                                                                                  \
  public:

// Defines what DECLARE_META_INTERFACE declared; Bp##INTERFACE must be complete here.
#define IMPLEMENT_META_INTERFACE(INTERFACE, NAME)                             \
    const ::android::String16 I##INTERFACE::descriptor(NAME);                 \
    const ::android::String16& I##INTERFACE::getInterfaceDescriptor() const { \
        return I##INTERFACE::descriptor;                                      \
    }                                                                         \
    ::android::sp<I##INTERFACE> I##INTERFACE::asInterface(                    \
        const ::android::sp<::android::IBinder>& obj) {                       \
        ::android::sp<I##INTERFACE> intr;                                     \
        if (obj != nullptr) {                                                 \
            intr = static_cast<I##INTERFACE*>(                                \
                obj->queryLocalInterface(I##INTERFACE::descriptor).get());    \
            if (intr == nullptr) intr = new Bp##INTERFACE(obj);               \
        }                                                                     \
        return intr;                                                          \
    }                                                                         \
    ::android::sp<I##INTERFACE> I##INTERFACE::default_impl;                   \
    bool I##INTERFACE::setDefaultImpl(::android::sp<I##INTERFACE> impl) {     \
        if (!I##INTERFACE::default_impl && impl) {                            \
            I##INTERFACE::default_impl = std::move(impl);                     \
            return true;                                                      \
        }                                                                     \
        return false;                                                         \
    }                                                                         \
    const ::android::sp<I##INTERFACE>& I##INTERFACE::getDefaultImpl() {       \
        return I##INTERFACE::default_impl;                                    \
    }                                                                         \
    I##INTERFACE::I##INTERFACE() {}                                           \
    I##INTERFACE::~I##INTERFACE() {}
