// Lets a test wait until a helper thread is really blocked, instead of sleeping and hoping.
#pragma once

#include <sys/types.h>

namespace orvex {
namespace test {

// The calling thread's kernel id.
pid_t CurrentThreadId();

// Waits up to `timeoutMs` until the thread `tid` of this process sleeps in the kernel (state
// 'S', as when blocked on a futex); false on time-out.
bool WaitUntilSleeping(pid_t tid, int timeoutMs = 10000);

}  // namespace test
}  // namespace orvex
