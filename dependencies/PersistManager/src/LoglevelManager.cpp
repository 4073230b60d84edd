#include "LoglevelManager.h"

#include <android/log.h>
#include <stdlib.h>

#include <string>

#include "PersistManager.h"

namespace {
constexpr int kDefaultLevel = 5;
}

// Zero-initialised before any load-time construction runs, so the module registrations, which
// run earlier in the load, see level 0 and always write their lines.
LoglevelManager::InitLogLevel LoglevelManager::initLogLevel;

LoglevelManager::InitLogLevel::InitLogLevel() {
    int level = kDefaultLevel;
    if (IPersistInfo* store = PersistManager::GetInstance()) {
        // atoi: leading blanks are skipped and anything unparsable is 0, which is out of range.
        int parsed = atoi(store->GetInfo("LogLevel").c_str());
        if (parsed >= 1 && parsed <= 8) level = parsed;
    }
    m_LogLevel = static_cast<uint32_t>(level);
    __android_log_print(ANDROID_LOG_ERROR, "LoglevelManager",
                        "[InitLogLevel::InitLogLevel] Log level XML - %d", level);
}

uint32_t LoglevelManager::InitLogLevel::GetScannerLogPriority() { return m_LogLevel; }

int LoglevelManager::GetScannerLogLevel() {
    return static_cast<int>(initLogLevel.GetScannerLogPriority());
}
