// Suppressions that LeakSanitizer reads at start-up, whatever the
// environment, for every program that paints: fontconfig loses a block while
// it parses its configuration files, once per process, before any font is
// matched; nothing of ours holds it. Linked into each such executable, since
// the sanitizer looks for the function in the program itself.
extern "C" char const* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}
