// The splash server's own seams: what it calls that is not its logic. Each
// has a do-nothing stand-in here; the real ones plug in beside the bus and
// the window system, and tests put fakes in their place.
#pragma once

#include <platform/oletypes.h>
#include <splash/window.h>

#include <cstdint>

namespace splash {

struct SplashState;

// The user registration check and the licence expiry reminder. Their dialogs
// and results are not this server's business.
class SplashChecks {
public:
    virtual ~SplashChecks() = default;
    virtual void TestUserRegistration(splash::Window* parent) = 0;
    virtual void CheckLicenseExpiration(BSTR bstrLicense) = 0;
};

// The per-user lists of recently used applications and documents.
class RecentLists {
public:
    virtual ~RecentLists() = default;
    virtual void AddToRecentAppList(BSTR bstrAppPath, BSTR bstrAppTitle) = 0;
    virtual void AddToRecentDocList(BSTR bstrDocumentPath, BSTR bstrAppOpenWith) = 0;
};

// Draws the whole splash from its state, in answer to WM_PAINT. The state is
// the object's own: a paint lower-cases the subtitle and upper-cases the
// version where they are stored.
class SplashPainter {
public:
    virtual ~SplashPainter() = default;
    virtual void Paint(splash::Window& window, SplashState& state) = 0;
};

// Publishing the class to clients: the apartment, and the class object that
// a client's activation reaches.
class ClassFactory;
class ClassObjectHost {
public:
    virtual ~ClassObjectHost() = default;
    virtual void Initialize() = 0;   // CoInitialize: joins the main thread's apartment
    virtual void Uninitialize() = 0; // CoUninitialize
    // Published for single use: after one client's activation the class is
    // out of view, and the next client starts a process of its own.
    virtual HRESULT RegisterClassObjects(ClassFactory& factory) = 0;
    virtual void RevokeClassObjects() = 0;
};

// Registering the server with the system, for "RegServer" and "UnregServer".
class ClassRegistrar {
public:
    static constexpr int kAppScript = 100;   // the application entry
    static constexpr int kClassScript = 102; // the class and its ProgIDs

    virtual ~ClassRegistrar() = default;
    virtual HRESULT ApplyScript(int resource, bool bRegister) = 0;
    // The class's scripts and the type library.
    virtual HRESULT RegisterServer() = 0;
    virtual HRESULT UnregisterServer() = 0;
};

// Stand-ins that do nothing and succeed.
class NullSplashChecks final : public SplashChecks {
public:
    void TestUserRegistration(splash::Window*) override {}
    void CheckLicenseExpiration(BSTR) override {}
};

class NullRecentLists final : public RecentLists {
public:
    void AddToRecentAppList(BSTR, BSTR) override {}
    void AddToRecentDocList(BSTR, BSTR) override {}
};

class NullSplashPainter final : public SplashPainter {
public:
    void Paint(splash::Window&, SplashState&) override {}
};

class NullClassRegistrar final : public ClassRegistrar {
public:
    HRESULT ApplyScript(int, bool) override { return platform::S_OK; }
    HRESULT RegisterServer() override { return platform::S_OK; }
    HRESULT UnregisterServer() override { return platform::S_OK; }
};

} // namespace splash
