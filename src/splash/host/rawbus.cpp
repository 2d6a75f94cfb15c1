#include <splash/host/rawbus.h>

#include <splashclient/splashprotocol.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace splash {

namespace {

// The session bus's socket address: the first unix address the variable
// gives, else the user's runtime folder's "bus".
bool BusAddress(sockaddr_un* address, socklen_t* length) {
    *address = sockaddr_un{};
    address->sun_family = AF_UNIX;
    std::string path;
    bool abstract = false;
    if (char const* text = std::getenv("DBUS_SESSION_BUS_ADDRESS"); text != nullptr) {
        std::string const first = std::string(text).substr(0, std::string(text).find(';'));
        if (first.rfind("unix:", 0) != 0) return false;
        for (std::string const key : {"path=", "abstract="}) {
            std::size_t const at = first.find(key);
            if (at == std::string::npos) continue;
            std::size_t const end = first.find(',', at);
            path = first.substr(at + key.size(),
                                end == std::string::npos ? end : end - at - key.size());
            abstract = key == "abstract=";
        }
    } else if (char const* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime != nullptr) {
        path = std::string(runtime) + "/bus";
    }
    // Escapes (%xx) are left to the library's own connection.
    if (path.empty() || path.find('%') != std::string::npos ||
        path.size() + 1 >= sizeof address->sun_path)
        return false;
    std::memcpy(address->sun_path + (abstract ? 1 : 0), path.data(), path.size());
    *length =
        static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size() + (abstract ? 1 : 0));
    return true;
}

bool WriteAll(int fd, char const* data, std::size_t size) {
    while (size > 0) {
        ssize_t const n = ::write(fd, data, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        data += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

// Reads the message's values by the wire format's alignment, in its byte order.
class Cursor {
public:
    Cursor(std::string const& m, std::size_t at, bool big) : m_(m), at_(at), big_(big) {}
    bool Align(std::size_t n) {
        at_ = (at_ + n - 1) / n * n;
        return at_ <= m_.size();
    }
    bool Number(std::size_t size, std::uint64_t* out) {
        if (!Align(size) || at_ + size > m_.size()) return false;
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            auto const byte = static_cast<std::uint8_t>(m_[at_ + (big_ ? i : size - 1 - i)]);
            value = value << 8 | byte;
        }
        at_ += size;
        *out = value;
        return true;
    }
    // 's' and 'o' with a 32-bit length, 'g' with an 8-bit one.
    bool Text(char type, std::string* out) {
        std::uint64_t length = 0;
        if (!Number(type == 'g' ? 1 : 4, &length) || at_ + length + 1 > m_.size()) return false;
        *out = m_.substr(at_, length);
        at_ += length + 1;
        return true;
    }
    std::size_t At() const { return at_; }

private:
    std::string const& m_;
    std::size_t at_;
    bool big_;
};

constexpr std::size_t kFixedHeader = 16;
// The bus's own limit of a message.
constexpr std::uint64_t kMessageLimit = 128u << 20;

} // namespace

bool BusValidText(std::string const& text) {
    auto const* p = reinterpret_cast<unsigned char const*>(text.data());
    std::size_t const n = text.size();
    for (std::size_t i = 0; i < n;) {
        unsigned const c = p[i];
        std::size_t length = c < 0x80         ? 1
                             : (c >> 5) == 6  ? 2
                             : (c >> 4) == 14 ? 3
                             : (c >> 3) == 30 ? 4
                                              : 0;
        if (c == 0 || length == 0 || i + length > n) return false;
        std::uint32_t code = length == 1 ? c : c & (0x7F >> length);
        for (std::size_t k = 1; k < length; ++k) {
            if ((p[i + k] & 0xC0) != 0x80) return false;
            code = code << 6 | (p[i + k] & 0x3F);
        }
        static constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < kLeast[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return false;
        i += length;
    }
    return true;
}

bool RawBus::Reader::Message(std::string const& m, std::string* sender, std::uint64_t* serial,
                             std::vector<RawArgument>* arguments) const {
    bool const big = m[0] == 'B';
    if (m[1] != 1) return false; // method calls only
    Cursor header(m, 8, big);
    std::uint64_t fieldsLength = 0;
    if (!header.Number(4, serial) || !header.Number(4, &fieldsLength)) return false;
    std::size_t const fieldsEnd = kFixedHeader + fieldsLength;
    std::string interface, signature;
    while (header.Align(8) && header.At() < fieldsEnd) {
        std::uint64_t code = 0;
        std::string type, value;
        if (!header.Number(1, &code) || !header.Text('g', &type) || type.size() != 1) return false;
        std::uint64_t number = 0;
        bool const read = type[0] == 'u' ? header.Number(4, &number) : header.Text(type[0], &value);
        if (!read || std::string_view("sogu").find(type[0]) == std::string_view::npos) return false;
        if (code == 2) interface = value;
        if (code == 7) *sender = value;
        if (code == 8) signature = value;
    }
    if (interface != interface_ || signature.find_first_not_of("sn") != std::string::npos)
        return false;
    Cursor body(m, (fieldsEnd + 7) / 8 * 8, big);
    for (char const type : signature) {
        RawArgument argument{type, {}, 0};
        std::uint64_t number = 0;
        if (type == 's' ? !body.Text('s', &argument.text) : !body.Number(2, &number)) return false;
        argument.number = static_cast<std::int16_t>(number);
        arguments->push_back(std::move(argument));
    }
    return true;
}

bool RawBus::Reader::Feed(char const* data, std::size_t size, Keep const& keep) {
    buffer_.append(data, size);
    // The bus's answers to the authentication are lines; the first message
    // follows the line that begins "OK" and any answer to a pipelined
    // request after it.
    // Lines begin with capitals, messages with 'l' or 'B' (their byte order).
    while (!authenticated_ ||
           (!binary_ && !buffer_.empty() && buffer_[0] != 'l' && buffer_[0] != 'B')) {
        std::size_t const end = buffer_.find("\r\n");
        if (end == std::string::npos) return buffer_.size() < 4096;
        authenticated_ = authenticated_ || buffer_.rfind("OK", 0) == 0;
        buffer_.erase(0, end + 2);
    }
    binary_ = binary_ || !buffer_.empty();
    while (buffer_.size() >= kFixedHeader) {
        if (buffer_[0] != 'l' && buffer_[0] != 'B') return false;
        Cursor header(buffer_, 4, buffer_[0] == 'B');
        std::uint64_t bodyLength = 0, serial = 0, fieldsLength = 0;
        header.Number(4, &bodyLength);
        header.Number(4, &serial);
        header.Number(4, &fieldsLength);
        std::uint64_t const total = (kFixedHeader + fieldsLength + 7) / 8 * 8 + bodyLength;
        if (total > kMessageLimit) return false;
        if (buffer_.size() < total) return true;
        std::string const message = buffer_.substr(0, total);
        buffer_.erase(0, total);
        std::string sender;
        std::vector<RawArgument> arguments;
        if (Message(message, &sender, &serial, &arguments))
            keep(sender, serial, std::move(arguments));
    }
    return true;
}

RawBus::~RawBus() {
    if (stop_ != -1) {
        std::uint64_t const one = 1;
        (void)!::write(stop_, &one, sizeof one);
    }
    if (pump_.joinable()) pump_.join();
    for (int fd : {socket_, libraryEnd_, stop_})
        if (fd != -1) ::close(fd);
}

int RawBus::Open(sd_bus** bus) {
    sockaddr_un address{};
    socklen_t length = 0;
    if (!BusAddress(&address, &length)) return -ENOMEDIUM;
    socket_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket_ < 0) return -errno;
    if (::connect(socket_, reinterpret_cast<sockaddr*>(&address), length) < 0) return -errno;
    int pair[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) < 0) return -errno;
    libraryEnd_ = pair[1];
    libraryFd_ = pair[0];
    stop_ = ::eventfd(0, EFD_CLOEXEC);
    if (stop_ < 0) {
        ::close(pair[0]);
        return -errno;
    }
    int const output = ::fcntl(socket_, F_DUPFD_CLOEXEC, 3);
    sd_bus* made = nullptr;
    int rc = sd_bus_new(&made);
    if (rc >= 0) rc = sd_bus_set_fd(made, pair[0], output);
    if (rc >= 0) rc = sd_bus_set_bus_client(made, 1);
    if (rc >= 0) rc = sd_bus_negotiate_fds(made, 0);
    if (rc >= 0) {
        pump_ = std::thread([this] { Pump(); });
        rc = sd_bus_start(made);
    }
    if (rc < 0) {
        sd_bus_unref(made);
        return rc;
    }
    *bus = made;
    return 0;
}

void RawBus::Pump() {
    Reader reader(splashbus::kInterface);
    bool reading = true; // a stream that makes no sense is still passed on
    std::array<char, 65536> chunk;
    for (;;) {
        pollfd fds[2] = {{socket_, POLLIN, 0}, {stop_, POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        if (fds[1].revents != 0) break;
        ssize_t const n = ::read(socket_, chunk.data(), chunk.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        auto const size = static_cast<std::size_t>(n);
        if (reading) {
            reading = reader.Feed(chunk.data(), size,
                                  [this](std::string const& sender, std::uint64_t serial,
                                         std::vector<RawArgument> arguments) {
                                      std::lock_guard<std::mutex> lock(mutex_);
                                      // Calls the library refuses before
                                      // they reach us are not kept long.
                                      if (calls_.size() > 256) calls_.erase(calls_.begin());
                                      calls_[{sender, serial}] = std::move(arguments);
                                  });
        }
        if (!WriteAll(libraryEnd_, chunk.data(), size)) break;
    }
    // The library sees the bus go.
    ::shutdown(libraryEnd_, SHUT_WR);
}

std::optional<std::vector<RawArgument>> RawBus::Take(std::string const& sender,
                                                     std::uint64_t serial) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto const it = calls_.find({sender, serial});
    if (it == calls_.end()) return std::nullopt;
    std::vector<RawArgument> arguments = std::move(it->second);
    calls_.erase(it);
    return arguments;
}

} // namespace splash
