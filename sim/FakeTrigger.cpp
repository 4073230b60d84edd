#include "FakeTrigger.h"

#include <string>

namespace orvex {
namespace sim {

using ::android::hardware::EventFlag;
using ::android::hardware::MQDescriptorSync;
using ::android::hardware::Return;
using ::android::hardware::Void;

FakeTrigger::Channel::~Channel() {
    if (flag != nullptr) EventFlag::deleteEventFlag(&flag);
}

FakeTrigger::~FakeTrigger() { StopWriter(); }

void FakeTrigger::SetAnswers(const Answers& answers) {
    std::lock_guard<std::mutex> lock(mLock);
    mAnswers = answers;
}

FakeTrigger::Answers FakeTrigger::GetAnswers() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mAnswers;
}

bool FakeTrigger::Press(uint32_t type, uint32_t first, uint32_t second) {
    return PressTogether({Record{type, first, second}});
}

bool FakeTrigger::PressTogether(const std::vector<Record>& records) {
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mChannel == nullptr || mStop) return false;
        mPending.push_back(records);
    }
    mChanged.notify_all();
    return true;
}

bool FakeTrigger::WaitIdle(std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mLock);
    return mChanged.wait_for(lock, timeout, [&] { return mPending.empty() && !mWriting; });
}

size_t FakeTrigger::RecordsWritten() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mWritten;
}

bool FakeTrigger::HasQueue() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mChannel != nullptr;
}

void FakeTrigger::SetWriteObserver(std::function<void(const std::vector<Record>&)> observer) {
    std::lock_guard<std::mutex> lock(mLock);
    mObserver = std::move(observer);
}

Return<bool> FakeTrigger::acquireTrigger() {
    calls().Add("acquireTrigger()");
    return GetAnswers().acquireTrigger;
}

Return<bool> FakeTrigger::releaseTrigger() {
    calls().Add("releaseTrigger()");
    StopWriter();
    return GetAnswers().releaseTrigger;
}

Return<bool> FakeTrigger::startTrigger() {
    calls().Add("startTrigger()");
    return GetAnswers().startTrigger;
}

Return<bool> FakeTrigger::stopTrigger() {
    calls().Add("stopTrigger()");
    return GetAnswers().stopTrigger;
}

Return<bool> FakeTrigger::simulateTrigger(uint32_t first, uint32_t second) {
    calls().Add("simulateTrigger(" + std::to_string(first) + ", " + std::to_string(second) + ")");
    return GetAnswers().simulateTrigger;
}

Return<bool> FakeTrigger::setKeyEventQueue(const MQDescriptorSync<uint32_t>& queue) {
    bool valid = queue.isHandleValid() && queue.getQuantum() == sizeof(uint32_t);
    // Recorded once the queue is taken, so that a test seeing the call can press at once.
    std::string call =
        "setKeyEventQueue(" +
        (valid ? std::to_string(queue.getSize() / queue.getQuantum()) : std::string("invalid")) +
        ")";
    bool answer = GetAnswers().setKeyEventQueue;
    StopWriter();
    if (!valid) {
        calls().Add(call);
        return answer;
    }

    auto channel = std::make_shared<Channel>();
    // The client made the queue empty; a reset here could hide a record it already wrote.
    channel->queue.reset(new KeyQueue(queue, false));
    if (!channel->queue->isValid() || channel->queue->getEventFlagWord() == nullptr ||
        EventFlag::createEventFlag(channel->queue->getEventFlagWord(), &channel->flag) !=
            ::android::OK) {
        calls().Add(call);
        return answer;
    }
    {
        std::lock_guard<std::mutex> writerLock(mWriterLock);
        {
            std::lock_guard<std::mutex> lock(mLock);
            mChannel = channel;
            mStop = false;
        }
        mWriter = std::thread(&FakeTrigger::WriterLoop, this, channel);
    }
    calls().Add(call);
    return answer;
}

Return<void> FakeTrigger::reserved7() {
    calls().Add("reserved7()");
    return Void();
}

Return<int32_t> FakeTrigger::getPressedTrigger() {
    calls().Add("getPressedTrigger()");
    return GetAnswers().getPressedTrigger;
}

Return<bool> FakeTrigger::resetPressedTrigger() {
    calls().Add("resetPressedTrigger()");
    return GetAnswers().resetPressedTrigger;
}

void FakeTrigger::OnDeath() { StopWriter(); }

void FakeTrigger::StopWriter() {
    std::lock_guard<std::mutex> writerLock(mWriterLock);
    std::shared_ptr<Channel> channel;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mStop = true;
        channel = mChannel;
    }
    mChanged.notify_all();
    // A writer waiting for its record to be taken gives up on it.
    if (channel != nullptr) channel->flag->wake(kRecordTaken);
    if (mWriter.joinable()) mWriter.join();
    {
        std::lock_guard<std::mutex> lock(mLock);
        mChannel.reset();
        mPending.clear();
        mWriting = false;
    }
    mChanged.notify_all();
}

void FakeTrigger::WriterLoop(std::shared_ptr<Channel> channel) {
    std::unique_lock<std::mutex> lock(mLock);
    for (;;) {
        mChanged.wait(lock, [&] { return mStop || !mPending.empty(); });
        if (mStop) return;
        std::vector<Record> batch = std::move(mPending.front());
        mPending.pop_front();
        mWriting = true;
        auto observer = mObserver;
        lock.unlock();

        std::vector<uint32_t> words;
        for (const Record& r : batch) words.insert(words.end(), {r.type, r.first, r.second});
        if (observer) observer(batch);
        bool written = channel->queue->write(words.data(), words.size());
        if (written) {
            channel->flag->wake(kDataAvailable);
            uint32_t state = 0;
            channel->flag->wait(kRecordTaken, &state, 0, true);
        }

        lock.lock();
        if (written) mWritten += batch.size();
        mWriting = false;
        mChanged.notify_all();
    }
}

}  // namespace sim
}  // namespace orvex
