// The frame callback on its own: the mapped size of each geometry, the caller's callback and
// its refusal, frames that cannot be mapped, and the mapping's end when the caller returns.

#include "FrameCallback.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "ImagingFixture.h"

namespace {

using namespace orvex::test;
using android::sp;
using android::hardware::hidl_handle;
using orvex::hostlog::Entry;
using orvex::hostlog::ScopedCapture;
using vendor::tevrin::hardware::dchwmanager::implementation::FrameCallback;

// The length of the mapping that holds `address`, from the process's memory map; 0 when the
// address is not mapped.
size_t MappedLength(const void* address) {
    std::ifstream maps("/proc/self/maps");
    std::string line;
    uintptr_t at = reinterpret_cast<uintptr_t>(address);
    while (std::getline(maps, line)) {
        uintptr_t start = 0;
        uintptr_t end = 0;
        char dash = 0;
        std::istringstream(line) >> std::hex >> start >> dash >> end;
        if (at >= start && at < end) return end - start;
    }
    return 0;
}

bool Unmapped(const void* address) {
    void* page = const_cast<void*>(address);
    return msync(page, 1, MS_ASYNC) == -1 && errno == ENOMEM;
}

// A frame file of `bytes` bytes and a handle holding its descriptor (closed with the handle).
struct Frame {
    explicit Frame(size_t bytes, int openFlags = 0) {
        fd = memfd_create("test-frame", MFD_CLOEXEC);
        EXPECT_EQ(0, ftruncate(fd, static_cast<off_t>(bytes)));
        if (openFlags != 0) {
            // Another descriptor of the same file, opened with other access rights.
            int other = open(("/proc/self/fd/" + std::to_string(fd)).c_str(), openFlags);
            close(fd);
            fd = other;
        }
        native_handle_t* native = native_handle_create(1, 0);
        native->data[0] = fd;
        handle.setTo(native, true);
    }
    int fd;
    hidl_handle handle;
};

// Records what it saw of each frame while the frame was mapped.
class Recorder : public IImageCallback {
  public:
    explicit Recorder(bool answer) : mAnswer(answer) {}
    bool OnReceiveFrame(void* frame) override {
        addresses.push_back(frame);
        lengths.push_back(MappedLength(frame));
        firstBytes.push_back(*static_cast<unsigned char*>(frame));
        return mAnswer;
    }
    std::vector<void*> addresses;
    std::vector<size_t> lengths;
    std::vector<unsigned char> firstBytes;

  private:
    bool mAnswer;
};

void SetGeometry(FrameCallback& callback, uint32_t width, uint32_t height, uint32_t bits) {
    callback.UpdatePreviewSize(new __preview_size__{width, height, bits, false, false});
}

size_t Pages(size_t bytes) {
    size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    return (bytes + page - 1) / page * page;
}

TEST(FrameCallback, FrameSizeIsRowsTimesHeightTimesBitsOverEight) {
    struct Case {
        uint32_t width, height, bits;
        size_t bytes;
    };
    const std::vector<Case> cases = {
        {2280, 1080, 8, 2471040},  // rows of 2280 pixels are padded to 2288
        {1280, 800, 8, 1024000},  {2280, 1080, 10, 3088800},
        {2288, 1080, 8, 2471040}, {2279, 2, 8, 4558},
        {640, 480, 12, 460800},   {3, 1, 1, 0},  // integer division drops the partial byte
        {0, 1080, 8, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.bytes, FrameCallback::FrameSize(c.width, c.height, c.bits))
            << c.width << "x" << c.height << "x" << c.bits;
    }
}

TEST(FrameCallback, MapsTheGeometrysSizeForTheCallerAndUnmapsWhenItReturns) {
    struct Case {
        uint32_t width, height, bits;
        bool padded;
    };
    for (const Case& c : std::vector<Case>{{2280, 1080, 8, true}, {1280, 800, 8, false}}) {
        SCOPED_TRACE(c.width);
        size_t bytes = FrameCallback::FrameSize(c.width, c.height, c.bits);
        Frame frame(bytes);
        // The caller sees what the service wrote.
        unsigned char* data = static_cast<unsigned char*>(
            mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, frame.fd, 0));
        ASSERT_NE(MAP_FAILED, data);
        data[0] = 0x5a;
        munmap(data, bytes);

        Recorder recorder(true);
        sp<FrameCallback> callback = new FrameCallback(&recorder);
        SetGeometry(*callback, c.width, c.height, c.bits);
        ScopedCapture capture;
        EXPECT_TRUE(callback->onFrameAvailable(frame.handle).isOk());

        ASSERT_EQ(1u, recorder.addresses.size());
        EXPECT_EQ(Pages(bytes), recorder.lengths[0]);
        EXPECT_EQ(0x5a, recorder.firstBytes[0]);
        EXPECT_TRUE(Unmapped(recorder.addresses[0]));
        std::string fd = std::to_string(frame.fd);
        std::vector<Entry> expected = {D("[FrameCallback::onFrameAvailable] FD =" + fd + "\n")};
        if (c.padded) {
            expected.push_back(
                D("[FrameCallback::onFrameAvailable] Byte Allignement Needed =" + fd + "\n"));
        }
        EXPECT_EQ(expected, Records(capture));
    }
}

TEST(FrameCallback, ARefusedOrUnclaimedFrameIsLoggedAndStillUnmapped) {
    Frame frame(1024000);
    Recorder refusing(false);
    sp<FrameCallback> refused = new FrameCallback(&refusing);
    sp<FrameCallback> unclaimed = new FrameCallback(nullptr);
    SetGeometry(*refused, 1280, 800, 8);
    SetGeometry(*unclaimed, 1280, 800, 8);

    ScopedCapture capture;
    EXPECT_TRUE(refused->onFrameAvailable(frame.handle).isOk());
    EXPECT_TRUE(unclaimed->onFrameAvailable(frame.handle).isOk());
    ASSERT_EQ(1u, refusing.addresses.size());
    EXPECT_TRUE(Unmapped(refusing.addresses[0]));
    const std::string fd = std::to_string(frame.fd);
    EXPECT_EQ((std::vector<Entry>{D("[FrameCallback::onFrameAvailable] FD =" + fd + "\n"),
                                  E("[FrameCallback::onFrameAvailable] OnReceiveFrame failed"),
                                  D("[FrameCallback::onFrameAvailable] FD =" + fd + "\n"),
                                  E("[FrameCallback::onFrameAvailable] IImageCallback is null")}),
              Records(capture));
}

TEST(FrameCallback, FramesThatCannotBeMappedNeverReachTheCaller) {
    struct Case {
        const char* what;
        bool geometry;
        int openFlags;
        bool withDescriptor;
    };
    const std::vector<Case> cases = {
        {"no geometry yet: nothing to map", false, 0, true},
        {"a read-only descriptor cannot be mapped for writing", true, O_RDONLY | O_CLOEXEC, true},
        {"a handle without descriptor", true, 0, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Frame frame(1024000, c.openFlags);
        hidl_handle empty;
        empty.setTo(native_handle_create(0, 0), true);
        Recorder recorder(true);
        sp<FrameCallback> callback = new FrameCallback(&recorder);
        if (c.geometry) SetGeometry(*callback, 1280, 800, 8);

        ScopedCapture capture;
        EXPECT_TRUE(callback->onFrameAvailable(c.withDescriptor ? frame.handle : empty).isOk());
        EXPECT_TRUE(recorder.addresses.empty());
        std::string fd = c.withDescriptor ? std::to_string(frame.fd) : "-1";
        EXPECT_EQ((std::vector<Entry>{D("[FrameCallback::onFrameAvailable] FD =" + fd + "\n"),
                                      E("[FrameCallback::onFrame] mmap failed\n")}),
                  Records(capture));
    }
}

}  // namespace
