#include "SequencePattern.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace quillon {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

std::optional<int64_t> ParseNonNegative(std::string_view text) {
    if (text.empty() || text.size() > 18 || !std::all_of(text.begin(), text.end(), IsDigit)) {
        return std::nullopt;
    }
    int64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

bool LooksLikePattern(std::string_view text) {
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            continue;
        }
        if (i + 1 < text.size() && text[i + 1] == '%') {
            ++i;
            continue;
        }
        return true;
    }
    return false;
}

std::optional<SequencePattern> SequencePattern::Parse(std::string_view text) {
    SequencePattern pattern;
    bool found = false;
    std::string* out = &pattern.prefix_;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c != '%') {
            out->push_back(c);
            continue;
        }
        if (i + 1 < text.size() && text[i + 1] == '%') {
            out->push_back('%');
            ++i;
            continue;
        }
        if (found) {
            return std::nullopt;
        }
        size_t j = i + 1;
        int width = 0;
        if (j < text.size() && text[j] == '0') {
            ++j;
            if (j >= text.size() || !IsDigit(text[j]) || text[j] == '0') {
                return std::nullopt;
            }
            width = text[j] - '0';
            ++j;
        } else if (j < text.size() && IsDigit(text[j])) {
            // "%4d" pads with spaces, which no frame file name uses.
            return std::nullopt;
        }
        if (j >= text.size() || text[j] != 'd') {
            return std::nullopt;
        }
        pattern.width_ = width;
        found = true;
        out = &pattern.suffix_;
        i = j;
    }
    if (!found) {
        return std::nullopt;
    }
    return pattern;
}

std::string SequencePattern::Format(int64_t frame) const {
    std::string digits = std::to_string(frame < 0 ? -frame : frame);
    if (static_cast<int>(digits.size()) < width_) {
        digits.insert(0, static_cast<size_t>(width_) - digits.size(), '0');
    }
    return prefix_ + (frame < 0 ? "-" : "") + digits + suffix_;
}

std::optional<int64_t> SequencePattern::Match(std::string_view path) const {
    if (path.size() < prefix_.size() + suffix_.size() + 1 ||
        path.substr(0, prefix_.size()) != prefix_ ||
        path.substr(path.size() - suffix_.size()) != suffix_) {
        return std::nullopt;
    }
    const std::string_view digits =
        path.substr(prefix_.size(), path.size() - prefix_.size() - suffix_.size());
    if (static_cast<int>(digits.size()) < width_) {
        return std::nullopt;
    }
    // A padded pattern has exactly its width unless the number needs more.
    if (static_cast<int>(digits.size()) > std::max(width_, 1) && digits.front() == '0') {
        return std::nullopt;
    }
    const auto value = ParseNonNegative(digits);
    if (value && Format(*value) != path) {
        return std::nullopt;
    }
    return value;
}

std::vector<int64_t> SequencePattern::ExistingFrames() const {
    std::vector<int64_t> frames;
    const fs::path probe(prefix_ + "0");
    fs::path folder = probe.parent_path();
    const std::string folderText = folder.string();
    if (folder.empty()) {
        folder = ".";
    }
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        const std::string candidate =
            folderText.empty() ? name : (fs::path(folderText) / name).string();
        if (const auto frame = Match(candidate)) {
            frames.push_back(*frame);
        }
    }
    std::sort(frames.begin(), frames.end());
    return frames;
}

std::optional<FrameRange> ParseFrameRange(std::string_view text) {
    const size_t dash = text.find('-');
    FrameRange range;
    if (dash == std::string_view::npos) {
        const auto single = ParseNonNegative(text);
        if (!single) {
            return std::nullopt;
        }
        range.first = range.last = *single;
        return range;
    }
    const auto first = ParseNonNegative(text.substr(0, dash));
    const auto last = ParseNonNegative(text.substr(dash + 1));
    if (!first || !last || *first > *last) {
        return std::nullopt;
    }
    range.first = *first;
    range.last = *last;
    return range;
}

}  // namespace quillon
