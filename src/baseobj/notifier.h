/// \file
/// Two-way subscriptions. A Notifier sends, a Notifiable receives, and each
/// linked pair shares one Notification record that both ends hold, so that
/// either end can find and break the link from its side and the destruction
/// of either end cleans up the other. A record carries the mask of the bits
/// the pair has subscribed to.
#pragma once

#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>

class CPList;
class CrTree;
class Notifier;
class Notifiable;

/// The bit a Notifier sends to its subscribers as it is destroyed.
inline constexpr std::uint32_t kNotifyNotifierGoing = 8;

/// \brief The record a linked Notifier and Notifiable share: both ends hold
/// it, and it carries the mask of the bits the pair has subscribed to.
class SORVANE_API Notification : public Createable {
public:
    /// \param ulMaskIn the bits subscribed to.
    /// \param pnsNotifiableIn the receiver.
    /// \param pnsNotifierIn the sender.
    Notification(std::uint32_t ulMaskIn, Notifiable* pnsNotifiableIn, Notifier* pnsNotifierIn);
    Notification(Notification const&) = delete;
    Notification& operator=(Notification const&) = delete;
    /// Counts the record out.
    ~Notification() override;

    /// \param pns a sender.
    /// \return true when it is the record's.
    bool IsNotifier(Notifier const* pns) const { return pnsNotifier == pns; }
    /// \param pns a receiver.
    /// \return true when it is the record's.
    bool IsNotifiable(Notifiable const* pns) const { return pnsNotifiable == pns; }
    /// \param ulBits bits.
    /// \return true when the mask has any of them.
    bool SharesMask(std::uint32_t ulBits) const { return (ulMask & ulBits) != 0; }
    /// \param ulBits bits added to the mask.
    void AddMask(std::uint32_t ulBits) { ulMask |= ulBits; }
    /// Keeps only bit 0, and only when handed no bits: any bits at all drop the
    /// whole mask.
    /// \param ulBits bits.
    /// \return the mask left.
    std::uint32_t RemoveMask(std::uint32_t ulBits);

    /// \return the mask.
    std::uint32_t _get_ulMask() const { return ulMask; }
    /// \return the sender.
    Notifier* _get_pnsNotifier() const { return pnsNotifier; }
    /// \return the receiver.
    Notifiable* _get_pnsNotifiable() const { return pnsNotifiable; }
    /// \return the number of live records.
    static std::uint32_t _get_ulInstanceCount() { return ulInstanceCount; }

private:
    std::uint32_t ulMask;
    Notifier* pnsNotifier;
    Notifiable* pnsNotifiable;
    static std::uint32_t ulInstanceCount;
};

/// \brief Four words for intercepting a send; nothing reads them.
class SORVANE_API NotifierIntercepts : public Createable {
public:
    NotifierIntercepts() = default;
    /// The words.
    std::uint32_t aulReserved[4] = {};
};

/// What CallIntercepts calls for each entry of its list.
using pfnNotifyIntercept = void (*)(Notifier* pnsNotifier, Notifiable* pnsNotifiable,
                                    std::uint32_t ulMask);

/// \brief The sending end of two-way subscriptions.
///
/// Each link to a Notifiable shares one Notification record, so that either
/// end can break it, and the destruction of either end cleans up the other.
class SORVANE_API Notifier : public virtual Createable {
public:
    /// A function called with each receiver.
    using pfnNotifiableFunc = void (*)(Notifiable* pns, void* pvUser);

    Notifier();
    Notifier(Notifier const&) = delete;
    Notifier& operator=(Notifier const&) = delete;
    /// Sends kNotifyNotifierGoing, then breaks every link.
    ~Notifier() override;

    /// Links a receiver or widens its mask.
    /// \param pns the receiver; null does nothing.
    /// \param ulMask the bits.
    /// \return 1, or 0 for a null receiver or when the link could not be made.
    char ConnectNotifiable(Notifiable* pns, std::uint32_t ulMask);
    /// Unlinks a receiver: any bits drop the whole link; no bits keep it only
    /// when bit 0 is set.
    /// \param pns the receiver.
    /// \param ulMask the bits.
    /// \return 1, or 0 when there was no link.
    char DisconnectNotifiable(Notifiable* pns, std::uint32_t ulMask);
    /// Breaks each link that shares a bit with the mask, whatever else it has.
    /// \param ulMask the bits.
    void DisconnectAllNotifiables(std::uint32_t ulMask);
    /// Moves a link, with its mask, to another receiver.
    /// \param pnsOld the linked receiver.
    /// \param pnsNew the new one.
    /// \return 1, or 0 when there was no link or the new one could not be made.
    char SwapNotifiables(Notifiable* pnsOld, Notifiable* pnsNew);
    /// Calls a function with each receiver whose link shares a bit.
    /// \param ulMask the bits.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    void ForEachNotifiable(std::uint32_t ulMask, pfnNotifiableFunc pfn, void* pvUser);
    /// Sends to every link that shares a bit, in the order of the receivers'
    /// addresses. Receivers may disconnect or destroy themselves or others, or
    /// this notifier, during the send: whoever has gone is passed over, and a
    /// link made during the send hears nothing this time. A send from inside a
    /// receiver delivers nothing.
    /// \param ulMask the bits.
    void Notify(std::uint32_t ulMask);
    /// \param pns a receiver.
    /// \param ulMask bits.
    /// \return 1 when it is linked with a shared bit.
    char IsNotifiable(Notifiable* pns, std::uint32_t ulMask);

    /// \return the links by receiver.
    CrTree* _get_ptreeNotifiables() const { return ptreeNotifiables; }
    /// \return the number of live notifiers.
    static std::uint32_t _get_ulInstanceCount() { return ulInstanceCount; }

protected:
    /// Delivers one link's notification.
    /// \param pcrec the link.
    void SendDispatch(Notification* pcrec);
    /// Enters a link in this end's table.
    /// \param pcrec the link.
    /// \param pns the receiver.
    /// \return 1, or 0 when it could not be entered (the report log says so).
    char AddNotifiable(Notification* pcrec, Notifiable* pns);
    /// Takes a receiver's link out of this end's table.
    /// \param pns the receiver.
    /// \return non-zero when it was there.
    short RemoveNotifiable(Notifiable* pns);
    /// Calls each intercept of a list for a link.
    /// \param plst the intercepts.
    /// \param pcrec the link.
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

/// \brief The receiving end of two-way subscriptions.
class SORVANE_API Notifiable : public virtual Createable {
public:
    /// A function called with each sender.
    using pfnNotifierFunc = void (*)(Notifier* pns, void* pvUser);

    /// What a receiver is told.
    /// \param pnsNotifier the sender.
    /// \param ulMask the link's whole mask.
    virtual void ReceiveNotification(Notifier* pnsNotifier, std::uint32_t ulMask) = 0;

    Notifiable();
    Notifiable(Notifiable const&) = delete;
    Notifiable& operator=(Notifiable const&) = delete;
    /// Breaks every link, with no notification sent.
    ~Notifiable() override;

    /// Links a sender or widens its mask.
    /// \param pns the sender; null does nothing.
    /// \param ulMask the bits.
    /// \return 1, or 0 for a null sender or when the link could not be made.
    char ConnectNotifier(Notifier* pns, std::uint32_t ulMask);
    /// Unlinks a sender, as Notifier::DisconnectNotifiable().
    /// \param pns the sender.
    /// \param ulMask the bits.
    /// \return 1, or 0 when there was no link.
    char DisconnectNotifier(Notifier* pns, std::uint32_t ulMask);
    /// Breaks each link that shares a bit with the mask.
    /// \param ulMask the bits.
    void DisconnectAllNotifiers(std::uint32_t ulMask);
    /// Moves a link, with its mask, to another sender.
    /// \param pnsOld the linked sender.
    /// \param pnsNew the new one.
    /// \return 1, or 0 when there was no link or the new one could not be made.
    char SwapNotifiers(Notifier* pnsOld, Notifier* pnsNew);
    /// Calls a function with each sender whose link shares a bit.
    /// \param ulMask the bits.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    void ForEachNotifier(std::uint32_t ulMask, pfnNotifierFunc pfn, void* pvUser);
    /// \param pns a sender.
    /// \param ulMask bits.
    /// \return 1 when it is linked with a shared bit.
    char IsNotifier(Notifier* pns, std::uint32_t ulMask);

    /// \return the links by sender.
    CrTree* _get_ptreeNotifiers() const { return ptreeNotifiers; }
    /// \return the number of live receivers.
    static std::uint32_t _get_ulInstanceCount() { return ulInstanceCount; }

protected:
    /// Receives one link's notification.
    /// \param pcrec the link.
    void ReceiveDispatch(Notification* pcrec);
    /// Enters a link in this end's table.
    /// \param pcrec the link.
    /// \param pns the sender.
    /// \return 1, or 0 when it could not be entered.
    char AddNotifier(Notification* pcrec, Notifier* pns);
    /// Takes a sender's link out of this end's table.
    /// \param pns the sender.
    /// \return non-zero when it was there.
    short RemoveNotifier(Notifier* pns);
    /// Calls each intercept of a list for a link.
    /// \param plst the intercepts.
    /// \param pcrec the link.
    void CallIntercepts(CPList* plst, Notification* pcrec);

private:
    friend class Notifier;
    Notification* Find(Notifier* pns) const;

    CrTree* ptreeNotifiers = nullptr;
    std::uint8_t bReceiving = 0;
    bool* pbGone = nullptr;
    static std::uint32_t ulInstanceCount;
};

/// \brief A notifier that can mark bits as deferred. Nothing sends them
/// later: the frame is kept for clients that read the mask.
class SORVANE_API DeferredNotifier : public Notifier {
public:
    DeferredNotifier() = default;
    /// Clears the deferred bits.
    ~DeferredNotifier() override { ulDeferredMask = 0; }
    /// \param ulMask bits to mark as deferred.
    void DeferNotifications(std::uint32_t ulMask) { ulDeferredMask |= ulMask; }
    /// \return the deferred bits.
    std::uint32_t _get_ulDeferredMask() const { return ulDeferredMask; }

protected:
    /// A hook for a deferred link; nothing here.
    virtual void DeferNotification(Notification*) {}

private:
    std::uint32_t ulDeferredMask = 0;
};
