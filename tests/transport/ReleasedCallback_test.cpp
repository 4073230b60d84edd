// The serial port and the pluggable device notifier once the caller has let go: the service
// keeps the callback object it was given and may go on calling it, but nothing reaches the
// caller's callback any more, however the caller let go, and a caller may let go from inside its
// own callback.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ComponentIndex.h"
#include "FakePlugableDeviceNotifier.h"
#include "FakeSerial.h"
#include "HardwareManagerSim.h"
#include "PlatformModuleInterfaces.h"
#include "TransportTest.h"

namespace {

using android::sp;
using orvex::sim::FakeDCHWManager;
using orvex::sim::FakePlugableDeviceNotifier;
using orvex::sim::FakeSerial;
using orvex::sim::HardwareManagerSim;

constexpr auto kWait = std::chrono::seconds(30);

// One module as these tests drive it, with a caller callback that counts what reaches it and
// runs `inside` while it is being called.
class Subject {
  public:
    virtual ~Subject() = default;
    // Acquires the module and hands it the callback.
    virtual void Hold() = 0;
    virtual bool Release() = 0;
    // Hands the module a null callback in place of the held one, where the module allows it.
    virtual void ReplaceWithNull() = 0;
    // The service sends one message; false when it had no callback object to send it to.
    virtual bool Send() = 0;
    // DeletePlatformModule without a release.
    void Destroy() { mModule.reset(); }

    std::atomic<int> received{0};
    std::function<void()> inside = [] {};

  protected:
    void Create(PlatformModuleTag tag, const char* name) {
        mModule.reset(ComponentIndex::Instance()->CreateModule(tag, name));
        ASSERT_NE(mModule, nullptr);
    }
    template <typename M>
    M* Module() {
        return dynamic_cast<M*>(mModule.get());
    }
    void Reached() {
        ++received;
        inside();
    }

    HardwareManagerSim mSim{false};

  private:
    std::unique_ptr<IPlatformModule> mModule;
};

class SerialSubject : public Subject, public ISerialDataCallBack {
  public:
    SerialSubject() {
        mSim.AddBuilder([this](FakeDCHWManager& manager) {
            mSerial = new FakeSerial;
            manager.SetSerial(mSerial);
        });
        mSim.Start();
        Create(PLATFORM_MODULE_SERIAL_PORT, "SerialPort");
    }
    void Hold() override {
        ASSERT_TRUE(Port()->Initialize(this));
        ASSERT_TRUE(Port()->AcquireSerialInterface());
    }
    bool Release() override { return Port()->ReleaseSerialInterface(); }
    // A second acquisition fails while the service is alive: the callback stays as it was.
    void ReplaceWithNull() override {}
    bool Send() override { return mSerial->Receive({0x5A}); }
    void OnSerialDataReceived(const uint8_t*, size_t) override { Reached(); }

  private:
    ISerialPortModule* Port() { return Module<ISerialPortModule>(); }
    sp<FakeSerial> mSerial;
};

class PlugableSubject : public Subject, public IPlugableHALCallBack {
  public:
    PlugableSubject() {
        mSim.AddBuilder([this](FakeDCHWManager& manager) {
            mNotifier = new FakePlugableDeviceNotifier;
            manager.SetPlugableDeviceNotifier(mNotifier);
        });
        mSim.Start();
        Create(PLATFORM_MODULE_PLUGABLE_DEVICE, "PlugableDeviceNotifier");
    }
    void Hold() override {
        ASSERT_TRUE(Notifier()->AcquirePlugableDeviceNotifier());
        ASSERT_TRUE(Notifier()->InitializeSSI(this, static_cast<ScannerType>(2)));
    }
    bool Release() override { return Notifier()->ReleasePlugableDeviceNotifier(); }
    // Fails and registers nothing: the service keeps the earlier callback object.
    void ReplaceWithNull() override {
        ASSERT_FALSE(Notifier()->InitializeSSI(nullptr, static_cast<ScannerType>(2)));
    }
    bool Send() override { return mNotifier->RaiseConnectionChanged(true, "/dev/ttyUSB0", 2); }
    void OnPlugableDeviceChanged(bool, const std::string&, int) override { Reached(); }

  private:
    IPlugableDeviceModule* Notifier() { return Module<IPlugableDeviceModule>(); }
    sp<FakePlugableDeviceNotifier> mNotifier;
};

using MakeSubject = std::function<std::unique_ptr<Subject>()>;

const std::vector<std::pair<const char*, MakeSubject>>& Subjects() {
    static const std::vector<std::pair<const char*, MakeSubject>> subjects = {
        {"SerialPort", [] { return std::unique_ptr<Subject>(new SerialSubject); }},
        {"PlugableDeviceNotifier", [] { return std::unique_ptr<Subject>(new PlugableSubject); }},
    };
    return subjects;
}

TEST(ReleasedCallback, TheServiceStillCallsButNothingReachesTheCaller) {
    struct LetGo {
        const char* how;
        std::function<void(Subject&)> run;
    };
    const std::vector<LetGo> ways = {
        {"release", [](Subject& s) { EXPECT_TRUE(s.Release()); }},
        {"delete without release", [](Subject& s) { s.Destroy(); }},
        {"null callback, then release",
         [](Subject& s) {
             s.ReplaceWithNull();
             EXPECT_TRUE(s.Release());
         }},
    };
    for (const auto& subject : Subjects()) {
        for (const LetGo& way : ways) {
            SCOPED_TRACE(std::string(subject.first) + ", " + way.how);
            std::unique_ptr<Subject> s = subject.second();
            ASSERT_NO_FATAL_FAILURE(s->Hold());
            ASSERT_TRUE(s->Send());
            ASSERT_EQ(s->received.load(), 1);
            way.run(*s);
            EXPECT_TRUE(s->Send());
            EXPECT_EQ(s->received.load(), 1);
        }
    }
}

TEST(ReleasedCallback, ACallerMayReleaseFromInsideItsOwnCallback) {
    for (const auto& subject : Subjects()) {
        SCOPED_TRACE(subject.first);
        std::unique_ptr<Subject> s = subject.second();
        Subject* raw = s.get();
        ASSERT_NO_FATAL_FAILURE(s->Hold());
        std::atomic<bool> released{false};
        s->inside = [raw, &released] { released = raw->Release(); };
        // Sent from a helper thread so that a release waiting for itself fails the test instead
        // of hanging it; the subject is then left to the stuck thread.
        auto done = std::make_shared<std::promise<bool>>();
        std::future<bool> sent = done->get_future();
        std::thread([raw, done] { done->set_value(raw->Send()); }).detach();
        if (sent.wait_for(kWait) != std::future_status::ready) {
            s.release();
            FAIL() << "the release waited for the callback it was called from";
        }
        EXPECT_TRUE(sent.get());
        EXPECT_TRUE(released.load());
        EXPECT_TRUE(s->Send());
        EXPECT_EQ(s->received.load(), 1);
    }
}

}  // namespace
