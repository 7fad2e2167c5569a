// Pass/fail bookkeeping for the host check: each check prints one line, and
// the process exit status says whether any failed.
#ifndef QUILLON_TOOLS_HOSTCHECK_REPORT_H
#define QUILLON_TOOLS_HOSTCHECK_REPORT_H

#include <cstdio>
#include <string>

namespace quillon::hostcheck {

class Report {
public:
    // Records one check; returns the condition so callers can stop early.
    bool Check(bool condition, const std::string& what, const std::string& detail = {}) {
        if (condition) {
            ++passed_;
        } else {
            ++failed_;
            std::printf("FAIL %s%s%s\n", what.c_str(), detail.empty() ? "" : ": ", detail.c_str());
            std::fflush(stdout);
        }
        return condition;
    }

    template <typename A, typename B>
    bool Equal(const A& actual, const B& expected, const std::string& what) {
        return Check(actual == expected, what,
                     "got " + Show(actual) + ", expected " + Show(expected));
    }

    void Note(const std::string& text) {
        std::printf("note %s\n", text.c_str());
        std::fflush(stdout);
    }

    int passed() const { return passed_; }
    int failed() const { return failed_; }

private:
    static std::string Show(const std::string& value) { return "\"" + value + "\""; }
    static std::string Show(const char* value) { return Show(std::string(value)); }
    template <typename T>
    static std::string Show(const T& value) {
        return std::to_string(value);
    }

    int passed_ = 0;
    int failed_ = 0;
};

}  // namespace quillon::hostcheck

#endif  // QUILLON_TOOLS_HOSTCHECK_REPORT_H
