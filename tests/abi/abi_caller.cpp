// A caller of the platform library that knows it only as its callers do: the interfaces are
// declared here, from the documented operation orders, without any of the project's headers.
// Every module is obtained through the exported functions and every operation is called
// through the table of virtual functions, against the simulated device (started through the
// simulator's C entry points). Prints one line per mismatch; exits 0 when there is none. The
// callback interfaces carry the names callers give them, as the library's dynamic type checks
// (and a sanitizer's) see those names.

#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <type_traits>

enum PlatformModuleTag : int {};

struct IPlatformModule {
    virtual ~IPlatformModule() {}
};

struct INamed : IPlatformModule {
    virtual bool IsSupported() = 0;
    virtual char const* GetModuleName() = 0;
};

struct ICallback {
    virtual ~ICallback() {}
    virtual bool IsLEDAccessible() = 0;
};

struct IFeedback : INamed {
    virtual bool PrepareFeedbackForTrigger() = 0;
    virtual bool TriggerFeedback() = 0;
    virtual bool ResetFeedback() = 0;
    virtual void ReleaseResources() = 0;
    virtual bool InitializeFeedback() = 0;
    virtual bool ReinitializeFeedback() = 0;
    virtual char const* GetParameter(char const* name) = 0;
    virtual void SetParameter(char const* name, char const* value) = 0;
    virtual bool CheckExternalHeadset() = 0;
    virtual bool ReadSubmit() = 0;
    virtual void SetCallback(ICallback* callback) = 0;
};

namespace odk {
struct ITriggerInfo {
    virtual ~ITriggerInfo() {}
    virtual int GetScanCode() = 0;
    virtual const char* GetFriendlyName() = 0;
    virtual const char* GetScannerResource() = 0;
    virtual bool IsMultiScannerSupported() = 0;
    virtual void SetScanCode(int) = 0;
    virtual void SetFriendlyName(const char*) = 0;
    virtual void SetScannerResource(const char*) = 0;
    virtual void SetMultiScannerSupport(bool) = 0;
};
template <typename T>
struct List {
    virtual void push_back(const T&) = 0;
    virtual uint32_t size() const = 0;
    virtual bool empty() const = 0;
    virtual void clear() = 0;
    virtual T& begin() = 0;
    virtual void movenext() = 0;
    virtual bool hasNext() = 0;
    virtual T& get() = 0;
    virtual void remove() = 0;
    virtual ~List() {}
};
}  // namespace odk

struct ITriggers : INamed {
    virtual bool Init() = 0;
    virtual bool Deinit() = 0;
    virtual odk::List<odk::ITriggerInfo*>* GetTriggerInfo() = 0;
};

struct ITriggerKeyEventWrapperCallBack {
    virtual ~ITriggerKeyEventWrapperCallBack() {}
    virtual void OnKeyEvent(unsigned int, unsigned int) = 0;
    virtual void OnPreKeyEvent(unsigned int, unsigned int) = 0;
};

struct IHWTrigger : INamed {
    virtual bool Initialize(ITriggerKeyEventWrapperCallBack*) = 0;
    virtual bool AcquireHWTrigger() = 0;
    virtual bool ReleaseHWTrigger() = 0;
    virtual bool StartTrigger() = 0;
    virtual bool StopTrigger() = 0;
    virtual bool SimulateTrigger(uint32_t, uint32_t) = 0;
    virtual int GetPressedTrigger() = 0;
    virtual bool ResetPressedTrigger() = 0;
};

struct ISerialDataCallBack {
    virtual ~ISerialDataCallBack() {}
    virtual void OnSerialDataReceived(const uint8_t*, size_t) = 0;
};

enum TransportIOControlCodes : int32_t {};

struct ISerialPort : INamed {
    virtual bool Initialize(ISerialDataCallBack*) = 0;
    virtual bool AcquireSerialInterface() = 0;
    virtual bool ReleaseSerialInterface() = 0;
    virtual int StartTransport(std::string, int, bool) = 0;
    virtual int StopTransport() = 0;
    virtual int IoControl(TransportIOControlCodes, int) = 0;
    virtual int ProcessRequest(char*, unsigned long) = 0;
    virtual bool AcquireFWSerialInterface() = 0;
    virtual int FWOpenSerialPort(std::string) = 0;
    virtual int FWCloseSerialPort() = 0;
    virtual int FWIoCtl(int, int, unsigned char) = 0;
    virtual int FWPoll() = 0;
    virtual int FWWritePort(int, unsigned char*) = 0;
    virtual std::string FWReadPort() = 0;
};

struct IPlugableHALCallBack {
    virtual ~IPlugableHALCallBack() {}
    virtual void OnPlugableDeviceChanged(bool, const std::string&, int) = 0;
};

enum ScannerType : int32_t {};

struct IPlugable : INamed {
    virtual bool AcquirePlugableDeviceNotifier() = 0;
    virtual bool ReleasePlugableDeviceNotifier() = 0;
    virtual bool InitializeSSI(IPlugableHALCallBack*, ScannerType) = 0;
    virtual std::string GetPortName() = 0;
};

struct IBatterySwap : INamed {
    virtual bool Init() = 0;
    virtual bool EnterBatterySwap() = 0;
    virtual bool ExitBatterySwap() = 0;
};

struct IHWInfo : INamed {
    virtual bool isDeviceFederalSku1() = 0;
    virtual bool isDeviceFederalSku2() = 0;
};

struct ICamera : INamed {
    virtual bool Init() = 0;
    virtual bool DeInit() = 0;
    virtual int32_t GetCameraVendorTagID(std::string) = 0;
};

struct IImagerControl {
    virtual ~IImagerControl() {}
    virtual uint32_t sendCommand(unsigned char*, unsigned int, unsigned char*, unsigned int,
                                 unsigned int, unsigned int) = 0;
    virtual bool configureSettleCount(unsigned int) = 0;
};

struct IImager : IPlatformModule {
    virtual int8_t openImager() = 0;
    virtual int8_t closeImager() = 0;
    virtual IImagerControl* getImagerControlHIDLProxy() = 0;
    virtual void* getImagerAdapterHIDLProxy() = 0;
    virtual int8_t getImagerInterfaceType() = 0;
    virtual std::string getEngineID() = 0;
    virtual void deInit() = 0;
};

namespace {

int g_failures = 0;

#define CHECK_EQ(actual, expected)                                                           \
    do {                                                                                     \
        auto a_ = (actual);                                                                  \
        auto e_ = (expected);                                                                \
        if (!(a_ == e_)) {                                                                   \
            ++g_failures;                                                                    \
            printf("%s:%d: %s is not %s\n", __FILE__, __LINE__, #actual, #expected);          \
        }                                                                                    \
    } while (0)

struct Library {
    IPlatformModule* (*get)(PlatformModuleTag, const char*);
    IPlatformModule* (*abstracted)(PlatformModuleTag);
    void (*destroy)(IPlatformModule*);
};

struct Keys : ITriggerKeyEventWrapperCallBack {
    void OnKeyEvent(unsigned int a, unsigned int b) override {
        last = (a << 8) | b;
        ++count;
    }
    void OnPreKeyEvent(unsigned int, unsigned int) override { ++pre; }
    std::atomic<int> count{0}, pre{0};
    std::atomic<unsigned> last{0};
};

struct Led : ICallback {
    bool IsLEDAccessible() override { return true; }
};

// The module registered as `name` under `tag`; a named module must also answer its name.
template <typename T>
T* Get(const Library& lib, int tag, const char* name) {
    auto* module = static_cast<T*>(lib.get(static_cast<PlatformModuleTag>(tag), name));
    if (module == nullptr) {
        ++g_failures;
        printf("no module %s under tag %d\n", name, tag);
    } else if constexpr (std::is_base_of<INamed, T>::value) {
        CHECK_EQ(std::string(module->GetModuleName()), name);
    }
    return module;
}

void Feedback(const Library& lib) {
    auto* beep = Get<IFeedback>(lib, 0, "HWBeep");
    auto* led = Get<IFeedback>(lib, 1, "LEDNotification");
    auto* haptic = Get<IFeedback>(lib, 7, "IExternalHapticFeedack");
    if (!beep || !led || !haptic) return;
    Led access;
    CHECK_EQ(beep->IsSupported(), true);
    CHECK_EQ(beep->InitializeFeedback(), true);
    CHECK_EQ(led->InitializeFeedback(), true);
    led->SetCallback(&access);
    beep->SetCallback(&access);
    led->SetParameter("decoding_led_feedback", "true");
    CHECK_EQ(led->PrepareFeedbackForTrigger(), true);
    CHECK_EQ(beep->PrepareFeedbackForTrigger(), true);
    CHECK_EQ(beep->TriggerFeedback(), true);
    CHECK_EQ(led->TriggerFeedback(), true);
    led->ResetFeedback();
    beep->ResetFeedback();
    beep->ReleaseResources();
    led->ReleaseResources();
    CHECK_EQ(beep->CheckExternalHeadset(), false);
    beep->ReadSubmit();
    // The haptic module's fixed answers.
    CHECK_EQ(haptic->ReinitializeFeedback(), false);
    CHECK_EQ(haptic->GetParameter("anything") == nullptr, true);
    haptic->SetParameter("anything", "1");
    CHECK_EQ(haptic->CheckExternalHeadset(), false);
    CHECK_EQ(haptic->ReadSubmit(), true);
    haptic->SetCallback(&access);
    lib.destroy(beep);
    lib.destroy(led);
    lib.destroy(haptic);
}

void Triggers(const Library& lib, void* device, int (*press)(void*, unsigned, unsigned, unsigned)) {
    auto* triggers = Get<ITriggers>(lib, 2, "Triggers");
    if (triggers != nullptr) {
        CHECK_EQ(triggers->Init(), true);
        odk::List<odk::ITriggerInfo*>* list = triggers->GetTriggerInfo();
        CHECK_EQ(list->size(), 3u);
        std::string resources;
        list->begin();
        while (list->hasNext()) {
            resources += std::string(list->get()->GetScannerResource()) + " ";
            list->movenext();
        }
        CHECK_EQ(resources, "TRIGGER_LEFT TRIGGER_RIGHT TRIGGER_CENTER ");
        CHECK_EQ(triggers->Deinit(), true);
        lib.destroy(triggers);
    }
    auto* trigger = Get<IHWTrigger>(lib, 6, "HWTrigger");
    if (trigger == nullptr) return;
    Keys keys;
    CHECK_EQ(trigger->Initialize(&keys), true);
    CHECK_EQ(trigger->AcquireHWTrigger(), true);
    CHECK_EQ(trigger->StartTrigger(), true);
    CHECK_EQ(press(device, 1, 0x12, 1), 1);
    for (int i = 0; i < 500 && keys.count == 0; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    CHECK_EQ(keys.count.load(), 1);
    CHECK_EQ(keys.last.load(), (0x12u << 8) | 1u);
    trigger->SimulateTrigger(1, 2);
    trigger->GetPressedTrigger();
    trigger->ResetPressedTrigger();
    CHECK_EQ(trigger->StopTrigger(), true);
    CHECK_EQ(trigger->ReleaseHWTrigger(), true);
    lib.destroy(trigger);
}

struct SerialData : ISerialDataCallBack {
    void OnSerialDataReceived(const uint8_t*, size_t) override {}
};

struct Plugs : IPlugableHALCallBack {
    void OnPlugableDeviceChanged(bool, const std::string&, int) override {}
};

void Transports(const Library& lib) {
    auto* serial = Get<ISerialPort>(lib, 9, "SerialPort");
    if (serial != nullptr) {
        SerialData data;
        CHECK_EQ(serial->Initialize(&data), true);
        CHECK_EQ(serial->AcquireSerialInterface(), true);
        CHECK_EQ(serial->StartTransport("/dev/ttyHS1", 115200, false), 0);
        char request[] = {1, 2, 3};
        CHECK_EQ(serial->ProcessRequest(request, sizeof request), 0);
        CHECK_EQ(serial->IoControl(static_cast<TransportIOControlCodes>(1), 0), 0);
        CHECK_EQ(serial->StopTransport(), 0);
        CHECK_EQ(serial->ReleaseSerialInterface(), true);
        lib.destroy(serial);
    }
    auto* plugable = Get<IPlugable>(lib, 10, "PlugableDeviceNotifier");
    if (plugable != nullptr) {
        Plugs plugs;
        CHECK_EQ(plugable->AcquirePlugableDeviceNotifier(), true);
        CHECK_EQ(plugable->InitializeSSI(&plugs, static_cast<ScannerType>(1)), true);
        CHECK_EQ(plugable->GetPortName(), "WrongPort");
        CHECK_EQ(plugable->ReleasePlugableDeviceNotifier(), true);
        lib.destroy(plugable);
    }
    auto* battery = Get<IBatterySwap>(lib, 11, "BatterySwapModule");
    if (battery != nullptr) {
        CHECK_EQ(battery->Init(), true);
        CHECK_EQ(battery->EnterBatterySwap(), true);
        CHECK_EQ(battery->ExitBatterySwap(), true);
        lib.destroy(battery);
    }
    auto* info = Get<IHWInfo>(lib, 12, "PlatformHWInfoRetriever");
    if (info != nullptr) {
        CHECK_EQ(info->IsSupported(), true);
        CHECK_EQ(info->isDeviceFederalSku1(), false);
        CHECK_EQ(info->isDeviceFederalSku2(), false);
        lib.destroy(info);
    }
    auto* camera = Get<ICamera>(lib, 13, "CameraModule");
    if (camera != nullptr) {
        CHECK_EQ(camera->Init(), true);
        CHECK_EQ(camera->GetCameraVendorTagID("com.tevrin.imager.engine_id"), static_cast<int32_t>(0x80000000));
        CHECK_EQ(camera->DeInit(), true);
        lib.destroy(camera);
    }
}

void Imager(const Library& lib) {
    auto* imager = Get<IImager>(lib, 8, "ImagerHIDLProxy");
    if (imager == nullptr) return;
    CHECK_EQ(imager->openImager(), 0);
    CHECK_EQ(imager->getEngineID(), "31");
    CHECK_EQ(imager->getImagerInterfaceType(), 1);
    IImagerControl* control = imager->getImagerControlHIDLProxy();
    CHECK_EQ(control != nullptr, true);
    CHECK_EQ(imager->getImagerAdapterHIDLProxy() != nullptr, true);
    CHECK_EQ(imager->closeImager(), 0);
    imager->deInit();
    lib.destroy(imager);
}

}  // namespace

int main() {
    void* sim = dlopen(ORVEX_BUILD_DIR "/lib/liborvex_sim.so", RTLD_NOW | RTLD_GLOBAL);
    void* lib = dlopen(ORVEX_BUILD_DIR "/lib/libplatform.orvex.so", RTLD_NOW | RTLD_LOCAL);
    if (sim == nullptr || lib == nullptr) {
        printf("dlopen: %s\n", dlerror());
        return 3;
    }
    auto start = reinterpret_cast<void* (*)()>(dlsym(sim, "orvex_sim_device_start"));
    auto stop = reinterpret_cast<void (*)(void*)>(dlsym(sim, "orvex_sim_device_stop"));
    auto press = reinterpret_cast<int (*)(void*, unsigned, unsigned, unsigned)>(
        dlsym(sim, "orvex_sim_press_trigger"));
    Library platform{
        reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag, const char*)>(dlsym(lib, "GetPlatformModule")),
        reinterpret_cast<IPlatformModule* (*)(PlatformModuleTag)>(dlsym(lib, "GetAbstractedPlatformModule")),
        reinterpret_cast<void (*)(IPlatformModule*)>(dlsym(lib, "DeletePlatformModule"))};
    if (!start || !stop || !press || !platform.get || !platform.abstracted || !platform.destroy) {
        printf("missing entry point\n");
        return 3;
    }
    void* device = start();
    Feedback(platform);
    Triggers(platform, device, press);
    Transports(platform);
    Imager(platform);
    stop(device);
    return g_failures == 0 ? 0 : 1;
}
