// A client's connection to the user's session bus, for programs that call a
// service's methods with plain texts and numbers and read plain answers.
#pragma once

#include <platform/export.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace platform {

// One argument or answer: a text ('s', or 'o' for an object path) or a
// number ('n' 16-bit, 'u' unsigned 32-bit, 'b' a flag).
struct BusValue {
    char type = 's';
    std::string text;
    std::int64_t number = 0;

    static BusValue Text(std::string value) { return {'s', std::move(value), 0}; }
    static BusValue Number(char type, std::int64_t value) { return {type, {}, value}; }
};

struct BusCall {
    std::string destination;
    std::string path;
    std::string interface;
    std::string member;
};

// What a call answered: 0 and the answers in order, or a negative errno-style
// code and the bus's message.
struct BusReply {
    int status = 0;
    std::string error;
    std::string errorName; // the bus's name of the error, when it gave one
    std::string sender;    // the unique name of whoever answered
    std::vector<BusValue> values;
};

class SORVANE_API BusConnection {
public:
    // Null when the bus cannot be reached, with the reason in *error.
    static std::unique_ptr<BusConnection> OpenUser(std::string* error);
    ~BusConnection();
    BusConnection(BusConnection const&) = delete;
    BusConnection& operator=(BusConnection const&) = delete;

    // Waits for the answer, within the bus's default time-out.
    BusReply Call(BusCall const& call, std::vector<BusValue> const& arguments);

private:
    struct Handle;
    explicit BusConnection(std::unique_ptr<Handle> handle);
    std::unique_ptr<Handle> handle_;
};

} // namespace platform
