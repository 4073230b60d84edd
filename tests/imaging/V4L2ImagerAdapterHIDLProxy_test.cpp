// The V4L2 adapter against the simulated hardware manager: association, the operations' calls
// and statuses, the stream's start and stop sequences, parameters, frames end to end through
// the frame callback, and the service's death.

#include "V4L2ImagerAdapterHIDLProxy.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>
#include <sys/mman.h>

#include <memory>
#include <mutex>
#include <thread>

#include "ImagingFixture.h"

namespace {

using namespace orvex::test;
using orvex::hostlog::Entry;
using orvex::hostlog::ScopedCapture;
using orvex::sim::FakeImager;
using orvex::sim::FakeImagerAdapter;

using Strings = std::vector<std::string>;

const Entry kAcquiredImager =
    I("[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Acquired IImager HIDL "
      "interface.");
const Entry kAcquiredAdapter =
    I("[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Acquired IImagerAdapter HIDL "
      "interface.");
const Entry kFailed =
    E("[V4L2ImagerAdapterHIDLProxy::V4L2ImagerAdapterHIDLProxy] failed to associate "
      "ImagerAdapter HIDL");
const Entry kDisconnected =
    I("[V4L2ImagerAdapterHIDLProxy::disAssociateImagerAdapterHIDL] disconnected Adapter HIDL");

Entry Null(const std::string& operation) {
    return E("[V4L2ImagerAdapterHIDLProxy::" + operation + "] sp_ImagerAdapterHIDL is Null");
}

__preview_size__ Size(uint32_t width, uint32_t height, uint32_t bits, bool flag1 = false,
                      bool flag2 = false) {
    return __preview_size__{width, height, bits, flag1, flag2};
}

// An adapter on a live simulated imager, with the association's calls and records cleared.
struct Streaming {
    Streaming() : adapter(new V4L2ImagerAdapterHIDLProxy) { device.adapter->calls().Clear(); }
    SimImager device;
    std::unique_ptr<V4L2ImagerAdapterHIDLProxy> adapter;
    Strings Calls() {
        Strings calls = device.adapter->calls().Calls();
        device.adapter->calls().Clear();
        return calls;
    }
};

TEST(V4L2ImagerAdapterHIDLProxy, WithoutTheAdapterEveryOperationAnswersFailure) {
    const std::vector<FailedAssociation> cases = {
        {"no hardware manager",
         false,
         {},
         0,
         {E("[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Unable to get DCHWManager "
            "HIDL interface."),
          kFailed},
         {}},
        {"no imager",
         true,
         {false, false, false},
         0,
         {E("[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Unable to get IImager HIDL "
            "interface."),
          kFailed},
         {}},
        {"the imager does not open",
         true,
         {},
         -1,
         {kAcquiredImager,
          E("[ImagerControlHIDLProxy::associateImagerControlHIDL] Unable to open imager"), kFailed},
         {"openImager()"}},
        {"no adapter interface",
         true,
         {true, true, false},
         0,
         {kAcquiredImager,
          E("[V4L2ImagerAdapterHIDLProxy::associateImagerAdapterHIDL] Unable to get "
            "IImagerAdapter HIDL interface."),
          kFailed},
         {"openImager()", "getImagerAdapter()"}},
    };
    for (const FailedAssociation& c : cases) {
        SCOPED_TRACE(c.what);
        std::unique_ptr<SimImager> device = StartDevice(c);
        ScopedCapture capture;
        auto adapter = std::make_unique<V4L2ImagerAdapterHIDLProxy>();
        EXPECT_EQ(1, adapter->InitAdapter("V4L2Adapter", Size(1280, 800, 8)));
        EXPECT_EQ(1, adapter->DeinitAdapter());
        EXPECT_EQ(1, adapter->Enable(nullptr));
        EXPECT_EQ(1, adapter->StartStreaming());
        EXPECT_EQ(1, adapter->StopStreaming(true, 1));
        EXPECT_EQ(1, adapter->Disable());
        EXPECT_STREQ("Error - Imager Adapter HIDL is Null.", adapter->GetParameter("exposure"));
        EXPECT_EQ(1, adapter->SetParameter("exposure", "10"));
        adapter->SetPreviewSize(Size(640, 480, 8));
        EXPECT_FALSE(adapter->IsStreaming());
        adapter.reset();

        std::vector<Entry> expected = c.association;
        // Enable's line names SetPreviewSize.
        expected.insert(
            expected.end(),
            {Null("Init"), Null("Deinit"), Null("SetPreviewSize"), Null("StartStreaming"),
             Null("StopStreaming"), Null("Disable"), Null("GetParameter"), Null("SetParameter"),
             Null("SetPreviewSize"), Null("IsStreaming"), kDisconnected});
        EXPECT_EQ(expected, Records(capture));
        if (device != nullptr && device->imager != nullptr) {
            EXPECT_EQ(c.imagerCalls, device->imager->calls().Calls());
        }
    }
}

TEST(V4L2ImagerAdapterHIDLProxy, AssociationOpensTheImagerAndTheDestructorClosesIt) {
    SimImager device;
    ScopedCapture capture;
    auto adapter = std::make_unique<V4L2ImagerAdapterHIDLProxy>();
    EXPECT_EQ(1, device.imager->OpenCount());
    adapter.reset();
    EXPECT_EQ(0, device.imager->OpenCount());
    EXPECT_EQ((std::vector<Entry>{kAcquiredImager, kAcquiredAdapter, kDisconnected}),
              Records(capture));
    EXPECT_EQ((Strings{"openImager()", "getImagerAdapter()", "closeImager()"}),
              device.imager->calls().Calls());
}

TEST(V4L2ImagerAdapterHIDLProxy, InitAndDeinitPassTheServicesStatusOn) {
    struct Case {
        __preview_size__ size;
        int8_t answer;
        uint8_t result;
        std::string call;
        bool error;
    };
    const std::vector<Case> cases = {
        {Size(2280, 1080, 8, true, false), 0, 0, "Init(V4L2Adapter, {2280, 1080, 8, 1, 0})", false},
        // The service takes 16-bit sizes and 8-bit depths.
        {Size(70000, 65537, 264, false, true), 3, 3, "Init(V4L2Adapter, {4464, 1, 8, 0, 1})",
         false},
        {Size(1280, 800, 8), -1, 1, "Init(V4L2Adapter, {1280, 800, 8, 0, 0})", true},
        {Size(1280, 800, 8), -2, 254, "Init(V4L2Adapter, {1280, 800, 8, 0, 0})", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.call);
        Streaming s;
        FakeImagerAdapter::Answers answers;
        answers.init = c.answer;
        answers.deinit = c.answer;
        s.device.adapter->SetAnswers(answers);
        ScopedCapture capture;
        EXPECT_EQ(c.result, s.adapter->InitAdapter("V4L2Adapter", c.size));
        EXPECT_EQ(static_cast<uint8_t>(c.answer), s.adapter->DeinitAdapter());
        std::vector<Entry> expected = {
            I("[V4L2ImagerAdapterHIDLProxy::Init]adapterClass = V4L2Adapter ")};
        if (c.error) {
            expected.push_back(
                E("[V4L2ImagerAdapterHIDLProxy::Init] Error at HIDL Service "
                  "(Adapter.so instance is NULL"));
        }
        EXPECT_EQ(expected, Records(capture));
        EXPECT_EQ((Strings{c.call, "Deinit()"}), s.Calls());
    }
}

TEST(V4L2ImagerAdapterHIDLProxy, StreamStartsOnceAndTimedStopsSettleAndStop) {
    Streaming s;
    struct Step {
        const char* what;
        std::function<uint8_t(V4L2ImagerAdapterHIDLProxy&)> call;
        Strings calls;
        std::vector<Entry> log;
    };
    const Strings start = {"IsStreaming()", "StartStreaming()", "PrepAcquisition()",
                           "PostAcquisition()"};
    const Strings prepare = {"IsStreaming()", "PrepAcquisition()", "PostAcquisition()"};
    const Entry settle =
        D("[V4L2ImagerAdapterHIDLProxy::StopStreaming] Call before Stop Streaming "
          "incase of Timed Hold or Timed Release");
    const Entry wait =
        I("[V4L2ImagerAdapterHIDLProxy::StartStreaming] Wait in StartSteaming when "
          "flag is 1");
    auto flag = [](int f) {
        return I("[V4L2ImagerAdapterHIDLProxy::StopStreaming] Flag received= " + std::to_string(f));
    };
    const std::vector<Step> steps = {
        {"first start", [](auto& a) { return a.StartStreaming(); }, start, {}},
        {"start while streaming", [](auto& a) { return a.StartStreaming(); }, prepare, {}},
        {"plain halt",
         [](auto& a) { return a.StopStreaming(false, 0); },
         {"HaltAcquisition(false, 0)"},
         {flag(0)}},
        {"halt with another flag",
         [](auto& a) { return a.StopStreaming(false, 2); },
         {"HaltAcquisition(false, 2)"},
         {flag(2)}},
        {"start after a halt that kept streaming",
         [](auto& a) { return a.StartStreaming(); },
         prepare,
         {}},
        {"timed stop",
         [](auto& a) { return a.StopStreaming(false, 1); },
         {"HaltAcquisition(false, 1)", "StopStreaming()"},
         {flag(1), settle}},
        {"start after a timed stop waits",
         [](auto& a) { return a.StartStreaming(); },
         start,
         {wait}},
        {"disable", [](auto& a) { return a.Disable(); }, {"StopStreaming()"}, {}},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        ScopedCapture capture;
        EXPECT_EQ(0, step.call(*s.adapter));
        EXPECT_EQ(step.calls, s.Calls());
        EXPECT_EQ(step.log, Records(capture));
    }
}

TEST(V4L2ImagerAdapterHIDLProxy, ServiceErrorsAreLoggedButStartAndStopStillAnswerZero) {
    Streaming s;
    FakeImagerAdapter::Answers answers;
    answers.startStreaming = 2;
    answers.prepAcquisition = 3;
    answers.postAcquisition = -4;
    answers.haltAcquisition = 5;
    answers.stopStreaming = 6;
    s.device.adapter->SetAnswers(answers);
    const std::string prefix = "[V4L2ImagerAdapterHIDLProxy::";

    ScopedCapture capture;
    EXPECT_EQ(0, s.adapter->StartStreaming());
    EXPECT_EQ(0, s.adapter->StopStreaming(false, 1));
    EXPECT_EQ(6, s.adapter->Disable());
    EXPECT_EQ((std::vector<Entry>{
                  E(prefix + "StartStreaming] Error in Adapter HIDL API StartStreaming  2"),
                  E(prefix + "StartStreaming] Error in Adapter HIDL API PrepAcquisition is 3"),
                  E(prefix + "StartStreaming] Error in Adapter HIDL API PostAcquisition is -4"),
                  E(prefix + "StopStreaming] Error in Adapter HIDL API HaltAcquisition is 5"),
                  I(prefix + "StopStreaming] Flag received= 1"),
                  D(prefix + "StopStreaming] Call before Stop Streaming incase of Timed Hold or "
                             "Timed Release"),
                  E(prefix + "StopStreaming] Error in ImagerAdapterHIDL StopStreaming ret= 6\n"),
                  E(prefix + "Disable] Error in Adapter HIDL API StopStreaming is 6")}),
              Records(capture));
}

TEST(V4L2ImagerAdapterHIDLProxy, ParametersComeFromTheServiceWithTheirDefaults) {
    Streaming s;
    s.device.adapter->SetParameterAnswer("broken", -1, "ignored");
    s.device.adapter->SetParameterAnswer("odd", 7, "odd value");
    EXPECT_EQ(0, s.adapter->SetParameter("exposure", "120"));
    FakeImagerAdapter::Answers refuse;
    refuse.setParameter = 9;
    s.device.adapter->SetAnswers(refuse);
    EXPECT_EQ(9, s.adapter->SetParameter("gain", "3"));

    struct Case {
        const char* name;
        const char* value;
        bool error;
    };
    const std::vector<Case> cases = {
        {"exposure", "120", false},
        {"gain", "Unsupported Parameter", false},  // the refused value was not stored
        {"unknown", "Unsupported Parameter", false},
        {"odd", "odd value", false},
        {"broken", "Error - Unable to Get Parameter", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ScopedCapture capture;
        const char* value = s.adapter->GetParameter(c.name);
        EXPECT_STREQ(c.value, value);
        std::vector<Entry> expected;
        if (c.error) {
            expected.push_back(
                E("[V4L2ImagerAdapterHIDLProxy::GetParameter] Error at HIDL Service "
                  "(Control.so instance is NULL)"));
        }
        EXPECT_EQ(expected, Records(capture));
    }
    EXPECT_EQ((Strings{"SetParameter(exposure, 120)", "SetParameter(gain, 3)",
                       "GetParameter(exposure)", "GetParameter(gain)", "GetParameter(unknown)",
                       "GetParameter(odd)", "GetParameter(broken)"}),
              s.Calls());
}

// Checks every frame on the runtime thread it arrives on, while it is mapped.
class FrameChecker : public IImageCallback {
  public:
    explicit FrameChecker(size_t bytes) : mBytes(bytes), mCaller(std::this_thread::get_id()) {}

    bool OnReceiveFrame(void* frame) override {
        const auto* data = static_cast<const uint8_t*>(frame);
        bool pattern = true;
        for (size_t i = 0; i < mBytes && pattern; ++i) {
            pattern = data[i] == FakeImagerAdapter::PatternByte(data[0], i);
        }
        std::lock_guard<std::mutex> lock(mLock);
        mFrames.push_back(
            Seen{frame, data[0], pattern,
                 orvex::hidl::OnRpcThread() && std::this_thread::get_id() != mCaller});
        return true;
    }

    struct Seen {
        void* address;
        uint8_t number;
        bool pattern;
        bool runtimeThread;
    };
    std::vector<Seen> Frames() {
        std::lock_guard<std::mutex> lock(mLock);
        return mFrames;
    }

  private:
    const size_t mBytes;
    const std::thread::id mCaller;
    std::mutex mLock;
    std::vector<Seen> mFrames;
};

TEST(V4L2ImagerAdapterHIDLProxy, FramesArriveOnARuntimeThreadAndAreGoneWhenTheCallerReturns) {
    struct Case {
        __preview_size__ size;
        size_t bytes;
    };
    for (const Case& c :
         std::vector<Case>{{Size(2280, 1080, 8), 2471040}, {Size(1280, 800, 8), 1024000}}) {
        SCOPED_TRACE(c.bytes);
        // Declared first so that they outlive the stream, however the test ends.
        FrameChecker checker(c.bytes);
        std::mutex unmappedLock;
        std::vector<bool> unmapped;
        Streaming s;
        s.device.adapter->SetFrameRate(0);
        // The fake's streaming thread runs this once each delivery returned.
        s.device.adapter->SetDeliveryObserver([&](uint64_t) {
            std::vector<FrameChecker::Seen> frames = checker.Frames();
            bool gone = !frames.empty() && msync(frames.back().address, 1, MS_ASYNC) == -1 &&
                        errno == ENOMEM;
            std::lock_guard<std::mutex> lock(unmappedLock);
            unmapped.push_back(gone);
        });

        ASSERT_EQ(0, s.adapter->InitAdapter("V4L2Adapter", c.size));
        ASSERT_EQ(0, s.adapter->Enable(&checker));
        ASSERT_EQ(0, s.adapter->StartStreaming());
        ASSERT_TRUE(s.device.adapter->WaitForFrames(3));
        ASSERT_EQ(0, s.adapter->Disable());
        EXPECT_FALSE(s.adapter->IsStreaming());

        std::vector<FrameChecker::Seen> frames = checker.Frames();
        ASSERT_EQ(s.device.adapter->FramesDelivered(), frames.size());
        for (size_t i = 0; i < frames.size(); ++i) {
            EXPECT_EQ(static_cast<uint8_t>(i), frames[i].number);
            EXPECT_TRUE(frames[i].pattern) << i;
            EXPECT_TRUE(frames[i].runtimeThread) << i;
        }
        std::lock_guard<std::mutex> lock(unmappedLock);
        EXPECT_EQ(std::vector<bool>(frames.size(), true), unmapped);
        EXPECT_EQ(
            (Strings{
                "Init(V4L2Adapter, " + std::string(c.bytes == 1024000 ? "{1280, 800, 8, 0, 0})"
                                                                      : "{2280, 1080, 8, 0, 0})"),
                "RegisterFrameCallback(callback)", "IsStreaming()", "StartStreaming()",
                "PrepAcquisition()", "PostAcquisition()", "StopStreaming()", "IsStreaming()"}),
            s.Calls());
    }
}

TEST(V4L2ImagerAdapterHIDLProxy, ANewPreviewSizeReachesTheServiceAndTheFrameCallback) {
    FrameChecker checker(1024000);
    Streaming s;
    s.device.adapter->SetFrameRate(0);
    ASSERT_EQ(0, s.adapter->InitAdapter("V4L2Adapter", Size(2280, 1080, 8)));
    ASSERT_EQ(0, s.adapter->Enable(&checker));
    // Frames of the new size only: the stream starts after the change.
    s.adapter->SetPreviewSize(Size(1280, 800, 8, true, true));
    ASSERT_EQ(0, s.adapter->StartStreaming());
    ASSERT_TRUE(s.device.adapter->WaitForFrames(2));
    ASSERT_EQ(0, s.adapter->Disable());
    for (const FrameChecker::Seen& frame : checker.Frames()) EXPECT_TRUE(frame.pattern);
    EXPECT_EQ(1280, s.device.adapter->CurrentPreviewSize().width);
    Strings calls = s.Calls();
    ASSERT_LE(3u, calls.size());
    EXPECT_EQ("SetPreviewSize({1280, 800, 8, 1, 1})", calls[2]);
}

TEST(V4L2ImagerAdapterHIDLProxy, ADeadServiceStopsTheFramesAndEndsTheProcessWhereAValueIsRead) {
    FrameChecker checker(1024000);
    Streaming s;
    s.device.adapter->SetFrameRate(0);
    ASSERT_EQ(0, s.adapter->InitAdapter("V4L2Adapter", Size(1280, 800, 8)));
    ASSERT_EQ(0, s.adapter->Enable(&checker));
    ASSERT_EQ(0, s.adapter->StartStreaming());
    ASSERT_TRUE(s.device.adapter->WaitForFrames(1));
    s.device.sim().Kill();
    size_t received = checker.Frames().size();
    EXPECT_EQ(s.device.adapter->FramesDelivered(), received);

    const std::string fatal = "Attempted to retrieve value from failed HIDL call";
    EXPECT_DEATH(s.adapter->IsStreaming(), fatal);
    EXPECT_DEATH(s.adapter->StartStreaming(), fatal);
    EXPECT_DEATH(s.adapter->StopStreaming(false, 0), fatal);
    EXPECT_DEATH(s.adapter->Disable(), fatal);

    // No answer arrives, so the parameter keeps its default.
    ScopedCapture capture;
    EXPECT_STREQ("Unsupported Parameter", s.adapter->GetParameter("exposure"));
    s.adapter.reset();
    EXPECT_EQ(std::vector<Entry>{kDisconnected}, Records(capture));
    EXPECT_EQ(received, checker.Frames().size());
}

TEST(V4L2ImagerAdapterHIDLProxy, ADeathWhileAssociatingEndsTheProcessAtTheNextAnswer) {
    SimImager device;
    device.imager->SetCallHook([&](const std::string& call) {
        if (call == "openImager()") device.sim().Kill();
    });
    EXPECT_DEATH(V4L2ImagerAdapterHIDLProxy adapter,
                 "Attempted to retrieve value from failed HIDL call");
}

}  // namespace
