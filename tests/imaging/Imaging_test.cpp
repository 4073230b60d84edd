// The imager module, its control and adapter companions and the frame callback against the
// simulated hardware manager, and the module as a caller process sees it. What a service's death
// does to each is mostly in the soak's service-death table; the points it does not reach are here.
//
// Expected logs are written one record a line, "<priority letter> <text>\n", with each class's
// "[Class::" prefix shortened to "M:" (module), "C:" (control), "A:" (adapter) or "F:" (frame
// callback); a text that ends in a newline of its own therefore ends in "\n\n". A fake's calls
// are compared as one string, separated by spaces, and so are a run of operations' answers.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <mutex>
#include <sstream>

#include "ImagerControlHIDLProxy.h"
#include "ImagerHIDLProxy.h"
#include "ImagingFixture.h"
#include "TestSupport.h"
#include "V4L2ImagerAdapterHIDLProxy.h"

namespace {

using namespace orvex::test;
using orvex::hostlog::ScopedCapture;
using vendor::tevrin::hardware::dchwmanager::implementation::FrameCallback;
using Adapter = V4L2ImagerAdapterHIDLProxy;
using Control = ImagerControlHIDLProxy;
using Size = __preview_size__;
using Module = ImagerHIDLProxy<(AndroidVersion)10>;

const std::string kFatal = "Attempted to retrieve value from failed HIDL call";
const std::string kAdapterGone = "I A:disAssociateImagerAdapterHIDL] disconnected Adapter HIDL\n";

// The library's records since the last look.
std::string Log(ScopedCapture& capture) {
    std::string log;
    for (const auto& e : capture.WithTag("ScannerFramework")) {
        std::string text = e.message;
        for (std::string p : {"M[ImagerHIDLProxy::", "C[ImagerControlHIDLProxy::",
                              "A[V4L2ImagerAdapterHIDLProxy::", "F[FrameCallback::"})
            if (text.rfind(p.substr(1), 0) == 0) text = p[0] + (":" + text.substr(p.size() - 1));
        log += "??VDIWEF"[e.priority & 7] + (" " + text) + "\n";
    }
    capture.Clear();
    return log;
}

// A fake's calls since the last look.
template <class Fake>
std::string Take(Fake& fake) {
    std::string joined;
    for (const auto& call : fake.calls().Calls()) joined += (joined.empty() ? "" : " ") + call;
    fake.calls().Clear();
    return joined;
}

enum Kind { kModule, kControl, kAdapter };

// Makes an object of the kind and deletes it, with every operation in between when its
// association failed (the module's always); returns what the operations answered.
std::string MakeAndDelete(Kind kind, bool failed) {
    std::ostringstream out;
    unsigned char bytes[4] = {1};
    const Size size = {640, 480, 8, false, false};
    if (kind == kModule) {
        Module m;
        out << +m.openImager() << +m.closeImager() << +m.getImagerInterfaceType() << "'"
            << m.getEngineID() << "'";
    } else if (kind == kControl) {
        Control c;
        if (failed) out << c.sendCommand(bytes, 1, bytes, 4, 0, 0) << c.configureSettleCount(3);
    } else {
        Adapter a;
        if (!failed) return "";
        out << +a.InitAdapter("V4L2Adapter", size) << +a.DeinitAdapter() << +a.Enable(nullptr)
            << +a.StartStreaming() << +a.StopStreaming(true, 1) << +a.Disable() << " "
            << a.GetParameter("exposure") << " " << +a.SetParameter("exposure", "10");
        a.SetPreviewSize(size);
        out << a.IsStreaming();
    }
    return out.str();
}

TEST(ImagerHIDLProxy, EachKindAssociatesOrSaysWhyNotAndPassesAnswersOrFailsEveryOperation) {
    // Each row expects the lines, then the answers, then "|" the manager's calls "|" the
    // imager's. From a failed association on, each kind logs and answers the same.
    const std::string ctlGone = "I C:disAssociateImagerControlHIDL] disconnected Control HIDL\n";
    const std::string moduleGone = "I M:disAssociateImagerHIDL] disconnected Imager HIDL\n";
    std::string failed[3] = {
        "E [ImagerHIDLProxy<T>::ImagerHIDLProxy] failed to associate Imager HIDL\n"
        "E M:openImager] sp_Imager is Null\nE M:closeImager] sp_Imager is Null\n"
        "E M:getImagerInterfaceType] sp_Imager is Null\nE M:getEngineID] sp_Imager is Null\n"
        "D M:getEngineID] ScannerID=\n" +
            moduleGone + "-1-1-1''",
        "E C:ImagerControlHIDLProxy] failed to associate ImagerControl HIDL\n"
        "E C:sendCommand] sp_ImagerControlHIDL is Null\nI C:configureSettleCount]\n"
        "E C:configureSettleCount] sp_ImagerControlHIDL is Null\n" +
            ctlGone + "10",
        "E A:V4L2ImagerAdapterHIDLProxy] failed to associate ImagerAdapter HIDL\n"};
    // Enable's line names SetPreviewSize.
    for (const char* op :
         {"Init", "Deinit", "SetPreviewSize", "StartStreaming", "StopStreaming", "Disable",
          "GetParameter", "SetParameter", "SetPreviewSize", "IsStreaming"}) {
        failed[kAdapter] += "E A:" + std::string(op) + "] sp_ImagerAdapterHIDL is Null\n";
    }
    failed[kAdapter] += kAdapterGone + "111111 Error - Imager Adapter HIDL is Null. 10";

    const std::string ctlGot =
        "I C:associateImagerControlHIDL] Acquired IImagerControl HIDL interface.\n";
    const std::string adpGot = "I A:associateImagerAdapterHIDL] Acquired IImager HIDL interface.\n";
    const std::string noOpen = "E C:associateImagerControlHIDL] Unable to open imager\n";
    const std::string unable[] = {"E M:associateImagerHIDL] Unable to get ",
                                  "E C:associateImagerControlHIDL] Unable to get ",
                                  "E A:associateImagerAdapterHIDL] Unable to get "};
    const std::string engine =
        "I M:associateImagerHIDL] Acquired IImager HIDL interface.\nI M:getEngineID] getEngineID\n";
    const std::string moduleCalls =
        "|getImager()|openImager() closeImager() getImagerInterfaceType() getEngineID()";
    // clang-format off
    std::vector<std::tuple<Kind, bool, ImagerParts, orvex::sim::FakeImager::Answers, std::string>>
        cases = {
        {kControl, true, {}, {-1}, ctlGot + noOpen + failed[kControl] + "|getImager()|openImager()"},
        {kControl, true, {true, false, true}, {}, ctlGot + unable[kControl] +
         "IImagerControlHIDL interface.\n" + failed[kControl] +
         "|getImager()|openImager() getImagerControl()"},
        {kControl, true, {}, {}, ctlGot + "I C:associateImagerControlHIDL] Acquired "
         "IImagerControlHIDL interface.\nI C:disAssociateImagerControlHIDL] Calling close imager\n" +
         ctlGone + "|getImager()|openImager() getImagerControl() closeImager()"},
        // The adapter's failure to open the imager is logged under the control's name.
        {kAdapter, true, {}, {-1}, adpGot + noOpen + failed[kAdapter] + "|getImager()|openImager()"},
        {kAdapter, true, {true, true, false}, {}, adpGot + unable[kAdapter] +
         "IImagerAdapter HIDL interface.\n" + failed[kAdapter] +
         "|getImager()|openImager() getImagerAdapter()"},
        {kAdapter, true, {}, {}, adpGot + "I A:associateImagerAdapterHIDL] Acquired IImagerAdapter "
         "HIDL interface.\n" + kAdapterGone + "|getImager()|openImager() getImagerAdapter() "
         "closeImager()"},
        // The module passes the imager's answers on: open, close, type and 'engine', every byte.
        {kModule, true, {}, {0, 0, std::string("3\0" "1", 3), 1}, engine + "D M:getEngineID] "
         "ScannerID=3\n" + moduleGone + std::string("001'3\0" "1'", 8) + moduleCalls},
        {kModule, true, {}, {-1, 7, "", 2}, engine + "E M:getEngineID] Error at HIDL Service\n"
         "D M:getEngineID] ScannerID=\n" + moduleGone + "-172''" + moduleCalls}};
    for (Kind kind : {kModule, kControl, kAdapter}) {
        cases.push_back({kind, false, {}, {}, unable[kind] + "DCHWManager HIDL interface.\n" +
                         failed[kind] + "||"});
        cases.push_back({kind, true, {false, false, false}, {}, unable[kind] +
                         "IImager HIDL interface.\n" + failed[kind] + "|getImager()|"});
    }
    // clang-format on
    for (const auto& [kind, manager, parts, answers, want] : cases) {
        std::unique_ptr<SimImager> device(manager ? new SimImager(parts) : nullptr);
        if (device && device->imager) device->imager->SetAnswers(answers);
        bool fails =
            !manager || !parts.imager || !parts.control || !parts.adapter || answers.openImager;
        ScopedCapture capture;
        std::string answered = MakeAndDelete(kind, fails);
        // A failed association drops the imager, so the destructor does not close it.
        EXPECT_EQ(want, Log(capture) + answered + "|" +
                            (device ? Take(*device->sim().manager()) + "|" : "|") +
                            (device && device->imager ? Take(*device->imager) : ""));
    }
}

// The companions are made once each and deleted by deInit; after the service's death, values
// read directly end the process.
TEST(ImagerHIDLProxy, CompanionsAreMadeOnceAndDeletedByDeInitAndADeadServiceEndsTheProcess) {
    SimImager device;
    Module module;
    Control* control = module.getImagerControlHIDLProxy();
    Adapter* adapter = module.getImagerAdapterHIDLProxy();
    // Asked again, each is the one made, which opened the imager for itself; deInit deletes
    // them, closing it, and new ones open it again.
    EXPECT_EQ(control, module.getImagerControlHIDLProxy());
    EXPECT_EQ(adapter, module.getImagerAdapterHIDLProxy());
    module.deInit();
    module.getImagerControlHIDLProxy();
    module.getImagerAdapterHIDLProxy();
    EXPECT_EQ(
        "openImager() getImagerControl() openImager() getImagerAdapter() closeImager() "
        "closeImager() openImager() getImagerControl() openImager() getImagerAdapter()|getImager() "
        "getImager() getImager() getImager() getImager()",
        Take(*device.imager) + "|" + Take(*device.sim().manager()));
    module.deInit();  // the companions go with it
    // After the service's death, each value read directly ends the process; each read runs in
    // a child of its own, with a module and companions made there.
    struct Made {
        Module m;
        Control* c = m.getImagerControlHIDLProxy();
        Adapter* a = m.getImagerAdapterHIDLProxy();
    };
    for (void (*read)(Made&) : std::initializer_list<void (*)(Made&)>{
             [](Made& x) { x.m.openImager(); }, [](Made& x) { x.m.closeImager(); },
             [](Made& x) { x.m.getImagerInterfaceType(); },
             [](Made& x) { x.c->configureSettleCount(2); }, [](Made& x) { x.a->IsStreaming(); },
             [](Made& x) { x.a->StartStreaming(); }, [](Made& x) { x.a->StopStreaming(false, 0); },
             [](Made& x) { x.a->Disable(); }}) {
        EXPECT_DEATH(
            {
                Made made;
                device.sim().Kill();
                read(made);
            },
            kFatal);
    }
    // A service that dies while it opens the imager: the open's answer still arrives, the next
    // request does not.
    device.imager->SetCallHook([&](const std::string& call) {
        if (call == "openImager()") device.sim().Kill();
    });
    EXPECT_DEATH(Control another, kFatal);
    EXPECT_DEATH(Adapter another, kFatal);
}

TEST(ImagerControlHIDLProxy, PassesCommandsAndTheSettleCountOn) {
    SimImager device;
    device.control->SetDefaultReply({4, {0x77}});
    Control control;
    ScopedCapture capture;
    std::ostringstream out;
    // The caller says 2 bytes of its 8; the reply is copied as long as the service made it.
    for (const auto& reply : std::vector<orvex::sim::FakeImagerControl::Reply>{
             {0, {1, 2, 3, 4, 5}}, {0, {}}, {3, {9, 9}}, {-1, {}}}) {
        device.control->SetReply({0x1b, 0x02}, reply);
        unsigned char command[] = {0x1b, 0x02, 0xff}, buffer[8];
        memset(buffer, 0xee, sizeof buffer);
        out << control.sendCommand(command, 2, buffer, 2, 7, 9) << ":"
            << std::string(reinterpret_cast<char*>(buffer), sizeof buffer) << " ";
    }
    // The settle count succeeds on any non-zero status.
    for (int8_t status : {1, 0, -1, 42}) {
        device.control->SetSettleCountStatus(status);
        out << control.configureSettleCount(5);
    }
    // Only the command's length of bytes is sent.
    const std::string send = "sendCommand([1b 02], 2, 2, 7, 9) ",
                      settle = "configureSettleCount(5)";
    const std::string failed =
        "E C:sendCommand] Error at HIDL Service (sp_ImagerControlHIDL instance is NULL, Error - "
        "Unable to send command)\n";
    const std::string settled = "I C:configureSettleCount]\n";
    EXPECT_EQ(
        "0:\x01\x02\x03\x04\x05\xee\xee\xee 0:\xee\xee\xee\xee\xee\xee\xee\xee "
        "3:\x09\x09\xee\xee\xee\xee\xee\xee 4294967295:\xee\xee\xee\xee\xee\xee\xee\xee 1011|" +
            send + send + send + send + settle + " " + settle + " " + settle + " " + settle + "|" +
            failed + failed + settled + settled + settled + settled,
        out.str() + "|" + Take(*device.control) + "|" + Log(capture));
}

// An adapter on a live simulated imager, with the association's calls cleared.
struct Streaming {
    Streaming() : adapter(new Adapter) { Take(fake); }
    SimImager device;
    orvex::sim::FakeImagerAdapter& fake = *device.adapter;
    std::unique_ptr<Adapter> adapter;
};

TEST(V4L2ImagerAdapterHIDLProxy, PassesTheServicesAnswersOnAndLogsItsErrors) {
    auto s = std::make_unique<Streaming>();
    Adapter& a = *s->adapter;
    std::ostringstream out;
    ScopedCapture capture;
    auto seen = [&] { return Take(s->fake) + "|" + Log(capture); };  // calls, then lines
    // Init and Deinit answer the service's status; the service takes 16-bit sizes, 8-bit depths.
    // clang-format off
    for (const auto& [size, status] : std::vector<std::pair<Size, int8_t>>{
             {{2280, 1080, 8, true, false}, 0}, {{70000, 65537, 264, false, true}, 3},
             {{1280, 800, 8, false, false}, -1}, {{1280, 800, 8, false, false}, -2}}) {
        // clang-format on
        s->fake.SetAnswers({status, status});  // init, deinit
        out << +a.InitAdapter("V4L2Adapter", size) << "," << +a.DeinitAdapter() << " ";
    }
    const std::string init = "I A:Init]adapterClass = V4L2Adapter \n";
    EXPECT_EQ(
        "Init(V4L2Adapter, {2280, 1080, 8, 1, 0}) Deinit() Init(V4L2Adapter, {4464, 1, 8, 0, 1}) "
        "Deinit() Init(V4L2Adapter, {1280, 800, 8, 0, 0}) Deinit() "
        "Init(V4L2Adapter, {1280, 800, 8, 0, 0}) Deinit()|" +
            init + init + init + "E A:Init] Error at HIDL Service (Adapter.so instance is NULL\n" +
            init,
        seen());

    // Start, start while streaming, two halts that keep streaming, start, a timed stop (which
    // settles and stops), start (which waits for it), disable.
    s->fake.SetAnswers({});
    out << +a.StartStreaming() << +a.StartStreaming() << +a.StopStreaming(false, 0)
        << +a.StopStreaming(false, 2) << +a.StartStreaming() << +a.StopStreaming(false, 1)
        << +a.StartStreaming() << +a.Disable() << " ";
    const std::string start = "IsStreaming() StartStreaming() PrepAcquisition() PostAcquisition() ";
    const std::string again = "IsStreaming() PrepAcquisition() PostAcquisition() ";
    const std::string flag = "I A:StopStreaming] Flag received= ";
    const std::string settle =
        "D A:StopStreaming] Call before Stop Streaming incase of Timed Hold or Timed Release\n";
    EXPECT_EQ(start + again + "HaltAcquisition(false, 0) HaltAcquisition(false, 2) " + again +
                  "HaltAcquisition(false, 1) StopStreaming() " + start + "StopStreaming()|" + flag +
                  "0\n" + flag + "2\n" + flag + "1\n" + settle +
                  "I A:StartStreaming] Wait in StartSteaming when flag is 1\n",
              seen());

    // Parameters come from the service, with their defaults; a refused one is not stored.
    s->fake.SetParameterAnswer("broken", -1, "ignored");
    s->fake.SetParameterAnswer("odd", 7, "odd value");
    s->fake.SetParameterAnswer("blank", 0, "");
    out << +a.SetParameter("exposure", "120");
    s->fake.SetAnswers({0, 0, 0, 0, 0, 0, 0, 9});  // setParameter
    out << +a.SetParameter("gain", "3");
    for (const char* name : {"exposure", "gain", "unknown", "odd", "blank", "broken"})
        out << "|" << a.GetParameter(name);
    EXPECT_EQ(
        "SetParameter(exposure, 120) SetParameter(gain, 3) GetParameter(exposure) "
        "GetParameter(gain) GetParameter(unknown) GetParameter(odd) GetParameter(blank) "
        "GetParameter(broken)|"
        "E A:GetParameter] Error at HIDL Service (Control.so instance is NULL)\n",
        seen());

    // On a fresh adapter (one simulated device at a time): the service's errors are logged, but
    // start and stop still answer 0.
    s = nullptr;
    s = std::make_unique<Streaming>();
    Log(capture);  // the old adapter's end and the new one's association
    s->fake.SetAnswers({0, 0, 2, 6, 3, -4, 5});  // start 2, stop 6, prepare 3, post -4, halt 5
    out << " " << +s->adapter->StartStreaming() << +s->adapter->StopStreaming(false, 1)
        << +s->adapter->Disable();
    EXPECT_EQ(
        "0,0 3,3 1,255 254,254 00000000 09|120|Unsupported Parameter|Unsupported "
        "Parameter|odd value||Error - Unable to Get Parameter 006|"
        "E A:StartStreaming] Error in Adapter HIDL API StartStreaming  2\n"
        "E A:StartStreaming] Error in Adapter HIDL API PrepAcquisition is 3\n"
        "E A:StartStreaming] Error in Adapter HIDL API PostAcquisition is -4\n"
        "E A:StopStreaming] Error in Adapter HIDL API HaltAcquisition is 5\n" +
            flag + "1\n" + settle +
            "E A:StopStreaming] Error in ImagerAdapterHIDL StopStreaming ret= 6\n\n"
            "E A:Disable] Error in Adapter HIDL API StopStreaming is 6\n",
        out.str() + "|" + Log(capture));
}

// Records each frame while it is mapped: its first byte (the frame's number) and the length of
// the mapping that holds it, from the process's memory map; and where the last one was.
struct Recorder : IImageCallback {
    explicit Recorder(bool answer) : answer(answer) {}
    bool OnReceiveFrame(void* frame) override {
        std::ifstream maps("/proc/self/maps");
        uintptr_t at = reinterpret_cast<uintptr_t>(frame), start = 0, end = 0, length = 0;
        for (std::string line; std::getline(maps, line) && length == 0;) {
            if (sscanf(line.c_str(), "%zx-%zx", &start, &end) == 2 && at >= start && at < end)
                length = end - start;
        }
        std::lock_guard<std::mutex> hold(lock);
        seen += std::to_string(*static_cast<uint8_t*>(frame)) + ":" + std::to_string(length) + " ";
        last = frame;
        return answer;
    }
    const bool answer;
    std::mutex lock;
    std::string seen;
    void* last = nullptr;
};

size_t Pages(size_t n) { return (n + getpagesize() - 1) / getpagesize() * getpagesize(); }

TEST(V4L2ImagerAdapterHIDLProxy, FramesOfTheCurrentSizeArriveWholeInOrder) {
    // The size Init gives, or the one set before the stream starts.
    for (bool resize : {false, true}) {
        SCOPED_TRACE(resize);
        Recorder recorder(true);  // outlives the stream, however the test ends
        Streaming s;
        s.fake.SetFrameRate(0);
        ASSERT_EQ(0, s.adapter->InitAdapter("V4L2Adapter", {2280, 1080, 8, false, false}));
        ASSERT_EQ(0, s.adapter->Enable(&recorder));
        if (resize) s.adapter->SetPreviewSize({1280, 800, 8, true, true});
        ASSERT_EQ(0, s.adapter->StartStreaming());
        ASSERT_TRUE(s.fake.WaitForFrames(3));
        ASSERT_EQ(0, s.adapter->Disable());
        std::lock_guard<std::mutex> hold(recorder.lock);
        EXPECT_FALSE(s.adapter->IsStreaming());
        std::string frames;  // every frame delivered, whole
        for (uint64_t i = 0; i < s.fake.FramesDelivered(); ++i)
            frames += std::to_string(i % 256) + ":" +
                      std::to_string(Pages(resize ? 1024000 : 2471040)) + " ";
        EXPECT_EQ(frames +
                      "Init(V4L2Adapter, {2280, 1080, 8, 0, 0}) RegisterFrameCallback(callback) " +
                      (resize ? "SetPreviewSize({1280, 800, 8, 1, 1}) " : "") +
                      "IsStreaming() StartStreaming() PrepAcquisition() PostAcquisition() "
                      "StopStreaming() IsStreaming()",
                  recorder.seen + Take(s.fake));
    }
}

TEST(FrameCallback, FrameSizeIsRowsTimesHeightTimesBitsOverEight) {
    // Rows of 2280 pixels are padded to 2288; integer division drops a partial byte.
    // clang-format off
    for (const auto& c : std::vector<std::vector<uint32_t>>{
             {2280, 1080, 8, 2471040}, {1280, 800, 8, 1024000}, {2280, 1080, 10, 3088800},
             {2288, 1080, 8, 2471040}, {2279, 2, 8, 4558}, {640, 480, 12, 460800}, {3, 1, 1, 0},
             {0, 1080, 8, 0}})
        EXPECT_EQ(c[3], FrameCallback::FrameSize(c[0], c[1], c[2])) << c[0] << "x" << c[1];
    // clang-format on
}

TEST(FrameCallback, MapsTheGeometrysSizeForTheCallerAndUnmapsWhenItReturns) {
    // The geometry's width (2280 x 1080 or 1280 x 800 by 8 bits; none when 0), the caller's
    // answer (no caller when negative), how the frame's descriptor (number 200) is open
    // (read-write, read-only or not at all) and the lines after the descriptor's.
    const std::string unmappable = "E F:onFrame] mmap failed\n\n";
    // clang-format off
    for (const auto& [width, answer, mode, log] :
         std::vector<std::tuple<uint32_t, int, int, std::string>>{
             {1280, 1, -1, unmappable},
             {2280, 1, O_RDWR, "D F:onFrameAvailable] Byte Allignement Needed =200\n\n"},
             {1280, 0, O_RDWR, "E F:onFrameAvailable] OnReceiveFrame failed\n"},
             {1280, -1, O_RDWR, "E F:onFrameAvailable] IImageCallback is null\n"},
             {0, 1, O_RDWR, unmappable},
             {1280, 1, O_RDONLY, unmappable}}) {  // cannot be mapped for writing
        // clang-format on
        size_t bytes = width == 2280 ? 2471040 : 1024000;
        int fd = memfd_create("test-frame", MFD_CLOEXEC);
        EXPECT_EQ(0, ftruncate(fd, static_cast<off_t>(bytes)));
        EXPECT_EQ(1, pwrite(fd, "\x5a", 1, 0));  // what the service wrote
        // Unused without a descriptor, until the next row's replaces it.
        int other = open(("/proc/self/fd/" + std::to_string(fd)).c_str(), mode < 0 ? O_RDWR : mode);
        EXPECT_EQ(200, dup3(other, 200, O_CLOEXEC));
        close(other), close(fd);
        native_handle_t* native = native_handle_create(mode >= 0 ? 1 : 0, 0);
        if (mode >= 0) native->data[0] = 200;
        android::hardware::hidl_handle handle;
        handle.setTo(native, true);  // closes the descriptor with the handle
        Recorder recorder(answer > 0);
        android::sp<FrameCallback> callback = new FrameCallback(answer < 0 ? nullptr : &recorder);
        if (width != 0)
            callback->UpdatePreviewSize(new Size{width, width == 2280 ? 1080u : 800u, 8, 0, 0});
        ScopedCapture capture;
        EXPECT_TRUE(callback->onFrameAvailable(handle).isOk());
        std::lock_guard<std::mutex> hold(recorder.lock);
        bool reached = answer >= 0 && log != unmappable;  // then mapped whole, and unmapped after
        EXPECT_EQ((reached ? "90:" + std::to_string(Pages(bytes)) + " " : std::string()) +
                      "D F:onFrameAvailable] FD =" + (mode >= 0 ? "200" : "-1") + "\n\n" + log,
                  recorder.seen + Log(capture));
        EXPECT_TRUE(!reached || (msync(recorder.last, 1, MS_ASYNC) == -1 && errno == ENOMEM));
    }
}

// The adapter's stop depends on the platform of the staged device profile, read once a process.
TEST(ImagingCaller, StopStreamingStopsAfterAHaltOnlyOnLahaina) {
    // Profile, halt, flag and the service's calls; a timed stop stops on every platform.
    // clang-format off
    for (const auto& c : std::vector<std::vector<std::string>>{
             {"default", "1", "0", "HaltAcquisition(true, 0)\nStopStreaming()\n"},
             {"default", "1", "1", "HaltAcquisition(true, 1)\nStopStreaming()\n"},
             {"tr41", "1", "0", "HaltAcquisition(true, 0)\n"},
             {"tr41", "1", "1", "HaltAcquisition(true, 1)\n"},
             {"tr41", "0", "1", "HaltAcquisition(false, 1)\nStopStreaming()\n"},
             {"default", "0", "0", "HaltAcquisition(false, 0)\n"}}) {
        // clang-format on
        ProcessResult run =
            RunProcess(ORVEX_BUILD_DIR "/bin/imaging_caller", "imaging_caller", {c[1], c[2]},
                       {{"ORVEX_DEVICE_ROOT", ORVEX_BUILD_DIR "/sim/profiles/" + c[0]}});
        EXPECT_EQ("0 " + c[3], std::to_string(run.exitCode) + " " + run.out) << c[0] << run.err;
    }
}

}  // namespace
