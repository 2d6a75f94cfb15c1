#include <splashclient/splashprotocol.h>

namespace splashbus {

bool FindMethod(std::string_view name, Method* method) {
    for (std::size_t i = 0; i < kMethodCount; ++i) {
        if (name == kMethods[i].name) {
            *method = static_cast<Method>(i);
            return true;
        }
    }
    return false;
}

namespace {

void AppendMethod(std::string& xml, MethodSpec const& method) {
    std::string_view const signature = method.signature;
    if (signature.empty()) {
        xml += "    <method name=\"" + std::string(method.name) + "\"/>\n";
        return;
    }
    xml += "    <method name=\"" + std::string(method.name) + "\">\n";
    for (std::size_t i = 0; i < signature.size(); ++i) {
        xml += "      <arg name=\"" + std::string(method.arguments[i]) + "\" type=\"" +
               signature[i] + "\" direction=\"in\"/>\n";
    }
    xml += "    </method>\n";
}

} // namespace

std::string IntrospectionXml() {
    std::string xml =
        "<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object Introspection 1.0//EN\"\n"
        " \"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd\">\n"
        "<!-- ISplashWindow Interface 13.1 -->\n"
        "<node>\n";
    xml += "  <interface name=\"" + std::string(kFactoryInterface) + "\">\n";
    xml += "    <method name=\"" + std::string(kCreateMethod) +
           "\"><arg name=\"object\" type=\"o\" direction=\"out\"/></method>\n";
    xml += "  </interface>\n";
    xml += "  <interface name=\"" + std::string(kInterface) + "\">\n";
    for (MethodSpec const& method : kMethods)
        AppendMethod(xml, method);
    xml += "  </interface>\n</node>\n";
    return xml;
}

} // namespace splashbus
