// The shared memory behind message queues: memfd regions, mapped one grantor at a time as
// libfmq maps them, so that each grantor may live in a descriptor of its own.

#include <android/log.h>
#include <errno.h>
#include <fmq/MessageQueue.h>
#include <limits.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace android {
namespace hardware {
namespace details {

namespace {

constexpr const char* kTag = "FMQ";

// The counters are 64-bit and the event-flag word 32-bit; the ring may be any size.
uint64_t minimumExtent(size_t index) {
    switch (index) {
        case MQDescriptorSync<uint32_t>::READPTRPOS:
        case MQDescriptorSync<uint32_t>::WRITEPTRPOS:
            return sizeof(uint64_t);
        case MQDescriptorSync<uint32_t>::EVFLAGWORDPOS:
            return sizeof(uint32_t);
        default:
            return 0;
    }
}

size_t pageSize() { return static_cast<size_t>(sysconf(_SC_PAGESIZE)); }

}  // namespace

int createQueueMemory(size_t bytes) {
    int fd = memfd_create("MessageQueue", MFD_CLOEXEC);
    if (fd < 0) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "memfd_create failed: %s", strerror(errno));
        return -1;
    }
    if (ftruncate(fd, static_cast<off_t>(bytes)) != 0) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "ftruncate failed: %s", strerror(errno));
        close(fd);
        return -1;
    }
    return fd;
}

void* mapGrantor(const native_handle_t* handle, const GrantorDescriptor& grantor, size_t index) {
    const uint64_t offset = grantor.offset, extent = grantor.extent;
    const size_t page = pageSize();
    if (grantor.fdIndex >= static_cast<uint32_t>(handle->numFds)) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "Grantor %zu: fdIndex %u is past the %d fds",
                            index, grantor.fdIndex, handle->numFds);
        return nullptr;
    }
    if (offset % sizeof(uint64_t) != 0) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "Grantor %zu: offset %u is not word-aligned",
                            index, grantor.offset);
        return nullptr;
    }
    if (extent < minimumExtent(index) || extent > static_cast<uint64_t>(INT_MAX) - page) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "Grantor %zu: extent %llu is out of range",
                            index, static_cast<unsigned long long>(extent));
        return nullptr;
    }
    // libfmq maps with int offsets and lengths: a grantor must end within them.
    if (offset + extent > static_cast<uint64_t>(INT_MAX)) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "Grantor %zu: ends at %llu, past what maps",
                            index, static_cast<unsigned long long>(offset + extent));
        return nullptr;
    }
    const int fd = handle->data[grantor.fdIndex];
    // Touching a mapping past the end of its memory raises SIGBUS instead of failing here.
    struct stat st;
    if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode) &&
        offset + extent > static_cast<uint64_t>(st.st_size)) {
        __android_log_print(
            ANDROID_LOG_ERROR, kTag, "Grantor %zu: ends at %llu, past the %lld bytes", index,
            static_cast<unsigned long long>(offset + extent), static_cast<long long>(st.st_size));
        return nullptr;
    }
    const size_t mapOffset = offset / page * page;
    const size_t mapLength = offset - mapOffset + extent;
    void* address = mmap(nullptr, mapLength, PROT_READ | PROT_WRITE, MAP_SHARED, fd,
                         static_cast<off_t>(mapOffset));
    if (address == MAP_FAILED) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "mmap failed: %s", strerror(errno));
        return nullptr;
    }
    return static_cast<char*>(address) + (offset - mapOffset);
}

void unmapGrantor(void* address, const GrantorDescriptor& grantor) {
    if (address == nullptr) return;
    const size_t page = pageSize();
    const size_t inPage = grantor.offset % page;
    munmap(static_cast<char*>(address) - inPage, inPage + grantor.extent);
}

void logQueueError(const char* message) { __android_log_write(ANDROID_LOG_ERROR, kTag, message); }

}  // namespace details
}  // namespace hardware
}  // namespace android
