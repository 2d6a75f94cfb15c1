// The server's own diagnostic log for support staff: off unless the user's
// setting names a file; each call appends one record with the time.
#pragma once

#include <util/pstring.h>

namespace splash {

inline constexpr char DiagnosticsLogName[] = "orvelsplash.log";

// Appends one record, or nothing: a missing setting or a failed open or
// write is not reported. Each record ends in a NUL byte, which is written to
// the file, and the next begins with its line feed.
void SplashLog(CPString message);

// Fills the path; true when it may be used.
bool GetDiagnosticsLogPath(CPString& path);

// True when LogPath was read, and also when the key may not be read (the
// path is then empty). False when the key or the value is absent.
bool ReadLogPathSetting(CPString& path);

// The user's temporary folder and DiagnosticsLogName; empty when the folder
// is not known.
CPString DefaultDiagnosticsLogPath();

} // namespace splash
