// The library's way of stopping on a state that should be impossible: three fatal lines under
// "####ASSERTION#####", then abort.
#pragma once

#define SF_ASSERT_TAG "####ASSERTION#####"

// Ends the process with abort(); never returns.
[[noreturn]] void _assert_framework();

namespace platform {

// Writes the three assertion lines, whatever the log level, and calls _assert_framework().
// `description` is the message after "ERROR DESCRIPTION: " (the prefix is added here, once);
// `sourcePath` and `line` name the reporting site as the device build reports it.
[[noreturn]] void AssertFramework(const char* sourcePath, int line, const char* description);

// As above with a printf-formatted description.
[[noreturn]] void AssertFrameworkF(const char* sourcePath, int line, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

}  // namespace platform
