/// \file
/// System-wide named flags, standing in for named events: a POSIX named
/// semaphore per name and user. "Can be opened" is an open without create,
/// "signal" is a post. Each user has a namespace of their own, so one user's
/// flag never reaches another's processes.
#pragma once

#include <platform/export.h>

#include <memory>
#include <string>

namespace platform {

/// The environment variable that, when set, names the events of a scope
/// apart from the user's others.
inline constexpr char kEventScopeVariable[] = "ORVELTECH_EVENT_SCOPE";

/// \brief A system-wide named flag of this user, standing in for a named
/// event: a POSIX named semaphore per name and user.
class SORVANE_API NamedEvent {
public:
    /// Opens an existing event without creating it.
    /// \param name the event's name.
    /// \return the event, owned by the caller, or null when there is none by
    ///         that name.
    static std::unique_ptr<NamedEvent> Open(char const* name);
    /// Opens the event, making it if it was not there.
    /// \param name the event's name.
    /// \return the event, owned by the caller, or null when it cannot be made.
    static std::unique_ptr<NamedEvent> Create(char const* name);
    /// Takes the name away; processes that hold the event keep theirs.
    /// \param name the event's name.
    /// \return false when there was none.
    static bool Remove(char const* name);
    /// \param name the event's name.
    /// \return the system's name for an event of this user.
    static std::string SystemName(char const* name);

    ~NamedEvent();
    NamedEvent(NamedEvent const&) = delete;
    NamedEvent& operator=(NamedEvent const&) = delete;

    /// Signals the event (a post).
    /// \return false when the signal could not be given.
    bool Set();
    /// Takes one signal if there is one; does not wait.
    /// \return true when a signal was taken.
    bool TryTake();

private:
    explicit NamedEvent(void* semaphore) : semaphore_(semaphore) {}
    void* semaphore_;
};

} // namespace platform
