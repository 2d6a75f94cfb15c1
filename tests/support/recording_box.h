// A message box that records what it was shown instead of showing it. With
// Echo::ToStandardError it also writes each box to standard error between
// markers, BOX[caption|style]<text>, so that a death test's pattern sees it
// (an empty box too).
#pragma once

#include <platform/msgbox.h>

#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

class RecordingBox final : public platform::MessageBoxService {
public:
    struct Shown {
        std::string text;
        std::string caption;
        unsigned style = 0;
        bool operator==(Shown const&) const = default;
        friend void PrintTo(Shown const& s, std::ostream* os) {
            *os << "BOX[" << s.caption << "|" << s.style << "]<" << s.text << ">";
        }
    };
    enum class Echo { No, ToStandardError };

    explicit RecordingBox(Echo echo = Echo::No) : echo_(echo) {}

    int Show(char const* text, char const* caption, unsigned style) override {
        shown.push_back({text, caption, style});
        if (echo_ == Echo::ToStandardError)
            std::fprintf(stderr, "BOX[%s|%u]<%s>\n", caption, style, text);
        return platform::IDOK;
    }

    std::vector<Shown> shown;

private:
    Echo echo_;
};
