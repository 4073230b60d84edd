// The hardware trigger module. The lock handling is explicit (lock/unlock) because the death
// handling deliberately returns early with the lock still held, and callers rely on the exact
// sequences below.

#include "HWTrigger.h"

#include <hidl/HidlTransportSupport.h>

#include <new>
#include <thread>

#include "ScannerLog.h"

using android::sp;
using android::hardware::EventFlag;
using vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager;
using vendor::tevrin::hardware::dchwmanager::V1_0::ITrigger;

void HIDLDeathNotifier::DeathNotifier::serviceDied(
    uint64_t, const android::wp<android::hidl::base::V1_0::IBase>&) {
    // A copy, because the function may register a new function on this notifier while it runs.
    std::function<void()> function = m_Function;
    function();
}

bool HIDLDeathNotifier::regForDeathNotifier(const sp<android::hidl::base::V1_0::IBase>& service,
                                            std::function<void()> onDeath) {
    android::hardware::configureRpcThreadpool(2, false);
    m_DeathNotifier->SetFunction(std::move(onDeath));
    android::hardware::Return<bool> linked = service->linkToDeath(m_DeathNotifier, 0);
    return linked.isOk() && linked;
}

sp<IDCHWManager> TriggerHal::sp_IDCHWManager;
sp<ITrigger> TriggerHal::sp_ITrigger;
bool TriggerHal::b_HWTriggerInit = false;

sp<ITrigger> TriggerHal::associateforTrigger() {
    if (sp_IDCHWManager != nullptr || b_HWTriggerInit) {
        if (sp_IDCHWManager == nullptr) return sp_ITrigger;
        if (sp_IDCHWManager->ping().isOk()) return sp_ITrigger;
    }
    sp_IDCHWManager = IDCHWManager::getService("default", false);
    if (sp_IDCHWManager == nullptr) {
        SF_LOGE("[IDCHWManager] Unable to get IDCHWManager interface.");
        return sp_ITrigger;
    }
    sp_ITrigger = sp_IDCHWManager->getTriggerInterface();
    if (sp_ITrigger != nullptr) {
        b_HWTriggerInit = true;
        SF_LOGD("[IDCHWManager] Acquired ITrigger interface.");
    } else {
        SF_LOGE("[IDCHWManager] Unable to get ITrigger interface.");
    }
    return sp_ITrigger;
}

template <AndroidVersion T>
std::mutex HWTrigger<T>::m_trigHalLock;

template <AndroidVersion T>
HWTrigger<T>::HWTrigger()
    : m_bRunning(false),
      m_iThreadResult(-1),
      m_ReaderThread(),
      sp_Trigger(nullptr),
      m_pKeyEventQueue(nullptr),
      m_pKeyEventCallback(nullptr),
      m_pEventFlag(nullptr),
      m_pDeathNotifier(nullptr),
      m_pDeathGate(std::make_shared<CallGate<HWTrigger>>()) {
    m_pDeathGate->Set(this);
}

template <AndroidVersion T>
HWTrigger<T>::~HWTrigger() {
    m_pDeathGate->Close();
    sp_Trigger = nullptr;
    // A joined (or never started) reader no longer uses the event flag, nor a queue that a
    // failed configuration left behind. With a reader still running the caller skipped
    // ReleaseHWTrigger, and both are left to it.
    if (m_iThreadResult != 0) {
        if (m_pEventFlag != nullptr) EventFlag::deleteEventFlag(&m_pEventFlag);
        delete m_pKeyEventQueue;
        m_pKeyEventQueue = nullptr;
    }
}

template <AndroidVersion T>
bool HWTrigger<T>::IsSupported() {
    return true;
}

template <AndroidVersion T>
char const* HWTrigger<T>::GetModuleName() {
    return "HWTrigger";
}

template <AndroidVersion T>
bool HWTrigger<T>::Initialize(ITriggerKeyEventWrapperCallBack* callback) {
    m_pKeyEventCallback = callback;
    // An older notifier is not deleted: a death notice may still be running on it.
    m_pDeathNotifier = new HIDLDeathNotifier();
    return true;
}

template <AndroidVersion T>
bool HWTrigger<T>::AcquireHWTrigger() {
    m_trigHalLock.lock();
    sp_Trigger = TriggerHal::associateforTrigger();
    if (sp_Trigger == nullptr) {
        m_trigHalLock.unlock();
        SF_LOGE("[HW Trigger] is not available, Soft trigger may be available");
        return false;
    }
    bool acquired = sp_Trigger->acquireTrigger();
    if (!acquired) {
        m_trigHalLock.unlock();
        return false;
    }
    // Once the reader is joined, nobody reads a queue that a failed configuration kept: it is
    // replaced rather than leaked.
    if (m_iThreadResult != 0) delete m_pKeyEventQueue;
    m_pKeyEventQueue = new (std::nothrow) KeyEventQueue(kNumElementsInQueue, true);
    bool configured = sp_Trigger->setKeyEventQueue(*m_pKeyEventQueue->getDesc());
    if (!configured && !m_pKeyEventQueue->isValid()) {
        SF_LOGE("[HW Trigger] Configuring Queue has an error");
        m_trigHalLock.unlock();
        return false;
    }
    // The flag of the previous connection stays until here (the death handling tests for it);
    // its reader is joined by now, so it is freed instead of leaking one per reconnection.
    if (m_pEventFlag != nullptr && m_iThreadResult != 0) EventFlag::deleteEventFlag(&m_pEventFlag);
    EventFlag::createEventFlag(m_pKeyEventQueue->getEventFlagWord(), &m_pEventFlag);
    m_bRunning.store(true, std::memory_order_relaxed);
    m_iThreadResult = pthread_create(&m_ReaderThread, nullptr, ThreadProcWrapper, this);
    const bool linked = m_pDeathNotifier->regForDeathNotifier(sp_Trigger, [gate = m_pDeathGate]() {
        gate->Call([](HWTrigger* self) {
            SF_LOGI("ISS [HW Trigger] DCHWManager Died");
            self->handlDCHWManagerDeath();
        });
    });
    m_trigHalLock.unlock();
    if (!linked) {
        // The service died after handing out the queue and before the link: no notice will
        // ever come for that death, and without one the reader would wait forever on a dead
        // queue. The notice is delivered here instead, as the runtime would have delivered it:
        // on a thread of its own, while this acquisition returns as a linked one does.
        std::thread([notifier = m_pDeathNotifier->notifier()] {
            notifier->serviceDied(0, nullptr);
        }).detach();
    }
    return true;
}

template <AndroidVersion T>
bool HWTrigger<T>::ReleaseHWTrigger() {
    m_trigHalLock.lock();
    SF_LOGD("HWTrigger<T>::ReleaseHWTrigger+");
    m_bRunning.store(false, std::memory_order_relaxed);
    if (sp_Trigger != nullptr) {
        sp_Trigger->releaseTrigger().isOk();
    }
    m_pEventFlag->wake(kStopReader);
    if (m_iThreadResult == 0) {
        pthread_join(m_ReaderThread, nullptr);
        m_iThreadResult = -1;
    }
    if (sp_Trigger != nullptr) sp_Trigger->unlinkToDeath(m_pDeathNotifier->notifier()).isOk();
    TriggerHal::b_HWTriggerInit = false;
    TriggerHal::sp_IDCHWManager = nullptr;
    TriggerHal::sp_ITrigger = nullptr;
    delete m_pKeyEventQueue;
    m_pKeyEventQueue = nullptr;
    delete m_pDeathNotifier;
    m_pDeathNotifier = nullptr;
    SF_LOGD("HWTrigger<T>::ReleaseHWTrigger-");
    m_trigHalLock.unlock();
    return true;
}

template <AndroidVersion T>
bool HWTrigger<T>::StartTrigger() {
    std::lock_guard<std::mutex> lock(m_trigHalLock);
    if (sp_Trigger == nullptr) return true;
    return sp_Trigger->startTrigger();
}

template <AndroidVersion T>
bool HWTrigger<T>::StopTrigger() {
    std::lock_guard<std::mutex> lock(m_trigHalLock);
    if (sp_Trigger == nullptr) return true;
    return sp_Trigger->stopTrigger();
}

template <AndroidVersion T>
bool HWTrigger<T>::SimulateTrigger(uint32_t first, uint32_t second) {
    std::lock_guard<std::mutex> lock(m_trigHalLock);
    if (sp_Trigger == nullptr) return true;
    return sp_Trigger->simulateTrigger(first, second);
}

template <AndroidVersion T>
int HWTrigger<T>::GetPressedTrigger() {
    sp<ITrigger> trigger;
    {
        std::lock_guard<std::mutex> lock(m_trigHalLock);
        trigger = sp_Trigger;
    }
    if (trigger == nullptr) return -1;
    return static_cast<int32_t>(trigger->getPressedTrigger());
}

template <AndroidVersion T>
bool HWTrigger<T>::ResetPressedTrigger() {
    sp<ITrigger> trigger;
    {
        std::lock_guard<std::mutex> lock(m_trigHalLock);
        trigger = sp_Trigger;
    }
    if (trigger == nullptr) return false;
    return trigger->resetPressedTrigger();
}

template <AndroidVersion T>
bool HWTrigger<T>::handlDCHWManagerDeath() {
    m_trigHalLock.lock();
    if (m_pEventFlag == nullptr) {
        // Deliberately returns with the lock held.
        return true;
    }
    if (m_pKeyEventQueue == nullptr) {
        // Released while this notice was on its way (a release unlinks, but cannot recall a
        // notice already posted): the flag's word went with the queue, and there is nothing
        // left to stop or to connect again.
        m_trigHalLock.unlock();
        return false;
    }
    SF_LOGI("ISS [HW Trigger] Wake Up");
    m_bRunning.store(false, std::memory_order_relaxed);
    m_pEventFlag->wake(kStopReader);
    if (m_iThreadResult == 0) {
        pthread_join(m_ReaderThread, nullptr);
        m_iThreadResult = -1;
    }
    delete m_pKeyEventQueue;
    m_pKeyEventQueue = nullptr;
    SF_LOGI("ISS HWTrigger<T>::handlDCHWManagerDeath Done ");
    m_trigHalLock.unlock();
    return AcquireHWTrigger();
}

template <AndroidVersion T>
void* HWTrigger<T>::ThreadProcWrapper(void* self) {
    static_cast<HWTrigger<T>*>(self)->ThreadProc();
    return nullptr;
}

template <AndroidVersion T>
void HWTrigger<T>::ThreadProc() {
    if (!m_bRunning.load(std::memory_order_relaxed)) return;
    for (;;) {
        uint32_t efState = 0;
        m_pEventFlag->wait(kDataAvailable | kStopReader, &efState);
        if (efState & kStopReader) {
            SF_LOGI("KeyListner Breaking now+");
            return;
        }
        size_t available = m_pKeyEventQueue->availableToRead();
        if (efState & kDataAvailable) {
            // The whole queue is read at once; only its first record is delivered, since the
            // service writes one record and waits for kRecordTaken before the next.
            uint32_t data[kNumElementsInQueue] = {};
            if (m_pKeyEventQueue->read(data, available)) {
                if (data[0] == 1) {
                    SF_LOGD("[HW Trigger] Key event received  %d %d", data[1], data[2]);
                    m_pKeyEventCallback->OnKeyEvent(data[1], data[2]);
                } else {
                    SF_LOGD("[HW Trigger] PreKey event received  %d %d", data[1], data[2]);
                    m_pKeyEventCallback->OnPreKeyEvent(data[1], data[2]);
                }
                m_pEventFlag->wake(kRecordTaken);
            }
        }
        if (!m_bRunning.load(std::memory_order_relaxed)) return;
    }
}

template <AndroidVersion T>
typename HWTrigger<T>::_thread_register HWTrigger<T>::Obj;

template class HWTrigger<(AndroidVersion)10>;
