// A caller of the trigger configuration module as the scanning service is one: it loads the
// built library with dlopen and reaches the module, its list and the list's entries only through
// their tables of virtual functions, declared by the headers callers build against. The
// simulated hardware manager runs in this process, so that the module's look at the imager
// finds one.
//
//   triggers_caller [OPTION] CMD...
//     --engine ID      the imager reports engine identifier ID (default "31")
//     --no-imager      the hardware manager has no imager
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
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <string>

#include "FakeImager.h"
#include "HardwareManagerSim.h"
#include "ITriggerInfo.h"
#include "OdkList.h"
#include "PlatformModuleInterfaces.h"

// An entry made by the caller.
class CallerTrigger : public odk::ITriggerInfo {
  public:
    CallerTrigger(int code, std::string name, std::string resource)
        : mCode(code), mName(std::move(name)), mResource(std::move(resource)) {}
    int GetScanCode() override { return mCode; }
    const char* GetFriendlyName() override { return mName.c_str(); }
    const char* GetScannerResource() override { return mResource.c_str(); }
    bool IsMultiScannerSupported() override { return mMulti; }
    void SetScanCode(int code) override { mCode = code; }
    void SetFriendlyName(const char* name) override { mName = name; }
    void SetScannerResource(const char* resource) override { mResource = resource; }
    void SetMultiScannerSupport(bool multi) override { mMulti = multi; }

  private:
    int mCode;
    std::string mName;
    std::string mResource;
    bool mMulti = false;
};

int main(int argc, char** argv) {
    std::string engineId = "31";
    bool manager = true;
    bool imager = true;
    int first = 1;
    for (; first < argc && argv[first][0] == '-'; ++first) {
        std::string option = argv[first];
        if (option == "--engine" && first + 1 < argc) {
            engineId = argv[++first];
        } else if (option == "--no-imager") {
            imager = false;
        } else if (option == "--no-manager") {
            manager = false;
        } else {
            fprintf(stderr, "bad option %s\n", option.c_str());
            return 2;
        }
    }

    orvex::sim::HardwareManagerSim sim(false);
    sim.AddBuilder([&](orvex::sim::FakeDCHWManager& dchw) {
        if (!imager) return;
        android::sp<orvex::sim::FakeImager> fake = new orvex::sim::FakeImager;
        orvex::sim::FakeImager::Answers answers;
        answers.engineId = engineId;
        fake->SetAnswers(answers);
        dchw.SetImager(fake);
    });
    if (manager) sim.Start();

    void* lib = dlopen(ORVEX_BUILD_DIR "/lib/libplatform.orvex.so", RTLD_NOW | RTLD_LOCAL);
    if (lib == nullptr) {
        fprintf(stderr, "dlopen: %s\n", dlerror());
        return 3;
    }
    auto create = reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag, const char*)>(
        dlsym(lib, "GetPlatformModule"));
    auto abstracted = reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag)>(
        dlsym(lib, "GetAbstractedPlatformModule"));
    auto destroy = reinterpret_cast<void (*)(IPlatformModule*)>(dlsym(lib, "DeletePlatformModule"));
    if (create == nullptr || abstracted == nullptr || destroy == nullptr) {
        fprintf(stderr, "missing export\n");
        return 3;
    }

    ITriggersModule* module = nullptr;
    int i = first;
    if (i < argc && std::string(argv[i]) == "abstract") {
        module = static_cast<ITriggersModule*>(abstracted(PLATFORM_MODULE_TRIGGERS));
        if (module != nullptr) {
            printf("%s %s\n", module->GetModuleName(),
                   module->IsSupported() ? "supported" : "unsupported");
        }
        ++i;
    } else {
        module = static_cast<ITriggersModule*>(create(PLATFORM_MODULE_TRIGGERS, "Triggers"));
    }
    if (module == nullptr) {
        fprintf(stderr, "no Triggers module\n");
        return 3;
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
            int code = atoi(argv[i + 1]);
            odk::ITriggerInfo* entry = new CallerTrigger(code, argv[i + 2], argv[i + 3]);
            list->push_back(entry);
            i += 3;
        } else if (cmd == "drop") {
            if (!list->empty()) {
                delete list->begin();
                list->remove();
            }
        } else if (cmd == "deinit") {
            module->Deinit();
            printf("deinit\n");
        } else {
            fprintf(stderr, "bad command %s\n", cmd.c_str());
            return 2;
        }
        fflush(stdout);
    }
    destroy(module);
    return 0;
}
