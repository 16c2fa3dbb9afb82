// Helpers shared by the container suites: a record of failed checks, an element type that
// counts its lives, and filling and reading arrays.
#ifndef MORTAR_TESTS_SCC_SCC_TEST_SUPPORT_H
#define MORTAR_TESTS_SCC_SCC_TEST_SUPPORT_H

#include <mortar/scc/SCC_Hash.h>
#include <mortar/scc/scc_arr.h>
#include <mortar/ssm/ssmimpl.h>

#include <string>
#include <vector>

namespace scctest {

// Installs an assertion manager for the lifetime of the object and records the message of every
// failed check that reaches its monitor event ("Message not available" for an empty message).
class FailureLog {
public:
    FailureLog() : m_Hook(this, &FailureLog::OnFailure) { m_Hook.Connect(&m_Manager.MonitorEvent); }

    std::vector<std::string> messages;

    size_t Count() const { return messages.size(); }
    // The messages so far; starts a new record.
    std::vector<std::string> Take() {
        std::vector<std::string> taken;
        taken.swap(messages);
        return taken;
    }

private:
    int OnFailure(int, int* data) {
        messages.push_back(reinterpret_cast<SSM::AssertData*>(data)->Message.GetString());
        return 0;
    }

    SSM m_Manager;
    SCC_ObjectEventHook<FailureLog, int> m_Hook;
};

// The text that an empty check message reaches the record with.
inline std::string const kNoMessage = "Message not available";

// An element that counts how many of its kind are alive and how often it was copied.
struct Counted {
    static int live;
    static int copies;
    int value;

    Counted() : value(0) { ++live; }
    Counted(int v) : value(v) { ++live; }
    Counted(Counted const& o) : value(o.value) {
        ++live;
        ++copies;
    }
    Counted& operator=(Counted const& o) {
        value = o.value;
        ++copies;
        return *this;
    }
    ~Counted() { --live; }
    bool operator==(Counted const& o) const { return value == o.value; }
};

inline int Counted::live = 0;
inline int Counted::copies = 0;

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
