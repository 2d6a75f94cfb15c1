#include <splash/splashwindow.h>

#include <platform/process.h>
#include <platform/syserror.h>
#include <splash/module.h>
#include <splash/textcopy.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <optional>
#include <string>
#include <utility>

namespace splash {

namespace {

HRESULT HresultFromLastError() {
    std::uint32_t const code = platform::GetLastError();
    return code == 0 ? platform::E_FAIL : platform::HRESULT_FROM_WIN32(code);
}

template <class Char, std::size_t N> void SetText(std::array<Char, N>& field, char const* text) {
    std::size_t i = 0;
    for (; text[i] != '\0' && i + 1 < N; ++i)
        field[i] = static_cast<Char>(text[i]);
    field[i] = Char{};
}

std::u16string Decimal(int n) {
    std::string const text = std::to_string(n);
    return std::u16string(text.begin(), text.end());
}

// Formats each code as one wide character; the first that comes out as the
// wanted sign is it.
std::u16string Sign(std::initializer_list<std::uint32_t> codes, char16_t wanted,
                    char16_t const* fallback) {
    for (std::uint32_t const code : codes) {
        wchar_t formatted[4] = {};
        std::swprintf(formatted, 4, L"%lc", static_cast<wint_t>(code));
        if (static_cast<std::uint32_t>(formatted[0]) == wanted && formatted[1] == L'\0') {
            return std::u16string(1, wanted);
        }
    }
    return fallback;
}

} // namespace

std::u16string CSplashWindow::CopyrightSign() {
    return Sign({0xA9}, u'\u00A9', u"(c)");
}
std::u16string CSplashWindow::RegisteredSign() {
    return Sign({0xAE}, u'\u00AE', u"(r)");
}
std::u16string CSplashWindow::TrademarkSign() {
    // The code-page value first, then the character itself.
    return Sign({0x99, 0x2122}, u'\u2122', u"(tm)");
}

// Creation and lifetime ---------------------------------------------------------

CSplashWindow::CSplashWindow(SplashServices& services) : services_(services) {
    services_.module.Lock();
}

CSplashWindow::~CSplashWindow() {
    window_.reset();
    services_.module.Unlock();
}

HRESULT CSplashWindow::CreateInstance(SplashServices& services, ISplashWindow** object) {
    *object = nullptr;
    auto* splash = new CSplashWindow(services);
    HRESULT const hr = splash->FinalConstruct();
    if (platform::FAILED(hr)) {
        delete splash;
        return hr;
    }
    splash->AddRef();
    *object = splash;
    return platform::S_OK;
}

HRESULT CSplashWindow::FinalConstruct() {
    state_.Width = kWidth;
    state_.Height = kHeight;
    state_.LowColourDisplay = services_.windows.ScreenColourBits() <= 8;
    state_.StatusRect = {15, state_.Height - 30, state_.Width - 5, state_.Height};
    state_.LicenseeRect = {15, state_.Height - 75, state_.Width - 5, state_.Height};
    SetText(state_.Title, "Untitled");
    SetText(state_.Subtitle, "Untitled");
    SetText(state_.VersionText, "Untitled");
    state_.TimeoutMs = kDefaultTimeoutMs;

    window_ = services_.windows.CreatePopup(*this, {0, 0, state_.Width, state_.Height});
    return window_ != nullptr ? platform::S_OK : HresultFromLastError();
}

std::uint32_t CSplashWindow::AddRef() {
    return ++refCount_;
}

std::uint32_t CSplashWindow::Release() {
    std::uint32_t const remaining = --refCount_;
    if (remaining == 0) delete this;
    return remaining;
}

// The interface ----------------------------------------------------------------

template <class SetVersion>
void CSplashWindow::Show(BSTR bstrTitle, BSTR bstrSubtitle, SetVersion setVersion,
                         short nCopyrightFrom, short nCopyrightTo, BSTR bstrLicensee) {
    services_.checks.TestUserRegistration(window_.get());

    BoundedCopy(state_.Title, bstrTitle, SplashState::kTitleLimit);
    RightTrim(state_.Title);
    BoundedCopy(state_.Subtitle, NarrowFromBstr(bstrSubtitle), SplashState::kSubtitleLimit);
    RightTrim(state_.Subtitle);

    setVersion();

    if (bstrLicensee == nullptr) {
        state_.Licensee[0] = '\0';
    } else {
        BoundedCopy(state_.Licensee, NarrowFromBstr(bstrLicensee), SplashState::kLicenseeLimit);
    }

    // Only the later year is ever shown.
    if (nCopyrightFrom > nCopyrightTo) std::swap(nCopyrightFrom, nCopyrightTo);
    state_.CopyrightYear = nCopyrightTo == 0 ? u"2008" : Decimal(nCopyrightTo);
    BuildCopyrightText();

    window_->ShowWindow(splash::SW_SHOW);
    window_->SetTopmost(window_->GetWindowRect());

    // The object holds itself until a tick finds the client gone. Nothing
    // takes this reference back, so a second timed show keeps the process up.
    if (state_.TimeoutMs != -1) {
        window_->SetTimer(kSplashTimer, static_cast<std::uint32_t>(state_.TimeoutMs));
        AddRef();
    }
}

HRESULT CSplashWindow::ShowSplash(BSTR bstrTitle, BSTR bstrSubtitle, short nMajorVersion,
                                  short nMinorVersion, short nCopyrightFrom, short nCopyrightTo,
                                  BSTR bstrLicensee) {
    auto const numbers = [&] {
        std::string version;
        if (nMajorVersion != -1) version += std::to_string(nMajorVersion);
        if (nMinorVersion != -1) {
            // Appended in two steps: GCC 12 at -O3 warns falsely of overlap
            // on "." + std::to_string(...).
            version += '.';
            version += std::to_string(nMinorVersion);
        }
        SetText(state_.VersionText, version.c_str());
    };
    Show(bstrTitle, bstrSubtitle, numbers, nCopyrightFrom, nCopyrightTo, bstrLicensee);
    return platform::S_OK;
}

HRESULT CSplashWindow::ShowSplash2(BSTR bstrTitle, BSTR bstrSubtitle, BSTR bstrVersion,
                                   short nCopyrightFrom, short nCopyrightTo, BSTR bstrLicensee) {
    auto const text = [&] {
        BoundedCopy(state_.VersionText, NarrowFromBstr(bstrVersion), SplashState::kVersionLimit);
        RightTrim(state_.VersionText);
    };
    Show(bstrTitle, bstrSubtitle, text, nCopyrightFrom, nCopyrightTo, bstrLicensee);
    return platform::S_OK;
}

void CSplashWindow::BuildCopyrightText() {
    // "%s %s %s%s%s %s%s%s %s"
    state_.CopyrightText = CopyrightSign() + u" " + state_.CopyrightYear + u" " + kOwnerName +
                           RegisteredSign() + u"," + u" " + kProductFamily + TrademarkSign() +
                           u"," + u" " + kClosingSentence;
}

HRESULT CSplashWindow::SetStatusText(BSTR bstrStatus) {
    BoundedCopy(state_.StatusText, bstrStatus, SplashState::kStatusLimit);
    window_->InvalidateRect(&state_.StatusRect, true);
    return platform::S_OK;
}

HRESULT CSplashWindow::SetLicenseeText(BSTR bstrLicensee) {
    BoundedCopy(state_.Licensee, NarrowFromBstr(bstrLicensee), SplashState::kLicenseeLimit);
    // The licensee is drawn inside the status strip.
    window_->InvalidateRect(&state_.StatusRect, true);
    return platform::S_OK;
}

HRESULT CSplashWindow::AddToRecentAppList(BSTR bstrAppPath, BSTR bstrAppTitle) {
    services_.recent.AddToRecentAppList(bstrAppPath, bstrAppTitle);
    return platform::S_OK;
}

HRESULT CSplashWindow::AddToRecentDocList(BSTR bstrDocumentPath, BSTR bstrAppOpenWith) {
    services_.recent.AddToRecentDocList(bstrDocumentPath, bstrAppOpenWith);
    return platform::S_OK;
}

HRESULT CSplashWindow::TestUserRegistration() {
    services_.checks.TestUserRegistration(window_.get());
    return platform::S_OK;
}

HRESULT CSplashWindow::HideSplash() {
    window_->ShowWindow(splash::SW_HIDE);
    return platform::S_OK;
}

HRESULT CSplashWindow::SetSplashTimeout(short nTimeout) {
    // Takes effect at the next show; a running timer keeps its period.
    state_.TimeoutMs = nTimeout;
    return platform::S_OK;
}

HRESULT CSplashWindow::CheckLicenseExpiration(BSTR bstrLicense) {
    services_.checks.CheckLicenseExpiration(bstrLicense);
    return platform::S_OK;
}

// Window messages -----------------------------------------------------------------

void CSplashWindow::OnMessage(splash::Window& window, std::uint32_t message,
                              std::uintptr_t wParam, std::intptr_t lParam) {
    switch (message) {
    case splash::WM_CREATE:
        OnCreate(window);
        break;
    case splash::WM_PAINT:
        services_.painter.Paint(window, state_);
        break;
    case splash::WM_TIMER:
        OnTimer(wParam, lParam);
        break;
    case splash::WM_LBUTTONDOWN:
        window.ShowWindow(splash::SW_HIDE); // the timer goes on
        break;
    default:
        break;
    }
}

void CSplashWindow::OnCreate(splash::Window& window) {
    // Centred on the nearest monitor's work area, and kept inside it.
    splash::Rect const area = window.MonitorWorkArea();
    splash::Rect const rect = window.GetWindowRect();
    std::int32_t x = area.left + (area.Width() - rect.Width()) / 2;
    std::int32_t y = area.top + (area.Height() - rect.Height()) / 2;
    x = std::max(area.left, std::min(x, area.right - rect.Width()));
    y = std::max(area.top, std::min(y, area.bottom - rect.Height()));
    window.Move(x, y);
}

void CSplashWindow::OnTimer(std::uintptr_t wParam, std::intptr_t lParam) {
    if (wParam == kSplashTimer) {
        window_->ShowWindow(splash::SW_HIDE);
        // Only the object's own reference is left: the client has gone.
        if (refCount_ <= 1) {
            window_->KillTimer(kSplashTimer);
            platform::ExitProcess(0);
        }
        return;
    }
    // Nothing arms timer 2, and a plain timer's lParam is 0: this stays
    // dormant, and it tests lParam, not wParam.
    if (lParam == 2) {
        window_->KillTimer(kReleaseTimer);
        Release();
    }
}

} // namespace splash
