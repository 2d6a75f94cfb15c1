// The transfer library's functions that the internet and mail clients call,
// as one table filled when the library is first needed. The library is
// loaded then, not at program start: a program that never transfers a file
// or sends mail (the splash server, say) never maps it nor the dozens of
// libraries it brings along.
//
// Private to the platform layer: neither staged nor installed. Its sources
// include <curl/curl.h> first, for the types below.
#pragma once

#include <string>

namespace platform::curl {

// Each member has the type of the library's function of that name.
struct Functions {
    decltype(&::curl_global_init) global_init;
    decltype(&::curl_easy_init) easy_init;
    decltype(&::curl_easy_cleanup) easy_cleanup;
    decltype(&::curl_easy_reset) easy_reset;
    decltype(&::curl_easy_setopt) easy_setopt;
    decltype(&::curl_easy_getinfo) easy_getinfo;
    decltype(&::curl_easy_perform) easy_perform;
    decltype(&::curl_easy_escape) easy_escape;
    decltype(&::curl_free) free;
    decltype(&::curl_slist_append) slist_append;
    decltype(&::curl_slist_free_all) slist_free_all;
    decltype(&::curl_mime_init) mime_init;
    decltype(&::curl_mime_free) mime_free;
    decltype(&::curl_mime_addpart) mime_addpart;
    decltype(&::curl_mime_data) mime_data;
    decltype(&::curl_mime_filedata) mime_filedata;
    decltype(&::curl_mime_type) mime_type;
    decltype(&::curl_mime_encoder) mime_encoder;
};

// The library's name as the dynamic loader looks it up.
inline constexpr char const* kLibraryName = "libcurl.so.4";

// The library opened by name and its table read, for as long as the loader
// lives; the library is closed with it.
class Loader {
public:
    explicit Loader(char const* name);
    ~Loader();
    Loader(Loader const&) = delete;
    Loader& operator=(Loader const&) = delete;

    // Null when the library can't be opened or lacks one of the functions.
    Functions const* Get() const { return complete_ ? &functions_ : nullptr; }
    // Why Get() is null: the loader's message, or the function missing.
    std::string const& Failure() const { return failure_; }

private:
    void* handle_ = nullptr;
    Functions functions_{};
    bool complete_ = false;
    std::string failure_;
};

// The process's table: the library loaded and set up at the first call,
// then kept for the life of the process. Null when it can't be loaded or set
// up; the first such call says why in one line on standard error.
Functions const* Library();

// The process's table, once Library() has answered it.
inline Functions const& Api() {
    return *Library();
}

} // namespace platform::curl
