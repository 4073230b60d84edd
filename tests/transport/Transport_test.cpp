// The serial port, pluggable device notifier, battery swap and camera vendor tag modules against
// the simulated hardware manager, driven by scripts: acquisition and its failures, calls passed
// through to the services, callbacks and what reaches the caller once it let go, the log lines
// of each step, and what the service's death does. Then the modules' registration, in this
// process and in a fresh one that loads the built library.

#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>
#include <stdlib.h>

#include <algorithm>
#include <future>
#include <map>
#include <set>

#include "BatterySwapModule.h"
#include "CameraModule.h"
#include "ComponentIndex.h"
#include "FakeBatterySwapHandler.h"
#include "FakeCameraVendorTagProvider.h"
#include "FakePlugableDeviceNotifier.h"
#include "FakeSerial.h"
#include "HardwareManagerSim.h"
#include "TestSupport.h"

// The level is read while the library's objects are constructed, before main: point the device
// root at the suite's LogLevel.xml before anything runs.
__attribute__((constructor(101))) static void UseSuiteDeviceRoot() {
    setenv("ORVEX_DEVICE_ROOT", TRANSPORT_DEVICE_ROOT, 1);
}

namespace {

using namespace orvex::sim;
using orvex::hostlog::Entry;
using Args = std::vector<std::string>;
constexpr AndroidVersion kV = static_cast<AndroidVersion>(10);

Args Split(const std::string& text, char separator) {
    Args parts(1);
    for (char c : text) c == separator ? parts.emplace_back() : (parts.back() += c);
    return parts;
}

std::string Join(std::vector<std::string> parts) {
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : "|") + part;
    return text;
}

// Log lines as the scripts write them, "P text", P the priority's letter.
std::string Lines(const std::vector<Entry>& log) {
    std::vector<std::string> lines;
    for (const Entry& e : log) lines.push_back("01VDIWEF"[e.priority & 7] + (" " + e.message));
    return Join(lines);
}

// An operation's result as the scripts write it.
std::string Text(std::string text) { return text; }
std::string Text(long long value) { return std::to_string(value); }
// Scripts write a NUL byte of a text as '~'.
std::string Nul(std::string text, char from) {
    std::replace(text.begin(), text.end(), from, from == '~' ? '\0' : '~');
    return text;
}

int Int(const std::string& text) { return std::stoi(text); }
uint8_t U8(const std::string& text) { return std::stoi(text); }

// "12 AB"
std::vector<uint8_t> Bytes(const std::string& hex) {
    std::vector<uint8_t> bytes;
    for (size_t at = 0; at + 1 < hex.size(); at += 3)
        bytes.push_back(std::stoi(hex.substr(at, 2), nullptr, 16));
    return bytes;
}

// What a call log holds, and forgets it; with a method name, how often it was called.
std::string Calls(CallLog& log, const Args& method) {
    if (!method.empty()) return Text(log.Count(method[0]));
    std::string calls = Join(log.Calls());
    log.Clear();
    return calls;
}

// The caller's callbacks of both modules: what reached them ("12 AB" for bytes, "1,port,2" for a
// connection change), whether on the runtime's threads each time, and an action to run inside;
// the runtime orders the test thread's changes to it before the calls they are meant for.
class Recorder : public ISerialDataCallBack, public IPlugableHALCallBack {
  public:
    void OnSerialDataReceived(const uint8_t* data, size_t size) override {
        Heard(FormatBytes(data, size));
    }
    void OnPlugableDeviceChanged(bool connected, const std::string& port, int type) override {
        Heard(Text(connected) + "," + Nul(port, '\0') + "," + Text(type));
    }
    // What was heard since the last call.
    std::string Take() {
        EXPECT_TRUE(mOnRuntimeThreads) << "a callback ran outside the runtime's threads";
        return Calls(mHeard, {});
    }
    std::function<void()> inside;

  private:
    void Heard(std::string what) {
        mHeard.Add(std::move(what));
        if (!orvex::hidl::OnRpcThread() || std::this_thread::get_id() == mTest)
            mOnRuntimeThreads = false;
        if (inside) inside();
    }

    const std::thread::id mTest = std::this_thread::get_id();
    CallLog mHeard;
    std::atomic<bool> mOnRuntimeThreads{true};
};

template <typename M>
std::unique_ptr<M> Create(PlatformModuleTag tag, const char* name) {
    return std::unique_ptr<M>(
        static_cast<M*>(ComponentIndex::Instance()->CreateModule(tag, name)));
}

// What a module does when it reads the value of a call that did not reach its service.
const char kDead[] =
    " F HidlStatus: Attempted to retrieve value from failed HIDL call: "
    "Status(EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '";

// A scenario's steps are separated by "; ". Each is "op" or "op(arg,arg)", and "=expected" checks
// the op's result: "dies" when the process must end as reading a failed call's value does,
// "dies:TEXT" with TEXT on stderr. Lists (log lines, calls, what the caller heard) are joined by
// '|'; "$" stands for the scenario's prefix of the module's log lines.
struct Scenario {
    const char* name;
    const char* prefix;
    const char* script;
};
void PrintTo(const Scenario& scenario, std::ostream* os) { *os << scenario.name; }

const Scenario kScenarios[] = {
    // Without its interfaces each operation answers a fixed code.
    {"SerialTransportAnswersAloneOrReachesTheServiceInOrder", "[SerialPort<T>::",
     "s.start=9; s.stop=0; s.ioctl=1; s.write=8; fw.open=9; fw.close=4; fw.ioctl=4; fw.write=8; "
     "fw.read=Error - Unable to Read Data; log=E $StartTransport] StartTransport failed|"
     "E $StopTransport] already stoped|E Platform HAL $IoControl] failed\n|"
     "E $FWOpenSerialPort] FWOpenSerialPort failed|E $FWCloseSerialPort] FWCloseSerialPort failed|"
     "E $FWIoCtl] FWIoCtl failed|E $FWWritePort] err:8 |E $FWReadPort] sp_SerialHal NULL); start; "
     "s.init=1; s.acq=1; s.start=0; s.write=0; s.ioctl=0; s.stop=0; s.rel=1; "
     "m.calls=getSerialInterface(); s.calls=registerCallback(cb)|registerCallback(cb)|"
     "openPort(/dev/ttyHS1, 115200, true)|writeData(12 AB 00)|ioControl(5, -7)|closePort(); "
     "log=D $associateSerial] Acquired ISerial interface.|D [SerialCallback::SerialCallback()] "
     "ctor|D $AcquireSerialInterface] success|D $StartTransport] StartTransport return 0|"
     "D $IoControl] return:0\n|D $StopTransport] StopTransport return 0 --|D $disassociate]"},
    // Statuses pass through, and only a successful open or close moves the stopped state.
    {"SerialStatusesPassThrough", "[SerialPort<T>::",
     "start; s.init; s.acq; log; s.answers(7,0,0,200,255); s.start=7; s.ioctl=200; s.write=255; "
     "s.stop=0; s.calls(closePort)=0; s.answers(0,5,0,0,0); s.start=0; s.stop=5; "
     "s.answers(0,0,0,0,0); s.stop=0; s.stop=0; s.calls(closePort)=2; "
     "log=D $StartTransport] StartTransport return 7|D $IoControl] return:200\n|"
     "E $StopTransport] already stoped|D $StartTransport] StartTransport return 0|"
     "D $StopTransport] StopTransport return 5 --|D $StopTransport] StopTransport return 0 --|"
     "E $StopTransport] already stoped"},
    {"SerialRefusedRegistrationFailsAcquireAndStart", "[SerialPort<T>::",
     "start; s.answers(0,0,3,0,0); s.init; s.acq=0; log=D $associateSerial] Acquired ISerial "
     "interface.|D [SerialCallback::SerialCallback()] ctor|E $AcquireSerialInterface] is not "
     "available; s.answers(0,0,0,0,0); s.rel=1; s.init; s.acq=1; s.answers(0,0,3,0,0); s.calls; "
     "log; s.start=9; s.calls=registerCallback(cb); log=E $StartTransport] StartTransport failed"},
    // Without a data callback the acquisition fails but leaves the service a callback object.
    {"SerialReceivedBytesReachTheDataCallback", "[SerialPort<T>::",
     "start; s.acq=0; s.calls=registerCallback(cb); log=D $associateSerial] Acquired ISerial "
     "interface.|D [SerialCallback::SerialCallback()] ctor|E $AcquireSerialInterface] is not "
     "available; s.rx(01 02)=1; log=D [SerialCallback::onSerialData] data vector is not empty\n; "
     "s.init; s.acq=0; s.rel; s.init; s.acq=1; s.start=0; log; s.rx(01 00 FF)=1; s.rx()=1; "
     "heard=01 00 FF; log=D [SerialCallback::onSerialData] data vector is not empty\n|"
     "E [SerialCallback::onSerialData] data vector is empty\n"},
    // Writes are logged at error level even when they succeed; only a successful read of some bytes
    // answers them.
    {"SerialFirmwarePortPassesStatusesThrough", "[SerialPort<T>::",
     "start; fw.acq=1; fw.answers(1,0,254,-42,0); fw.open=1; fw.ioctl=254; fw.write=0; "
     "fw.answers(1,2,254,-42,6); fw.write(0)=6; fw.poll=-42; fw.read(1,12 AB)=0x120xAB0x00; "
     "fw.read(1,00)=0x000x00; fw.read(1,FF 80 0A 7F)=0xFF0x800x0A0x7F0x00; fw.close=2; "
     "fw.read(0,12)=Error - Unable to Read Data; log=D $associateSerial] Acquired ISerial "
     "interface.|D $associateSerialFWUpdate] get SerialFW Interface success.|"
     "D $AcquireFWSerialInterface] success|D $FWOpenSerialPort] FWOpenSerialPort return 1|"
     "D $FWIoCtl] FWIoCtl return 254|E $FWWritePort] err:0 |E $FWWritePort] err:6 |"
     "D $FWCloseSerialPort] FWCloseSerialPort return 2|E $FWReadPort] Error at HIDL Service "
     "(sp_SerialHal instance is NULL); m.calls=getSerialInterface(); "
     "s.calls=getSerialFWInterface(); fw.calls=fwOpen(/dev/ttyHS0)|fwIoctl(-1, 2147483647, 255)|"
     "fwWrite(4, DE AD 00 01)|fwWrite(0, )|fwPoll()|fwRead()|fwRead()|fwRead()|fwClose()|"
     "fwRead(); fw.read(1,)=Error - Unable to Read Data; fw.read(0,)=Error - Unable to Read Data"},
    // A failed firmware acquisition lets go of the transport's interfaces.
    {"SerialTransportAndFirmwarePortExcludeEachOther", "[SerialPort<T>::",
     "start; s.init; s.acq; s.start=0; log; fw.acq=0; log=E $associateSerial] failed|"
     "E $associateSerialFWUpdate] unable to get Serial Interface|E $AcquireFWSerialInterface] "
     "failed; s.stop=4; s.start=9; log=E $StopTransport] StopTransport failed|"
     "E $StartTransport] StartTransport failed; s.acq=0; fw.acq=0; s.rel=1; fw.acq=1; s.init; "
     "log; s.acq=0; fw.acq=0; log=E $associateSerial] failed|E $AcquireSerialInterface] is not "
     "available|E $associateSerialFWUpdate] failed|E $AcquireFWSerialInterface] failed; "
     "fw.open=0; m.calls(getSerialInterface)=2"},
    // Without a firmware port the instance holds the transport until released.
    {"SerialMissingServiceOrPartsFailAcquisition", "[SerialPort<T>::",
     "s.init; s.acq=0; fw.acq=0; log=E $associateSerial] Unable to get IDCHWManager interface.|"
     "E $AcquireSerialInterface] is not available|E $associateSerial] Unable to get IDCHWManager "
     "interface.|E $associateSerialFWUpdate] unable to get Serial Interface|"
     "E $AcquireFWSerialInterface] failed; parts(); start; s.acq=0; "
     "log=E $associateSerial] Unable to get ISerial interface.|E $AcquireSerialInterface] is not "
     "available; s.acq=0; m.calls=getSerialInterface()|getSerialInterface(); log; parts(serial); "
     "restart; fw.acq=0; fw.acq=0; log=D $associateSerial] Acquired ISerial interface.|"
     "E $associateSerialFWUpdate] unable to get Serial FW Interface.|"
     "E $AcquireFWSerialInterface] failed|E $associateSerial] failed|"
     "E $associateSerialFWUpdate] unable to get Serial Interface|E $AcquireFWSerialInterface] "
     "failed; s.rel=1; s.init; s.acq=1"},
    // Lengths beyond what a vector holds end the process; after the service died, so does the next
    // call on an interface still held. Release needs no service.
    {"SerialServiceDeathEndsTheProcessAtTheNextCall", "[SerialPort<T>::",
     "start; s.init; s.acq; s.write(4294967296)=dies:external vector size exceeds 2^32 elements.; "
     "kill; s.start=dies; s.rel=1; start; s.init; s.acq; s.start; kill; s.write=dies; "
     "s.ioctl=dies; s.stop=dies; s.rel=1; start; fw.acq; fw.write(-1)=dies:external vector size "
     "exceeds 2^32 elements.; kill; fw.open=dies; fw.close=dies; fw.ioctl=dies; fw.poll=dies; "
     "fw.write=dies"},
    // After letting go, however, nothing reaches the caller though the service still calls.
    {"SerialReleasedCallbackHearsNothing", "[SerialPort<T>::",
     "start; s.init; s.acq; s.rel=1; s.rx(5A)=1; heard=; s.init; s.acq=1; selfrelease(s)=11; "
     "heard=5A; s.rx(5A)=1; heard=; s.init; s.acq=1; s.delete; s.rx(5A)=1; heard="},
    // The battery and camera modules are supported without a service (the tool's listing pins the
    // notifier and the port); only the notifier logs its life. The notifier's calls reach the
    // service in order, and connection changes reach the caller unchanged.
    {"PlugableSequenceReachesTheServiceAndChangesTheCaller", "[PlugableDeviceNotifier<T>::",
     "supported=1; p.delete; p.new; log=D $PlugableDeviceNotifier()] dtor|"
     "D $PlugableDeviceNotifier()] ctor; start; p.acq=1; "
     "p.reg=1; p.name(1,/dev/ttyUSB1)=/dev/ttyUSB1; p.raise(1,/dev/ttyACM0,2)=1; "
     "p.raise(0,port with spaces,-128)=1; log=D $associatePlugableDeviceNotifier] Acquired "
     "PlugableDeviceNotifier interface.|D $AcquirePlugableDeviceNotifierInterface] success|"
     "D $InitializeSSI] scanner:2 ++|D [PlugableNotifierCallbacki::PlugableNotifierCallback] "
     "ctor\n|E $GetPortName] port name /dev/ttyUSB1|D "
     "[PlugableNotifierCallback::OnConnectionChanged] event:1, portName:/dev/ttyACM0, "
     "scannerType:2\n|D [PlugableNotifierCallback::OnConnectionChanged] event:0, portName:port "
     "with spaces, scannerType:-128\n; p.raise(0,/dev/ttyACM0,-1)=1; p.raise(1,,127)=1; "
     "p.raise(1,a~b,3)=1; heard=1,/dev/ttyACM0,2|0,port with spaces,-128|0,/dev/ttyACM0,-1|1,,127|"
     "1,a~b,3; log; p.rel=1; "
     "log=D $ReleasePlugableDeviceNotifierInterface]|D $disassociate]; "
     "m.calls=getPlugableDeviceNotifier(); p.calls=registerNotifierCallback(cb, 2)|getPortName()"},
    // A second acquisition fails until released; the port name is the service's unless its status
    // is -1.
    {"PlugablePortName", "[PlugableDeviceNotifier<T>::",
     "p.name=WrongPort; log=E $GetPortName] sp_PlugableHal is null|E $GetPortName] port name "
     "WrongPort; start; p.acq=1; log; p.acq=0; log=E $associatePlugableDeviceNotifier] failed|"
     "E $AcquirePlugableDeviceNotifierInterface] is not available; p.rel=1; p.acq=1; "
     "m.calls(getPlugableDeviceNotifier)=2; log; p.name(-1,)=WrongPort; "
     "p.name(1,/dev/ttyUSB0)=/dev/ttyUSB0; p.name(-2,/dev/ttyACM3)=/dev/ttyACM3; "
     "p.name(127,COM1)=COM1; p.name(0,a~b)=a~b; log; p.name(-1,/dev/ttyUSB0)=WrongPort; p.name(0,)=; "
     "log=E $GetPortName] Error in port Name|E $GetPortName] port name WrongPort|"
     "E $GetPortName] port name "},
    // Without a service or a notifier nothing is acquired; registration needs the interface and a
    // callback, the service's answer is the result, and a new registration replaces the module's
    // callback.
    {"PlugableRegistrationNeedsTheInterfaceAndACallback", "[PlugableDeviceNotifier<T>::",
     "p.reg(1)=0; p.acq=0; log=D $InitializeSSI] scanner:1 ++|E $InitializeSSI] failed|"
     "E $associatePlugableDeviceNotifier] Unable to get IDCHWManager interface.|"
     "E $AcquirePlugableDeviceNotifierInterface] is not available; parts(serial); start; p.acq=0; "
     "log=E $associatePlugableDeviceNotifier] Unable to get IPlugableDevice interface.|"
     "E $AcquirePlugableDeviceNotifierInterface] is not available; p.acq=0; "
     "m.calls(getPlugableDeviceNotifier)=2; parts(notifier); restart; p.acq; log; "
     "p.regnull(-1)=0; p.calls=; log=D $InitializeSSI] scanner:-1 ++|"
     "D [PlugableNotifierCallbacki::PlugableNotifierCallback] ctor\n|E $InitializeSSI] failed; "
     "p.result(0); p.reg(7)=0; log=D $InitializeSSI] scanner:7 ++|D "
     "[PlugableNotifierCallbacki::PlugableNotifierCallback] ctor\n|D "
     "[PlugableNotifierCallbacki::~PlugableNotifierCallback] dtor\n; p.result(1); p.reg(7)=1; "
     "p.result(2); p.reg(7)=1; p.result(255); p.reg(7)=1; p.calls(registerNotifierCallback)=4"},
    // A null or refused registration leaves the earlier one reaching the caller until a release.
    {"PlugableReleasedCallbackHearsNothing", "[PlugableDeviceNotifier<T>::",
     "start; p.acq; p.reg; p.rel=1; p.raise=1; heard=; p.acq; p.reg; p.regnull(2)=0; p.raise=1; "
     "heard=1,/dev/ttyUSB0,2; p.result(0); p.reg=0; p.raise=1; heard=1,/dev/ttyUSB0,2; p.rel=1; "
     "p.raise=1; heard=; p.result(1); p.acq; p.reg; selfrelease(p)=11; heard=1,/dev/ttyUSB0,2; p.raise=1; "
     "heard=; p.acq; p.reg; p.delete; p.raise=1; heard="},
    // Without a handler nothing reaches the service; repeated Inits on a live service answer false
    // and keep the connection.
    {"BatteryAnswersPassThroughOnlyWithAHandler", "[BatterySwapModule",
     "start; b.enter=0; b.exit=0; m.calls=; b.calls=; log=E $<T>::EnterBatterySwap] "
     "sp_BatterySwapHandler is null|E $<T>::ExitBatterySwap] sp_BatterySwapHandler is null; "
     "b.init=1; b.disassociate; log; b.enter=0; b.calls=; log=E $<T>::EnterBatterySwap] "
     "sp_BatterySwapHandler is null; b.init=1; b.init=0; b.init=0; b.answers(1,1); b.enter=1; "
     "b.inswap=1; b.enter=1; b.exit=1; b.answers(0,1); b.enter=0; b.enter=0; b.exit=1; "
     "b.answers(1,0); b.enter=1; b.enter=1; b.exit=0; b.answers(0,0); b.enter=0; b.enter=0; "
     "b.exit=0; b.exit=0; m.calls=getBatterySwapHandler()|getBatterySwapHandler(); "
     "b.calls(enterBatterySwap)=8; b.calls(exitBatterySwap)=5; log=I $::associateBatterySwapHIDL] "
     "Acquired IBatterySwapHandlerHIDL interface."},
    {"BatteryMissingServiceOrHandlerFailsInit", "[BatterySwapModule",
     "b.init=0; parts(); start; b.init=0; log=E $::associateBatterySwapHIDL] Unable to get "
     "DCHWManager HIDL interface.|E $::associateBatterySwapHIDL] Unable to get IBatterySwapHandler "
     "HIDL interface.; b.init=0; m.calls=getBatterySwapHandler()|getBatterySwapHandler(); log; "
     "b.enter=0; log=E $<T>::EnterBatterySwap] sp_BatterySwapHandler is null"},
    {"CameraLookupsAreTheProvidersAnswersNeverCached", "[CameraModule",
     "start; c.table; c.init=1; c.tag(min)=-2147483647; c.tag(max)=2147483647; "
     "c.tag(max)=2147483647; c.tag()=0; c.tag(zero)=0; c.tag(not.a.tag)=-77; "
     "c.calls(getVendorTagId)=6; m.calls=getCameraVendorTagProvider(); log=I CameraModule::Init|"
     "I $::associateCameraVendorTagHIDL] Acquired ICameraVendorTagProvider interface."},
    // A repeated Init answers false until DeInit; without a connection lookups answer -1 by
    // themselves.
    {"CameraLookupsAreAnsweredOnlyWhileConnected", "[CameraModule",
     "start; c.tag=-1; c.init=1; c.init=0; c.tag=-2147483646; c.deinit=1; c.deinit=1; c.tag=-1; "
     "c.init=1; c.tag=-2147483646; c.disassociate; c.tag()=-1; "
     "c.calls=getVendorTagId(com.tevrin.imager.gain)|getVendorTagId(com.tevrin.imager.gain); "
     "m.calls(getCameraVendorTagProvider)=2; log=E $<T>::GetCameraVendorTagID] "
     "sp_CameraTagProvider is null|I CameraModule::Init|I $::associateCameraVendorTagHIDL] "
     "Acquired ICameraVendorTagProvider interface.|I CameraModule::Init|I CameraModule::DeInit|"
     "I CameraModule::DeInit|E $<T>::GetCameraVendorTagID] sp_CameraTagProvider is null|"
     "I CameraModule::Init|I $::associateCameraVendorTagHIDL] Acquired ICameraVendorTagProvider "
     "interface.|E $<T>::GetCameraVendorTagID] sp_CameraTagProvider is null"},
    {"CameraMissingServiceOrProviderFailsInit", "[CameraModule",
     "c.init=0; parts(); start; c.init=0; log=I CameraModule::Init|E "
     "$::associateCameraVendorTagHIDL] Unable to get DCHWManager HIDL interface.|"
     "I CameraModule::Init|E $::associateCameraVendorTagHIDL] Unable to get "
     "ICameraVendorTagProvider HIDL interface.; c.init=0; m.calls(getCameraVendorTagProvider)=2; "
     "log; c.tag=-1; log=E $<T>::GetCameraVendorTagID] sp_CameraTagProvider is null"},
    // Gone for good, the flag keeps Init from looking again even once a service is back.
    {"CameraServiceDeath", "[CameraModule",
     "start; c.init; remove; log; c.init=0; start; c.init=0; log=I CameraModule::Init|E "
     "$::associateCameraVendorTagHIDL] Unable to get DCHWManager HIDL interface.|I "
     "CameraModule::Init; c.deinit=1; c.init=1"},
    // A fresh process that loads the library registers all eleven modules while it loads, in load
    // order; tags 11 and 13 have no name for the abstracted lookup, so only their names find them.
    {"FreshProcessRegistersAndFindsTheModules",
     "[ComponentIndex::AddPlatformModule] Adding platform module '",
     "caller(count 9 count 10 count 11 count 13 create 9 SerialPort create 10 "
     "PlugableDeviceNotifier create 11 BatterySwapModule create 13 CameraModule create 11 "
     "CameraModule abstract 9 abstract 10 abstract 11 abstract 13)=1|1|1|1|module|module|module|"
     "module|null|module|module|null|null|I $HWBeep' with Tag '0'\n|"
     "I $LEDNotification' with Tag '1'\n|I $Triggers' with Tag '2'\n|I $HWTrigger' with Tag '6'\n|"
     "I $ImagerHIDLProxy' with Tag '8'\n|I $SerialPort' with Tag '9'\n|"
     "I $IExternalHapticFeedack' with Tag '7'\n|I $PlugableDeviceNotifier' with Tag '10'\n|"
     "I $BatterySwapModule' with Tag '11'\n|I $PlatformHWInfoRetriever' with Tag '12'\n|"
     "I $CameraModule' with Tag '13'\n"},
};

class TransportScript : public ::testing::TestWithParam<Scenario> {
  protected:
    void SetUp() override {
        // Every instance of the service comes with fresh fakes of the parts it has.
        mSim.AddBuilder([this](FakeDCHWManager& m) {
            if (Has("serial")) m.SetSerial(mSerial = new FakeSerial);
            if (Has("serial") && !Has("fw")) mSerial->SetFirmware(nullptr);
            if (Has("notifier"))
                m.SetPlugableDeviceNotifier(mNotifier = new FakePlugableDeviceNotifier);
            if (Has("handler")) m.SetBatterySwapHandler(mHandler = new FakeBatterySwapHandler);
            if (Has("provider"))
                m.SetCameraVendorTagProvider(mProvider = new FakeCameraVendorTagProvider);
        });
        mPort = Create<ISerialPortModule>(PLATFORM_MODULE_SERIAL_PORT, "SerialPort");
        mPlug = NewPlug();
        mBattery = Create<BatterySwapModule<kV>>(PLATFORM_MODULE_BATTERY_SWAP, "BatterySwapModule");
        mCamera = Create<CameraModule<kV>>(PLATFORM_MODULE_CAMERA, "CameraModule");
        ASSERT_TRUE(mPort && mPlug && mBattery && mCamera);
        mLog.Clear();
        // clang-format off
#define OP(name, ...) {name, [this]([[maybe_unused]] const Args& a) { return Text(__VA_ARGS__); }}
        mOps = {
            OP("start", (mSim.Start(), "")), OP("kill", (mSim.Kill(), "")),
            OP("restart", (mSim.Restart(), "")), OP("remove", (mSim.Remove(), "")),
            OP("parts", (mParts = std::set<std::string>(a.begin(), a.end()), "")),
            OP("log", TakeLog()), OP("heard", mRec.Take()), OP("caller", RunCaller(a[0])),
            OP("supported", mBattery->IsSupported() && mCamera->IsSupported()),
            OP("m.calls", Calls(mSim.manager()->calls(), a)),
            OP("selfrelease", ReleaseInside(a[0] == "s")),
            // The serial port's transport, then its firmware-update port.
            OP("s.init", mPort->Initialize(&mRec)), OP("s.acq", mPort->AcquireSerialInterface()),
            OP("s.rel", mPort->ReleaseSerialInterface()), OP("s.delete", (mPort.reset(), "")),
            OP("s.start", mPort->StartTransport("/dev/ttyHS1", 115200, true)),
            OP("s.answers",
               (mSerial->SetAnswers({U8(a[0]), U8(a[1]), U8(a[2]), U8(a[3]), U8(a[4])}),
                "")),
            OP("s.ioctl", mPort->IoControl(static_cast<TransportIOControlCodes>(5), -7)),
            OP("s.write", mPort->ProcessRequest(mRequest, a.empty() ? 3 : std::stoul(a[0]))),
            OP("s.rx", mSerial->Receive(Bytes(a[0]))), OP("s.calls", Calls(mSerial->calls(), a)),
            OP("s.stop", mPort->StopTransport()),
            OP("fw.acq", mPort->AcquireFWSerialInterface()), OP("fw.poll", mPort->FWPoll()),
            OP("fw.answers", SetFirmwareAnswers(a)),
            OP("fw.open", mPort->FWOpenSerialPort("/dev/ttyHS0")),
            OP("fw.close", mPort->FWCloseSerialPort()),
            OP("fw.ioctl", mPort->FWIoCtl(-1, 0x7FFFFFFF, 255)),
            OP("fw.write", mPort->FWWritePort(a.empty() ? 4 : Int(a[0]),
                                              a.empty() || a[0] != "0" ? mBlock : nullptr)),
            OP("fw.read", (a.empty() ? "" : SetFirmwareAnswers(a), mPort->FWReadPort())),
            OP("fw.calls", Calls(mSerial->Firmware()->calls(), a)),
            // The pluggable device notifier.
            OP("p.acq", mPlug->AcquirePlugableDeviceNotifier()),
            OP("p.rel", mPlug->ReleasePlugableDeviceNotifier()),
            OP("p.delete", (mPlug.reset(), "")), OP("p.new", (mPlug = NewPlug(), "")),
            OP("p.calls", Calls(mNotifier->calls(), a)),
            OP("p.reg", mPlug->InitializeSSI(&mRec, ScannerType(a.empty() ? 2 : Int(a[0])))),
            OP("p.regnull", mPlug->InitializeSSI(nullptr, ScannerType(Int(a[0])))),
            OP("p.result", (mNotifier->SetRegisterResult(Int(a[0])), "")),
            OP("p.name", (a.empty() ? void() : mNotifier->SetPortName(Int(a[0]), Nul(a[1], '~')),
                          Nul(mPlug->GetPortName(), '\0'))),
            OP("p.raise", a.empty() ? mNotifier->RaiseConnectionChanged(true, "/dev/ttyUSB0", 2)
                          : mNotifier->RaiseConnectionChanged(a[0] == "1", Nul(a[1], '~'), Int(a[2]))),
            // The battery swap and camera vendor tag modules.
            OP("b.init", mBattery->Init()), OP("b.enter", mBattery->EnterBatterySwap()),
            OP("b.exit", mBattery->ExitBatterySwap()), OP("b.inswap", mHandler->InBatterySwap()),
            OP("b.answers", (mHandler->SetAnswers({a[0] == "1", a[1] == "1"}), "")),
            OP("b.calls", Calls(mHandler->calls(), a)),
            OP("b.disassociate", (mBattery->disassociateBatterySwapHIDL(), "")),
            OP("c.init", mCamera->Init()), OP("c.deinit", mCamera->DeInit()),
            OP("c.tag", mCamera->GetCameraVendorTagID(a.empty() ? "com.tevrin.imager.gain" : a[0])),
            OP("c.table", (mProvider->SetTable({{"min", INT32_MIN + 1}, {"max", INT32_MAX}, {"", 0},
                           {"zero", 0}}), mProvider->SetUnknownTagId(-77), "")),
            OP("c.calls", Calls(mProvider->calls(), a)),
            OP("c.disassociate", (mCamera->disassociateCameraVendorTagHIDL(), ""))};
#undef OP
        // clang-format on
    }

    static std::unique_ptr<IPlugableDeviceModule> NewPlug() {
        return Create<IPlugableDeviceModule>(PLATFORM_MODULE_PLUGABLE_DEVICE,
                                             "PlugableDeviceNotifier");
    }
    bool Has(const char* part) const { return mParts.count(part) > 0; }

    // The caller program in a fresh process that loads the library: what it printed, then the
    // framework's lines that start with the scenario's prefix.
    std::string RunCaller(const std::string& args) {
        orvex::test::DeviceRoot root;
        orvex::test::CallerRun run = orvex::test::RunCaller(root, Split(args, ' '));
        EXPECT_EQ(run.process.exitCode, 0) << run.process.err;
        std::vector<Entry> registered;
        for (const Entry& e : orvex::test::FilterTag(run.log, "ScannerFramework")) {
            if (e.message.rfind(GetParam().prefix, 0) == 0) registered.push_back(e);
        }
        return Join(Split(run.process.out, '\n')) + Lines(registered);
    }

    std::string TakeLog() {
        std::string lines = Lines(mLog.WithTag("ScannerFramework"));
        mLog.Clear();
        return lines;
    }

    // fwOpen, fwClose, fwIoctl, fwPoll, fwWrite; or whether reads succeed and their bytes.
    const char* SetFirmwareAnswers(const Args& a) {
        auto x = mSerial->Firmware()->GetAnswers();
        if (a.size() == 2) x.readOk = a[0] == "1", x.readData = Bytes(a[1]);
        if (a.size() == 5)
            x = {U8(a[0]), U8(a[1]), U8(a[2]), Int(a[3]), U8(a[4]), x.readOk, x.readData};
        return mSerial->Firmware()->SetAnswers(x), "";
    }

    // Sends one message whose callback releases the module from inside it: "11" when it arrived
    // and the release succeeded. Sent from a helper thread so that a release waiting for its own
    // callback ends the run instead of hanging it.
    std::string ReleaseInside(bool serial) {
        bool released = false;
        mRec.inside = [&] {
            released =
                serial ? mPort->ReleaseSerialInterface() : mPlug->ReleasePlugableDeviceNotifier();
        };
        auto sent = std::async(std::launch::async, [&] {
            return serial ? mSerial->Receive({0x5A})
                          : mNotifier->RaiseConnectionChanged(true, "/dev/ttyUSB0", 2);
        });
        // Else the release waited for the callback it was called from.
        if (sent.wait_for(std::chrono::seconds(30)) != std::future_status::ready) abort();
        mRec.inside = nullptr;
        return Text(sent.get()) + Text(released);
    }

    orvex::hostlog::ScopedCapture mLog;
    Recorder mRec;
    char mRequest[3] = {0x12, static_cast<char>(0xAB), 0x00};
    unsigned char mBlock[4] = {0xDE, 0xAD, 0x00, 0x01};
    std::set<std::string> mParts = {"serial", "fw", "notifier", "handler", "provider"};
    android::sp<FakeSerial> mSerial;
    android::sp<FakePlugableDeviceNotifier> mNotifier;
    android::sp<FakeBatterySwapHandler> mHandler;
    android::sp<FakeCameraVendorTagProvider> mProvider;
    HardwareManagerSim mSim{false};
    std::unique_ptr<ISerialPortModule> mPort;
    std::unique_ptr<IPlugableDeviceModule> mPlug;
    std::unique_ptr<BatterySwapModule<kV>> mBattery;
    std::unique_ptr<CameraModule<kV>> mCamera;
    std::map<std::string, std::function<std::string(const Args&)>> mOps;
};

TEST_P(TransportScript, Runs) {
    for (std::string step : Split(GetParam().script, ';')) {
        step.erase(0, step.find_first_not_of(' '));
        SCOPED_TRACE(step);
        const size_t paren = step.find('('), equals = std::min(step.find('='), step.size());
        const size_t end = paren < equals ? step.find(')') + 1 : equals;
        std::string expected = end < step.size() ? step.substr(end + 1) : "";
        for (size_t at; (at = expected.find('$')) != std::string::npos;)
            expected.replace(at, 1, GetParam().prefix);
        auto op = mOps.find(step.substr(0, std::min(paren, end)));
        ASSERT_TRUE(op != mOps.end()) << "no such op";
        const Args args =
            paren < end ? Split(step.substr(paren + 1, end - paren - 2), ',') : Args{};
        if (expected.rfind("dies", 0) == 0) {
            EXPECT_DEATH(op->second(args), orvex::test::LiteralRegex(
                                               expected.size() > 4 ? expected.substr(5) : kDead));
        } else if (const std::string got = op->second(args); end < step.size()) {
            EXPECT_EQ(got, expected);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Modules, TransportScript, ::testing::ValuesIn(kScenarios),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
