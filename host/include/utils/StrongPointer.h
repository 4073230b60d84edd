// libutils' strong pointer, for Linux hosts.
#pragma once

#include <stddef.h>

#include <functional>
#include <type_traits>
#include <utility>

namespace android {

template <typename T>
class wp;

// A strong reference to an object with incStrong/decStrong (RefBase or LightRefBase).
template <typename T>
class sp {
public:
    sp() : m_ptr(nullptr) {}
    sp(std::nullptr_t) : m_ptr(nullptr) {}
    sp(T* other) : m_ptr(other) {
        if (m_ptr) m_ptr->incStrong(this);
    }
    sp(const sp<T>& other) : m_ptr(other.m_ptr) {
        if (m_ptr) m_ptr->incStrong(this);
    }
    sp(sp<T>&& other) noexcept : m_ptr(other.m_ptr) { other.m_ptr = nullptr; }
    template <typename U, typename = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    sp(U* other) : m_ptr(other) {
        if (m_ptr) m_ptr->incStrong(this);
    }
    template <typename U, typename = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    sp(const sp<U>& other) : m_ptr(other.m_ptr) {
        if (m_ptr) m_ptr->incStrong(this);
    }
    template <typename U, typename = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    sp(sp<U>&& other) noexcept : m_ptr(other.m_ptr) {
        other.m_ptr = nullptr;
    }
    ~sp() {
        if (m_ptr) m_ptr->decStrong(this);
    }

    template <typename... Args>
    static sp<T> make(Args&&... args) {
        return sp<T>(new T(std::forward<Args>(args)...));
    }

    // A further strong reference to an object that already has one; an object nobody owns yet
    // ends the process, which is what makes this safer than sp(T*).
    static sp<T> fromExisting(T* other) {
        sp<T> result;
        if (other != nullptr) {
            other->incStrongRequireStrong(other);
            result.m_ptr = other;
        }
        return result;
    }

    sp& operator=(const sp<T>& other) {
        T* old = m_ptr;
        if (other.m_ptr) other.m_ptr->incStrong(this);
        m_ptr = other.m_ptr;
        if (old) old->decStrong(this);
        return *this;
    }
    sp& operator=(sp<T>&& other) noexcept {
        T* old = m_ptr;
        m_ptr = other.m_ptr;
        other.m_ptr = nullptr;
        if (old && old != m_ptr) old->decStrong(this);
        return *this;
    }
    sp& operator=(T* other) { return *this = sp<T>(other); }
    sp& operator=(std::nullptr_t) {
        clear();
        return *this;
    }
    template <typename U>
    sp& operator=(const sp<U>& other) {
        return *this = sp<T>(other);
    }

    void clear() {
        T* old = m_ptr;
        m_ptr = nullptr;
        if (old) old->decStrong(this);
    }

    T& operator*() const { return *m_ptr; }
    T* operator->() const { return m_ptr; }
    T* get() const { return m_ptr; }
    explicit operator bool() const { return m_ptr != nullptr; }

    // Casts without a type check, as libutils' sp::cast does; the object must already be owned.
    template <typename U>
    static sp<T> cast(const sp<U>& other) {
        return fromExisting(static_cast<T*>(other.get()));
    }

private:
    template <typename Y>
    friend class sp;
    template <typename Y>
    friend class wp;
    T* m_ptr;
};

// Pointers of either type, compared by address as libutils compares them.
template <template <typename> class Compare, typename T, typename U>
bool sp_compare(const T* a, const U* b) {
    return Compare<typename std::common_type<const T*, const U*>::type>()(a, b);
}

#define ORVEX_SP_OPERATOR(OP, COMPARE)                              \
    template <typename T, typename U>                               \
    bool operator OP(const sp<T>& a, const sp<U>& b) {              \
        return sp_compare<COMPARE>(a.get(), b.get());               \
    }                                                               \
    template <typename T, typename U>                               \
    bool operator OP(const sp<T>& a, const U* b) {                  \
        return sp_compare<COMPARE>(a.get(), b);                     \
    }                                                               \
    template <typename T, typename U>                               \
    bool operator OP(const T* a, const sp<U>& b) {                  \
        return sp_compare<COMPARE>(a, b.get());                     \
    }
ORVEX_SP_OPERATOR(==, std::equal_to)
ORVEX_SP_OPERATOR(!=, std::not_equal_to)
ORVEX_SP_OPERATOR(<, std::less)
ORVEX_SP_OPERATOR(<=, std::less_equal)
ORVEX_SP_OPERATOR(>, std::greater)
ORVEX_SP_OPERATOR(>=, std::greater_equal)
#undef ORVEX_SP_OPERATOR

template <typename T>
bool operator==(const sp<T>& a, std::nullptr_t) {
    return a.get() == nullptr;
}
template <typename T>
bool operator!=(const sp<T>& a, std::nullptr_t) {
    return a.get() != nullptr;
}
template <typename T>
bool operator==(std::nullptr_t, const sp<T>& a) {
    return a.get() == nullptr;
}
template <typename T>
bool operator!=(std::nullptr_t, const sp<T>& a) {
    return a.get() != nullptr;
}

}  // namespace android
