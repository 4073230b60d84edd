#include "FixedFormat.h"

#include <android/log.h>
#include <stdarg.h>
#include <stdio.h>

#include "FrameworkAssert.h"
#include "ScannerLog.h"

namespace Utils {

void FormatFixed(char* buffer, size_t size, const char* what, const char* format, ...) {
    va_list args;
    va_start(args, format);
    int needed = vsnprintf(buffer, size, format, args);
    va_end(args);
    if (needed >= 0 && static_cast<size_t>(needed) < size) return;
    // Not gated by the log level: the process is about to end and this is the only reason given.
    __android_log_print(ANDROID_LOG_FATAL, SF_LOG_TAG,
                        "[Utils::FormatFixed] %s does not fit in %zu bytes (%d needed)\n", what,
                        size, needed + 1);
    _assert_framework();
}

}  // namespace Utils
