// Strong and weak counts as libutils keeps them for objects whose lifetime follows their strong
// references: the object dies with its last strong reference, the count block with its last
// weak one (every strong reference also holds a weak one).

#include <utils/RefBase.h>

#include <stdio.h>
#include <stdlib.h>

namespace android {

namespace {
// The strong count before the first strong reference, so "never referenced" and "all
// references gone" can be told apart.
constexpr int32_t kInitialStrongValue = 1 << 28;
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
    // An object that never had a strong reference (on the stack, or deleted by hand) owns its
    // count block unless weak references still point at it.
    if (mRefs->mStrong.load(std::memory_order_relaxed) == kInitialStrongValue &&
        mRefs->mWeak.load(std::memory_order_relaxed) == 0) {
        delete mRefs;
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
        fprintf(stderr, "RefBase: decStrong() called on %p too many times\n", this);
        abort();
    }
    if (c == 1) {
        const_cast<RefBase*>(this)->onLastStrongRef(id);
        delete this;
    }
    refs->decWeak(id);
}

int32_t RefBase::getStrongCount() const {
    int32_t c = mRefs->mStrong.load(std::memory_order_relaxed);
    return c >= kInitialStrongValue ? c - kInitialStrongValue : c;
}

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
        // Only weak references ever existed: the object goes with the last of them.
        delete impl->mBase;
    } else {
        delete impl;
    }
}

bool RefBase::weakref_type::attemptIncStrong(const void* id) {
    incWeak(id);
    weakref_impl* const impl = static_cast<weakref_impl*>(this);
    int32_t c = impl->mStrong.load(std::memory_order_relaxed);
    while (c > 0 && c != kInitialStrongValue) {
        if (impl->mStrong.compare_exchange_weak(c, c + 1, std::memory_order_relaxed)) return true;
    }
    if (c == kInitialStrongValue) {
        c = impl->mStrong.fetch_add(1, std::memory_order_relaxed);
        if (c == kInitialStrongValue) {
            impl->mStrong.fetch_sub(kInitialStrongValue, std::memory_order_relaxed);
            impl->mBase->onFirstRef();
        }
        return true;
    }
    decWeak(id);
    return false;
}

int32_t RefBase::weakref_type::getWeakCount() const {
    return static_cast<const weakref_impl*>(this)->mWeak.load(std::memory_order_relaxed);
}

}  // namespace android
