// Hands heap-allocated messages from any number of producer threads to one consumer thread.
#pragma once

#include <pthread.h>

#include <deque>
#include <utility>

#include "DefaultDeAllocator.h"
#include "WaitLock.h"

namespace Utils {

// Two queues: producers append to one under the queue mutex, the consumer drains the other
// without a lock and swaps them, under the mutex, only when its own has run dry. So a push holds
// the mutex just for an append and never contends with the consumer's reading.
//
// Threads: Push() from any thread; Pop() and the wait on GetWaitLock() from the one consumer
// thread only. The wake-up is edge-like: only the push that makes the producer queue non-empty
// signals, so the consumer must pop until null before it waits again:
//
//     for (;;) {
//         T* message = queue.Pop();
//         if (message == nullptr) { queue.GetWaitLock().Wait(); continue; }
//         ...; TransferQueue<T, D>::Release(message);
//     }
//
// DeAllocator releases messages for the consumer (Release); the queue itself never does, so
// messages still queued when it is destroyed are leaked.
template <typename T, typename DeAllocator>
class TransferQueue {
  public:
    TransferQueue() : m_ProducerQueue(new std::deque<T*>), m_ConsumerQueue(new std::deque<T*>) {
        pthread_mutex_init(&m_QueueMutex, nullptr);
    }

    virtual ~TransferQueue() {
        pthread_mutex_destroy(&m_QueueMutex);
        delete m_ProducerQueue;
        delete m_ConsumerQueue;
    }

    TransferQueue(const TransferQueue&) = delete;
    TransferQueue& operator=(const TransferQueue&) = delete;

    // Any thread. Appends `message`; wakes the consumer if the producer queue was empty.
    void Push(T* message) {
        pthread_mutex_lock(&m_QueueMutex);
        m_ProducerQueue->push_back(message);
        if (m_ProducerQueue->size() == 1) m_WaitLock.Signal();
        pthread_mutex_unlock(&m_QueueMutex);
    }

    // Consumer thread only. The oldest message, or null when both queues are empty; never blocks.
    T* Pop() {
        if (m_ConsumerQueue->empty()) {
            pthread_mutex_lock(&m_QueueMutex);
            std::swap(m_ProducerQueue, m_ConsumerQueue);
            pthread_mutex_unlock(&m_QueueMutex);
            if (m_ConsumerQueue->empty()) return nullptr;
        }
        T* message = m_ConsumerQueue->front();
        m_ConsumerQueue->pop_front();
        return message;
    }

    // The consumer's wake-up; see the class comment.
    WaitLock& GetWaitLock() { return m_WaitLock; }

    static void Release(T* message) { DeAllocator::DeAllocate(message); }

  private:
    std::deque<T*>* m_ProducerQueue;  // the pointer and the queue guarded by m_QueueMutex
    std::deque<T*>* m_ConsumerQueue;  // consumer thread only; swapped under m_QueueMutex
    pthread_mutex_t m_QueueMutex;
    WaitLock m_WaitLock;
};

}  // namespace Utils
