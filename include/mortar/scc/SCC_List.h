// Pointer lists over the standard list, and the list whose nodes know their list.
//
// SCC_SList and SCC_DList add node-oriented operations to a standard list of T*: a node pointer
// stands for its position. The lists hold pointers and never own the nodes: Remove, RemoveAll
// and destruction free the list's own entries and leave the nodes alone. Searches are linear,
// by pointer, from the head. Wrong arguments are not errors here: a position that is not in the
// list means no insertion (the node is returned all the same), a node that is not in the list
// means no removal and a null Next or Prev.
//
// SCC_RefDList with SCC_DListRefNode adds one thing: a node knows the one list it belongs to and
// leaves it by itself when it is destroyed. Invariant: every node in an SCC_RefDList has that
// list as its list, and a node is in at most one list. The insert and removal operations of
// SCC_RefDList keep the back pointers true; each checks that its node is not null (a failed
// check of the assertion manager, empty message, after which the operation does nothing and
// returns null). They hide, not override, those of the base lists: a node entered through a
// base-class reference gets no back pointer.
//
// Copying an SCC_RefDList moves its nodes, as copying an event moves its listeners: the copy
// constructor and the assignment take a non-const source, which is left empty. A const list
// can't be copied at all (the forms from a const reference are deleted).
//
// The family is a template over the node type, an integer that no behaviour depends on (0 in
// every instance) and a notifier policy base; SCC_NullNotifier tells nobody about changes.
// Nothing here is thread-safe.
#ifndef MORTAR_SCC_SCC_LIST_H
#define MORTAR_SCC_SCC_LIST_H

#include <mortar/export.h>

#include <algorithm>
#include <cstdint>
#include <list>

/// The policy base of a list that tells nobody about its changes.
class SCC_NullNotifier {};

/// Marker base of the nodes of an SCC_SList: the links live in the list, not in the node.
template <class T>
class SCC_SListNode {
public:
    virtual ~SCC_SListNode() = default;
};

/// Marker base of the nodes of an SCC_DList.
template <class T>
class SCC_DListNode : public SCC_SListNode<T> {
public:
    ~SCC_DListNode() override = default;
};

/// A standard list of T* with operations by node.
template <class T, int N = 0, class Notifier = SCC_NullNotifier>
class SCC_SList : public std::list<T*>, public Notifier {
    using Base = std::list<T*>;

public:
    SCC_SList() = default;
    SCC_SList(SCC_SList const&) = default;
    SCC_SList& operator=(SCC_SList const&) = default;
    virtual ~SCC_SList() = default;

    int IsEmpty() const { return Base::empty() ? 1 : 0; }
    int IsValid() const { return 1; }
    int32_t GetCount() const { return static_cast<int32_t>(Base::size()); }

    /// The first or last node; null on an empty list.
    T* First() const { return Base::empty() ? nullptr : Base::front(); }
    T* Last() const { return Base::empty() ? nullptr : Base::back(); }

    /// The entry before `node`; null if `node` is not in the list or is the first.
    T* Prev(T* node) const {
        auto it = Find(node);
        return it == Base::end() || it == Base::begin() ? nullptr : *std::prev(it);
    }

    /// Appends `node`; returns it.
    T* AddTail(T* node) {
        Base::push_back(node);
        return node;
    }

    /// Inserts `node` before (after) the entry `position`; if `position` is not in the list
    /// nothing is inserted. Returns `node` in either case.
    T* InsertBefore(T* position, T* node) {
        auto it = Find(position);
        if (it != Base::end()) Base::insert(it, node);
        return node;
    }
    T* InsertAfter(T* position, T* node) {
        auto it = Find(position);
        if (it != Base::end()) Base::insert(std::next(it), node);
        return node;
    }

    /// Takes out the first entry equal to `node`, if there is one; returns `node`.
    T* Remove(T* node) {
        auto it = Find(node);
        if (it != Base::end()) Base::erase(it);
        return node;
    }

    /// Empties the list; the nodes are left alone.
    void RemoveAll() { Base::clear(); }

protected:
    typename Base::const_iterator Find(T* node) const { return std::find(Base::begin(), Base::end(), node); }
    typename Base::iterator Find(T* node) { return std::find(Base::begin(), Base::end(), node); }
};

/// SCC_SList with operations at both ends and a successor.
template <class T, int N = 0, class Notifier = SCC_NullNotifier>
class SCC_DList : public SCC_SList<T, N, Notifier> {
    using SBase = SCC_SList<T, N, Notifier>;
    using Base = std::list<T*>;

public:
    using const_iterator = typename Base::const_iterator;

    SCC_DList() = default;
    SCC_DList(SCC_DList const&) = default;
    SCC_DList& operator=(SCC_DList const&) = default;
    ~SCC_DList() override = default;

    int IsValid() const { return 1; }
    void RemoveAll() { SBase::RemoveAll(); }
    T* AddTail(T* node) { return SBase::AddTail(node); }
    T* InsertBefore(T* position, T* node) { return SBase::InsertBefore(position, node); }
    T* InsertAfter(T* position, T* node) { return SBase::InsertAfter(position, node); }
    T* Remove(T* node) { return SBase::Remove(node); }
    T* Prev(T* node) const { return SBase::Prev(node); }

    /// Inserts `node` at a standard list position; returns the position of the new entry.
    const_iterator InsertBefore(const_iterator position, T* node) { return Base::insert(position, node); }

    /// Prepends `node`; returns it.
    T* AddHead(T* node) {
        Base::push_front(node);
        return node;
    }

    /// Takes out the first (last) node and returns it; null on an empty list.
    T* RemoveHead() {
        if (Base::empty()) return nullptr;
        T* node = Base::front();
        Base::pop_front();
        return node;
    }
    T* RemoveTail() {
        if (Base::empty()) return nullptr;
        T* node = Base::back();
        Base::pop_back();
        return node;
    }

    /// The entry after `node`; null if `node` is not in the list or is the last.
    T* Next(T* node) const {
        auto it = SBase::Find(node);
        if (it == Base::end()) return nullptr;
        ++it;
        return it == Base::end() ? nullptr : *it;
    }
};

class SCC_RefDList;
class SCC_DListRefNode;

// The only instances of the list family are built into the library, so that clients share one
// copy of their code and type information.
extern template class MORTAR_API SCC_SListNode<SCC_DListRefNode>;
extern template class MORTAR_API SCC_DListNode<SCC_DListRefNode>;

/// A node that knows the one list it belongs to and leaves it when it is destroyed.
///
/// Virtual slots: the destructor, then OnNotification.
class MORTAR_API SCC_DListRefNode : public SCC_DListNode<SCC_DListRefNode> {
public:
    /// Belongs to no list.
    SCC_DListRefNode() : m_List(nullptr) {}

    /// If `list` is not null, joins it at the head.
    explicit SCC_DListRefNode(SCC_RefDList* list);

    /// If `source` is in a list, joins that list directly before `source`.
    SCC_DListRefNode(SCC_DListRefNode& source);

    /// Leaves its present list, then, if `source` is in a list, joins it directly before
    /// `source`. Assigning a node to itself changes nothing.
    SCC_DListRefNode& operator=(SCC_DListRefNode& source);

    /// Leaves its list, if it is in one.
    ~SCC_DListRefNode() override;

    /// Returns `code` unchanged; derive to listen to SCC_RefDList::NotifyNodes.
    virtual int OnNotification(int code, void* data);

    /// The list this node belongs to, or null.
    SCC_RefDList* GetList() const { return m_List; }

    /// Takes this node's entry out of its present list, if any, then sets the list field to
    /// `list`. It does not enter the node in `list`: the caller does that next.
    void ChangeList(SCC_RefDList* list);

private:
    SCC_RefDList* m_List;
};

extern template class MORTAR_API SCC_SList<SCC_DListRefNode, 0, SCC_NullNotifier>;
extern template class MORTAR_API SCC_DList<SCC_DListRefNode, 0, SCC_NullNotifier>;

/// A list of SCC_DListRefNode whose nodes point back at it. The destructor runs RemoveAll, so
/// the nodes survive with a null list.
class MORTAR_API SCC_RefDList : public SCC_DList<SCC_DListRefNode, 0, SCC_NullNotifier> {
    using DBase = SCC_DList<SCC_DListRefNode, 0, SCC_NullNotifier>;

public:
    SCC_RefDList() = default;

    /// Moves all nodes of `source` here, in their order; `source` is left empty.
    SCC_RefDList(SCC_RefDList& source);
    SCC_RefDList(SCC_RefDList&& source);
    /// Removes this list's nodes, then moves all nodes of `source` here. Assigning a list to
    /// itself changes nothing.
    SCC_RefDList& operator=(SCC_RefDList& source);
    SCC_RefDList& operator=(SCC_RefDList&& source);
    /// Two lists can't both hold a node, so a const list can't be copied.
    SCC_RefDList(SCC_RefDList const&) = delete;
    SCC_RefDList& operator=(SCC_RefDList const&) = delete;

    /// RemoveAll: the nodes are left with a null list.
    ~SCC_RefDList() override;

    /// node->ChangeList(this), then the base InsertBefore (InsertAfter). `position` must be in
    /// this list: otherwise the node is not entered, yet claims this list.
    SCC_DListRefNode* InsertBefore(SCC_DListRefNode* position, SCC_DListRefNode* node);
    SCC_DListRefNode* InsertAfter(SCC_DListRefNode* position, SCC_DListRefNode* node);

    /// node->ChangeList(this), then appends (prepends). A node of this list moves to the end.
    SCC_DListRefNode* AddTail(SCC_DListRefNode* node);
    SCC_DListRefNode* AddHead(SCC_DListRefNode* node);

    /// AddTail(&node).
    void operator+=(SCC_DListRefNode& node) { AddTail(&node); }

    /// node->ChangeList(null): takes the node out of whatever list it is in, whichever list was
    /// asked. Returns `node`.
    SCC_DListRefNode* Remove(SCC_DListRefNode* node);

    /// Remove of the first (last) node; on an empty list the null node fails the check.
    SCC_DListRefNode* RemoveHead();
    SCC_DListRefNode* RemoveTail();

    /// Removes the nodes one by one from the head.
    void RemoveAll();

    /// Moves every node of `other` to the end of this list, in their order; `other` ends up
    /// empty. Merging a list into itself changes nothing.
    void Merge(SCC_RefDList& other);

    /// 1 if every node's list is this list, else 0.
    int IsValid() const;

    /// Calls OnNotification(code, data) on every node from head to tail and returns the result
    /// of the last call, 0 for an empty list. Unlike an event chain there is no protection:
    /// nodes must not leave or join the list during the walk.
    int NotifyNodes(int code, void* data);

private:
    // Drops the first entry if it does not point back at this list; true when it did so.
    bool DropForeignHead();
};

#endif
