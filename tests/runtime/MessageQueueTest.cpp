// The fast message queue and its event flag: ring arithmetic, refusal of overflow and
// underflow, two mappings of one descriptor, and futex waits across mappings.

#include <dirent.h>
#include <errno.h>
#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <numeric>
#include <thread>
#include <vector>

namespace {

using ::android::BAD_VALUE;
using ::android::OK;
using ::android::hardware::EventFlag;
using ::android::hardware::kSynchronizedReadWrite;
using ::android::hardware::MQDescriptorSync;
using Queue = ::android::hardware::MessageQueue<uint32_t, kSynchronizedReadWrite>;

constexpr auto kWait = std::chrono::seconds(10);

size_t OpenDescriptors() {
    size_t n = 0;
    DIR* dir = opendir("/proc/self/fd");
    while (dirent* e = readdir(dir)) n += e->d_name[0] != '.';
    closedir(dir);
    return n;
}

std::vector<uint32_t> Sequence(uint32_t first, size_t count) {
    std::vector<uint32_t> v(count);
    std::iota(v.begin(), v.end(), first);
    return v;
}

class MessageQueueTest : public ::testing::Test {
  protected:
    void SetUp() override {
        mQueue.reset(new Queue(16, true));
        ASSERT_TRUE(mQueue->isValid());
    }
    std::unique_ptr<Queue> mQueue;
};

TEST_F(MessageQueueTest, NewQueueIsEmptyWithItsConfiguredShape) {
    EXPECT_EQ(mQueue->getQuantumSize(), sizeof(uint32_t));
    EXPECT_EQ(mQueue->getQuantumCount(), 16u);
    EXPECT_EQ(mQueue->availableToRead(), 0u);
    EXPECT_EQ(mQueue->availableToWrite(), 16u);
    ASSERT_NE(mQueue->getEventFlagWord(), nullptr);
    EXPECT_EQ(mQueue->getEventFlagWord()->load(), 0u);
    EXPECT_EQ(mQueue->getDesc()->getSize(), 16 * sizeof(uint32_t));
    EXPECT_EQ(Queue(4, false).getEventFlagWord(), nullptr);
}

TEST_F(MessageQueueTest, WritesAndReadsWrapAroundTheRing) {
    // Each step: write n, then read m; the counters after it.
    struct Step {
        size_t write, read, toRead, toWrite;
    } steps[] = {{10, 10, 0, 16}, {12, 5, 7, 9}, {9, 16, 0, 16}, {16, 15, 1, 15}, {15, 16, 0, 16}};
    uint32_t next = 1;
    uint32_t expected = 1;
    for (const Step& s : steps) {
        std::vector<uint32_t> in = Sequence(next, s.write);
        ASSERT_TRUE(mQueue->write(in.data(), in.size()));
        next += s.write;
        std::vector<uint32_t> out(s.read);
        ASSERT_TRUE(mQueue->read(out.data(), out.size()));
        EXPECT_EQ(out, Sequence(expected, s.read));
        expected += s.read;
        EXPECT_EQ(mQueue->availableToRead(), s.toRead);
        EXPECT_EQ(mQueue->availableToWrite(), s.toWrite);
    }
}

TEST_F(MessageQueueTest, NeitherOverflowsNorUnderflows) {
    uint32_t one = 7;
    EXPECT_FALSE(mQueue->read(&one));
    EXPECT_EQ(one, 7u);
    std::vector<uint32_t> full = Sequence(100, 16);
    std::vector<uint32_t> tooMany = Sequence(0, 17);
    EXPECT_FALSE(mQueue->write(tooMany.data(), tooMany.size()));
    EXPECT_EQ(mQueue->availableToRead(), 0u);
    ASSERT_TRUE(mQueue->write(full.data(), full.size()));
    EXPECT_FALSE(mQueue->write(&one));
    EXPECT_EQ(mQueue->availableToWrite(), 0u);
    std::vector<uint32_t> out(17, 0);
    EXPECT_FALSE(mQueue->read(out.data(), 17));
    EXPECT_EQ(mQueue->availableToRead(), 16u);
    ASSERT_TRUE(mQueue->read(out.data(), 16));
    out.resize(16);
    EXPECT_EQ(out, full);
    EXPECT_TRUE(mQueue->write(&one, 0));
    EXPECT_TRUE(mQueue->read(&one, 0));
}

TEST_F(MessageQueueTest, TwoMappingsOfOneDescriptorShareDataAndEventFlagWord) {
    Queue other(*mQueue->getDesc(), false);
    ASSERT_TRUE(other.isValid());
    EXPECT_NE(other.getEventFlagWord(), mQueue->getEventFlagWord());

    std::vector<uint32_t> in = {1, 2, 3};
    ASSERT_TRUE(other.write(in.data(), in.size()));
    EXPECT_EQ(mQueue->availableToRead(), 3u);
    std::vector<uint32_t> out(3);
    ASSERT_TRUE(mQueue->read(out.data(), 3));
    EXPECT_EQ(out, in);
    EXPECT_EQ(other.availableToWrite(), 16u);

    other.getEventFlagWord()->store(5);
    EXPECT_EQ(mQueue->getEventFlagWord()->load(), 5u);

    // A queue built with reset pointers starts empty, whatever was in the memory.
    ASSERT_TRUE(other.write(in.data(), in.size()));
    Queue reset(*mQueue->getDesc(), true);
    EXPECT_EQ(mQueue->availableToRead(), 0u);
}

TEST_F(MessageQueueTest, RejectsDescriptorsThatDoNotDescribeItsElements) {
    const MQDescriptorSync<uint32_t>& good = *mQueue->getDesc();
    std::vector<::android::hardware::GrantorDescriptor> grantors = good.grantors();
    struct Case {
        const char* what;
        MQDescriptorSync<uint32_t> desc;
    } cases[] = {
        {"empty", MQDescriptorSync<uint32_t>()},
        {"wrong quantum",
         MQDescriptorSync<uint32_t>(grantors, native_handle_clone(good.handle()), 8)},
        {"no grantors", MQDescriptorSync<uint32_t>({}, native_handle_clone(good.handle()), 4)},
    };
    for (const Case& c : cases) EXPECT_FALSE(Queue(c.desc).isValid()) << c.what;
    EXPECT_FALSE(Queue(0).isValid());
}

TEST(MessageQueueDescriptors, QueuesAndTheirCopiesLeaveNoDescriptorBehind) {
    size_t before = OpenDescriptors();
    {
        Queue queue(16, true);
        Queue peer(*queue.getDesc());
        MQDescriptorSync<uint32_t> copy = *queue.getDesc();
        EXPECT_EQ(OpenDescriptors(), before + 3);
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

class EventFlagTest : public MessageQueueTest {
  protected:
    void SetUp() override {
        MessageQueueTest::SetUp();
        ASSERT_EQ(EventFlag::createEventFlag(mQueue->getEventFlagWord(), &mFlag), OK);
    }
    void TearDown() override {
        EXPECT_EQ(EventFlag::deleteEventFlag(&mFlag), OK);
        EXPECT_EQ(mFlag, nullptr);
    }
    EventFlag* mFlag = nullptr;
};

TEST_F(EventFlagTest, WaitTakesOnlyTheBitsOfItsMask) {
    ASSERT_EQ(mFlag->wake(1 | 2), OK);
    uint32_t state = 0;
    ASSERT_EQ(mFlag->wait(1 | 4, &state), OK);
    EXPECT_EQ(state, 1u);
    EXPECT_EQ(mQueue->getEventFlagWord()->load(), 2u);
    ASSERT_EQ(mFlag->wait(2, &state), OK);
    EXPECT_EQ(state, 2u);
    EXPECT_EQ(mQueue->getEventFlagWord()->load(), 0u);
}

TEST_F(EventFlagTest, RejectsEmptyMasksAndMissingPointers) {
    uint32_t state;
    EXPECT_EQ(mFlag->wake(0), BAD_VALUE);
    EXPECT_EQ(mFlag->wait(0, &state), BAD_VALUE);
    EXPECT_EQ(mFlag->wait(1, nullptr), BAD_VALUE);
    EventFlag* flag = nullptr;
    EXPECT_EQ(EventFlag::createEventFlag(static_cast<std::atomic<uint32_t>*>(nullptr), &flag),
              BAD_VALUE);
    EXPECT_EQ(EventFlag::deleteEventFlag(&flag), BAD_VALUE);
}

TEST_F(EventFlagTest, WaitWithATimeOutAndNothingSetTimesOut) {
    uint32_t state = 9;
    EXPECT_EQ(mFlag->wait(1, &state, 1000000, false), -ETIMEDOUT);
    EXPECT_EQ(state, 0u);
    EXPECT_EQ(mFlag->wait(1, &state, 1000000, true), -ETIMEDOUT);
}

TEST_F(EventFlagTest, BlockingWaitIsWokenByWakeThroughAnotherMapping) {
    // The waker maps the word itself, from the queue's memory descriptor, as a service would.
    const MQDescriptorSync<uint32_t>* desc = mQueue->getDesc();
    EventFlag* waker = nullptr;
    ASSERT_EQ(EventFlag::createEventFlag(
                  desc->handle()->data[0],
                  desc->grantors()[MQDescriptorSync<uint32_t>::EVFLAGWORDPOS].offset, &waker),
              OK);
    auto waiter = std::async(std::launch::async, [&] {
        uint32_t state = 0;
        ::android::status_t status = mFlag->wait(4, &state, 0, true);
        return std::make_pair(status, state);
    });
    ASSERT_EQ(waker->wake(4), OK);
    ASSERT_EQ(waiter.wait_for(kWait), std::future_status::ready);
    auto result = waiter.get();
    EXPECT_EQ(result.first, OK);
    EXPECT_EQ(result.second, 4u);
    EXPECT_EQ(EventFlag::deleteEventFlag(&waker), OK);
}

}  // namespace
