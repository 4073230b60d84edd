// libhidl's description of a fast message queue's shared memory, for Linux hosts: one memory
// descriptor plus the places (grantors) of the read counter, the write counter, the ring and
// the optional event-flag word within it. Handing a descriptor to another component lets it map
// the same memory.
#pragma once

#include <cutils/native_handle.h>
#include <hidl/HidlSupport.h>
#include <stddef.h>
#include <stdint.h>
#include <unistd.h>

#include <vector>

namespace android {
namespace hardware {

enum MQFlavor : uint32_t {
    // One reader and one writer; a write that does not fit fails.
    kSynchronizedReadWrite = 0x01,
    // Writes never fail; readers may lose data. Not provided on this host.
    kUnsynchronizedWrite = 0x02,
};

struct GrantorDescriptor {
    uint32_t flags = 0;
    uint32_t fdIndex = 0;
    uint32_t offset = 0;
    uint64_t extent = 0;
};

// The descriptor's layout is libhidl's (32 bytes), since descriptors cross process boundaries.
template <typename T, MQFlavor flavor>
class MessageQueue;

template <typename T, MQFlavor flavor>
struct MQDescriptor {
    enum GrantorType : int { READPTRPOS = 0, WRITEPTRPOS, DATAPTRPOS, EVFLAGWORDPOS };
    static constexpr int32_t kMinGrantorCount = DATAPTRPOS + 1;
    static constexpr int32_t kMinGrantorCountForEvFlagSupport = EVFLAGWORDPOS + 1;

    // Takes ownership of `nHandle`.
    MQDescriptor(const std::vector<GrantorDescriptor>& grantors, native_handle_t* nHandle,
                 size_t size)
        : mGrantors(grantors),
          mHandle(nHandle),
          mQuantum(static_cast<uint32_t>(size)),
          mFlags(flavor) {}

    // Lays out a queue of `bufferSize` bytes in the memory of `nHandle` (its first descriptor),
    // taking ownership of the handle. The counters sit on cache lines of their own so that the
    // reader and the writer do not contend for one line.
    MQDescriptor(size_t bufferSize, native_handle_t* nHandle, size_t messageSize,
                 bool configureEventFlag = false)
        : mHandle(nHandle), mQuantum(static_cast<uint32_t>(messageSize)), mFlags(flavor) {
        mGrantors.resize(configureEventFlag ? kMinGrantorCountForEvFlagSupport : kMinGrantorCount);
        mGrantors[READPTRPOS] = {0, 0, kReadOffset, sizeof(uint64_t)};
        mGrantors[WRITEPTRPOS] = {0, 0, kWriteOffset, sizeof(uint64_t)};
        if (configureEventFlag) {
            mGrantors[EVFLAGWORDPOS] = {0, 0, kEventFlagOffset, sizeof(uint32_t)};
        }
        mGrantors[DATAPTRPOS] = {0, 0, kDataOffset, bufferSize};
    }

    MQDescriptor() = default;

    // A copy owns duplicates of the descriptors.
    MQDescriptor(const MQDescriptor& other)
        : mGrantors(other.mGrantors),
          mHandle(other.mHandle != nullptr ? native_handle_clone(other.mHandle) : nullptr),
          mQuantum(other.mQuantum),
          mFlags(other.mFlags) {}

    MQDescriptor& operator=(const MQDescriptor& other) {
        if (this != &other) {
            MQDescriptor copy(other);
            swap(copy);
        }
        return *this;
    }

    ~MQDescriptor() {
        if (mHandle != nullptr) {
            native_handle_close(mHandle);
            native_handle_delete(mHandle);
        }
    }

    // Bytes of the ring.
    size_t getSize() const {
        return mGrantors.size() > DATAPTRPOS ? static_cast<size_t>(mGrantors[DATAPTRPOS].extent)
                                             : 0;
    }
    size_t getQuantum() const { return mQuantum; }
    int32_t getFlags() const { return static_cast<int32_t>(mFlags); }
    bool isHandleValid() const { return mHandle != nullptr; }
    size_t countGrantors() const { return mGrantors.size(); }
    const hidl_vec<GrantorDescriptor>& grantors() const { return mGrantors; }
    const native_handle_t* handle() const { return mHandle; }
    native_handle_t* handle() { return mHandle; }

  private:
    template <typename, MQFlavor>
    friend class MessageQueue;

    static constexpr uint32_t kReadOffset = 0;
    static constexpr uint32_t kWriteOffset = 64;
    static constexpr uint32_t kEventFlagOffset = 128;
    static constexpr uint32_t kDataOffset = 192;  // where a new queue's ring starts

    void swap(MQDescriptor& o) {
        std::swap(mGrantors, o.mGrantors);
        std::swap(mHandle, o.mHandle);
        std::swap(mQuantum, o.mQuantum);
        std::swap(mFlags, o.mFlags);
    }

    hidl_vec<GrantorDescriptor> mGrantors;
    native_handle_t* mHandle = nullptr;
    uint32_t mQuantum = 0;
    uint32_t mFlags = flavor;
};

static_assert(sizeof(GrantorDescriptor) == 24, "GrantorDescriptor crosses process boundaries");

template <typename T>
using MQDescriptorSync = MQDescriptor<T, kSynchronizedReadWrite>;

}  // namespace hardware
}  // namespace android
