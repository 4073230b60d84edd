// The imager module, its control and adapter companions and the frame callback against the
// simulated hardware manager, and the module as a caller process sees it.
//
// Expected logs are written one record a line, "<priority letter> <text>\n", with each class's
// "[Class::" prefix shortened to "M:" (module), "C:" (control), "A:" (adapter) or "F:" (frame
// callback); a text that ends in a newline of its own therefore ends in "\n\n".

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>
#include <sys/mman.h>
#include <unistd.h>

#include <fstream>
#include <mutex>
#include <sstream>
#include <thread>

#include "FrameCallback.h"
#include "ImagerControlHIDLProxy.h"
#include "ImagerHIDLProxy.h"
#include "ImagingFixture.h"
#include "TestSupport.h"
#include "V4L2ImagerAdapterHIDLProxy.h"

namespace {

using namespace orvex::test;
using android::sp;
using android::hardware::hidl_handle;
using orvex::hostlog::Entry;
using orvex::hostlog::ScopedCapture;
using orvex::sim::FakeImager;
using orvex::sim::FakeImagerAdapter;
using vendor::tevrin::hardware::dchwmanager::implementation::FrameCallback;
using Adapter = V4L2ImagerAdapterHIDLProxy;
using Control = ImagerControlHIDLProxy;
using Module = ImagerHIDLProxy<(AndroidVersion)10>;

const std::string kTag = "ScannerFramework";
const std::string kFatal = "Attempted to retrieve value from failed HIDL call";

std::string Log(const std::vector<Entry>& records) {
    const std::pair<std::string, std::string> shortened[] = {
        {"[ImagerHIDLProxy::", "M:"},
        {"[ImagerControlHIDLProxy::", "C:"},
        {"[V4L2ImagerAdapterHIDLProxy::", "A:"},
        {"[FrameCallback::", "F:"}};
    std::string log;
    for (const Entry& e : records) {
        std::string text = e.message;
        for (const auto& s : shortened) {
            if (text.rfind(s.first, 0) == 0) text = s.second + text.substr(s.first.size());
        }
        log += e.priority >= 0 && e.priority < 8 ? "??VDIWEF"[e.priority] : '?';
        log += (e.tag == kTag ? " " : " <" + e.tag + "> ") + text + "\n";
    }
    return log;
}
std::string Log(const ScopedCapture& capture) { return Log(capture.WithTag(kTag)); }

// Calls one after another, separated by spaces.
std::string Join(const std::vector<std::string>& calls) {
    std::string joined;
    for (const std::string& call : calls) joined += (joined.empty() ? "" : " ") + call;
    return joined;
}

std::unique_ptr<IImagerModule> NewModule() {
    return std::unique_ptr<IImagerModule>(static_cast<IImagerModule*>(Constructor<Module>()));
}

enum Kind { kModule, kControl, kAdapter };

// Makes an object of the kind and deletes it; when its association failed, every operation runs
// in between and must fail. Returns the lines logged after the association's own.
std::string MakeAndDelete(Kind kind, bool failed) {
    if (kind == kModule) {
        std::unique_ptr<IImagerModule> module = NewModule();
        EXPECT_EQ(-1, module->openImager());
        EXPECT_EQ(-1, module->closeImager());
        EXPECT_EQ(-1, module->getImagerInterfaceType());
        EXPECT_EQ("", module->getEngineID());
        return "E [ImagerHIDLProxy<T>::ImagerHIDLProxy] failed to associate Imager HIDL\n"
               "E M:openImager] sp_Imager is Null\nE M:closeImager] sp_Imager is Null\n"
               "E M:getImagerInterfaceType] sp_Imager is Null\n"
               "E M:getEngineID] sp_Imager is Null\nD M:getEngineID] ScannerID=\n"
               "I M:disAssociateImagerHIDL] disconnected Imager HIDL\n";
    }
    const std::string disconnected =
        kind == kControl ? "I C:disAssociateImagerControlHIDL] disconnected Control HIDL\n"
                         : "I A:disAssociateImagerAdapterHIDL] disconnected Adapter HIDL\n";
    if (!failed) {
        if (kind == kControl) Control control;
        if (kind == kAdapter) Adapter adapter;
        return (kind == kControl ? "I C:disAssociateImagerControlHIDL] Calling close imager\n"
                                 : "") +
               disconnected;
    }
    if (kind == kControl) {
        Control control;
        unsigned char command[] = {1};
        unsigned char reply[4] = {};
        EXPECT_EQ(1u, control.sendCommand(command, 1, reply, sizeof reply, 0, 0));
        EXPECT_FALSE(control.configureSettleCount(3));
        return "E C:ImagerControlHIDLProxy] failed to associate ImagerControl HIDL\n"
               "E C:sendCommand] sp_ImagerControlHIDL is Null\nI C:configureSettleCount]\n"
               "E C:configureSettleCount] sp_ImagerControlHIDL is Null\n" +
               disconnected;
    }
    Adapter adapter;
    EXPECT_EQ(1, adapter.InitAdapter("V4L2Adapter", {1280, 800, 8, false, false}));
    EXPECT_EQ(1, adapter.DeinitAdapter());
    EXPECT_EQ(1, adapter.Enable(nullptr));
    EXPECT_EQ(1, adapter.StartStreaming());
    EXPECT_EQ(1, adapter.StopStreaming(true, 1));
    EXPECT_EQ(1, adapter.Disable());
    EXPECT_STREQ("Error - Imager Adapter HIDL is Null.", adapter.GetParameter("exposure"));
    EXPECT_EQ(1, adapter.SetParameter("exposure", "10"));
    adapter.SetPreviewSize({640, 480, 8, false, false});
    EXPECT_FALSE(adapter.IsStreaming());
    std::string log = "E A:V4L2ImagerAdapterHIDLProxy] failed to associate ImagerAdapter HIDL\n";
    // Enable's line names SetPreviewSize.
    for (const char* op :
         {"Init", "Deinit", "SetPreviewSize", "StartStreaming", "StopStreaming", "Disable",
          "GetParameter", "SetParameter", "SetPreviewSize", "IsStreaming"}) {
        log += "E A:" + std::string(op) + "] sp_ImagerAdapterHIDL is Null\n";
    }
    return log + disconnected;
}

TEST(ImagerHIDLProxy, EachKindAssociatesOrReportsWhyNotAndThenFailsEveryOperation) {
    struct Case {
        std::string what;
        Kind kind;
        ImagerParts parts;
        int8_t open;
        std::string log;  // the association's lines
        std::string imagerCalls;
        bool manager = true;
    };
    const std::string controlGotImager =
        "I C:associateImagerControlHIDL] Acquired IImagerControl HIDL interface.\n";
    const std::string adapterGotImager =
        "I A:associateImagerAdapterHIDL] Acquired IImager HIDL interface.\n";
    std::vector<Case> cases = {
        {"control: the imager does not open",
         kControl,
         {},
         -1,
         controlGotImager + "E C:associateImagerControlHIDL] Unable to open imager\n",
         "openImager()"},
        {"control: no control interface",
         kControl,
         {true, false, true},
         0,
         controlGotImager +
             "E C:associateImagerControlHIDL] Unable to get IImagerControlHIDL interface.\n",
         "openImager() getImagerControl()"},
        {"control on a live imager",
         kControl,
         {},
         0,
         controlGotImager +
             "I C:associateImagerControlHIDL] Acquired IImagerControlHIDL interface.\n",
         "openImager() getImagerControl() closeImager()"},
        // The adapter's own failure to open is logged under the control's name.
        {"adapter: the imager does not open",
         kAdapter,
         {},
         -1,
         adapterGotImager + "E C:associateImagerControlHIDL] Unable to open imager\n",
         "openImager()"},
        {"adapter: no adapter interface",
         kAdapter,
         {true, true, false},
         0,
         adapterGotImager +
             "E A:associateImagerAdapterHIDL] Unable to get IImagerAdapter HIDL interface.\n",
         "openImager() getImagerAdapter()"},
        {"adapter on a live imager",
         kAdapter,
         {},
         0,
         adapterGotImager +
             "I A:associateImagerAdapterHIDL] Acquired IImagerAdapter HIDL interface.\n",
         "openImager() getImagerAdapter() closeImager()"},
    };
    const char* associate[] = {"E M:associateImagerHIDL] Unable to get ",
                               "E C:associateImagerControlHIDL] Unable to get ",
                               "E A:associateImagerAdapterHIDL] Unable to get "};
    for (Kind kind : {kModule, kControl, kAdapter}) {
        cases.push_back({"no manager",
                         kind,
                         {},
                         0,
                         associate[kind] + std::string("DCHWManager HIDL interface.\n"),
                         "",
                         false});
        cases.push_back({"no imager",
                         kind,
                         {false, false, false},
                         0,
                         associate[kind] + std::string("IImager HIDL interface.\n"),
                         ""});
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what + " " + std::to_string(c.kind));
        std::unique_ptr<SimImager> device;
        if (c.manager) device.reset(new SimImager(c.parts));
        if (device != nullptr && device->imager != nullptr) {
            device->imager->SetAnswers(FakeImager::Answers{c.open, 0, "31", 1});
        }
        bool failed =
            !c.manager || !c.parts.imager || !c.parts.control || !c.parts.adapter || c.open != 0;
        ScopedCapture capture;
        std::string rest = MakeAndDelete(c.kind, failed);
        EXPECT_EQ(c.log + rest, Log(capture));
        if (device == nullptr) continue;
        EXPECT_EQ("getImager()", Join(device->ManagerCalls()));
        // A failed association drops the imager, so the destructor does not close it.
        EXPECT_EQ(c.imagerCalls, device->imager ? Join(device->imager->calls().Calls()) : "");
    }
}

TEST(ImagerHIDLProxy, PassesTheImagersAnswersThrough) {
    struct Case {
        int8_t open, close, type;
        const char* engineId;
        bool error;
    };
    for (const Case& c : std::vector<Case>{
             {0, 0, 1, "31", false}, {-1, 7, 2, "", true}, {5, -1, -1, "SE4710", false}}) {
        SCOPED_TRACE(c.engineId);
        SimImager device;
        device.imager->SetAnswers(FakeImager::Answers{c.open, c.close, c.engineId, c.type});
        ScopedCapture capture;
        std::unique_ptr<IImagerModule> module = NewModule();
        EXPECT_EQ(c.open, module->openImager());
        EXPECT_EQ(c.close, module->closeImager());
        EXPECT_EQ(c.type, module->getImagerInterfaceType());
        EXPECT_EQ(c.engineId, module->getEngineID());
        module.reset();
        EXPECT_EQ(
            "I M:associateImagerHIDL] Acquired IImager HIDL interface.\n"
            "I M:getEngineID] getEngineID\n" +
                std::string(c.error ? "E M:getEngineID] Error at HIDL Service\n" : "") +
                "D M:getEngineID] ScannerID=" + c.engineId +
                "\nI M:disAssociateImagerHIDL] disconnected Imager HIDL\n",
            Log(capture));
        EXPECT_EQ("openImager() closeImager() getImagerInterfaceType() getEngineID()",
                  Join(device.imager->calls().Calls()));
        EXPECT_EQ("getImager()", Join(device.ManagerCalls()));
    }
}

TEST(ImagerHIDLProxy, CompanionsAreMadeOnceAndDeletedByDeInit) {
    SimImager device;
    std::unique_ptr<IImagerModule> module = NewModule();
    ImagerControlHIDLProxy* control = module->getImagerControlHIDLProxy();
    V4L2ImagerAdapterHIDLProxy* adapter = module->getImagerAdapterHIDLProxy();
    ASSERT_NE(nullptr, control);
    ASSERT_NE(nullptr, adapter);
    EXPECT_EQ(control, module->getImagerControlHIDLProxy());
    EXPECT_EQ(adapter, module->getImagerAdapterHIDLProxy());
    // Each companion opened the imager for itself.
    EXPECT_EQ(2, device.imager->OpenCount());
    module->deInit();
    EXPECT_EQ(0, device.imager->OpenCount());
    // A new control object after deInit opens the imager again.
    ASSERT_NE(nullptr, module->getImagerControlHIDLProxy());
    EXPECT_EQ(1, device.imager->OpenCount());
    module->deInit();
    module->deInit();
    module.reset();
    EXPECT_EQ(
        "openImager() getImagerControl() openImager() getImagerAdapter() closeImager() "
        "closeImager() openImager() getImagerControl() closeImager()",
        Join(device.imager->calls().Calls()));
    EXPECT_EQ("getImager() getImager() getImager() getImager()", Join(device.ManagerCalls()));
}

TEST(ImagerHIDLProxy, ADeadServiceEndsTheProcessWhereAValueIsRead) {
    SimImager device;
    std::unique_ptr<IImagerModule> module = NewModule();
    ASSERT_NE(nullptr, module->getImagerControlHIDLProxy());
    device.sim().Kill();
    EXPECT_DEATH(module->openImager(), kFatal);
    EXPECT_DEATH(module->closeImager(), kFatal);
    EXPECT_DEATH(module->getImagerInterfaceType(), kFatal);

    // The engine identifier and the companions' deletion read no value and carry on.
    ScopedCapture capture;
    EXPECT_EQ("", module->getEngineID());
    module->deInit();
    EXPECT_EQ(
        "I M:getEngineID] getEngineID\nE M:getEngineID] Error at HIDL Service\n"
        "D M:getEngineID] ScannerID=\nI C:disAssociateImagerControlHIDL] Calling close imager\n"
        "I C:disAssociateImagerControlHIDL] disconnected Control HIDL\n",
        Log(capture));
    // The dead imager saw nothing after the control object's association.
    EXPECT_EQ("openImager() getImagerControl()", Join(device.imager->calls().Calls()));

    // A module made after the service came back reaches the new imager.
    device.sim().Restart();
    EXPECT_EQ(0, NewModule()->openImager());
    EXPECT_EQ("openImager()", Join(device.imager->calls().Calls()));
}

TEST(ImagerControlHIDLProxy, PassesCommandsAndTheSettleCountOnUntilTheServiceDies) {
    using Bytes = std::vector<uint8_t>;
    struct Case {
        const char* what;
        orvex::sim::FakeImagerControl::Reply reply;
        uint32_t result;
        Bytes buffer;  // the caller's 8-byte buffer afterwards
    };
    const Bytes untouched(8, 0xee);
    const std::vector<Case> cases = {
        // The caller said 2 bytes; the reply is as long as the service made it.
        {"longer reply than the size given",
         {0, {1, 2, 3, 4, 5}},
         0,
         {1, 2, 3, 4, 5, 0xee, 0xee, 0xee}},
        {"empty reply", {0, {}}, 0, untouched},
        {"failure status with bytes", {3, {9, 9}}, 3, {9, 9, 0xee, 0xee, 0xee, 0xee, 0xee, 0xee}},
        {"negative status", {-1, {}}, 0xffffffffu, untouched},
    };
    const std::string sendFailed =
        "E C:sendCommand] Error at HIDL Service (sp_ImagerControlHIDL instance is NULL, Error - "
        "Unable to send command)\n";
    SimImager device;
    device.control->SetDefaultReply({4, {0x77}});
    auto control = std::make_unique<Control>();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        device.control->SetReply({0x1b, 0x02}, c.reply);
        device.control->calls().Clear();
        ScopedCapture capture;
        unsigned char command[] = {0x1b, 0x02, 0xff};
        Bytes buffer = untouched;
        EXPECT_EQ(c.result, control->sendCommand(command, 2, buffer.data(), 2, 7, 9));
        EXPECT_EQ(c.buffer, buffer);
        EXPECT_EQ(c.reply.status != 0 ? sendFailed : "", Log(capture));
        // Only the command's length of bytes is sent.
        EXPECT_EQ("sendCommand([1b 02], 2, 2, 7, 9)", Join(device.control->calls().Calls()));
    }

    // The settle count succeeds on any non-zero status.
    for (const auto& c :
         std::vector<std::pair<int8_t, bool>>{{1, true}, {0, false}, {-1, true}, {42, true}}) {
        device.control->SetSettleCountStatus(c.first);
        device.control->calls().Clear();
        EXPECT_EQ(c.second, control->configureSettleCount(5)) << int{c.first};
        EXPECT_EQ("configureSettleCount(5)", Join(device.control->calls().Calls()));
    }

    device.control->calls().Clear();
    device.sim().Kill();
    EXPECT_DEATH(control->configureSettleCount(2), kFatal);
    // No reply arrives, so the status stays at its starting -1.
    ScopedCapture capture;
    unsigned char command[] = {1, 2};
    unsigned char reply[2] = {0xee, 0xee};
    EXPECT_EQ(0xffffffffu, control->sendCommand(command, 2, reply, 2, 0, 0));
    EXPECT_EQ(0xee, reply[0]);
    control.reset();
    EXPECT_EQ(sendFailed +
                  "I C:disAssociateImagerControlHIDL] Calling close imager\n"
                  "I C:disAssociateImagerControlHIDL] disconnected Control HIDL\n",
              Log(capture));
    EXPECT_EQ("", Join(device.control->calls().Calls()));
}

TEST(ImagerControlHIDLProxy, ADeathWhileAssociatingEndsTheProcessAtTheNextAnswer) {
    SimImager device;
    // The service dies while it opens the imager: the open's answer still arrives, the next
    // request does not.
    device.imager->SetCallHook([&](const std::string& call) {
        if (call == "openImager()") device.sim().Kill();
    });
    EXPECT_DEATH(Control control, kFatal);
    EXPECT_DEATH(Adapter adapter, kFatal);
}

// An adapter on a live simulated imager, with the association's calls cleared.
struct Streaming {
    Streaming() : adapter(new Adapter) { device.adapter->calls().Clear(); }
    SimImager device;
    std::unique_ptr<Adapter> adapter;
    std::string Calls() {
        std::string calls = Join(device.adapter->calls().Calls());
        device.adapter->calls().Clear();
        return calls;
    }
};

TEST(V4L2ImagerAdapterHIDLProxy, InitAndDeinitPassTheServicesStatusOn) {
    struct Case {
        __preview_size__ size;
        int8_t answer;
        uint8_t result;
        const char* sent;
    };
    const std::vector<Case> cases = {
        {{2280, 1080, 8, true, false}, 0, 0, "{2280, 1080, 8, 1, 0}"},
        // The service takes 16-bit sizes and 8-bit depths.
        {{70000, 65537, 264, false, true}, 3, 3, "{4464, 1, 8, 0, 1}"},
        {{1280, 800, 8, false, false}, -1, 1, "{1280, 800, 8, 0, 0}"},
        {{1280, 800, 8, false, false}, -2, 254, "{1280, 800, 8, 0, 0}"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(int{c.answer});
        Streaming s;
        FakeImagerAdapter::Answers answers;
        answers.init = answers.deinit = c.answer;
        s.device.adapter->SetAnswers(answers);
        ScopedCapture capture;
        EXPECT_EQ(c.result, s.adapter->InitAdapter("V4L2Adapter", c.size));
        EXPECT_EQ(static_cast<uint8_t>(c.answer), s.adapter->DeinitAdapter());
        EXPECT_EQ("I A:Init]adapterClass = V4L2Adapter \n" +
                      std::string(c.answer == -1 ? "E A:Init] Error at HIDL Service (Adapter.so "
                                                   "instance is NULL\n"
                                                 : ""),
                  Log(capture));
        EXPECT_EQ("Init(V4L2Adapter, " + std::string(c.sent) + ") Deinit()", s.Calls());
    }
}

TEST(V4L2ImagerAdapterHIDLProxy, StreamStartsOnceAndTimedStopsSettleAndStop) {
    const std::string start = "IsStreaming() StartStreaming() PrepAcquisition() PostAcquisition()";
    const std::string again = "IsStreaming() PrepAcquisition() PostAcquisition()";
    const std::string flag = "I A:StopStreaming] Flag received= ";
    struct Step {
        const char* what;
        char op;  // Start, Halt (StopStreaming(false, flag)) or Disable
        int flag;
        std::string calls, log;
    };
    const std::vector<Step> steps = {
        {"first start", 'S', 0, start, ""},
        {"start while streaming", 'S', 0, again, ""},
        {"plain halt", 'H', 0, "HaltAcquisition(false, 0)", flag + "0\n"},
        {"halt with another flag", 'H', 2, "HaltAcquisition(false, 2)", flag + "2\n"},
        {"start after a halt that kept streaming", 'S', 0, again, ""},
        {"timed stop", 'H', 1, "HaltAcquisition(false, 1) StopStreaming()",
         flag + "1\nD A:StopStreaming] Call before Stop Streaming incase of Timed Hold or Timed "
                "Release\n"},
        {"start after a timed stop waits", 'S', 0, start,
         "I A:StartStreaming] Wait in StartSteaming when flag is 1\n"},
        {"disable", 'D', 0, "StopStreaming()", ""},
    };
    Streaming s;
    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        ScopedCapture capture;
        EXPECT_EQ(0, step.op == 'S'   ? s.adapter->StartStreaming()
                     : step.op == 'H' ? s.adapter->StopStreaming(false, step.flag)
                                      : s.adapter->Disable());
        EXPECT_EQ(step.calls, s.Calls());
        EXPECT_EQ(step.log, Log(capture));
    }
}

TEST(V4L2ImagerAdapterHIDLProxy, ServiceErrorsAreLoggedButStartAndStopStillAnswerZero) {
    Streaming s;
    s.device.adapter->SetAnswers(FakeImagerAdapter::Answers{0, 0, 2, 6, 3, -4, 5});
    ScopedCapture capture;
    EXPECT_EQ(0, s.adapter->StartStreaming());
    EXPECT_EQ(0, s.adapter->StopStreaming(false, 1));
    EXPECT_EQ(6, s.adapter->Disable());
    EXPECT_EQ(
        "E A:StartStreaming] Error in Adapter HIDL API StartStreaming  2\n"
        "E A:StartStreaming] Error in Adapter HIDL API PrepAcquisition is 3\n"
        "E A:StartStreaming] Error in Adapter HIDL API PostAcquisition is -4\n"
        "E A:StopStreaming] Error in Adapter HIDL API HaltAcquisition is 5\n"
        "I A:StopStreaming] Flag received= 1\n"
        "D A:StopStreaming] Call before Stop Streaming incase of Timed Hold or Timed Release\n"
        "E A:StopStreaming] Error in ImagerAdapterHIDL StopStreaming ret= 6\n\n"
        "E A:Disable] Error in Adapter HIDL API StopStreaming is 6\n",
        Log(capture));
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
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"exposure", "120"},
        {"gain", "Unsupported Parameter"},  // the refused value was not stored
        {"unknown", "Unsupported Parameter"},
        {"odd", "odd value"},
        {"broken", "Error - Unable to Get Parameter"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        ScopedCapture capture;
        EXPECT_STREQ(c.second, s.adapter->GetParameter(c.first));
        EXPECT_EQ(std::string(c.first) != "broken"
                      ? ""
                      : "E A:GetParameter] Error at HIDL Service (Control.so instance is NULL)\n",
                  Log(capture));
    }
    EXPECT_EQ(
        "SetParameter(exposure, 120) SetParameter(gain, 3) GetParameter(exposure) "
        "GetParameter(gain) GetParameter(unknown) GetParameter(odd) GetParameter(broken)",
        s.Calls());
}

// The length of the mapping that holds `address`, from the process's memory map; 0 when the
// address is not mapped.
size_t MappedLength(const void* address) {
    std::ifstream maps("/proc/self/maps");
    std::string line;
    uintptr_t at = reinterpret_cast<uintptr_t>(address);
    while (std::getline(maps, line)) {
        uintptr_t start = 0, end = 0;
        char dash = 0;
        std::istringstream(line) >> std::hex >> start >> dash >> end;
        if (at >= start && at < end) return end - start;
    }
    return 0;
}

bool Unmapped(const void* address) {
    return msync(const_cast<void*>(address), 1, MS_ASYNC) == -1 && errno == ENOMEM;
}

size_t Pages(size_t bytes) {
    size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    return (bytes + page - 1) / page * page;
}

// Records what it saw of each frame while the frame was mapped, on whichever thread it came;
// with `bytes`, whether the frame holds the fake service's pattern.
class Recorder : public IImageCallback {
  public:
    explicit Recorder(bool answer, size_t bytes = 0) : mAnswer(answer), mBytes(bytes) {}
    bool OnReceiveFrame(void* frame) override {
        const auto* data = static_cast<const uint8_t*>(frame);
        bool pattern = true;
        for (size_t i = 0; i < mBytes && pattern; ++i) {
            pattern = data[i] == FakeImagerAdapter::PatternByte(data[0], i);
        }
        std::lock_guard<std::mutex> lock(mLock);
        mSeen.push_back(Seen{frame, MappedLength(frame), data[0], pattern,
                             orvex::hidl::OnRpcThread() && std::this_thread::get_id() != mCaller});
        return mAnswer;
    }
    struct Seen {
        void* address;
        size_t length;
        uint8_t first;
        bool pattern;
        bool runtimeThread;
    };
    std::vector<Seen> Frames() {
        std::lock_guard<std::mutex> lock(mLock);
        return mSeen;
    }

  private:
    const bool mAnswer;
    const size_t mBytes;
    const std::thread::id mCaller = std::this_thread::get_id();
    std::mutex mLock;
    std::vector<Seen> mSeen;
};

TEST(V4L2ImagerAdapterHIDLProxy, FramesOfTheCurrentSizeArriveOnARuntimeThreadWhileMapped) {
    struct Case {
        __preview_size__ init, resized;  // resized to a width of 0: not resized
        size_t bytes;
        std::string calls;
    };
    const std::string registered = "RegisterFrameCallback(callback) ";
    const std::vector<Case> cases = {
        {{2280, 1080, 8, false, false},
         {},
         2471040,
         "Init(V4L2Adapter, {2280, 1080, 8, 0, 0}) " + registered},
        {{1280, 800, 8, false, false},
         {},
         1024000,
         "Init(V4L2Adapter, {1280, 800, 8, 0, 0}) " + registered},
        // Frames of the new size only: the stream starts after the change.
        {{2280, 1080, 8, false, false},
         {1280, 800, 8, true, true},
         1024000,
         "Init(V4L2Adapter, {2280, 1080, 8, 0, 0}) " + registered +
             "SetPreviewSize({1280, 800, 8, 1, 1}) "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.calls);
        // Declared first so that they outlive the stream, however the test ends.
        Recorder recorder(true, c.bytes);
        std::mutex unmappedLock;
        std::vector<bool> unmapped;
        Streaming s;
        s.device.adapter->SetFrameRate(0);
        // The fake's streaming thread runs this once each delivery returned.
        s.device.adapter->SetDeliveryObserver([&](uint64_t) {
            std::vector<Recorder::Seen> frames = recorder.Frames();
            bool gone = !frames.empty() && Unmapped(frames.back().address);
            std::lock_guard<std::mutex> lock(unmappedLock);
            unmapped.push_back(gone);
        });
        ASSERT_EQ(0, s.adapter->InitAdapter("V4L2Adapter", c.init));
        ASSERT_EQ(0, s.adapter->Enable(&recorder));
        if (c.resized.width != 0) s.adapter->SetPreviewSize(c.resized);
        ASSERT_EQ(0, s.adapter->StartStreaming());
        ASSERT_TRUE(s.device.adapter->WaitForFrames(3));
        ASSERT_EQ(0, s.adapter->Disable());
        EXPECT_FALSE(s.adapter->IsStreaming());

        std::vector<Recorder::Seen> frames = recorder.Frames();
        ASSERT_EQ(s.device.adapter->FramesDelivered(), frames.size());
        for (size_t i = 0; i < frames.size(); ++i) {
            EXPECT_EQ(static_cast<uint8_t>(i), frames[i].first);
            EXPECT_EQ(Pages(c.bytes), frames[i].length);
            EXPECT_TRUE(frames[i].pattern) << i;
            EXPECT_TRUE(frames[i].runtimeThread) << i;
        }
        std::lock_guard<std::mutex> lock(unmappedLock);
        EXPECT_EQ(std::vector<bool>(frames.size(), true), unmapped);
        EXPECT_EQ(c.calls +
                      "IsStreaming() StartStreaming() PrepAcquisition() PostAcquisition() "
                      "StopStreaming() IsStreaming()",
                  s.Calls());
    }
}

TEST(V4L2ImagerAdapterHIDLProxy, ADeadServiceStopsTheFramesAndEndsTheProcessWhereAValueIsRead) {
    Recorder recorder(true, 1024000);
    Streaming s;
    s.device.adapter->SetFrameRate(0);
    ASSERT_EQ(0, s.adapter->InitAdapter("V4L2Adapter", {1280, 800, 8, false, false}));
    ASSERT_EQ(0, s.adapter->Enable(&recorder));
    ASSERT_EQ(0, s.adapter->StartStreaming());
    ASSERT_TRUE(s.device.adapter->WaitForFrames(1));
    s.device.sim().Kill();
    size_t received = recorder.Frames().size();
    EXPECT_EQ(s.device.adapter->FramesDelivered(), received);

    EXPECT_DEATH(s.adapter->IsStreaming(), kFatal);
    EXPECT_DEATH(s.adapter->StartStreaming(), kFatal);
    EXPECT_DEATH(s.adapter->StopStreaming(false, 0), kFatal);
    EXPECT_DEATH(s.adapter->Disable(), kFatal);

    // No answer arrives, so the parameter keeps its default.
    ScopedCapture capture;
    EXPECT_STREQ("Unsupported Parameter", s.adapter->GetParameter("exposure"));
    s.adapter.reset();
    EXPECT_EQ("I A:disAssociateImagerAdapterHIDL] disconnected Adapter HIDL\n", Log(capture));
    EXPECT_EQ(received, recorder.Frames().size());
}

TEST(FrameCallback, FrameSizeIsRowsTimesHeightTimesBitsOverEight) {
    struct Case {
        uint32_t width, height, bits;
        size_t bytes;
    };
    const std::vector<Case> cases = {
        {2280, 1080, 8, 2471040},  // rows of 2280 pixels are padded to 2288
        {1280, 800, 8, 1024000},  {2280, 1080, 10, 3088800},
        {2288, 1080, 8, 2471040}, {2279, 2, 8, 4558},
        {640, 480, 12, 460800},   {3, 1, 1, 0},  // integer division drops the partial byte
        {0, 1080, 8, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.bytes, FrameCallback::FrameSize(c.width, c.height, c.bits))
            << c.width << "x" << c.height << "x" << c.bits;
    }
}

TEST(FrameCallback, MapsTheGeometrysSizeForTheCallerAndUnmapsWhenItReturns) {
    struct Case {
        const char* what;
        uint32_t width, height;  // no geometry when 0
        int answer;              // the caller's, or no caller when negative
        int openFlags;           // to open the frame again with other access rights
        bool descriptor, reached;
        std::string log;  // after the frame's descriptor line; "$" stands for the descriptor
    };
    const std::string unmappable = "E F:onFrame] mmap failed\n\n";
    const std::vector<Case> cases = {
        {"padded rows", 2280, 1080, 1, 0, true, true,
         "D F:onFrameAvailable] Byte Allignement Needed =$\n\n"},
        {"whole rows", 1280, 800, 1, 0, true, true, ""},
        {"refused", 1280, 800, 0, 0, true, true, "E F:onFrameAvailable] OnReceiveFrame failed\n"},
        {"unclaimed", 1280, 800, -1, 0, true, false,
         "E F:onFrameAvailable] IImageCallback is null\n"},
        {"no geometry yet: nothing to map", 0, 0, 1, 0, true, false, unmappable},
        {"a read-only descriptor", 1280, 800, 1, O_RDONLY | O_CLOEXEC, true, false, unmappable},
        {"a handle without descriptor", 1280, 800, 1, 0, false, false, unmappable},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        size_t bytes = c.width == 2280 ? 2471040 : 1024000;
        int fd = memfd_create("test-frame", MFD_CLOEXEC);
        EXPECT_EQ(0, ftruncate(fd, static_cast<off_t>(bytes)));
        EXPECT_EQ(1, pwrite(fd, "\x5a", 1, 0));  // what the service wrote
        if (c.openFlags != 0) {
            int other = open(("/proc/self/fd/" + std::to_string(fd)).c_str(), c.openFlags);
            close(fd);
            fd = other;
        }
        native_handle_t* native = native_handle_create(c.descriptor ? 1 : 0, 0);
        if (c.descriptor) native->data[0] = fd;
        hidl_handle handle;
        handle.setTo(native, true);  // closes the descriptor with the handle
        if (!c.descriptor) close(fd);
        Recorder recorder(c.answer > 0);
        sp<FrameCallback> callback = new FrameCallback(c.answer < 0 ? nullptr : &recorder);
        if (c.width != 0)
            callback->UpdatePreviewSize(new __preview_size__{c.width, c.height, 8, false, false});

        ScopedCapture capture;
        EXPECT_TRUE(callback->onFrameAvailable(handle).isOk());
        std::vector<Recorder::Seen> seen = recorder.Frames();
        ASSERT_EQ(c.reached ? 1u : 0u, seen.size());
        if (c.reached) {
            EXPECT_EQ(Pages(bytes), seen[0].length);
            EXPECT_EQ(0x5a, seen[0].first);
            EXPECT_TRUE(Unmapped(seen[0].address));
        }
        std::string log = "D F:onFrameAvailable] FD =$\n\n" + c.log;
        for (size_t at; (at = log.find('$')) != std::string::npos;) {
            log.replace(at, 1, c.descriptor ? std::to_string(fd) : "-1");
        }
        EXPECT_EQ(log, Log(capture));
    }
}

TEST(ImagingCaller, TheImagerIsRegisteredUnderTag8ForRequestsByNameOnly) {
    DeviceRoot root;
    CallerRun run = RunCaller(root, {"count", "8", "create", "8", "ImagerHIDLProxy", "abstract",
                                     "8", "create", "8", "Imager"});
    EXPECT_EQ(0, run.process.exitCode) << run.process.err;
    EXPECT_EQ("1\nmodule\nnull\nnull\n", run.process.out);
}

// The adapter's stop depends on the platform of the staged device profile, read once a process.
TEST(ImagingCaller, StopStreamingStopsAfterAHaltOnlyOnLahaina) {
    struct Case {
        const char* profile;
        const char* halt;
        const char* flag;
        const char* calls;
    };
    const std::vector<Case> cases = {
        {"default", "1", "0", "HaltAcquisition(true, 0)\nStopStreaming()\n"},
        {"default", "1", "1", "HaltAcquisition(true, 1)\nStopStreaming()\n"},
        {"tr41", "1", "0", "HaltAcquisition(true, 0)\n"},
        {"tr41", "1", "1", "HaltAcquisition(true, 1)\n"},
        // A timed stop stops on every platform.
        {"tr41", "0", "1", "HaltAcquisition(false, 1)\nStopStreaming()\n"},
        {"default", "0", "0", "HaltAcquisition(false, 0)\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.profile) + " " + c.halt + " " + c.flag);
        TempDir logDir;
        const std::string logPath = logDir.path() + "/caller.log";
        ProcessResult run = RunProcess(
            ORVEX_BUILD_DIR "/bin/imaging_caller", "imaging_caller", {c.halt, c.flag},
            {{"ORVEX_DEVICE_ROOT", ORVEX_BUILD_DIR "/sim/profiles/" + std::string(c.profile)},
             {"ORVEX_LOG", logPath}});
        EXPECT_EQ(0, run.exitCode) << run.err;
        EXPECT_EQ(c.calls, run.out);
        std::vector<Entry> adapterLog;
        for (const Entry& e : ReadLogFile(logPath)) {
            if (e.message.rfind("[V4L2ImagerAdapter", 0) == 0) adapterLog.push_back(e);
        }
        // The profiles log at level 5: info and errors, no debug lines.
        EXPECT_EQ(
            "I A:associateImagerAdapterHIDL] Acquired IImager HIDL interface.\n"
            "I A:associateImagerAdapterHIDL] Acquired IImagerAdapter HIDL interface.\n"
            "I A:StopStreaming] Flag received= " +
                std::string(c.flag) +
                "\nI A:disAssociateImagerAdapterHIDL] disconnected Adapter HIDL\n",
            Log(adapterLog));
    }
}

}  // namespace
