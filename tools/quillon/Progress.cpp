#include "Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>

namespace quillon {

namespace {

std::string FormatDuration(double seconds) {
    if (!std::isfinite(seconds) || seconds < 0) {
        return "--:--";
    }
    const auto total = static_cast<int64_t>(seconds + 0.5);
    char text[32];
    if (total >= 3600) {
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", static_cast<long long>(total / 3600),
                      static_cast<long long>(total / 60 % 60), static_cast<long long>(total % 60));
    } else {
        std::snprintf(text, sizeof text, "%02lld:%02lld", static_cast<long long>(total / 60),
                      static_cast<long long>(total % 60));
    }
    return text;
}

}  // namespace

Progress::Progress(int64_t total, bool enabled, std::FILE* stream)
    : total_(total),
      enabled_(enabled),
      stream_(stream),
      start_(std::chrono::steady_clock::now()),
      lastDraw_(start_) {}

Progress::~Progress() {
    Finish();
}

bool Progress::StderrIsTerminal() {
    return ::isatty(STDERR_FILENO) == 1;
}

std::string Progress::Render(int64_t done, int64_t total, double seconds, int barWidth) {
    const double fps = seconds > 0 ? static_cast<double>(done) / seconds : 0.0;
    char rate[32];
    std::snprintf(rate, sizeof rate, "%.2f fps", fps);
    std::string line;
    if (total > 0) {
        const double fraction =
            std::clamp(static_cast<double>(done) / static_cast<double>(total), 0.0, 1.0);
        const int filled = static_cast<int>(fraction * barWidth);
        line = "[" + std::string(static_cast<size_t>(filled), '#') +
               std::string(static_cast<size_t>(barWidth - filled), '.') + "] ";
        line += std::to_string(done) + "/" + std::to_string(total) + " frames  " + rate;
        const double left = fps > 0 ? static_cast<double>(total - done) / fps : -1.0;
        line += "  " + FormatDuration(left) + " left";
    } else {
        line =
            std::to_string(done) + " frames  " + rate + "  " + FormatDuration(seconds) + " elapsed";
    }
    return line;
}

void Progress::Update(int64_t done) {
    if (!enabled_) {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    const bool last = total_ > 0 && done >= total_;
    if (drawn_ && !last && now - lastDraw_ < std::chrono::milliseconds(100)) {
        return;
    }
    lastDraw_ = now;
    const double seconds = std::chrono::duration<double>(now - start_).count();
    std::fprintf(stream_, "\r%s\x1b[K", Render(done, total_, seconds).c_str());
    std::fflush(stream_);
    drawn_ = true;
}

void Progress::Finish() {
    if (enabled_ && drawn_) {
        std::fputc('\n', stream_);
        std::fflush(stream_);
    }
    drawn_ = false;
    enabled_ = false;
}

}  // namespace quillon
