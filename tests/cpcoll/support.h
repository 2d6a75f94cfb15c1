// What the collection tests share: elements to store, walk callbacks, a
// counted object that tells when it is gone, and a check that a statement
// ends the process through a fatal check with the report expected.
#pragma once

#include <cpcoll/cplist.h>
#include <util/createable.h>
#include <util/exceptions.h>

#include <support/fatal.h>

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

namespace cpcoll_test {

inline int items[8];

inline void* Item(int n) {
    return &items[n];
}

// Walk callbacks. A collecting callback's argument is a std::vector<void*>.
inline void itCollect(void* pvItem, void* pvSeen) {
    static_cast<std::vector<void*>*>(pvSeen)->push_back(pvItem);
}

inline int itIs(void* pvItem, void* pvWanted) {
    return pvItem == pvWanted ? 1 : 0;
}

inline int itAnswerTwo(void*, void*) {
    return 2;
}

// A kill function that records what it was given.
struct Kills {
    static inline std::vector<void*> seen;
    static void Record(void* pvItem, void* pvUser) {
        EXPECT_EQ(pvUser, nullptr);
        seen.push_back(pvItem);
    }
};

// Every test starts with no kills recorded, in one process or many.
struct ClearKillsAtTestStart final : ::testing::EmptyTestEventListener {
    void OnTestStart(::testing::TestInfo const&) override { Kills::seen.clear(); }
};
inline int const gClearKillsRegistered =
    (::testing::UnitTest::GetInstance()->listeners().Append(new ClearKillsAtTestStart), 0);

// A counted object that tells when it is gone.
struct Counted : Createable {
    explicit Counted(bool* pbGoneA = nullptr) : pbGone(pbGoneA) {}
    ~Counted() override {
        if (pbGone != nullptr) *pbGone = true;
    }
    bool* pbGone;
};

// Adds the elements in order.
inline void AddAll(CPCollection& coll, std::initializer_list<void*> elements) {
    for (void* pv : elements)
        coll.Add(pv);
}

// A list's elements from head to tail by the links.
inline std::vector<void*> Forward(CPList const& lst) {
    std::vector<void*> out;
    for (CPBucket* pbkt = lst._get_pbktHead(); pbkt != nullptr; pbkt = pbkt->_get_pbktNext())
        out.push_back(pbkt->_get_pvData());
    return out;
}

// Assert shows no text in its box, so the child writes a report log and the
// parent reads the line from there. lead is the log line up to the unit, e.g.
// "Warning: assertion failed in cpcoll/cplist"; text is the condition.
inline void ExpectFatal(std::function<void()> const& statement, std::string const& lead,
                        std::string const& text) {
    test_support::ExpectFatalReport(statement, text, lead);
}

inline void ExpectAssertion(std::function<void()> const& statement, std::string const& unit,
                            std::string const& text) {
    ExpectFatal(statement, "Warning: assertion failed in " + unit, text);
}

} // namespace cpcoll_test
