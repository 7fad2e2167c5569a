// Runs the built quillon executable and other command-line programs.
#ifndef QUILLON_TESTS_CLI_TOOLRUNNER_H
#define QUILLON_TESTS_CLI_TOOLRUNNER_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace quillon::test {

struct ToolResult {
    int exitCode = -1;
    std::vector<uint8_t> out;
    std::string err;
    std::string outText() const { return std::string(out.begin(), out.end()); }
};

// Runs quillon with args. stdinData is written in chunks of chunkSize bytes
// (a producer like ffmpeg's rawvideo writer), then standard input is closed.
// shellPrefix goes before the command in the shell line ("ulimit -f 100; ",
// "exec timeout -s TERM 2 ").
ToolResult RunQuillon(const std::vector<std::string>& args,
                      const std::vector<uint8_t>& stdinData = {}, size_t chunkSize = 65536,
                      const std::string& shellPrefix = "");

// Runs a program (ffmpeg, ffprobe) and returns its standard output.
std::string RunProgram(const std::vector<std::string>& command);

// A fresh folder under the system's temporary folder, removed on destruction.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& path() const { return path_; }
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }
    // Names of entries starting with '.', i.e. leftover temporaries.
    std::vector<std::string> HiddenFiles() const;

private:
    std::filesystem::path path_;
};

std::string Asset(const std::string& name);

}  // namespace quillon::test

#endif  // QUILLON_TESTS_CLI_TOOLRUNNER_H
