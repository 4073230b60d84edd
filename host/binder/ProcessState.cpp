#include <binder/ProcessState.h>

namespace android {

namespace {
// libbinder's default number of pool threads.
constexpr size_t kDefaultMaxThreads = 15;
}  // namespace

sp<ProcessState> ProcessState::self() {
    // Never destroyed: binder state lives as long as the process.
    static ProcessState* const instance = [] {
        ProcessState* state = new ProcessState();
        state->incStrong(state);
        return state;
    }();
    return instance;
}

ProcessState::ProcessState() : mMaxThreads(kDefaultMaxThreads) {}
ProcessState::~ProcessState() {}

void ProcessState::startThreadPool() {}

status_t ProcessState::setThreadPoolMaxThreadCount(size_t maxThreads) {
    mMaxThreads = maxThreads;
    return NO_ERROR;
}

size_t ProcessState::getThreadPoolMaxThreadCount() const { return mMaxThreads; }

}  // namespace android
