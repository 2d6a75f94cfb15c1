// The root of the framework's classes: an intrusive 16-bit reference count
// and a count of live instances. A new object starts at 0; its first holder
// calls AddRef, and the Release that brings it back to 0 deletes it. A
// Release on an object nobody holds (a count of 0) is the fatal check.
#pragma once

#include <platform/export.h>

#include <cstdint>

class SORVANE_API Createable {
public:
    Createable() { ++ulInstanceCount; }
    // Copies take the source's count and are not counted as instances, so a
    // copy leaves ulInstanceCount one lower at its end. Callers rely on both.
    Createable(Createable const& other) : nRefCount(other.nRefCount) {}
    Createable& operator=(Createable const& other) {
        nRefCount = other.nRefCount;
        return *this;
    }
    virtual ~Createable();

    virtual std::uint16_t AddRef();
    virtual std::uint16_t Release();

    std::uint16_t _get_nRefCount() const { return nRefCount; }
    static std::uint32_t _get_ulInstanceCount() { return ulInstanceCount; }
    // Switches that nothing in the framework reads.
    static void _set_bHeapCheck(unsigned char on) { bHeapCheck = on; }
    static void _set_bHeapMark(unsigned char on) { bHeapMark = on; }

protected:
    std::uint16_t nRefCount = 0;

private:
    static std::uint32_t ulInstanceCount;
    static unsigned char bHeapCheck;
    static unsigned char bHeapMark;
};
