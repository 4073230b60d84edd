// The host's libfmq, libhidl and libutils where a naive implementation would differ from
// Android's own: descriptors from another process checked before they are mapped, event-flag edge
// cases, shared empty buffers and zeroed padding, raw strong counts, weak references told apart
// by reference block, and libutils' UTF conversions.

#include <errno.h>
#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <utils/String16.h>
#include <utils/String8.h>

#include <memory>

#include "orvex/log_capture.h"

namespace {

using namespace ::android;
using namespace ::android::hardware;
using orvex::hostlog::Entry;
using Queue = MessageQueue<uint32_t, kSynchronizedReadWrite>;

TEST(MessageQueue, DescriptorsThatPlaceAGrantorBadlyGiveAnInvalidQueue) {
    struct Case {
        size_t grantor;
        GrantorDescriptor changed;
        std::string error;
    } cases[] = {
        {0, {0, 0, 0, 8}, ""},
        {2, {0, 0, 0, 4096}, ""},  // grantors over the same bytes are accepted, as by libfmq
        {0, {0, 5, 0, 8}, "Grantor 0: fdIndex 5 is past the 1 fds"},
        {1, {0, 0, 12, 8}, "Grantor 1: offset 12 is not word-aligned"},
        {0, {0, 0, 0, 0xfffff041}, "Grantor 0: extent 4294963265 is out of range"},
        {1, {0, 0, 8, 4}, "Grantor 1: extent 4 is out of range"},
        {3, {0, 0, 0x7ffffff8, 8}, "Grantor 3: ends at 2147483648, past what maps"},
        {2, {0, 0, 64, 4096}, "Grantor 2: ends at 4160, past the 4096 bytes"},
    };
    for (const Case& c : cases) {
        std::vector<GrantorDescriptor> grantors = {
            {0, 0, 0, 8}, {0, 0, 8, 8}, {0, 0, 64, 256}, {0, 0, 16, 4}};
        grantors[c.grantor] = c.changed;
        native_handle_t* handle = native_handle_create(1, 0);
        handle->data[0] = memfd_create("queue", MFD_CLOEXEC);
        ASSERT_EQ(ftruncate(handle->data[0], 4096), 0);
        orvex::hostlog::ScopedCapture log;
        Queue queue(Queue::Descriptor(grantors, handle, sizeof(uint32_t)));
        const uint32_t word = 7;
        EXPECT_EQ(queue.isValid() + queue.write(&word), c.error.empty() ? 2 : 0) << c.error;
        auto expected =
            c.error.empty() ? std::vector<Entry>{} : std::vector<Entry>{{6, "FMQ", c.error}};
        EXPECT_EQ(log.Entries(), expected);
    }
}

TEST(MessageQueue, CountersTheOtherSideCorruptedFailOneReadThenTheQueueGoesOn) {
    const int fd = memfd_create("queue", MFD_CLOEXEC);
    ASSERT_EQ(ftruncate(fd, 4096), 0);
    auto* counters = static_cast<uint64_t*>(mmap(nullptr, 16, PROT_WRITE, MAP_SHARED, fd, 0));
    native_handle_t* handle = native_handle_create(1, 0);
    handle->data[0] = fd;
    Queue queue(Queue::Descriptor({{0, 0, 0, 8}, {0, 0, 8, 8}, {0, 0, 64, 16}}, handle, 4));
    uint32_t word = 7;
    counters[1] = 40;  // the writer 40 bytes ahead of a 16-byte ring
    EXPECT_TRUE(queue.availableToRead() == 10 && !queue.read(&word) && counters[0] == 40);
    EXPECT_TRUE(queue.write(&word) && queue.read(&word) && word == 7);
    orvex::hostlog::ScopedCapture log;
    counters[1] = 46;
    EXPECT_FALSE(queue.read(&word));
    EXPECT_EQ(log.Entries(),
              (std::vector<Entry>{{6, "FMQ",
                                   "The write or read pointer has become misaligned. Reading from "
                                   "the queue is no longer possible."}}));
    munmap(counters, 16);
}

TEST(EventFlag, EmptyWakesAndNegativeTimeOutsEndAtOnce) {
    Queue queue(4, true);
    EventFlag* flag = nullptr;
    ASSERT_EQ(EventFlag::createEventFlag(queue.getEventFlagWord(), &flag), OK);
    struct Case {
        uint32_t wake, mask;
        int64_t timeout;
        bool retry;
        status_t status;
        uint32_t state;
    } cases[] = {
        {0, 1, -1, false, -ETIMEDOUT, 0},  // the empty wake succeeded and set nothing
        {1, 1, -1, false, OK, 1},
        {1, 1, -1, true, -ETIMEDOUT, 0},  // checked before the bit that stays set
        {0, 1, 1, false, OK, 1},
    };
    for (const Case& c : cases) {
        uint32_t state = 99;
        EXPECT_EQ(flag->wake(c.wake), OK);
        EXPECT_EQ(flag->wait(c.mask, &state, c.timeout, c.retry), c.status) << c.wake << c.retry;
        EXPECT_EQ(state, c.state);
    }
    EXPECT_EQ(EventFlag::deleteEventFlag(&flag), OK);
    // A word mapped from memory: the offset is the mapping's, so page-aligned, as in libfmq.
    EXPECT_EQ(EventFlag::createEventFlag(queue.getDesc()->handle()->data[0], 128, &flag), -EINVAL);
}

TEST(HidlSupport, StringsShareTheEmptyBufferVectorsAllocateAndPaddingIsZero) {
    EXPECT_EQ(hidl_string().c_str(), hidl_string("").c_str());
    EXPECT_EQ(hidl_string(std::string()).c_str(), hidl_string("x", 0).c_str());
    const char text[] = "abc";
    hidl_string external;
    external.setToExternal(text, 3);
    EXPECT_EQ(external.c_str(), text);
    alignas(hidl_vec<int>) uint8_t bytes[16];
    memset(bytes, 0xff, sizeof(bytes));
    (new (bytes) hidl_vec<int>())->~hidl_vec();
    EXPECT_EQ(std::vector<uint8_t>(bytes + 13, bytes + 16), std::vector<uint8_t>(3, 0));
    memset(bytes, 0xff, sizeof(bytes));
    (new (bytes) hidl_handle())->~hidl_handle();
    EXPECT_EQ(std::vector<uint8_t>(bytes + 9, bytes + 16), std::vector<uint8_t>(7, 0));
    hidl_vec<int> vec(text, text + 2);
    vec.resize(0);
    std::unique_ptr<int[]> released(vec.releaseData());
    EXPECT_NE(released, nullptr);
}

// Counts references by the block it logs; `deleted` is set by the destructor.
struct Counted : RefBase {
    explicit Counted(bool* deleted) : deleted(deleted) {}
    ~Counted() override { *deleted = true; }
    bool* deleted;
};

TEST(RefBase, CountsRawlyKeepsWeaklyHeldObjectsAndComparesWeakReferencesByBlock) {
    bool deleted = false;
    orvex::hostlog::ScopedCapture log;
    Counted* object = new Counted(&deleted);
    EXPECT_EQ(object->getStrongCount(), 1 << 28);
    { wp<Counted> onlyWeak(object); }
    EXPECT_FALSE(deleted);
    String8 lost = String8::format(
        "RefBase: Object at %p lost last weak reference before it had "
        "a strong reference",
        static_cast<void*>(object));
    EXPECT_EQ(log.Entries(), (std::vector<Entry>{{5, "RefBase", lost.c_str()}}));
    sp<Counted> strong = sp<Counted>::fromExisting(sp<Counted>(object).get());
    wp<Counted> weak = strong, same = object, dead;
    EXPECT_TRUE(weak == same && weak == strong && strong == weak && !(weak < same));
    EXPECT_TRUE(object == strong && strong <= object && !(strong > object));
    dead = weak;
    strong = nullptr;
    EXPECT_TRUE(deleted);
    deleted = false;
    sp<Counted> reborn = new Counted(&deleted);  // may well sit where the dead object was
    EXPECT_FALSE(dead == wp<Counted>(reborn) || dead == reborn);
    EXPECT_EQ(dead.promote(), nullptr);
}

TEST(String, ConvertsAndGrowsAsLibutilsDoes) {
    struct Case {
        std::u16string utf16;
        std::string utf8;
        bool fromUtf16, fromUtf8;
    } cases[] = {
        {u"\xd841\xdc41", "\xf0\xa0\x91\x81", true, true},
        {u"\xd841\xd841\xdc41", "\xf0\xa0\x91\x81", true, false},  // a lone surrogate is dropped
        {u"a\xdc00\x62", "ab", true, false},
        {std::u16string(u"a\0b", 3), std::string("a\0b", 3), true, true},
        {u"", "ab\xe2\x82", false, true},    // a sequence cut short empties the whole text
        {u"\xc1", "\xc3\x41", false, true},  // continuation bytes are not checked
        {u"a\x80", "a\x80", false, true},
    };
    for (const Case& c : cases) {
        if (c.fromUtf16) {
            String8 s8(String16(c.utf16.data(), c.utf16.size()));
            EXPECT_EQ(std::string(s8.c_str(), s8.size()), c.utf8);
        }
        if (c.fromUtf8) {
            String16 s16(c.utf8.data(), c.utf8.size());
            EXPECT_EQ(std::u16string(s16.c_str(), s16.size()), c.utf16) << c.utf8;
        }
    }
    EXPECT_EQ(String8(U"\x7f\x7ff\x911\x10fffe\xd800\x110000").size(), 10u);
    String8 s8("foo");
    EXPECT_TRUE(s8.append("bar") == OK && s8.append("baz", SIZE_MAX) == NO_MEMORY &&
                s8 == "foobar");
    EXPECT_TRUE(String8("a\0b", 3) == String8("a\0c", 3));  // compared as C strings
    String16 s16(u"ac");
    EXPECT_TRUE(s16.insert(1, u"b") == OK && s16.insert(99, u"d") == OK &&
                s16.replaceAll(u'b', u'x') == OK && s16.append(u"e", SIZE_MAX) == NO_MEMORY);
    EXPECT_TRUE(s16 == u"axcd");
}

}  // namespace
