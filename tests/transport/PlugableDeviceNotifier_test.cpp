// The pluggable device notifier module against the simulated hardware manager: connection,
// registration for one scanner type, connection changes on a runtime thread, the port name, and
// what the service's death does at each step.

#include "PlugableDeviceNotifier.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <vector>

#include "ComponentIndex.h"
#include "FakePlugableDeviceNotifier.h"
#include "HardwareManagerSim.h"
#include "TransportTest.h"

namespace {

using namespace transport_test;
using android::sp;
using orvex::hostlog::Entry;
using orvex::sim::FakeDCHWManager;
using orvex::sim::FakePlugableDeviceNotifier;
using orvex::sim::HardwareManagerSim;
using Calls = std::vector<std::string>;

struct Change {
    bool connected;
    std::string portName;
    int scannerType;
    bool operator==(const Change& o) const {
        return connected == o.connected && portName == o.portName && scannerType == o.scannerType;
    }
};

std::ostream& operator<<(std::ostream& os, const Change& c) {
    return os << "{" << c.connected << ", \"" << c.portName << "\", " << c.scannerType << "}";
}

class RecordingPlugableCallback : public IPlugableHALCallBack {
  public:
    void OnPlugableDeviceChanged(bool connected, const std::string& portName,
                                 int scannerType) override {
        std::lock_guard<std::mutex> lock(mLock);
        mChanges.push_back({connected, portName, scannerType});
        mThreads.push_back(CallbackThread::Current());
    }
    std::vector<Change> Changes() {
        std::lock_guard<std::mutex> lock(mLock);
        return mChanges;
    }
    std::vector<CallbackThread> Threads() {
        std::lock_guard<std::mutex> lock(mLock);
        return mThreads;
    }

  private:
    std::mutex mLock;
    std::vector<Change> mChanges;
    std::vector<CallbackThread> mThreads;
};

class PlugableDeviceNotifierTest : public ::testing::Test {
  protected:
    void SetUp() override {
        mSim.AddBuilder([this](FakeDCHWManager& manager) {
            if (!mWithNotifier) return;
            mNotifier = new FakePlugableDeviceNotifier;
            manager.SetPlugableDeviceNotifier(mNotifier);
        });
        IPlatformModule* module = ComponentIndex::Instance()->CreateModule(
            PLATFORM_MODULE_PLUGABLE_DEVICE, "PlugableDeviceNotifier");
        mModule.reset(dynamic_cast<IPlugableDeviceModule*>(module));
        ASSERT_NE(mModule, nullptr);
        mLog.Clear();
    }

    // Acquires and registers for scanner type 2 against a running service; forgets the log.
    void Register() {
        ASSERT_TRUE(mModule->AcquirePlugableDeviceNotifier());
        ASSERT_TRUE(mModule->InitializeSSI(&mCallback, static_cast<ScannerType>(2)));
        mLog.Clear();
    }

    std::vector<Entry> Logged() { return mLog.WithTag("ScannerFramework"); }

    orvex::hostlog::ScopedCapture mLog;
    RecordingPlugableCallback mCallback;
    bool mWithNotifier = true;
    sp<FakePlugableDeviceNotifier> mNotifier;
    HardwareManagerSim mSim{false};
    std::unique_ptr<IPlugableDeviceModule> mModule;
};

TEST(PlugableDeviceNotifier, IsRegisteredUnderTagTenAndLogsItsLife) {
    orvex::hostlog::ScopedCapture log;
    IPlatformModule* module = ComponentIndex::Instance()->CreateModule(
        PLATFORM_MODULE_PLUGABLE_DEVICE, "PlugableDeviceNotifier");
    auto* notifier = dynamic_cast<IPlugableDeviceModule*>(module);
    ASSERT_NE(notifier, nullptr);
    EXPECT_TRUE(notifier->IsSupported());
    EXPECT_STREQ(notifier->GetModuleName(), "PlugableDeviceNotifier");
    delete module;
    EXPECT_EQ(
        ComponentIndex::Instance()->GetNumberOfFeedbackModules(PLATFORM_MODULE_PLUGABLE_DEVICE),
        1u);
    EXPECT_EQ(log.WithTag("ScannerFramework"),
              (std::vector<Entry>{
                  Log(D, "[PlugableDeviceNotifier<T>::PlugableDeviceNotifier()] ctor"),
                  Log(D, "[PlugableDeviceNotifier<T>::PlugableDeviceNotifier()] dtor"),
              }));
}

TEST_F(PlugableDeviceNotifierTest, SequenceReachesTheServiceInOrder) {
    mSim.Start();
    mNotifier->SetPortName(1, "/dev/ttyUSB1");
    EXPECT_TRUE(mModule->AcquirePlugableDeviceNotifier());
    EXPECT_TRUE(mModule->InitializeSSI(&mCallback, static_cast<ScannerType>(2)));
    EXPECT_EQ(mModule->GetPortName(), "/dev/ttyUSB1");
    EXPECT_TRUE(mModule->ReleasePlugableDeviceNotifier());

    EXPECT_EQ(mSim.manager()->calls().Calls(), Calls{"getPlugableDeviceNotifier()"});
    EXPECT_EQ(mNotifier->calls().Calls(),
              (Calls{"registerNotifierCallback(cb, 2)", "getPortName()"}));
    EXPECT_EQ(
        Logged(),
        (std::vector<Entry>{
            Log(D,
                "[PlugableDeviceNotifier<T>::associatePlugableDeviceNotifier] Acquired "
                "PlugableDeviceNotifier interface."),
            Log(D, "[PlugableDeviceNotifier<T>::AcquirePlugableDeviceNotifierInterface] success"),
            Log(D, "[PlugableDeviceNotifier<T>::InitializeSSI] scanner:2 ++"),
            Log(D, "[PlugableNotifierCallbacki::PlugableNotifierCallback] ctor\n"),
            Log(E, "[PlugableDeviceNotifier<T>::GetPortName] port name /dev/ttyUSB1"),
            Log(D, "[PlugableDeviceNotifier<T>::ReleasePlugableDeviceNotifierInterface]"),
            Log(D, "[PlugableDeviceNotifier<T>::disassociate]"),
        }));
}

TEST_F(PlugableDeviceNotifierTest, ConnectionChangesReachTheCallerUnchangedOnARuntimeThread) {
    mSim.Start();
    Register();
    const Change changes[] = {
        {true, "/dev/ttyACM0", 2},
        {false, "/dev/ttyACM0", -1},
        {true, "", 127},
        {false, "port with spaces", -128},
    };
    std::vector<Entry> expectedLog;
    for (const Change& c : changes) {
        ASSERT_TRUE(mNotifier->RaiseConnectionChanged(c.connected, c.portName,
                                                      static_cast<int8_t>(c.scannerType)));
        expectedLog.push_back(Log(D, "[PlugableNotifierCallback::OnConnectionChanged] event:" +
                                         std::to_string(c.connected ? 1 : 0) +
                                         ", portName:" + c.portName +
                                         ", scannerType:" + std::to_string(c.scannerType) + "\n"));
    }
    EXPECT_EQ(mCallback.Changes(), std::vector<Change>(std::begin(changes), std::end(changes)));
    for (const CallbackThread& thread : mCallback.Threads()) {
        EXPECT_TRUE(thread.onRpcThread);
        EXPECT_NE(thread.id, std::this_thread::get_id());
    }
    EXPECT_EQ(Logged(), expectedLog);
}

TEST_F(PlugableDeviceNotifierTest, PortNameIsTheServicesUnlessItsStatusIsMinusOne) {
    // Not connected: no service call at all.
    EXPECT_EQ(mModule->GetPortName(), "WrongPort");
    EXPECT_EQ(Logged(),
              (std::vector<Entry>{
                  Log(E, "[PlugableDeviceNotifier<T>::GetPortName] sp_PlugableHal is null"),
                  Log(E, "[PlugableDeviceNotifier<T>::GetPortName] port name WrongPort"),
              }));

    mSim.Start();
    ASSERT_TRUE(mModule->AcquirePlugableDeviceNotifier());
    struct Case {
        int8_t status;
        std::string name;
        std::string expected;
    } cases[] = {
        {-1, "/dev/ttyUSB0", "WrongPort"},    {-1, "", "WrongPort"},
        {1, "/dev/ttyUSB0", "/dev/ttyUSB0"},  {0, "", ""},
        {-2, "/dev/ttyACM3", "/dev/ttyACM3"}, {127, "COM1", "COM1"},
    };
    for (const Case& c : cases) {
        mNotifier->SetPortName(c.status, c.name);
        mLog.Clear();
        EXPECT_EQ(mModule->GetPortName(), c.expected) << int(c.status) << " " << c.name;
        std::vector<Entry> expectedLog;
        if (c.status == -1) {
            expectedLog.push_back(
                Log(E, "[PlugableDeviceNotifier<T>::GetPortName] Error in port Name"));
        }
        expectedLog.push_back(
            Log(E, "[PlugableDeviceNotifier<T>::GetPortName] port name " + c.expected));
        EXPECT_EQ(Logged(), expectedLog) << int(c.status) << " " << c.name;
    }
}

TEST_F(PlugableDeviceNotifierTest, RegistrationNeedsTheInterfaceAndACallback) {
    // Not connected.
    EXPECT_FALSE(mModule->InitializeSSI(&mCallback, static_cast<ScannerType>(1)));
    EXPECT_EQ(Logged(), (std::vector<Entry>{
                            Log(D, "[PlugableDeviceNotifier<T>::InitializeSSI] scanner:1 ++"),
                            Log(E, "[PlugableDeviceNotifier<T>::InitializeSSI] failed"),
                        }));

    // Connected, but no callback: nothing is registered.
    mSim.Start();
    ASSERT_TRUE(mModule->AcquirePlugableDeviceNotifier());
    mLog.Clear();
    EXPECT_FALSE(mModule->InitializeSSI(nullptr, static_cast<ScannerType>(-1)));
    EXPECT_TRUE(mNotifier->calls().Calls().empty());
    EXPECT_EQ(Logged(), (std::vector<Entry>{
                            Log(D, "[PlugableDeviceNotifier<T>::InitializeSSI] scanner:-1 ++"),
                            Log(D, "[PlugableNotifierCallbacki::PlugableNotifierCallback] ctor\n"),
                            Log(E, "[PlugableDeviceNotifier<T>::InitializeSSI] failed"),
                        }));

    // The service's answer is the result; a new registration replaces the module's callback.
    struct Case {
        uint8_t answer;
        bool expected;
    } cases[] = {{0, false}, {1, true}, {2, true}, {255, true}};
    for (const Case& c : cases) {
        mNotifier->SetRegisterResult(c.answer);
        mLog.Clear();
        EXPECT_EQ(mModule->InitializeSSI(&mCallback, static_cast<ScannerType>(7)), c.expected);
        EXPECT_EQ(Logged(),
                  (std::vector<Entry>{
                      Log(D, "[PlugableDeviceNotifier<T>::InitializeSSI] scanner:7 ++"),
                      Log(D, "[PlugableNotifierCallbacki::PlugableNotifierCallback] ctor\n"),
                      Log(D, "[PlugableNotifierCallbacki::~PlugableNotifierCallback] dtor\n"),
                  }));
    }
    EXPECT_EQ(mNotifier->calls().Count("registerNotifierCallback"), 4u);
}

TEST_F(PlugableDeviceNotifierTest, ASecondAcquisitionOnALiveServiceFailsUntilReleased) {
    mSim.Start();
    ASSERT_TRUE(mModule->AcquirePlugableDeviceNotifier());
    mLog.Clear();
    EXPECT_FALSE(mModule->AcquirePlugableDeviceNotifier());
    EXPECT_EQ(Logged(),
              (std::vector<Entry>{
                  Log(E, "[PlugableDeviceNotifier<T>::associatePlugableDeviceNotifier] failed"),
                  Log(E,
                      "[PlugableDeviceNotifier<T>::AcquirePlugableDeviceNotifierInterface] is not "
                      "available"),
              }));
    ASSERT_TRUE(mModule->ReleasePlugableDeviceNotifier());
    EXPECT_TRUE(mModule->AcquirePlugableDeviceNotifier());
    EXPECT_EQ(mSim.manager()->calls().Count("getPlugableDeviceNotifier"), 2u);
}

TEST_F(PlugableDeviceNotifierTest, MissingServiceOrNotifierFailsAcquisition) {
    EXPECT_FALSE(mModule->AcquirePlugableDeviceNotifier());
    mWithNotifier = false;
    mSim.Start();
    EXPECT_FALSE(mModule->AcquirePlugableDeviceNotifier());
    // The manager was let go of, so the next attempt asks again.
    EXPECT_FALSE(mModule->AcquirePlugableDeviceNotifier());
    EXPECT_EQ(mSim.manager()->calls().Count("getPlugableDeviceNotifier"), 2u);
    const Entry notAvailable = Log(
        E, "[PlugableDeviceNotifier<T>::AcquirePlugableDeviceNotifierInterface] is not available");
    const Entry noNotifier = Log(E,
                                 "[PlugableDeviceNotifier<T>::associatePlugableDeviceNotifier] "
                                 "Unable to get IPlugableDevice interface.");
    EXPECT_EQ(Logged(), (std::vector<Entry>{
                            Log(E,
                                "[PlugableDeviceNotifier<T>::associatePlugableDeviceNotifier] "
                                "Unable to get IDCHWManager interface."),
                            notAvailable,
                            noNotifier,
                            notAvailable,
                            noNotifier,
                            notAvailable,
                        }));
}

TEST_F(PlugableDeviceNotifierTest, ServiceDeathEndsTheProcessAtRegistration) {
    mSim.Start();
    ASSERT_TRUE(mModule->AcquirePlugableDeviceNotifier());
    mSim.Kill();
    EXPECT_DEATH(mModule->InitializeSSI(&mCallback, static_cast<ScannerType>(2)),
                 DeadServiceRegex());
}

TEST_F(PlugableDeviceNotifierTest, AfterServiceDeathThePortIsWrongAndAcquisitionConnectsAfresh) {
    mSim.Start();
    Register();
    mNotifier->SetPortName(1, "/dev/ttyUSB0");
    sp<FakePlugableDeviceNotifier> old = mNotifier;
    mSim.Kill();
    EXPECT_FALSE(old->RaiseConnectionChanged(true, "/dev/ttyUSB0", 2));
    // A reply that never came names no port.
    EXPECT_EQ(mModule->GetPortName(), "WrongPort");
    EXPECT_EQ(Logged(), (std::vector<Entry>{
                            Log(E, "[PlugableDeviceNotifier<T>::GetPortName] Error in port Name"),
                            Log(E, "[PlugableDeviceNotifier<T>::GetPortName] port name WrongPort"),
                        }));

    // Acquired again without a release: the dead manager fails its ping, a fresh connection
    // replaces it, and changes flow from the new instance.
    mSim.Start();
    Register();
    ASSERT_TRUE(mNotifier->RaiseConnectionChanged(false, "/dev/ttyUSB0", 2));
    EXPECT_EQ(mCallback.Changes(), (std::vector<Change>{{false, "/dev/ttyUSB0", 2}}));
    EXPECT_EQ(old->calls().Calls(), Calls{"registerNotifierCallback(cb, 2)"});

    mSim.Remove();
    EXPECT_FALSE(mModule->AcquirePlugableDeviceNotifier());
    EXPECT_TRUE(mLog.Contains(E, "ScannerFramework",
                              "[PlugableDeviceNotifier<T>::associatePlugableDeviceNotifier] Unable "
                              "to get IDCHWManager interface."));
}

}  // namespace
