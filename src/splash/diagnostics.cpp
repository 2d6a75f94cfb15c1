#include <splash/diagnostics.h>

#include <platform/paths.h>
#include <platform/registry.h>

#include <chrono>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>

namespace splash {

namespace {

constexpr char kSettingsKey[] = "Software\\Orveltech";
constexpr char kLogPathValue[] = "LogPath";
constexpr std::uint32_t kSettingLimit = 255;

// The milliseconds since the process began, the record's time stamp. Taken
// from when the server's code was loaded, which is its start.
std::chrono::steady_clock::time_point const kProcessStart = std::chrono::steady_clock::now();

long MillisecondsSinceStart() {
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                 std::chrono::steady_clock::now() - kProcessStart)
                                 .count());
}

} // namespace

bool ReadLogPathSetting(CPString& path) {
    platform::HKEY key = nullptr;
    platform::LSTATUS const status = platform::RegOpenKeyExA(
        platform::HKEY_CURRENT_USER, kSettingsKey, 0, platform::KEY_READ, &key);
    if (status == platform::ERROR_ACCESS_DENIED) return true; // the path stays empty
    if (status != 0) return false;
    char buffer[kSettingLimit] = {};
    std::uint32_t size = kSettingLimit;
    bool const read =
        platform::RegQueryValueExA(key, kLogPathValue, nullptr, nullptr,
                                   reinterpret_cast<std::uint8_t*>(buffer), &size) == 0;
    platform::RegCloseKey(key);
    if (!read) return false;
    buffer[kSettingLimit - 1] = '\0';
    path = buffer;
    return true;
}

CPString DefaultDiagnosticsLogPath() {
    char temp[platform::TempPathLimit] = {};
    std::uint32_t const length = platform::GetTempPathA(platform::TempPathLimit, temp);
    if (length == 0 || length >= platform::TempPathLimit) return CPString("");
    char folder[platform::LongPathLimit] = {};
    platform::GetLongPathNameA(temp, folder, platform::LongPathLimit);
    std::string path = folder;
    if (path.empty() || path.back() != '/') path += '/';
    path += DiagnosticsLogName;
    return CPString(path.c_str());
}

bool GetDiagnosticsLogPath(CPString& path) {
    path = "";
    bool const read = ReadLogPathSetting(path);
    if (read) return true;
    if (path.Length() == 0) return false;
    // Not reached today: a false comes with an empty path. The fallback is
    // where the file goes when the configured place is not writable.
    std::ofstream probe(path.GetBuffer(), std::ios::out | std::ios::app);
    if (!probe) path = DefaultDiagnosticsLogPath();
    return true;
}

void SplashLog(CPString message) {
    CPString path;
    if (!GetDiagnosticsLogPath(path) || path.Length() == 0) return;
    std::ofstream log(path.GetBuffer(), std::ios::out | std::ios::app | std::ios::binary);
    if (!log) return;
    std::time_t const now = std::time(nullptr);
    std::string record = "\n";
    record += message.GetBuffer();
    record += " at ";
    record += std::ctime(&now); // ends in its own line feed
    record += "Wall-clock time at ms: ";
    record += std::to_string(MillisecondsSinceStart());
    record += "\n";
    // The terminator goes to the file too.
    log.write(record.c_str(), static_cast<std::streamsize>(record.size() + 1));
}

} // namespace splash
