// Strong and weak counts as libutils keeps them for objects whose lifetime follows their strong
// references: the object dies with its last strong reference, the count block with its last
// weak one (every strong reference also holds a weak one).

#include <android/log.h>
#include <utils/RefBase.h>

namespace android {

namespace {
// The strong count before the first strong reference, so "never referenced" and "all
// references gone" can be told apart.
constexpr int32_t kInitialStrongValue = 1 << 28;
constexpr const char* kTag = "RefBase";
}  // namespace

class RefBase::weakref_impl : public RefBase::weakref_type {
public:
    explicit weakref_impl(RefBase* base) : mStrong(kInitialStrongValue), mWeak(0), mBase(base) {}

    std::atomic<int32_t> mStrong;
    std::atomic<int32_t> mWeak;
    RefBase* const mBase;
};

RefBase::RefBase() : mRefs(new weakref_impl(this)) {}

RefBase::~RefBase() {
    const int32_t strong = mRefs->mStrong.load(std::memory_order_relaxed);
    if (strong == kInitialStrongValue) {
        // Never strongly referenced: destroyed by hand, or on the stack. The count block goes
        // with the object unless weak references remain; those then find it dead.
        const int32_t weak = mRefs->mWeak.load(std::memory_order_relaxed);
        __android_log_print(ANDROID_LOG_WARN, kTag,
                            "RefBase: Explicit destruction, weak count = %d (in %p). Use sp<> "
                            "to manage this object.",
                            weak, static_cast<void*>(this));
        if (weak == 0) {
            delete mRefs;
        } else {
            mRefs->mStrong.store(0, std::memory_order_relaxed);
        }
    } else if (strong != 0) {
        __android_log_assert(nullptr, kTag,
                             "RefBase: object %p with strong count %d deleted. Double owned?",
                             static_cast<void*>(this), strong);
    }
}

void RefBase::onFirstRef() {}
void RefBase::onLastStrongRef(const void*) {}

void RefBase::incStrong(const void* id) const {
    mRefs->incWeak(id);
    int32_t c = mRefs->mStrong.fetch_add(1, std::memory_order_relaxed);
    if (c != kInitialStrongValue) return;
    mRefs->mStrong.fetch_sub(kInitialStrongValue, std::memory_order_relaxed);
    const_cast<RefBase*>(this)->onFirstRef();
}

void RefBase::incStrongRequireStrong(const void* id) const {
    mRefs->incWeak(id);
    int32_t c = mRefs->mStrong.fetch_add(1, std::memory_order_relaxed);
    if (c <= 0 || c == kInitialStrongValue) {
        __android_log_assert(nullptr, kTag,
                             "incStrongRequireStrong() called on %p which isn't already owned",
                             static_cast<void*>(mRefs));
    }
}

void RefBase::forceIncStrong(const void* id) const {
    mRefs->incWeak(id);
    int32_t c = mRefs->mStrong.fetch_add(1, std::memory_order_relaxed);
    if (c == kInitialStrongValue) {
        mRefs->mStrong.fetch_sub(kInitialStrongValue, std::memory_order_relaxed);
        const_cast<RefBase*>(this)->onFirstRef();
    } else if (c == 0) {
        const_cast<RefBase*>(this)->onFirstRef();
    }
}

void RefBase::decStrong(const void* id) const {
    weakref_impl* const refs = mRefs;
    // acq_rel instead of release plus an acquire fence: the same ordering, in a form that
    // ThreadSanitizer follows (it does not model fences).
    int32_t c = refs->mStrong.fetch_sub(1, std::memory_order_acq_rel);
    if (c <= 0 || c == kInitialStrongValue) {
        __android_log_assert(nullptr, kTag, "decStrong() called on %p too many times",
                             static_cast<void*>(refs));
    }
    if (c == 1) {
        const_cast<RefBase*>(this)->onLastStrongRef(id);
        delete this;
    }
    refs->decWeak(id);
}

int32_t RefBase::getStrongCount() const { return mRefs->mStrong.load(std::memory_order_relaxed); }

RefBase::weakref_type* RefBase::createWeak(const void* id) const {
    mRefs->incWeak(id);
    return mRefs;
}

RefBase::weakref_type* RefBase::getWeakRefs() const { return mRefs; }

RefBase* RefBase::weakref_type::refBase() const {
    return static_cast<const weakref_impl*>(this)->mBase;
}

void RefBase::weakref_type::incWeak(const void*) {
    static_cast<weakref_impl*>(this)->mWeak.fetch_add(1, std::memory_order_relaxed);
}

void RefBase::weakref_type::decWeak(const void*) {
    weakref_impl* const impl = static_cast<weakref_impl*>(this);
    int32_t c = impl->mWeak.fetch_sub(1, std::memory_order_acq_rel);
    if (c != 1) return;
    if (impl->mStrong.load(std::memory_order_relaxed) == kInitialStrongValue) {
        // Only weak references ever existed. The object may yet get a strong one (weak
        // references taken in a constructor are common), so it stays; its owner must still
        // take one, or delete it.
        __android_log_print(ANDROID_LOG_WARN, kTag,
                            "RefBase: Object at %p lost last weak reference before it had a "
                            "strong reference",
                            static_cast<void*>(impl->mBase));
    } else {
        delete impl;
    }
}

bool RefBase::weakref_type::attemptIncStrong(const void* id) {
    incWeak(id);
    weakref_impl* const impl = static_cast<weakref_impl*>(this);
    int32_t c = impl->mStrong.load(std::memory_order_relaxed);
    while (c > 0) {
        if (impl->mStrong.compare_exchange_weak(c, c + 1, std::memory_order_relaxed)) break;
    }
    if (c <= 0) {
        decWeak(id);
        return false;
    }
    // The first strong reference, taken by promotion: libutils skips onFirstRef() here.
    if (c == kInitialStrongValue) {
        impl->mStrong.fetch_sub(kInitialStrongValue, std::memory_order_relaxed);
    }
    return true;
}

int32_t RefBase::weakref_type::getWeakCount() const {
    return static_cast<const weakref_impl*>(this)->mWeak.load(std::memory_order_relaxed);
}

}  // namespace android
