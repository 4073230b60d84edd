// A caller of the trigger configuration module as the scanning service is one: it loads the
// built library with dlopen and reaches the module, its list and the list's entries only through
// their tables of virtual functions, declared by the headers callers build against. The
// simulated hardware manager runs in this process, so that the module's look at the imager
// finds one.
//
//   triggers_caller [OPTION] CMD...
//     --engine ID      the imager reports engine identifier ID (default "31")
//     --no-manager     no hardware manager at all
//   commands:
//     abstract         obtain the module with GetAbstractedPlatformModule (default: by name);
//                      prints its module name and whether it is supported
//     init             Init; prints "init true" or "init false"
//     list             prints "size N empty B", then "CODE<TAB>NAME<TAB>RESOURCE<TAB>MULTI" per
//                      entry, iterating begin / hasNext / get / movenext
//     push CODE NAME RESOURCE
//                      appends an entry the caller made (Deinit deletes it like the others)
//     drop             deletes the first entry and removes its node
//     deinit           Deinit; prints "deinit"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

#include <string>

#include "FakeImager.h"
#include "HardwareManagerSim.h"
#include "ITriggerInfo.h"
#include "OdkList.h"
#include "PlatformModuleInterfaces.h"

// An entry made by the caller.
struct CallerTrigger : public odk::ITriggerInfo {
    CallerTrigger(int c, const char* n, const char* r) : code(c), name(n), resource(r) {}
    int GetScanCode() override { return code; }
    const char* GetFriendlyName() override { return name.c_str(); }
    const char* GetScannerResource() override { return resource.c_str(); }
    bool IsMultiScannerSupported() override { return multi; }
    void SetScanCode(int value) override { code = value; }
    void SetFriendlyName(const char* value) override { name = value; }
    void SetScannerResource(const char* value) override { resource = value; }
    void SetMultiScannerSupport(bool value) override { multi = value; }
    int code;
    std::string name, resource;
    bool multi = false;
};

int main(int argc, char** argv) {
    orvex::sim::FakeImager::Answers answers;  // engine identifier "31" unless told
    bool manager = true;
    int i = 1;
    for (; i < argc && argv[i][0] == '-'; ++i) {
        const std::string option = argv[i];
        if (option == "--engine" && i + 1 < argc) answers.engineId = argv[++i];
        manager = manager && option != "--no-manager";
    }
    orvex::sim::HardwareManagerSim sim(false);
    sim.AddBuilder([&](orvex::sim::FakeDCHWManager& dchw) {
        android::sp<orvex::sim::FakeImager> fake = new orvex::sim::FakeImager;
        fake->SetAnswers(answers);
        dchw.SetImager(fake);
    });
    if (manager) sim.Start();

    // A missing library, export or module ends the caller with a signal.
    void* lib = dlopen(ORVEX_BUILD_DIR "/lib/libplatform.orvex.so", RTLD_NOW | RTLD_LOCAL);
    auto create = reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag, const char*)>(
        dlsym(lib, "GetPlatformModule"));
    auto abstracted = reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag)>(
        dlsym(lib, "GetAbstractedPlatformModule"));
    auto destroy = reinterpret_cast<void (*)(IPlatformModule*)>(dlsym(lib, "DeletePlatformModule"));

    ITriggersModule* module = nullptr;
    if (i < argc && std::string(argv[i]) == "abstract") {
        module = static_cast<ITriggersModule*>(abstracted(PLATFORM_MODULE_TRIGGERS));
        printf("%s %s\n", module->GetModuleName(),
               module->IsSupported() ? "supported" : "unsupported");
        ++i;
    } else {
        module = static_cast<ITriggersModule*>(create(PLATFORM_MODULE_TRIGGERS, "Triggers"));
    }
    odk::List<odk::ITriggerInfo*>* list = module->GetTriggerInfo();
    for (; i < argc; ++i) {
        std::string cmd = argv[i];
        if (cmd == "init") {
            printf("init %s\n", module->Init() ? "true" : "false");
        } else if (cmd == "list") {
            printf("size %u empty %s\n", list->size(), list->empty() ? "true" : "false");
            for (list->begin(); list->hasNext(); list->movenext()) {
                odk::ITriggerInfo* info = list->get();
                printf("%d\t%s\t%s\t%d\n", info->GetScanCode(), info->GetFriendlyName(),
                       info->GetScannerResource(), info->IsMultiScannerSupported() ? 1 : 0);
            }
        } else if (cmd == "push" && i + 3 < argc) {
            list->push_back(new CallerTrigger(atoi(argv[i + 1]), argv[i + 2], argv[i + 3]));
            i += 3;
        } else if (cmd == "drop" && !list->empty()) {
            delete list->begin();
            list->remove();
        } else if (cmd == "deinit") {
            module->Deinit();
            printf("deinit\n");
        } else {
            return 2;
        }
        fflush(stdout);
    }
    destroy(module);
    return 0;
}
