// Platform libraries that lack one of the entry points device facts look up, or whose
// hardware-info module is not supported. Which one is chosen at build time:
//   FAKE_WITHOUT_GET_MODULE, FAKE_WITHOUT_DELETE_MODULE, or neither (no module supported).
#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

class IPlatformModule;

#if !defined(FAKE_WITHOUT_GET_MODULE)
FAKE_EXPORT IPlatformModule* GetAbstractedPlatformModule(int /*tag*/) { return nullptr; }
#endif

#if !defined(FAKE_WITHOUT_DELETE_MODULE)
FAKE_EXPORT void DeletePlatformModule(IPlatformModule* /*module*/) {}
#endif

FAKE_EXPORT int getPlatformVersion() { return 7; }
