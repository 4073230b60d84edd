// A one-shot signal between two threads: one thread waits until another signals. Used by the
// timer service so that a caller can wait until the timer thread has acted on its request, and
// by Utils::TransferQueue to wake its consumer.
#pragma once

#include <pthread.h>
#include <stdint.h>

class WaitLock {
  public:
    // Never throws; a failing pthread call is logged and construction goes on.
    WaitLock();
    ~WaitLock();
    WaitLock(const WaitLock&) = delete;
    WaitLock& operator=(const WaitLock&) = delete;

    // Returns at once when a signal is pending, otherwise waits for the next one; either way the
    // signal is then cleared. The wait is done once, not in a loop, so a wake-up without a
    // signal (a spurious one, or a broadcast another waiter consumed) also ends it: callers that
    // must know check their own state afterwards.
    void Wait() {
        pthread_mutex_lock(&m_Mutex);
        if (m_Signalled == 0) pthread_cond_wait(&m_Condition, &m_Mutex);
        m_Signalled = 0;
        pthread_mutex_unlock(&m_Mutex);
    }

    // Sets the signal and wakes every waiter. A signal nobody waits for is remembered, once.
    void Signal() {
        pthread_mutex_lock(&m_Mutex);
        m_Signalled = 1;
        pthread_cond_broadcast(&m_Condition);
        pthread_mutex_unlock(&m_Mutex);
    }

    // Forgets a pending signal.
    void Reset() {
        pthread_mutex_lock(&m_Mutex);
        m_Signalled = 0;
        pthread_mutex_unlock(&m_Mutex);
    }

    // Whether a signal is pending.
    bool IsSignalled() {
        pthread_mutex_lock(&m_Mutex);
        bool signalled = m_Signalled != 0;
        pthread_mutex_unlock(&m_Mutex);
        return signalled;
    }

  private:
    pthread_cond_t m_Condition;
    pthread_mutex_t m_Mutex;
    int32_t m_Signalled = 0;  // guarded by m_Mutex
};
