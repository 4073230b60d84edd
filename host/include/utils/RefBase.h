// libutils' intrusive reference counting: strong and weak references, for Linux hosts.
#pragma once

#include <android/log.h>
#include <stdint.h>

#include <atomic>
#include <functional>
#include <type_traits>

#include <utils/StrongPointer.h>

namespace android {

// An object whose lifetime is governed by its strong references (sp<>). Weak references (wp<>)
// outlive the object and can be promoted while a strong reference still exists.
class RefBase {
public:
    void incStrong(const void* id) const;
    // As incStrong, for an object that must already have a strong reference (ends the process
    // otherwise); what sp::fromExisting takes.
    void incStrongRequireStrong(const void* id) const;
    void decStrong(const void* id) const;
    // Increments even from zero; only for objects resurrected on purpose.
    void forceIncStrong(const void* id) const;
    // The raw count: INITIAL_STRONG_VALUE before the first strong reference.
    int32_t getStrongCount() const;

    class weakref_type {
    public:
        RefBase* refBase() const;
        void incWeak(const void* id);
        void decWeak(const void* id);
        // Takes a strong reference unless the last one is already gone.
        bool attemptIncStrong(const void* id);
        int32_t getWeakCount() const;
    };

    weakref_type* createWeak(const void* id) const;
    weakref_type* getWeakRefs() const;

protected:
    RefBase();
    // An object never strongly referenced may be destroyed by hand (on the stack, say): that is
    // logged, as libutils logs it. One destroyed while strong references remain ends the process.
    virtual ~RefBase();

    // Called when the first strong reference is taken, and when the last one is dropped.
    virtual void onFirstRef();
    virtual void onLastStrongRef(const void* id);

private:
    friend class weakref_type;
    class weakref_impl;

    RefBase(const RefBase&) = delete;
    RefBase& operator=(const RefBase&) = delete;

    weakref_impl* const mRefs;
};

// A cheaper base for objects that only ever have strong references.
template <typename T>
class LightRefBase {
public:
    LightRefBase() : mCount(0) {}
    void incStrong(const void*) const { mCount.fetch_add(1, std::memory_order_relaxed); }
    void incStrongRequireStrong(const void*) const {
        if (mCount.fetch_add(1, std::memory_order_relaxed) <= 0) {
            __android_log_assert(nullptr, "RefBase",
                                 "LightRefBase (%p) used in sp::fromExisting before being owned",
                                 static_cast<const void*>(this));
        }
    }
    void decStrong(const void*) const {
        if (mCount.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete static_cast<const T*>(this);
        }
    }
    int32_t getStrongCount() const { return mCount.load(std::memory_order_relaxed); }

protected:
    ~LightRefBase() = default;

private:
    mutable std::atomic<int32_t> mCount;
};

// A weak reference to a RefBase object. Weak references are equal when they refer to the same
// reference block, so one left over from a dead object never equals one to a new object that
// happens to sit at the same address.
template <typename T>
class wp {
public:
    typedef typename RefBase::weakref_type weakref_type;

    wp() : m_ptr(nullptr), m_refs(nullptr) {}
    wp(std::nullptr_t) : wp() {}
    wp(T* other) : m_ptr(other), m_refs(other ? other->createWeak(this) : nullptr) {}
    template <typename U>
    wp(U* other) : m_ptr(other), m_refs(other ? other->createWeak(this) : nullptr) {}
    wp(const wp<T>& other) : m_ptr(other.m_ptr), m_refs(other.m_refs) {
        if (m_ptr) m_refs->incWeak(this);
    }
    template <typename U>
    wp(const wp<U>& other) : m_ptr(other.m_ptr), m_refs(other.m_refs) {
        if (m_ptr) m_refs->incWeak(this);
    }
    wp(const sp<T>& other) : wp(other.get()) {}
    template <typename U>
    wp(const sp<U>& other) : wp(static_cast<T*>(other.get())) {}
    ~wp() {
        if (m_ptr) m_refs->decWeak(this);
    }

    wp& operator=(const wp<T>& other) { return assign(other.m_ptr, other.m_refs); }
    template <typename U>
    wp& operator=(const wp<U>& other) {
        return assign(other.m_ptr, other.m_refs);
    }
    wp& operator=(T* other) { return *this = wp<T>(other); }
    template <typename U>
    wp& operator=(U* other) {
        return *this = wp<T>(other);
    }
    wp& operator=(const sp<T>& other) { return *this = wp<T>(other); }
    template <typename U>
    wp& operator=(const sp<U>& other) {
        return *this = wp<T>(other);
    }

    // A strong reference if the object still lives, otherwise an empty one.
    sp<T> promote() const {
        sp<T> result;
        if (m_ptr && m_refs->attemptIncStrong(&result)) result.m_ptr = m_ptr;
        return result;
    }

    void clear() {
        if (m_ptr) {
            m_refs->decWeak(this);
            m_ptr = nullptr;
            m_refs = nullptr;
        }
    }

    // The raw pointer, for identity comparisons only.
    T* unsafe_get() const { return m_ptr; }
    weakref_type* get_refs() const { return m_refs; }

    template <typename U>
    bool operator==(const wp<U>& o) const {
        return m_refs == o.m_refs;
    }
    template <typename U>
    bool operator!=(const wp<U>& o) const {
        return m_refs != o.m_refs;
    }
    // A strong reference matches by its object's reference block too.
    template <typename U>
    bool operator==(const sp<U>& o) const {
        return o == nullptr ? m_ptr == nullptr : m_refs == o->getWeakRefs();
    }
    template <typename U>
    bool operator!=(const sp<U>& o) const {
        return !(*this == o);
    }
    // Ordered by address, then by reference block, so that a dead object's references sort
    // apart from a new one's at the same address.
    template <typename U>
    bool operator<(const wp<U>& o) const {
        return m_ptr == o.m_ptr ? sp_compare<std::less>(m_refs, o.m_refs)
                                : sp_compare<std::less>(m_ptr, o.m_ptr);
    }
    template <typename U>
    bool operator>(const wp<U>& o) const {
        return o < *this;
    }
    template <typename U>
    bool operator<=(const wp<U>& o) const {
        return !(o < *this);
    }
    template <typename U>
    bool operator>=(const wp<U>& o) const {
        return !(*this < o);
    }
    // Raw pointers compare by address.
    bool operator==(const T* o) const { return m_ptr == o; }
    bool operator!=(const T* o) const { return m_ptr != o; }
    template <typename U>
    bool operator==(const U* o) const {
        return m_ptr == o;
    }
    template <typename U>
    bool operator!=(const U* o) const {
        return m_ptr != o;
    }

private:
    template <typename Y>
    friend class wp;

    wp& assign(T* ptr, weakref_type* refs) {
        if (ptr) refs->incWeak(this);
        if (m_ptr) m_refs->decWeak(this);
        m_ptr = ptr;
        m_refs = ptr ? refs : nullptr;
        return *this;
    }

    T* m_ptr;
    weakref_type* m_refs;
};

template <typename T, typename U>
bool operator==(const sp<T>& a, const wp<U>& b) {
    return b == a;
}
template <typename T, typename U>
bool operator!=(const sp<T>& a, const wp<U>& b) {
    return b != a;
}

}  // namespace android
