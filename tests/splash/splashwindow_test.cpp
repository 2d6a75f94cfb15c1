#include "fakes.h"

#include <splash/splashwindow.h>

#include <splash/host/eventloop.h>
#include <support/scoped_locale.h>

#include <gtest/gtest.h>

#include <string>

using namespace splash;

namespace {

std::string Narrow(char const* field) {
    return field;
}
// Title, subtitle, version and licensee, between bars; the title as ASCII.
std::string Texts(SplashState const& s) {
    std::u16string const title = s.Title.data();
    return std::string(title.begin(), title.end()) + "|" + s.Subtitle.data() + "|" +
           s.VersionText.data() + "|" + s.Licensee.data();
}
std::u16string Wide(char16_t const* field) {
    return field;
}

class SplashWindowTest : public ::testing::Test {
protected:
    SplashWindowTest() : module(loop) {}

    CSplashWindow* Create() {
        ISplashWindow* made = nullptr;
        EXPECT_EQ(CSplashWindow::CreateInstance(services, &made), platform::S_OK);
        return static_cast<CSplashWindow*>(made);
    }

    splash::EventLoop loop;
    CExeModule module;
    FakeWindowSystem windows;
    FakeChecks checks;
    FakeRecentLists recent;
    NullSplashPainter painter;
    SplashServices services{windows, module, checks, recent, painter};
    FakeProcess process;
    platform::ScopedSeam<platform::ProcessService> exitSeam{platform::ProcessSeam(), process};
};

} // namespace

TEST_F(SplashWindowTest, CreationGivesDefaultsACentredHiddenWindowAndALock) {
    windows.colourBits = 8;
    CSplashWindow* splash = Create();
    SplashState const& s = splash->State();
    EXPECT_EQ(Texts(s), "Untitled|Untitled|Untitled|");
    EXPECT_EQ(s.TimeoutMs, 5000);
    EXPECT_TRUE(s.LowColourDisplay);
    EXPECT_EQ(s.StatusRect, (splash::Rect{15, 362, 490, 392}));
    EXPECT_EQ(s.LicenseeRect, (splash::Rect{15, 317, 490, 392}));
    EXPECT_EQ(windows.window->rect, (splash::Rect{392, 204, 887, 596}));
    EXPECT_FALSE(windows.window->visible);
    EXPECT_EQ(module.GetLockCount(), 1);
    EXPECT_EQ(splash->RefCount(), 1u);

    EXPECT_EQ(splash->Release(), 0u);
    EXPECT_TRUE(windows.destroyed);
    EXPECT_EQ(module.GetLockCount(), 0);
}

TEST_F(SplashWindowTest, SmallWorkAreaKeepsTheWindowInsideAndFailureReportsTheLastError) {
    windows.workArea = {100, 50, 500, 400}; // narrower and lower than the window
    CSplashWindow* splash = Create();
    EXPECT_EQ(windows.window->rect.left, 100);
    EXPECT_EQ(windows.window->rect.top, 50);
    EXPECT_FALSE(splash->State().LowColourDisplay);
    splash->Release();

    windows.failWith = 1400;
    ISplashWindow* none = reinterpret_cast<ISplashWindow*>(1);
    EXPECT_EQ(CSplashWindow::CreateInstance(services, &none), static_cast<HRESULT>(0x80070578));
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(module.GetLockCount(), 0);
}

TEST_F(SplashWindowTest, ShowStoresTrimmedTextsVersionYearAndLegalLine) {
    CSplashWindow* splash = Create();
    Bstr title(u"Heat Designer \t  "), subtitle(u"Orvel Thermal  "), licensee(u"ACME Ltd ");
    splash->ShowSplash(title, subtitle, 13, 1, 2019, 2009, licensee);
    SplashState const& s = splash->State();
    EXPECT_EQ(Texts(s), "Heat Designer|Orvel Thermal|13.1|ACME Ltd "); // the licensee untrimmed
    EXPECT_EQ(s.CopyrightYear, u"2019");
    EXPECT_EQ(s.CopyrightText,
              u"\u00A9 2019 Orveltech Corporation\u00AE, Orvel Engineering Suite\u2122, All rights "
              u"reserved.\nThis program is protected by copyright law and international treaties.");
    EXPECT_EQ(checks.registrationChecks, 1);
    EXPECT_EQ(checks.lastParent, windows.window);
    EXPECT_TRUE(windows.window->visible);
    EXPECT_EQ(windows.window->topmostCalls, 1);
    EXPECT_EQ(windows.window->timers.at(CSplashWindow::kSplashTimer), 5000u);
    EXPECT_EQ(splash->RefCount(), 2u); // the object holds itself

    struct VersionCase {
        short major, minor;
        char const* text;
    };
    for (VersionCase const& v : {VersionCase{-1, 5, ".5"}, VersionCase{-1, -1, ""},
                                 VersionCase{-2, 0, "-2.0"}, VersionCase{7, -1, "7"}}) {
        splash->ShowSplash(nullptr, nullptr, v.major, v.minor, 0, 0, nullptr);
        EXPECT_EQ(Narrow(splash->State().VersionText.data()), v.text);
    }
    // Absent texts keep what the fields held; an absent licensee empties it.
    EXPECT_EQ(Texts(s), "Heat Designer|Orvel Thermal|7|");

    struct YearCase {
        short from, to;
        char16_t const* shown;
    };
    for (YearCase const& y : {YearCase{0, 0, u"2008"}, YearCase{2000, 0, u"2000"},
                              YearCase{-1, -1, u"-1"}, YearCase{2001, 2024, u"2024"}}) {
        splash->ShowSplash(nullptr, nullptr, -1, -1, y.from, y.to, nullptr);
        EXPECT_EQ(splash->State().CopyrightYear, y.shown);
    }
    while (splash->Release() != 0) {
    }
}

TEST_F(SplashWindowTest, CopyLimitsAndTrimRule) {
    CSplashWindow* splash = Create();
    Bstr title(std::u16string(600, u'T').c_str()), status(std::u16string(300, u's').c_str());
    Bstr version(u"build 2024.11 rc1 with a very long label");
    splash->SetSplashTimeout(-1);
    splash->ShowSplash2(title, nullptr, version, 0, 0, nullptr);
    SplashState const& s = splash->State();
    EXPECT_EQ(Texts(s), std::string(511, 'T') + "|Untitled|build 2024.11 rc1 with a very l|");

    splash->SetStatusText(status);
    EXPECT_EQ(Wide(s.StatusText.data()).size(), 239u);
    ASSERT_EQ(windows.window->invalidated.size(), 1u);
    EXPECT_EQ(windows.window->invalidated[0], s.StatusRect);
    EXPECT_TRUE(windows.window->lastErase);
    splash->SetStatusText(nullptr); // absent: unchanged
    EXPECT_EQ(Wide(s.StatusText.data()).size(), 239u);

    Bstr licensee(std::u16string(100, u'L').c_str());
    splash->SetLicenseeText(licensee);
    EXPECT_EQ(Narrow(s.Licensee.data()), std::string(63, 'L'));
    EXPECT_EQ(windows.window->invalidated.size(), 3u);

    // Bytes from 0x80 up stay when trimming; control characters go.
    ScopedLocale utf8("C.UTF-8");
    ASSERT_TRUE(utf8.ok());
    Bstr accented(u"Caf\u00E9\x01 \x1F");
    splash->ShowSplash2(nullptr, accented, nullptr, 0, 0, nullptr);
    EXPECT_EQ(Narrow(s.Subtitle.data()), "Caf\xC3\xA9");
    Bstr blank(u" \t\x10");
    splash->ShowSplash2(nullptr, blank, nullptr, 0, 0, nullptr);
    EXPECT_EQ(Narrow(s.Subtitle.data()), "");
    splash->Release();
}

TEST_F(SplashWindowTest, TimerRuleClickAndRepeatedShow) {
    CSplashWindow* splash = Create();
    splash->ShowSplash(nullptr, nullptr, 1, 0, 0, 0, nullptr);
    FakeWindow& window = *windows.window;

    window.Send(splash::WM_LBUTTONDOWN);
    EXPECT_FALSE(window.visible);
    EXPECT_EQ(window.timers.count(CSplashWindow::kSplashTimer), 1u); // the timer goes on

    // The client still holds it: the tick hides and nothing more.
    window.visible = true;
    window.Send(splash::WM_TIMER, CSplashWindow::kSplashTimer);
    EXPECT_FALSE(window.visible);
    EXPECT_EQ(window.timers.count(CSplashWindow::kSplashTimer), 1u);

    // A second timed show takes a second self-reference: after the client
    // lets go the count stays 2 and no tick ends the process.
    splash->ShowSplash(nullptr, nullptr, 1, 0, 0, 0, nullptr);
    splash->Release();
    EXPECT_EQ(splash->RefCount(), 2u);
    window.Send(splash::WM_TIMER, CSplashWindow::kSplashTimer);
    EXPECT_EQ(splash->RefCount(), 2u);

    // The dormant branch: any other id with lParam 2 gives one reference back.
    window.Send(splash::WM_TIMER, 7, 2);
    EXPECT_EQ(splash->RefCount(), 1u);
    window.Send(splash::WM_TIMER, 7, 0);
    EXPECT_EQ(splash->RefCount(), 1u);

    // Now only the object's own reference is left: the tick ends the process.
    try {
        window.Send(splash::WM_TIMER, CSplashWindow::kSplashTimer);
        ADD_FAILURE() << "the process should have ended";
    } catch (ProcessExited const& exited) {
        EXPECT_EQ(exited.code, 0u);
    }
    EXPECT_EQ(window.timers.count(CSplashWindow::kSplashTimer), 0u);
    splash->Release();
}

TEST_F(SplashWindowTest, TimeoutSettingsReachTheTimerAtTheNextShow) {
    CSplashWindow* splash = Create();
    splash->SetSplashTimeout(-1);
    splash->ShowSplash(nullptr, nullptr, 1, 0, 0, 0, nullptr);
    EXPECT_TRUE(windows.window->timers.empty());
    EXPECT_EQ(splash->RefCount(), 1u);

    splash->SetSplashTimeout(0);
    splash->ShowSplash(nullptr, nullptr, 1, 0, 0, 0, nullptr);
    EXPECT_EQ(windows.window->timers.at(CSplashWindow::kSplashTimer), 0u);
    splash->SetSplashTimeout(-2); // stored as it is: a very long period
    EXPECT_EQ(windows.window->timers.at(CSplashWindow::kSplashTimer), 0u); // not re-armed
    splash->ShowSplash(nullptr, nullptr, 1, 0, 0, 0, nullptr);
    EXPECT_EQ(windows.window->timers.at(CSplashWindow::kSplashTimer), 0xFFFFFFFEu);

    splash->HideSplash();
    EXPECT_FALSE(windows.window->visible);
    splash->TestUserRegistration();
    splash->CheckLicenseExpiration(nullptr);
    splash->AddToRecentAppList(nullptr, nullptr);
    splash->AddToRecentDocList(nullptr, nullptr);
    EXPECT_EQ(checks.registrationChecks, 4);
    EXPECT_EQ(checks.licenceChecks, 1);
    EXPECT_EQ(recent.apps + recent.docs, 2);
    while (splash->Release() != 0) {
    }
}
