#include "ToolRunner.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

extern char** environ;

namespace quillon::test {

namespace fs = std::filesystem;

namespace {

std::string Slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace

ToolResult RunQuillon(const std::vector<std::string>& args, const std::vector<uint8_t>& stdinData,
                      size_t chunkSize) {
    // Sanitizer builds: the leak checker ignores third-party leaks listed here.
    static const bool lsanSet = [] {
        const char* lsan = std::getenv("LSAN_OPTIONS");
        const std::string value = (lsan != nullptr ? std::string(lsan) + ":" : "") +
                                  "print_suppressions=0:suppressions=" + QUILLON_LSAN_SUPPRESSIONS;
        return setenv("LSAN_OPTIONS", value.c_str(), 1) == 0;
    }();
    (void)lsanSet;
    // The child may stop reading early; a write then fails instead of killing us.
    signal(SIGPIPE, SIG_IGN);

    // Output goes to files, so the child never waits for us while we feed it.
    const TempDir streams;
    const std::string outPath = streams / "out";
    const std::string errPath = streams / "err";
    int inPipe[2];
    if (pipe(inPipe) != 0) {
        throw std::runtime_error("pipe failed");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inPipe[0], STDIN_FILENO);
    posix_spawn_file_actions_addclose(&actions, inPipe[0]);
    posix_spawn_file_actions_addclose(&actions, inPipe[1]);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<std::string> argvStore = {QUILLON_EXE};
    argvStore.insert(argvStore.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : argvStore) {
        argv.push_back(a.data());
    }
    argv.push_back(nullptr);
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, QUILLON_EXE, &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(inPipe[0]);
    if (rc != 0) {
        close(inPipe[1]);
        throw std::runtime_error("cannot start quillon");
    }
    // Chunks the size an ffmpeg-like producer writes; stop when the child quits.
    for (size_t written = 0; written < stdinData.size();) {
        const ssize_t w = write(inPipe[1], stdinData.data() + written,
                                std::min(chunkSize, stdinData.size() - written));
        if (w < 0 && errno != EINTR) {
            break;
        }
        written += w > 0 ? static_cast<size_t>(w) : 0;
    }
    close(inPipe[1]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    ToolResult result;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    const std::string out = Slurp(outPath);
    result.out.assign(out.begin(), out.end());
    result.err = Slurp(errPath);
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
