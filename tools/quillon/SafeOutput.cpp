#include "SafeOutput.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

#include "Errors.h"

namespace fs = std::filesystem;

namespace quillon {

namespace {

// Temporaries not yet committed; writers on several threads share the list.
std::mutex& PendingMutex() {
    static std::mutex mutex;
    return mutex;
}

std::vector<std::string>& Pending() {
    static std::vector<std::string> pending;
    return pending;
}

void Remember(const std::string& path) {
    const std::lock_guard lock(PendingMutex());
    Pending().push_back(path);
}

void Forget(const std::string& path) {
    const std::lock_guard lock(PendingMutex());
    auto& pending = Pending();
    pending.erase(std::remove(pending.begin(), pending.end(), path), pending.end());
}

}  // namespace

void CheckDestination(const fs::path& input, const fs::path& output, bool force) {
    std::error_code ec;
    if (!fs::exists(output, ec)) {
        return;
    }
    if (!input.empty() && fs::exists(input, ec) && fs::equivalent(input, output, ec)) {
        throw QuillonError(ExitCode::OutputRefused,
                           "refusing to overwrite the input '" + input.string() + "'");
    }
    if (fs::is_directory(output, ec)) {
        throw QuillonError(ExitCode::OutputRefused,
                           "output '" + output.string() + "' is a directory");
    }
    if (!force) {
        throw QuillonError(
            ExitCode::OutputRefused,
            "output '" + output.string() + "' already exists (use --force or -y to replace it)");
    }
}

SafeOutput::SafeOutput(fs::path destination) : destination_(std::move(destination)) {
    static std::atomic<unsigned> serial{0};
    fs::path folder = destination_.parent_path();
    if (folder.empty()) {
        folder = ".";
    }
    std::error_code ec;
    if (!fs::is_directory(folder, ec)) {
        // A missing folder is made, with its parents.
        fs::create_directories(folder, ec);
        if (ec || !fs::is_directory(folder, ec)) {
            throw QuillonError(ExitCode::OutputFailed,
                               "cannot create the output folder '" + folder.string() +
                                   "': " + (ec ? ec.message() : "not a folder"));
        }
    }
    const std::string name = "." + destination_.stem().string() + ".quillon-" +
                             std::to_string(::getpid()) + "-" + std::to_string(serial++) +
                             destination_.extension().string();
    temporary_ = folder / name;
    Remember(temporary_.string());
}

SafeOutput::~SafeOutput() {
    if (!committed_) {
        std::error_code ec;
        fs::remove(temporary_, ec);
        Forget(temporary_.string());
    }
}

void SafeOutput::Commit() {
    std::error_code ec;
    fs::rename(temporary_, destination_, ec);
    if (ec) {
        throw QuillonError(ExitCode::OutputFailed, "cannot rename the finished output to '" +
                                                       destination_.string() +
                                                       "': " + ec.message());
    }
    committed_ = true;
    Forget(temporary_.string());
}

void RemoveAllTemporaries() {
    // No lock: this runs on the way out of the process, possibly while
    // another thread holds it.
    for (const std::string& path : Pending()) {
        ::unlink(path.c_str());
    }
    Pending().clear();
}

}  // namespace quillon
