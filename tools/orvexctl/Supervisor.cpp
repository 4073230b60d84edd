#include "Supervisor.h"

#include <ctype.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <fstream>

namespace orvexctl {

namespace {

std::string g_logPath;
std::atomic<pid_t> g_child{0};
std::string g_progress;
bool g_progressShown = false;

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

std::vector<std::string> Words(const std::string& text) {
    std::vector<std::string> words;
    std::string word;
    for (char c : text + " ") {
        if (isalnum(static_cast<unsigned char>(c))) {
            word += c;
        } else if (!word.empty()) {
            words.push_back(word);
            word.clear();
        }
    }
    return words;
}

// Whether an error line was written for the assertion that follows it: it comes from the
// asserting class ("[ConfigInfo::..." for .../ConfigInfo) and shares three words in a row with
// the description. An earlier, unrelated error of the same class must not be shown as the cause.
bool BelongsTo(const std::string& error, const std::string& description, const std::string& source) {
    const std::string cls = source.substr(source.rfind('/') + 1);
    if (error.rfind("[" + cls + "::", 0) != 0) return false;
    const std::vector<std::string> e = Words(error), d = Words(description);
    for (size_t i = 0; i + 2 < d.size(); ++i) {
        for (size_t j = 0; j + 2 < e.size(); ++j) {
            if (e[j] == d[i] && e[j + 1] == d[i + 1] && e[j + 2] == d[i + 2]) return true;
        }
    }
    return false;
}

void FindAssertion(ChildOutcome& outcome) {
    const std::string kTag = "####ASSERTION#####";
    for (size_t i = 0; i < outcome.log.size(); ++i) {
        const LogRecord& r = outcome.log[i];
        if (r.priority == 7 && r.tag != kTag && outcome.fatalLine.empty()) {
            outcome.fatalLine = r.message;
            while (!outcome.fatalLine.empty() && outcome.fatalLine.back() == '\n') {
                outcome.fatalLine.pop_back();
            }
        }
        if (r.tag != kTag || r.message.rfind("ERROR DESCRIPTION: ", 0) != 0) continue;
        outcome.asserted = true;
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
        for (size_t j = i; j-- > 0;) {
            const LogRecord& e = outcome.log[j];
            if (e.priority != 6) continue;
            if (BelongsTo(e.message, outcome.assertDescription, outcome.assertSource)) {
                outcome.lastError = e.message;
                while (!outcome.lastError.empty() && outcome.lastError.back() == '\n') {
                    outcome.lastError.pop_back();
                }
            }
            break;
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

void RemoveSupervisorFiles() {
    if (!g_logPath.empty()) unlink(g_logPath.c_str());
}

void SetProgress(const std::string& label) {
    if (g_progressShown) fprintf(stderr, "\r\033[K");
    g_progressShown = false;
    g_progress = label;
}

void KillRunningChild() {
    const pid_t pid = g_child;
    if (pid <= 0) return;
    kill(pid, SIGKILL);
    int status;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
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
    PauseSignalThread();
    pid_t pid = fork();
    if (pid != 0) ResumeSignalThread();
    if (pid == 0) {
        // The tool's own process takes Ctrl-C on a thread of its own; the child must not keep
        // that mask.
        sigset_t none;
        sigemptyset(&none);
        pthread_sigmask(SIG_SETMASK, &none, nullptr);
        dup2(pipeFds[1], STDOUT_FILENO);
        close(pipeFds[0]);
        int rc = body();
        fflush(stdout);
        // Skip the library's static destructors: the child only reports.
        _exit(rc);
    }
    g_child = pid;
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
        if (!g_progress.empty() && !g_progressShown && now.tv_sec - start.tv_sec >= 1 &&
            isatty(STDERR_FILENO)) {
            fprintf(stderr, "\r\033[K%s ...", g_progress.c_str());
            g_progressShown = true;
        }
        if (!outcome.timedOut && now.tv_sec - start.tv_sec >= timeoutSeconds) {
            kill(pid, SIGKILL);
            outcome.timedOut = true;
        }
    }
    close(pipeFds[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    g_child = 0;
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
