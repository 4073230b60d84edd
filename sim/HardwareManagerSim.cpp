#include "HardwareManagerSim.h"

#include <orvex/hidl_registry.h>

namespace orvex {
namespace sim {

namespace {
const char* const kInstance = "default";
}

HardwareManagerSim::HardwareManagerSim(bool start) {
    if (start) Start();
}

HardwareManagerSim::~HardwareManagerSim() {
    Remove();
    // Writer threads end with the fakes' death even if clients still hold references.
    if (mManager != nullptr) mManager->OnDeath();
}

void HardwareManagerSim::AddBuilder(Builder builder) { mBuilders.push_back(std::move(builder)); }

void HardwareManagerSim::Start() {
    if (mAlive) Kill();
    mManager = new FakeDCHWManager;
    mTrigger = new FakeTrigger;
    mTrigger->calls().SetName("ITrigger");
    mManager->SetTrigger(mTrigger);
    for (const Builder& build : mBuilders) build(*mManager);
    orvex::hidl::RegisterService<dch::IDCHWManager>(mManager, kInstance);
    mAlive = true;
}

void HardwareManagerSim::Kill() {
    if (!mAlive) return;
    // The process stops writing before its clients can notice that it is gone.
    mManager->OnDeath();
    orvex::hidl::KillService(dch::IDCHWManager::descriptor, kInstance);
    mAlive = false;
}

void HardwareManagerSim::Restart() {
    Kill();
    Start();
}

void HardwareManagerSim::Remove() {
    if (mAlive) mManager->OnDeath();
    orvex::hidl::RemoveService(dch::IDCHWManager::descriptor, kInstance);
    mAlive = false;
}

}  // namespace sim
}  // namespace orvex
