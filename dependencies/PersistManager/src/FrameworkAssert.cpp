#include "FrameworkAssert.h"

#include <android/log.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

#include "HostHooks.h"

void _assert_framework() {
    platform::host::OnAssertFramework();
    abort();
}

namespace platform {

void AssertFramework(const char* sourcePath, int line, const char* description) {
    __android_log_print(
        ANDROID_LOG_FATAL, SF_ASSERT_TAG,
        "This is not my fault, Something else has malfunctioned - Sincerly ScanningService\n");
    __android_log_print(ANDROID_LOG_FATAL, SF_ASSERT_TAG, "ERROR DESCRIPTION: %s", description);
    __android_log_print(ANDROID_LOG_FATAL, SF_ASSERT_TAG, "ASSERTING AT %s:%d \n", sourcePath,
                        line);
    _assert_framework();
}

void AssertFrameworkF(const char* sourcePath, int line, const char* format, ...) {
    char description[1024];
    va_list args;
    va_start(args, format);
    vsnprintf(description, sizeof description, format, args);
    va_end(args);
    AssertFramework(sourcePath, line, description);
}

}  // namespace platform
