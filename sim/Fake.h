// What every fake service of the simulated device shares: its call log, and a way to be told
// that its process died so that it stops its own threads and lets go of what it holds.
#pragma once

#include "CallLog.h"

namespace orvex {
namespace sim {

class Fake {
  public:
    virtual ~Fake() = default;

    // The service's process dies: stop writing, drop client resources. Called before the
    // registry marks the process dead. The default does nothing.
    virtual void OnDeath() {}

    CallLog& calls() { return mCalls; }
    const CallLog& calls() const { return mCalls; }

  private:
    CallLog mCalls;
};

}  // namespace sim
}  // namespace orvex
