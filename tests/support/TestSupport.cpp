#include "TestSupport.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace orvex {
namespace test {

std::string PlatformLibraryPath() { return ORVEX_BUILD_DIR "/lib/libplatform.orvex.so"; }
std::string CallerPath() { return ORVEX_BUILD_DIR "/bin/platform_caller"; }

TempDir::TempDir() {
    const char* base = getenv("TMPDIR");
    std::string tmpl = std::string(base && *base ? base : "/tmp") + "/orvex-test-XXXXXX";
    std::vector<char> buf(tmpl.begin(), tmpl.end());
    buf.push_back('\0');
    if (mkdtemp(buf.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = buf.data();
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void MakeDirs(const std::string& hostPath) {
    std::error_code ignored;
    std::filesystem::create_directories(hostPath, ignored);
}

void WriteFile(const std::string& hostPath, const std::string& content) {
    MakeDirs(hostPath.substr(0, hostPath.rfind('/')));
    std::ofstream out(hostPath, std::ios::binary | std::ios::trunc);
    out << content;
}

std::string ReadFile(const std::string& hostPath) {
    std::ifstream in(hostPath, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void DeviceRoot::AddFile(const std::string& devicePath, const std::string& content) const {
    WriteFile(HostPath(devicePath), content);
}

void DeviceRoot::AddDir(const std::string& devicePath) const { MakeDirs(HostPath(devicePath)); }

void DeviceRoot::SetLogLevel(const std::string& level) const {
    AddFile(
        "/enterprise/device/settings/scanner/LogLevel.xml",
        "<?xml version=\"1.0\"?>\n<Settings>\n  <LogLevel>" + level + "</LogLevel>\n</Settings>\n");
}

namespace {

void DrainInto(int fd, std::string& out, bool& open) {
    char buf[4096];
    ssize_t n = read(fd, buf, sizeof buf);
    if (n > 0) {
        out.append(buf, static_cast<size_t>(n));
    } else if (n == 0 || (errno != EINTR && errno != EAGAIN)) {
        open = false;
    }
}

}  // namespace

ProcessResult RunProcess(const std::string& program, const std::string& name,
                         const std::vector<std::string>& args,
                         const std::map<std::string, std::string>& env, int timeoutSeconds) {
    int outPipe[2], errPipe[2];
    if (pipe2(outPipe, O_CLOEXEC) != 0 || pipe2(errPipe, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe failed");
    }
    pid_t pid = fork();
    if (pid == 0) {
        dup2(outPipe[1], STDOUT_FILENO);
        dup2(errPipe[1], STDERR_FILENO);
        for (const auto& kv : env) {
            if (kv.second.empty()) {
                unsetenv(kv.first.c_str());
            } else {
                setenv(kv.first.c_str(), kv.second.c_str(), 1);
            }
        }
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(name.c_str()));
        for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    close(outPipe[1]);
    close(errPipe[1]);

    ProcessResult result;
    bool outOpen = true, errOpen = true;
    struct timespec start;
    clock_gettime(CLOCK_MONOTONIC, &start);
    bool killed = false;
    while (outOpen || errOpen) {
        struct pollfd fds[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
        int ready = poll(fds, 2, 200);
        if (ready > 0) {
            if (outOpen && (fds[0].revents & (POLLIN | POLLHUP | POLLERR))) {
                DrainInto(outPipe[0], result.out, outOpen);
            }
            if (errOpen && (fds[1].revents & (POLLIN | POLLHUP | POLLERR))) {
                DrainInto(errPipe[0], result.err, errOpen);
            }
        }
        struct timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        if (!killed && now.tv_sec - start.tv_sec > timeoutSeconds) {
            kill(pid, SIGKILL);
            killed = true;
        }
    }
    close(outPipe[0]);
    close(errPipe[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.termSignal = WTERMSIG(status);
    return result;
}

CallerRun RunCaller(const DeviceRoot& root, const std::vector<std::string>& args,
                    const std::map<std::string, std::string>& extraEnv) {
    std::string logPath = root.path() + "/caller.log";
    unlink(logPath.c_str());
    std::map<std::string, std::string> env = {{"ORVEX_DEVICE_ROOT", root.path()},
                                              {"ORVEX_LOG", logPath}};
    for (const auto& kv : extraEnv) env[kv.first] = kv.second;
    CallerRun run;
    run.process = RunProcess(CallerPath(), "caller", args, env);
    run.log = ReadLogFile(logPath);
    return run;
}

std::vector<hostlog::Entry> ReadLogFile(const std::string& hostPath) {
    std::vector<hostlog::Entry> entries;
    std::ifstream in(hostPath);
    std::string line;
    hostlog::Entry entry;
    while (std::getline(in, line)) {
        if (hostlog::ParseFileRecord(line, &entry)) entries.push_back(entry);
    }
    return entries;
}

std::vector<hostlog::Entry> FilterTag(const std::vector<hostlog::Entry>& log,
                                      const std::string& tag) {
    std::vector<hostlog::Entry> out;
    for (const auto& e : log) {
        if (e.tag == tag) out.push_back(e);
    }
    return out;
}

std::vector<hostlog::Entry> WithoutRegistrations(const std::vector<hostlog::Entry>& log) {
    std::vector<hostlog::Entry> out;
    for (const auto& e : log) {
        if (e.message.rfind("[ComponentIndex::AddPlatformModule] Adding platform module", 0) != 0) {
            out.push_back(e);
        }
    }
    return out;
}

std::string LiteralRegex(const std::string& text) {
    // gtest uses POSIX extended regular expressions on Linux.
    std::string out;
    for (char c : text) {
        if (strchr("\\^$.|?*+()[]{}", c) != nullptr) out += '\\';
        out += c;
    }
    return out;
}

std::string AssertionRegex(const std::string& description, const std::string& sourcePath,
                           int line) {
    const std::string head = " F ####ASSERTION#####: ";
    return LiteralRegex(head +
                        "This is not my fault, Something else has malfunctioned - Sincerly "
                        "ScanningService\n") +
           ".*" + LiteralRegex(head + "ERROR DESCRIPTION: " + description + "\n") + ".*" +
           LiteralRegex(head + "ASSERTING AT " + sourcePath + ":" + std::to_string(line) + " \n");
}

}  // namespace test
}  // namespace orvex
