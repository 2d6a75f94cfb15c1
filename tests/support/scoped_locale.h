// Switches the whole process's locale for one scope; the suite runs under C.
#pragma once

#include <clocale>
#include <string>

class ScopedLocale {
public:
    explicit ScopedLocale(char const* name) : saved_(std::setlocale(LC_ALL, nullptr)) {
        ok_ = std::setlocale(LC_ALL, name) != nullptr;
    }
    ~ScopedLocale() { std::setlocale(LC_ALL, saved_.c_str()); }
    ScopedLocale(ScopedLocale const&) = delete;
    ScopedLocale& operator=(ScopedLocale const&) = delete;
    bool ok() const { return ok_; }

private:
    std::string saved_;
    bool ok_ = false;
};
