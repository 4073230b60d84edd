// The serial port module against the simulated hardware manager: the transport and the
// firmware-update port, the codes it answers by itself, their mutual exclusion, received bytes,
// and what the service's death does at each step.

#include "SerialPort.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "ComponentIndex.h"
#include "FakeSerial.h"
#include "HardwareManagerSim.h"
#include "TestSupport.h"
#include "TransportTest.h"

namespace {

using namespace transport_test;
using android::sp;
using orvex::hostlog::Entry;
using orvex::sim::FakeDCHWManager;
using orvex::sim::FakeSerial;
using orvex::sim::FakeSerialFWUpdate;
using orvex::sim::HardwareManagerSim;
using Calls = std::vector<std::string>;
using Bytes = std::vector<uint8_t>;

class RecordingDataCallback : public ISerialDataCallBack {
  public:
    void OnSerialDataReceived(const uint8_t* data, size_t size) override {
        std::lock_guard<std::mutex> lock(mLock);
        mReceived.emplace_back(data, data + size);
        mThreads.push_back(CallbackThread::Current());
    }
    std::vector<Bytes> Received() {
        std::lock_guard<std::mutex> lock(mLock);
        return mReceived;
    }
    std::vector<CallbackThread> Threads() {
        std::lock_guard<std::mutex> lock(mLock);
        return mThreads;
    }

  private:
    std::mutex mLock;
    std::vector<Bytes> mReceived;
    std::vector<CallbackThread> mThreads;
};

class SerialPortTest : public ::testing::Test {
  protected:
    void SetUp() override {
        // Every instance of the service comes with a fresh serial port; the fixture sees the
        // latest.
        mSim.AddBuilder([this](FakeDCHWManager& manager) {
            if (!mWithSerial) return;
            mSerial = new FakeSerial;
            if (!mWithFirmware) mSerial->SetFirmware(nullptr);
            manager.SetSerial(mSerial);
        });
        IPlatformModule* module =
            ComponentIndex::Instance()->CreateModule(PLATFORM_MODULE_SERIAL_PORT, "SerialPort");
        mModule.reset(dynamic_cast<ISerialPortModule*>(module));
        ASSERT_NE(mModule, nullptr);
    }

    // Initializes and acquires the transport against a running service, and forgets the log.
    void AcquireTransport() {
        ASSERT_TRUE(mModule->Initialize(&mData));
        ASSERT_TRUE(mModule->AcquireSerialInterface());
        mLog.Clear();
    }

    void AcquireFirmware() {
        ASSERT_TRUE(mModule->AcquireFWSerialInterface());
        mLog.Clear();
    }

    std::vector<Entry> Logged() { return mLog.WithTag("ScannerFramework"); }

    sp<FakeSerialFWUpdate> Firmware() { return mSerial->Firmware(); }

    orvex::hostlog::ScopedCapture mLog;
    RecordingDataCallback mData;
    bool mWithSerial = true;
    bool mWithFirmware = true;
    android::sp<FakeSerial> mSerial;
    HardwareManagerSim mSim{false};
    std::unique_ptr<ISerialPortModule> mModule;
};

TEST_F(SerialPortTest, IsRegisteredUnderTagNineAndSupportedWithoutAService) {
    EXPECT_TRUE(mModule->IsSupported());
    EXPECT_STREQ(mModule->GetModuleName(), "SerialPort");
    EXPECT_EQ(ComponentIndex::Instance()->GetNumberOfFeedbackModules(PLATFORM_MODULE_SERIAL_PORT),
              1u);
    EXPECT_TRUE(mModule->Initialize(nullptr));
    EXPECT_TRUE(Logged().empty());
}

TEST_F(SerialPortTest, TransportSequenceReachesTheServiceInOrder) {
    mSim.Start();
    ASSERT_TRUE(mModule->Initialize(&mData));
    ASSERT_TRUE(mModule->AcquireSerialInterface());
    EXPECT_EQ(mModule->StartTransport("/dev/ttyHS1", 115200, true), 0);
    char request[] = {0x12, static_cast<char>(0xAB), 0x00};
    EXPECT_EQ(mModule->ProcessRequest(request, sizeof request), 0);
    EXPECT_EQ(mModule->IoControl(static_cast<TransportIOControlCodes>(5), -7), 0);
    EXPECT_EQ(mModule->StopTransport(), 0);
    EXPECT_TRUE(mModule->ReleaseSerialInterface());

    EXPECT_EQ(mSim.manager()->calls().Calls(), Calls{"getSerialInterface()"});
    EXPECT_EQ(mSerial->calls().Calls(),
              (Calls{"registerCallback(cb)", "registerCallback(cb)",
                     "openPort(/dev/ttyHS1, 115200, true)", "writeData(12 AB 00)",
                     "ioControl(5, -7)", "closePort()"}));
    EXPECT_EQ(Logged(), (std::vector<Entry>{
                            Log(D, "[SerialPort<T>::associateSerial] Acquired ISerial interface."),
                            Log(D, "[SerialCallback::SerialCallback()] ctor"),
                            Log(D, "[SerialPort<T>::AcquireSerialInterface] success"),
                            Log(D, "[SerialPort<T>::StartTransport] StartTransport return 0"),
                            Log(D, "[SerialPort<T>::IoControl] return:0\n"),
                            Log(D, "[SerialPort<T>::StopTransport] StopTransport return 0 --"),
                            Log(D, "[SerialPort<T>::disassociate]"),
                        }));
}

TEST_F(SerialPortTest, WithoutServiceInterfacesEachOperationAnswersItsFixedCode) {
    // Right after construction: nothing acquired, nothing started.
    char byte = 1;
    unsigned char ubyte = 1;
    struct Case {
        const char* operation;
        std::function<int()> call;
        int expected;
        std::vector<Entry> log;
    } cases[] = {
        {"StartTransport",
         [&] { return mModule->StartTransport("/dev/ttyHS1", 9600, false); },
         9,
         {Log(E, "[SerialPort<T>::StartTransport] StartTransport failed")}},
        {"StopTransport",
         [&] { return mModule->StopTransport(); },
         0,
         {Log(E, "[SerialPort<T>::StopTransport] already stoped")}},
        {"IoControl",
         [&] { return mModule->IoControl(static_cast<TransportIOControlCodes>(1), 1); },
         1,
         {Log(E, "Platform HAL [SerialPort<T>::IoControl] failed\n")}},
        {"ProcessRequest", [&] { return mModule->ProcessRequest(&byte, 1); }, 8, {}},
        {"FWOpenSerialPort",
         [&] { return mModule->FWOpenSerialPort("/dev/ttyHS0"); },
         9,
         {Log(E, "[SerialPort<T>::FWOpenSerialPort] FWOpenSerialPort failed")}},
        {"FWCloseSerialPort",
         [&] { return mModule->FWCloseSerialPort(); },
         4,
         {Log(E, "[SerialPort<T>::FWCloseSerialPort] FWCloseSerialPort failed")}},
        {"FWIoCtl",
         [&] { return mModule->FWIoCtl(1, 2, 3); },
         4,
         {Log(E, "[SerialPort<T>::FWIoCtl] FWIoCtl failed")}},
        {"FWWritePort",
         [&] { return mModule->FWWritePort(1, &ubyte); },
         8,
         {Log(E, "[SerialPort<T>::FWWritePort] err:8 ")}},
    };
    for (const Case& c : cases) {
        mLog.Clear();
        EXPECT_EQ(c.call(), c.expected) << c.operation;
        EXPECT_EQ(Logged(), c.log) << c.operation;
    }
    mLog.Clear();
    EXPECT_EQ(mModule->FWReadPort(), "Error - Unable to Read Data");
    EXPECT_EQ(Logged(),
              std::vector<Entry>{Log(E, "[SerialPort<T>::FWReadPort] sp_SerialHal NULL)")});
}

TEST_F(SerialPortTest, ServiceStatusesArePassedThroughAndOnlySuccessMovesTheStoppedState) {
    mSim.Start();
    AcquireTransport();
    FakeSerial::Answers answers;
    answers.openPort = 7;
    answers.ioControl = 200;
    answers.writeData = 255;
    mSerial->SetAnswers(answers);
    char byte = 0;
    EXPECT_EQ(mModule->StartTransport("/dev/ttyHS1", 9600, false), 7);
    EXPECT_EQ(mModule->IoControl(static_cast<TransportIOControlCodes>(2), 0), 200);
    EXPECT_EQ(mModule->ProcessRequest(&byte, 1), 255);
    // The failed open left the transport stopped: no closePort.
    EXPECT_EQ(mModule->StopTransport(), 0);
    EXPECT_EQ(mSerial->calls().Count("closePort"), 0u);

    answers.openPort = 0;
    answers.closePort = 5;
    mSerial->SetAnswers(answers);
    EXPECT_EQ(mModule->StartTransport("/dev/ttyHS1", 9600, false), 0);
    EXPECT_EQ(mModule->StopTransport(), 5);
    // Still open after the failed close: the next stop asks the service again.
    answers.closePort = 0;
    mSerial->SetAnswers(answers);
    EXPECT_EQ(mModule->StopTransport(), 0);
    EXPECT_EQ(mModule->StopTransport(), 0);
    EXPECT_EQ(mSerial->calls().Count("closePort"), 2u);
    EXPECT_EQ(Logged(), (std::vector<Entry>{
                            Log(D, "[SerialPort<T>::StartTransport] StartTransport return 7"),
                            Log(D, "[SerialPort<T>::IoControl] return:200\n"),
                            Log(E, "[SerialPort<T>::StopTransport] already stoped"),
                            Log(D, "[SerialPort<T>::StartTransport] StartTransport return 0"),
                            Log(D, "[SerialPort<T>::StopTransport] StopTransport return 5 --"),
                            Log(D, "[SerialPort<T>::StopTransport] StopTransport return 0 --"),
                            Log(E, "[SerialPort<T>::StopTransport] already stoped"),
                        }));
}

TEST_F(SerialPortTest, RefusedCallbackRegistrationFailsAcquireAndStart) {
    mSim.Start();
    FakeSerial::Answers refused;
    refused.registerCallback = 3;
    // Every new instance of the service refuses from the start.
    mSim.AddBuilder([this, refused](FakeDCHWManager&) { mSerial->SetAnswers(refused); });
    mSim.Restart();
    ASSERT_TRUE(mModule->Initialize(&mData));
    EXPECT_FALSE(mModule->AcquireSerialInterface());
    EXPECT_EQ(Logged(), (std::vector<Entry>{
                            Log(D, "[SerialPort<T>::associateSerial] Acquired ISerial interface."),
                            Log(D, "[SerialCallback::SerialCallback()] ctor"),
                            Log(E, "[SerialPort<T>::AcquireSerialInterface] is not available"),
                        }));

    // Accepted at acquisition, refused at start: no open.
    mSerial->SetAnswers(FakeSerial::Answers{});
    ASSERT_TRUE(mModule->ReleaseSerialInterface());
    AcquireTransport();
    mSerial->SetAnswers(refused);
    EXPECT_EQ(mModule->StartTransport("/dev/ttyHS1", 9600, false), 9);
    EXPECT_EQ(mSerial->calls().Count("openPort"), 0u);
    EXPECT_EQ(Logged(),
              std::vector<Entry>{Log(E, "[SerialPort<T>::StartTransport] StartTransport failed")});
}

TEST_F(SerialPortTest, ASecondAcquisitionOnALiveServiceFails) {
    mSim.Start();
    AcquireTransport();
    EXPECT_FALSE(mModule->AcquireSerialInterface());
    EXPECT_EQ(Logged(), (std::vector<Entry>{
                            Log(E, "[SerialPort<T>::associateSerial] failed"),
                            Log(E, "[SerialPort<T>::AcquireSerialInterface] is not available"),
                        }));
    EXPECT_EQ(mSim.manager()->calls().Calls(), Calls{"getSerialInterface()"});
}

TEST_F(SerialPortTest, AcquireWithoutADataCallbackFailsUntilReleased) {
    mSim.Start();
    EXPECT_FALSE(mModule->AcquireSerialInterface());
    EXPECT_EQ(mSerial->calls().Calls(), Calls{"registerCallback(cb)"});
    EXPECT_EQ(Logged(), (std::vector<Entry>{
                            Log(D, "[SerialPort<T>::associateSerial] Acquired ISerial interface."),
                            Log(D, "[SerialCallback::SerialCallback()] ctor"),
                            Log(E, "[SerialPort<T>::AcquireSerialInterface] is not available"),
                        }));
    // The service holds a callback without a data callback: what it sends goes nowhere.
    mLog.Clear();
    EXPECT_TRUE(mSerial->Receive({1, 2}));
    EXPECT_EQ(Logged(), std::vector<Entry>{
                            Log(D, "[SerialCallback::onSerialData] data vector is not empty\n")});

    // The connection is held, so initializing now is not enough.
    ASSERT_TRUE(mModule->Initialize(&mData));
    EXPECT_FALSE(mModule->AcquireSerialInterface());
    ASSERT_TRUE(mModule->ReleaseSerialInterface());
    ASSERT_TRUE(mModule->Initialize(&mData));
    EXPECT_TRUE(mModule->AcquireSerialInterface());
    EXPECT_TRUE(mSerial->Receive({3}));
    EXPECT_EQ(mData.Received(), std::vector<Bytes>{{3}});
}

TEST_F(SerialPortTest, ReceivedBytesReachTheDataCallbackOnARuntimeThread) {
    mSim.Start();
    AcquireTransport();
    ASSERT_EQ(mModule->StartTransport("/dev/ttyHS1", 9600, false), 0);
    mLog.Clear();
    ASSERT_TRUE(mSerial->Receive({0x01, 0x00, 0xFF}));
    ASSERT_TRUE(mSerial->Receive({0x7F}));
    // Empty data is reported and not passed on.
    ASSERT_TRUE(mSerial->Receive({}));

    EXPECT_EQ(mData.Received(), (std::vector<Bytes>{{0x01, 0x00, 0xFF}, {0x7F}}));
    for (const CallbackThread& thread : mData.Threads()) {
        EXPECT_TRUE(thread.onRpcThread);
        EXPECT_NE(thread.id, std::this_thread::get_id());
    }
    EXPECT_EQ(Logged(), (std::vector<Entry>{
                            Log(D, "[SerialCallback::onSerialData] data vector is not empty\n"),
                            Log(D, "[SerialCallback::onSerialData] data vector is not empty\n"),
                            Log(E, "[SerialCallback::onSerialData] data vector is empty\n"),
                        }));
}

TEST_F(SerialPortTest, FirmwareSequenceReachesTheFirmwarePortAndPassesItsStatusesThrough) {
    mSim.Start();
    ASSERT_TRUE(mModule->AcquireFWSerialInterface());
    FakeSerialFWUpdate::Answers answers;
    answers.fwOpen = 1;
    answers.fwIoctl = 254;
    answers.fwPoll = -42;
    answers.readData = {0x12, 0xAB};
    Firmware()->SetAnswers(answers);
    unsigned char block[] = {0xDE, 0xAD, 0x00, 0x01};
    EXPECT_EQ(mModule->FWOpenSerialPort("/dev/ttyHS0"), 1);
    EXPECT_EQ(mModule->FWIoCtl(-1, 0x7FFFFFFF, 255), 254);
    EXPECT_EQ(mModule->FWWritePort(4, block), 0);
    answers.fwWrite = 6;
    answers.fwClose = 2;
    Firmware()->SetAnswers(answers);
    EXPECT_EQ(mModule->FWWritePort(0, nullptr), 6);
    EXPECT_EQ(mModule->FWPoll(), -42);
    EXPECT_EQ(mModule->FWReadPort(), "0x120xAB0x00");
    EXPECT_EQ(mModule->FWCloseSerialPort(), 2);
    EXPECT_TRUE(mModule->ReleaseSerialInterface());

    EXPECT_EQ(mSim.manager()->calls().Calls(), Calls{"getSerialInterface()"});
    EXPECT_EQ(mSerial->calls().Calls(), Calls{"getSerialFWInterface()"});
    EXPECT_EQ(
        Firmware()->calls().Calls(),
        (Calls{"fwOpen(/dev/ttyHS0)", "fwIoctl(-1, 2147483647, 255)", "fwWrite(4, DE AD 00 01)",
               "fwWrite(0, )", "fwPoll()", "fwRead()", "fwClose()"}));
    // The write is logged at error level even when it succeeded.
    EXPECT_EQ(
        Logged(),
        (std::vector<Entry>{
            Log(D, "[SerialPort<T>::associateSerial] Acquired ISerial interface."),
            Log(D, "[SerialPort<T>::associateSerialFWUpdate] get SerialFW Interface success."),
            Log(D, "[SerialPort<T>::AcquireFWSerialInterface] success"),
            Log(D, "[SerialPort<T>::FWOpenSerialPort] FWOpenSerialPort return 1"),
            Log(D, "[SerialPort<T>::FWIoCtl] FWIoCtl return 254"),
            Log(E, "[SerialPort<T>::FWWritePort] err:0 "),
            Log(E, "[SerialPort<T>::FWWritePort] err:6 "),
            Log(D, "[SerialPort<T>::FWCloseSerialPort] FWCloseSerialPort return 2"),
            Log(D, "[SerialPort<T>::disassociate]"),
        }));
}

TEST_F(SerialPortTest, FirmwareReadsThatAreEmptyOrNotOkAreErrors) {
    mSim.Start();
    AcquireFirmware();
    struct Case {
        bool ok;
        Bytes data;
        std::string expected;
    } cases[] = {
        {true, {0x00}, "0x000x00"},
        {true, {0xFF, 0x80, 0x0A, 0x7F}, "0xFF0x800x0A0x7F0x00"},
        {false, {0x12}, "Error - Unable to Read Data"},
        {true, {}, "Error - Unable to Read Data"},
        {false, {}, "Error - Unable to Read Data"},
    };
    for (const Case& c : cases) {
        FakeSerialFWUpdate::Answers answers;
        answers.readOk = c.ok;
        answers.readData = c.data;
        Firmware()->SetAnswers(answers);
        mLog.Clear();
        EXPECT_EQ(mModule->FWReadPort(), c.expected);
        std::vector<Entry> expectedLog;
        if (c.expected[0] == 'E') {
            expectedLog.push_back(Log(E,
                                      "[SerialPort<T>::FWReadPort] Error at HIDL Service "
                                      "(sp_SerialHal instance is NULL)"));
        }
        EXPECT_EQ(Logged(), expectedLog);
    }
}

TEST(SerialPortHex, EveryByteIsAnUpperCaseGroupAndAZeroGroupEndsTheText) {
    struct Case {
        std::vector<char> bytes;
        std::string expected;
    } cases[] = {
        {{}, "0x00"},
        {{0x12, static_cast<char>(0xAB)}, "0x120xAB0x00"},
        {{0x00}, "0x000x00"},
        {{static_cast<char>(0xFF), static_cast<char>(0x80), 0x0a, 0x09}, "0xFF0x800x0A0x090x00"},
    };
    for (Case& c : cases) {
        EXPECT_EQ(SerialPort<(AndroidVersion)10>::convertToHex(c.bytes.data(),
                                                               static_cast<int>(c.bytes.size())),
                  c.expected);
    }
}

TEST_F(SerialPortTest, TransportAndFirmwarePortExcludeEachOtherUntilReleased) {
    mSim.Start();
    AcquireTransport();
    ASSERT_EQ(mModule->StartTransport("/dev/ttyHS1", 9600, false), 0);
    mLog.Clear();
    EXPECT_FALSE(mModule->AcquireFWSerialInterface());
    EXPECT_EQ(Logged(),
              (std::vector<Entry>{
                  Log(E, "[SerialPort<T>::associateSerial] failed"),
                  Log(E, "[SerialPort<T>::associateSerialFWUpdate] unable to get Serial Interface"),
                  Log(E, "[SerialPort<T>::AcquireFWSerialInterface] failed"),
              }));
    // The failed attempt let go of the transport's interfaces.
    mLog.Clear();
    EXPECT_EQ(mModule->StopTransport(), 4);
    EXPECT_EQ(mModule->StartTransport("/dev/ttyHS1", 9600, false), 9);
    EXPECT_EQ(Logged(), (std::vector<Entry>{
                            Log(E, "[SerialPort<T>::StopTransport] StopTransport failed"),
                            Log(E, "[SerialPort<T>::StartTransport] StartTransport failed"),
                        }));
    // Neither can be acquired again before a release.
    EXPECT_FALSE(mModule->AcquireSerialInterface());
    EXPECT_FALSE(mModule->AcquireFWSerialInterface());

    ASSERT_TRUE(mModule->ReleaseSerialInterface());
    EXPECT_TRUE(mModule->AcquireFWSerialInterface());
    mLog.Clear();
    // The other way round: the firmware port held, the transport cannot be acquired, nor the
    // firmware port a second time.
    ASSERT_TRUE(mModule->Initialize(&mData));
    EXPECT_FALSE(mModule->AcquireSerialInterface());
    EXPECT_FALSE(mModule->AcquireFWSerialInterface());
    EXPECT_EQ(Logged(), (std::vector<Entry>{
                            Log(E, "[SerialPort<T>::associateSerial] failed"),
                            Log(E, "[SerialPort<T>::AcquireSerialInterface] is not available"),
                            Log(E, "[SerialPort<T>::associateSerialFWUpdate] failed"),
                            Log(E, "[SerialPort<T>::AcquireFWSerialInterface] failed"),
                        }));
    EXPECT_EQ(mModule->FWOpenSerialPort("/dev/ttyHS0"), 0);
    EXPECT_EQ(mSim.manager()->calls().Count("getSerialInterface"), 2u);
}

TEST_F(SerialPortTest, MissingServiceOrSubInterfacesFailAcquisition) {
    ASSERT_TRUE(mModule->Initialize(&mData));
    // No service registered at all.
    EXPECT_FALSE(mModule->AcquireSerialInterface());
    EXPECT_FALSE(mModule->AcquireFWSerialInterface());
    EXPECT_EQ(Logged(),
              (std::vector<Entry>{
                  Log(E, "[SerialPort<T>::associateSerial] Unable to get IDCHWManager interface."),
                  Log(E, "[SerialPort<T>::AcquireSerialInterface] is not available"),
                  Log(E, "[SerialPort<T>::associateSerial] Unable to get IDCHWManager interface."),
                  Log(E, "[SerialPort<T>::associateSerialFWUpdate] unable to get Serial Interface"),
                  Log(E, "[SerialPort<T>::AcquireFWSerialInterface] failed"),
              }));

    // A manager without a serial port: each attempt asks again.
    mWithSerial = false;
    mSim.Start();
    mLog.Clear();
    EXPECT_FALSE(mModule->AcquireSerialInterface());
    EXPECT_FALSE(mModule->AcquireSerialInterface());
    EXPECT_EQ(mSim.manager()->calls().Calls(),
              (Calls{"getSerialInterface()", "getSerialInterface()"}));
    EXPECT_EQ(Logged(),
              (std::vector<Entry>{
                  Log(E, "[SerialPort<T>::associateSerial] Unable to get ISerial interface."),
                  Log(E, "[SerialPort<T>::AcquireSerialInterface] is not available"),
                  Log(E, "[SerialPort<T>::associateSerial] Unable to get ISerial interface."),
                  Log(E, "[SerialPort<T>::AcquireSerialInterface] is not available"),
              }));

    // A serial port without a firmware port: the instance counts as holding the transport (its
    // flag stays set) until it is released.
    mWithSerial = true;
    mWithFirmware = false;
    mSim.Restart();
    mLog.Clear();
    EXPECT_FALSE(mModule->AcquireFWSerialInterface());
    EXPECT_FALSE(mModule->AcquireFWSerialInterface());
    EXPECT_EQ(
        Logged(),
        (std::vector<Entry>{
            Log(D, "[SerialPort<T>::associateSerial] Acquired ISerial interface."),
            Log(E, "[SerialPort<T>::associateSerialFWUpdate] unable to get Serial FW Interface."),
            Log(E, "[SerialPort<T>::AcquireFWSerialInterface] failed"),
            Log(E, "[SerialPort<T>::associateSerial] failed"),
            Log(E, "[SerialPort<T>::associateSerialFWUpdate] unable to get Serial Interface"),
            Log(E, "[SerialPort<T>::AcquireFWSerialInterface] failed"),
        }));
    ASSERT_TRUE(mModule->ReleaseSerialInterface());
    ASSERT_TRUE(mModule->Initialize(&mData));
    EXPECT_TRUE(mModule->AcquireSerialInterface());
}

TEST_F(SerialPortTest, BuffersBeyondWhatAVectorHoldsEndTheProcess) {
    mSim.Start();
    char byte = 0;
    unsigned char ubyte = 0;
    AcquireTransport();
    EXPECT_DEATH(mModule->ProcessRequest(&byte, 1ul << 32),
                 orvex::test::LiteralRegex("external vector size exceeds 2^32 elements."));
    ASSERT_TRUE(mModule->ReleaseSerialInterface());
    AcquireFirmware();
    EXPECT_DEATH(mModule->FWWritePort(-1, &ubyte),
                 orvex::test::LiteralRegex("external vector size exceeds 2^32 elements."));
}

// The service dies after each step of the transport's sequence: the next call on an interface
// the module still holds ends the process, as reading a failed call's value does.
TEST_F(SerialPortTest, ServiceDeathEndsTheProcessAtTheNextTransportCall) {
    char byte = 0;
    struct Step {
        const char* name;
        bool started;
        std::function<void()> call;
    } steps[] = {
        {"StartTransport", false, [&] { mModule->StartTransport("/dev/ttyHS1", 9600, false); }},
        {"ProcessRequest", true, [&] { mModule->ProcessRequest(&byte, 1); }},
        {"IoControl", true,
         [&] { mModule->IoControl(static_cast<TransportIOControlCodes>(1), 1); }},
        {"StopTransport", true, [&] { mModule->StopTransport(); }},
    };
    for (const Step& step : steps) {
        mSim.Start();
        AcquireTransport();
        if (step.started) {
            ASSERT_EQ(mModule->StartTransport("/dev/ttyHS1", 9600, false), 0);
        }
        mSim.Kill();
        EXPECT_DEATH(step.call(), DeadServiceRegex()) << step.name;
        // Release needs no service; afterwards the instance is free again.
        ASSERT_TRUE(mModule->ReleaseSerialInterface());
    }
}

TEST_F(SerialPortTest, ServiceDeathEndsTheProcessAtTheNextFirmwareCall) {
    unsigned char byte = 0;
    struct Step {
        const char* name;
        std::function<void()> call;
    } steps[] = {
        {"FWOpenSerialPort", [&] { mModule->FWOpenSerialPort("/dev/ttyHS0"); }},
        {"FWCloseSerialPort", [&] { mModule->FWCloseSerialPort(); }},
        {"FWIoCtl", [&] { mModule->FWIoCtl(1, 2, 3); }},
        {"FWPoll", [&] { mModule->FWPoll(); }},
        {"FWWritePort", [&] { mModule->FWWritePort(1, &byte); }},
    };
    for (const Step& step : steps) {
        mSim.Start();
        AcquireFirmware();
        mSim.Kill();
        EXPECT_DEATH(step.call(), DeadServiceRegex()) << step.name;
        ASSERT_TRUE(mModule->ReleaseSerialInterface());
    }
}

TEST_F(SerialPortTest, AfterServiceDeathAReadFailsAndAcquisitionConnectsAfresh) {
    mSim.Start();
    AcquireFirmware();
    sp<FakeSerial> old = mSerial;
    mSim.Kill();
    // A read that does not reach the service is a failed read, not the end of the process.
    EXPECT_EQ(mModule->FWReadPort(), "Error - Unable to Read Data");
    // The firmware port counts as held until released, dead or not.
    EXPECT_FALSE(mModule->AcquireFWSerialInterface());
    mSim.Start();
    ASSERT_TRUE(mModule->ReleaseSerialInterface());
    EXPECT_TRUE(mModule->AcquireFWSerialInterface());
    EXPECT_EQ(mModule->FWOpenSerialPort("/dev/ttyHS0"), 0);
    // The read never reached the dead service.
    EXPECT_TRUE(old->Firmware()->calls().Calls().empty());
    EXPECT_EQ(Firmware()->calls().Calls(), Calls{"fwOpen(/dev/ttyHS0)"});

    // The transport, acquired again without a release: the dead manager fails its ping and a
    // fresh connection replaces it.
    ASSERT_TRUE(mModule->ReleaseSerialInterface());
    AcquireTransport();
    mSim.Restart();
    EXPECT_TRUE(mModule->AcquireSerialInterface());
    EXPECT_EQ(mModule->StartTransport("/dev/ttyHS1", 9600, false), 0);
    EXPECT_TRUE(mSerial->Receive({9}));
    EXPECT_EQ(mData.Received(), std::vector<Bytes>{{9}});
    EXPECT_EQ(mSerial->calls().Calls(), (Calls{"registerCallback(cb)", "registerCallback(cb)",
                                               "openPort(/dev/ttyHS1, 9600, false)"}));

    // And with the service gone for good, the fresh connection finds nothing.
    mSim.Remove();
    mLog.Clear();
    EXPECT_FALSE(mModule->AcquireSerialInterface());
    EXPECT_EQ(Logged(),
              (std::vector<Entry>{
                  Log(E, "[SerialPort<T>::associateSerial] Unable to get IDCHWManager interface."),
                  Log(E, "[SerialPort<T>::AcquireSerialInterface] is not available"),
              }));
}

}  // namespace
