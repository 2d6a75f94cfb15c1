// The splash server on the session bus: the class object that clients
// activate, the one splash object it hands out, the class's registration,
// and the control panel's refresh.
#pragma once

#include <platform/registry.h>
#include <splash/host/eventloop.h>
#include <splash/host/rawbus.h>
#include <splash/recentlists.h>
#include <splash/seams.h>
#include <splash/splashwindow.h>

#include <memory>
#include <string>
#include <vector>

#include <systemd/sd-bus.h>

namespace splash {

class BusClassHost final : public ClassObjectHost, public MessageTarget {
public:
    explicit BusClassHost(splash::EventLoop& loop) : loop_(loop) {}
    ~BusClassHost() override;

    // Connects to the session bus. Without one the server still runs its
    // loop, as it always has when publishing failed.
    void Initialize() override;
    void Uninitialize() override;
    HRESULT RegisterClassObjects(ClassFactory& factory) override;
    void RevokeClassObjects() override;

    sd_bus* Bus() const { return bus_; }
    // Handles what the bus has queued; after a blocking call, replies to
    // others may be waiting without the descriptor showing it.
    void Process();
    void ScheduleProcess();

    // The bus's callbacks.
    static int OnCreateInstance(sd_bus_message* m, void* user, sd_bus_error* error);
    static int OnMethod(sd_bus_message* m, void* user, sd_bus_error* error);
    static int OnNameOwnerChanged(sd_bus_message* m, void* user, sd_bus_error* error);
    static int OnSpareReady(sd_bus_message* m, void* user, sd_bus_error* error);

    // The host's own timers: a held create that waited too long, a started
    // server that no client came to.
    void Deliver(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) override;

private:
    // A create that came while this server serves its client: held until
    // the server started for it is reachable.
    struct HeldCreate {
        sd_bus_message* call;
        std::uint32_t number;
    };
    void HoldForSpare(sd_bus_message* m);
    void AnswerHeld(std::uint32_t number, std::string const& spare);
    void AnswerAllHeld();
    // A started server, not one the bus started: queues for the name and
    // tells the server that started it.
    void ReportSpareReady();

    int Dispatch(sd_bus_message* m, sd_bus_error* error);
    // Gives back the client's reference, once.
    void ReleaseClient();

    splash::EventLoop& loop_;
    // Declared first: it outlives the connection that reads through it.
    std::unique_ptr<RawBus> raw_;
    sd_bus* bus_ = nullptr;
    int busError_ = 0;
    int watch_ = -1;
    ClassFactory* factory_ = nullptr;
    sd_bus_slot* factorySlot_ = nullptr;
    sd_bus_slot* objectSlot_ = nullptr;
    sd_bus_slot* clientWatch_ = nullptr;
    bool nameOwned_ = false;
    bool created_ = false;
    ISplashWindow* object_ = nullptr; // the client's reference
    std::string client_;
    std::vector<HeldCreate> held_;
    std::uint32_t nextHeld_ = 1;
    std::string startedFor_; // "unique-name/number" of the server that started this one
};

// One value the class's registration writes to the store.
struct StoreEntry;

// "RegServer" and "UnregServer": the bus's service file for this user, the
// class's entries in the store, and the interface's description.
class BusClassRegistrar final : public ClassRegistrar {
public:
    HRESULT ApplyScript(int resource, bool bRegister) override;
    HRESULT RegisterServer() override;
    HRESULT UnregisterServer() override;

    static std::string ServiceFilePath();
    static std::string InterfaceFilePath();
    // The service file that starts this program for a client's activation.
    static std::string ServiceFileText(std::string const& program);

    // Why the last failing step failed, in words for standard error.
    std::string const& Failure() const { return failure_; }

private:
    HRESULT Write(std::vector<StoreEntry> const& entries);
    HRESULT Remove(std::vector<std::string> const& keys);
    HRESULT WriteFile(std::string const& path, std::string const& content);
    HRESULT RemoveFile(std::string const& path);
    HRESULT StoreFailed(platform::LSTATUS status, std::string const& key);

    std::string failure_;
};

// The control panel's refresh over the bus: called, and waited for within
// the bus's default timeout, only when its name has an owner.
class BusControlPanel final : public ControlPanel {
public:
    explicit BusControlPanel(BusClassHost& host) : host_(host) {}
    void SendRefresh(std::uint32_t message) override;

private:
    BusClassHost& host_;
};

} // namespace splash
