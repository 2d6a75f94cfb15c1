/// \file
/// The root of the framework's classes: an intrusive 16-bit reference count
/// and a count of live instances. A new object starts at 0; its first holder
/// calls AddRef, and the Release that brings it back to 0 deletes it. A
/// Release on an object nobody holds (a count of 0) is the fatal check.
#pragma once

#include <platform/export.h>

#include <cstdint>

/// \brief The root of the framework's classes: an intrusive 16-bit reference
/// count and a count of live instances.
///
/// A new object starts at 0; its first holder calls AddRef(), and the
/// Release() that brings it back to 0 deletes it.
class SORVANE_API Createable {
public:
    Createable() { ++ulInstanceCount; }
    /// Copies take the source's count and are not counted as instances, so a
    /// copy leaves ulInstanceCount one lower at its end. Callers rely on both.
    /// \param other the object copied.
    Createable(Createable const& other) : nRefCount(other.nRefCount) {}
    /// Takes the source's count.
    /// \param other the object copied.
    /// \return this object.
    Createable& operator=(Createable const& other) {
        nRefCount = other.nRefCount;
        return *this;
    }
    virtual ~Createable();

    /// Takes one reference.
    /// \return the new count.
    virtual std::uint16_t AddRef();
    /// Gives one reference back; the release that brings the count to 0 deletes
    /// the object. A release of an object nobody holds (a count of 0) ends the
    /// process through the fatal check.
    /// \return the new count; 0 when the object was deleted.
    virtual std::uint16_t Release();

    /// \return the reference count.
    std::uint16_t _get_nRefCount() const { return nRefCount; }
    /// \return the number of live Createables made by the default constructor.
    static std::uint32_t _get_ulInstanceCount() { return ulInstanceCount; }
    /// A switch that nothing in the framework reads.
    /// \param on the switch's new state.
    static void _set_bHeapCheck(unsigned char on) { bHeapCheck = on; }
    /// A switch that nothing in the framework reads.
    /// \param on the switch's new state.
    static void _set_bHeapMark(unsigned char on) { bHeapMark = on; }

protected:
    /// The reference count.
    std::uint16_t nRefCount = 0;

private:
    static std::uint32_t ulInstanceCount;
    static unsigned char bHeapCheck;
    static unsigned char bHeapMark;
};
