// System-wide named flags, standing in for named events: a POSIX named
// semaphore per name and user. "Can be opened" is an open without create,
// "signal" is a post. Each user has a namespace of their own, so one user's
// flag never reaches another's processes.
#pragma once

#include <platform/export.h>

#include <memory>
#include <string>

namespace platform {

// When set, names the events of a scope apart from the user's others.
inline constexpr char kEventScopeVariable[] = "ORVELTECH_EVENT_SCOPE";

class SORVANE_API NamedEvent {
public:
    // The existing event, or null when there is none by that name.
    static std::unique_ptr<NamedEvent> Open(char const* name);
    // The event, made if it was not there.
    static std::unique_ptr<NamedEvent> Create(char const* name);
    // Takes the name away; processes that hold it keep theirs. False when
    // there was none.
    static bool Remove(char const* name);
    // The system's name for an event of this user.
    static std::string SystemName(char const* name);

    ~NamedEvent();
    NamedEvent(NamedEvent const&) = delete;
    NamedEvent& operator=(NamedEvent const&) = delete;

    bool Set();
    // Takes one signal if there is one; does not wait.
    bool TryTake();

private:
    explicit NamedEvent(void* semaphore) : semaphore_(semaphore) {}
    void* semaphore_;
};

} // namespace platform
