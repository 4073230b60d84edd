#include "ApiServer.h"

#include <httplib.h>
#include <pthread.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "LiveDevice.h"

namespace orvex {
namespace sim {

using json = nlohmann::json;

namespace {

// A stream without events writes a comment this often. Writing is how a reader that went away
// (a reloaded page) is noticed: the write after its socket closed fails, and its slot, one of
// kMaxStreams, is free again within two of these.
constexpr auto kKeepAlive = std::chrono::seconds(1);
constexpr const char* kEndpoints =
    "GET /api/state, GET /api/events, POST /api/trigger, POST /api/services/NAME/kill|restart, "
    "POST /api/serial/plug|unplug|data, POST|DELETE /api/imager/frames";

// Texts from outside (a path, a header, a thread's name) need not be UTF-8: such bytes are
// replaced rather than failing the answer.
std::string Dump(const json& value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

void Answer(httplib::Response& res, int status, const json& body) {
    res.status = status;
    res.set_content(Dump(body), "application/json");
}

void Refuse(httplib::Response& res, int status, const std::string& message) {
    Answer(res, status, json{{"error", message}});
}

void Answer(httplib::Response& res, const LiveDevice::Result& result) {
    Answer(res, result.status, result.body);
}

std::string CallEvent(const EventHub::Call& call) {
    const json data = {{"seq", call.seq},         {"time_ms", call.ms},
                       {"thread", call.thread},   {"tid", call.tid},
                       {"service", call.service}, {"method", call.method},
                       {"args", call.args}};
    return "event: call\nid: " + std::to_string(call.seq) + "\ndata: " + Dump(data) + "\n\n";
}

// Where a reader resumes: Last-Event-ID (sent by a reconnecting EventSource) or ?since=N;
// 0, the start of the history, otherwise. False when one is given but is not a number.
bool ResumePoint(const httplib::Request& req, uint64_t* after) {
    std::string text = req.has_header("Last-Event-ID") ? req.get_header_value("Last-Event-ID")
                                                       : req.get_param_value("since");
    *after = 0;
    if (text.empty()) return true;
    if (text.find_first_not_of("0123456789") != std::string::npos || text.size() > 19) {
        return false;
    }
    *after = std::stoull(text);
    return true;
}

// An endpoint that takes no body. `curl -XPOST URL` sends neither a body nor its length, which
// the server would otherwise read as a body that lasts until the connection closes (and refuse
// once its read times out); a body that is sent is read and ignored.
httplib::Server::HandlerWithContentReader WithoutBody(httplib::Server::Handler handle) {
    return [handle](const httplib::Request& req, httplib::Response& res,
                    const httplib::ContentReader& read) {
        if ((req.has_header("Content-Length") || req.has_header("Transfer-Encoding")) &&
            !read([](const char*, size_t) { return true; })) {
            const int status = res.status == 413 ? 413 : 400;
            Refuse(res, status,
                   "the body cannot be read (at most 16 MiB); this endpoint takes none");
            return;
        }
        handle(req, res);
    };
}

}  // namespace

ApiServer::ApiServer(LiveDevice& device, std::string webDir)
    : mDevice(device), mWebDir(std::move(webDir)), mServer(new httplib::Server) {}

ApiServer::~ApiServer() { Stop(); }

std::string ApiServer::url() const { return "http://127.0.0.1:" + std::to_string(mPort) + "/"; }

bool ApiServer::Start(int port, std::string* error) {
    Route();
    if (port == 0) {
        mPort = mServer->bind_to_any_port("127.0.0.1");
    } else {
        mPort = mServer->bind_to_port("127.0.0.1", port) ? port : -1;
    }
    if (mPort <= 0) {
        *error = "cannot listen on 127.0.0.1:" + std::to_string(port) + ": " + strerror(errno);
        mPort = 0;
        return false;
    }
    mThread = std::thread([this] {
        pthread_setname_np(pthread_self(), "orvex-sim-http");
        mServer->listen_after_bind();
    });
    return true;
}

void ApiServer::Stop() {
    if (!mThread.joinable()) return;
    // Streams end first: each holds a worker that the server's stop waits for.
    mDevice.Stop();
    mServer->stop();
    mThread.join();
}

void ApiServer::Route() {
    httplib::Server& s = *mServer;
    s.new_task_queue = [] { return new httplib::ThreadPool(kMaxStreams + 4); };
    s.set_payload_max_length(kMaxBody);
    s.set_keep_alive_timeout(2);

    // Only pages served from this address may drive the device: a page of another site, opened
    // in the same browser, must not (cross-site requests carry its Origin; a rebound DNS name
    // carries its Host).
    s.set_pre_routing_handler([this](const httplib::Request& req, httplib::Response& res) {
        const std::string port = std::to_string(mPort);
        const std::string host = req.get_header_value("Host");
        if (host != "127.0.0.1:" + port && host != "localhost:" + port) {
            Refuse(res, 403,
                   "Host \"" + host + "\" is not this device's address; use http://127.0.0.1:" +
                       port + "/");
            return httplib::Server::HandlerResponse::Handled;
        }
        if (req.has_header("Origin")) {
            const std::string origin = req.get_header_value("Origin");
            if (origin != "http://127.0.0.1:" + port && origin != "http://localhost:" + port) {
                Refuse(res, 403,
                       "requests from pages of " + origin +
                           " are refused; only the device's own page at http://127.0.0.1:" +
                           port + "/ may drive it");
                return httplib::Server::HandlerResponse::Handled;
            }
        }
        return httplib::Server::HandlerResponse::Unhandled;
    });

    s.set_error_handler(httplib::Server::HandlerWithResponse([](const httplib::Request& req,
                                                                httplib::Response& res) {
        if (!res.body.empty()) return httplib::Server::HandlerResponse::Unhandled;
        if (res.status == 413) {
            Refuse(res, 413, "the body is larger than 16 MiB; send a smaller one");
        } else if (res.status == 404) {
            Refuse(res, 404, "nothing at " + req.method + " " + req.path + "; the API is " +
                                 kEndpoints);
        } else {
            Refuse(res, res.status, "the request cannot be read; the API is " +
                                        std::string(kEndpoints));
        }
        return httplib::Server::HandlerResponse::Handled;
    }));

    s.Get("/api/state", [this](const httplib::Request&, httplib::Response& res) {
        Answer(res, 200, mDevice.State());
    });

    s.Get("/api/events", [this](const httplib::Request& req, httplib::Response& res) {
        uint64_t after = 0;
        if (!ResumePoint(req, &after)) {
            Refuse(res, 400, "Last-Event-ID or since must be the seq of a call event, a number");
            return;
        }
        if (++mStreams > kMaxStreams) {
            --mStreams;
            Refuse(res, 503, "too many event streams are open; close one and connect again");
            return;
        }
        res.set_header("Cache-Control", "no-cache");
        struct Cursor {
            uint64_t after;
            uint64_t stateVersion = 0;
        };
        auto cursor = std::make_shared<Cursor>(Cursor{after});
        res.set_chunked_content_provider(
            "text/event-stream",
            [this, cursor](size_t, httplib::DataSink& sink) {
                EventHub::Batch batch = mDevice.events().Wait(
                    cursor->after, cursor->stateVersion,
                    std::chrono::duration_cast<std::chrono::milliseconds>(kKeepAlive));
                if (batch.stopped) return false;
                std::string out;
                if (batch.gapTo != 0) {
                    out += "event: gap\ndata: " +
                           Dump(json{{"from", batch.gapFrom}, {"to", batch.gapTo}}) + "\n\n";
                }
                const std::string state =
                    batch.state.empty() ? "" : "event: state\ndata: " + batch.state + "\n\n";
                for (size_t i = 0; i <= batch.calls.size(); ++i) {
                    if (i == batch.callsBeforeState) out += state;
                    if (i < batch.calls.size()) out += CallEvent(batch.calls[i]);
                }
                if (!batch.state.empty()) cursor->stateVersion = batch.stateVersion;
                if (!batch.calls.empty()) cursor->after = batch.calls.back().seq;
                if (batch.gapTo > cursor->after) cursor->after = batch.gapTo;
                if (out.empty()) out = ": keep-alive\n\n";
                return sink.write(out.data(), out.size());
            },
            [this](bool) { --mStreams; });
    });

    s.Post("/api/trigger", [this](const httplib::Request& req, httplib::Response& res) {
        const json body = req.body.empty() ? json::object() : json::parse(req.body, nullptr, false);
        if (body.is_discarded() || !body.is_object()) {
            Refuse(res, 400,
                   "the body is not a JSON object; send {\"action\":\"press\"|\"release\","
                   "\"key\":N}");
            return;
        }
        if (!body.contains("action") || !body["action"].is_string()) {
            Refuse(res, 400, "no action; send {\"action\":\"press\"} or {\"action\":\"release\"}");
            return;
        }
        std::optional<int64_t> key;
        if (body.contains("key") && !body["key"].is_null()) {
            if (!body["key"].is_number_integer()) {
                Refuse(res, 400, "key must be a number, a scan code from trigger.keys in "
                                 "GET /api/state; leave it out for the main trigger");
                return;
            }
            key = body["key"].get<int64_t>();
        }
        Answer(res, mDevice.Trigger(body["action"].get<std::string>(), key));
    });

    s.Post(R"(/api/services/([^/]+)/(kill|restart))",
           WithoutBody([this](const httplib::Request& req, httplib::Response& res) {
               const std::string name = req.matches[1];
               Answer(res, req.matches[2] == "kill" ? mDevice.Kill(name) : mDevice.Restart(name));
           }));

    s.Post(R"(/api/serial/(plug|unplug))",
           WithoutBody([this](const httplib::Request& req, httplib::Response& res) {
               Answer(res, mDevice.Plug(req.matches[1] == "plug"));
           }));

    s.Post("/api/serial/data", [this](const httplib::Request& req, httplib::Response& res) {
        const std::string type = req.get_header_value("Content-Type");
        if (type.rfind("application/json", 0) != 0) {
            Answer(res, mDevice.SerialData(req.body));
            return;
        }
        const json body = json::parse(req.body, nullptr, false);
        if (body.is_discarded() || !body.is_object() || !body.contains("text") ||
            !body["text"].is_string()) {
            Refuse(res, 400,
                   "a JSON body must be {\"text\":\"...\"}; or send the bytes as they are with "
                   "Content-Type application/octet-stream");
            return;
        }
        Answer(res, mDevice.SerialData(body["text"].get<std::string>()));
    });

    s.Post("/api/imager/frames", [this](const httplib::Request& req, httplib::Response& res) {
        std::string error;
        std::shared_ptr<FrameImage> image = FrameImage::Decode(req.body, &error);
        if (image == nullptr) {
            Refuse(res, 400, error);
            return;
        }
        Answer(res, mDevice.ShowImage(std::move(image)));
    });
    s.Delete("/api/imager/frames",
             WithoutBody([this](const httplib::Request&, httplib::Response& res) {
                 Answer(res, mDevice.ShowImage(nullptr));
             }));

    // A known endpoint asked with the wrong method.
    auto wrongMethod = [](const char* allowed) {
        return [allowed](const httplib::Request& req, httplib::Response& res) {
            res.set_header("Allow", allowed);
            Refuse(res, 405, req.path + " takes " + allowed + ", not " + req.method);
        };
    };
    s.Post(R"(/api/(state|events))", wrongMethod("GET"));
    s.Get(R"(/api/(trigger|services/[^/]+/(kill|restart)|serial/(plug|unplug|data)))",
          wrongMethod("POST"));
    s.Get("/api/imager/frames", wrongMethod("POST, DELETE"));

    struct stat info;
    if (!mWebDir.empty() && stat(mWebDir.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
        s.set_mount_point("/", mWebDir);
    }
}

}  // namespace sim
}  // namespace orvex
