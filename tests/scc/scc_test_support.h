// Helpers of the container suites: a record of failed checks, an element type that counts its
// lives, and filling and reading arrays.
#ifndef MORTAR_TESTS_SCC_SCC_TEST_SUPPORT_H
#define MORTAR_TESTS_SCC_SCC_TEST_SUPPORT_H

#include <mortar/scc/SCC_Hash.h>
#include <mortar/scc/scc_arr.h>
#include <mortar/ssm/ssmimpl.h>

#include <string>
#include <utility>
#include <vector>

namespace scctest {

// Installs an assertion manager for its lifetime and records the message of every failed check.
class FailureLog {
public:
    FailureLog() : m_Hook(this, &FailureLog::OnFailure) { m_Hook.Connect(&m_Manager.MonitorEvent); }
    size_t Count() const { return m_Messages.size(); }
    std::vector<std::string> Take() { return std::exchange(m_Messages, {}); } // starts a new record

private:
    int OnFailure(int, int* data) {
        m_Messages.push_back(reinterpret_cast<SSM::AssertData*>(data)->Message.GetString());
        return 0;
    }
    std::vector<std::string> m_Messages;
    SSM m_Manager;
    SCC_ObjectEventHook<FailureLog, int> m_Hook;
};

inline std::string const kNoMessage = "Message not available"; // how an empty check message arrives

// An element that counts the live objects of its kind, and its copies.
struct Counted {
    static inline int live = 0, copies = 0;
    int value;
    Counted(int v = 0) : value(v) { ++live; }
    Counted(Counted const& o) : value(o.value) { ++live; ++copies; }
    Counted& operator=(Counted const& o) { value = o.value; ++copies; return *this; }
    ~Counted() { --live; }
    bool operator==(Counted const& o) const { return value == o.value; }
};

inline int SCC_Compare(Counted const& a, Counted const& b) { return ::SCC_Compare(a.value, b.value); }

// The elements of `a` from its lower bound up.
template <class T>
std::vector<T> Content(SCC_Array<T> const& a) {
    std::vector<T> v;
    for (int32_t i = a.GetLowerBound(); i < a.GetUpperBound(); ++i) v.push_back(a[i]);
    return v;
}

// Makes the empty array `a` hold `values` from index `lower`.
template <class T>
void Fill(SCC_Array<T>& a, int32_t lower, std::vector<T> const& values) {
    a.Insert(lower, static_cast<int32_t>(values.size()));
    for (size_t i = 0; i < values.size(); ++i) a[lower + static_cast<int32_t>(i)] = values[i];
}

} // namespace scctest

#endif
