// printf-style formatting into the library's fixed-size text buffers.
#pragma once

#include <stddef.h>

namespace Utils {

// Formats into `buffer` of `size` bytes. A text that does not fit ends the process, after one
// fatal line naming `what` and the sizes: a path or name cut short would quietly point the
// library at the wrong file, which is worse than stopping. The library's buffers are sized for
// every sane configuration, so only a broken device setup reaches the abort.
void FormatFixed(char* buffer, size_t size, const char* what, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

}  // namespace Utils
