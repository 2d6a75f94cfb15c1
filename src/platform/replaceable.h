// A platform service that tests can replace: the real one unless a stand-in
// has been put in its place (Seam), and a stand-in for one scope
// (ScopedSeam). The server's own replaceable parts are in splash/seams.h.
#pragma once

#include <utility>

namespace platform {

template <class Service> class Seam {
public:
    explicit Seam(Service& real) : real_(real) {}
    Seam(Seam const&) = delete;
    Seam& operator=(Seam const&) = delete;

    Service& Get() const { return replaced_ != nullptr ? *replaced_ : real_; }
    // Null puts the real service back. Answers the one it displaced.
    Service* Replace(Service* service) { return std::exchange(replaced_, service); }

private:
    Service& real_;
    Service* replaced_ = nullptr;
};

// Puts a stand-in in place for one scope.
template <class Service> class ScopedSeam {
public:
    ScopedSeam(Seam<Service>& seam, Service& standIn)
        : seam_(seam), prev_(seam.Replace(&standIn)) {}
    ~ScopedSeam() { seam_.Replace(prev_); }
    ScopedSeam(ScopedSeam const&) = delete;
    ScopedSeam& operator=(ScopedSeam const&) = delete;

private:
    Seam<Service>& seam_;
    Service* prev_;
};

} // namespace platform
