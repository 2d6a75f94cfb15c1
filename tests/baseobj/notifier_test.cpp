#include <baseobj/notifier.h>

#include <cpcoll/crtree.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

namespace {

class Sender final : public Notifier {};

// A receiver that logs what it was told and runs the test's reaction.
class Receiver final : public Notifiable {
public:
    void ReceiveNotification(Notifier* pns, std::uint32_t ulMask) override {
        got.emplace_back(pns, ulMask);
        if (onReceive) onReceive(pns, ulMask);
    }
    std::vector<std::pair<Notifier*, std::uint32_t>> got;
    std::function<void(Notifier*, std::uint32_t)> onReceive;
};

// What a receiver in the storm does on hearing, per thousand: 30 cut
// themselves off, 30 cut another, 20 link another, 1 destroys itself and 1
// the sender.
enum Reaction { kCutSelf, kCutOther, kLinkOther, kDestroySelf, kDestroySender, kNothing };
Reaction React(unsigned n) {
    if (n < 30) return kCutSelf;
    if (n < 60) return kCutOther;
    if (n < 80) return kLinkOther;
    if (n == 80) return kDestroySelf;
    if (n == 81) return kDestroySender;
    return kNothing;
}

// Every live link as both ends see it.
std::size_t Links(CrTree* ptree) {
    return ptree != nullptr ? ptree->Length() : 0;
}

} // namespace

TEST(NotifierTest, MasksLinksAndSwaps) {
    std::uint32_t const nRecords = Notification::_get_ulInstanceCount();
    Sender s;
    Receiver r, q;
    s.Notify(0xFFFFFFFF); // no tree: nothing

    s.ConnectNotifiable(&r, 1);
    r.ConnectNotifier(&s, 2);
    EXPECT_EQ(Notification::_get_ulInstanceCount(), nRecords + 1);
    s.Notify(2);
    ASSERT_EQ(r.got.size(), 1u);
    EXPECT_EQ(r.got[0], std::make_pair(static_cast<Notifier*>(&s), std::uint32_t{3}));
    s.Notify(4);
    EXPECT_EQ(r.got.size(), 1u);
    EXPECT_EQ(s.IsNotifiable(&r, 4), 0);
    EXPECT_EQ(s.IsNotifiable(&r, 1), 1);
    EXPECT_EQ(r.IsNotifier(&s, 2), 1);

    // No bits keep only bit 0; any bits drop the whole link.
    std::tuple<std::uint32_t, std::uint32_t, bool, std::uint32_t> const removals[] = {
        {3, 1, false, 0}, {3, 0, true, 1}, {2, 0, false, 0}, {0xF0, 0x10, false, 0}};
    for (auto const& [ulMask, ulRemove, bKept, ulLeft] : removals) {
        s.DisconnectAllNotifiables(0xFFFFFFFF);
        s.ConnectNotifiable(&r, ulMask);
        s.DisconnectNotifiable(&r, ulRemove);
        EXPECT_EQ(s._get_ptreeNotifiables() != nullptr, bKept) << ulMask << "/" << ulRemove;
        EXPECT_EQ(r._get_ptreeNotifiers() != nullptr, bKept);
        if (bKept) {
            EXPECT_EQ(r.IsNotifier(&s, ulLeft), 1);
        }
    }
    s.DisconnectAllNotifiables(0xFFFFFFFF);
    EXPECT_EQ(Notification::_get_ulInstanceCount(), nRecords);

    // Only links that share a bit go, and then entirely.
    s.ConnectNotifiable(&r, 0x11);
    s.ConnectNotifiable(&q, 0x02);
    s.DisconnectAllNotifiables(0x10);
    EXPECT_EQ(s.IsNotifiable(&r, 0xFF), 0);
    EXPECT_EQ(s.IsNotifiable(&q, 0xFF), 1);
    r.ConnectNotifier(&s, 4);
    std::vector<Notifiable*> seen;
    s.ForEachNotifiable(
        4,
        [](Notifiable* pns, void* pv) {
            static_cast<std::vector<Notifiable*>*>(pv)->push_back(pns);
        },
        &seen);
    EXPECT_EQ(seen, std::vector<Notifiable*>{&r});

    // A swap moves the link with its mask; an unlinked receiver moves nothing.
    Receiver fresh;
    EXPECT_EQ(s.SwapNotifiables(&fresh, &r), 0);
    EXPECT_EQ(s.SwapNotifiables(&r, &fresh), 1);
    EXPECT_EQ(s.IsNotifiable(&r, 0xFF), 0);
    EXPECT_EQ(fresh.IsNotifier(&s, 4), 1);
    Sender t;
    EXPECT_EQ(fresh.SwapNotifiers(&s, &t), 1);
    EXPECT_EQ(t.IsNotifiable(&fresh, 4), 1);
    EXPECT_EQ(s.IsNotifiable(&fresh, 0xFF), 0);
    std::vector<Notifier*> senders;
    fresh.ForEachNotifier(
        0xFF,
        [](Notifier* pns, void* pv) { static_cast<std::vector<Notifier*>*>(pv)->push_back(pns); },
        &senders);
    EXPECT_EQ(senders, std::vector<Notifier*>{&t});
}

TEST(NotifierTest, EitherEndDestroyed) {
    std::uint32_t const nRecords = Notification::_get_ulInstanceCount();
    auto s = std::make_unique<Sender>();
    Receiver going, staying;
    {
        Receiver brief;
        s->ConnectNotifiable(&brief, 1);
        EXPECT_EQ(Links(s->_get_ptreeNotifiables()), 1u);
    }
    EXPECT_EQ(s->_get_ptreeNotifiables(), nullptr);

    // Only those subscribed to bit 8 hear the sender go, and are told their
    // whole mask.
    s->ConnectNotifiable(&going, 8 | 1);
    s->ConnectNotifiable(&staying, 1);
    auto const nSender = reinterpret_cast<std::uintptr_t>(static_cast<Notifier*>(s.get()));
    s.reset();
    ASSERT_EQ(going.got.size(), 1u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(going.got[0].first), nSender);
    EXPECT_EQ(going.got[0].second, 9u);
    EXPECT_TRUE(staying.got.empty());
    EXPECT_EQ(going._get_ptreeNotifiers(), nullptr);
    EXPECT_EQ(staying._get_ptreeNotifiers(), nullptr);
    EXPECT_EQ(Notification::_get_ulInstanceCount(), nRecords);
}

TEST(NotifierTest, ChangesDuringASend) {
    Sender s;
    std::vector<std::unique_ptr<Receiver>> rs;
    for (int i = 0; i < 4; ++i)
        rs.push_back(std::make_unique<Receiver>());
    // The send goes in address order.
    std::sort(rs.begin(), rs.end());
    for (auto& r : rs)
        s.ConnectNotifiable(r.get(), 1);

    // The first cuts the second, and links a newcomer, which hears nothing
    // this time; the third sends again, which delivers nothing.
    Receiver late;
    rs[0]->onReceive = [&](Notifier*, std::uint32_t) {
        s.DisconnectNotifiable(rs[1].get(), 1);
        s.ConnectNotifiable(&late, 1);
    };
    rs[2]->onReceive = [&](Notifier*, std::uint32_t) { s.Notify(1); };
    s.Notify(1);
    EXPECT_EQ(rs[0]->got.size(), 1u);
    EXPECT_EQ(rs[1]->got.size(), 0u);
    EXPECT_EQ(rs[2]->got.size(), 1u);
    EXPECT_EQ(rs[3]->got.size(), 1u);
    EXPECT_EQ(late.got.size(), 0u);

    // A receiver that destroys itself, and one that destroys the sender.
    auto* self = new Receiver;
    self->onReceive = [self](Notifier*, std::uint32_t) { delete self; };
    auto* sender = new Sender;
    sender->ConnectNotifiable(self, 2);
    sender->ConnectNotifiable(rs[3].get(), 2);
    sender->Notify(2);
    EXPECT_EQ(sender->IsNotifiable(self, 0xFF), 0);
    rs[3]->onReceive = [&sender](Notifier* pns, std::uint32_t) {
        EXPECT_EQ(pns, sender);
        delete sender;
        sender = nullptr;
    };
    rs[0]->ConnectNotifier(sender, 2);
    rs[0]->onReceive = nullptr;
    std::size_t const before = rs[0]->got.size();
    sender->Notify(2);
    EXPECT_EQ(sender, nullptr);
    EXPECT_EQ(rs[0]->got.size(), before + 1);
    EXPECT_EQ(Links(rs[0]->_get_ptreeNotifiers()), 1u);
    EXPECT_EQ(Links(rs[3]->_get_ptreeNotifiers()), 1u);
}

TEST(NotifierTest, StormOfTenThousandLinks) {
    std::uint32_t const nRecords = Notification::_get_ulInstanceCount();
    std::uint32_t const nSenders = Notifier::_get_ulInstanceCount();
    std::uint32_t const nReceivers = Notifiable::_get_ulInstanceCount();
    constexpr int kSide = 100;
    std::mt19937 rng(20261123);
    std::vector<Sender*> senders(kSide);
    std::vector<Receiver*> receivers(kSide);
    for (auto& s : senders)
        s = new Sender;
    for (auto& r : receivers)
        r = new Receiver;
    for (int i = 0; i < kSide; ++i)
        for (int j = 0; j < kSide; ++j)
            senders[i]->ConnectNotifiable(receivers[j], (rng() & 0x7) | 1 | (rng() & 8));

    // Links made during the present send, which must not hear it.
    std::set<std::pair<Notifier*, Notifiable*>> made;
    long calls = 0;
    auto pick = [&](auto& registry) -> decltype(registry[0])& { return registry[rng() % kSide]; };
    for (int k = 0; k < kSide; ++k) {
        Receiver* const self = receivers[k];
        self->onReceive = [&, self, k](Notifier* pns, std::uint32_t ulMask) {
            ++calls;
            EXPECT_EQ(made.count({pns, self}), 0u);
            EXPECT_EQ(pns->IsNotifiable(self, ulMask), 1);
            switch (React(rng() % 1000)) {
            case kCutSelf:
                self->DisconnectNotifier(pns, 1);
                break;
            case kCutOther:
                if (Receiver* other = pick(receivers)) pns->DisconnectNotifiable(other, 0xFFFFFFFF);
                break;
            case kLinkOther:
                if (Receiver* other = pick(receivers);
                    other != nullptr && !pns->IsNotifiable(other, ~0u)) {
                    pns->ConnectNotifiable(other, 0xF);
                    made.insert({pns, other});
                }
                break;
            case kDestroySelf:
                receivers[k] = nullptr;
                delete self;
                break;
            case kDestroySender:
                if (auto s = std::find(senders.begin(), senders.end(), pns); s != senders.end())
                    delete std::exchange(*s, nullptr);
                break;
            case kNothing:
                break;
            }
        };
    }
    for (int round = 0; round < 4; ++round) {
        for (int i = 0; i < kSide; ++i) {
            made.clear();
            if (senders[i] != nullptr) senders[i]->Notify(round < 2 ? 1u : 1u << (rng() % 4));
        }
    }
    EXPECT_GT(calls, 10000);

    // Every link left is seen the same from both ends.
    for (Sender* s : senders)
        for (Receiver* r : receivers)
            if (s != nullptr && r != nullptr) {
                EXPECT_EQ(s->IsNotifiable(r, ~0u), r->IsNotifier(s, ~0u));
            }

    // Half the senders go first, then every receiver, then the rest.
    for (auto& r : receivers)
        if (r != nullptr) r->onReceive = nullptr;
    for (int i = 0; i < kSide / 2; ++i)
        delete std::exchange(senders[i], nullptr);
    for (auto& r : receivers)
        delete std::exchange(r, nullptr);
    for (auto& s : senders)
        delete std::exchange(s, nullptr);
    EXPECT_EQ(Notification::_get_ulInstanceCount(), nRecords);
    EXPECT_EQ(Notifier::_get_ulInstanceCount(), nSenders);
    EXPECT_EQ(Notifiable::_get_ulInstanceCount(), nReceivers);
}
