// Loads the shared library named on the command line and exits: the cost of a caller's dlopen.
#include <dlfcn.h>
#include <stdio.h>

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    if (dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) == nullptr) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    return 0;
}
