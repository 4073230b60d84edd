// A caller of the platform library as the scanning service is one: it loads the built library
// with dlopen and uses only the exported functions. Tests run it in fresh processes.
//
//   platform_caller load                 load and exit
//   platform_caller count TAG            print GetNumberOfPlatformModulesForTag(TAG)
//   platform_caller create TAG NAME      print "module" or "null" for GetPlatformModule
//   platform_caller abstract TAG         print "module" or "null" for GetAbstractedPlatformModule
//   platform_caller version              print getPlatformVersion()
//   platform_caller resolve NAME         print ConfigInfo::ResolveConfigDependency(NAME)
//   platform_caller unlink PATH          remove the device file PATH under ORVEX_DEVICE_ROOT
//   platform_caller timer MS             start the timer service, run one MS timer, print "fired"
//                                        (or "timeout" after 10 s), stop the service
// Several commands may follow each other.

#include <dlfcn.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>

class IPlatformModule;
// Declared as the library declares it, so that the function types match exactly.
enum PlatformModuleTag : int {};
class TimerProvider;

namespace {

// Timer callback: the context, the timer's first field, is the write end of a pipe.
void OnTimer(TimerProvider* timer) {
    int fd = static_cast<int>(reinterpret_cast<intptr_t>(*reinterpret_cast<void**>(timer)));
    char fired = 1;
    (void)!write(fd, &fired, 1);
}

}  // namespace

int main(int argc, char** argv) {
    void* lib = dlopen(ORVEX_BUILD_DIR "/lib/libplatform.orvex.so", RTLD_NOW | RTLD_LOCAL);
    if (lib == nullptr) {
        fprintf(stderr, "dlopen: %s\n", dlerror());
        return 3;
    }
    auto version = reinterpret_cast<int (*)()>(dlsym(lib, "getPlatformVersion"));
    auto count = reinterpret_cast<int (*)(PlatformModuleTag)>(
        dlsym(lib, "GetNumberOfPlatformModulesForTag"));
    auto create = reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag, const char*)>(
        dlsym(lib, "GetPlatformModule"));
    auto abstracted = reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag)>(
        dlsym(lib, "GetAbstractedPlatformModule"));
    auto destroy = reinterpret_cast<void (*)(IPlatformModule*)>(dlsym(lib, "DeletePlatformModule"));
    // An exported class reached by its mangled name, as a C caller would.
    auto resolve = reinterpret_cast<std::string (*)(const char*)>(
        dlsym(lib, "_ZN10ConfigInfo23ResolveConfigDependencyB5cxx11EPKc"));
    auto timerInitialize =
        reinterpret_cast<void (*)()>(dlsym(lib, "_ZN13TimerProvider10InitializeEv"));
    auto timerDeInitialize =
        reinterpret_cast<void (*)()>(dlsym(lib, "_ZN13TimerProvider12DeInitializeEv"));
    auto timerCreate = reinterpret_cast<TimerProvider* (*)(int, void (*)(TimerProvider*), void*)>(
        dlsym(lib, "_ZN13TimerProvider14CreateNewTimerEiPFvPS_EPv"));
    auto timerStart =
        reinterpret_cast<void (*)(TimerProvider*)>(dlsym(lib, "_ZN13TimerProvider5StartEv"));
    if (!version || !count || !create || !abstracted || !destroy || !resolve || !timerInitialize ||
        !timerDeInitialize || !timerCreate || !timerStart) {
        fprintf(stderr, "missing export\n");
        return 3;
    }
    for (int i = 1; i < argc; ++i) {
        std::string cmd = argv[i];
        if (cmd == "load") {
            continue;
        } else if (cmd == "version") {
            printf("%d\n", version());
        } else if (cmd == "count" && i + 1 < argc) {
            printf("%d\n", count(static_cast<PlatformModuleTag>(atoi(argv[++i]))));
        } else if (cmd == "create" && i + 2 < argc) {
            PlatformModuleTag tag = static_cast<PlatformModuleTag>(atoi(argv[++i]));
            IPlatformModule* m = create(tag, argv[++i]);
            printf("%s\n", m ? "module" : "null");
            destroy(m);
        } else if (cmd == "abstract" && i + 1 < argc) {
            IPlatformModule* m = abstracted(static_cast<PlatformModuleTag>(atoi(argv[++i])));
            printf("%s\n", m ? "module" : "null");
            destroy(m);
        } else if (cmd == "resolve" && i + 1 < argc) {
            printf("%s\n", resolve(argv[++i]).c_str());
            fflush(stdout);
        } else if (cmd == "timer" && i + 1 < argc) {
            int fired[2];
            if (pipe(fired) != 0) return 3;
            timerInitialize();
            TimerProvider* timer =
                timerCreate(atoi(argv[++i]), OnTimer, reinterpret_cast<void*>(intptr_t{fired[1]}));
            timerStart(timer);
            struct pollfd wait = {fired[0], POLLIN, 0};
            printf("%s\n", poll(&wait, 1, 10000) == 1 ? "fired" : "timeout");
            fflush(stdout);
            timerDeInitialize();
            close(fired[0]);
            close(fired[1]);
        } else if (cmd == "move" && i + 2 < argc) {  // one device file over another
            const char* root = getenv("ORVEX_DEVICE_ROOT");
            const std::string from = std::string(root != nullptr ? root : "") + argv[++i];
            if (rename(from.c_str(),
                       (std::string(root != nullptr ? root : "") + argv[++i]).c_str()))
                return perror("rename"), 2;
        } else if (cmd == "unlink" && i + 1 < argc) {
            const char* root = getenv("ORVEX_DEVICE_ROOT");
            std::string path = std::string(root != nullptr ? root : "") + argv[++i];
            if (unlink(path.c_str()) != 0) {
                perror("unlink");
                return 2;
            }
        } else {
            fprintf(stderr, "bad command %s\n", cmd.c_str());
            return 2;
        }
    }
    return 0;
}
