#include "scc/scc_test_support.h"

#include <mortar/scc/SCC_List.h>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace {

using scctest::FailureLog;
using scctest::kNoMessage;

// Copying a list moves its nodes, so a const list can be neither copied nor assigned from.
static_assert(!std::is_constructible<SCC_RefDList, SCC_RefDList const&>::value, "a const list can't be copied");
static_assert(!std::is_assignable<SCC_RefDList&, SCC_RefDList const&>::value, "nor assigned from");

struct Plain : SCC_DListNode<Plain> {
    explicit Plain(int v) : value(v) {}
    int value;
};

template <class List>
std::vector<int> Values(List const& list) {
    std::vector<int> v;
    for (auto* node : list) v.push_back(node->value);
    return v;
}

TEST(List, PlainListsWorkByNode) {
    Plain a(1), b(2), c(3), stranger(9);
    SCC_DList<Plain> list;
    EXPECT_EQ(list.First(), nullptr);
    EXPECT_EQ(list.RemoveHead(), nullptr);
    EXPECT_EQ(list.RemoveTail(), nullptr);
    list.AddTail(&b);
    list.AddHead(&a);
    list.InsertAfter(&b, &c);
    EXPECT_EQ(list.Next(&c), nullptr);
    EXPECT_EQ(list.Prev(&a), nullptr);

    // A node or position that is not in the list: nothing inserted or removed, the node
    // returned all the same, a null neighbour.
    EXPECT_EQ(list.InsertBefore(&stranger, &stranger), &stranger);
    EXPECT_EQ(list.InsertAfter(&stranger, &stranger), &stranger);
    EXPECT_EQ(list.Remove(&stranger), &stranger);
    EXPECT_EQ(list.Next(&stranger), nullptr);
    EXPECT_EQ(list.Prev(&stranger), nullptr);
    EXPECT_EQ(Values(list), (std::vector<int>{1, 2, 3}));

    // The standard position form returns the new entry's position; Remove takes out the first
    // equal entry only.
    EXPECT_EQ(*list.InsertBefore(list.cbegin(), &stranger), &stranger);
    list.AddTail(&stranger);
    list.Remove(&stranger);
    EXPECT_EQ(Values(list), (std::vector<int>{1, 2, 3, 9}));

    // The single list has the operations by node as well.
    SCC_SList<Plain> single;
    single.AddTail(&a);
    single.InsertBefore(&a, &b);
    single.InsertAfter(&a, &c);
    EXPECT_EQ(single.Prev(&c), &a);
    single.Remove(&a);
    EXPECT_EQ(Values(single), (std::vector<int>{2, 3}));
}

// A node with a name that answers notifications with a code of its own.
class Named : public SCC_DListRefNode {
public:
    explicit Named(char name, SCC_RefDList* list = nullptr) : SCC_DListRefNode(list), name(name) {}
    Named(Named& source) : SCC_DListRefNode(source), name(source.name) {}
    int OnNotification(int code, void* data) override {
        if (log) *log += name;
        return answer ? answer : SCC_DListRefNode::OnNotification(code, data);
    }
    char name;
    std::string* log = nullptr;
    int answer = 0;
};

std::string Names(SCC_RefDList const& list) {
    std::string s;
    for (SCC_DListRefNode* node : list) s += static_cast<Named*>(node)->name;
    return s;
}

TEST(List, NodesKnowTheirList) {
    SCC_RefDList list;
    Named a('a'), b('b'), c('c');
    list.AddTail(&a);
    list.AddHead(&b);
    list += c;
    EXPECT_EQ(Names(list), "bac");
    EXPECT_EQ(a.GetList(), &list);

    // A node built on a list goes to its head; a copy goes directly before its source.
    Named d('d', &list);
    Named e(a);
    e.name = 'e';
    EXPECT_EQ(Names(list), "dbeac");
    // Assignment: leaves its list, then stands directly before the source.
    Named f('f');
    SCC_RefDList other;
    other.AddTail(&f);
    static_cast<SCC_DListRefNode&>(f) = c;
    EXPECT_EQ(Names(list), "dbeafc");
    EXPECT_EQ(other.GetCount(), 0);
    static_cast<SCC_DListRefNode&>(f) = f; // itself: nothing changes
    EXPECT_EQ(Names(list), "dbeafc");
    Named loose('l');
    static_cast<SCC_DListRefNode&>(f) = loose; // a source in no list: f leaves
    EXPECT_EQ(f.GetList(), nullptr);
    EXPECT_EQ(Names(list), "dbeac");

    // Adding a node of another list moves it; one of this list moves to the end.
    other.AddTail(&a);
    EXPECT_EQ(Names(list), "dbec");
    EXPECT_EQ(a.GetList(), &other);
    list.AddTail(&d);
    EXPECT_EQ(Names(list), "becd");
    list.InsertAfter(&b, &a);
    list.InsertBefore(&b, &f);
    EXPECT_EQ(Names(list), "fbaecd");
    EXPECT_EQ(other.GetCount(), 0);

    // Remove takes the node out of whatever list it is in.
    Named g('g');
    other.AddTail(&g);
    list.Remove(&g);
    EXPECT_EQ(g.GetList(), nullptr);
    EXPECT_EQ(other.GetCount(), 0);
    EXPECT_EQ(list.RemoveHead(), &f);
    EXPECT_EQ(f.GetList(), nullptr);

    // A destroyed node leaves its list.
    { Named temporary('t', &list); }
    EXPECT_EQ(Names(list), "baecd");
    EXPECT_EQ(list.IsValid(), 1);
}

TEST(List, MergeNotifyCopyAndTheEndOfAList) {
    std::string log;
    Named a('a'), b('b'), c('c'), d('d');
    for (Named* n : {&a, &b, &c, &d}) n->log = &log;
    SCC_RefDList first;
    EXPECT_EQ(first.NotifyNodes(5, nullptr), 0);
    first.AddTail(&a);
    first.AddTail(&b);
    SCC_RefDList second;
    first.Merge(second); // empty: nothing
    second.AddTail(&c);
    second.AddTail(&d);
    first.Merge(second);
    EXPECT_EQ(Names(first), "abcd");
    EXPECT_EQ(second.GetCount(), 0);
    EXPECT_EQ(d.GetList(), &first);
    first.Merge(first); // itself: nothing
    EXPECT_EQ(Names(first), "abcd");

    // NotifyNodes: head to tail, the result of the last call.
    EXPECT_EQ(first.NotifyNodes(7, nullptr), 7);
    EXPECT_EQ(log, "abcd");
    a.answer = 3;
    d.answer = 4;
    EXPECT_EQ(first.NotifyNodes(7, nullptr), 4);

    // Copying moves the nodes; the source is left empty. Assignment drops the target's own.
    SCC_RefDList copy(first);
    EXPECT_EQ(Names(copy), "abcd");
    EXPECT_EQ(first.GetCount(), 0);
    EXPECT_EQ(a.GetList(), &copy);
    SCC_RefDList assigned;
    Named e('e', &assigned);
    assigned = copy;
    EXPECT_EQ(Names(assigned), "abcd");
    EXPECT_EQ(e.GetList(), nullptr);
    EXPECT_EQ(copy.GetCount(), 0);
    assigned = assigned;
    EXPECT_EQ(Names(assigned), "abcd");

    // The end of a list leaves its nodes alive with a null list.
    {
        SCC_RefDList temporary;
        temporary.Merge(assigned);
        EXPECT_EQ(b.GetList(), &temporary);
    }
    for (Named* n : {&a, &b, &c, &d}) EXPECT_EQ(n->GetList(), nullptr);

    // A node entered through the plain list has no back pointer: IsValid says so, and the
    // list still empties itself.
    SCC_RefDList mixed;
    mixed.AddTail(&a);
    mixed.SCC_DList<SCC_DListRefNode>::AddTail(&b);
    EXPECT_EQ(mixed.IsValid(), 0);
    mixed.RemoveAll();
    EXPECT_EQ(mixed.GetCount(), 0);
    EXPECT_EQ(a.GetList(), nullptr);
}

TEST(List, NullNodesFailTheCheck) {
    FailureLog failures;
    SCC_RefDList list;
    Named a('a');
    EXPECT_EQ(list.AddTail(nullptr), nullptr);
    EXPECT_EQ(list.AddHead(nullptr), nullptr);
    EXPECT_EQ(list.InsertBefore(&a, nullptr), nullptr);
    EXPECT_EQ(list.InsertAfter(&a, nullptr), nullptr);
    EXPECT_EQ(list.Remove(nullptr), nullptr);
    EXPECT_EQ(list.RemoveHead(), nullptr); // an empty list gives the null node
    EXPECT_EQ(list.RemoveTail(), nullptr);
    EXPECT_EQ(failures.Take(), std::vector<std::string>(7, kNoMessage));
    EXPECT_EQ(list.GetCount(), 0);
}

} // namespace
