// Uses the installed client library through its header only: the interface's
// table and its description, and the client's entry point.
#include <splashclient/splashclient.h>

#include <cstdio>
#include <string>

int main() {
    std::string const xml = splashbus::IntrospectionXml();
    bool const described = xml.find("<method name=\"ShowSplash2\">") != std::string::npos &&
                           xml.find(splashbus::kInterface) != std::string::npos;
    splashbus::Method method{};
    bool const found = splashbus::FindMethod("SetStatusText", &method) &&
                       method == splashbus::Method::SetStatusText;
    // Linked, not called: a call would start a server.
    auto* create = &SplashClient::Create;
    if (!described || !found || create == nullptr) {
        std::fprintf(stderr, "client_consumer: the client library's interface is not whole\n");
        return 1;
    }
    return 0;
}
