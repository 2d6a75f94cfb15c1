/// \file
/// A client's connection to the user's session bus, for programs that call a
/// service's methods with plain texts and numbers and read plain answers.
#pragma once

#include <platform/export.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace platform {

/// \brief One argument or answer: a text ('s', or 'o' for an object path) or
/// a number ('n' 16-bit, 'u' unsigned 32-bit, 'b' a flag).
struct BusValue {
    /// The bus type code.
    char type = 's';
    /// The text, for 's' and 'o'.
    std::string text;
    /// The number, for 'n', 'u' and 'b'.
    std::int64_t number = 0;

    /// \param value the text.
    /// \return a text argument ('s').
    static BusValue Text(std::string value) { return {'s', std::move(value), 0}; }
    /// \param type 'n', 'u' or 'b'.
    /// \param value the number.
    /// \return a number argument.
    static BusValue Number(char type, std::int64_t value) { return {type, {}, value}; }
};

/// \brief Whom a method call goes to.
struct BusCall {
    /// The service's bus name.
    std::string destination;
    /// The object's path.
    std::string path;
    /// The interface's name.
    std::string interface;
    /// The method's name.
    std::string member;
};

/// \brief What a call answered: 0 and the answers in order, or a negative
/// errno-style code and the bus's message.
struct BusReply {
    /// 0, or a negative errno-style code.
    int status = 0;
    /// The bus's message of a failure.
    std::string error;
    /// The bus's name of the error, when it gave one.
    std::string errorName;
    /// The unique name of whoever answered.
    std::string sender;
    /// The answers, in order.
    std::vector<BusValue> values;
};

/// \brief A client's connection to the user's session bus, for calls with
/// plain texts and numbers.
class SORVANE_API BusConnection {
public:
    /// Connects to the user's session bus.
    /// \param error receives the reason when the bus cannot be reached.
    /// \return the connection, owned by the caller, or null.
    static std::unique_ptr<BusConnection> OpenUser(std::string* error);
    ~BusConnection();
    BusConnection(BusConnection const&) = delete;
    BusConnection& operator=(BusConnection const&) = delete;

    /// Calls a method and waits for the answer, within the bus's default time-out.
    /// \param call whom the call goes to.
    /// \param arguments the arguments in order.
    /// \return the reply; a failure has a negative status and the bus's message.
    BusReply Call(BusCall const& call, std::vector<BusValue> const& arguments);

private:
    struct Handle;
    explicit BusConnection(std::unique_ptr<Handle> handle);
    std::unique_ptr<Handle> handle_;
};

} // namespace platform
