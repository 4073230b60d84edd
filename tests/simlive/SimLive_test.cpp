// The virtual handheld's API against the library in this process: what it refuses, and key
// events that reach the caller exactly once, in order, across a hardware manager restart.

#include <gtest/gtest.h>
#include <httplib.h>

#include <condition_variable>
#include <mutex>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include "ApiServer.h"
#include "FakeImager.h"
#include "FakeImagerAdapter.h"
#include "LiveDevice.h"
#include "Platform.h"
#include "PlatformModuleInterfaces.h"

namespace orvex {
namespace sim {
namespace {

using json = nlohmann::json;
using KeyEvent = std::pair<unsigned, unsigned>;

struct Keys : ITriggerKeyEventWrapperCallBack {
    void OnKeyEvent(unsigned int key, unsigned int value) override {
        std::lock_guard<std::mutex> hold(lock);
        events.emplace_back(key, value);
        changed.notify_all();
    }
    void OnPreKeyEvent(unsigned int, unsigned int) override {}
    // The events so far once there are `count` (or after 10 s).
    std::vector<KeyEvent> WaitFor(size_t count) {
        std::unique_lock<std::mutex> hold(lock);
        changed.wait_for(hold, std::chrono::seconds(10), [&] { return events.size() >= count; });
        return events;
    }
    void Clear() {
        std::lock_guard<std::mutex> hold(lock);
        events.clear();
    }
    std::mutex lock;
    std::condition_variable changed;
    std::vector<KeyEvent> events;  // GUARDED_BY(lock)
};

class SimLive : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        device = new LiveDevice("default");
        device->Start();
        server = new ApiServer(*device, "");
        std::string error;
        ASSERT_TRUE(server->Start(0, &error)) << error;
        trigger = static_cast<IHWTriggerModule*>(
            GetPlatformModule(PLATFORM_MODULE_HW_TRIGGER, "HWTrigger"));
        ASSERT_TRUE(trigger->Initialize(&keys));
        ASSERT_TRUE(trigger->AcquireHWTrigger());
    }
    static void TearDownTestSuite() {
        trigger->ReleaseHWTrigger();
        DeletePlatformModule(trigger);
        delete server;
        delete device;
    }
    void SetUp() override { keys.Clear(); }

    static httplib::Result Post(const std::string& path, const std::string& body,
                                const char* type = "application/json") {
        httplib::Client client("127.0.0.1", server->port());
        return client.Post(path.c_str(), body, type);
    }
    static int Press(const char* action, unsigned key) {
        return Post("/api/trigger", json{{"action", action}, {"key", key}}.dump())->status;
    }

    static LiveDevice* device;
    static ApiServer* server;
    static IHWTriggerModule* trigger;
    static Keys keys;
};
LiveDevice* SimLive::device;
ApiServer* SimLive::server;
IHWTriggerModule* SimLive::trigger;
Keys SimLive::keys;

TEST_F(SimLive, RefusesBadInputWithAMessageAndGoesOnWorking) {
    const std::string pgm = "P5\n4 4\n255\n";
    struct Case {
        const char* method;
        std::string path, body, type;
        httplib::Headers headers;
        int status;
        std::string error;
    } cases[] = {
        {"POST", "/api/trigger", "{", "application/json", {}, 400,
         "the body is not a JSON object; send {\"action\":\"press\"|\"release\",\"key\":N}"},
        {"POST", "/api/trigger", "{\"action\":\"tap\"}", "application/json", {}, 400,
         "unknown action \"tap\"; send \"press\" or \"release\""},
        {"POST", "/api/trigger", "{\"key\":726}", "application/json", {}, 400,
         "no action; send {\"action\":\"press\"} or {\"action\":\"release\"}"},
        {"POST", "/api/trigger", "{\"action\":\"press\",\"key\":\"726\"}", "application/json", {},
         400, "key must be a number, a scan code from trigger.keys in GET /api/state; leave it "
              "out for the main trigger"},
        {"POST", "/api/trigger", "{\"action\":\"press\",\"key\":5}", "application/json", {}, 400,
         "key 5 is not a trigger key of this device; send one of [726,727,725] or no key for the "
         "main trigger"},
        {"POST", "/api/services/camera/kill", "", "text/plain", {}, 404,
         "no service \"camera\" on this device; send a name that GET /api/state lists under "
         "services"},
        {"POST", "/api/services/%FF/restart", "", "text/plain", {}, 404,
         "no service \"\xEF\xBF\xBD\" on this device; send a name that GET /api/state lists "
         "under services"},
        {"POST", "/api/services/audio/kill", "", "text/plain", {}, 409,
         "audio cannot die on this simulated device; hardware_manager, beep and a HIDL light can"},
        {"POST", "/api/serial/data", "{\"txt\":\"1\"}", "application/json", {}, 400,
         "a JSON body must be {\"text\":\"...\"}; or send the bytes as they are with Content-Type "
         "application/octet-stream"},
        {"POST", "/api/serial/data", "0123", "application/octet-stream", {}, 409,
         "no scanner is plugged; POST /api/serial/plug first"},
        {"POST", "/api/imager/frames", "GIF89a", "image/gif", {}, 400,
         "the body is neither a PNG nor a PGM image; send image/png or a binary PGM (P5)"},
        {"POST", "/api/imager/frames", std::string("\x89PNG\r\n\x1a\n\0\0", 10), "image/png", {},
         400, "the PNG cannot be read: read beyond end of data"},
        {"POST", "/api/imager/frames", pgm + "short", "image/x-portable-graymap", {}, 400,
         "the PGM cannot be read: Error reading row.  Short read of 1 bytes instead of 4"},
        {"POST", "/api/imager/frames", std::string(ApiServer::kMaxBody + 1, 'x'),
         "application/octet-stream", {}, 413, "the body is larger than 16 MiB; send a smaller one"},
        {"GET", "/api/trigger", "", "", {}, 405, "/api/trigger takes POST, not GET"},
        {"GET", "/api/events?since=x", "", "", {}, 400,
         "Last-Event-ID or since must be the seq of a call event, a number"},
        {"GET", "/api/state", "", "", {{"Host", "evil.example:80"}}, 403,
         "Host \"evil.example:80\" is not this device's address; use http://127.0.0.1:PORT/"},
        {"POST", "/api/trigger", "{\"action\":\"press\"}", "application/json",
         {{"Origin", "http://evil.example"}}, 403,
         "requests from pages of http://evil.example are refused; only the device's own page at "
         "http://127.0.0.1:PORT/ may drive it"},
    };
    const std::string port = std::to_string(server->port());
    httplib::Client client("127.0.0.1", server->port());
    for (Case& c : cases) {
        SCOPED_TRACE(std::string(c.method) + " " + c.path + " " + c.body.substr(0, 40));
        auto res = c.method == std::string("GET")
                       ? client.Get(c.path.c_str(), c.headers)
                       : client.Post(c.path.c_str(), c.headers, c.body, c.type.c_str());
        ASSERT_TRUE(res);
        EXPECT_EQ(res->status, c.status);
        for (size_t at; (at = c.error.find("PORT")) != std::string::npos;) {
            c.error.replace(at, 4, port);
        }
        EXPECT_EQ(res->body, json({{"error", c.error}}).dump());
    }
    EXPECT_EQ(client.Get("/api/nothing")->status, 404);
    EXPECT_EQ(json::parse(client.Get("/api/state")->body)["trigger"]["pressed"], json::array());
}

TEST_F(SimLive, ABurstOfPressesReachesTheCallerOnceEachInOrder) {
    const std::vector<unsigned> codes = device->keys();
    std::vector<KeyEvent> sent;
    for (int i = 0; i < 1000; ++i) {
        const KeyEvent event{codes[i / 2 % codes.size()], i % 2 == 0 ? 1u : 0u};
        ASSERT_EQ(Press(event.second ? "press" : "release", event.first), 200) << i;
        sent.push_back(event);
    }
    EXPECT_EQ(keys.WaitFor(sent.size()), sent);
}

TEST_F(SimLive, AHardwareManagerRestartWhileKeysAreHeldDeliversNothingTwice) {
    ASSERT_EQ(Press("press", 726), 200);
    ASSERT_EQ(Press("press", 727), 200);
    ASSERT_EQ(keys.WaitFor(2).size(), 2u);
    ASSERT_EQ(Post("/api/services/hardware_manager/kill", "")->status, 200);
    EXPECT_EQ(Post("/api/services/hardware_manager/kill", "")->status, 409);
    EXPECT_EQ(Press("release", 727), 409);
    const uint64_t before = device->events().LastSeq();
    ASSERT_EQ(Post("/api/services/hardware_manager/restart", "")->status, 200);
    // The caller takes the trigger again on its death notification, as on a device.
    int status = 409;
    for (int i = 0; i < 1000 && status == 409; ++i) {
        status = Press("release", 727);
        if (status == 409) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_EQ(status, 200);
    // The new trigger is named on the timeline as the first one was.
    std::set<std::string> services;
    for (const auto& c : device->events().Wait(before, 0, {}).calls) services.insert(c.service);
    EXPECT_TRUE(services.count("ITrigger") == 1 && services.count("service") == 0);
    ASSERT_EQ(Press("release", 726), 200);
    const std::vector<KeyEvent> expected = {{726, 1}, {727, 1}, {727, 0}, {726, 0}};
    EXPECT_EQ(keys.WaitFor(4), expected);
    EXPECT_EQ(device->State()["trigger"]["pressed"], json::array());
}

// `curl -XPOST URL` sends no body and no Content-Length: the endpoints that need none answer.
TEST_F(SimLive, EndpointsThatTakeNoBodyAnswerARequestWithoutALength) {
    for (std::string request : {"POST /api/serial/plug", "POST /api/services/beep/restart",
                                "DELETE /api/imager/frames", "POST /api/serial/unplug"}) {
        request += " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server->port()) + "\r\n\r\n";
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        const sockaddr_in to{AF_INET, htons(static_cast<uint16_t>(server->port())),
                             {htonl(INADDR_LOOPBACK)}, {}};
        char answer[13] = "";
        ASSERT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to), 0);
        ASSERT_EQ(send(fd, request.data(), request.size(), 0), ssize_t(request.size()));
        EXPECT_EQ(recv(fd, answer, 12, MSG_WAITALL), 12);
        EXPECT_STREQ(answer, "HTTP/1.1 200") << request;
        close(fd);
    }
}

// The first call event of /api/events read with `header` from `path`, without its time and tid.
json FirstCall(const std::string& path, const httplib::Headers& header, int port) {
    std::string text;
    httplib::Client("127.0.0.1", port).Get(path.c_str(), header, [&](const char* d, size_t n) {
        text.append(d, n);
        const size_t at = text.find("event: call");
        return at == std::string::npos || text.find("\n\n", at) == std::string::npos;
    });
    const size_t data = text.find("data: ", text.find("event: call")) + 6;
    json call = json::parse(text.substr(data, text.find("\n\n", data) - data), nullptr, false);
    if (call.is_object()) call.erase("time_ms"), call.erase("tid");
    return call;
}

TEST_F(SimLive, AReaderThatGoesGivesItsStreamBackAtOnce) {
    // Twice as many quick page reloads as there are streams, each reading its first call: none
    // waits for more than a few keep-alive writes (a slot held until a 15 s one would fail this).
    for (int i = 0; i < 2 * ApiServer::kMaxStreams; ++i) {
        bool in = false;
        for (int tries = 0; !in && tries < 100; ++tries) {
            if (tries > 0) std::this_thread::sleep_for(std::chrono::milliseconds(50));
            in = FirstCall("/api/events", {}, server->port()).is_object();
        }
        EXPECT_TRUE(in) << i;
    }
}

TEST_F(SimLive, EventsCarryEachServiceCallAndAReaderResumesAfterTheLastItSaw) {
    const uint64_t seq = device->events().LastSeq();
    trigger->StartTrigger();
    trigger->StopTrigger();
    const auto call = [](uint64_t seq, const char* method) {
        return json{{"seq", seq},           {"thread", "simlive_test"}, {"service", "ITrigger"},
                    {"method", method},     {"args", ""}};
    };
    EXPECT_EQ(FirstCall("/api/events?since=" + std::to_string(seq), {}, server->port()),
              call(seq + 1, "startTrigger"));
    EXPECT_EQ(FirstCall("/api/events", {{"Last-Event-ID", std::to_string(seq + 1)}}, server->port()),
              call(seq + 2, "stopTrigger"));

    // Calls 1 and 2 are gone; a state made after call 3 and published after call 4 goes
    // between them with seq 3, and to a reader that has call 4 already with seq 4.
    EventHub hub(2);
    for (int i = 0; i < 4; ++i) hub.Add(i, 0, "t", "s", "m", "");
    hub.PublishState("{\"a\":1}", 3);
    const EventHub::Batch batch = hub.Wait(0, 0, std::chrono::milliseconds(0));
    ASSERT_EQ(batch.calls.size(), 2u);
    EXPECT_EQ((std::vector<uint64_t>{batch.gapFrom, batch.gapTo, batch.calls[0].seq,
                                     batch.callsBeforeState}),
              (std::vector<uint64_t>{1, 2, 3, 1}));
    EXPECT_EQ(batch.state, R"({"a":1,"seq":3})");
    EXPECT_EQ(hub.Wait(4, 0, std::chrono::milliseconds(0)).state, R"({"a":1,"seq":4})");
}

// A caller's frame callback that keeps the first 8 bytes of the first frame.
struct FirstFrame : vendor::tevrin::hardware::dchwmanager::V1_0::IFrameCallback {
    android::hardware::Return<void> onFrameAvailable(
        const android::hardware::hidl_handle& frame) override {
        std::lock_guard<std::mutex> hold(lock);
        uint8_t head[8];
        if (bytes.empty() && pread(frame->data[0], head, 8, 0) == 8) bytes.assign(head, head + 8);
        return android::hardware::Void();
    }
    std::mutex lock;
    std::vector<uint8_t> bytes;  // GUARDED_BY(lock)
};

// The image stays what the imager sees when the hardware manager (and its adapter) restarts.
TEST_F(SimLive, FramesShowAnUploadedImageScaledToTheCallersGeometry) {
    const std::string pgm = std::string("P5\n2 1\n255\n") + '\0' + '\xff';
    ASSERT_EQ(Post("/api/imager/frames", pgm, "image/x-portable-graymap")->body,
              R"({"height":1,"ok":true,"width":2})");
    ASSERT_EQ(Post("/api/services/hardware_manager/restart", "")->status, 200);
    auto* adapter = static_cast<FakeImagerAdapter*>(device->device().imager()->Adapter().get());
    android::sp<FirstFrame> caller = new FirstFrame;
    adapter->RegisterFrameCallback(caller);
    adapter->Init("test", {4, 2, 8, false, false});
    adapter->StartStreaming();
    ASSERT_TRUE(adapter->WaitForFrames(adapter->FramesDelivered() + 1));
    adapter->StopStreaming();
    adapter->Deinit();
    std::lock_guard<std::mutex> hold(caller->lock);
    EXPECT_EQ(caller->bytes, std::vector<uint8_t>({0, 0, 255, 255, 0, 0, 255, 255}));
    httplib::Client client("127.0.0.1", server->port());
    EXPECT_EQ(json::parse(client.Get("/api/state")->body)["imager"]["source"], "image");
    EXPECT_EQ(client.Delete("/api/imager/frames")->status, 200);
}

}  // namespace
}  // namespace sim
}  // namespace orvex
