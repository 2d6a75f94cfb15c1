// Suppressions that LeakSanitizer reads at start-up, whatever the
// environment: fontconfig loses a block while it parses its configuration
// files, once per process, before any font is matched; nothing of ours holds
// it.
extern "C" char const* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}
