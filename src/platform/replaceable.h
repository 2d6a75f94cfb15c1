/// \file
/// A platform service that tests can replace: the real one unless a stand-in
/// has been put in its place (Seam), and a stand-in for one scope
/// (ScopedSeam). The server's own replaceable parts are in splash/seams.h.
#pragma once

#include <utility>

namespace platform {

/// \brief A platform service that tests can replace: the real one unless a
/// stand-in has been put in its place.
/// \tparam Service the service's interface.
template <class Service> class Seam {
public:
    /// \param real the real service, which must outlive the seam.
    explicit Seam(Service& real) : real_(real) {}
    Seam(Seam const&) = delete;
    Seam& operator=(Seam const&) = delete;

    /// \return the stand-in when there is one, else the real service.
    Service& Get() const { return replaced_ != nullptr ? *replaced_ : real_; }
    /// Puts a stand-in in place; null puts the real service back. The seam does
    /// not own the stand-in.
    /// \param service the stand-in, or null.
    /// \return the stand-in it displaced, or null when the real one was in place.
    Service* Replace(Service* service) { return std::exchange(replaced_, service); }

private:
    Service& real_;
    Service* replaced_ = nullptr;
};

/// \brief Puts a stand-in in place for one scope and puts back what was there
/// when the scope ends.
/// \tparam Service the service's interface.
template <class Service> class ScopedSeam {
public:
    /// \param seam the seam to replace in; it must outlive this object.
    /// \param standIn the stand-in, not owned; it must outlive this object.
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
