// The virtual handheld's page and JSON API over HTTP on loopback (API.md describes them): a
// thin layer that checks each request and hands it to the LiveDevice.
//
// Threads: Start binds on the caller's thread and serves on a thread of its own
// ("orvex-sim-http") with a pool of workers; each event stream keeps one worker until it ends.
// Stop ends the streams, the server and its threads; the destructor stops.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <thread>

namespace httplib {
class Server;
}

namespace orvex {
namespace sim {

class LiveDevice;

class ApiServer {
  public:
    // Request bodies larger than this are refused with 413.
    static constexpr size_t kMaxBody = 16u << 20;
    // Event streams open at once; one more is refused with 503.
    static constexpr int kMaxStreams = 8;

    // `webDir`: the page's files; empty or missing serves no page.
    ApiServer(LiveDevice& device, std::string webDir);
    ~ApiServer();
    ApiServer(const ApiServer&) = delete;
    ApiServer& operator=(const ApiServer&) = delete;

    // Binds 127.0.0.1:`port` (0: any free port) and starts serving; false with `error` set when
    // the port cannot be bound.
    bool Start(int port, std::string* error);
    void Stop();

    int port() const { return mPort; }
    // "http://127.0.0.1:PORT/".
    std::string url() const;

  private:
    void Route();

    LiveDevice& mDevice;
    const std::string mWebDir;
    std::unique_ptr<httplib::Server> mServer;
    std::thread mThread;
    int mPort = 0;
    std::atomic<int> mStreams{0};
};

}  // namespace sim
}  // namespace orvex
