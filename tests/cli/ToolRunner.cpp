#include "ToolRunner.h"

#include <signal.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace quillon::test {

namespace fs = std::filesystem;

namespace {

std::string Slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string Quote(const std::string& s) {
    std::string q = "'";
    for (char c : s) {
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return q + "'";
}

}  // namespace

ToolResult RunQuillon(const std::vector<std::string>& args, const std::vector<uint8_t>& stdinData,
                      size_t chunkSize, const std::string& shellPrefix) {
    // Sanitizer builds: the leak checker ignores third-party leaks listed here.
    const char* lsan = std::getenv("LSAN_OPTIONS");
    const std::string lsanValue = (lsan != nullptr ? std::string(lsan) + ":" : "") +
                                  "print_suppressions=0:suppressions=" + QUILLON_LSAN_SUPPRESSIONS;
    setenv("LSAN_OPTIONS", lsanValue.c_str(), 1);
    signal(SIGPIPE, SIG_IGN);  // the child may stop reading early

    // Output goes to files, so the child never waits for us while we feed it.
    const TempDir streams;
    std::string command = shellPrefix + Quote(QUILLON_EXE);
    for (const std::string& a : args) {
        command += " " + Quote(a);
    }
    command += " >" + Quote(streams / "out") + " 2>" + Quote(streams / "err");
    FILE* in = popen(command.c_str(), "w");
    if (in == nullptr) {
        throw std::runtime_error("cannot start quillon");
    }
    setvbuf(in, nullptr, _IONBF, 0);  // every chunk is one write
    for (size_t written = 0; written < stdinData.size(); written += chunkSize) {
        const size_t n = std::min(chunkSize, stdinData.size() - written);
        if (std::fwrite(stdinData.data() + written, 1, n, in) != n) {
            break;
        }
    }
    const int status = pclose(in);
    ToolResult result;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    const std::string out = Slurp(streams / "out");
    result.out.assign(out.begin(), out.end());
    result.err = Slurp(streams / "err");
    return result;
}

std::string RunProgram(const std::vector<std::string>& command) {
    std::string line;
    for (const std::string& a : command) {
        line += Quote(a) + " ";
    }
    FILE* p = popen(line.c_str(), "r");
    std::string out;
    char buffer[4096];
    for (size_t n; p != nullptr && (n = std::fread(buffer, 1, sizeof buffer, p)) > 0;) {
        out.append(buffer, n);
    }
    if (p == nullptr || pclose(p) != 0) {
        throw std::runtime_error("failed: " + line);
    }
    return out;
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
        if (name[0] == '.') {
            names.push_back(name);
        }
    }
    return names;
}

std::string Asset(const std::string& name) {
    return (fs::path(QUILLON_TEST_ASSETS) / "photos" / name).string();
}

}  // namespace quillon::test
