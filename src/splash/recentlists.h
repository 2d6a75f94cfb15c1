// The per-user lists of recently used applications and documents: five
// slots each, newest first, in the registry store; the control panel that
// shows them is told of a change.
#pragma once

#include <splash/seams.h>
#include <util/pstring.h>

#include <cstdint>

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

class RecentListStore final : public RecentLists {
public:
    explicit RecentListStore(ControlPanel& panel) : panel_(panel) {}

    void AddToRecentAppList(BSTR bstrAppPath, BSTR bstrAppTitle) override;
    void AddToRecentDocList(BSTR bstrDocumentPath, BSTR bstrAppOpenWith) override;

    // The control panel's readers: slot 0 is the newest. A slot that cannot
    // be read keeps what the caller put there.
    static void RecentApps(CPString (&entries)[RecentListCapacity]);
    static void RecentDocs(CPString (&entries)[RecentListCapacity]);
    static void Favorites(CPString (&entries)[RecentListCapacity]);

private:
    ControlPanel& panel_;
};

// Adds an entry in front of the named list: the list's own name and an
// entry's later copies are skipped, so slots past the last one written keep
// what they held.
void AddToRecentList(char const* listName, CPString const& entry);

} // namespace splash
