// ORVEX_SIM: the simulated device comes up inside the process when the host layer loads, so
// before the platform library's first service lookup or device file access. The host layer
// does not link the simulator (the simulator links it): it opens the simulator's live library
// from its own folder. This file is last among the host's sources, so that the host's own
// initialisers have run when the simulator starts using them.

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

#include <string>

namespace {

__attribute__((constructor)) void BootSimulatedDevice() {
    const char* sim = getenv("ORVEX_SIM");
    if (sim == nullptr || *sim == '\0') return;
    Dl_info self;
    if (dladdr(reinterpret_cast<void*>(&BootSimulatedDevice), &self) == 0 ||
        self.dli_fname == nullptr) {
        fprintf(stderr, "orvex-sim: ORVEX_SIM=%s, but the host library cannot find itself\n", sim);
        exit(2);
    }
    std::string dir = self.dli_fname;
    dir = dir.find('/') == std::string::npos ? "." : dir.substr(0, dir.rfind('/'));
    const std::string path = dir + "/liborvex_simlive.so";
    void* live = dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (live == nullptr) {
        fprintf(stderr, "orvex-sim: ORVEX_SIM=%s, but the simulator cannot be loaded: %s\n", sim,
                dlerror());
        exit(2);
    }
    using Boot = void (*)(const char* libDir);
    auto boot = reinterpret_cast<Boot>(dlsym(live, "orvex_sim_live_boot"));
    if (boot == nullptr) {
        fprintf(stderr, "orvex-sim: %s has no orvex_sim_live_boot\n", path.c_str());
        exit(2);
    }
    boot(dir.c_str());
}

}  // namespace
