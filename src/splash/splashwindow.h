// The server's one class: a borderless, always-on-top popup and the state it
// paints. One process holds one object, so the object's references, its timer
// and the process's end are one mechanism.
#pragma once

#include <platform/oletypes.h>
#include <splash/window.h>
#include <splash/seams.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace splash {

class CExeModule;

// The interface clients call; dispatch ids 1 to 10 in this order.
class ISplashWindow {
public:
    virtual std::uint32_t AddRef() = 0;
    virtual std::uint32_t Release() = 0;

    virtual HRESULT ShowSplash(BSTR bstrTitle, BSTR bstrSubtitle, short nMajorVersion,
                               short nMinorVersion, short nCopyrightFrom, short nCopyrightTo,
                               BSTR bstrLicensee) = 0;
    virtual HRESULT SetStatusText(BSTR bstrStatus) = 0;
    virtual HRESULT SetLicenseeText(BSTR bstrLicensee) = 0;
    virtual HRESULT AddToRecentAppList(BSTR bstrAppPath, BSTR bstrAppTitle) = 0;
    virtual HRESULT AddToRecentDocList(BSTR bstrDocumentPath, BSTR bstrAppOpenWith) = 0;
    virtual HRESULT TestUserRegistration() = 0;
    virtual HRESULT HideSplash() = 0;
    virtual HRESULT SetSplashTimeout(short nTimeout) = 0;
    virtual HRESULT CheckLicenseExpiration(BSTR bstrLicense) = 0;
    virtual HRESULT ShowSplash2(BSTR bstrTitle, BSTR bstrSubtitle, BSTR bstrVersion,
                                short nCopyrightFrom, short nCopyrightTo, BSTR bstrLicensee) = 0;

protected:
    virtual ~ISplashWindow() = default;
};

// What the splash shows. Narrow texts are in the locale's character set, wide
// ones hold UTF-16.
struct SplashState {
    // The copy limits, terminator included. Title and status count
    // characters where their fields were once sized in bytes; the fields are
    // sized to the limits.
    static constexpr std::size_t kTitleLimit = 512;
    static constexpr std::size_t kSubtitleLimit = 256;
    static constexpr std::size_t kVersionLimit = 32;
    static constexpr std::size_t kLicenseeLimit = 64;
    static constexpr std::size_t kStatusLimit = 240;

    std::array<OLECHAR, kTitleLimit> Title{};
    std::array<char, kSubtitleLimit> Subtitle{};
    std::array<char, kLicenseeLimit> Licensee{};
    std::u16string CopyrightText;
    std::array<char, kVersionLimit> VersionText{};
    std::array<OLECHAR, kStatusLimit> StatusText{};
    splash::Rect StatusRect;
    std::int32_t Width = 0;
    std::int32_t Height = 0;
    bool LowColourDisplay = false;
    std::int32_t TimeoutMs = 0;
    splash::Rect LicenseeRect;
    std::u16string CopyrightYear;
};

// What a splash object reaches beyond itself.
struct SplashServices {
    splash::WindowSystem& windows;
    CExeModule& module;
    SplashChecks& checks;
    RecentLists& recent;
    SplashPainter& painter;
};

class CSplashWindow final : public ISplashWindow, private splash::WindowHandler {
public:
    static constexpr std::int32_t kWidth = 495;
    static constexpr std::int32_t kHeight = 392;
    static constexpr std::int32_t kDefaultTimeoutMs = 5000;
    static constexpr std::uintptr_t kSplashTimer = 1;
    static constexpr std::uintptr_t kReleaseTimer = 2;

    // The legal line's constants.
    static constexpr char16_t kOwnerName[] = u"Orveltech Corporation";
    static constexpr char16_t kProductFamily[] = u"Orvel Engineering Suite";
    static constexpr char16_t kClosingSentence[] =
        u"All rights reserved.\nThis program is protected by copyright law and international "
        u"treaties.";

    // Makes the object with its hidden window and one reference for the
    // caller. On failure, the reason as an HRESULT and no object.
    static HRESULT CreateInstance(SplashServices& services, ISplashWindow** object);

    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    std::uint32_t RefCount() const { return refCount_; }

    HRESULT ShowSplash(BSTR bstrTitle, BSTR bstrSubtitle, short nMajorVersion, short nMinorVersion,
                       short nCopyrightFrom, short nCopyrightTo, BSTR bstrLicensee) override;
    HRESULT SetStatusText(BSTR bstrStatus) override;
    HRESULT SetLicenseeText(BSTR bstrLicensee) override;
    HRESULT AddToRecentAppList(BSTR bstrAppPath, BSTR bstrAppTitle) override;
    HRESULT AddToRecentDocList(BSTR bstrDocumentPath, BSTR bstrAppOpenWith) override;
    HRESULT TestUserRegistration() override;
    HRESULT HideSplash() override;
    HRESULT SetSplashTimeout(short nTimeout) override;
    HRESULT CheckLicenseExpiration(BSTR bstrLicense) override;
    HRESULT ShowSplash2(BSTR bstrTitle, BSTR bstrSubtitle, BSTR bstrVersion, short nCopyrightFrom,
                        short nCopyrightTo, BSTR bstrLicensee) override;

    SplashState const& State() const { return state_; }
    splash::Window* GetWindow() const { return window_.get(); }

    // The three signs of the legal line, or their fallbacks where the
    // runtime does not format the character.
    static std::u16string CopyrightSign();
    static std::u16string RegisteredSign();
    static std::u16string TrademarkSign();

private:
    explicit CSplashWindow(SplashServices& services);
    ~CSplashWindow() override;
    HRESULT FinalConstruct();

    void OnMessage(splash::Window& window, std::uint32_t message, std::uintptr_t wParam,
                   std::intptr_t lParam) override;
    void OnCreate(splash::Window& window);
    void OnTimer(std::uintptr_t wParam, std::intptr_t lParam);

    // The steps a show shares with its second form; the version is the
    // caller's part.
    template <class SetVersion>
    void Show(BSTR bstrTitle, BSTR bstrSubtitle, SetVersion setVersion, short nCopyrightFrom,
              short nCopyrightTo, BSTR bstrLicensee);
    void BuildCopyrightText();

    SplashServices& services_;
    SplashState state_;
    std::unique_ptr<splash::Window> window_;
    std::uint32_t refCount_ = 0;
};

} // namespace splash
