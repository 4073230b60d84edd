// Platform libraries that lack one of the entry points device facts look up, or whose
// hardware-info module is not supported. Which one is chosen at build time:
//   FAKE_WITHOUT_GET_MODULE, FAKE_WITHOUT_DELETE_MODULE, or neither (no module supported).
#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

// Declared as the library declares them, so that calls through the library's function types
// match exactly.
class IPlatformModule;
enum PlatformModuleTag { kAnyTag };

#if !defined(FAKE_WITHOUT_GET_MODULE)
FAKE_EXPORT IPlatformModule* GetAbstractedPlatformModule(PlatformModuleTag /*tag*/) {
    return nullptr;
}
#endif

#if !defined(FAKE_WITHOUT_DELETE_MODULE)
FAKE_EXPORT void DeletePlatformModule(IPlatformModule* /*module*/) {}
#endif

FAKE_EXPORT int getPlatformVersion() { return 7; }
