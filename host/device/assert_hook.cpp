#include "orvex/assert_hook.h"

#include <atomic>

namespace {
std::atomic<orvex_assert_handler_t> g_handler{nullptr};
}

extern "C" void orvex_set_assert_handler(orvex_assert_handler_t handler) { g_handler = handler; }

extern "C" orvex_assert_handler_t orvex_get_assert_handler(void) { return g_handler; }
