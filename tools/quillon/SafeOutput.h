// Output files are written under a temporary name beside the destination and
// renamed to the final name only when complete, so a failed or interrupted
// run never leaves a half-written file under the final name.
#ifndef QUILLON_TOOLS_QUILLON_SAFEOUTPUT_H
#define QUILLON_TOOLS_QUILLON_SAFEOUTPUT_H

#include <filesystem>

namespace quillon {

// Refuses (QuillonError OutputRefused) when output names the same file as
// input, or when output exists and force is false.
void CheckDestination(const std::filesystem::path& input, const std::filesystem::path& output,
                      bool force);

class SafeOutput {
public:
    // Picks a temporary name in the destination's folder that keeps the
    // destination's extension (writers choose their format by it). A missing
    // folder is created with its parents; throws OutputFailed when it cannot be.
    explicit SafeOutput(std::filesystem::path destination);
    ~SafeOutput();  // removes the temporary file unless committed
    SafeOutput(const SafeOutput&) = delete;
    SafeOutput& operator=(const SafeOutput&) = delete;

    const std::filesystem::path& temporary() const { return temporary_; }
    const std::filesystem::path& destination() const { return destination_; }

    // Renames the temporary file to the destination. Throws OutputFailed.
    void Commit();

private:
    std::filesystem::path destination_;
    std::filesystem::path temporary_;
    bool committed_ = false;
};

// Removes every temporary file not yet committed. For paths that end the
// process without unwinding (an engine allocation failure).
void RemoveAllTemporaries();

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_SAFEOUTPUT_H
