// The server's connection to the session bus, with the incoming bytes read
// here first: the bus library refuses, when a text is read, the Unicode
// noncharacters (U+FFFE, U+FDD0, ...) that the bus carries and a client may
// send. A thread moves the bytes from the bus's socket to the library's end
// of a socket pair, and on the way keeps the arguments of each call of the
// splash's interface, by sender and serial, as they were sent.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <systemd/sd-bus.h>

namespace splash {

// One argument of a call as sent: a text, or a number.
struct RawArgument {
    char type;
    std::string text;
    std::int64_t number;
};

class RawBus {
public:
    RawBus() = default;
    ~RawBus();
    RawBus(RawBus const&) = delete;
    RawBus& operator=(RawBus const&) = delete;

    // Connects to the session bus and starts the library's connection on it
    // in *bus. A negative errno when the bus cannot be reached.
    int Open(sd_bus** bus);

    // The descriptor the library reads; watched in its stead, since the
    // library gives none of its own when it reads and writes apart.
    int LibraryFd() const { return libraryFd_; }

    // The arguments of the call from sender with that serial, taken once;
    // none when the call was not one of interface's.
    std::optional<std::vector<RawArgument>> Take(std::string const& sender, std::uint64_t serial);

    // What the reading side makes of the stream; public for its tests.
    class Reader {
    public:
        explicit Reader(std::string interface) : interface_(std::move(interface)) {}
        using Keep = std::function<void(std::string const& sender, std::uint64_t serial,
                                        std::vector<RawArgument> arguments)>;
        // Takes the next bytes; each complete call of the interface is
        // handed to keep. False once the stream makes no sense.
        bool Feed(char const* data, std::size_t size, Keep const& keep);

    private:
        bool Message(std::string const& m, std::string* sender, std::uint64_t* serial,
                     std::vector<RawArgument>* arguments) const;

        std::string interface_;
        std::string buffer_;
        bool authenticated_ = false;
        bool binary_ = false;
    };

private:
    void Pump();

    int socket_ = -1;
    int libraryEnd_ = -1; // the library reads its end, we write this one
    int libraryFd_ = -1;  // the library's end, closed by the library
    int stop_ = -1;       // an eventfd that ends the pump
    std::thread pump_;
    std::mutex mutex_;
    std::map<std::pair<std::string, std::uint64_t>, std::vector<RawArgument>> calls_;
};

// Well-formed UTF-8 as the bus allows it: no surrogate, nothing above
// U+10FFFF, no overlong form, no NUL. Noncharacters are allowed.
bool BusValidText(std::string const& text);

} // namespace splash
