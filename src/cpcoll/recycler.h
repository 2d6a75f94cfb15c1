/// \file
/// A bounded pool of spare objects of one class, so that objects made and
/// dropped at a high rate (the nodes of moniker walks) are made once. A
/// pooled object keeps the count it had from its first Get; what the pool
/// cannot hold is released.
#pragma once

#include <cpcoll/cpstack.h>
#include <util/createable.h>
#include <util/exceptions.h>
#include <platform/export.h>

#include <cstdint>
#include <new>

/// \brief What a class that can be pooled by a Recycler overrides: set up on
/// leaving the pool, tidy up on entering it.
class SORVANE_API Recyclable {
public:
    /// Sets the object up as it leaves the pool.
    virtual void InitializeObject() {}
    /// Tidies the object up as it enters the pool.
    virtual void UnInitializeObject() {}

protected:
    Recyclable() = default;
    /// A copy of the base part.
    Recyclable(Recyclable const&) = default;
    /// Copies nothing of note.
    /// \return this object.
    Recyclable& operator=(Recyclable const&) = default;
    ~Recyclable() = default;
};

/// \brief A bounded pool of spare objects of one class, so that objects made
/// and dropped at a high rate are made once.
///
/// A pooled object keeps the count it had from its first Get(); what the
/// pool cannot hold is released.
/// \tparam T a class that derives from both Createable and Recyclable.
template <class T> class Recycler : public Createable {
public:
    /// The most objects the pool keeps.
    static constexpr std::uint32_t kPoolSize = 255;

    Recycler() = default;
    Recycler(Recycler const&) = delete;
    Recycler& operator=(Recycler const&) = delete;
    /// Releases every pooled object.
    ~Recycler() override {
        while (stkPool.Length() != 0)
            if (T* const p = static_cast<T*>(stkPool.Pop())) p->Release();
    }

    /// The last object put back, set up again; a new one, counted once, when
    /// the pool is empty. Memory that cannot be had ends the process through
    /// the fatal check.
    /// \return the object, with the one reference the caller holds.
    T* Get() {
        T* p = static_cast<T*>(stkPool.Pop());
        if (p == nullptr) {
            p = new (std::nothrow) T;
            if (p == nullptr)
                Exceptions::_get_gexeptnsThe().FailIfNIL("cpcoll/recycler", __LINE__, "pcontA");
            p->AddRef();
        } else {
            p->InitializeObject();
        }
        return p;
    }

    /// Puts an object back, with the caller's reference. A null object ends the
    /// process through the fatal check.
    /// \param p the object.
    /// \return 1 when kept; 0 when the pool is full and the object was released.
    short Put(T* p) {
        // A null object would be released or tidied through null.
        if (p == nullptr)
            Exceptions::_get_gexeptnsThe().CritAssert("cpcoll/recycler", __LINE__, "pcontA !=0");
        if (stkPool.Push(p) == 0) {
            p->Release();
            return 0;
        }
        p->UnInitializeObject();
        return 1;
    }

    /// \return the number of pooled objects.
    std::uint32_t _get_nPooled() const { return stkPool.Length(); }

private:
    CPStack stkPool{kPoolSize};
};
