// libhidl's value types for Linux hosts: strings, vectors and handles as HIDL methods take and
// return them, and the death recipient interface.
#pragma once

#include <cutils/native_handle.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <algorithm>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {
struct IBase;
}  // namespace V1_0
}  // namespace base
}  // namespace hidl

namespace hardware {

namespace details {
// Type tag of interface classes, as the generated headers declare it.
struct i_tag {};

// Logs `message` at fatal priority under "HidlSupport" and aborts, as libhidl does on misuse.
[[noreturn]] void logAlwaysFatal(const char* message);
}  // namespace details

// Told when the process that hosts a linked interface dies. Runs on a runtime thread.
struct hidl_death_recipient : public virtual RefBase {
    virtual void serviceDied(uint64_t cookie,
                             const ::android::wp<::android::hidl::base::V1_0::IBase>& who) = 0;
};

// A string that HIDL methods take and deliver. Always null-terminated. Its layout is libhidl's
// (a 64-bit pointer, a 32-bit size, an ownership flag: 16 bytes), since it crosses process
// boundaries. Every empty string shares one static buffer; setToExternal refers to the caller's.
class hidl_string {
  public:
    hidl_string();
    ~hidl_string() { clear(); }
    hidl_string(const hidl_string& other);
    hidl_string(hidl_string&& other) noexcept;
    hidl_string(const char* s);
    hidl_string(const char* s, size_t length);
    hidl_string(const std::string& s);

    hidl_string& operator=(const hidl_string& other);
    hidl_string& operator=(hidl_string&& other) noexcept;
    hidl_string& operator=(const char* s);
    hidl_string& operator=(const std::string& s);

    const char* c_str() const { return mBuffer; }
    size_t size() const { return mSize; }
    bool empty() const { return mSize == 0; }
    void clear();
    // Refers to `data` (whose byte `size` must be '\0') without copying; the caller keeps it
    // alive as long as this string refers to it. More than 2^32 - 1 bytes end the process.
    void setToExternal(const char* data, size_t size);

    operator std::string() const { return std::string(mBuffer, mSize); }

  private:
    void copyFrom(const char* data, size_t size);
    void moveFrom(hidl_string&& other);

    const char* mBuffer;
    uint32_t mSize;    // without the terminating '\0'
    bool mOwnsBuffer;  // whether mBuffer is ours to free
};

// Compared as C strings, as libhidl compares them.
#define ORVEX_HIDL_STRING_OPERATOR(OP)                                          \
    inline bool operator OP(const hidl_string& a, const hidl_string& b) {      \
        return strcmp(a.c_str(), b.c_str()) OP 0;                              \
    }                                                                          \
    inline bool operator OP(const hidl_string& a, const char* b) {             \
        return strcmp(a.c_str(), b) OP 0;                                      \
    }                                                                          \
    inline bool operator OP(const char* a, const hidl_string& b) {             \
        return strcmp(a, b.c_str()) OP 0;                                      \
    }
ORVEX_HIDL_STRING_OPERATOR(==)
ORVEX_HIDL_STRING_OPERATOR(!=)
ORVEX_HIDL_STRING_OPERATOR(<)
ORVEX_HIDL_STRING_OPERATOR(<=)
ORVEX_HIDL_STRING_OPERATOR(>)
ORVEX_HIDL_STRING_OPERATOR(>=)
#undef ORVEX_HIDL_STRING_OPERATOR

std::ostream& operator<<(std::ostream& os, const hidl_string& str);

static_assert(sizeof(hidl_string) == 16, "hidl_string crosses process boundaries");

// A vector that HIDL methods take and deliver. Like libhidl's, it may refer to a buffer it does
// not own (setToExternal), which callers use to pass large buffers without a copy; its size is
// limited to 2^32 - 1 elements. Its layout is libhidl's (16 bytes, padding zeroed).
template <typename T>
class hidl_vec {
    // Random access over the elements; a class rather than a pointer, as libhidl's, so that code
    // taking begin() for a T* fails here as it fails on a device.
    template <bool kConst>
    class iter {
      public:
        using iterator_category = std::random_access_iterator_tag;
        using value_type = T;
        using difference_type = ptrdiff_t;
        using pointer = std::conditional_t<kConst, const T*, T*>;
        using reference = std::conditional_t<kConst, const T&, T&>;
        iter(pointer ptr) : mPtr(ptr) {}
        iter& operator++() { return *this += 1; }
        iter operator++(int) { return mPtr++; }
        iter& operator--() { return *this -= 1; }
        iter operator--(int) { return mPtr--; }
        iter& operator+=(difference_type n) {
            mPtr += n;
            return *this;
        }
        iter& operator-=(difference_type n) { return *this += -n; }
        iter operator+(difference_type n) const { return mPtr + n; }
        friend iter operator+(difference_type n, const iter& it) { return it + n; }
        iter operator-(difference_type n) const { return mPtr - n; }
        difference_type operator-(const iter& o) const { return mPtr - o.mPtr; }
        reference operator*() const { return *mPtr; }
        pointer operator->() const { return mPtr; }
        reference operator[](size_t n) const { return mPtr[n]; }
        bool operator==(const iter& o) const { return mPtr == o.mPtr; }
        bool operator!=(const iter& o) const { return mPtr != o.mPtr; }
        bool operator<(const iter& o) const { return mPtr < o.mPtr; }
        bool operator>(const iter& o) const { return mPtr > o.mPtr; }
        bool operator<=(const iter& o) const { return mPtr <= o.mPtr; }
        bool operator>=(const iter& o) const { return mPtr >= o.mPtr; }

      private:
        pointer mPtr;
    };

  public:
    using value_type = T;
    using iterator = iter<false>;
    using const_iterator = iter<true>;

    hidl_vec() : mBuffer(nullptr), mSize(0), mOwnsBuffer(true) { memset(mPad, 0, sizeof(mPad)); }
    hidl_vec(size_t size) : hidl_vec() { resize(size); }
    hidl_vec(std::initializer_list<T> list) : hidl_vec() { *this = list; }
    hidl_vec(const std::vector<T>& v) : hidl_vec() { *this = v; }
    template <typename InputIterator,
              typename = std::enable_if_t<std::is_convertible<
                  typename std::iterator_traits<InputIterator>::iterator_category,
                  std::input_iterator_tag>::value>>
    hidl_vec(InputIterator first, InputIterator last) : hidl_vec() {
        auto count = std::distance(first, last);
        if (count < 0) details::logAlwaysFatal("size can't be negative.");
        if (static_cast<uint64_t>(count) > UINT32_MAX)
            details::logAlwaysFatal("hidl_vec can't hold more than 2^32 elements.");
        resize(static_cast<size_t>(count));
        for (size_t i = 0; first != last; ++first) mBuffer[i++] = static_cast<T>(*first);
    }
    hidl_vec(const hidl_vec& other) : hidl_vec() { *this = other; }
    hidl_vec(hidl_vec&& other) noexcept : hidl_vec() { *this = std::move(other); }
    ~hidl_vec() { release(); }

    hidl_vec& operator=(const hidl_vec& other) {
        if (this != &other) assign(other.mBuffer, other.mSize);
        return *this;
    }
    hidl_vec& operator=(hidl_vec&& other) noexcept {
        if (this != &other) {
            release();
            std::swap(mBuffer, other.mBuffer);
            std::swap(mSize, other.mSize);
            std::swap(mOwnsBuffer, other.mOwnsBuffer);
        }
        return *this;
    }
    hidl_vec& operator=(const std::vector<T>& v) {
        assign(v.data(), v.size());
        return *this;
    }
    hidl_vec& operator=(std::initializer_list<T> list) {
        assign(list.begin(), list.size(), true);
        return *this;
    }

    // Refers to `data` without copying it; the buffer is freed with delete[] only when
    // `shouldOwn`. More than 2^32 - 1 elements end the process.
    void setToExternal(T* data, size_t size, bool shouldOwn = false) {
        if (size > UINT32_MAX)
            details::logAlwaysFatal("external vector size exceeds 2^32 elements.");
        release();
        mBuffer = data;
        mSize = static_cast<uint32_t>(size);
        mOwnsBuffer = shouldOwn;
    }

    // Hands the buffer to the caller, who frees it with delete[]; the vector still refers to
    // it, without owning it (an external buffer is copied first, so the caller always owns
    // what it gets).
    T* releaseData() {
        if (!mOwnsBuffer && mBuffer != nullptr) resize(mSize);
        mOwnsBuffer = false;
        return mBuffer;
    }

    // Always a new buffer, even of no elements; kept elements are moved into it.
    void resize(size_t size) {
        if (size > UINT32_MAX)
            details::logAlwaysFatal("hidl_vec can't hold more than 2^32 elements.");
        T* buffer = new T[size]();
        size_t keep = size < mSize ? size : mSize;
        for (size_t i = 0; i < keep; ++i) buffer[i] = std::move(mBuffer[i]);
        release();
        mBuffer = buffer;
        mSize = static_cast<uint32_t>(size);
        mOwnsBuffer = true;
    }

    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }
    size_t size() const { return mSize; }
    T& operator[](size_t i) { return mBuffer[i]; }
    const T& operator[](size_t i) const { return mBuffer[i]; }
    iterator begin() { return data(); }
    iterator end() { return data() + mSize; }
    const_iterator begin() const { return data(); }
    const_iterator end() const { return data() + mSize; }
    iterator find(const T& v) { return std::find(begin(), end(), v); }
    const_iterator find(const T& v) const { return std::find(begin(), end(), v); }
    bool contains(const T& v) const { return find(v) != end(); }

    operator std::vector<T>() const { return std::vector<T>(mBuffer, mBuffer + mSize); }

    bool operator==(const hidl_vec& o) const {
        if (mSize != o.mSize) return false;
        for (size_t i = 0; i < mSize; ++i) {
            if (!(mBuffer[i] == o.mBuffer[i])) return false;
        }
        return true;
    }
    bool operator!=(const hidl_vec& o) const { return !(*this == o); }

  private:
    // A copy owned by this vector; of no elements, a buffer only when `allocateEmpty` (a list
    // gets one, a copied vector does not, as in libhidl).
    void assign(const T* data, size_t size, bool allocateEmpty = false) {
        if (size > UINT32_MAX)
            details::logAlwaysFatal("hidl_vec can't hold more than 2^32 elements.");
        T* buffer = size > 0 || allocateEmpty ? new T[size]() : nullptr;
        for (size_t i = 0; i < size; ++i) buffer[i] = data[i];
        release();
        mBuffer = buffer;
        mSize = static_cast<uint32_t>(size);
        mOwnsBuffer = true;
    }
    void release() {
        if (mOwnsBuffer) delete[] mBuffer;
        mBuffer = nullptr;
        mSize = 0;
        mOwnsBuffer = true;
    }

    T* mBuffer;
    uint32_t mSize;
    bool mOwnsBuffer;
    uint8_t mPad[3];
};

// A native handle that HIDL methods take and deliver. A copy owns duplicates of the
// descriptors, as a handle received over the transport does.
class hidl_handle {
  public:
    hidl_handle() : mHandle(nullptr), mOwnsHandle(false) { memset(mPad, 0, sizeof(mPad)); }
    // Refers to `handle` without owning it.
    hidl_handle(const native_handle_t* handle) : hidl_handle() { mHandle = handle; }
    hidl_handle(const hidl_handle& other);
    hidl_handle(hidl_handle&& other) noexcept;
    ~hidl_handle();

    hidl_handle& operator=(const hidl_handle& other);
    hidl_handle& operator=(hidl_handle&& other) noexcept;
    hidl_handle& operator=(const native_handle_t* handle);

    // Points at `handle`; when `shouldOwn`, the handle is closed and deleted with this object.
    void setTo(native_handle_t* handle, bool shouldOwn = false);

    const native_handle_t* getNativeHandle() const { return mHandle; }
    const native_handle_t* operator->() const { return mHandle; }
    operator const native_handle_t*() const { return mHandle; }

  private:
    void freeHandle();

    const native_handle_t* mHandle;
    bool mOwnsHandle;
    uint8_t mPad[7];
};

static_assert(sizeof(hidl_handle) == 16, "hidl_handle crosses process boundaries");

}  // namespace hardware
}  // namespace android
