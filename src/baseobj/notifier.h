// Two-way subscriptions. A Notifier sends, a Notifiable receives, and each
// linked pair shares one Notification record that both ends hold, so that
// either end can find and break the link from its side and the destruction
// of either end cleans up the other. A record carries the mask of the bits
// the pair has subscribed to.
#pragma once

#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>

class CPList;
class CrTree;
class Notifier;
class Notifiable;

// The bit a Notifier sends to its subscribers as it is destroyed.
inline constexpr std::uint32_t kNotifyNotifierGoing = 8;

class SORVANE_API Notification : public Createable {
public:
    Notification(std::uint32_t ulMaskIn, Notifiable* pnsNotifiableIn, Notifier* pnsNotifierIn);
    Notification(Notification const&) = delete;
    Notification& operator=(Notification const&) = delete;
    ~Notification() override;

    bool IsNotifier(Notifier const* pns) const { return pnsNotifier == pns; }
    bool IsNotifiable(Notifiable const* pns) const { return pnsNotifiable == pns; }
    bool SharesMask(std::uint32_t ulBits) const { return (ulMask & ulBits) != 0; }
    void AddMask(std::uint32_t ulBits) { ulMask |= ulBits; }
    // Keeps only bit 0, and only when handed no bits: any bits at all drop
    // the whole mask. Gives the mask left.
    std::uint32_t RemoveMask(std::uint32_t ulBits);

    std::uint32_t _get_ulMask() const { return ulMask; }
    Notifier* _get_pnsNotifier() const { return pnsNotifier; }
    Notifiable* _get_pnsNotifiable() const { return pnsNotifiable; }
    static std::uint32_t _get_ulInstanceCount() { return ulInstanceCount; }

private:
    std::uint32_t ulMask;
    Notifier* pnsNotifier;
    Notifiable* pnsNotifiable;
    static std::uint32_t ulInstanceCount;
};

// Four words for intercepting a send; nothing reads them.
class SORVANE_API NotifierIntercepts : public Createable {
public:
    NotifierIntercepts() = default;
    std::uint32_t aulReserved[4] = {};
};

// What CallIntercepts calls for each entry of its list.
using pfnNotifyIntercept = void (*)(Notifier* pnsNotifier, Notifiable* pnsNotifiable,
                                    std::uint32_t ulMask);

class SORVANE_API Notifier : public virtual Createable {
public:
    using pfnNotifiableFunc = void (*)(Notifiable* pns, void* pvUser);

    Notifier();
    Notifier(Notifier const&) = delete;
    Notifier& operator=(Notifier const&) = delete;
    // Sends kNotifyNotifierGoing, then breaks every link.
    ~Notifier() override;

    // Links the pair or widens the mask; a null receiver does nothing.
    char ConnectNotifiable(Notifiable* pns, std::uint32_t ulMask);
    // Any bits drop the whole link; no bits keep it only when bit 0 is set.
    char DisconnectNotifiable(Notifiable* pns, std::uint32_t ulMask);
    // Breaks each link that shares a bit with the mask, whatever else it has.
    void DisconnectAllNotifiables(std::uint32_t ulMask);
    // Moves a link, with its mask, to another receiver.
    char SwapNotifiables(Notifiable* pnsOld, Notifiable* pnsNew);
    void ForEachNotifiable(std::uint32_t ulMask, pfnNotifiableFunc pfn, void* pvUser);
    // Sends to every link that shares a bit, in the order of the receivers'
    // addresses. Receivers may disconnect or destroy themselves or others,
    // or this notifier, during the send: whoever has gone is passed over,
    // and a link made during the send hears nothing this time. A send from
    // inside a receiver delivers nothing.
    void Notify(std::uint32_t ulMask);
    char IsNotifiable(Notifiable* pns, std::uint32_t ulMask);

    CrTree* _get_ptreeNotifiables() const { return ptreeNotifiables; }
    static std::uint32_t _get_ulInstanceCount() { return ulInstanceCount; }

protected:
    void SendDispatch(Notification* pcrec);
    char AddNotifiable(Notification* pcrec, Notifiable* pns);
    short RemoveNotifiable(Notifiable* pns);
    void CallIntercepts(CPList* plst, Notification* pcrec);

private:
    friend class Notifiable;
    Notification* Find(Notifiable* pns) const;

    CrTree* ptreeNotifiables = nullptr;
    std::uint8_t bSending = 0;
    // Raised by each link cut, so that a send in which none was cut need
    // not look its links up again.
    std::uint32_t nLinksCut = 0;
    // Set by the destructor, so that a send that outlives this object
    // stops touching it.
    bool* pbGone = nullptr;
    static std::uint32_t ulInstanceCount;
};

class SORVANE_API Notifiable : public virtual Createable {
public:
    using pfnNotifierFunc = void (*)(Notifier* pns, void* pvUser);

    // What a receiver is told: the sender and the link's whole mask.
    virtual void ReceiveNotification(Notifier* pnsNotifier, std::uint32_t ulMask) = 0;

    Notifiable();
    Notifiable(Notifiable const&) = delete;
    Notifiable& operator=(Notifiable const&) = delete;
    // Breaks every link, with no notification sent.
    ~Notifiable() override;

    char ConnectNotifier(Notifier* pns, std::uint32_t ulMask);
    char DisconnectNotifier(Notifier* pns, std::uint32_t ulMask);
    void DisconnectAllNotifiers(std::uint32_t ulMask);
    char SwapNotifiers(Notifier* pnsOld, Notifier* pnsNew);
    void ForEachNotifier(std::uint32_t ulMask, pfnNotifierFunc pfn, void* pvUser);
    char IsNotifier(Notifier* pns, std::uint32_t ulMask);

    CrTree* _get_ptreeNotifiers() const { return ptreeNotifiers; }
    static std::uint32_t _get_ulInstanceCount() { return ulInstanceCount; }

protected:
    void ReceiveDispatch(Notification* pcrec);
    char AddNotifier(Notification* pcrec, Notifier* pns);
    short RemoveNotifier(Notifier* pns);
    void CallIntercepts(CPList* plst, Notification* pcrec);

private:
    friend class Notifier;
    Notification* Find(Notifier* pns) const;

    CrTree* ptreeNotifiers = nullptr;
    std::uint8_t bReceiving = 0;
    bool* pbGone = nullptr;
    static std::uint32_t ulInstanceCount;
};

// A notifier that can mark bits as deferred. Nothing sends them later: the
// frame is kept for clients that read the mask.
class SORVANE_API DeferredNotifier : public Notifier {
public:
    DeferredNotifier() = default;
    ~DeferredNotifier() override { ulDeferredMask = 0; }
    void DeferNotifications(std::uint32_t ulMask) { ulDeferredMask |= ulMask; }
    std::uint32_t _get_ulDeferredMask() const { return ulDeferredMask; }

protected:
    virtual void DeferNotification(Notification*) {}

private:
    std::uint32_t ulDeferredMask = 0;
};
