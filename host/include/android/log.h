/*
 * Android's logging entry points, as liblog exports them, for Linux hosts.
 * Where records go is chosen by ORVEX_LOG (see <orvex/log_capture.h> for tests).
 */
#pragma once

#include <stdarg.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum android_LogPriority {
    ANDROID_LOG_UNKNOWN = 0,
    ANDROID_LOG_DEFAULT,
    ANDROID_LOG_VERBOSE,
    ANDROID_LOG_DEBUG,
    ANDROID_LOG_INFO,
    ANDROID_LOG_WARN,
    ANDROID_LOG_ERROR,
    ANDROID_LOG_FATAL,
    ANDROID_LOG_SILENT,
} android_LogPriority;

/* Writes one record. Returns the number of bytes of the message, or a negative errno. */
int __android_log_write(int prio, const char* tag, const char* text);

/* Formats with printf rules into a 1024-byte buffer (longer messages are cut, as on a device). */
int __android_log_print(int prio, const char* tag, const char* fmt, ...)
    __attribute__((__format__(printf, 3, 4)));

int __android_log_vprint(int prio, const char* tag, const char* fmt, va_list ap)
    __attribute__((__format__(printf, 3, 0)));

/* Logs at fatal priority (the default text "assertion failed" when fmt is null) and aborts. */
void __android_log_assert(const char* cond, const char* tag, const char* fmt, ...)
    __attribute__((__noreturn__, __format__(printf, 3, 4)));

#ifdef __cplusplus
}
#endif
