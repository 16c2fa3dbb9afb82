// Arrays under random change with live iterators, checked after every step against a plain
// model: a std::vector of element identities with its lower bound, and for each iterator the
// identity of the element it stands on. An iterator on an element must follow it through every
// insertion and deletion and go nowhere (0x7FFFFFFF) when its element is deleted; a second
// array sharing the buffer must never see the first one's changes.
#include <mortar/scc/scc_arr.h>

#include "support/model_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

constexpr int32_t kNowhere = 0x7FFFFFFF;
constexpr int kIterators = 8;
constexpr int kUnknown = -1; // a slot whose content is unspecified until written

struct Model {
    int32_t lower = 0;
    std::vector<int> ids;
    int32_t upper() const { return lower + static_cast<int32_t>(ids.size()); }
    int IndexOf(int id) const {
        auto at = std::find(ids.begin(), ids.end(), id);
        return at == ids.end() ? kNowhere : lower + static_cast<int32_t>(at - ids.begin());
    }
};

class ArrayModelCheck {
public:
    explicit ArrayModelCheck(uint32_t seed) : m_Rng(seed) {
        for (auto& it : m_It) it = kUnknown;
    }

    void Step() {
        switch (m_Rng() % 9) {
        case 0:
        case 1:
            Insert();
            break;
        case 2:
            Delete();
            break;
        case 3:
            Write();
            break;
        case 4:
            m_A.Append(++m_NextId);
            m_Model.ids.push_back(m_NextId);
            break;
        case 5:
            if (m_Rng() % 8 == 0) {
                m_A.Clear();
                for (int i = 0; i < kIterators; ++i)
                    if (m_It[i] != kUnknown) m_Expect[i] = m_Model.IndexOf(m_It[i]) == 0 ? 0 : kNowhere, m_It[i] = kUnknown;
                m_Model = Model();
                return CheckCleared();
            }
            break;
        case 6:
            Share();
            break;
        default:
            PlaceIterator();
            break;
        }
        FillUnknown();
        Check();
    }

private:
    int32_t Around(Model const& m) {
        int32_t span = static_cast<int32_t>(m.ids.size()) + 6;
        return m.lower - 3 + static_cast<int32_t>(m_Rng() % static_cast<uint32_t>(span));
    }

    void Insert() {
        int32_t pos = Around(m_Model);
        int32_t count = static_cast<int32_t>(m_Rng() % 7) - 3;
        if (count == 0) count = 1;
        if (m_Model.ids.empty() && count < 0) count = -count;
        m_A.Insert(pos, count);

        Model& m = m_Model;
        int32_t const L = m.lower, U = m.upper(), N = static_cast<int32_t>(m.ids.size());
        std::vector<int> const old = m.ids;
        // The new bounds and where the old elements start, by the situation of the insertion.
        int32_t newLower, newUpper, start;
        if (N == 0) {
            newLower = pos, newUpper = pos + count, start = newLower;
        } else if (pos < L && pos + count <= L) {
            newLower = std::min(pos, pos + count), newUpper = U, start = L;
        } else if (pos < L) {
            newLower = pos, newUpper = N + pos + count, start = pos + count;
        } else if (pos < U && count > 0) {
            newLower = L, newUpper = U + count, start = L;
        } else if (pos < U) {
            newLower = L + count, newUpper = U, start = L + count;
        } else if (pos + count >= U) {
            newLower = L, newUpper = std::max(pos, pos + count), start = L;
        } else {
            newLower = pos - N + count, newUpper = pos, start = pos + count - N;
        }
        m.lower = newLower;
        m.ids.assign(static_cast<std::size_t>(newUpper - newLower), kUnknown);
        if (N == 0) return;
        // Elements stay in order; an insertion inside the bounds splits them at pos.
        bool const split = pos >= L && pos < U;
        for (int32_t i = 0; i < N; ++i) {
            int32_t to = start + i;
            if (split && count > 0 && L + i >= pos) to += count;
            if (split && count < 0 && L + i >= pos) to -= count;
            m.ids[static_cast<std::size_t>(to - newLower)] = old[static_cast<std::size_t>(i)];
        }
    }

    void Delete() {
        int32_t pos = Around(m_Model);
        int32_t count = static_cast<int32_t>(m_Rng() % 3) + 1;
        m_A.Delete(pos, count);
        Model& m = m_Model;
        if (pos < m.lower || pos >= m.upper() || pos + count > m.upper()) return; // nothing happens
        auto first = m.ids.begin() + (pos - m.lower);
        m.ids.erase(first, first + count);
        if (m.ids.empty()) m.lower = 0;
    }

    // a[i] = x extends the bounds to take i (from the bounds 0, 0 of an empty array).
    void Write() {
        int32_t i = Around(m_Model);
        int id = ++m_NextId;
        m_A[i] = id;
        Model& m = m_Model;
        if (i >= m.upper()) m.ids.resize(static_cast<std::size_t>(i + 1 - m.lower), kUnknown);
        if (i < m.lower) {
            m.ids.insert(m.ids.begin(), static_cast<std::size_t>(m.lower - i), kUnknown);
            m.lower = i;
        }
        int& slot = m.ids[static_cast<std::size_t>(i - m.lower)];
        for (int& tracked : m_It) // an iterator on the slot now stands on the new content
            if (tracked == slot && slot != kUnknown) tracked = id;
        slot = id;
    }

    // b = a shares the buffer; a write to b copies it, and a stays as it was.
    void Share() {
        SCC_Array<int> b;
        b = m_A;
        if (m_Model.ids.empty()) return;
        int32_t i = m_Model.lower + static_cast<int32_t>(m_Rng() % m_Model.ids.size());
        b[i] = -7;
        if (m_Rng() % 2) b.Delete(m_Model.lower, 1);
        EXPECT_EQ(b.GetCount(), static_cast<int>(m_Model.ids.size()) - (b.GetCount() < static_cast<int>(m_Model.ids.size())));
    }

    void PlaceIterator() {
        int k = static_cast<int>(m_Rng() % kIterators);
        if (m_Model.ids.empty()) return;
        std::size_t slot = m_Rng() % m_Model.ids.size();
        m_Iterators[k].SetArray(&m_A, m_Model.lower + static_cast<int32_t>(slot));
        m_It[k] = m_Model.ids[slot];
    }

    // Gap and extension slots hold unspecified values: give them identities of their own.
    void FillUnknown() {
        for (std::size_t s = 0; s < m_Model.ids.size(); ++s)
            if (m_Model.ids[s] == kUnknown) {
                m_Model.ids[s] = ++m_NextId;
                m_A[m_Model.lower + static_cast<int32_t>(s)] = m_NextId;
            }
    }

    void Check() {
        ASSERT_EQ(m_A.GetLowerBound(), m_Model.ids.empty() ? 0 : m_Model.lower);
        ASSERT_EQ(m_A.GetUpperBound(), m_Model.ids.empty() ? 0 : m_Model.upper());
        for (std::size_t s = 0; s < m_Model.ids.size(); ++s)
            ASSERT_EQ(m_A.FastGetAt(m_Model.lower + static_cast<int32_t>(s)), m_Model.ids[s]) << "slot " << s;
        for (int k = 0; k < kIterators; ++k) {
            if (m_It[k] == kUnknown) continue;
            int32_t expected = m_Model.IndexOf(m_It[k]);
            ASSERT_EQ(m_Iterators[k].GetIndex(), expected) << "iterator " << k << " on element " << m_It[k];
            if (expected == kNowhere) m_It[k] = kUnknown; // its element is gone
        }
    }

    void CheckCleared() {
        EXPECT_EQ(m_A.GetCount(), 0);
        for (int k = 0; k < kIterators; ++k)
            if (m_Expect[k] != kUnknown) {
                EXPECT_EQ(m_Iterators[k].GetIndex(), m_Expect[k]) << "iterator " << k << " after Clear";
                m_Expect[k] = kUnknown;
            }
    }

    std::mt19937 m_Rng;
    SCC_Array<int> m_A;
    Model m_Model;
    SCC_Array<int>::Iterator m_Iterators[kIterators];
    int m_It[kIterators];
    int32_t m_Expect[kIterators] = {kUnknown, kUnknown, kUnknown, kUnknown, kUnknown, kUnknown, kUnknown, kUnknown};
    int m_NextId = 0;
};

TEST(ArrayModel, RandomChangesWithLiveIteratorsMatchTheModel) {
    uint32_t const seed = mortar::test::ModelSeed(1122);
    long const steps = mortar::test::ModelSteps(100000);
    ArrayModelCheck check(seed);
    for (long i = 0; i < steps; ++i) {
        check.Step();
        if (::testing::Test::HasFailure()) FAIL() << "seed " << seed << ", step " << i;
    }
}

} // namespace
