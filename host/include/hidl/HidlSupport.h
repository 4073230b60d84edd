// libhidl's value types for Linux hosts: strings, vectors and handles as HIDL methods take and
// return them, and the death recipient interface.
#pragma once

#include <cutils/native_handle.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <initializer_list>
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

// A string that HIDL methods take and deliver. Always null-terminated.
class hidl_string {
  public:
    hidl_string() = default;
    hidl_string(const char* s) : mString(s != nullptr ? s : "") {}
    hidl_string(const char* s, size_t length) : mString(s, length) {}
    hidl_string(const std::string& s) : mString(s) {}
    hidl_string(std::string&& s) : mString(std::move(s)) {}

    hidl_string& operator=(const char* s) {
        mString = s != nullptr ? s : "";
        return *this;
    }
    hidl_string& operator=(const std::string& s) {
        mString = s;
        return *this;
    }

    const char* c_str() const { return mString.c_str(); }
    size_t size() const { return mString.size(); }
    bool empty() const { return mString.empty(); }
    void clear() { mString.clear(); }
    void setToExternal(const char* data, size_t size) { mString.assign(data, size); }

    operator std::string() const { return mString; }

    bool operator==(const hidl_string& o) const { return mString == o.mString; }
    bool operator!=(const hidl_string& o) const { return mString != o.mString; }
    bool operator<(const hidl_string& o) const { return mString < o.mString; }

  private:
    std::string mString;
};

inline bool operator==(const hidl_string& a, const char* b) { return strcmp(a.c_str(), b) == 0; }
inline bool operator==(const char* a, const hidl_string& b) { return b == a; }
inline bool operator!=(const hidl_string& a, const char* b) { return !(a == b); }
inline bool operator!=(const char* a, const hidl_string& b) { return !(b == a); }
inline bool operator==(const hidl_string& a, const std::string& b) { return a == b.c_str(); }
inline bool operator==(const std::string& a, const hidl_string& b) { return b == a.c_str(); }

// A vector that HIDL methods take and deliver. Like libhidl's, it may refer to a buffer it does
// not own (setToExternal), which callers use to pass large buffers without a copy; its size is
// limited to 2^32 - 1 elements.
template <typename T>
class hidl_vec {
  public:
    hidl_vec() = default;
    explicit hidl_vec(size_t size) { resize(size); }
    hidl_vec(size_t size, const T& value) {
        resize(size);
        for (size_t i = 0; i < size; ++i) mBuffer[i] = value;
    }
    hidl_vec(std::initializer_list<T> list) { assign(list.begin(), list.size()); }
    hidl_vec(const std::vector<T>& v) {
        if (v.size() > UINT32_MAX)
            details::logAlwaysFatal("hidl_vec can't hold more than 2^32 elements.");
        assign(v.data(), v.size());
    }
    hidl_vec(const hidl_vec& other) { assign(other.mBuffer, other.mSize); }
    hidl_vec(hidl_vec&& other) noexcept { swap(other); }
    ~hidl_vec() { release(); }

    hidl_vec& operator=(const hidl_vec& other) {
        if (this != &other) {
            hidl_vec copy(other);
            swap(copy);
        }
        return *this;
    }
    hidl_vec& operator=(hidl_vec&& other) noexcept {
        if (this != &other) {
            release();
            swap(other);
        }
        return *this;
    }
    hidl_vec& operator=(const std::vector<T>& v) { return *this = hidl_vec(v); }

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

    // Hands the buffer to the caller, who frees it with delete[].
    T* releaseData() {
        if (!mOwnsBuffer && mSize > 0) resize(mSize);
        T* data = mBuffer;
        mBuffer = nullptr;
        mSize = 0;
        mOwnsBuffer = true;
        return data;
    }

    void resize(size_t size) {
        if (size > UINT32_MAX)
            details::logAlwaysFatal("hidl_vec can't hold more than 2^32 elements.");
        T* buffer = size > 0 ? new T[size]() : nullptr;
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
    bool empty() const { return mSize == 0; }
    T& operator[](size_t i) { return mBuffer[i]; }
    const T& operator[](size_t i) const { return mBuffer[i]; }
    T* begin() { return mBuffer; }
    T* end() { return mBuffer + mSize; }
    const T* begin() const { return mBuffer; }
    const T* end() const { return mBuffer + mSize; }

    operator std::vector<T>() const { return std::vector<T>(begin(), end()); }

    bool operator==(const hidl_vec& o) const {
        if (mSize != o.mSize) return false;
        for (size_t i = 0; i < mSize; ++i) {
            if (!(mBuffer[i] == o.mBuffer[i])) return false;
        }
        return true;
    }
    bool operator!=(const hidl_vec& o) const { return !(*this == o); }

  private:
    void assign(const T* data, size_t size) {
        resize(size);
        for (size_t i = 0; i < size; ++i) mBuffer[i] = data[i];
    }
    void release() {
        if (mOwnsBuffer) delete[] mBuffer;
        mBuffer = nullptr;
        mSize = 0;
        mOwnsBuffer = true;
    }
    void swap(hidl_vec& o) noexcept {
        std::swap(mBuffer, o.mBuffer);
        std::swap(mSize, o.mSize);
        std::swap(mOwnsBuffer, o.mOwnsBuffer);
    }

    T* mBuffer = nullptr;
    uint32_t mSize = 0;
    bool mOwnsBuffer = true;
};

// A native handle that HIDL methods take and deliver. A copy owns duplicates of the
// descriptors, as a handle received over the transport does.
class hidl_handle {
  public:
    hidl_handle() = default;
    hidl_handle(std::nullptr_t) {}
    // Refers to `handle` without owning it.
    hidl_handle(const native_handle_t* handle) : mHandle(handle), mOwnsHandle(false) {}
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

    const native_handle_t* mHandle = nullptr;
    bool mOwnsHandle = false;
};

}  // namespace hardware
}  // namespace android
