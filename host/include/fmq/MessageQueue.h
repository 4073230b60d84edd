// libfmq's fast message queue for Linux hosts: a lock-free ring of fixed-size elements in
// shared memory (memfd), for one reader and one writer that may sit in different components.
// The queue's descriptor (getDesc) lets the other side build a queue over the same memory.
//
// Only the synchronized flavour is provided: a write that does not fit and a read of more than
// is there both fail without touching the queue, except that a read finding the counters overrun
// (corrupted by the other side) resets the read counter to the write counter, as libfmq does. The blocking read and write calls of libfmq
// are not provided; pair the queue with an EventFlag on its event-flag word instead.
#pragma once

#include <cutils/native_handle.h>
#include <fmq/EventFlag.h>
#include <hidl/MQDescriptor.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <type_traits>

namespace android {
namespace hardware {

namespace details {
// A new memfd of `bytes` bytes, or -1 (logged).
int createQueueMemory(size_t bytes);
// Maps grantor `index` of a queue whose memory `handle` holds: null (logged) when the grantor
// names a descriptor the handle lacks, is not word-aligned, is too small for what it holds, or
// reaches beyond what can be mapped or beyond the memory itself. Descriptors may come from
// another process, so none of this is trusted.
void* mapGrantor(const native_handle_t* handle, const GrantorDescriptor& grantor, size_t index);
void unmapGrantor(void* address, const GrantorDescriptor& grantor);
// Logs a queue error under the "FMQ" tag.
void logQueueError(const char* message);
}  // namespace details

template <typename T, MQFlavor flavor>
class MessageQueue final {
    static_assert(std::is_trivially_copyable<T>::value, "queue elements are copied as bytes");
    static_assert(flavor == kSynchronizedReadWrite, "only the synchronized flavour is provided");

  public:
    typedef MQDescriptor<T, flavor> Descriptor;

    // A new queue of `numElementsInQueue` elements, with an event-flag word when asked. Check
    // isValid(): creating or mapping the memory may fail.
    MessageQueue(size_t numElementsInQueue, bool configureEventFlagWord = false);

    // The queue that `desc` describes, over the same memory (mapped anew). With
    // `resetPointers`, the queue starts empty. Invalid when the descriptor does not describe a
    // queue of T that can be mapped whole.
    MessageQueue(const Descriptor& desc, bool resetPointers = true);

    ~MessageQueue();
    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    size_t getQuantumSize() const { return sizeof(T); }
    size_t getQuantumCount() const { return mCapacity; }
    bool isValid() const { return mRing != nullptr; }

    // Elements that a write of this many would fit / a read could take now.
    size_t availableToWrite() const;
    size_t availableToRead() const;

    bool write(const T* data) { return write(data, 1); }
    bool read(T* data) { return read(data, 1); }
    // All `count` elements or none: false when they do not fit (write) or are not there (read).
    bool write(const T* data, size_t count);
    bool read(T* data, size_t count);

    const Descriptor* getDesc() const { return mDesc.get(); }
    // The event-flag word in the shared memory; null when the queue has none.
    std::atomic<uint32_t>* getEventFlagWord() const { return mEvFlagWord; }

  private:
    void initMemory(bool resetPointers);
    void unmapAll();
    // The bytes between the counters; wraps to a huge value when they were corrupted.
    size_t availableToReadBytes() const;
    // Runs `copyRun(ringIndex, dataIndex, n)` for the one or two runs of `count` elements from
    // byte `position` of the ring, as it wraps around its end.
    template <typename Copy>
    void copy(uint64_t position, size_t count, Copy copyRun) const;

    std::unique_ptr<Descriptor> mDesc;
    // Bytes read and written so far, as libfmq counts them; each written by its own side.
    std::atomic<uint64_t>* mReadPtr = nullptr;
    std::atomic<uint64_t>* mWritePtr = nullptr;
    std::atomic<uint32_t>* mEvFlagWord = nullptr;
    T* mRing = nullptr;
    size_t mCapacity = 0;
};

template <typename T, MQFlavor flavor>
MessageQueue<T, flavor>::MessageQueue(size_t numElementsInQueue, bool configureEventFlagWord) {
    if (numElementsInQueue == 0 || numElementsInQueue > SIZE_MAX / sizeof(T) / 2) {
        details::logQueueError("Requested queue size is out of range.");
        return;
    }
    size_t ringBytes = numElementsInQueue * sizeof(T);
    size_t bytes = Descriptor::kDataOffset + ringBytes;
    int fd = details::createQueueMemory(bytes);
    if (fd < 0) return;
    native_handle_t* handle = native_handle_create(1, 0);
    if (handle == nullptr) {
        close(fd);
        return;
    }
    handle->data[0] = fd;
    mDesc.reset(new Descriptor(ringBytes, handle, sizeof(T), configureEventFlagWord));
    initMemory(true);
}

template <typename T, MQFlavor flavor>
MessageQueue<T, flavor>::MessageQueue(const Descriptor& desc, bool resetPointers)
    : mDesc(new Descriptor(desc)) {
    initMemory(resetPointers);
}

template <typename T, MQFlavor flavor>
void MessageQueue<T, flavor>::initMemory(bool resetPointers) {
    if (!mDesc->isHandleValid() ||
        mDesc->countGrantors() < static_cast<size_t>(Descriptor::kMinGrantorCount) ||
        mDesc->getQuantum() != sizeof(T) || mDesc->getSize() == 0 ||
        mDesc->getSize() % sizeof(T) != 0) {
        details::logQueueError("Invalid descriptor for a message queue.");
        return;
    }
    const auto& grantors = mDesc->grantors();
    auto map = [&](size_t index) {
        return details::mapGrantor(mDesc->handle(), grantors[index], index);
    };
    mReadPtr = static_cast<std::atomic<uint64_t>*>(map(Descriptor::READPTRPOS));
    mWritePtr = static_cast<std::atomic<uint64_t>*>(map(Descriptor::WRITEPTRPOS));
    T* ring = static_cast<T*>(map(Descriptor::DATAPTRPOS));
    bool wantsFlag = grantors.size() > static_cast<size_t>(Descriptor::EVFLAGWORDPOS);
    if (wantsFlag) mEvFlagWord = static_cast<std::atomic<uint32_t>*>(map(Descriptor::EVFLAGWORDPOS));
    if (mReadPtr == nullptr || mWritePtr == nullptr || ring == nullptr ||
        (wantsFlag && mEvFlagWord == nullptr)) {
        if (ring != nullptr) details::unmapGrantor(ring, grantors[Descriptor::DATAPTRPOS]);
        unmapAll();
        return;
    }
    mCapacity = mDesc->getSize() / sizeof(T);
    if (resetPointers) {
        mReadPtr->store(0, std::memory_order_release);
        mWritePtr->store(0, std::memory_order_release);
    }
    mRing = ring;
}

template <typename T, MQFlavor flavor>
void MessageQueue<T, flavor>::unmapAll() {
    const auto& grantors = mDesc->grantors();
    details::unmapGrantor(mReadPtr, grantors[Descriptor::READPTRPOS]);
    details::unmapGrantor(mWritePtr, grantors[Descriptor::WRITEPTRPOS]);
    details::unmapGrantor(mRing, grantors[Descriptor::DATAPTRPOS]);
    if (mEvFlagWord != nullptr) {
        details::unmapGrantor(mEvFlagWord, grantors[Descriptor::EVFLAGWORDPOS]);
    }
    mReadPtr = mWritePtr = nullptr;
    mEvFlagWord = nullptr;
    mRing = nullptr;
}

template <typename T, MQFlavor flavor>
MessageQueue<T, flavor>::~MessageQueue() {
    if (mDesc != nullptr && mDesc->countGrantors() >= static_cast<size_t>(Descriptor::kMinGrantorCount)) {
        unmapAll();
    }
}

template <typename T, MQFlavor flavor>
size_t MessageQueue<T, flavor>::availableToReadBytes() const {
    return mWritePtr->load(std::memory_order_acquire) - mReadPtr->load(std::memory_order_acquire);
}

template <typename T, MQFlavor flavor>
size_t MessageQueue<T, flavor>::availableToWrite() const {
    return isValid() ? (mDesc->getSize() - availableToReadBytes()) / sizeof(T) : 0;
}

template <typename T, MQFlavor flavor>
size_t MessageQueue<T, flavor>::availableToRead() const {
    return isValid() ? availableToReadBytes() / sizeof(T) : 0;
}

template <typename T, MQFlavor flavor>
bool MessageQueue<T, flavor>::write(const T* data, size_t count) {
    if (!isValid() || count > mCapacity || count > availableToWrite()) return false;
    const uint64_t position = mWritePtr->load(std::memory_order_relaxed);
    copy(position, count, [&](size_t offset, size_t from, size_t n) {
        memcpy(mRing + offset, data + from, n * sizeof(T));
    });
    mWritePtr->store(position + count * sizeof(T), std::memory_order_release);
    return true;
}

template <typename T, MQFlavor flavor>
bool MessageQueue<T, flavor>::read(T* data, size_t count) {
    if (!isValid()) return false;
    const uint64_t written = mWritePtr->load(std::memory_order_acquire);
    const uint64_t position = mReadPtr->load(std::memory_order_relaxed);
    if (written % sizeof(T) != 0 || position % sizeof(T) != 0) {
        details::logQueueError("The write or read pointer has become misaligned. Reading from "
                               "the queue is no longer possible.");
        return false;
    }
    // More than the ring holds: the counters were overrun or corrupted, and what the ring holds
    // is lost. The reader starts again from the writer's position.
    if (written - position > mDesc->getSize()) {
        mReadPtr->store(written, std::memory_order_release);
        return false;
    }
    if (count > mCapacity || written - position < count * sizeof(T)) return false;
    copy(position, count, [&](size_t offset, size_t from, size_t n) {
        memcpy(data + from, mRing + offset, n * sizeof(T));
    });
    mReadPtr->store(position + count * sizeof(T), std::memory_order_release);
    return true;
}

template <typename T, MQFlavor flavor>
template <typename Copy>
void MessageQueue<T, flavor>::copy(uint64_t position, size_t count, Copy copyRun) const {
    const size_t offset = static_cast<size_t>(position % mDesc->getSize()) / sizeof(T);
    const size_t first = count < mCapacity - offset ? count : mCapacity - offset;
    copyRun(offset, 0, first);
    copyRun(0, first, count - first);
}

}  // namespace hardware
}  // namespace android
