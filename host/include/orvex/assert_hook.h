// Lets a host process see the platform library's assertions before the process aborts.
#pragma once

extern "C" {
typedef void (*orvex_assert_handler_t)(void);

// Installs a handler run by the library's assertion just before abort(); null removes it. A
// handler that does not return (longjmp, _exit) keeps the process alive; fuzzers use this to
// count an assertion as an expected outcome.
void orvex_set_assert_handler(orvex_assert_handler_t handler);
orvex_assert_handler_t orvex_get_assert_handler(void);
}
