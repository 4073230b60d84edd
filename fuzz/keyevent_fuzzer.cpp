// The key-event queue records, as the hardware trigger's reader thread takes them from a real
// fast message queue. The trigger module is acquired once against a scripted hardware manager
// whose trigger keeps the queue the module hands it; each input is then a list of steps on
// that queue, the service's side of it:
//   a byte with bit 0 clear: write (byte >> 1) % 17 words, taken from the next 4 bytes each
//                            (missing bytes read as 0), without waking the reader;
//   a byte with bit 0 set:   wake the reader (bit 1) and wait until it took a record (bit 2).
// What the reader must do at each wake: read everything the queue holds and deliver only the
// first record (words missing from a short record read as 0), type 1 to OnKeyEvent and any
// other type to OnPreKeyEvent, exactly once. A write the queue has no room for must fail.

#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <orvex/hidl_registry.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <deque>
#include <mutex>
#include <vector>

#include "FakeDCHWManager.h"
#include "FuzzSupport.h"
#include "HWTrigger.h"

namespace {

using android::hardware::EventFlag;
using android::hardware::MQDescriptorSync;
using android::hardware::Return;
using android::hardware::Void;
namespace dch = vendor::tevrin::hardware::dchwmanager::V1_0;

using KeyQueue =
    android::hardware::MessageQueue<uint32_t, android::hardware::kSynchronizedReadWrite>;

constexpr size_t kCapacity = 16;
constexpr uint32_t kDataAvailable = 1;
constexpr uint32_t kRecordTaken = 2;
constexpr int64_t kTakeTimeoutNs = 10LL * 1000 * 1000 * 1000;

[[noreturn]] void Fail() { __builtin_trap(); }

// The trigger service's side: keeps the client's queue so that the fuzzer writes into it.
class QueueKeepingTrigger : public dch::ITrigger {
  public:
    Return<bool> acquireTrigger() override { return true; }
    Return<bool> releaseTrigger() override { return true; }
    Return<bool> startTrigger() override { return true; }
    Return<bool> stopTrigger() override { return true; }
    Return<bool> simulateTrigger(uint32_t, uint32_t) override { return true; }
    Return<bool> setKeyEventQueue(const MQDescriptorSync<uint32_t>& desc) override {
        queue.reset(new KeyQueue(desc, false));
        if (!queue->isValid() ||
            EventFlag::createEventFlag(queue->getEventFlagWord(), &flag) != android::OK) {
            Fail();
        }
        return true;
    }
    Return<void> reserved7() override { return Void(); }
    Return<int32_t> getPressedTrigger() override { return 0; }
    Return<bool> resetPressedTrigger() override { return true; }

    std::unique_ptr<KeyQueue> queue;
    EventFlag* flag = nullptr;
};

struct Delivery {
    bool key;
    uint32_t first;
    uint32_t second;
    bool operator==(const Delivery& o) const {
        return key == o.key && first == o.first && second == o.second;
    }
};

// Runs on the module's reader thread.
class RecordingCallback : public ITriggerKeyEventWrapperCallBack {
  public:
    void OnKeyEvent(unsigned int first, unsigned int second) override {
        Add({true, first, second});
    }
    void OnPreKeyEvent(unsigned int first, unsigned int second) override {
        Add({false, first, second});
    }
    std::vector<Delivery> Take() {
        std::lock_guard<std::mutex> lock(mLock);
        std::vector<Delivery> out;
        out.swap(mDeliveries);
        return out;
    }

  private:
    void Add(const Delivery& d) {
        std::lock_guard<std::mutex> lock(mLock);
        mDeliveries.push_back(d);
    }
    std::mutex mLock;
    std::vector<Delivery> mDeliveries;  // GUARDED_BY(mLock)
};

struct World {
    android::sp<QueueKeepingTrigger> trigger;
    RecordingCallback callback;
    HWTrigger<(AndroidVersion)10>* module = nullptr;
};

World& TheWorld() {
    static World* world = [] {
        orvex::fuzz::Setup();
        auto* w = new World;
        w->trigger = new QueueKeepingTrigger;
        android::sp<orvex::sim::FakeDCHWManager> manager = new orvex::sim::FakeDCHWManager;
        manager->SetTrigger(w->trigger);
        orvex::hidl::RegisterService<dch::IDCHWManager>(manager, "default");
        w->module = new HWTrigger<(AndroidVersion)10>();
        if (!w->module->Initialize(&w->callback) || !w->module->AcquireHWTrigger()) Fail();
        if (w->trigger->queue == nullptr) Fail();
        return w;
    }();
    return *world;
}

// Wakes the reader for what `pending` holds and checks what it delivered.
void WakeAndCheck(World& world, std::deque<uint32_t>& pending) {
    uint32_t record[3] = {0, 0, 0};
    for (size_t i = 0; i < 3 && i < pending.size(); ++i) record[i] = pending[i];
    pending.clear();
    world.trigger->flag->wake(kDataAvailable);
    uint32_t state = 0;
    if (world.trigger->flag->wait(kRecordTaken, &state, kTakeTimeoutNs, true) != android::OK) {
        Fail();  // the reader never took it
    }
    if (world.trigger->queue->availableToRead() != 0) Fail();
    const std::vector<Delivery> expected = {{record[0] == 1, record[1], record[2]}};
    if (world.callback.Take() != expected) Fail();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    World& world = TheWorld();
    std::deque<uint32_t> pending;  // what the queue holds, oldest first
    size_t i = 0;
    while (i < size) {
        const uint8_t step = data[i++];
        if (step & 1) {
            WakeAndCheck(world, pending);
            continue;
        }
        const size_t count = (step >> 1) % (kCapacity + 1);
        uint32_t words[kCapacity] = {};
        for (size_t w = 0; w < count; ++w) {
            uint8_t bytes[4] = {};
            for (size_t b = 0; b < 4 && i < size; ++b) bytes[b] = data[i++];
            memcpy(&words[w], bytes, sizeof bytes);
        }
        const bool fits = count <= kCapacity - pending.size();
        if (world.trigger->queue->write(words, count) != fits) Fail();
        if (fits) pending.insert(pending.end(), words, words + count);
    }
    // The next input starts from an empty queue.
    if (!pending.empty()) WakeAndCheck(world, pending);
    return 0;
}
