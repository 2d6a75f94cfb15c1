#include <util/createable.h>

#include <util/exceptions.h>

std::uint32_t Createable::ulInstanceCount = 0;
unsigned char Createable::bHeapCheck = 0;
unsigned char Createable::bHeapMark = 0;

Createable::~Createable() {
    --ulInstanceCount;
}

std::uint16_t Createable::AddRef() {
    return ++nRefCount;
}

// A count of 0 here means the object is not held: it is never wrapped round
// to 65535, which would keep the object alive for good.
std::uint16_t Createable::Release() {
    SV_ASSERT(nRefCount != 0, "nRefCount > 0");
    std::uint16_t const remaining = --nRefCount;
    if (remaining == 0) delete this;
    return remaining;
}
