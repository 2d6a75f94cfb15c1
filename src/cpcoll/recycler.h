// A bounded pool of spare objects of one class, so that objects made and
// dropped at a high rate (the nodes of moniker walks) are made once. A
// pooled object keeps the count it had from its first Get; what the pool
// cannot hold is released.
#pragma once

#include <cpcoll/cpstack.h>
#include <util/createable.h>
#include <util/exceptions.h>
#include <platform/export.h>

#include <cstdint>
#include <new>

// What a class that can be pooled overrides: set up on leaving the pool,
// tidy up on entering it.
class SORVANE_API Recyclable {
public:
    virtual void InitializeObject() {}
    virtual void UnInitializeObject() {}

protected:
    Recyclable() = default;
    Recyclable(Recyclable const&) = default;
    Recyclable& operator=(Recyclable const&) = default;
    ~Recyclable() = default;
};

// T derives from both Createable and Recyclable.
template <class T> class Recycler : public Createable {
public:
    static constexpr std::uint32_t kPoolSize = 255;

    Recycler() = default;
    Recycler(Recycler const&) = delete;
    Recycler& operator=(Recycler const&) = delete;
    ~Recycler() override {
        while (stkPool.Length() != 0)
            if (T* const p = static_cast<T*>(stkPool.Pop())) p->Release();
    }

    // The last object put back, set up again; a new one, counted once, when
    // the pool is empty.
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

    // 1 when kept; 0 when the pool is full and the object was released.
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

    std::uint32_t _get_nPooled() const { return stkPool.Length(); }

private:
    CPStack stkPool{kPoolSize};
};
