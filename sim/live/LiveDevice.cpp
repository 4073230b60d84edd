#include "LiveDevice.h"

#include <android/hardware/light/2.0/ILight.h>
#include <orvex/device_root.h>
#include <orvex/hidl_registry.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/system_properties.h>
#include <tinyxml2.h>
#include <vendor/tevrin/hardware/hwbeep/1.0/IHardwareBeepConfigs.h>

#include <algorithm>

#include "FakeImager.h"
#include "FakeImagerAdapter.h"
#include "FakePlugableDeviceNotifier.h"
#include "FakeSerial.h"
#include "FakeTrigger.h"
#include "feedback/FakeAidlLights.h"
#include "feedback/FakeHardwareBeep.h"
#include "feedback/FakeHidlLight.h"

namespace orvex {
namespace sim {

using json = nlohmann::json;
using Clock = std::chrono::steady_clock;

namespace {

// The trigger record of a key: type 1 (a key event), the scan code, 1 pressed / 0 released.
constexpr uint32_t kKeyEvent = 1;
// The HIDL light type and the AIDL light id of the scan LED.
constexpr int kScanLedType = 8;
constexpr int32_t kScanLedId = 1;
// Where a plugged serial scanner appears, and the scanner type it reports.
constexpr const char* kSerialPort = "/dev/ttyUSB0";
constexpr int8_t kSerialScannerType = 2;
// While frames stream, the state (frames delivered) is refreshed this often.
constexpr auto kStreamingRefresh = std::chrono::milliseconds(200);

// The device's trigger keys in the order its trigger resource file lists them for its model
// (under the SKU for the one model that keeps them there), else the keys every device has.
std::vector<uint32_t> ReadTriggerKeys() {
    char model[PROP_VALUE_MAX] = "";
    char sku[PROP_VALUE_MAX] = "";
    __system_property_get("ro.product.model", model);
    __system_property_get("ro.product.device", sku);
    std::vector<uint32_t> keys;
    tinyxml2::XMLDocument document;
    if (document.LoadFile(DevicePath("/system/etc/scanner/ScannerResourceConfig.xml").c_str()) ==
            tinyxml2::XML_SUCCESS &&
        document.RootElement() != nullptr) {
        const tinyxml2::XMLElement* entry = document.RootElement()->FirstChildElement(model);
        if (entry != nullptr && strcmp(model, "HX2105x") == 0) entry = entry->FirstChildElement(sku);
        for (const tinyxml2::XMLElement* key = entry ? entry->FirstChildElement("Key") : nullptr;
             key != nullptr; key = key->NextSiblingElement("Key")) {
            const tinyxml2::XMLElement* code = key->FirstChildElement("KeyCode");
            if (code != nullptr && code->GetText() != nullptr) {
                keys.push_back(static_cast<uint32_t>(strtoul(code->GetText(), nullptr, 16)));
            }
        }
    }
    if (keys.empty()) keys = {0x136, 0x137, 0x2E8, 0x2D4, 0x2D6, 0x2D7};
    return keys;
}

std::string ThreadName() {
    char name[17] = "";
    prctl(PR_GET_NAME, name, 0, 0, 0);
    return name;
}

}  // namespace

LiveDevice::LiveDevice(std::string profile) : mProfile(std::move(profile)) {}

LiveDevice::~LiveDevice() {
    Stop();
    // Waits out a listener call in progress, so none runs on a destroyed device.
    Timeline::Begin(nullptr);
    Timeline::End();
}

void LiveDevice::Start() {
    Timeline::Begin([this](const Timeline::Event& event) { OnCall(event); });
    {
        std::lock_guard<std::mutex> lock(mDeviceLock);
        mDevice.Start();
        mBeep = mDevice.beep();
        mLight = mDevice.hidlLight();
    }
    mKeys = ReadTriggerKeys();
    mPublisher = std::thread([this] { PublishLoop(); });
}

void LiveDevice::Stop() {
    mStopping = true;
    mEvents.Stop();
    if (mPublisher.joinable()) mPublisher.join();
}

LiveDevice::Result LiveDevice::Error(int status, const std::string& message) {
    return Result{status, json{{"error", message}}};
}

void LiveDevice::OnCall(const Timeline::Event& event) {
    const std::string& text = event.call;
    const size_t open = text.find('(');
    std::string method = text.substr(0, open);
    std::string args;
    if (open != std::string::npos) {
        const size_t close = text.rfind(')');
        args = text.substr(open + 1, close == std::string::npos || close < open
                                         ? std::string::npos
                                         : close - open - 1);
    }
    const bool beep = event.service == "IHardwareBeepConfigs" && method == "startBeep";
    const bool vibration = event.service == "IPlugableDeviceNotifier" && method == "vibrateExternal";
    const int64_t duration = vibration ? strtoll(args.c_str(), nullptr, 10) : 0;
    const uint64_t seq = mEvents.Add(event.ms, event.thread, ThreadName(), event.service,
                                     std::move(method), std::move(args));
    if (beep || vibration) {
        std::lock_guard<std::mutex> lock(mNoteLock);
        if (beep) mLastBeepSeq = seq;
        if (vibration) {
            mLastVibration = duration;
            mVibrationEnd = Clock::now() + std::chrono::milliseconds(std::max<int64_t>(duration, 0));
        }
    }
}

void LiveDevice::PublishLoop() {
    uint64_t seen = 0;
    std::string shown;
    bool streaming = false;
    while (!mStopping) {
        json state = State();
        streaming = state["imager"]["streaming"].get<bool>();
        const uint64_t seq = state["seq"].get<uint64_t>();
        state.erase("seq");
        // A profile or thread name need not be UTF-8; such bytes are replaced.
        std::string text = state.dump(-1, ' ', false, json::error_handler_t::replace);
        if (text != shown) {
            shown = text;
            mEvents.PublishState(std::move(text), seq);
        }
        Clock::time_point deadline = Clock::now() + (streaming ? kStreamingRefresh
                                                               : std::chrono::milliseconds(60000));
        {
            std::lock_guard<std::mutex> lock(mNoteLock);
            if (mVibrationEnd > Clock::now()) deadline = std::min(deadline, mVibrationEnd);
        }
        seen = mEvents.WaitForChange(seen, deadline);
    }
}

FakeImagerAdapter* LiveDevice::AdapterLocked() {
    FakeImager* imager = mDevice.imager();
    if (imager == nullptr) return nullptr;
    // The device builds its imager with this adapter (SimulatedDevice::Start).
    return static_cast<FakeImagerAdapter*>(imager->Adapter().get());
}

void LiveDevice::PaintLocked(FakeImagerAdapter* adapter) {
    std::shared_ptr<FrameImage> image = mImage;
    if (image == nullptr) {
        adapter->SetPainter(nullptr);
        return;
    }
    adapter->SetPainter([image](uint8_t* data, size_t bytes,
                                const FakeImagerAdapter::PreviewSize& size, uint64_t) {
        image->Paint(data, bytes, size.width, size.height, size.bitsPerPixel);
    });
}

json LiveDevice::State() {
    std::lock_guard<std::mutex> lock(mDeviceLock);
    return StateLocked();
}

json LiveDevice::StateLocked() {
    const auto& services = mDevice.services();
    auto setting = [&](const char* name) {
        auto it = services.find(name);
        return it == services.end() ? std::string() : it->second;
    };
    json state;
    state["profile"] = mProfile;

    json list = json::array();
    if (setting("hardware_manager") == "1") {
        list.push_back({{"name", "hardware_manager"}, {"alive", mDevice.hardwareManager().Alive()}});
    }
    if (mBeep != nullptr) {
        list.push_back({{"name", "beep"},
                        {"alive", hidl::IsServiceRegistered(
                                      vendor::tevrin::hardware::hwbeep::V1_0::IHardwareBeepConfigs::descriptor,
                                      "default")}});
    }
    if (mLight != nullptr) {
        list.push_back({{"name", "light"},
                        {"alive", hidl::IsServiceRegistered(
                                      android::hardware::light::V2_0::ILight::descriptor, "default")}});
    } else if (mDevice.aidlLights() != nullptr) {
        list.push_back({{"name", "light"}, {"alive", true}});
    }
    if (mDevice.audio() != nullptr) list.push_back({{"name", "audio"}, {"alive", true}});
    state["services"] = list;

    uint32_t color = 0;
    if (mLight != nullptr) {
        for (const FakeHidlLight::Call& call : mLight->Calls()) {
            if (call.type == kScanLedType) color = call.state.color;
        }
    } else if (mDevice.aidlLights() != nullptr) {
        for (const FakeAidlLights::Call& call : mDevice.aidlLights()->SetCalls()) {
            if (call.id == kScanLedId) color = static_cast<uint32_t>(call.state.color);
        }
    }
    color &= 0xFFFFFF;
    char hex[8];
    snprintf(hex, sizeof hex, "#%06X", color);
    state["led"] = {{"color", color != 0 ? json(hex) : json(nullptr)}};

    json beep = {{"count", 0}, {"last", nullptr}};
    if (mBeep != nullptr) {
        int count = 0;
        for (const FakeHardwareBeep::Call& call : mBeep->Calls()) {
            if (call.kind == FakeHardwareBeep::Call::kStartBeep) ++count;
            if (call.kind == FakeHardwareBeep::Call::kSetBeepConfig && call.args.size() == 5) {
                beep["last"] = {{"frequency", call.args[0]}, {"duration", call.args[1]},
                                {"volume", call.args[2]},    {"timeout", call.args[3]},
                                {"timeout_after", call.args[4]}};
            }
        }
        beep["count"] = count;
    }

    FakePlugableDeviceNotifier* notifier = mDevice.plugableDeviceNotifier();
    json vibrator = {{"present", setting("external_vibrator") == "1"},
                     {"count", notifier != nullptr ? notifier->calls().Count("vibrateExternal") : 0}};
    {
        std::lock_guard<std::mutex> lock(mNoteLock);
        beep["last_at_seq"] = mLastBeepSeq;
        vibrator["active"] = mLastVibration >= 0 && Clock::now() < mVibrationEnd;
        vibrator["last"] = mLastVibration >= 0 ? json{{"duration", mLastVibration}} : json(nullptr);
    }
    state["beep"] = beep;
    state["vibrator"] = vibrator;

    state["trigger"] = {{"main_key", mainKey()}, {"keys", mKeys}, {"pressed", mPressed}};
    state["serial"] = {{"present", mDevice.serial() != nullptr},
                       {"plugged", mPlugged},
                       {"bytes_sent", mBytesSent}};

    FakeImagerAdapter* adapter = AdapterLocked();
    json imager = {{"present", adapter != nullptr}, {"streaming", false}, {"width", 0},
                   {"height", 0},                   {"frames_delivered", 0},
                   {"source", mImage != nullptr ? "image" : "pattern"}};
    if (adapter != nullptr) {
        const auto size = adapter->CurrentPreviewSize();
        imager["streaming"] = adapter->Streaming();
        imager["width"] = size.width;
        imager["height"] = size.height;
        imager["frames_delivered"] = adapter->FramesDelivered();
    }
    state["imager"] = imager;
    // Read last: every call up to it was noted before the document was made (beep.last_at_seq
    // included), though the document may show some calls' effects before their events.
    state["seq"] = mEvents.LastSeq();
    return state;
}

LiveDevice::Result LiveDevice::Trigger(const std::string& action, std::optional<int64_t> key) {
    if (action != "press" && action != "release") {
        return Error(400, "unknown action \"" + action + "\"; send \"press\" or \"release\"");
    }
    const int64_t code = key.value_or(mainKey());
    if (std::find(mKeys.begin(), mKeys.end(), code) == mKeys.end()) {
        return Error(400, "key " + std::to_string(code) +
                              " is not a trigger key of this device; send one of " +
                              json(mKeys).dump() + " or no key for the main trigger");
    }
    const bool press = action == "press";
    std::lock_guard<std::mutex> lock(mDeviceLock);
    if (mDevice.services().at("hardware_manager") != "1") {
        return Error(409, "this device has no hardware manager, so no hardware trigger");
    }
    if (!mDevice.hardwareManager().Alive()) {
        return Error(409,
                     "the hardware manager is dead; restart it first "
                     "(POST /api/services/hardware_manager/restart)");
    }
    Timeline::Record("device", action + "(" + std::to_string(code) + ")");
    FakeTrigger* trigger = mDevice.hardwareManager().trigger().get();
    if (!trigger->Press(kKeyEvent, static_cast<uint32_t>(code), press ? 1 : 0)) {
        return Error(409,
                     "the program holds no key-event queue: it has not acquired the hardware "
                     "trigger yet, so the key event has nowhere to go");
    }
    auto held = std::find(mPressed.begin(), mPressed.end(), static_cast<uint32_t>(code));
    if (press && held == mPressed.end()) mPressed.push_back(static_cast<uint32_t>(code));
    if (!press && held != mPressed.end()) mPressed.erase(held);
    mEvents.Touch();
    return Result{200, {{"ok", true}, {"seq", mEvents.LastSeq()}}};
}

LiveDevice::Result LiveDevice::Kill(const std::string& service) {
    std::lock_guard<std::mutex> lock(mDeviceLock);
    const json state = StateLocked();
    bool known = false, alive = false;
    for (const json& s : state["services"]) {
        if (s["name"] == service) known = true, alive = s["alive"].get<bool>();
    }
    if (!known) {
        return Error(404, "no service \"" + service + "\" on this device; send a name that "
                          "GET /api/state lists under services");
    }
    if (!alive) return Error(409, service + " is dead already; restart it instead");
    Timeline::Record("device", "kill(" + service + ")");
    if (service == "hardware_manager") {
        mDevice.hardwareManager().Kill();
    } else if (service == "beep") {
        FakeHardwareBeep::Kill();
    } else if (service == "light" && mLight != nullptr) {
        hidl::KillService(android::hardware::light::V2_0::ILight::descriptor, "default");
    } else {
        return Error(409, service + " cannot die on this simulated device; hardware_manager, beep "
                                    "and a HIDL light can");
    }
    mEvents.Touch();
    return Result{200, {{"ok", true}, {"alive", false}}};
}

LiveDevice::Result LiveDevice::Restart(const std::string& service) {
    std::lock_guard<std::mutex> lock(mDeviceLock);
    const json state = StateLocked();
    bool known = false;
    for (const json& s : state["services"]) known = known || s["name"] == service;
    if (!known) {
        return Error(404, "no service \"" + service + "\" on this device; send a name that "
                          "GET /api/state lists under services");
    }
    Timeline::Record("device", "restart(" + service + ")");
    if (service == "hardware_manager") {
        mDevice.hardwareManager().Restart();
        // The new instance's imager adapter shows what the user uploaded, as the last one did.
        if (FakeImagerAdapter* adapter = AdapterLocked()) PaintLocked(adapter);
    } else if (service == "beep") {
        mBeep = FakeHardwareBeep::Register();
    } else if (service == "light" && mLight != nullptr) {
        mLight = FakeHidlLight::Register();
    } else {
        return Error(409, service + " cannot die on this simulated device, so it never needs a "
                                    "restart; hardware_manager, beep and a HIDL light can");
    }
    mEvents.Touch();
    return Result{200, {{"ok", true}, {"alive", true}}};
}

LiveDevice::Result LiveDevice::Plug(bool plugged) {
    std::lock_guard<std::mutex> lock(mDeviceLock);
    FakePlugableDeviceNotifier* notifier = mDevice.plugableDeviceNotifier();
    if (mDevice.serial() == nullptr || notifier == nullptr) {
        return Error(409, "this device has no serial interface to plug a scanner into");
    }
    Timeline::Record("device", plugged ? "plug()" : "unplug()");
    mPlugged = plugged;
    if (plugged) {
        notifier->SetPortName(1, kSerialPort);
    } else {
        notifier->SetPortName(-1, "");
    }
    // The program hears it if it registered for it; the scanner is plugged either way.
    notifier->RaiseConnectionChanged(plugged, kSerialPort, kSerialScannerType);
    mEvents.Touch();
    return Result{200, {{"ok", true}, {"plugged", plugged}}};
}

LiveDevice::Result LiveDevice::SerialData(const std::string& bytes) {
    if (bytes.empty()) {
        return Error(400, "no bytes to send; send them as the body (application/octet-stream) or "
                          "as {\"text\":\"...\"}");
    }
    std::lock_guard<std::mutex> lock(mDeviceLock);
    FakeSerial* serial = mDevice.serial();
    if (serial == nullptr) return Error(409, "this device has no serial interface");
    if (!mPlugged) return Error(409, "no scanner is plugged; POST /api/serial/plug first");
    if (!serial->Receive(std::vector<uint8_t>(bytes.begin(), bytes.end()))) {
        return Error(409,
                     "the program has registered no callback on the serial port (it has not "
                     "opened it), so the bytes have nowhere to go");
    }
    mBytesSent += bytes.size();
    mEvents.Touch();
    return Result{200, {{"ok", true}, {"bytes", bytes.size()}}};
}

LiveDevice::Result LiveDevice::ShowImage(std::shared_ptr<FrameImage> image) {
    std::lock_guard<std::mutex> lock(mDeviceLock);
    FakeImagerAdapter* adapter = AdapterLocked();
    if (adapter == nullptr) return Error(409, "this device has no imager");
    mImage = image;
    PaintLocked(adapter);
    mEvents.Touch();
    if (image == nullptr) return Result{200, {{"ok", true}}};
    return Result{200, {{"ok", true}, {"width", image->width()}, {"height", image->height()}}};
}

}  // namespace sim
}  // namespace orvex
