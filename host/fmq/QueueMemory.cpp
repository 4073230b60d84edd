// The shared memory behind message queues: memfd regions mapped shared.

#include <android/log.h>
#include <errno.h>
#include <fmq/MessageQueue.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

namespace android {
namespace hardware {
namespace details {

int createQueueMemory(size_t bytes) {
    int fd = memfd_create("MessageQueue", MFD_CLOEXEC);
    if (fd < 0) {
        __android_log_print(ANDROID_LOG_ERROR, "FMQ", "memfd_create failed: %s", strerror(errno));
        return -1;
    }
    if (ftruncate(fd, static_cast<off_t>(bytes)) != 0) {
        __android_log_print(ANDROID_LOG_ERROR, "FMQ", "ftruncate failed: %s", strerror(errno));
        close(fd);
        return -1;
    }
    return fd;
}

void* mapQueueMemory(int fd, size_t bytes) {
    void* address = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (address == MAP_FAILED) {
        __android_log_print(ANDROID_LOG_ERROR, "FMQ", "mmap failed: %s", strerror(errno));
        return nullptr;
    }
    return address;
}

void unmapQueueMemory(void* address, size_t bytes) { munmap(address, bytes); }

void logQueueError(const char* message) { __android_log_write(ANDROID_LOG_ERROR, "FMQ", message); }

}  // namespace details
}  // namespace hardware
}  // namespace android
