#include "scc/scc_test_support.h"

#include <mortar/scc/SCC_List.h>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace scctest;

// Copying a list moves its nodes, so a const list can be neither copied nor assigned from.
static_assert(!std::is_constructible<SCC_RefDList, SCC_RefDList const&>::value, "a const list can't be copied");
static_assert(!std::is_assignable<SCC_RefDList&, SCC_RefDList const&>::value, "nor assigned from");

// A node with a name that logs its notifications and can answer them with a code of its own.
struct Named : SCC_DListRefNode {
    explicit Named(char n, SCC_RefDList* list = nullptr) : SCC_DListRefNode(list), name(n) {}
    Named(Named& source, char n) : SCC_DListRefNode(source), name(n) {}
    int OnNotification(int code, void* data) override {
        if (log) *log += name;
        return answer ? answer : SCC_DListRefNode::OnNotification(code, data);
    }
    char name;
    std::string* log = nullptr;
    int answer = 0;
};

using PlainList = SCC_DList<SCC_DListRefNode>; // knows nothing of back pointers

// The names of the nodes from head to tail.
std::string Names(PlainList const& list) {
    std::string s;
    for (SCC_DListRefNode* node : list) s += static_cast<Named*>(node)->name;
    return s;
}

// The same for a list whose nodes must all know that they are in it.
std::string Checked(SCC_RefDList const& list) {
    EXPECT_EQ(list.IsValid(), 1);
    return Names(list);
}

TEST(List, PlainListsWorkByNode) {
    Named a('a'), b('b'), c('c'), stranger('s');
    PlainList list;
    EXPECT_TRUE(!list.First() && !list.RemoveHead() && !list.RemoveTail());
    list.AddTail(&b);
    list.AddHead(&a);
    list.InsertAfter(&b, &c);
    // A node or position that is not in the list: nothing inserted or removed, the node
    // returned all the same, a null neighbour; nor has the last a next or the first a previous.
    for (auto* r : {list.InsertBefore(&stranger, &stranger), list.InsertAfter(&stranger, &stranger),
                    list.Remove(&stranger)})
        EXPECT_EQ(r, &stranger);
    EXPECT_TRUE(!list.Next(&stranger) && !list.Prev(&stranger) && !list.Next(&c) && !list.Prev(&a));
    EXPECT_EQ(Names(list), "abc");

    // The standard position form returns the new entry's position; Remove takes out the first
    // equal entry only.
    EXPECT_EQ(*list.InsertBefore(list.cbegin(), &stranger), &stranger);
    list.AddTail(&stranger);
    list.Remove(&stranger);
    EXPECT_EQ(Names(list), "abcs");
    EXPECT_EQ(a.GetList(), nullptr);
}

TEST(List, NodesKnowTheirList) {
    FailureLog failures;
    SCC_RefDList list, other;
    Named a('a'), b('b'), c('c'), f('f'), g('g'), loose('l');
    list.AddTail(&a);
    list.AddHead(&b);
    list += c;
    Named d('d', &list); // a node built on a list goes to its head
    Named e(a, 'e');     // a copy goes directly before its source
    auto lists = [&] { return Checked(list) + "|" + Checked(other); };
    EXPECT_EQ(lists(), "dbeac|");

    // Assignment leaves the old list, then stands directly before the source; to itself nothing.
    other.AddTail(&f);
    static_cast<SCC_DListRefNode&>(f) = c;
    static_cast<SCC_DListRefNode&>(f) = f;
    EXPECT_EQ(lists(), "dbeafc|");
    static_cast<SCC_DListRefNode&>(f) = loose; // a source in no list: f ends in none
    EXPECT_EQ(f.GetList(), nullptr);
    EXPECT_EQ(lists(), "dbeac|");

    // Adding a node of another list moves it; one of this list moves to the end.
    other.AddTail(&a);
    list.AddTail(&d);
    EXPECT_EQ(lists(), "becd|a");
    list.InsertAfter(&b, &a);
    list.InsertBefore(&b, &f);
    EXPECT_EQ(lists(), "fbaecd|");

    // Remove takes the node out of whatever list it is in; a destroyed node leaves its list.
    other.AddTail(&g);
    list.Remove(&g);
    EXPECT_EQ(g.GetList(), nullptr);
    EXPECT_EQ(list.RemoveHead(), &f);
    { Named temporary('t', &list); }
    EXPECT_EQ(lists(), "baecd|");

    // A null node fails the check and does nothing; so does removing from an empty list.
    for (auto* r : {list.AddTail(nullptr), list.AddHead(nullptr), list.InsertBefore(&a, nullptr),
                    list.InsertAfter(&a, nullptr), list.Remove(nullptr), other.RemoveHead(), other.RemoveTail()})
        EXPECT_EQ(r, nullptr);
    EXPECT_EQ(failures.Take(), std::vector<std::string>(7, kNoMessage));
    EXPECT_EQ(lists(), "baecd|");
}

TEST(List, MergeNotifyCopyAndTheEndOfAList) {
    std::string log;
    Named a('a'), b('b'), c('c'), d('d');
    for (Named* n : {&a, &b, &c, &d}) n->log = &log;
    SCC_RefDList first, second;
    EXPECT_EQ(first.NotifyNodes(5, nullptr), 0);
    first.AddTail(&a);
    first.AddTail(&b);
    second.AddTail(&c);
    second.AddTail(&d);
    first.Merge(second);
    first.Merge(first); // itself: nothing
    EXPECT_EQ(Checked(first), "abcd");
    EXPECT_EQ(second.GetCount(), 0);

    // NotifyNodes: head to tail, the result of the last call.
    EXPECT_EQ(first.NotifyNodes(7, nullptr), 7);
    EXPECT_EQ(log, "abcd");
    a.answer = 3;
    d.answer = 4;
    EXPECT_EQ(first.NotifyNodes(7, nullptr), 4);

    // Copying moves the nodes and leaves the source empty; assignment drops the target's own.
    SCC_RefDList copy(first), assigned;
    EXPECT_EQ(Checked(copy), "abcd");
    EXPECT_EQ(first.GetCount(), 0);
    Named e('e', &assigned);
    assigned = copy;
    assigned = assigned;
    EXPECT_EQ(Checked(assigned), "abcd");
    EXPECT_EQ(e.GetList(), nullptr);
    EXPECT_EQ(copy.GetCount(), 0);

    // The end of a list leaves its nodes alive with a null list.
    { SCC_RefDList temporary(assigned); }
    for (Named* n : {&a, &b, &c, &d}) EXPECT_EQ(n->GetList(), nullptr);

    // A node entered through the plain list has no back pointer: IsValid says so, and the list
    // still empties itself.
    SCC_RefDList mixed;
    mixed.AddTail(&a);
    mixed.PlainList::AddTail(&b);
    EXPECT_EQ(mixed.IsValid(), 0);
    mixed.RemoveAll();
    EXPECT_EQ(mixed.GetCount(), 0);
    EXPECT_EQ(a.GetList(), nullptr);
}

} // namespace
