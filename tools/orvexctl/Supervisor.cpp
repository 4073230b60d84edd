#include "Supervisor.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <fstream>

namespace orvexctl {

namespace {

std::string g_logPath;

std::vector<LogRecord> ReadLog(off_t from) {
    std::vector<LogRecord> records;
    std::ifstream in(g_logPath, std::ios::binary);
    in.seekg(from);
    std::string line;
    LogRecord record;
    while (std::getline(in, line)) {
        if (orvex::hostlog::ParseFileRecord(line, &record)) records.push_back(record);
    }
    return records;
}

off_t LogSize() {
    struct stat st;
    return stat(g_logPath.c_str(), &st) == 0 ? st.st_size : 0;
}

void FindAssertion(ChildOutcome& outcome) {
    const std::string kTag = "####ASSERTION#####";
    for (size_t i = 0; i < outcome.log.size(); ++i) {
        const LogRecord& r = outcome.log[i];
        if (r.tag != kTag || r.message.rfind("ERROR DESCRIPTION: ", 0) != 0) continue;
        outcome.asserted = true;
        // The site's own error line, when it wrote one, comes right before the block.
        if (i >= 2 && outcome.log[i - 2].tag == "ScannerFramework" &&
            outcome.log[i - 2].priority == 6) {
            outcome.lastError = outcome.log[i - 2].message;
        }
        outcome.assertDescription = r.message.substr(strlen("ERROR DESCRIPTION: "));
        if (i + 1 < outcome.log.size() && outcome.log[i + 1].tag == kTag) {
            // "ASSERTING AT %s:%d \n"
            std::string at = outcome.log[i + 1].message;
            if (at.rfind("ASSERTING AT ", 0) == 0) at = at.substr(13);
            while (!at.empty() && (at.back() == '\n' || at.back() == ' ')) at.pop_back();
            size_t colon = at.rfind(':');
            if (colon != std::string::npos) {
                outcome.assertSource = at.substr(0, colon);
                outcome.assertLine = atoi(at.c_str() + colon + 1);
            }
        }
        return;
    }
}

}  // namespace

void InitSupervisor() {
    const char* base = getenv("TMPDIR");
    std::string tmpl = std::string(base && *base ? base : "/tmp") + "/orvexctl-log-XXXXXX";
    std::vector<char> buf(tmpl.begin(), tmpl.end());
    buf.push_back('\0');
    int fd = mkstemp(buf.data());
    if (fd >= 0) close(fd);
    g_logPath = buf.data();
    setenv("ORVEX_LOG", g_logPath.c_str(), 1);
    static pid_t owner = getpid();
    atexit([] {
        if (getpid() == owner) unlink(g_logPath.c_str());
    });
}

std::vector<LogRecord> AllLogRecords() { return ReadLog(0); }

ChildOutcome RunInChild(const std::function<int()>& body, int timeoutSeconds) {
    ChildOutcome outcome;
    const off_t logStart = LogSize();
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) {
        outcome.output = std::string("pipe: ") + strerror(errno);
        return outcome;
    }
    fflush(stdout);
    fflush(stderr);
    pid_t pid = fork();
    if (pid == 0) {
        dup2(pipeFds[1], STDOUT_FILENO);
        close(pipeFds[0]);
        int rc = body();
        fflush(stdout);
        // Skip the library's static destructors: the child only reports.
        _exit(rc);
    }
    close(pipeFds[1]);
    struct timespec start;
    clock_gettime(CLOCK_MONOTONIC, &start);
    bool open = true;
    while (open) {
        struct pollfd p = {pipeFds[0], POLLIN, 0};
        int ready = poll(&p, 1, 200);
        if (ready > 0) {
            char buf[4096];
            ssize_t n = read(pipeFds[0], buf, sizeof buf);
            if (n > 0) {
                outcome.output.append(buf, static_cast<size_t>(n));
            } else if (n == 0 || errno != EINTR) {
                open = false;
            }
        }
        struct timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        if (!outcome.timedOut && now.tv_sec - start.tv_sec >= timeoutSeconds) {
            kill(pid, SIGKILL);
            outcome.timedOut = true;
        }
    }
    close(pipeFds[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status)) {
        outcome.exited = true;
        outcome.exitCode = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        outcome.signal = WTERMSIG(status);
    }
    outcome.log = ReadLog(logStart);
    FindAssertion(outcome);
    return outcome;
}

}  // namespace orvexctl
