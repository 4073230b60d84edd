// The in-process transport behind every HIDL interface on a Linux host.
//
// Services of the simulated device live in this process, but each one is hosted by a Domain of
// its own (the process it would run in on a device), and a client only ever holds proxies to
// them. A proxy forwards a call unless its service's domain is dead, in which case the call fails
// with DEAD_OBJECT, as a binder call to a dead process does. Interface references that cross
// between domains (results, arguments) are turned into proxies the same way, so that a service
// also reaches the client's callback objects through proxies; those calls run on the runtime's
// thread pool, never on the service's thread.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace android {
namespace hardware {
namespace details {

using ::android::hidl::base::V1_0::IBase;

// A process as the transport sees it: the one this runtime serves (local) or one that hosts a
// service. Thread-safe.
class Domain {
  public:
    Domain(std::string name, bool isLocal) : mName(std::move(name)), mIsLocal(isLocal) {}

    static const std::shared_ptr<Domain>& local();

    const std::string& name() const { return mName; }
    bool isLocal() const { return mIsLocal; }
    bool isDead() const { return mDead.load(std::memory_order_acquire); }

    // Records a death link of `proxy`; false when the domain is already dead.
    bool link(const void* proxy, const sp<hidl_death_recipient>& recipient, uint64_t cookie,
              const wp<IBase>& who);
    // Removes the most recent link of `recipient` made through `proxy`.
    bool unlink(const void* proxy, const sp<hidl_death_recipient>& recipient);
    // Forgets every link of a proxy that goes away.
    void dropLinks(const void* proxy);

    // Marks the domain dead and posts each link's serviceDied to the pool; each link fires once.
    // False when it was dead already.
    bool kill();

  private:
    struct Link {
        const void* proxy;
        wp<hidl_death_recipient> recipient;
        uint64_t cookie;
        wp<IBase> who;
    };

    const std::string mName;
    const bool mIsLocal;
    std::atomic<bool> mDead{false};
    std::mutex mLock;
    std::vector<Link> mLinks;  // GUARDED_BY(mLock)
};

using DomainRef = std::shared_ptr<Domain>;

// The domain whose code runs on this thread: the local one, except inside a call that a proxy
// forwards to a service.
const DomainRef& currentDomain();

class ScopedCurrentDomain {
  public:
    explicit ScopedCurrentDomain(const DomainRef& domain);
    ~ScopedCurrentDomain();

  private:
    DomainRef mPrevious;
};

// The runtime's thread pool.
bool onRpcThread();
// Runs `task` on a pool thread; with `wait`, returns once it has run.
void postToPool(std::function<void()> task, bool wait);

// Runs a forwarded call for an object hosted by `owner`. Calls into the local domain's objects
// run on a pool thread (inline when the caller already is one, as a nested binder call would),
// calls into a service's objects on the calling thread.
template <typename F>
auto dispatch(const DomainRef& owner, F&& fn) -> decltype(fn()) {
    using R = decltype(fn());
    if (owner->isLocal()) {
        if (onRpcThread()) return fn();
        std::optional<R> result;
        postToPool([&] { result.emplace(fn()); }, true);
        return std::move(*result);
    }
    ScopedCurrentDomain scope(owner);
    return fn();
}

// Lets the transport copy a status out of a Return.
struct ReturnAccess {
    static Status status(const return_status& r) { return r.mStatus; }
};

// What every proxy holds: the object it stands for, the domain hosting it and the domain
// holding the proxy.
class ProxyCore {
  public:
    ProxyCore(const sp<IBase>& impl, DomainRef owner, DomainRef holder)
        : mImpl(impl), mOwner(std::move(owner)), mHolder(std::move(holder)) {}
    virtual ~ProxyCore();

    const sp<IBase>& impl() const { return mImpl; }
    const DomainRef& owner() const { return mOwner; }
    const DomainRef& holder() const { return mHolder; }
    bool alive() const { return !mOwner->isDead() && !mHolder->isDead(); }

  protected:
    Return<void> pingRemote() const;
    Return<bool> linkRemote(const sp<hidl_death_recipient>& recipient, uint64_t cookie,
                            const wp<IBase>& who);
    Return<bool> unlinkRemote(const sp<hidl_death_recipient>& recipient);

  private:
    const sp<IBase> mImpl;
    const DomainRef mOwner;
    const DomainRef mHolder;
};

// Builds the proxy class of one interface; each interface registers its own.
using ProxyFactory = sp<IBase> (*)(const sp<IBase>& impl, const DomainRef& owner,
                                   const DomainRef& holder);
bool registerProxyFactory(const char* descriptor, ProxyFactory factory);

// The reference that domain `to` holds for `obj`, which domain `from` handed over: the object
// itself when it lives in `to`, otherwise a proxy of interface `descriptor`.
sp<IBase> crossDomain(const char* descriptor, const sp<IBase>& obj, const DomainRef& from,
                      const DomainRef& to);

// Nothing here asks the language for an object's type: the library, which implements callback
// interfaces and hands them over, is built without RTTI, as on a device. What an object is
// comes from the interface it was registered or handed over as, and from its descriptor.

// The core of `obj` when `obj` is a proxy, else null.
ProxyCore* proxyCoreOf(const IBase* obj);
void registerProxyCore(const IBase* proxy, ProxyCore* core);
void unregisterProxyCore(const IBase* proxy);
// Whether `obj` (not a proxy) implements the interface `descriptor`.
bool implements(const sp<IBase>& obj, const char* descriptor);

template <typename J>
sp<J> crossDomainAs(const sp<J>& obj, const DomainRef& from, const DomainRef& to) {
    sp<IBase> base = crossDomain(J::descriptor, obj, from, to);
    return sp<J>(static_cast<J*>(base.get()));
}

template <typename T>
struct IsInterfaceRef : std::false_type {};
template <typename J>
struct IsInterfaceRef<sp<J>> : std::is_base_of<IBase, J> {};

// The proxy base of interface I: each method of a concrete proxy is one call().
template <typename I>
class BpHw : public I, public ProxyCore {
  public:
    BpHw(const sp<IBase>& impl, const DomainRef& owner, const DomainRef& holder)
        : ProxyCore(impl, owner, holder), mTarget(static_cast<I*>(impl.get())) {
        registerProxyCore(static_cast<IBase*>(this), this);
    }
    ~BpHw() override { unregisterProxyCore(static_cast<IBase*>(this)); }

    bool isRemote() const override { return true; }
    Return<void> ping() override { return pingRemote(); }
    Return<bool> linkToDeath(const sp<hidl_death_recipient>& recipient, uint64_t cookie) override {
        return linkRemote(recipient, cookie, wp<IBase>(static_cast<IBase*>(this)));
    }
    Return<bool> unlinkToDeath(const sp<hidl_death_recipient>& recipient) override {
        return unlinkRemote(recipient);
    }
    Return<void> interfaceDescriptor(IBase::interfaceDescriptor_cb _hidl_cb) override {
        return call(&IBase::interfaceDescriptor, _hidl_cb);
    }

  protected:
    template <typename R, typename C, typename... P, typename... A>
    Return<R> call(Return<R> (C::*method)(P...), A&&... args) {
        static_assert(std::is_base_of<C, I>::value, "method of another interface");
        if (!alive()) return Return<R>(Status::fromStatusT(DEAD_OBJECT));
        return dispatch(owner(), [&]() -> Return<R> {
            return toHolder((mTarget->*method)(toOwner(std::forward<A>(args))...));
        });
    }

  private:
    // Interface references handed to the service become the service's view of them.
    template <typename A>
    decltype(auto) toOwner(A&& arg) {
        if constexpr (IsInterfaceRef<std::decay_t<A>>::value) {
            return crossDomainAs(arg, holder(), owner());
        } else {
            return std::forward<A>(arg);
        }
    }

    // A failed result reaches the caller unchecked, so that ignoring it is as fatal as it
    // would be on a device; interface results become the caller's view of them.
    template <typename R>
    Return<R> toHolder(Return<R>&& r) {
        if (!r.isOk()) return Return<R>(ReturnAccess::status(r));
        if constexpr (IsInterfaceRef<R>::value) {
            R value = r;
            return Return<R>(crossDomainAs(value, owner(), holder()));
        } else {
            return std::move(r);
        }
    }

    I* const mTarget;
};

template <typename P>
sp<IBase> makeProxy(const sp<IBase>& impl, const DomainRef& owner, const DomainRef& holder) {
    return sp<IBase>(static_cast<IBase*>(new P(impl, owner, holder)));
}

// Service registry. Registering takes the service into a new domain; a lookup returns the
// service (passthrough) or, normally, a proxy held by the caller's domain.
struct ServiceLookup {
    sp<IBase> service;
    DomainRef host;
};
// With `wait`, a lookup of a service that was registered before and is now dead waits until
// it is registered again or removed, as getService waits for a declared service on a device.
ServiceLookup lookupService(const std::string& descriptor, const std::string& instance, bool wait);

template <typename I>
sp<I> getServiceAs(const std::string& instance, bool getStub, bool wait) {
    ServiceLookup found = lookupService(I::descriptor, instance, wait);
    if (found.service == nullptr) return nullptr;
    if (getStub) return sp<I>(static_cast<I*>(found.service.get()));
    sp<IBase> ref = crossDomain(I::descriptor, found.service, found.host, currentDomain());
    return sp<I>(static_cast<I*>(ref.get()));
}

template <typename I>
Return<sp<I>> castFromAs(const sp<IBase>& parent) {
    if (parent == nullptr) return sp<I>();
    if (ProxyCore* core = proxyCoreOf(parent.get())) {
        if (!implements(core->impl(), I::descriptor)) return sp<I>();
        if (!core->alive()) return Return<sp<I>>(Status::fromStatusT(DEAD_OBJECT));
        sp<IBase> ref = crossDomain(I::descriptor, core->impl(), core->owner(), core->holder());
        return sp<I>(static_cast<I*>(ref.get()));
    }
    if (!implements(parent, I::descriptor)) return sp<I>();
    return sp<I>(static_cast<I*>(parent.get()));
}

}  // namespace details
}  // namespace hardware
}  // namespace android

// The pieces hidl-gen writes for each interface besides its methods: the descriptor, the
// service lookups, registration and the checked cast, and the proxy's registration.
#define ORVEX_HIDL_INTERFACE_SUPPORT(I, NAME, PROXY)                                            \
    const char* I::descriptor(NAME);                                                            \
    ::android::hardware::Return<void> I::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) { \
        _hidl_cb(I::descriptor);                                                                \
        return ::android::hardware::Void();                                                     \
    }                                                                                           \
    ::android::sp<I> I::tryGetService(const std::string& serviceName, bool getStub) {           \
        return ::android::hardware::details::getServiceAs<I>(serviceName, getStub, false);      \
    }                                                                                           \
    ::android::sp<I> I::getService(const std::string& serviceName, bool getStub) {              \
        return ::android::hardware::details::getServiceAs<I>(serviceName, getStub, true);       \
    }                                                                                           \
    ::android::status_t I::registerAsService(const std::string& serviceName) {                  \
        ::android::hardware::details::registerService(I::descriptor, serviceName, this);        \
        return ::android::OK;                                                                   \
    }                                                                                           \
    ::android::hardware::Return<::android::sp<I>> I::castFrom(                                  \
        const ::android::sp<::android::hidl::base::V1_0::IBase>& parent, bool) {                \
        return ::android::hardware::details::castFromAs<I>(parent);                             \
    }                                                                                           \
    static const bool _hidl_proxy_registered_##PROXY =                                          \
        ::android::hardware::details::registerProxyFactory(                                     \
            NAME, &::android::hardware::details::makeProxy<PROXY>);

namespace android {
namespace hardware {
namespace details {
void registerService(const std::string& descriptor, const std::string& instance,
                     const sp<IBase>& service);
}  // namespace details
}  // namespace hardware
}  // namespace android
