// An HTTP GET through the framework's internet calls: a session, a
// connection to the server, a request, its status and its body. HttpClient
// keeps a body only when it answers an authentication challenge
// (GetLoginInfo), so a plain GET is made with the calls beneath it.
//
//   http_get URL          URL is http://host[:port]/path or https://...
//
// Prints the status and the body, and exits with 0 for a status of 200, 1
// for another status or a failure (with the internet library's error
// number), 2 for a bad URL. Every call blocks; a server that stops answering
// ends the request after the receive time-out (30 s by default).
#include <platform/internet.h>
#include <platform/syserror.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

using namespace platform;

namespace {

// Each handle is closed on every way out, the request before its
// connection and the connection before its session.
struct HandleCloser {
    void operator()(InternetObject* handle) const { InternetCloseHandle(handle); }
};
using Handle = std::unique_ptr<InternetObject, HandleCloser>;

struct Target {
    std::string server; // what InternetConnectA takes
    std::string object; // the path asked for
    bool secure = false;
};

// "http://host:port/path" keeps its scheme in the server's name, which asks
// for plain HTTP; an HTTPS server is named "host[:port]" and the request
// carries INTERNET_FLAG_SECURE.
bool Split(std::string const& url, Target* target) {
    std::string::size_type const scheme = url.find("://");
    if (scheme == std::string::npos) return false;
    std::string const name = url.substr(0, scheme);
    if (name != "http" && name != "https") return false;
    std::string::size_type const path = url.find('/', scheme + 3);
    std::string const host = url.substr(scheme + 3, path - (scheme + 3));
    if (host.empty()) return false;
    target->secure = name == "https";
    target->server = target->secure ? host : "http://" + host;
    target->object = path == std::string::npos ? "/" : url.substr(path);
    return true;
}

int Failed(char const* step) {
    std::uint32_t const error = GetLastError();
    std::fprintf(stderr, "http_get: %s failed: error %u\n", step, error);
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    Target target;
    if (argc != 2 || !Split(argv[1], &target)) {
        std::fprintf(stderr, "usage: http_get http://host[:port]/path\n");
        return 2;
    }

    Handle const session(InternetOpenA("http_get", INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, 0));
    if (!session) return Failed("opening the session");
    // No connection is made yet: the first request reaches the server.
    std::uint16_t const port = target.secure ? 443 : 80;
    Handle const connection(InternetConnectA(session.get(), target.server.c_str(), port, nullptr,
                                             nullptr, INTERNET_SERVICE_HTTP, 0, 0));
    if (!connection) return Failed("connecting");

    // Never from a cache; redirects only on the request's own scheme.
    std::uint32_t const flags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE |
                                INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTP |
                                INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTPS |
                                (target.secure ? std::uint32_t{INTERNET_FLAG_SECURE} : 0u);
    Handle const request(HttpOpenRequestA(connection.get(), "GET", target.object.c_str(), nullptr,
                                          nullptr, nullptr, flags, 0));
    if (!request) return Failed("opening the request");
    if (!HttpSendRequestA(request.get(), nullptr, 0, nullptr, 0)) return Failed("the request");

    std::uint32_t status = 0;
    std::uint32_t size = sizeof status;
    if (!HttpQueryInfoA(request.get(), HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status,
                        &size, nullptr))
        return Failed("reading the status");

    // The answer has been received whole; the reads take it from memory
    // until one gives nothing.
    std::string body;
    char step[4096];
    for (std::uint32_t read = 1; read != 0;) {
        if (!InternetReadFile(request.get(), step, sizeof step, &read))
            return Failed("reading the body");
        body.append(step, read);
    }
    std::printf("GET %s: status %u, %zu bytes\n", argv[1], status, body.size());
    std::fwrite(body.data(), 1, body.size(), stdout);
    return status == 200 ? 0 : 1;
}
