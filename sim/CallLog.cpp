#include "CallLog.h"

#include "Timeline.h"

namespace orvex {
namespace sim {

void CallLog::SetName(std::string name) {
    std::lock_guard<std::mutex> lock(mLock);
    mName = std::move(name);
}

void CallLog::Add(std::string call) {
    if (Timeline::Active()) {
        std::string name;
        {
            std::lock_guard<std::mutex> lock(mLock);
            name = mName;
        }
        Timeline::Record(name, call);
    }
    {
        std::lock_guard<std::mutex> lock(mLock);
        mCalls.push_back(std::move(call));
    }
    mChanged.notify_all();
}

std::vector<std::string> CallLog::Calls() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mCalls;
}

size_t CallLog::Count(const std::string& method) const {
    std::lock_guard<std::mutex> lock(mLock);
    return CountLocked(method);
}

void CallLog::Clear() {
    std::lock_guard<std::mutex> lock(mLock);
    mCalls.clear();
}

bool CallLog::WaitFor(const std::string& method, size_t times,
                      std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mLock);
    return mChanged.wait_for(lock, timeout, [&] { return CountLocked(method) >= times; });
}

size_t CallLog::CountLocked(const std::string& method) const {
    size_t n = 0;
    for (const std::string& call : mCalls) {
        if (call.compare(0, call.find('('), method) == 0) ++n;
    }
    return n;
}

}  // namespace sim
}  // namespace orvex
