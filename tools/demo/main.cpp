// orvex-demo: a scanning service in miniature, and the example to copy when writing one.
//
// It does what the scanning service does with the platform library: acquires the hardware
// trigger; on a press lights the scan LED red and prepares the beep, "decodes" for a moment
// (streaming imager frames meanwhile, where the device has an imager), then gives good-decode
// feedback (beep, LED green, external vibrator); it opens an attached serial scanner's port when
// the scanner is plugged and prints what the scanner sends. It exits cleanly on SIGINT/SIGTERM.
//
// The library is loaded with dlopen, as the scanning service loads it: the service is built once
// and must start (and report) on a device whose image lacks the library, and nothing of this
// program depends on how the library was built; it needs only the interface headers. Modules
// come only through the five exported functions. The one other entry it uses is the library's
// timer service (TimerProvider::Initialize/DeInitialize), which every caller starts itself: the
// LED's green phase after a good decode is one of its timers, and without it the LED would go
// from red straight to off.
//
// Services die and come back (on a device their init restarts them). The trigger module
// reconnects by itself; the others notice a dead service only when they next connect, so each
// scan connects anew: the beep and the vibrator initialise again (a no-op while their service
// lives), the imager is opened for the scan and closed after it, the plug-event registration and
// an open serial port are renewed.
//
// Threads: the main thread makes every library call. Key events, plug events and serial data
// arrive on the library's threads; their callbacks only post to the inbox the main thread
// reads. Frames arrive on a service thread too; the callback takes what it needs from the
// mapped frame there, as it must (the frame is unmapped when the callback returns).

#include <dlfcn.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>

#include "IPlatformModule.h"
#include "ITriggerInfo.h"
#include "OdkList.h"
#include "PlatformCallbacks.h"
#include "PlatformModuleInterfaces.h"

namespace {

using Clock = std::chrono::steady_clock;

// How long a "decode" takes, and how long the LED stays green after a good one.
constexpr auto kDecodeTime = std::chrono::milliseconds(300);
constexpr const char* kGoodDecodeLedMs = "1000";
// The imager's frames: 1280x800, 8 bits per pixel.
constexpr __preview_size__ kPreview{1280, 800, 8, false, false};
// The scanner type the service asks plug events for, and the serial port's settings.
constexpr ScannerType kSerialScanner = static_cast<ScannerType>(1);
constexpr int kBaudRate = 9600;

// The platform library's entry points.
struct Platform {
    int (*getPlatformVersion)() = nullptr;
    IPlatformModule* (*GetPlatformModule)(PlatformModuleTag, const char*) = nullptr;
    IPlatformModule* (*GetAbstractedPlatformModule)(PlatformModuleTag) = nullptr;
    void (*DeletePlatformModule)(IPlatformModule*) = nullptr;
    int (*GetNumberOfPlatformModulesForTag)(PlatformModuleTag) = nullptr;
    // TimerProvider::Initialize() and TimerProvider::DeInitialize(), by their C++ names.
    void (*startTimers)() = nullptr;
    void (*stopTimers)() = nullptr;

    // Loads the library by its soname (found next to this program, through its RUNPATH, or
    // where the system keeps libraries). The library is never unloaded: its services live
    // until the process ends.
    bool Load() {
        void* handle = dlopen("libplatform.orvex.so", RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) {
            fprintf(stderr, "orvex-demo: %s\n", dlerror());
            return false;
        }
        bool found = true;
        auto find = [&](auto& function, const char* name) {
            function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(handle, name));
            if (function == nullptr) {
                fprintf(stderr, "orvex-demo: the library has no %s\n", name);
                found = false;
            }
        };
        find(getPlatformVersion, "getPlatformVersion");
        find(GetPlatformModule, "GetPlatformModule");
        find(GetAbstractedPlatformModule, "GetAbstractedPlatformModule");
        find(DeletePlatformModule, "DeletePlatformModule");
        find(GetNumberOfPlatformModulesForTag, "GetNumberOfPlatformModulesForTag");
        find(startTimers, "_ZN13TimerProvider10InitializeEv");
        find(stopTimers, "_ZN13TimerProvider12DeInitializeEv");
        return found;
    }

    template <typename Module>
    Module* Get(PlatformModuleTag tag) {
        return static_cast<Module*>(GetAbstractedPlatformModule(tag));
    }
};

// What the library's threads tell the main thread.
struct Event {
    enum Kind { kKey, kPreKey, kPlug, kSerial, kQuit } kind;
    unsigned first = 0;  // key: scan code; plug: 1 attached, 0 removed
    unsigned second = 0; // key: 1 down, 0 up; plug: scanner type
    std::string text;    // plug: port name; serial: the bytes
};

class Inbox {
public:
    void Post(Event event) {
        std::lock_guard<std::mutex> lock(mLock);
        mEvents.push_back(std::move(event));
        mPosted.notify_one();
    }

    // The next event; none if `deadline` passes first (without a deadline, waits for one).
    std::optional<Event> Next(std::optional<Clock::time_point> deadline) {
        std::unique_lock<std::mutex> lock(mLock);
        auto ready = [&] { return !mEvents.empty(); };
        if (!deadline) {
            mPosted.wait(lock, ready);
        } else if (!mPosted.wait_until(lock, *deadline, ready)) {
            return std::nullopt;
        }
        Event event = std::move(mEvents.front());
        mEvents.pop_front();
        return event;
    }

private:
    std::mutex mLock;
    std::condition_variable mPosted;
    std::deque<Event> mEvents;  // GUARDED_BY(mLock)
};

class KeyEvents : public ITriggerKeyEventWrapperCallBack {
public:
    explicit KeyEvents(Inbox& inbox) : mInbox(inbox) {}
    void OnKeyEvent(unsigned int code, unsigned int down) override {
        mInbox.Post({Event::kKey, code, down, {}});
    }
    void OnPreKeyEvent(unsigned int code, unsigned int down) override {
        mInbox.Post({Event::kPreKey, code, down, {}});
    }

private:
    Inbox& mInbox;
};

class SerialData : public ISerialDataCallBack {
public:
    explicit SerialData(Inbox& inbox) : mInbox(inbox) {}
    void OnSerialDataReceived(const uint8_t* data, size_t size) override {
        mInbox.Post({Event::kSerial, 0, 0, std::string(reinterpret_cast<const char*>(data), size)});
    }

private:
    Inbox& mInbox;
};

class Plugs : public IPlugableHALCallBack {
public:
    explicit Plugs(Inbox& inbox) : mInbox(inbox) {}
    void OnPlugableDeviceChanged(bool connected, const std::string& port, int type) override {
        mInbox.Post({Event::kPlug, connected ? 1u : 0u, static_cast<unsigned>(type), port});
    }

private:
    Inbox& mInbox;
};

// Counts frames and keeps the last one's mean grey level (a sample of its pixels).
class Frames : public IImageCallback {
public:
    bool OnReceiveFrame(void* frame) override {
        // Rows of 2280 pixels come padded to 2288.
        const size_t stride = kPreview.width == 2280 ? 2288 : kPreview.width;
        const auto* pixels = static_cast<const uint8_t*>(frame);
        uint64_t sum = 0, count = 0;
        for (size_t y = 0; y < kPreview.height; y += 4) {
            for (size_t x = 0; x < kPreview.width; x += 4, ++count) sum += pixels[y * stride + x];
        }
        std::lock_guard<std::mutex> lock(mLock);
        ++mCount;
        mMean = static_cast<unsigned>(sum / count);
        return true;
    }

    // Frames since the last call, and the last frame's mean level.
    std::pair<unsigned, unsigned> Take() {
        std::lock_guard<std::mutex> lock(mLock);
        std::pair<unsigned, unsigned> taken{mCount, mMean};
        mCount = 0;
        return taken;
    }

private:
    std::mutex mLock;
    unsigned mCount = 0;  // GUARDED_BY(mLock)
    unsigned mMean = 0;   // GUARDED_BY(mLock)
};

// The scan LED may always be used here; a service that shares it asks its owner.
class LedAccess : public ICallback {
public:
    bool IsLEDAccessible() override { return true; }
};

// Bytes as text, with anything unprintable escaped.
std::string Printable(const std::string& bytes) {
    std::string text;
    for (unsigned char c : bytes) {
        if (c == '\r') text += "\\r";
        else if (c == '\n') text += "\\n";
        else if (c == '\\' || c == '"') text += std::string("\\") + static_cast<char>(c);
        else if (c >= 0x20 && c < 0x7f) text += static_cast<char>(c);
        else {
            char hex[8];
            snprintf(hex, sizeof hex, "\\x%02X", c);
            text += hex;
        }
    }
    return text;
}

class Demo {
public:
    Demo(Platform& platform, Inbox& inbox)
        : mPlatform(platform), mInbox(inbox), mKeys(inbox), mSerialData(inbox), mPlugs(inbox) {}

    // Takes every module the device offers; false without a hardware trigger.
    bool Start() {
        printf("platform library version %d\n", mPlatform.getPlatformVersion());
        mPlatform.startTimers();
        ListTriggerKeys();

        mTrigger = mPlatform.Get<IHWTriggerModule>(PLATFORM_MODULE_HW_TRIGGER);
        if (mTrigger == nullptr || !mTrigger->Initialize(&mKeys) || !mTrigger->AcquireHWTrigger()) {
            printf("no hardware trigger on this device: nothing to scan with\n");
            return false;
        }
        mTriggerAcquired = true;
        mTrigger->StartTrigger();

        mBeep = Feedback(PLATFORM_MODULE_BEEP, "beep");
        mLed = Feedback(PLATFORM_MODULE_LED, "scan LED");
        if (mLed != nullptr) {
            mLed->SetCallback(&mLedAccess);
            mLed->SetParameter("decoding_led_feedback", "true");
            mLed->SetParameter("good_decode_led_timer", kGoodDecodeLedMs);
        }
        mVibrator = Feedback(PLATFORM_MODULE_EXTERNAL_HAPTIC, "external vibrator service");
        ListenForScanners();
        // A scanner attached before we listened sent its plug event to nobody.
        const std::string port = mPlug != nullptr ? mPlug->GetPortName() : "WrongPort";
        if (port != "WrongPort") OnPlug(true, port, kSerialScanner);
        if (OpenImager()) {
            printf("imager %s: %ux%u frames while scanning\n", mImager->getEngineID().c_str(),
                   kPreview.width, kPreview.height);
            CloseImager();
        } else {
            mImagerPresent = false;
            printf("no imager on this device\n");
        }
        printf("ready: press the trigger\n");
        return true;
    }

    // Handles events until told to quit.
    void Run() {
        std::optional<Clock::time_point> decodeAt;
        for (;;) {
            std::optional<Event> event = mInbox.Next(decodeAt);
            if (!event) {
                GoodDecode();
                decodeAt.reset();
                continue;
            }
            switch (event->kind) {
            case Event::kQuit:
                return;
            case Event::kKey:
                printf("key event: key %u %s\n", event->first, event->second ? "down" : "up");
                // One decode per press; a press during a decode is part of that scan.
                if (event->second != 0 && !decodeAt) {
                    BeginScan();
                    decodeAt = Clock::now() + kDecodeTime;
                }
                break;
            case Event::kPreKey:
                printf("pre-key event: key %u %s\n", event->first, event->second ? "down" : "up");
                break;
            case Event::kPlug:
                OnPlug(event->first != 0, event->text, static_cast<int>(event->second));
                break;
            case Event::kSerial:
                printf("serial scanner sent %zu bytes: \"%s\"\n", event->text.size(),
                       Printable(event->text).c_str());
                break;
            }
        }
    }

    // Hands everything back: the LED off, the trigger and the ports released.
    void Stop() {
        CloseImager();
        DropSerialPort();
        StopListeningForScanners();
        if (mLed != nullptr) {
            // Destroys the green-phase timer, then turns the LED off.
            mLed->SetParameter("good_decode_led_timer", "0");
            mLed->SetParameter("decoding_led_feedback", "false");
        }
        if (mTriggerAcquired) mTrigger->ReleaseHWTrigger();
        Delete(mTrigger);
        Delete(mBeep);
        Delete(mLed);
        Delete(mVibrator);
        mPlatform.stopTimers();
    }

private:
    template <typename Module>
    void Delete(Module*& module) {
        mPlatform.DeletePlatformModule(module);
        module = nullptr;
    }

    IFeedbackModule* Feedback(PlatformModuleTag tag, const char* what) {
        auto* module = mPlatform.Get<IFeedbackModule>(tag);
        if (module != nullptr && !module->InitializeFeedback()) Delete(module);
        if (module == nullptr) printf("no %s on this device\n", what);
        return module;
    }

    void ListTriggerKeys() {
        auto* triggers = mPlatform.Get<ITriggersModule>(PLATFORM_MODULE_TRIGGERS);
        if (triggers == nullptr) return;
        if (triggers->Init()) {
            odk::List<odk::ITriggerInfo*>* keys = triggers->GetTriggerInfo();
            for (keys->begin(); keys->hasNext(); keys->movenext()) {
                odk::ITriggerInfo* key = keys->get();
                printf("trigger key %d: %s (%s)\n", key->GetScanCode(), key->GetFriendlyName(),
                       key->GetScannerResource());
            }
            triggers->Deinit();
        }
        Delete(triggers);
    }

    void ListenForScanners() {
        mPlug = mPlatform.Get<IPlugableDeviceModule>(PLATFORM_MODULE_PLUGABLE_DEVICE);
        if (mPlug != nullptr &&
            !(mPlug->AcquirePlugableDeviceNotifier() && mPlug->InitializeSSI(&mPlugs, kSerialScanner))) {
            StopListeningForScanners();
        }
    }

    void StopListeningForScanners() {
        if (mPlug != nullptr) mPlug->ReleasePlugableDeviceNotifier();
        Delete(mPlug);
    }

    void OnPlug(bool attached, const std::string& port, int type) {
        if (!attached) {
            if (mSerial != nullptr) mSerial->StopTransport();
            DropSerialPort();
            printf("serial scanner removed from %s\n", port.c_str());
            return;
        }
        const bool open = OpenSerialPort(port);
        printf("serial scanner attached on %s (type %d): %s\n", port.c_str(), type,
               open ? "port open" : "the port does not open");
    }

    bool OpenSerialPort(const std::string& port) {
        DropSerialPort();
        mSerial = mPlatform.Get<ISerialPortModule>(PLATFORM_MODULE_SERIAL_PORT);
        if (mSerial != nullptr && mSerial->Initialize(&mSerialData) && mSerial->AcquireSerialInterface() &&
            mSerial->StartTransport(port, kBaudRate, false) == 0) {
            mSerialPortName = port;
            return true;
        }
        DropSerialPort();
        return false;
    }

    // Lets go of the port without a word to its service, which may have restarted since the
    // port was opened (asking a dead one would end the process).
    void DropSerialPort() {
        if (mSerial != nullptr) mSerial->ReleaseSerialInterface();
        Delete(mSerial);
    }

    // Opens the imager and sets its frames streaming to us; false without an imager.
    bool OpenImager() {
        if (!mImagerPresent || mPlatform.GetNumberOfPlatformModulesForTag(PLATFORM_MODULE_IMAGER) == 0) {
            return false;
        }
        mImager = static_cast<IImagerModule*>(
            mPlatform.GetPlatformModule(PLATFORM_MODULE_IMAGER, "ImagerHIDLProxy"));
        if (mImager == nullptr) return false;
        if (mImager->openImager() != -1) {
            auto* adapter = reinterpret_cast<IImagerAdapterProxy*>(mImager->getImagerAdapterHIDLProxy());
            if (adapter->InitAdapter("V4L2Adapter", kPreview) == 0 && adapter->Enable(&mFrames) == 0) {
                mAdapter = adapter;
                return true;
            }
        }
        CloseImager();
        return false;
    }

    void CloseImager() {
        if (mAdapter != nullptr) {
            // A timed release: the adapter pauses, then stops the stream on every platform.
            mAdapter->StopStreaming(false, 1);
            mAdapter->Disable();
            mAdapter->DeinitAdapter();
            mAdapter = nullptr;
        }
        if (mImager == nullptr) return;
        mImager->closeImager();
        mImager->deInit();
        Delete(mImager);
    }

    void BeginScan() {
        if (mLed != nullptr) mLed->PrepareFeedbackForTrigger();  // red while decoding
        mBeepReady = mBeep != nullptr && mBeep->InitializeFeedback();
        if (mBeepReady) mBeep->PrepareFeedbackForTrigger();  // the beep's volume and tone
        mVibratorReady = mVibrator != nullptr && mVibrator->InitializeFeedback();
        StopListeningForScanners();
        ListenForScanners();
        if (mSerial != nullptr) OpenSerialPort(mSerialPortName);
        if (OpenImager()) mAdapter->StartStreaming();
    }

    void GoodDecode() {
        ++mDecodes;
        std::string feedback;
        if (mBeepReady && mBeep->TriggerFeedback()) feedback += ", beep";
        if (mLed != nullptr && mLed->TriggerFeedback()) feedback += ", LED green";  // off when its timer ends
        // Preparing asks whether a vibrator is attached now.
        if (mVibratorReady && mVibrator->PrepareFeedbackForTrigger() && mVibrator->TriggerFeedback()) {
            feedback += ", vibrate";
        }
        printf("good decode %d: %s\n", mDecodes, feedback.empty() ? "no feedback" : feedback.c_str() + 2);
        if (mAdapter != nullptr) {
            CloseImager();
            const auto [frames, mean] = mFrames.Take();
            if (frames == 0) printf("imager: no frames during the scan\n");
            else printf("imager: %u frames during the scan, last frame's mean level %u\n", frames, mean);
        }
    }

    Platform& mPlatform;
    Inbox& mInbox;
    KeyEvents mKeys;
    SerialData mSerialData;
    Plugs mPlugs;
    Frames mFrames;
    LedAccess mLedAccess;
    IHWTriggerModule* mTrigger = nullptr;
    bool mTriggerAcquired = false;
    IFeedbackModule* mBeep = nullptr;
    bool mBeepReady = false;  // for this scan
    IFeedbackModule* mLed = nullptr;
    IFeedbackModule* mVibrator = nullptr;
    bool mVibratorReady = false;  // for this scan
    ISerialPortModule* mSerial = nullptr;
    std::string mSerialPortName;
    IPlugableDeviceModule* mPlug = nullptr;
    IImagerModule* mImager = nullptr;
    IImagerAdapterProxy* mAdapter = nullptr;
    bool mImagerPresent = true;
    int mDecodes = 0;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        fprintf(stderr, "usage: %s\n(run it under `orvexctl sim`, or anywhere the library finds a device)\n", argv[0]);
        return 2;
    }
    // Lines reach a reader (a terminal, a pipe, a log) as they are printed.
    setvbuf(stdout, nullptr, _IOLBF, 0);

    // SIGINT and SIGTERM are taken by one thread of ours; every other thread, the library's
    // included, inherits the blocked mask and never sees them.
    sigset_t quit;
    sigemptyset(&quit);
    sigaddset(&quit, SIGINT);
    sigaddset(&quit, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &quit, nullptr);
    Inbox inbox;
    std::thread signals([&] {
        int signal = 0;
        sigwait(&quit, &signal);
        inbox.Post({Event::kQuit, 0, 0, {}});
    });
    auto stopSignals = [&] {
        pthread_kill(signals.native_handle(), SIGTERM);  // no-op if a signal already ended it
        signals.join();
    };

    Platform platform;
    if (!platform.Load()) {
        stopSignals();
        return 1;
    }
    Demo demo(platform, inbox);
    const bool started = demo.Start();
    if (started) demo.Run();
    demo.Stop();
    stopSignals();
    printf("%s\n", started ? "stopped" : "stopped: no hardware trigger");
    return started ? 0 : 1;
}
