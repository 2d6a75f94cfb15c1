#include <splash/recentlists.h>

#include <cpcoll/cpdict.h>
#include <platform/namedevent.h>
#include <platform/paths.h>
#include <platform/registry.h>
#include <splash/diagnostics.h>
#include <splash/textcopy.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace splash {

namespace {

using namespace platform;

constexpr char kListKey[] = "Software\\Orveltech\\RecentlyUsed";
constexpr char kSuppressApps[] = "SuppressRecentApps";
constexpr char kSuppressDocs[] = "SuppressRecentDocs";
constexpr char kControlPanelEvent[] = "OTCtrlPanel";
constexpr std::uint32_t kReaderLimit = 256;

// A client's text as the lists take it: narrow, bounded and right-trimmed.
std::string Take(BSTR text) {
    std::array<char, RecentInputLimit> field{};
    BoundedCopy(field, NarrowFromBstr(text), RecentInputLimit);
    RightTrim(field);
    return field.data();
}

// Paths with "~" are expanded; what the expansion gives is used as it is.
std::string Expand(std::string const& path) {
    if (path.find('~') == std::string::npos) return path;
    char expanded[platform::LongPathLimit] = {};
    GetLongPathNameA(path.c_str(), expanded, platform::LongPathLimit);
    return expanded;
}

// The named flag is there: close it again and say so.
bool Suppressed(char const* eventName) {
    return NamedEvent::Open(eventName) != nullptr;
}

std::string SlotName(char const* listName, int slot) {
    return std::string(listName) + std::to_string(slot);
}

void ReadSlots(HKEY key, char const* listName, std::uint32_t limit,
               CPString (&entries)[RecentListCapacity]) {
    for (int slot = 0; slot < RecentListCapacity; ++slot) {
        std::string buffer(limit, '\0');
        std::uint32_t size = limit;
        if (RegQueryValueExA(key, SlotName(listName, slot).c_str(), nullptr, nullptr,
                             reinterpret_cast<std::uint8_t*>(buffer.data()), &size) == 0) {
            entries[slot] = buffer.c_str();
        }
    }
}

void ReadList(char const* listName, CPString (&entries)[RecentListCapacity]) {
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, kListKey, 0, KEY_READ, &key) != 0) return;
    ReadSlots(key, listName, kReaderLimit, entries);
    RegCloseKey(key);
}

// The store whose kept updates the end of the process still owes.
RecentListStore* gOpenStore = nullptr;

void FinishOpenStore() {
    if (gOpenStore != nullptr) gOpenStore->Finish();
}

} // namespace

bool AddToRecentList(char const* listName, CPString const& entry) {
    // The list's own name counts as seen, so no entry equal to it is written.
    CPDictionary seen(CPDictionary::kSlots);
    CPString name(listName);
    seen.AddKeyString(&name, &name);

    // One transaction: servers updating the list at once take turns.
    RegTransaction transaction;
    HKEY key = nullptr;
    if (transaction.Status() != 0 || RegCreateKeyExA(HKEY_CURRENT_USER, kListKey, 0, nullptr, 0,
                                                     KEY_ALL_ACCESS, nullptr, &key, nullptr) != 0)
        return false;

    // A missing slot, or one too long for the limit, reads as empty.
    CPString entries[RecentListCapacity] = {"", "", "", "", ""};
    ReadSlots(key, listName, RecentEntryReadLimit, entries);
    for (int i = RecentListCapacity - 1; i > 0; --i)
        entries[i] = entries[i - 1];
    entries[0] = entry.Length() != 0 ? CPString(entry) : CPString("");

    // An empty element is a text like any other: the first is written and
    // later ones are its duplicates. The dictionary files an empty key under
    // "UnNamed", where no search for the empty text finds it, so the empty
    // one is remembered beside it.
    int writeSlot = 0;
    bool emptySeen = false;
    for (CPString& candidate : entries) {
        bool const empty = candidate.Length() == 0;
        if (empty ? emptySeen : seen.FindKeyString(&candidate) != nullptr) continue;
        if (empty) {
            emptySeen = true;
        } else {
            seen.AddKeyString(&candidate, &candidate);
        }
        // The length alone, without a terminator.
        RegSetValueExA(key, SlotName(listName, writeSlot).c_str(), 0, REG_SZ,
                       reinterpret_cast<std::uint8_t const*>(candidate.GetBuffer()),
                       static_cast<std::uint32_t>(candidate.Length()));
        ++writeSlot;
    }
    RegCloseKey(key);
    if (transaction.Commit() != 0) return false;

    if (auto panel = NamedEvent::Open(kControlPanelEvent)) panel->Set();
    return true;
}

RecentListStore::RecentListStore(ControlPanel& panel, EventLoop* loop)
    : panel_(panel), loop_(loop) {
    // The splash's timer may end the process by exit(): the kept updates are
    // tried once more then too.
    static bool const registered = std::atexit(FinishOpenStore) == 0;
    (void)registered;
    gOpenStore = this;
}

RecentListStore::~RecentListStore() {
    Finish();
    if (loop_ != nullptr) loop_->Forget(this);
    if (gOpenStore == this) gOpenStore = nullptr;
}

void RecentListStore::Add(char const* list, std::string entry) {
    // After what is kept, so that the updates reach the store in order.
    pending_.push_back({list, std::move(entry)});
    if (WritePending() || loop_ == nullptr) return;
    loop_->SetTimer(this, 1, kRetryMs);
}

bool RecentListStore::WritePending() {
    std::size_t written = 0;
    while (written < pending_.size() &&
           AddToRecentList(pending_[written].list, CPString(pending_[written].entry.c_str())))
        ++written;
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(written));
    if (pending_.empty() && loop_ != nullptr) loop_->KillTimer(this, 1);
    return pending_.empty();
}

void RecentListStore::Deliver(std::uint32_t message, std::uintptr_t, std::intptr_t) {
    if (message == WM_TIMER) WritePending();
}

void RecentListStore::Finish() {
    if (pending_.empty() || WritePending()) return;
    for (Update const& update : pending_) {
        std::string const line = std::string("a recent-list update could not be written: ") +
                                 update.list + " \"" + update.entry + "\"";
        SplashLog(CPString(line.c_str()));
        std::fprintf(stderr, "orvelsplash: %s\n", line.c_str());
    }
    pending_.clear();
}

void RecentListStore::AddToRecentAppList(BSTR bstrAppPath, BSTR bstrAppTitle) {
    std::string const path = Expand(Take(bstrAppPath));
    std::string const title = Take(bstrAppTitle);
    if (!path.empty() && !Suppressed(kSuppressApps)) {
        std::string entry = path;
        if (!title.empty()) entry += RecentEntrySeparator + title;
        Add("RecentApps", entry);
    }
    // Even when nothing was recorded.
    panel_.SendRefresh(ControlPanelRefreshMessage);
}

void RecentListStore::AddToRecentDocList(BSTR bstrDocumentPath, BSTR bstrAppOpenWith) {
    std::string document = Take(bstrDocumentPath);
    std::string application = Take(bstrAppOpenWith);
    if (document.empty()) return;
    document = Expand(document);
    application = Expand(application);
    // The opener leads: a document entry is read as "open with, then what".
    std::string entry =
        application.empty() ? document : application + RecentEntrySeparator + document;
    if (Suppressed(kSuppressDocs)) return;
    if (!entry.empty()) Add("RecentDocs", entry);
}

void RecentListStore::RecentApps(CPString (&entries)[RecentListCapacity]) {
    ReadList("RecentApps", entries);
}
void RecentListStore::RecentDocs(CPString (&entries)[RecentListCapacity]) {
    ReadList("RecentDocs", entries);
}
void RecentListStore::Favorites(CPString (&entries)[RecentListCapacity]) {
    ReadList("Favorites", entries);
}

} // namespace splash
