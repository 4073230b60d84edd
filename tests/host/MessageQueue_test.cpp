// Queues over descriptors that may come from another process, and the event flag's edge cases,
// as libfmq behaves: a descriptor that places a grantor badly yields an invalid queue (never one
// whose write crashes), an empty wake succeeds, a negative time-out times out at once.

#include <errno.h>
#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include "orvex/log_capture.h"

namespace {

using ::android::hardware::EventFlag;
using ::android::hardware::GrantorDescriptor;
using orvex::hostlog::Entry;
using Queue = ::android::hardware::MessageQueue<uint32_t, ::android::hardware::kSynchronizedReadWrite>;

TEST(MessageQueue, DescriptorsThatPlaceAGrantorBadlyGiveAnInvalidQueue) {
    struct Case {
        size_t grantor;
        GrantorDescriptor changed;
        std::string error;  // "" for a valid queue
    } cases[] = {
        {0, {0, 0, 0, 8}, ""},
        // Every grantor over the same bytes is accepted, as libfmq accepts it.
        {2, {0, 0, 0, 4096}, ""},
        {0, {0, 5, 0, 8}, "fdIndex (5) from grantor (index 0) must be smaller than the number of "
                          "fds in the handle: 1"},
        {1, {0, 0, 12, 8}, "Grantor (index 1) offset needs to be aligned to word boundary but "
                           "is: 12"},
        {0, {0, 0, 0, 0xfffff041}, "Grantor (index 0) extent value is too small or too large: "
                                   "4294963265"},
        {1, {0, 0, 8, 4}, "Grantor (index 1) extent value is too small or too large: 4"},
        {3, {0, 0, 0x7ffffff8, 8}, "Grantor (index 3) at offset 2147483640 with extent 8 ends "
                                   "past the mappable range"},
        {2, {0, 0, 64, 4096}, "Grantor (index 2) at offset 64 with extent 4096 ends past its "
                              "memory of 4096 bytes"},
    };
    for (const Case& c : cases) {
        std::vector<GrantorDescriptor> grantors = {
            {0, 0, 0, 8}, {0, 0, 8, 8}, {0, 0, 64, 256}, {0, 0, 16, 4}};
        grantors[c.grantor] = c.changed;
        native_handle_t* handle = native_handle_create(1, 0);
        handle->data[0] = memfd_create("queue", MFD_CLOEXEC);
        ASSERT_EQ(ftruncate(handle->data[0], 4096), 0);
        Queue::Descriptor desc(grantors, handle, sizeof(uint32_t));
        orvex::hostlog::ScopedCapture log;
        Queue queue(desc);
        const uint32_t word = 7;
        EXPECT_EQ(queue.isValid(), c.error.empty()) << c.error;
        EXPECT_EQ(queue.write(&word), c.error.empty()) << c.error;
        std::vector<Entry> expected;
        if (!c.error.empty()) expected.push_back({6, "FMQ", c.error});
        EXPECT_EQ(log.Entries(), expected);
    }
}

TEST(EventFlag, EmptyWakesAndNegativeTimeOutsEndAtOnce) {
    Queue queue(4, true);
    EventFlag* flag = nullptr;
    ASSERT_EQ(EventFlag::createEventFlag(queue.getEventFlagWord(), &flag), ::android::OK);
    struct Case {
        uint32_t wake, mask;
        int64_t timeout;
        bool retry;
        ::android::status_t status;
        uint32_t state;
    } cases[] = {
        {0, 1, -1, false, -ETIMEDOUT, 0},  // the empty wake succeeded and set nothing
        {1, 1, -1, false, ::android::OK, 1},
        {1, 1, -1, true, -ETIMEDOUT, 0},   // checked before the bit that stays set
        {0, 1, 1, false, ::android::OK, 1},
        {0, 0, 0, false, ::android::BAD_VALUE, 99},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(flag->wake(c.wake), ::android::OK);
        uint32_t state = 99;
        EXPECT_EQ(flag->wait(c.mask, &state, c.timeout, c.retry), c.status) << c.wake << c.retry;
        EXPECT_EQ(state, c.state);
    }
    EXPECT_EQ(EventFlag::deleteEventFlag(&flag), ::android::OK);
    // A word mapped from a descriptor's memory: the offset is the mapping's, so page-aligned.
    int fd = queue.getDesc()->handle()->data[0];
    orvex::hostlog::ScopedCapture log;
    EXPECT_EQ(EventFlag::createEventFlag(fd, 128, &flag), -EINVAL);
    EXPECT_EQ(flag, nullptr);
    EXPECT_EQ(log.Entries(), (std::vector<Entry>{{6, "FMQ", "Attempt to mmap event flag word "
                                                            "failed: Invalid argument"}}));
    ASSERT_EQ(EventFlag::createEventFlag(fd, 0, &flag), ::android::OK);
    EXPECT_EQ(EventFlag::deleteEventFlag(&flag), ::android::OK);
}

}  // namespace
