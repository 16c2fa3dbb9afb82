// Arrays under random change with live iterators, checked after every step against a model of
// element identities: an iterator follows its element and goes nowhere when it is deleted, and a
// snapshot sharing the buffer never sees the array's changes, nor the array the snapshot's. The
// plain array (inline fast paths) and a derived one (virtual slots) run the same sequence.
#include <mortar/scc/scc_arr.h>

#include "scc/scc_test_support.h"
#include "support/model_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

constexpr int32_t kNowhere = 0x7FFFFFFF;
constexpr int kIterators = 8;
constexpr int kUnknown = -1; // a slot whose content is unspecified until written, or no element

struct Derived : SCC_Array<int> {};

class ArrayModelCheck {
public:
    ArrayModelCheck(SCC_Array<int>& array, uint32_t seed) : m_A(array), m_Rng(seed) {}

    void Step() {
        switch (m_Rng() % 9) {
        case 0:
        case 1: Insert(); break;
        case 2: Delete(); break;
        case 3: Write(); break;
        case 4:
            m_A.Append(++m_NextId);
            m_Ids.push_back(m_NextId);
            break;
        case 5:
            if (m_Rng() % 8 == 0) return Clear();
            break;
        case 6: Share(); break;
        default: PlaceIterator(); break;
        }
        for (std::size_t s = 0; s < m_Ids.size(); ++s) // gap and extension slots get identities
            if (m_Ids[s] == kUnknown) m_A[m_Lower + static_cast<int32_t>(s)] = m_Ids[s] = ++m_NextId;
        Check();
    }

private:
    int32_t Upper() const { return m_Lower + static_cast<int32_t>(m_Ids.size()); }
    int32_t IndexOf(int id) const {
        auto at = std::find(m_Ids.begin(), m_Ids.end(), id);
        return at == m_Ids.end() ? kNowhere : m_Lower + static_cast<int32_t>(at - m_Ids.begin());
    }
    int32_t Around() { return m_Lower - 3 + static_cast<int32_t>(m_Rng() % (m_Ids.size() + 6)); }
    int32_t Count() { // -3..3 without 0
        int32_t const c = static_cast<int32_t>(m_Rng() % 6) - 3;
        return c >= 0 ? c + 1 : c;
    }

    void Insert() {
        int32_t const pos = Around(), count = Count();
        m_A.Insert(pos, count);
        int32_t const L = m_Lower, U = Upper(), N = static_cast<int32_t>(m_Ids.size());
        // The new bounds and where the old elements start, by the situation of the insertion.
        int32_t newLower, newUpper, start;
        if (N == 0) newLower = std::min(pos, pos + count), newUpper = std::max(pos, pos + count), start = 0;
        else if (pos < L && pos + count <= L) newLower = std::min(pos, pos + count), newUpper = U, start = L;
        else if (pos < L) newLower = pos, newUpper = N + pos + count, start = pos + count;
        else if (pos < U && count > 0) newLower = L, newUpper = U + count, start = L;
        else if (pos < U) newLower = L + count, newUpper = U, start = L + count;
        else if (pos + count >= U) newLower = L, newUpper = std::max(pos, pos + count), start = L;
        else newLower = pos - N + count, newUpper = pos, start = pos + count - N;
        std::vector<int> const old = m_Ids;
        m_Lower = newLower;
        m_Ids.assign(static_cast<std::size_t>(newUpper - newLower), kUnknown);
        // Elements stay in order; an insertion inside the bounds splits them at pos.
        for (int32_t i = 0; i < N; ++i) {
            int32_t to = start + i;
            if (pos >= L && pos < U && L + i >= pos) to += count > 0 ? count : -count;
            m_Ids[static_cast<std::size_t>(to - newLower)] = old[static_cast<std::size_t>(i)];
        }
    }

    // Either sign: a negative count removes the elements directly below pos, and those below
    // them move up. Both pos and pos + count must lie in the bounds, else nothing happens.
    void Delete() {
        int32_t const pos = Around(), count = Count();
        m_A.Delete(pos, count);
        if (pos < m_Lower || pos >= Upper() || pos + count < m_Lower || pos + count > Upper()) return;
        auto first = m_Ids.begin() + (std::min(pos, pos + count) - m_Lower);
        m_Ids.erase(first, first + std::abs(count));
        if (count < 0) m_Lower -= count;
        if (m_Ids.empty()) m_Lower = 0;
    }

    // a[i] = x extends the bounds to take i (from the bounds 0, 0 of an empty array).
    void Write() {
        int32_t const i = Around();
        int const id = ++m_NextId;
        m_A[i] = id;
        if (i >= Upper()) m_Ids.resize(static_cast<std::size_t>(i + 1 - m_Lower), kUnknown);
        if (i < m_Lower) {
            m_Ids.insert(m_Ids.begin(), static_cast<std::size_t>(m_Lower - i), kUnknown);
            m_Lower = i;
        }
        int& slot = m_Ids[static_cast<std::size_t>(i - m_Lower)];
        for (int& tracked : m_It) // an iterator on the slot now stands on the new content
            if (tracked == slot && slot != kUnknown) tracked = id;
        slot = id;
    }

    // Takes a new snapshot sharing the buffer, or writes into the snapshot (which detaches it).
    void Share() {
        if (m_Rng() % 2 || m_Snapshot.empty()) {
            m_Snap = m_A;
            m_Snapshot = m_Ids;
        } else {
            std::size_t const s = m_Rng() % m_Snapshot.size();
            m_Snap[m_Snap.GetLowerBound() + static_cast<int32_t>(s)] = m_Snapshot[s] = -(++m_NextId);
        }
    }

    void PlaceIterator() {
        if (m_Ids.empty()) return;
        int const k = static_cast<int>(m_Rng() % kIterators);
        std::size_t const s = m_Rng() % m_Ids.size();
        m_Iterators[k].SetArray(&m_A, m_Lower + static_cast<int32_t>(s));
        m_It[k] = m_Ids[s];
    }

    // Every iterator at index 0 keeps it, every other one goes nowhere.
    void Clear() {
        m_A.Clear();
        for (int k = 0; k < kIterators; ++k)
            if (m_It[k] != kUnknown) {
                EXPECT_EQ(m_Iterators[k].GetIndex(), IndexOf(m_It[k]) == 0 ? 0 : kNowhere) << "iterator " << k;
            }
        std::fill(std::begin(m_It), std::end(m_It), kUnknown);
        m_Ids.clear();
        m_Lower = 0;
        Check();
    }

    void Check() {
        ASSERT_EQ(m_A.GetLowerBound(), m_Ids.empty() ? 0 : m_Lower);
        ASSERT_EQ(m_A.GetUpperBound(), m_Ids.empty() ? 0 : Upper());
        for (std::size_t s = 0; s < m_Ids.size(); ++s)
            ASSERT_EQ(m_A.FastGetAt(m_Lower + static_cast<int32_t>(s)), m_Ids[s]) << "slot " << s;
        ASSERT_EQ(scctest::Content(m_Snap), m_Snapshot);
        for (int k = 0; k < kIterators; ++k) {
            if (m_It[k] == kUnknown) continue;
            int32_t const expected = IndexOf(m_It[k]);
            ASSERT_EQ(m_Iterators[k].GetIndex(), expected) << "iterator " << k << " on element " << m_It[k];
            if (expected == kNowhere) m_It[k] = kUnknown; // its element is gone
        }
    }

    SCC_Array<int>& m_A;
    std::mt19937 m_Rng;
    int32_t m_Lower = 0;
    std::vector<int> m_Ids;
    SCC_Array<int> m_Snap;
    std::vector<int> m_Snapshot;
    SCC_Array<int>::Iterator m_Iterators[kIterators];
    int m_It[kIterators] = {kUnknown, kUnknown, kUnknown, kUnknown, kUnknown, kUnknown, kUnknown, kUnknown};
    int m_NextId = 0;
};

TEST(ArrayModel, RandomChangesWithLiveIteratorsMatchTheModel) {
    uint32_t const seed = mortar::test::ModelSeed(1122);
    long const steps = mortar::test::ModelSteps(100000);
    SCC_Array<int> plain;
    Derived derived;
    for (SCC_Array<int>* array : {&plain, static_cast<SCC_Array<int>*>(&derived)}) {
        ArrayModelCheck check(*array, seed);
        for (long i = 0; i < steps; ++i) {
            check.Step();
            if (::testing::Test::HasFailure())
                FAIL() << (array == &plain ? "plain" : "derived") << " array, seed " << seed << ", step " << i;
        }
    }
}

} // namespace
