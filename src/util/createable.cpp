#include <util/createable.h>

std::uint32_t Createable::ulInstanceCount = 0;
unsigned char Createable::bHeapCheck = 0;
unsigned char Createable::bHeapMark = 0;

Createable::~Createable() {
    --ulInstanceCount;
}

std::uint16_t Createable::AddRef() {
    return ++nRefCount;
}

std::uint16_t Createable::Release() {
    std::uint16_t const remaining = --nRefCount;
    if (remaining == 0) delete this;
    return remaining;
}
