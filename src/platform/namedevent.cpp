#include <platform/namedevent.h>

#include <cstdlib>

#include <fcntl.h>
#include <semaphore.h>
#include <unistd.h>

namespace platform {
namespace {

sem_t* AsSemaphore(void* semaphore) {
    return static_cast<sem_t*>(semaphore);
}

} // namespace

std::string NamedEvent::SystemName(char const* name) {
    // A semaphore's name is one path component after its slash.
    std::string system = "/orveltech.";
    for (char const* c = name != nullptr ? name : ""; *c != '\0'; ++c)
        system += *c == '/' ? '_' : *c;
    system += '.';
    system += std::to_string(::getuid());
    // A namespace of their own for tests and for installations side by side.
    if (char const* scope = std::getenv(kEventScopeVariable); scope != nullptr && *scope != '\0') {
        system += ".";
        system += scope;
    }
    return system;
}

std::unique_ptr<NamedEvent> NamedEvent::Open(char const* name) {
    sem_t* semaphore = ::sem_open(SystemName(name).c_str(), 0);
    if (semaphore == SEM_FAILED) return nullptr;
    return std::unique_ptr<NamedEvent>(new NamedEvent(semaphore));
}

std::unique_ptr<NamedEvent> NamedEvent::Create(char const* name) {
    sem_t* semaphore = ::sem_open(SystemName(name).c_str(), O_CREAT, 0600, 0);
    if (semaphore == SEM_FAILED) return nullptr;
    return std::unique_ptr<NamedEvent>(new NamedEvent(semaphore));
}

bool NamedEvent::Remove(char const* name) {
    return ::sem_unlink(SystemName(name).c_str()) == 0;
}

NamedEvent::~NamedEvent() {
    ::sem_close(AsSemaphore(semaphore_));
}

bool NamedEvent::Set() {
    return ::sem_post(AsSemaphore(semaphore_)) == 0;
}

bool NamedEvent::TryTake() {
    return ::sem_trywait(AsSemaphore(semaphore_)) == 0;
}

} // namespace platform
