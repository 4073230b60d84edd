// libbinder's per-process binder state, for Linux hosts. Transactions run on the caller's
// thread here, so the thread pool settings are accepted and have nothing to start.
#pragma once

#include <stddef.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>

#include <atomic>

namespace android {

class ProcessState : public virtual RefBase {
  public:
    // The one instance of the process, created on the first call.
    static sp<ProcessState> self();

    void startThreadPool();
    status_t setThreadPoolMaxThreadCount(size_t maxThreads);
    size_t getThreadPoolMaxThreadCount() const;

  private:
    ProcessState();
    ~ProcessState() override;

    std::atomic<size_t> mMaxThreads;
};

}  // namespace android
