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
// Several commands may follow each other.

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>

class IPlatformModule;
// Declared as the library declares it, so that the function types match exactly.
enum PlatformModuleTag : int {};

int main(int argc, char** argv) {
    void* lib = dlopen(ORVEX_BUILD_DIR "/lib/libplatform.orvex.so", RTLD_NOW | RTLD_LOCAL);
    if (lib == nullptr) {
        fprintf(stderr, "dlopen: %s\n", dlerror());
        return 3;
    }
    auto version = reinterpret_cast<int (*)()>(dlsym(lib, "getPlatformVersion"));
    auto count = reinterpret_cast<int (*)(PlatformModuleTag)>(dlsym(lib, "GetNumberOfPlatformModulesForTag"));
    auto create =
        reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag, const char*)>(dlsym(lib, "GetPlatformModule"));
    auto abstracted =
        reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag)>(dlsym(lib, "GetAbstractedPlatformModule"));
    auto destroy = reinterpret_cast<void (*)(IPlatformModule*)>(dlsym(lib, "DeletePlatformModule"));
    // An exported class reached by its mangled name, as a C caller would.
    auto resolve = reinterpret_cast<std::string (*)(const char*)>(
        dlsym(lib, "_ZN10ConfigInfo23ResolveConfigDependencyB5cxx11EPKc"));
    if (!version || !count || !create || !abstracted || !destroy || !resolve) {
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
