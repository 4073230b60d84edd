// The domains, the thread pool and the service registry of the host transport.

#include "Transport.h"

#include <hidl/HidlTransportSupport.h>
#include <string.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <map>
#include <set>
#include <thread>
#include <unordered_map>

#include "orvex/hidl_registry.h"

namespace android {
namespace hardware {
namespace details {

namespace {

// Threads that deliver death notices and callbacks. Threads start on demand, up to the
// configured number, and stay until the process ends; the pool is never destroyed because they
// may still be running while statics are torn down.
class RpcPool {
  public:
    static RpcPool& instance() {
        static RpcPool* pool = new RpcPool;
        return *pool;
    }

    void configure(size_t maxThreads, bool callerWillJoin) {
        std::lock_guard<std::mutex> lock(mLock);
        mMaxThreads = std::max<size_t>(maxThreads, 1);
        mCallerWillJoin = callerWillJoin;
    }

    void post(std::function<void()> task) {
        std::unique_lock<std::mutex> lock(mLock);
        mTasks.push_back(std::move(task));
        if (mIdle >= mTasks.size()) {
            mWork.notify_one();
            return;
        }
        size_t spawnLimit = mMaxThreads - (mCallerWillJoin && mMaxThreads > 1 ? 1 : 0);
        if (mStarted - mJoined < spawnLimit) {
            ++mStarted;
            std::thread([this] { run(); }).detach();
        } else {
            mWork.notify_one();
        }
    }

    void join() {
        {
            std::lock_guard<std::mutex> lock(mLock);
            ++mStarted;
            ++mJoined;
        }
        run();
    }

    size_t started() {
        std::lock_guard<std::mutex> lock(mLock);
        return mStarted;
    }

    static thread_local bool tOnPool;

  private:
    [[noreturn]] void run() {
        tOnPool = true;
        std::unique_lock<std::mutex> lock(mLock);
        for (;;) {
            ++mIdle;
            mWork.wait(lock, [this] { return !mTasks.empty(); });
            --mIdle;
            std::function<void()> task = std::move(mTasks.front());
            mTasks.pop_front();
            lock.unlock();
            task();
            task = nullptr;
            lock.lock();
        }
    }

    std::mutex mLock;
    std::condition_variable mWork;
    std::deque<std::function<void()>> mTasks;  // GUARDED_BY(mLock)
    size_t mMaxThreads = 1;                    // GUARDED_BY(mLock)
    bool mCallerWillJoin = false;              // GUARDED_BY(mLock)
    size_t mStarted = 0;                       // GUARDED_BY(mLock)
    size_t mJoined = 0;                        // GUARDED_BY(mLock)
    size_t mIdle = 0;                          // GUARDED_BY(mLock)
};

thread_local bool RpcPool::tOnPool = false;

// Empty means the local domain.
thread_local DomainRef tCurrentDomain;

struct ProxyFactories {
    std::mutex lock;
    std::map<std::string, ProxyFactory> byDescriptor;  // GUARDED_BY(lock)
};

ProxyFactories& factories() {
    static ProxyFactories* f = new ProxyFactories;
    return *f;
}

using ServiceKey = std::pair<std::string, std::string>;

struct Registration {
    sp<IBase> service;
    DomainRef host;
};

// Live services and the names that were ever registered and not removed (declared).
struct Registry {
    std::mutex lock;
    std::condition_variable changed;
    std::map<ServiceKey, Registration> live;  // GUARDED_BY(lock)
    std::set<ServiceKey> declared;            // GUARDED_BY(lock)
};

Registry& registry() {
    static Registry* r = new Registry;
    return *r;
}

}  // namespace

const DomainRef& Domain::local() {
    static DomainRef* local = new DomainRef(std::make_shared<Domain>("local", true));
    return *local;
}

bool Domain::link(const void* proxy, const sp<hidl_death_recipient>& recipient, uint64_t cookie,
                  const wp<IBase>& who) {
    std::lock_guard<std::mutex> lock(mLock);
    if (isDead()) return false;
    mLinks.push_back(Link{proxy, recipient, cookie, who});
    return true;
}

bool Domain::unlink(const void* proxy, const sp<hidl_death_recipient>& recipient) {
    std::lock_guard<std::mutex> lock(mLock);
    for (auto it = mLinks.rbegin(); it != mLinks.rend(); ++it) {
        if (it->proxy == proxy && it->recipient == recipient.get()) {
            mLinks.erase(std::next(it).base());
            return true;
        }
    }
    return false;
}

void Domain::dropLinks(const void* proxy) {
    std::lock_guard<std::mutex> lock(mLock);
    mLinks.erase(std::remove_if(mLinks.begin(), mLinks.end(),
                                [proxy](const Link& l) { return l.proxy == proxy; }),
                 mLinks.end());
}

bool Domain::kill() {
    std::vector<Link> links;
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mDead.exchange(true, std::memory_order_acq_rel)) return false;
        links.swap(mLinks);
    }
    for (Link& l : links) {
        postToPool(
            [l] {
                // The link keeps its recipient weakly, as libhidl does: a recipient its
                // owner dropped is not told.
                sp<hidl_death_recipient> recipient = l.recipient.promote();
                if (recipient != nullptr) recipient->serviceDied(l.cookie, l.who);
            },
            false);
    }
    return true;
}

const DomainRef& currentDomain() {
    return tCurrentDomain != nullptr ? tCurrentDomain : Domain::local();
}

ScopedCurrentDomain::ScopedCurrentDomain(const DomainRef& domain) : mPrevious(tCurrentDomain) {
    tCurrentDomain = domain;
}

ScopedCurrentDomain::~ScopedCurrentDomain() { tCurrentDomain = mPrevious; }

bool onRpcThread() { return RpcPool::tOnPool; }

void postToPool(std::function<void()> task, bool wait) {
    if (!wait) {
        RpcPool::instance().post(std::move(task));
        return;
    }
    std::mutex m;
    std::condition_variable cv;
    bool done = false;
    RpcPool::instance().post([&] {
        task();
        std::lock_guard<std::mutex> lock(m);
        done = true;
        cv.notify_one();
    });
    std::unique_lock<std::mutex> lock(m);
    cv.wait(lock, [&] { return done; });
}

ProxyCore::~ProxyCore() { mOwner->dropLinks(this); }

Return<void> ProxyCore::pingRemote() const {
    if (!alive()) return Return<void>(Status::fromStatusT(DEAD_OBJECT));
    return Void();
}

Return<bool> ProxyCore::linkRemote(const sp<hidl_death_recipient>& recipient, uint64_t cookie,
                                   const wp<IBase>& who) {
    if (recipient == nullptr) return false;
    return mOwner->link(this, recipient, cookie, who);
}

Return<bool> ProxyCore::unlinkRemote(const sp<hidl_death_recipient>& recipient) {
    if (recipient == nullptr) return false;
    return mOwner->unlink(this, recipient);
}

namespace {

struct ProxyCores {
    std::mutex lock;
    std::unordered_map<const IBase*, ProxyCore*> byProxy;  // GUARDED_BY(lock)
};

ProxyCores& proxyCores() {
    static ProxyCores* cores = new ProxyCores;  // outlives proxies destroyed at exit
    return *cores;
}

}  // namespace

ProxyCore* proxyCoreOf(const IBase* obj) {
    if (obj == nullptr || !obj->isRemote()) return nullptr;
    ProxyCores& c = proxyCores();
    std::lock_guard<std::mutex> lock(c.lock);
    auto it = c.byProxy.find(obj);
    return it == c.byProxy.end() ? nullptr : it->second;
}

void registerProxyCore(const IBase* proxy, ProxyCore* core) {
    ProxyCores& c = proxyCores();
    std::lock_guard<std::mutex> lock(c.lock);
    c.byProxy[proxy] = core;
}

void unregisterProxyCore(const IBase* proxy) {
    ProxyCores& c = proxyCores();
    std::lock_guard<std::mutex> lock(c.lock);
    c.byProxy.erase(proxy);
}

bool implements(const sp<IBase>& obj, const char* descriptor) {
    if (obj == nullptr) return false;
    if (strcmp(descriptor, IBase::descriptor) == 0) return true;
    std::string actual;
    obj->interfaceDescriptor([&](const hidl_string& d) { actual = d.c_str(); });
    return actual == descriptor;
}

bool registerProxyFactory(const char* descriptor, ProxyFactory factory) {
    ProxyFactories& f = factories();
    std::lock_guard<std::mutex> lock(f.lock);
    f.byDescriptor[descriptor] = factory;
    return true;
}

sp<IBase> crossDomain(const char* descriptor, const sp<IBase>& obj, const DomainRef& from,
                      const DomainRef& to) {
    if (obj == nullptr) return nullptr;
    sp<IBase> impl = obj;
    DomainRef owner = from;
    if (ProxyCore* core = proxyCoreOf(obj.get())) {
        impl = core->impl();
        owner = core->owner();
    }
    if (owner == to) return impl;
    ProxyFactory factory = nullptr;
    {
        ProxyFactories& f = factories();
        std::lock_guard<std::mutex> lock(f.lock);
        auto it = f.byDescriptor.find(descriptor);
        if (it != f.byDescriptor.end()) factory = it->second;
    }
    if (factory == nullptr) {
        std::string message = std::string("no proxy for interface ") + descriptor;
        logAlwaysFatal(message.c_str());
    }
    return factory(impl, owner, to);
}

void registerService(const std::string& descriptor, const std::string& instance,
                     const sp<IBase>& service) {
    Registry& r = registry();
    DomainRef previous;
    {
        std::lock_guard<std::mutex> lock(r.lock);
        ServiceKey key(descriptor, instance);
        auto it = r.live.find(key);
        if (it != r.live.end()) previous = it->second.host;
        r.live[key] =
            Registration{service, std::make_shared<Domain>(descriptor + "/" + instance, false)};
        r.declared.insert(key);
    }
    r.changed.notify_all();
    if (previous != nullptr) previous->kill();
}

ServiceLookup lookupService(const std::string& descriptor, const std::string& instance, bool wait) {
    Registry& r = registry();
    ServiceKey key(descriptor, instance);
    std::unique_lock<std::mutex> lock(r.lock);
    for (;;) {
        auto it = r.live.find(key);
        if (it != r.live.end()) return ServiceLookup{it->second.service, it->second.host};
        if (!wait || r.declared.count(key) == 0) return ServiceLookup{};
        r.changed.wait(lock);
    }
}

namespace {

bool killService(const std::string& descriptor, const std::string& instance, bool undeclare) {
    Registry& r = registry();
    DomainRef host;
    {
        std::lock_guard<std::mutex> lock(r.lock);
        ServiceKey key(descriptor, instance);
        auto it = r.live.find(key);
        if (it != r.live.end()) {
            host = it->second.host;
            r.live.erase(it);
        }
        if (undeclare) r.declared.erase(key);
    }
    r.changed.notify_all();
    return host != nullptr && host->kill();
}

}  // namespace

}  // namespace details

status_t configureRpcThreadpool(size_t maxThreads, bool callerWillJoin) {
    details::RpcPool::instance().configure(maxThreads, callerWillJoin);
    return OK;
}

void joinRpcThreadpool() {
    details::RpcPool::instance().join();
    abort();  // not reached
}

}  // namespace hardware
}  // namespace android

namespace orvex {
namespace hidl {

void RegisterService(const std::string& descriptor, const std::string& instance,
                     const android::sp<android::hidl::base::V1_0::IBase>& service) {
    android::hardware::details::registerService(descriptor, instance, service);
}

bool KillService(const std::string& descriptor, const std::string& instance) {
    return android::hardware::details::killService(descriptor, instance, false);
}

bool RemoveService(const std::string& descriptor, const std::string& instance) {
    return android::hardware::details::killService(descriptor, instance, true);
}

bool IsServiceRegistered(const std::string& descriptor, const std::string& instance) {
    auto& r = android::hardware::details::registry();
    std::lock_guard<std::mutex> lock(r.lock);
    return r.live.count({descriptor, instance}) != 0;
}

std::vector<std::pair<std::string, std::string>> ListServices() {
    auto& r = android::hardware::details::registry();
    std::lock_guard<std::mutex> lock(r.lock);
    std::vector<std::pair<std::string, std::string>> out;
    for (const auto& entry : r.live) out.push_back(entry.first);
    return out;
}

size_t RpcThreadCount() { return android::hardware::details::RpcPool::instance().started(); }

bool OnRpcThread() { return android::hardware::details::onRpcThread(); }

}  // namespace hidl
}  // namespace orvex
