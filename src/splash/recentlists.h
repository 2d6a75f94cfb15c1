// The per-user lists of recently used applications and documents: five
// slots each, newest first, in the registry store; the control panel that
// shows them is told of a change.
#pragma once

#include <splash/host/eventloop.h>
#include <splash/seams.h>
#include <util/pstring.h>

#include <cstdint>
#include <string>
#include <vector>

namespace splash {

inline constexpr int RecentListCapacity = 5;
inline constexpr std::uint32_t RecentEntryReadLimit = 255;
inline constexpr std::uint32_t RecentInputLimit = 255;
inline constexpr char RecentEntrySeparator[] = "|";
inline constexpr std::uint32_t ControlPanelRefreshMessage = 1068;

// The control panel's window, found by its class "OTCtrlPanel" and title
// "Orvel Toolbar" and sent ControlPanelRefreshMessage. Without the bus there
// is no window to find.
class ControlPanel {
public:
    virtual ~ControlPanel() = default;
    virtual void SendRefresh(std::uint32_t message) = 0;
};

// An update the store could not take (locked by another process for longer
// than its wait, or failing) is kept and tried again, in order, before the
// next one, on the loop's timer, and once more when the server ends; one
// still unwritten then is reported on the diagnostic log and standard error.
class RecentListStore final : public RecentLists, public MessageTarget {
public:
    static constexpr std::uint32_t kRetryMs = 2000;

    explicit RecentListStore(ControlPanel& panel, EventLoop* loop = nullptr);
    ~RecentListStore() override;
    RecentListStore(RecentListStore const&) = delete;
    RecentListStore& operator=(RecentListStore const&) = delete;

    void AddToRecentAppList(BSTR bstrAppPath, BSTR bstrAppTitle) override;
    void AddToRecentDocList(BSTR bstrDocumentPath, BSTR bstrAppOpenWith) override;

    // Tries the kept updates; true when none is left.
    bool WritePending();
    // The last try at the end: what is still unwritten is reported.
    void Finish();
    std::size_t PendingCount() const { return pending_.size(); }
    void Deliver(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) override;

    // The control panel's readers: slot 0 is the newest. A slot that cannot
    // be read keeps what the caller put there.
    static void RecentApps(CPString (&entries)[RecentListCapacity]);
    static void RecentDocs(CPString (&entries)[RecentListCapacity]);
    static void Favorites(CPString (&entries)[RecentListCapacity]);

private:
    struct Update {
        char const* list;
        std::string entry;
    };
    void Add(char const* list, std::string entry);

    ControlPanel& panel_;
    EventLoop* loop_;
    std::vector<Update> pending_;
};

// Adds an entry in front of the named list: the list's own name and an
// entry's later copies are skipped, so slots past the last one written keep
// what they held. False when the store did not take the update.
bool AddToRecentList(char const* listName, CPString const& entry);

} // namespace splash
