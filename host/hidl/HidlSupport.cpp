// hidl_string's buffers, native handles and hidl_handle: descriptors travel by duplication, as
// through the binder driver, so each holder closes its own.

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <hidl/HidlSupport.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <ostream>

extern "C" {

native_handle_t* native_handle_create(int numFds, int numInts) {
    if (numFds < 0 || numInts < 0 || numFds > NATIVE_HANDLE_MAX_FDS ||
        numInts > NATIVE_HANDLE_MAX_INTS) {
        return nullptr;
    }
    size_t size = sizeof(native_handle_t) + sizeof(int) * static_cast<size_t>(numFds + numInts);
    auto* h = static_cast<native_handle_t*>(calloc(1, size));
    if (h == nullptr) return nullptr;
    h->version = sizeof(native_handle_t);
    h->numFds = numFds;
    h->numInts = numInts;
    return h;
}

int native_handle_close(const native_handle_t* h) {
    if (h == nullptr || h->version != sizeof(native_handle_t)) return -EINVAL;
    for (int i = 0; i < h->numFds; ++i) close(h->data[i]);
    return 0;
}

int native_handle_delete(native_handle_t* h) {
    if (h == nullptr) return 0;
    if (h->version != sizeof(native_handle_t)) return -EINVAL;
    free(h);
    return 0;
}

native_handle_t* native_handle_clone(const native_handle_t* handle) {
    if (handle == nullptr) return nullptr;
    native_handle_t* clone = native_handle_create(handle->numFds, handle->numInts);
    if (clone == nullptr) return nullptr;
    for (int i = 0; i < handle->numFds; ++i) {
        clone->data[i] = fcntl(handle->data[i], F_DUPFD_CLOEXEC, 0);
        if (clone->data[i] < 0) {
            clone->numFds = i;
            native_handle_close(clone);
            native_handle_delete(clone);
            return nullptr;
        }
    }
    for (int i = 0; i < handle->numInts; ++i) {
        clone->data[handle->numFds + i] = handle->data[handle->numFds + i];
    }
    return clone;
}

}  // extern "C"

namespace android {
namespace hardware {

namespace details {

void logAlwaysFatal(const char* message) {
    __android_log_write(ANDROID_LOG_FATAL, "HidlSupport", message);
    abort();
}

}  // namespace details

namespace {
// Shared by every empty string, so that an empty string never allocates.
const char* const kEmptyString = "";
}  // namespace

hidl_string::hidl_string() : mBuffer(kEmptyString), mSize(0), mOwnsBuffer(false) {}

hidl_string::hidl_string(const hidl_string& other) : hidl_string() {
    copyFrom(other.c_str(), other.size());
}

hidl_string::hidl_string(hidl_string&& other) noexcept : hidl_string() {
    moveFrom(std::move(other));
}

hidl_string::hidl_string(const char* s) : hidl_string() {
    if (s != nullptr) copyFrom(s, strlen(s));
}

hidl_string::hidl_string(const char* s, size_t length) : hidl_string() { copyFrom(s, length); }

hidl_string::hidl_string(const std::string& s) : hidl_string() { copyFrom(s.c_str(), s.size()); }

hidl_string& hidl_string::operator=(const hidl_string& other) {
    if (this != &other) {
        clear();
        copyFrom(other.c_str(), other.size());
    }
    return *this;
}

hidl_string& hidl_string::operator=(hidl_string&& other) noexcept {
    if (this != &other) {
        clear();
        moveFrom(std::move(other));
    }
    return *this;
}

hidl_string& hidl_string::operator=(const char* s) {
    clear();
    if (s != nullptr) copyFrom(s, strlen(s));
    return *this;
}

hidl_string& hidl_string::operator=(const std::string& s) {
    clear();
    copyFrom(s.c_str(), s.size());
    return *this;
}

void hidl_string::clear() {
    if (mOwnsBuffer) free(const_cast<char*>(mBuffer));
    mBuffer = kEmptyString;
    mSize = 0;
    mOwnsBuffer = false;
}

void hidl_string::setToExternal(const char* data, size_t size) {
    if (size > UINT32_MAX) details::logAlwaysFatal("external string size exceeds 2^32 bytes.");
    // The receiving side reads the text in place, terminator included.
    if (data[size] != '\0') details::logAlwaysFatal("external string is not null-terminated.");
    clear();
    mBuffer = data;
    mSize = static_cast<uint32_t>(size);
}

void hidl_string::copyFrom(const char* data, size_t size) {
    if (size >= UINT32_MAX) details::logAlwaysFatal("string size can't exceed 2^32 bytes.");
    if (size == 0) return;
    char* buffer = static_cast<char*>(malloc(size + 1));
    if (buffer == nullptr) details::logAlwaysFatal("out of memory for a string.");
    memcpy(buffer, data, size);
    buffer[size] = '\0';
    mBuffer = buffer;
    mSize = static_cast<uint32_t>(size);
    mOwnsBuffer = true;
}

void hidl_string::moveFrom(hidl_string&& other) {
    mBuffer = other.mBuffer;
    mSize = other.mSize;
    mOwnsBuffer = other.mOwnsBuffer;
    other.mOwnsBuffer = false;
    other.clear();
}

std::ostream& operator<<(std::ostream& os, const hidl_string& str) { return os << str.c_str(); }

hidl_handle::hidl_handle(const hidl_handle& other) : hidl_handle() { *this = other; }

hidl_handle::hidl_handle(hidl_handle&& other) noexcept : hidl_handle() {
    *this = std::move(other);
}

hidl_handle::~hidl_handle() { freeHandle(); }

hidl_handle& hidl_handle::operator=(const hidl_handle& other) {
    if (this == &other) return *this;
    freeHandle();
    if (other.mHandle != nullptr) {
        mHandle = native_handle_clone(other.mHandle);
        if (mHandle == nullptr)
            details::logAlwaysFatal("Failed to clone native_handle in hidl_handle.");
        mOwnsHandle = true;
    }
    return *this;
}

hidl_handle& hidl_handle::operator=(hidl_handle&& other) noexcept {
    if (this == &other) return *this;
    freeHandle();
    mHandle = other.mHandle;
    mOwnsHandle = other.mOwnsHandle;
    other.mHandle = nullptr;
    other.mOwnsHandle = false;
    return *this;
}

hidl_handle& hidl_handle::operator=(const native_handle_t* handle) {
    freeHandle();
    mHandle = handle;
    mOwnsHandle = false;
    return *this;
}

void hidl_handle::setTo(native_handle_t* handle, bool shouldOwn) {
    freeHandle();
    mHandle = handle;
    mOwnsHandle = shouldOwn;
}

void hidl_handle::freeHandle() {
    if (mOwnsHandle && mHandle != nullptr) {
        native_handle_t* h = const_cast<native_handle_t*>(mHandle);
        native_handle_close(h);
        native_handle_delete(h);
    }
    mHandle = nullptr;
    mOwnsHandle = false;
}

}  // namespace hardware
}  // namespace android
