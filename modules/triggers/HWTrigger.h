// The hardware trigger module: trigger key events from the hardware manager's ITrigger,
// delivered through a fast message queue to the caller's callback.
//
// Threads: the caller's thread runs every operation; one reader thread per acquired module
// turns queue records into OnKeyEvent/OnPreKeyEvent calls; a HIDL runtime thread runs the
// death handling, which reconnects without any call from the caller. m_trigHalLock (shared by
// all instances) serialises acquire, release, start, stop, simulate and the death handling,
// and guards the TriggerHal cache. The reader thread takes no lock: it is stopped only through
// bit 4 of the event flag and a join.
#pragma once

#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <hidl/HidlSupport.h>
#include <pthread.h>
#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/ITrigger.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "CallGate.h"
#include "ComponentIndex.h"
#include "PlatformModuleInterfaces.h"

// Runs a function when a linked HIDL service dies. Used only by the hardware trigger.
class HIDLDeathNotifier {
  public:
    class DeathNotifier : public android::hardware::hidl_death_recipient {
      public:
        // Runs on a HIDL runtime thread; the function must have been set.
        void serviceDied(uint64_t cookie,
                         const android::wp<android::hidl::base::V1_0::IBase>& who) override;
        void SetFunction(std::function<void()> function) { m_Function = std::move(function); }

      private:
        std::function<void()> m_Function;
    };

    HIDLDeathNotifier() : m_DeathNotifier(new DeathNotifier) {}

    // Configures the HIDL thread pool (two threads, the caller does not join), takes `onDeath`
    // and links the notifier to `service`'s death with cookie 0. False when the link was
    // refused, which for a live service never happens: the service is already dead, and
    // `onDeath` will not be called for it.
    bool regForDeathNotifier(const android::sp<android::hidl::base::V1_0::IBase>& service,
                             std::function<void()> onDeath);

    const android::sp<DeathNotifier>& notifier() const { return m_DeathNotifier; }

  private:
    android::sp<DeathNotifier> m_DeathNotifier;
};

// The process-wide connection to the trigger interface. Touched only under m_trigHalLock.
class TriggerHal {
  public:
    // The cached trigger interface, fetched anew when nothing is cached or the cached manager
    // no longer answers ping.
    static android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::ITrigger> associateforTrigger();

    static android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager> sp_IDCHWManager;
    static android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::ITrigger> sp_ITrigger;
    static bool b_HWTriggerInit;
};

template <AndroidVersion T>
class HWTrigger : public IHWTriggerModule {
  public:
    HWTrigger();
    // Drops the interface reference only: ReleaseHWTrigger must come first. It also waits for
    // a death notice that is being delivered to this module and turns away any later one, so
    // that a module deleted right after its release is never touched by a late notice.
    ~HWTrigger() override;

    bool IsSupported() override;
    char const* GetModuleName() override;
    bool Initialize(ITriggerKeyEventWrapperCallBack* callback) override;
    bool AcquireHWTrigger() override;
    bool ReleaseHWTrigger() override;
    // Start, stop and simulate answer true without a connection: a device without a hardware
    // trigger must not fail them.
    bool StartTrigger() override;
    bool StopTrigger() override;
    bool SimulateTrigger(uint32_t first, uint32_t second) override;
    int GetPressedTrigger() override;
    bool ResetPressedTrigger() override;

    // The death handling, on a HIDL thread: stops the reader and connects again.
    bool handlDCHWManagerDeath();

    static constexpr size_t kNumElementsInQueue = 16;

    // Bits of the key-event queue's event-flag word.
    static constexpr uint32_t kDataAvailable = 1;  // set by the service
    static constexpr uint32_t kRecordTaken = 2;    // set by the reader thread
    static constexpr uint32_t kStopReader = 4;     // set by release and the death handling

    class _thread_register {
      public:
        _thread_register() {
            ComponentIndex::Instance()->AddPlatformModule(&Constructor<HWTrigger<T>>,
                                                          PLATFORM_MODULE_HW_TRIGGER, "HWTrigger");
        }
    };
    static _thread_register Obj;

  private:
    using KeyEventQueue =
        android::hardware::MessageQueue<uint32_t, android::hardware::kSynchronizedReadWrite>;

    static void* ThreadProcWrapper(void* self);
    void ThreadProc();

    // Read by the reader thread without a lock; relaxed ordering is enough because the thread
    // is stopped by the event flag and a join, never by this flag alone.
    std::atomic<bool> m_bRunning;
    int32_t m_iThreadResult;
    pthread_t m_ReaderThread;
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::ITrigger> sp_Trigger;
    KeyEventQueue* m_pKeyEventQueue;
    ITriggerKeyEventWrapperCallBack* m_pKeyEventCallback;
    android::hardware::EventFlag* m_pEventFlag;
    HIDLDeathNotifier* m_pDeathNotifier;
    // Lets a death notice reach the module only while it exists: the notifier's function holds
    // the gate, not the module, and the destructor closes it.
    const std::shared_ptr<CallGate<HWTrigger>> m_pDeathGate;

    static std::mutex m_trigHalLock;
};
