// The service-death rows of the serial port, pluggable-device notifier, battery swap and camera
// vendor tag modules. Each module holds its own connection to the hardware manager and notices a
// dead one only at its next association, through a failed ping; a call on an interface it still
// holds after the death reads a value from a failed call and ends the process, except where the
// answer comes through a result callback, which then never runs.

#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>

#include <mutex>
#include <string>
#include <vector>

#include "BatterySwapModule.h"
#include "CameraModule.h"
#include "FakeBatterySwapHandler.h"
#include "FakeCameraVendorTagProvider.h"
#include "FakeDCHWManager.h"
#include "FakePlugableDeviceNotifier.h"
#include "FakeSerial.h"
#include "FakeSerialFWUpdate.h"
#include "HardwareManagerSim.h"
#include "PlugableDeviceNotifier.h"
#include "SerialPort.h"
#include "ServiceDeath.h"

namespace service_death {
namespace {

using android::sp;
using android::hardware::Return;
using android::hardware::Void;
using feedback_test::Debug;
using feedback_test::Error;
using feedback_test::Info;
using orvex::hostlog::ScopedCapture;
using orvex::sim::FakeBatterySwapHandler;
using orvex::sim::FakeCameraVendorTagProvider;
using orvex::sim::FakeDCHWManager;
using orvex::sim::FakePlugableDeviceNotifier;
using orvex::sim::FakeSerial;
using orvex::sim::FakeSerialFWUpdate;
using orvex::sim::HardwareManagerSim;
namespace dch = vendor::tevrin::hardware::dchwmanager::V1_0;

using Serial = SerialPort<ANDROID_VERSION_10>;
using Plugable = PlugableDeviceNotifier<ANDROID_VERSION_10>;
using BatterySwap = BatterySwapModule<ANDROID_VERSION_10>;
using Camera = CameraModule<ANDROID_VERSION_10>;
using Calls = std::vector<std::string>;
using Bytes = std::vector<uint8_t>;

const int32_t kGainTag = static_cast<int32_t>(0x80000002u);
const ScannerType kScannerType = static_cast<ScannerType>(2);

// A simulated hardware manager whose every instance hands out a fresh serial port,
// pluggable-device notifier, battery-swap handler and vendor tag provider; the members are the
// current instance's (the last ones after a death).
struct TransportSim {
    HardwareManagerSim sim{false};
    sp<FakeSerial> serial;
    sp<FakePlugableDeviceNotifier> notifier;
    sp<FakeBatterySwapHandler> handler;
    sp<FakeCameraVendorTagProvider> tags;

    TransportSim() {
        sim.AddBuilder([this](FakeDCHWManager& manager) {
            serial = new FakeSerial;
            notifier = new FakePlugableDeviceNotifier;
            handler = new FakeBatterySwapHandler;
            tags = new FakeCameraVendorTagProvider;
            manager.SetSerial(serial);
            manager.SetPlugableDeviceNotifier(notifier);
            manager.SetBatterySwapHandler(handler);
            manager.SetCameraVendorTagProvider(tags);
        });
        sim.Start();
    }
};

// A hardware manager that dies while handing out one of its sub-interfaces.
class ManagerDyingIn : public FakeDCHWManager {
  public:
    enum Getter { kSerial, kPlugable, kBatterySwap, kVendorTags };
    explicit ManagerDyingIn(Getter getter) : mGetter(getter) {}

    static void Register(Getter getter) {
        orvex::hidl::RegisterService<dch::IDCHWManager>(new ManagerDyingIn(getter), "default");
    }

    Return<sp<dch::ISerial>> getSerialInterface() override {
        if (mGetter != kSerial) return FakeDCHWManager::getSerialInterface();
        KillManager();
        return DeadObject<sp<dch::ISerial>>();
    }
    Return<sp<dch::IPlugableDeviceNotifier>> getPlugableDeviceNotifier() override {
        if (mGetter != kPlugable) return FakeDCHWManager::getPlugableDeviceNotifier();
        KillManager();
        return DeadObject<sp<dch::IPlugableDeviceNotifier>>();
    }
    Return<sp<dch::IBatterySwapHandler>> getBatterySwapHandler() override {
        if (mGetter != kBatterySwap) return FakeDCHWManager::getBatterySwapHandler();
        KillManager();
        return DeadObject<sp<dch::IBatterySwapHandler>>();
    }
    Return<sp<dch::ICameraVendorTagProvider>> getCameraVendorTagProvider() override {
        if (mGetter != kVendorTags) return FakeDCHWManager::getCameraVendorTagProvider();
        KillManager();
        return DeadObject<sp<dch::ICameraVendorTagProvider>>();
    }

  private:
    const Getter mGetter;
};

// Registers a manager that hands out the given parts.
void RegisterManager(const sp<dch::ISerial>& serial,
                     const sp<dch::IPlugableDeviceNotifier>& notifier,
                     const sp<dch::IBatterySwapHandler>& handler,
                     const sp<dch::ICameraVendorTagProvider>& tags) {
    sp<FakeDCHWManager> manager = new FakeDCHWManager;
    manager->SetSerial(serial);
    manager->SetPlugableDeviceNotifier(notifier);
    manager->SetBatterySwapHandler(handler);
    manager->SetCameraVendorTagProvider(tags);
    orvex::hidl::RegisterService<dch::IDCHWManager>(manager, "default");
}

// ---- SerialPort ----

class SerialData : public ISerialDataCallBack {
  public:
    void OnSerialDataReceived(const uint8_t* data, size_t size) override {
        std::lock_guard<std::mutex> lock(mLock);
        mReceived.emplace_back(data, data + size);
    }
    std::vector<Bytes> Received() {
        std::lock_guard<std::mutex> lock(mLock);
        return mReceived;
    }

  private:
    std::mutex mLock;
    std::vector<Bytes> mReceived;
};

// A serial port whose service dies while it registers the client's callback, opens the port or
// hands out the firmware-update port.
class SerialDyingIn : public FakeSerial {
  public:
    enum Point { kRegisterCallback, kOpenPort, kGetFirmware };
    explicit SerialDyingIn(Point point) : mPoint(point) {}

    Return<uint8_t> registerCallback(const sp<ISerialCallback>& callback) override {
        if (mPoint != kRegisterCallback) return FakeSerial::registerCallback(callback);
        KillManager();
        return DeadObject<uint8_t>();
    }
    Return<uint8_t> openPort(const android::hardware::hidl_string& portName, int32_t baudRate,
                             bool flowControl) override {
        if (mPoint != kOpenPort) return FakeSerial::openPort(portName, baudRate, flowControl);
        KillManager();
        return DeadObject<uint8_t>();
    }
    Return<sp<ISerialFWUpdate>> getSerialFWInterface() override {
        if (mPoint != kGetFirmware) return FakeSerial::getSerialFWInterface();
        KillManager();
        return DeadObject<sp<ISerialFWUpdate>>();
    }

  private:
    const Point mPoint;
};

// A firmware-update port whose service dies inside a read: before the reply, or right after it.
class FirmwareDyingInRead : public FakeSerialFWUpdate {
  public:
    explicit FirmwareDyingInRead(bool replyFirst) : mReplyFirst(replyFirst) {}

    Return<void> fwRead(fwRead_cb _hidl_cb) override {
        if (mReplyFirst) {
            FakeSerialFWUpdate::fwRead(_hidl_cb);
            KillManager();
            return Void();
        }
        calls().Add("fwRead()");
        KillManager();
        return DeadObject<void>();
    }

  private:
    const bool mReplyFirst;
};

sp<FakeSerial> SerialWithFirmware(const sp<FakeSerialFWUpdate>& firmware) {
    sp<FakeSerial> serial = new FakeSerial;
    firmware->SetAnswers({0, 0, 0, 0, 0, true, {0x12, 0xAB}});
    serial->SetFirmware(firmware);
    return serial;
}

void SerialAcquireAfterTheManagerCameBack(ChildChecks& c) {
    TransportSim s;
    sp<FakeSerial> old = s.serial;
    s.sim.Restart();
    SerialData data;
    Serial port;
    c.True("Initialize", port.Initialize(&data));
    c.True("AcquireSerialInterface", port.AcquireSerialInterface());
    c.Eq("StartTransport", port.StartTransport("/dev/ttyHS1", 9600, false), 0);
    c.True("bytes of the new instance arrive", s.serial->Receive({0x12, 0xAB}));
    c.True("bytes reach the caller", data.Received() == std::vector<Bytes>{{0x12, 0xAB}});
    SameCalls(
        c, "the new instance", s.serial->calls().Calls(),
        {"registerCallback(cb)", "registerCallback(cb)", "openPort(/dev/ttyHS1, 9600, false)"});
    SameCalls(c, "the dead instance", old->calls().Calls(), {});
}

void SerialAcquireAfterTheManagerDiedForGood(ChildChecks& c) {
    TransportSim s;
    s.sim.Remove();
    SerialData data;
    Serial port;
    char byte = 1;
    unsigned char ubyte = 1;
    ScopedCapture log;
    c.True("Initialize", port.Initialize(&data));
    c.True("AcquireSerialInterface is false", !port.AcquireSerialInterface());
    // Every operation answers its own fixed code.
    c.Eq("StartTransport", port.StartTransport("/dev/ttyHS1", 9600, false), 9);
    c.Eq("StopTransport", port.StopTransport(), 0);
    c.Eq("IoControl", port.IoControl(static_cast<TransportIOControlCodes>(1), 1), 1);
    c.Eq("ProcessRequest", port.ProcessRequest(&byte, 1), 8);
    c.True("AcquireFWSerialInterface is false", !port.AcquireFWSerialInterface());
    c.Eq("FWOpenSerialPort", port.FWOpenSerialPort("/dev/ttyHS0"), 9);
    c.Eq("FWCloseSerialPort", port.FWCloseSerialPort(), 4);
    c.Eq("FWIoCtl", port.FWIoCtl(1, 2, 3), 4);
    c.Eq("FWWritePort", port.FWWritePort(1, &ubyte), 8);
    c.Eq("FWReadPort", port.FWReadPort(), std::string("Error - Unable to Read Data"));
    c.Logged(log.WithTag("ScannerFramework"),
             {Error("[SerialPort<T>::associateSerial] Unable to get IDCHWManager interface."),
              Error("[SerialPort<T>::AcquireSerialInterface] is not available"),
              Error("[SerialPort<T>::StartTransport] StartTransport failed"),
              Error("[SerialPort<T>::StopTransport] already stoped"),
              Error("Platform HAL [SerialPort<T>::IoControl] failed\n"),
              Error("[SerialPort<T>::associateSerial] Unable to get IDCHWManager interface."),
              Error("[SerialPort<T>::associateSerialFWUpdate] unable to get Serial Interface"),
              Error("[SerialPort<T>::AcquireFWSerialInterface] failed"),
              Error("[SerialPort<T>::FWOpenSerialPort] FWOpenSerialPort failed"),
              Error("[SerialPort<T>::FWCloseSerialPort] FWCloseSerialPort failed"),
              Error("[SerialPort<T>::FWIoCtl] FWIoCtl failed"),
              Error("[SerialPort<T>::FWWritePort] err:8 "),
              Error("[SerialPort<T>::FWReadPort] sp_SerialHal NULL)")});
}

void SerialAcquireAgainAfterTheHeldManagerCameBack(ChildChecks& c) {
    TransportSim s;
    SerialData data;
    Serial port;
    c.True("Initialize", port.Initialize(&data));
    c.True("AcquireSerialInterface", port.AcquireSerialInterface());
    c.Eq("StartTransport", port.StartTransport("/dev/ttyHS1", 9600, false), 0);
    sp<FakeSerial> old = s.serial;
    const size_t oldCalls = old->calls().Calls().size();
    s.sim.Restart();
    ScopedCapture log;
    // Without a release: the held manager fails its ping, so this is a fresh connection.
    c.True("AcquireSerialInterface again", port.AcquireSerialInterface());
    c.Logged(log.WithTag("ScannerFramework"),
             {Debug("[SerialPort<T>::associateSerial] Acquired ISerial interface."),
              Debug("[SerialCallback::SerialCallback()] ctor"),
              Debug("[SerialCallback::~SerialCallback()] dtor"),
              Debug("[SerialPort<T>::AcquireSerialInterface] success")});
    c.Eq("StartTransport", port.StartTransport("/dev/ttyHS1", 9600, false), 0);
    c.True("bytes of the new instance arrive", s.serial->Receive({7}));
    c.True("the dead instance sends nothing", !old->Receive({8}));
    c.True("bytes reach the caller", data.Received() == std::vector<Bytes>{{7}});
    c.Eq("StopTransport", port.StopTransport(), 0);
    SameCalls(c, "the new instance", s.serial->calls().Calls(),
              {"registerCallback(cb)", "registerCallback(cb)", "openPort(/dev/ttyHS1, 9600, false)",
               "closePort()"});
    c.Eq("calls on the dead instance after its death", old->calls().Calls().size() - oldCalls, 0u);
}

void SerialAcquireAgainAfterTheHeldManagerDiedForGood(ChildChecks& c) {
    TransportSim s;
    SerialData data;
    Serial port;
    c.True("Initialize", port.Initialize(&data));
    c.True("AcquireSerialInterface", port.AcquireSerialInterface());
    s.sim.Remove();
    ScopedCapture log;
    c.True("AcquireSerialInterface again is false", !port.AcquireSerialInterface());
    // The failed lookup dropped the manager but the instance still counts as holding the port,
    // even once a service is back, until it is released.
    s.sim.Start();
    c.True("AcquireSerialInterface with the service back is false", !port.AcquireSerialInterface());
    c.Logged(log.WithTag("ScannerFramework"),
             {Error("[SerialPort<T>::associateSerial] Unable to get IDCHWManager interface."),
              Error("[SerialPort<T>::AcquireSerialInterface] is not available"),
              Error("[SerialPort<T>::associateSerial] failed"),
              Error("[SerialPort<T>::AcquireSerialInterface] is not available")});
    SameCalls(c, "the new manager", s.sim.manager()->calls().Calls(), {});
    c.True("ReleaseSerialInterface", port.ReleaseSerialInterface());
    c.True("Initialize again", port.Initialize(&data));
    c.True("AcquireSerialInterface after the release", port.AcquireSerialInterface());
    SameCalls(c, "the new manager", s.sim.manager()->calls().Calls(), {"getSerialInterface()"});
}

void SerialAcquireTransportAfterTheFirmwareManagerCameBack(ChildChecks& c) {
    TransportSim s;
    SerialData data;
    Serial port;
    c.True("AcquireFWSerialInterface", port.AcquireFWSerialInterface());
    sp<FakeSerial> old = s.serial;
    s.sim.Restart();
    ScopedCapture log;
    // The two exclude each other only while the manager that serves the firmware port lives.
    c.True("Initialize", port.Initialize(&data));
    c.True("AcquireSerialInterface", port.AcquireSerialInterface());
    c.Eq("StartTransport", port.StartTransport("/dev/ttyHS1", 9600, false), 0);
    // The firmware port is still counted as held, and still the dead one.
    c.True("AcquireFWSerialInterface again is false", !port.AcquireFWSerialInterface());
    c.Eq("FWReadPort", port.FWReadPort(), std::string("Error - Unable to Read Data"));
    c.Logged(
        log.WithTag("ScannerFramework"),
        {Debug("[SerialPort<T>::associateSerial] Acquired ISerial interface."),
         Debug("[SerialCallback::SerialCallback()] ctor"),
         Debug("[SerialPort<T>::AcquireSerialInterface] success"),
         Debug("[SerialPort<T>::StartTransport] StartTransport return 0"),
         Error("[SerialPort<T>::associateSerialFWUpdate] failed"),
         Error("[SerialPort<T>::AcquireFWSerialInterface] failed"),
         Error(
             "[SerialPort<T>::FWReadPort] Error at HIDL Service (sp_SerialHal instance is NULL)")});
    SameCalls(
        c, "the new instance", s.serial->calls().Calls(),
        {"registerCallback(cb)", "registerCallback(cb)", "openPort(/dev/ttyHS1, 9600, false)"});
    SameCalls(c, "the dead instance", old->calls().Calls(), {"getSerialFWInterface()"});
}

void SerialWriteAfterTheHeldManagerCameBack(ChildChecks&) {
    TransportSim s;
    SerialData data;
    Serial port;
    char byte = 1;
    port.Initialize(&data);
    port.AcquireSerialInterface();
    port.StartTransport("/dev/ttyHS1", 9600, false);
    s.sim.Restart();
    // Nothing reconnects outside an acquisition: the write goes to the dead port.
    port.ProcessRequest(&byte, 1);
}

void SerialFWPollAfterTheHeldManagerDiedForGood(ChildChecks&) {
    TransportSim s;
    Serial port;
    port.AcquireFWSerialInterface();
    s.sim.Remove();
    port.FWPoll();
}

void SerialFWReadAfterTheHeldManagerDiedForGood(ChildChecks& c) {
    TransportSim s;
    Serial port;
    c.True("AcquireFWSerialInterface", port.AcquireFWSerialInterface());
    s.sim.Remove();
    ScopedCapture log;
    c.Eq("FWReadPort", port.FWReadPort(), std::string("Error - Unable to Read Data"));
    // The transport was never started: the stop answers by itself.
    c.Eq("StopTransport", port.StopTransport(), 0);
    c.True("ReleaseSerialInterface", port.ReleaseSerialInterface());
    c.True("AcquireFWSerialInterface after the release is false", !port.AcquireFWSerialInterface());
    c.Logged(
        log.WithTag("ScannerFramework"),
        {Error("[SerialPort<T>::FWReadPort] Error at HIDL Service (sp_SerialHal instance is NULL)"),
         Error("[SerialPort<T>::StopTransport] already stoped"),
         Debug("[SerialPort<T>::disassociate]"),
         Error("[SerialPort<T>::associateSerial] Unable to get IDCHWManager interface."),
         Error("[SerialPort<T>::associateSerialFWUpdate] unable to get Serial Interface"),
         Error("[SerialPort<T>::AcquireFWSerialInterface] failed")});
    SameCalls(c, "the dead firmware port", s.serial->Firmware()->calls().Calls(), {});
}

void SerialManagerDiesHandingOutTheSerialPort(ChildChecks&) {
    ManagerDyingIn::Register(ManagerDyingIn::kSerial);
    SerialData data;
    Serial port;
    port.Initialize(&data);
    port.AcquireSerialInterface();
}

void SerialDiesInRegisterCallback(ChildChecks&) {
    RegisterManager(new SerialDyingIn(SerialDyingIn::kRegisterCallback), nullptr, nullptr, nullptr);
    SerialData data;
    Serial port;
    port.Initialize(&data);
    port.AcquireSerialInterface();
}

void SerialDiesInOpenPort(ChildChecks&) {
    RegisterManager(new SerialDyingIn(SerialDyingIn::kOpenPort), nullptr, nullptr, nullptr);
    SerialData data;
    Serial port;
    port.Initialize(&data);
    port.AcquireSerialInterface();
    port.StartTransport("/dev/ttyHS1", 9600, false);
}

void SerialDiesHandingOutTheFirmwarePort(ChildChecks&) {
    RegisterManager(new SerialDyingIn(SerialDyingIn::kGetFirmware), nullptr, nullptr, nullptr);
    Serial port;
    port.AcquireFWSerialInterface();
}

void SerialDiesInFWReadBeforeReplying(ChildChecks& c) {
    RegisterManager(SerialWithFirmware(new FirmwareDyingInRead(false)), nullptr, nullptr, nullptr);
    Serial port;
    c.True("AcquireFWSerialInterface", port.AcquireFWSerialInterface());
    ScopedCapture log;
    c.Eq("FWReadPort", port.FWReadPort(), std::string("Error - Unable to Read Data"));
    c.Logged(log.WithTag("ScannerFramework"),
             {Error("[SerialPort<T>::FWReadPort] Error at HIDL Service (sp_SerialHal instance is "
                    "NULL)")});
    // Once the service is back, a released instance reads from the new one.
    sp<FakeSerialFWUpdate> firmware = new FakeSerialFWUpdate;
    RegisterManager(SerialWithFirmware(firmware), nullptr, nullptr, nullptr);
    c.True("ReleaseSerialInterface", port.ReleaseSerialInterface());
    c.True("AcquireFWSerialInterface again", port.AcquireFWSerialInterface());
    c.Eq("FWReadPort from the new instance", port.FWReadPort(), std::string("0x120xAB0x00"));
    SameCalls(c, "the new firmware port", firmware->calls().Calls(), {"fwRead()"});
}

void SerialDiesInFWReadAfterReplying(ChildChecks& c) {
    RegisterManager(SerialWithFirmware(new FirmwareDyingInRead(true)), nullptr, nullptr, nullptr);
    Serial port;
    c.True("AcquireFWSerialInterface", port.AcquireFWSerialInterface());
    // A reply that arrived counts, although the service died right after sending it.
    c.Eq("FWReadPort", port.FWReadPort(), std::string("0x120xAB0x00"));
}

// ---- PlugableDeviceNotifier ----

struct Change {
    bool connected;
    std::string portName;
    int scannerType;
    bool operator==(const Change& o) const {
        return connected == o.connected && portName == o.portName && scannerType == o.scannerType;
    }
};

class PlugChanges : public IPlugableHALCallBack {
  public:
    void OnPlugableDeviceChanged(bool connected, const std::string& portName,
                                 int scannerType) override {
        std::lock_guard<std::mutex> lock(mLock);
        mChanges.push_back({connected, portName, scannerType});
    }
    std::vector<Change> Changes() {
        std::lock_guard<std::mutex> lock(mLock);
        return mChanges;
    }

  private:
    std::mutex mLock;
    std::vector<Change> mChanges;
};

// A notifier whose service dies while it registers the client's callback or before it answers
// the port name.
class NotifierDyingIn : public FakePlugableDeviceNotifier {
  public:
    enum Point { kRegister, kGetPortName };
    explicit NotifierDyingIn(Point point) : mPoint(point) {}

    Return<uint8_t> registerNotifierCallback(const sp<IPlugableNotifierCallback>& callback,
                                             int32_t scannerType) override {
        if (mPoint != kRegister) {
            return FakePlugableDeviceNotifier::registerNotifierCallback(callback, scannerType);
        }
        KillManager();
        return DeadObject<uint8_t>();
    }
    Return<void> getPortName(getPortName_cb _hidl_cb) override {
        if (mPoint != kGetPortName) return FakePlugableDeviceNotifier::getPortName(_hidl_cb);
        KillManager();
        return DeadObject<void>();
    }

  private:
    const Point mPoint;
};

const Entry kPlugNoManager = Error(
    "[PlugableDeviceNotifier<T>::associatePlugableDeviceNotifier] Unable to get IDCHWManager "
    "interface.");
const Entry kPlugNotAvailable =
    Error("[PlugableDeviceNotifier<T>::AcquirePlugableDeviceNotifierInterface] is not available");
const Entry kWrongPortLine = Error("[PlugableDeviceNotifier<T>::GetPortName] port name WrongPort");

void PlugAcquireAfterTheManagerCameBack(ChildChecks& c) {
    TransportSim s;
    s.sim.Restart();
    s.notifier->SetPortName(1, "/dev/ttyUSB0");
    PlugChanges changes;
    Plugable notifier;
    c.True("AcquirePlugableDeviceNotifier", notifier.AcquirePlugableDeviceNotifier());
    c.True("InitializeSSI", notifier.InitializeSSI(&changes, kScannerType));
    c.True("a change of the new instance arrives",
           s.notifier->RaiseConnectionChanged(true, "/dev/ttyUSB0", 2));
    c.True("the change reaches the caller",
           changes.Changes() == std::vector<Change>{{true, "/dev/ttyUSB0", 2}});
    c.Eq("GetPortName", notifier.GetPortName(), std::string("/dev/ttyUSB0"));
    SameCalls(c, "the new instance", s.notifier->calls().Calls(),
              {"registerNotifierCallback(cb, 2)", "getPortName()"});
}

void PlugAcquireAfterTheManagerDiedForGood(ChildChecks& c) {
    TransportSim s;
    s.sim.Remove();
    PlugChanges changes;
    Plugable notifier;
    ScopedCapture log;
    c.True("AcquirePlugableDeviceNotifier is false", !notifier.AcquirePlugableDeviceNotifier());
    c.True("InitializeSSI is false", !notifier.InitializeSSI(&changes, kScannerType));
    c.Eq("GetPortName", notifier.GetPortName(), std::string("WrongPort"));
    c.Logged(
        log.WithTag("ScannerFramework"),
        {kPlugNoManager, kPlugNotAvailable,
         Debug("[PlugableDeviceNotifier<T>::InitializeSSI] scanner:2 ++"),
         Error("[PlugableDeviceNotifier<T>::InitializeSSI] failed"),
         Error("[PlugableDeviceNotifier<T>::GetPortName] sp_PlugableHal is null"), kWrongPortLine});
}

void PlugAcquireAgainAfterTheHeldManagerCameBack(ChildChecks& c) {
    TransportSim s;
    PlugChanges changes;
    Plugable notifier;
    c.True("AcquirePlugableDeviceNotifier", notifier.AcquirePlugableDeviceNotifier());
    c.True("InitializeSSI", notifier.InitializeSSI(&changes, kScannerType));
    sp<FakePlugableDeviceNotifier> old = s.notifier;
    s.sim.Restart();
    c.True("the dead instance raises nothing",
           !old->RaiseConnectionChanged(true, "/dev/ttyUSB0", 2));
    // Without a release: the held manager fails its ping, so this is a fresh connection.
    c.True("AcquirePlugableDeviceNotifier again", notifier.AcquirePlugableDeviceNotifier());
    c.True("InitializeSSI again", notifier.InitializeSSI(&changes, kScannerType));
    c.True("a change of the new instance arrives",
           s.notifier->RaiseConnectionChanged(false, "/dev/ttyUSB1", -1));
    c.True("only the new instance's change reaches the caller",
           changes.Changes() == std::vector<Change>{{false, "/dev/ttyUSB1", -1}});
    SameCalls(c, "the dead instance", old->calls().Calls(), {"registerNotifierCallback(cb, 2)"});
    SameCalls(c, "the new instance", s.notifier->calls().Calls(),
              {"registerNotifierCallback(cb, 2)"});
}

void PlugGetPortNameAfterTheHeldManagerDiedForGood(ChildChecks& c) {
    TransportSim s;
    s.notifier->SetPortName(1, "/dev/ttyUSB0");
    PlugChanges changes;
    Plugable notifier;
    c.True("AcquirePlugableDeviceNotifier", notifier.AcquirePlugableDeviceNotifier());
    c.True("InitializeSSI", notifier.InitializeSSI(&changes, kScannerType));
    s.sim.Remove();
    ScopedCapture log;
    c.Eq("GetPortName", notifier.GetPortName(), std::string("WrongPort"));
    c.True("AcquirePlugableDeviceNotifier again is false",
           !notifier.AcquirePlugableDeviceNotifier());
    // The failed reconnection keeps the dead notifier: the name is still asked of it.
    c.Eq("GetPortName again", notifier.GetPortName(), std::string("WrongPort"));
    const Entry noPort = Error("[PlugableDeviceNotifier<T>::GetPortName] Error in port Name");
    c.Logged(log.WithTag("ScannerFramework"),
             {noPort, kWrongPortLine, kPlugNoManager, kPlugNotAvailable, noPort, kWrongPortLine});
    SameCalls(c, "the dead instance", s.notifier->calls().Calls(),
              {"registerNotifierCallback(cb, 2)"});
}

void PlugInitializeSSIAfterTheHeldManagerDiedForGood(ChildChecks&) {
    TransportSim s;
    PlugChanges changes;
    Plugable notifier;
    notifier.AcquirePlugableDeviceNotifier();
    s.sim.Remove();
    notifier.InitializeSSI(&changes, kScannerType);
}

void PlugManagerDiesHandingOutTheNotifier(ChildChecks&) {
    ManagerDyingIn::Register(ManagerDyingIn::kPlugable);
    Plugable notifier;
    notifier.AcquirePlugableDeviceNotifier();
}

void PlugDiesInRegisterNotifierCallback(ChildChecks&) {
    RegisterManager(nullptr, new NotifierDyingIn(NotifierDyingIn::kRegister), nullptr, nullptr);
    PlugChanges changes;
    Plugable notifier;
    notifier.AcquirePlugableDeviceNotifier();
    notifier.InitializeSSI(&changes, kScannerType);
}

void PlugDiesInGetPortNameBeforeReplying(ChildChecks& c) {
    RegisterManager(nullptr, new NotifierDyingIn(NotifierDyingIn::kGetPortName), nullptr, nullptr);
    PlugChanges changes;
    Plugable notifier;
    c.True("AcquirePlugableDeviceNotifier", notifier.AcquirePlugableDeviceNotifier());
    c.True("InitializeSSI", notifier.InitializeSSI(&changes, kScannerType));
    ScopedCapture log;
    c.Eq("GetPortName", notifier.GetPortName(), std::string("WrongPort"));
    c.Logged(
        log.WithTag("ScannerFramework"),
        {Error("[PlugableDeviceNotifier<T>::GetPortName] Error in port Name"), kWrongPortLine});
}

// ---- BatterySwapModule ----

const Entry kSwapNoManager = Error(
    "[BatterySwapModule::associateBatterySwapHIDL] Unable to get DCHWManager HIDL interface.");
const Entry kSwapAcquired = Info(
    "[BatterySwapModule::associateBatterySwapHIDL] Acquired IBatterySwapHandlerHIDL interface.");

void SwapInitAfterTheManagerCameBack(ChildChecks& c) {
    TransportSim s;
    s.sim.Restart();
    BatterySwap module;
    c.True("Init", module.Init());
    c.True("EnterBatterySwap", module.EnterBatterySwap());
    c.True("in battery swap", s.handler->InBatterySwap());
    c.True("ExitBatterySwap", module.ExitBatterySwap());
    SameCalls(c, "the new instance", s.handler->calls().Calls(),
              {"enterBatterySwap()", "exitBatterySwap()"});
}

void SwapInitAfterTheManagerDiedForGood(ChildChecks& c) {
    TransportSim s;
    s.sim.Remove();
    BatterySwap module;
    ScopedCapture log;
    c.True("Init is false", !module.Init());
    c.True("EnterBatterySwap is false", !module.EnterBatterySwap());
    c.True("ExitBatterySwap is false", !module.ExitBatterySwap());
    c.Logged(log.WithTag("ScannerFramework"),
             {kSwapNoManager,
              Error("[BatterySwapModule<T>::EnterBatterySwap] sp_BatterySwapHandler is null"),
              Error("[BatterySwapModule<T>::ExitBatterySwap] sp_BatterySwapHandler is null")});
}

void SwapInitAgainAfterTheHeldManagerCameBack(ChildChecks& c) {
    TransportSim s;
    BatterySwap module;
    c.True("Init", module.Init());
    sp<FakeBatterySwapHandler> old = s.handler;
    s.sim.Restart();
    ScopedCapture log;
    c.True("Init again", module.Init());
    c.True("ExitBatterySwap", module.ExitBatterySwap());
    c.Logged(log.WithTag("ScannerFramework"), {kSwapAcquired});
    SameCalls(c, "the new instance", s.handler->calls().Calls(), {"exitBatterySwap()"});
    SameCalls(c, "the dead instance", old->calls().Calls(), {});
}

void SwapEnterAfterTheHeldManagerCameBack(ChildChecks&) {
    TransportSim s;
    BatterySwap module;
    module.Init();
    s.sim.Restart();
    // Only Init reconnects: the swap goes to the dead handler.
    module.EnterBatterySwap();
}

void SwapInitAgainAfterTheHeldManagerDiedForGood(ChildChecks& c) {
    TransportSim s;
    BatterySwap module;
    c.True("Init", module.Init());
    s.sim.Remove();
    ScopedCapture log;
    c.True("Init again is false", !module.Init());
    // The flag stays set without a manager: Init no longer looks, even for a service that is back.
    s.sim.Start();
    c.True("Init with the service back is false", !module.Init());
    c.Logged(log.WithTag("ScannerFramework"), {kSwapNoManager});
    SameCalls(c, "the new manager", s.sim.manager()->calls().Calls(), {});
}

void SwapExitAfterTheHeldManagerDiedForGood(ChildChecks&) {
    TransportSim s;
    BatterySwap module;
    module.Init();
    s.sim.Remove();
    module.Init();
    module.ExitBatterySwap();
}

void SwapManagerDiesHandingOutTheHandler(ChildChecks&) {
    ManagerDyingIn::Register(ManagerDyingIn::kBatterySwap);
    BatterySwap module;
    module.Init();
}

class HandlerDyingInEnter : public FakeBatterySwapHandler {
  public:
    Return<bool> enterBatterySwap() override {
        KillManager();
        return DeadObject<bool>();
    }
};

void SwapDiesInEnterBatterySwap(ChildChecks&) {
    RegisterManager(nullptr, nullptr, new HandlerDyingInEnter, nullptr);
    BatterySwap module;
    module.Init();
    module.EnterBatterySwap();
}

// ---- CameraModule ----

const Entry kCameraInit = Info("CameraModule::Init");
const Entry kCameraNoManager =
    Error("[CameraModule::associateCameraVendorTagHIDL] Unable to get DCHWManager HIDL interface.");
const Entry kCameraLookupNull =
    Error("[CameraModule<T>::GetCameraVendorTagID] sp_CameraTagProvider is null");

void CameraInitAfterTheManagerCameBack(ChildChecks& c) {
    TransportSim s;
    s.sim.Restart();
    Camera camera;
    c.True("Init", camera.Init());
    c.Eq("GetCameraVendorTagID", camera.GetCameraVendorTagID("com.tevrin.imager.gain"), kGainTag);
    SameCalls(c, "the new instance", s.tags->calls().Calls(),
              {"getVendorTagId(com.tevrin.imager.gain)"});
}

void CameraInitAfterTheManagerDiedForGood(ChildChecks& c) {
    TransportSim s;
    s.sim.Remove();
    Camera camera;
    ScopedCapture log;
    c.True("Init is false", !camera.Init());
    c.Eq("GetCameraVendorTagID", camera.GetCameraVendorTagID("com.tevrin.imager.gain"), -1);
    c.Logged(log.WithTag("ScannerFramework"), {kCameraInit, kCameraNoManager, kCameraLookupNull});
}

void CameraInitAgainAfterTheHeldManagerCameBack(ChildChecks& c) {
    TransportSim s;
    Camera camera;
    c.True("Init", camera.Init());
    sp<FakeCameraVendorTagProvider> old = s.tags;
    s.sim.Restart();
    ScopedCapture log;
    c.True("Init again", camera.Init());
    c.Eq("GetCameraVendorTagID", camera.GetCameraVendorTagID("com.tevrin.imager.gain"), kGainTag);
    c.Logged(log.WithTag("ScannerFramework"),
             {kCameraInit, Info("[CameraModule::associateCameraVendorTagHIDL] Acquired "
                                "ICameraVendorTagProvider interface.")});
    SameCalls(c, "the new instance", s.tags->calls().Calls(),
              {"getVendorTagId(com.tevrin.imager.gain)"});
    SameCalls(c, "the dead instance", old->calls().Calls(), {});
}

void CameraLookupAfterTheHeldManagerCameBack(ChildChecks&) {
    TransportSim s;
    Camera camera;
    camera.Init();
    s.sim.Restart();
    // Only Init reconnects: the lookup goes to the dead provider.
    camera.GetCameraVendorTagID("com.tevrin.imager.gain");
}

void CameraDeInitAfterTheHeldManagerDiedForGood(ChildChecks& c) {
    TransportSim s;
    Camera camera;
    c.True("Init", camera.Init());
    s.sim.Remove();
    ScopedCapture log;
    c.True("Init again is false", !camera.Init());
    // DeInit lets go of the dead provider: lookups answer by themselves instead of ending the
    // process, and the next Init looks for the service again.
    c.True("DeInit", camera.DeInit());
    c.Eq("GetCameraVendorTagID", camera.GetCameraVendorTagID("com.tevrin.imager.gain"), -1);
    c.True("Init after DeInit is false", !camera.Init());
    c.Logged(log.WithTag("ScannerFramework"),
             {kCameraInit, kCameraNoManager, Info("CameraModule::DeInit"), kCameraLookupNull,
              kCameraInit, kCameraNoManager});
    s.sim.Start();
    c.True("Init with the service back", camera.Init());
}

void CameraManagerDiesHandingOutTheProvider(ChildChecks&) {
    ManagerDyingIn::Register(ManagerDyingIn::kVendorTags);
    Camera camera;
    camera.Init();
}

class ProviderDyingInLookup : public FakeCameraVendorTagProvider {
  public:
    Return<int32_t> getVendorTagId(const android::hardware::hidl_string&) override {
        KillManager();
        return DeadObject<int32_t>();
    }
};

void CameraDiesInGetVendorTagId(ChildChecks&) {
    RegisterManager(nullptr, nullptr, nullptr, new ProviderDyingInLookup);
    Camera camera;
    camera.Init();
    camera.GetCameraVendorTagID("com.tevrin.imager.gain");
}

}  // namespace

std::vector<Row> TransportRows() {
    return {
        {"SerialPort_AcquireAfterTheManagerCameBack", Outcome::kReconnects,
         SerialAcquireAfterTheManagerCameBack},
        {"SerialPort_AcquireAfterTheManagerDiedForGood", Outcome::kFalse,
         SerialAcquireAfterTheManagerDiedForGood},
        {"SerialPort_AcquireAgainAfterTheHeldManagerCameBack", Outcome::kReconnects,
         SerialAcquireAgainAfterTheHeldManagerCameBack},
        {"SerialPort_AcquireAgainAfterTheHeldManagerDiedForGood", Outcome::kFalse,
         SerialAcquireAgainAfterTheHeldManagerDiedForGood},
        {"SerialPort_AcquireTransportAfterTheFirmwareManagerCameBack", Outcome::kReconnects,
         SerialAcquireTransportAfterTheFirmwareManagerCameBack},
        {"SerialPort_WriteAfterTheHeldManagerCameBack", Outcome::kProcessEnds,
         SerialWriteAfterTheHeldManagerCameBack},
        {"SerialPort_FWPollAfterTheHeldManagerDiedForGood", Outcome::kProcessEnds,
         SerialFWPollAfterTheHeldManagerDiedForGood},
        {"SerialPort_FWReadAfterTheHeldManagerDiedForGood", Outcome::kFixedResult,
         SerialFWReadAfterTheHeldManagerDiedForGood},
        {"SerialPort_ManagerDiesHandingOutTheSerialPort", Outcome::kProcessEnds,
         SerialManagerDiesHandingOutTheSerialPort},
        {"SerialPort_DiesInRegisterCallback", Outcome::kProcessEnds, SerialDiesInRegisterCallback},
        {"SerialPort_DiesInOpenPort", Outcome::kProcessEnds, SerialDiesInOpenPort},
        {"SerialPort_DiesHandingOutTheFirmwarePort", Outcome::kProcessEnds,
         SerialDiesHandingOutTheFirmwarePort},
        {"SerialPort_DiesInFWReadBeforeReplying", Outcome::kFixedResult,
         SerialDiesInFWReadBeforeReplying},
        {"SerialPort_DiesInFWReadAfterReplying", Outcome::kFixedResult,
         SerialDiesInFWReadAfterReplying},
        {"PlugableDeviceNotifier_AcquireAfterTheManagerCameBack", Outcome::kReconnects,
         PlugAcquireAfterTheManagerCameBack},
        {"PlugableDeviceNotifier_AcquireAfterTheManagerDiedForGood", Outcome::kFalse,
         PlugAcquireAfterTheManagerDiedForGood},
        {"PlugableDeviceNotifier_AcquireAgainAfterTheHeldManagerCameBack", Outcome::kReconnects,
         PlugAcquireAgainAfterTheHeldManagerCameBack},
        {"PlugableDeviceNotifier_GetPortNameAfterTheHeldManagerDiedForGood", Outcome::kFixedResult,
         PlugGetPortNameAfterTheHeldManagerDiedForGood},
        {"PlugableDeviceNotifier_InitializeSSIAfterTheHeldManagerDiedForGood",
         Outcome::kProcessEnds, PlugInitializeSSIAfterTheHeldManagerDiedForGood},
        {"PlugableDeviceNotifier_ManagerDiesHandingOutTheNotifier", Outcome::kProcessEnds,
         PlugManagerDiesHandingOutTheNotifier},
        {"PlugableDeviceNotifier_DiesInRegisterNotifierCallback", Outcome::kProcessEnds,
         PlugDiesInRegisterNotifierCallback},
        {"PlugableDeviceNotifier_DiesInGetPortNameBeforeReplying", Outcome::kFixedResult,
         PlugDiesInGetPortNameBeforeReplying},
        {"BatterySwapModule_InitAfterTheManagerCameBack", Outcome::kReconnects,
         SwapInitAfterTheManagerCameBack},
        {"BatterySwapModule_InitAfterTheManagerDiedForGood", Outcome::kFalse,
         SwapInitAfterTheManagerDiedForGood},
        {"BatterySwapModule_InitAgainAfterTheHeldManagerCameBack", Outcome::kReconnects,
         SwapInitAgainAfterTheHeldManagerCameBack},
        {"BatterySwapModule_EnterAfterTheHeldManagerCameBack", Outcome::kProcessEnds,
         SwapEnterAfterTheHeldManagerCameBack},
        {"BatterySwapModule_InitAgainAfterTheHeldManagerDiedForGood", Outcome::kFalse,
         SwapInitAgainAfterTheHeldManagerDiedForGood},
        {"BatterySwapModule_ExitAfterTheHeldManagerDiedForGood", Outcome::kProcessEnds,
         SwapExitAfterTheHeldManagerDiedForGood},
        {"BatterySwapModule_ManagerDiesHandingOutTheHandler", Outcome::kProcessEnds,
         SwapManagerDiesHandingOutTheHandler},
        {"BatterySwapModule_DiesInEnterBatterySwap", Outcome::kProcessEnds,
         SwapDiesInEnterBatterySwap},
        {"CameraModule_InitAfterTheManagerCameBack", Outcome::kReconnects,
         CameraInitAfterTheManagerCameBack},
        {"CameraModule_InitAfterTheManagerDiedForGood", Outcome::kFalse,
         CameraInitAfterTheManagerDiedForGood},
        {"CameraModule_InitAgainAfterTheHeldManagerCameBack", Outcome::kReconnects,
         CameraInitAgainAfterTheHeldManagerCameBack},
        {"CameraModule_LookupAfterTheHeldManagerCameBack", Outcome::kProcessEnds,
         CameraLookupAfterTheHeldManagerCameBack},
        {"CameraModule_DeInitAfterTheHeldManagerDiedForGood", Outcome::kFixedResult,
         CameraDeInitAfterTheHeldManagerDiedForGood},
        {"CameraModule_ManagerDiesHandingOutTheProvider", Outcome::kProcessEnds,
         CameraManagerDiesHandingOutTheProvider},
        {"CameraModule_DiesInGetVendorTagId", Outcome::kProcessEnds, CameraDiesInGetVendorTagId},
    };
}

}  // namespace service_death
