#include <platform/busclient.h>

#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstring>

namespace platform {

struct BusConnection::Handle {
    sd_bus* bus = nullptr;
    ~Handle() { sd_bus_flush_close_unref(bus); }
};

namespace {

// A message and an error that free themselves.
struct Exchange {
    sd_bus_message* call = nullptr;
    sd_bus_message* reply = nullptr;
    sd_bus_error error = SD_BUS_ERROR_NULL;
    ~Exchange() {
        sd_bus_message_unref(call);
        sd_bus_message_unref(reply);
        sd_bus_error_free(&error);
    }
};

int Append(sd_bus_message* m, BusValue const& value) {
    switch (value.type) {
    case 's':
    case 'o':
        return sd_bus_message_append_basic(m, value.type, value.text.c_str());
    case 'n': {
        auto const n = static_cast<std::int16_t>(value.number);
        return sd_bus_message_append_basic(m, 'n', &n);
    }
    case 'u': {
        auto const u = static_cast<std::uint32_t>(value.number);
        return sd_bus_message_append_basic(m, 'u', &u);
    }
    case 'b': {
        int const b = value.number != 0;
        return sd_bus_message_append_basic(m, 'b', &b);
    }
    default:
        return -EINVAL;
    }
}

int ReadOne(sd_bus_message* m, char type, BusValue* value) {
    value->type = type;
    switch (type) {
    case 's':
    case 'o': {
        char const* text = nullptr;
        int const rc = sd_bus_message_read_basic(m, type, &text);
        if (rc > 0) value->text = text;
        return rc;
    }
    case 'n': {
        std::int16_t n = 0;
        int const rc = sd_bus_message_read_basic(m, 'n', &n);
        value->number = n;
        return rc;
    }
    case 'u': {
        std::uint32_t u = 0;
        int const rc = sd_bus_message_read_basic(m, 'u', &u);
        value->number = u;
        return rc;
    }
    case 'b': {
        int b = 0;
        int const rc = sd_bus_message_read_basic(m, 'b', &b);
        value->number = b;
        return rc;
    }
    default:
        return -EINVAL;
    }
}

// The answers of the basic types above, in order; others end the reading.
int ReadAll(sd_bus_message* m, std::vector<BusValue>* values) {
    for (;;) {
        char type = 0;
        int rc = sd_bus_message_peek_type(m, &type, nullptr);
        if (rc <= 0) return rc;
        BusValue value;
        rc = ReadOne(m, type, &value);
        if (rc < 0) return rc;
        values->push_back(std::move(value));
    }
}

std::string Describe(sd_bus_error const& error, int status) {
    return error.message != nullptr ? error.message : std::strerror(-status);
}

} // namespace

BusConnection::BusConnection(std::unique_ptr<Handle> handle) : handle_(std::move(handle)) {}
BusConnection::~BusConnection() = default;

std::unique_ptr<BusConnection> BusConnection::OpenUser(std::string* error) {
    auto handle = std::make_unique<Handle>();
    int const rc = sd_bus_open_user(&handle->bus);
    if (rc < 0) {
        handle->bus = nullptr;
        if (error != nullptr)
            *error = std::string("cannot reach the session bus: ") + std::strerror(-rc);
        return nullptr;
    }
    return std::unique_ptr<BusConnection>(new BusConnection(std::move(handle)));
}

BusReply BusConnection::Call(BusCall const& call, std::vector<BusValue> const& arguments) {
    BusReply reply;
    Exchange exchange;
    int rc = sd_bus_message_new_method_call(
        handle_->bus, &exchange.call, call.destination.c_str(), call.path.c_str(),
        call.interface.c_str(), call.member.c_str());
    for (auto it = arguments.begin(); rc >= 0 && it != arguments.end(); ++it)
        rc = Append(exchange.call, *it);
    if (rc >= 0)
        rc = sd_bus_call(handle_->bus, exchange.call, 0, &exchange.error, &exchange.reply);
    if (rc >= 0) {
        char const* sender = sd_bus_message_get_sender(exchange.reply);
        reply.sender = sender != nullptr ? sender : "";
        rc = ReadAll(exchange.reply, &reply.values);
    }
    reply.status = rc < 0 ? rc : 0;
    if (rc < 0) reply.error = Describe(exchange.error, rc);
    if (rc < 0 && exchange.error.name != nullptr) reply.errorName = exchange.error.name;
    if (rc < 0 && exchange.error.name != nullptr) reply.errorName = exchange.error.name;
    return reply;
}

} // namespace platform
