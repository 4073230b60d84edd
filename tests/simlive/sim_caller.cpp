// A scanning service that knows nothing of the simulator: it opens the platform library by
// name, takes the hardware trigger through the exported functions and the module's table of
// virtual functions (declared here, as a caller declares them), and prints every key event.
// Usage: sim_caller COUNT: ends after COUNT key events (exit 0), or after 30 s without them
// (exit 1).

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

enum PlatformModuleTag : int {};
constexpr int kHardwareTrigger = 6;

struct IPlatformModule {
    virtual ~IPlatformModule() {}
};

struct ITriggerKeyEventWrapperCallBack {
    virtual ~ITriggerKeyEventWrapperCallBack() {}
    virtual void OnKeyEvent(unsigned int, unsigned int) = 0;
    virtual void OnPreKeyEvent(unsigned int, unsigned int) = 0;
};

struct IHWTrigger : IPlatformModule {
    virtual bool IsSupported() = 0;
    virtual char const* GetModuleName() = 0;
    virtual bool Initialize(ITriggerKeyEventWrapperCallBack*) = 0;
    virtual bool AcquireHWTrigger() = 0;
    virtual bool ReleaseHWTrigger() = 0;
};

struct Printer : ITriggerKeyEventWrapperCallBack {
    void OnKeyEvent(unsigned int key, unsigned int value) override {
        std::lock_guard<std::mutex> lock(mutex);
        printf("OnKeyEvent(%u, %u)\n", key, value);
        fflush(stdout);
        ++count;
        changed.notify_all();
    }
    void OnPreKeyEvent(unsigned int, unsigned int) override {}
    std::mutex mutex;
    std::condition_variable changed;
    int count = 0;
};

int main(int argc, char** argv) {
    const int wanted = argc > 1 ? atoi(argv[1]) : 1;
    void* lib = dlopen("libplatform.orvex.so", RTLD_NOW | RTLD_LOCAL);
    if (lib == nullptr) {
        printf("dlopen: %s\n", dlerror());
        return 1;
    }
    auto get = reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag, const char*)>(
        dlsym(lib, "GetPlatformModule"));
    auto destroy = reinterpret_cast<void (*)(IPlatformModule*)>(dlsym(lib, "DeletePlatformModule"));
    auto* trigger = static_cast<IHWTrigger*>(get(PlatformModuleTag(kHardwareTrigger), "HWTrigger"));
    Printer printer;
    if (trigger == nullptr || !trigger->Initialize(&printer) || !trigger->AcquireHWTrigger()) {
        printf("no hardware trigger\n");
        return 1;
    }
    printf("acquired\n");
    fflush(stdout);
    bool done;
    {
        std::unique_lock<std::mutex> lock(printer.mutex);
        done = printer.changed.wait_for(lock, std::chrono::seconds(30),
                                        [&] { return printer.count >= wanted; });
    }
    trigger->ReleaseHWTrigger();
    destroy(trigger);
    return done ? 0 : 1;
}
