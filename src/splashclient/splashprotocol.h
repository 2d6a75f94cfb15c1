/// \file
/// The splash server's interface on the session bus, described once: the
/// names both sides agree on and the methods with their arguments. The
/// server's dispatch and its introspection text, and the client's calls, are
/// all made from this table.
#pragma once

#include <platform/export.h>

#include <cstddef>
#include <string>
#include <string_view>

/// The splash server's interface on the session bus, described once: the
/// names both sides agree on and the methods with their arguments. The
/// server's dispatch and its introspection text, and the client's calls, are
/// all made from this table.
///
/// How a client gets a splash of its own, and what it does on each answer:
///
///  1. Call kCreateMethod on kServiceName at kFactoryPath. The bus starts a
///     server when no one owns the name. The answer is the splash object's
///     path; its sender (a unique name, ":1.42") is the server, and every
///     further call goes to that unique name and that path.
///  2. kErrorInUse: the server that took the call already serves its client.
///     When the message begins with a unique name (":1.57 waits for this
///     client"), a fresh server was started for this call and waits there:
///     call kCreateMethod on that name at once. Otherwise wait a little
///     (10 ms, doubling to 200 ms) and call kServiceName again.
///  3. org.freedesktop.DBus.Error.NoReply, .ServiceUnknown, .NameHasNoOwner,
///     .Spawn.ChildSignaled: the server ended, was killed, or was not yet
///     there; wait as in 2 and call kServiceName again. Give up after
///     kCreateDeadlineMs in all.
///  4. kErrorCreateFailed, and any other error: the splash cannot be made.
///
/// A splash answers only the unique name that created it; any other caller
/// gets org.freedesktop.DBus.Error.AccessDenied. Texts are UTF-8 and arrive
/// as sent, noncharacters included; a text the bus cannot carry (an unpaired
/// surrogate, an embedded NUL) is answered with
/// org.freedesktop.DBus.Error.InvalidArgs naming the argument, and the splash
/// is unchanged.
namespace splashbus {

/// The name a waiting server owns; a create call takes it out of view, so
/// the next client's activation starts a new process.
inline constexpr char kServiceName[] = "com.orveltech.Splash";
/// The class object's path.
inline constexpr char kFactoryPath[] = "/com/orveltech/Splash";
/// The class object's interface.
inline constexpr char kFactoryInterface[] = "com.orveltech.Splash.ClassFactory";
/// The class object's method that creates a splash.
inline constexpr char kCreateMethod[] = "CreateInstance";
/// The prefix of a splash object's path.
inline constexpr char kObjectPathPrefix[] = "/com/orveltech/Splash/SplashWindow";
/// The splash object's interface.
inline constexpr char kInterface[] = "com.orveltech.Splash.ISplashWindow";
/// The error of a create call on a server that already serves its client.
inline constexpr char kErrorInUse[] = "com.orveltech.Splash.Error.InUse";
/// The error of a create call whose splash cannot be made.
inline constexpr char kErrorCreateFailed[] = "com.orveltech.Splash.Error.CreateFailed";
/// How long a client goes on asking for a splash before it gives up.
inline constexpr int kCreateDeadlineMs = 25000;
/// A server started for a waiting client rather than by the bus finds the
/// server that started it in this variable ("unique-name/number"), tells that
/// server it is reachable with kSpareReadyMethod, and is reached by its
/// unique name alone: it never takes the service name.
inline constexpr char kSpareVariable[] = "ORVELSPLASH_STARTED_FOR";
/// The factory interface's method (one 'u', the number from kSpareVariable)
/// by which a spare server says it is reachable.
inline constexpr char kSpareReadyMethod[] = "SpareReady";
/// The desktop's control panel, told when a recent list changes: its name,
inline constexpr char kControlPanelName[] = "com.orveltech.ControlPanel";
/// its path,
inline constexpr char kControlPanelPath[] = "/com/orveltech/ControlPanel";
/// and its interface.
inline constexpr char kControlPanelInterface[] = "com.orveltech.ControlPanel";

/// The splash object's methods, in the interface's order.
enum class Method : std::size_t {
    /// SplashClient::ShowSplash().
    ShowSplash,
    /// SplashClient::SetStatusText().
    SetStatusText,
    /// SplashClient::SetLicenseeText().
    SetLicenseeText,
    /// SplashClient::AddToRecentAppList().
    AddToRecentAppList,
    /// SplashClient::AddToRecentDocList().
    AddToRecentDocList,
    /// SplashClient::TestUserRegistration().
    TestUserRegistration,
    /// SplashClient::HideSplash().
    HideSplash,
    /// SplashClient::SetSplashTimeout().
    SetSplashTimeout,
    /// SplashClient::CheckLicenseExpiration().
    CheckLicenseExpiration,
    /// SplashClient::ShowSplash2().
    ShowSplash2,
    /// The client's reference goes back with this, or when it leaves the bus.
    Release,
};
/// The number of methods.
inline constexpr std::size_t kMethodCount = static_cast<std::size_t>(Method::Release) + 1;
/// The most arguments a method takes.
inline constexpr std::size_t kMaxArguments = 7;

/// \brief A method: it takes texts ('s', UTF-8) and 16-bit numbers ('n'),
/// and answers nothing.
struct MethodSpec {
    /// The method's name.
    char const* name;
    /// One type character per argument.
    char const* signature; // one type character per argument
    /// The arguments' names.
    char const* arguments[kMaxArguments];
};

/// The methods, in the order of Method.
inline constexpr MethodSpec kMethods[kMethodCount] = {
    {"ShowSplash",
     "ssnnnns",
     {"bstrTitle", "bstrSubtitle", "nMajorVersion", "nMinorVersion", "nCopyrightFrom",
      "nCopyrightTo", "bstrLicensee"}},
    {"SetStatusText", "s", {"bstrStatus"}},
    {"SetLicenseeText", "s", {"bstrLicensee"}},
    {"AddToRecentAppList", "ss", {"bstrAppPath", "bstrAppTitle"}},
    {"AddToRecentDocList", "ss", {"bstrDocumentPath", "bstrAppOpenWith"}},
    {"TestUserRegistration", "", {}},
    {"HideSplash", "", {}},
    {"SetSplashTimeout", "n", {"nTimeout"}},
    {"CheckLicenseExpiration", "s", {"bstrLicense"}},
    {"ShowSplash2",
     "sssnns",
     {"bstrTitle", "bstrSubtitle", "bstrVersion", "nCopyrightFrom", "nCopyrightTo",
      "bstrLicensee"}},
    {"Release", "", {}},
};

/// \param method a method.
/// \return its description.
constexpr MethodSpec const& Spec(Method method) {
    return kMethods[static_cast<std::size_t>(method)];
}

/// \param name a method's name.
/// \param method receives the method.
/// \return false when there is none of that name.
SORVANE_API bool FindMethod(std::string_view name, Method* method);

/// \return the interface's description as the bus's introspection format gives it.
SORVANE_API std::string IntrospectionXml();

} // namespace splashbus
