#include "ToolRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

extern char** environ;

namespace quillon::test {

namespace fs = std::filesystem;

ToolResult RunQuillon(const std::vector<std::string>& args, const std::vector<uint8_t>& stdinData,
                      size_t chunkSize) {
    int inPipe[2];
    int outPipe[2];
    int errPipe[2];
    if (pipe(inPipe) != 0 || pipe(outPipe) != 0 || pipe(errPipe) != 0) {
        throw std::runtime_error("pipe failed");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inPipe[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errPipe[1], STDERR_FILENO);
    for (int fd : {inPipe[0], inPipe[1], outPipe[0], outPipe[1], errPipe[0], errPipe[1]}) {
        posix_spawn_file_actions_addclose(&actions, fd);
    }
    std::vector<std::string> argvStore;
    argvStore.push_back(QUILLON_EXE);
    argvStore.insert(argvStore.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : argvStore) {
        argv.push_back(a.data());
    }
    argv.push_back(nullptr);
    // Sanitizer builds: the leak checker ignores third-party leaks listed here.
    std::vector<std::string> envStore;
    for (char** e = environ; *e != nullptr; ++e) {
        if (std::string(*e).rfind("LSAN_OPTIONS=", 0) != 0) {
            envStore.emplace_back(*e);
        }
    }
    const char* lsan = std::getenv("LSAN_OPTIONS");
    envStore.push_back(std::string("LSAN_OPTIONS=") +
                       (lsan != nullptr ? std::string(lsan) + ":" : "") +
                       "print_suppressions=0:suppressions=" + QUILLON_LSAN_SUPPRESSIONS);
    std::vector<char*> envp;
    for (auto& e : envStore) {
        envp.push_back(e.data());
    }
    envp.push_back(nullptr);
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, QUILLON_EXE, &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(inPipe[0]);
    close(outPipe[1]);
    close(errPipe[1]);
    if (rc != 0) {
        close(inPipe[1]);
        close(outPipe[0]);
        close(errPipe[0]);
        throw std::runtime_error("cannot start quillon");
    }
    // The child may stop reading early; a write then fails instead of killing us.
    signal(SIGPIPE, SIG_IGN);
    fcntl(inPipe[1], F_SETFL, O_NONBLOCK);

    ToolResult result;
    size_t written = 0;
    int inFd = inPipe[1];
    if (stdinData.empty()) {
        close(inFd);
        inFd = -1;
    }
    bool outOpen = true;
    bool errOpen = true;
    uint8_t buffer[65536];
    while (outOpen || errOpen) {
        pollfd fds[3];
        nfds_t n = 0;
        int outIdx = -1, errIdx = -1, inIdx = -1;
        if (outOpen) {
            outIdx = static_cast<int>(n);
            fds[n++] = {outPipe[0], POLLIN, 0};
        }
        if (errOpen) {
            errIdx = static_cast<int>(n);
            fds[n++] = {errPipe[0], POLLIN, 0};
        }
        if (inFd >= 0) {
            inIdx = static_cast<int>(n);
            fds[n++] = {inFd, POLLOUT, 0};
        }
        if (poll(fds, n, -1) < 0) {
            if (errno == EINTR) {
                continue;
            }
            break;
        }
        if (inIdx >= 0 && fds[inIdx].revents) {
            const size_t size = std::min(chunkSize, stdinData.size() - written);
            const ssize_t w = write(inFd, stdinData.data() + written, size);
            if (w > 0) {
                written += static_cast<size_t>(w);
            }
            if (w < 0 && errno != EAGAIN) {
                written = stdinData.size();
            }
            if (written >= stdinData.size()) {
                close(inFd);
                inFd = -1;
            }
        }
        if (outIdx >= 0 && fds[outIdx].revents) {
            const ssize_t r = read(outPipe[0], buffer, sizeof buffer);
            if (r > 0) {
                result.out.insert(result.out.end(), buffer, buffer + r);
            } else {
                outOpen = false;
            }
        }
        if (errIdx >= 0 && fds[errIdx].revents) {
            const ssize_t r = read(errPipe[0], buffer, sizeof buffer);
            if (r > 0) {
                result.err.append(reinterpret_cast<char*>(buffer), static_cast<size_t>(r));
            } else {
                errOpen = false;
            }
        }
    }
    if (inFd >= 0) {
        close(inFd);
    }
    close(outPipe[0]);
    close(errPipe[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

TempDir::TempDir() {
    std::string pattern = (fs::temp_directory_path() / "quillon-cli-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("mkdtemp failed");
    }
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ec;
    fs::remove_all(path_, ec);
}

std::vector<std::string> TempDir::HiddenFiles() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path_)) {
        const std::string name = entry.path().filename().string();
        if (!name.empty() && name[0] == '.') {
            names.push_back(name);
        }
    }
    return names;
}

std::string Asset(const std::string& name) {
    return (fs::path(QUILLON_TEST_ASSETS) / "photos" / name).string();
}

}  // namespace quillon::test
