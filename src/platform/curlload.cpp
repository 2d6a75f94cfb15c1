// The transfer library, opened with the dynamic loader at its first use.
#include <curl/curl.h>

#include "curlfunctions.h"

#include <cstdio>
#include <mutex>

#include <dlfcn.h>

namespace platform::curl {

namespace {

// Each member of the table with the function's name in the library.
template <class F> bool Read(void* handle, char const* name, F& function, std::string& failure) {
    if (!failure.empty()) return false;
    // POSIX guarantees that an object pointer from dlsym converts to a
    // function pointer.
    function = reinterpret_cast<F>(dlsym(handle, name));
    if (function == nullptr) failure = std::string("no function ") + name;
    return function != nullptr;
}

bool ReadAll(void* handle, Functions& f, std::string& failure) {
    Read(handle, "curl_global_init", f.global_init, failure);
    Read(handle, "curl_easy_init", f.easy_init, failure);
    Read(handle, "curl_easy_cleanup", f.easy_cleanup, failure);
    Read(handle, "curl_easy_reset", f.easy_reset, failure);
    Read(handle, "curl_easy_setopt", f.easy_setopt, failure);
    Read(handle, "curl_easy_getinfo", f.easy_getinfo, failure);
    Read(handle, "curl_easy_perform", f.easy_perform, failure);
    Read(handle, "curl_easy_escape", f.easy_escape, failure);
    Read(handle, "curl_free", f.free, failure);
    Read(handle, "curl_slist_append", f.slist_append, failure);
    Read(handle, "curl_slist_free_all", f.slist_free_all, failure);
    Read(handle, "curl_mime_init", f.mime_init, failure);
    Read(handle, "curl_mime_free", f.mime_free, failure);
    Read(handle, "curl_mime_addpart", f.mime_addpart, failure);
    Read(handle, "curl_mime_data", f.mime_data, failure);
    Read(handle, "curl_mime_filedata", f.mime_filedata, failure);
    Read(handle, "curl_mime_type", f.mime_type, failure);
    return Read(handle, "curl_mime_encoder", f.mime_encoder, failure);
}

} // namespace

Loader::Loader(char const* name) : handle_(dlopen(name, RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) {
        char const* const why = dlerror();
        failure_ = why != nullptr ? why : "cannot be opened";
        return;
    }
    complete_ = ReadAll(handle_, functions_, failure_);
}

Loader::~Loader() {
    if (handle_ != nullptr) dlclose(handle_);
}

Functions const* Library() {
    // Once for the process, on whichever thread asks first; the library's
    // own set-up is not safe to run twice or side by side.
    static Loader* loader = nullptr;
    static Functions const* ready = nullptr;
    static std::once_flag once;
    std::call_once(once, [] {
        loader = new Loader(kLibraryName); // kept to the end: its handles outlive any scope
        Functions const* const functions = loader->Get();
        if (functions == nullptr) {
            std::fprintf(stderr, "sorvane: the transfer library %s could not be loaded (%s)\n",
                         kLibraryName, loader->Failure().c_str());
        } else if (functions->global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
            std::fprintf(stderr, "sorvane: the transfer library %s could not be set up\n",
                         kLibraryName);
        } else {
            ready = functions;
        }
    });
    return ready;
}

} // namespace platform::curl
