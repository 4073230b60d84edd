// The one logging gate of the library. A message is formatted only when the scanner log level
// lets it through: the macros test the level before the arguments are evaluated.
#pragma once

#include <android/log.h>

#include "LoglevelManager.h"

#define SF_LOG_TAG "ScannerFramework"

// Thresholds: a message of the priority is written while the level is below its threshold.
#define SF_LEVEL_DEBUG 4
#define SF_LEVEL_INFO 6
#define SF_LEVEL_WARN 7
#define SF_LEVEL_ERROR 8

#define SF_LOG_IF(threshold, priority, tag, ...)                           \
    do {                                                                   \
        if (LoglevelManager::GetScannerLogLevel() < (threshold)) {         \
            __android_log_print((priority), (tag), __VA_ARGS__);           \
        }                                                                  \
    } while (0)

#define SF_LOGD(...) SF_LOG_IF(SF_LEVEL_DEBUG, ANDROID_LOG_DEBUG, SF_LOG_TAG, __VA_ARGS__)
#define SF_LOGI(...) SF_LOG_IF(SF_LEVEL_INFO, ANDROID_LOG_INFO, SF_LOG_TAG, __VA_ARGS__)
#define SF_LOGW(...) SF_LOG_IF(SF_LEVEL_WARN, ANDROID_LOG_WARN, SF_LOG_TAG, __VA_ARGS__)
#define SF_LOGE(...) SF_LOG_IF(SF_LEVEL_ERROR, ANDROID_LOG_ERROR, SF_LOG_TAG, __VA_ARGS__)
