// Event chains: the library's observer mechanism.
//
// A chain is an intrusive, circular, doubly linked ring of nodes through one head, the
// SCC_Event<T> that fires. A listener is itself a node of the ring, so connecting and
// disconnecting never allocate and destroying a listener disconnects it. Walking `next`
// from the head gives the order of notification; the walk ends when it is back at the head.
//
// A chain may be changed freely while it is being walked. Every walk in progress keeps a
// small Saver record on the stack of Notify; the records of one event form a stack whose
// top the event keeps in its root field. When a node leaves a chain, the event moves every
// walk that stands on that node back to the node before it, so the walk goes on with the
// node that followed. Walks of other nodes need no news: the ring stays closed.
//
// Fields shared by every node, with their meaning for each kind of node:
//
//   root      listener: the event it belongs to, null when unconnected
//             event:    the top of its Saver stack, null when no walk is in progress
//             Saver:    the walk's current node
//   previous  the node before this one in the ring (a node out of any chain: itself)
//   next      the node after this one (out of any chain: itself; Saver: the next older
//             Saver of the same event, or null)
//
// Nothing here is thread-safe: walks, nested walks included, run on the caller's stack.
//
// Copying. A copy constructor or assignment that takes a non-const reference does more than
// copy: copying or assigning an event moves its listeners, assigning a node makes it join
// the chain of its source. In detail:
//   - SCC_EventNode(SCC_EventNode const&) gives a node out of any chain: links can't be
//     shared by copying them.
//   - SCC_EventNode::operator=(SCC_EventNode&) is InsertBefore(&source).
//   - A copied or assigned hook takes over its source's priority and callback (an object
//     hook also its object and member function) and joins its source's ring directly ahead
//     of the source, with the source's root. A source out of any chain gives a copy that
//     forms a ring of two with it, with root null; connecting either one later takes it
//     out of that ring.
//   - Copying or assigning an event transfers its chain (see SCC_Event).
#ifndef MORTAR_SCC_SCC_EVENT_H
#define MORTAR_SCC_SCC_EVENT_H

#include <mortar/export.h>

#include <cstdint>

template <class T>
class SCC_Event;
template <class T>
class SCC_EventHook;

/// A node of an event chain: a listener that does nothing, and the base of every other node.
///
/// The virtual slots, in order: destructor, OnNotification, OnRemoveNode, GetPriority,
/// GetRoot. Derive and override OnNotification to listen.
template <class T>
class SCC_EventNode {
public:
    /// A node out of any chain.
    SCC_EventNode() : m_Root(nullptr), m_Prev(this), m_Next(this) {}

    /// A node out of any chain, whatever the chain of `source`.
    SCC_EventNode(SCC_EventNode<T> const&) : SCC_EventNode() {}

    /// Leaves the chain (see Remove).
    virtual ~SCC_EventNode() { Remove(); }

    /// Receives a notification; the result is ignored by Notify. This node does nothing.
    virtual int OnNotification(int code, T* data) {
        (void)code;
        (void)data;
        return 0;
    }

    /// Told that `node`, still linked, is about to leave a chain whose head this node is.
    /// A plain node has no walks to look after and does nothing.
    virtual void OnRemoveNode(SCC_EventNode<T>* node) { (void)node; }

    /// The place of this node among prioritised hooks (see SCC_EventHook::Connect).
    /// A plain node stands ahead of every hook: 0x7FFFFFFF.
    virtual int32_t GetPriority() { return 0x7FFFFFFF; }

    /// The root field: for a listener its event, for an event the top of its walk stack,
    /// for a Saver the walk's current node.
    virtual SCC_EventNode<T>* GetRoot() { return m_Root; }

    /// Leaves the chain: first the root is told (`root->OnRemoveNode(this)`, so that walks
    /// standing on this node move back one node), then the node is unlinked and is left with
    /// root null and a ring of itself. Harmless on a node out of any chain.
    /// Not for an event head: an event never leaves its own ring while it lives.
    void Remove() {
        if (m_Root) m_Root->OnRemoveNode(this);
        m_Root = nullptr;
        Unlink();
    }

    /// Leaves the present chain (as Remove) and links this node directly before `position`,
    /// taking over `position`'s root. `position` must be a listener, in a chain or not; to
    /// join an event use SCC_Event::Add or SCC_EventHook::Connect, for the root field of an
    /// event head is its walk stack and not a root. A null `position` only removes this
    /// node; `position` equal to this node changes nothing.
    /// Effect on walks: the node takes part in a walk in progress if, and only if, it lands
    /// ahead of that walk's current node.
    void InsertBefore(SCC_EventNode<T>* position) {
        if (position == this) return;
        Remove();
        if (!position) return;
        LinkBefore(position);
        m_Root = position->m_Root;
    }

    /// InsertBefore(&source): the assigned node joins the chain of `source`, just ahead of it.
    SCC_EventNode<T>& operator=(SCC_EventNode<T>& source) {
        InsertBefore(&source);
        return *this;
    }

private:
    friend class SCC_Event<T>;
    friend class SCC_EventHook<T>;

    // Links this node, which is out of any ring, directly before `position`.
    void LinkBefore(SCC_EventNode<T>* position) {
        m_Next = position;
        m_Prev = position->m_Prev;
        m_Prev->m_Next = this;
        position->m_Prev = this;
    }

    // Takes this node out of its ring without telling anybody.
    void Unlink() {
        m_Prev->m_Next = m_Next;
        m_Next->m_Prev = m_Prev;
        m_Prev = m_Next = this;
    }

    SCC_EventNode<T>* m_Root;
    // The links belong to the ring rather than to the node's value: a copied hook links
    // itself ahead of a source that it reaches through a const reference.
    mutable SCC_EventNode<T>* m_Prev;
    mutable SCC_EventNode<T>* m_Next;
};

/// The head of a chain: the object that fires.
///
/// `Enabled` (1 from construction) is public to the classes that own events; while it is 0
/// the event fires nothing.
///
/// Transfer. Copying (SCC_Event(SCC_Event&)) or assigning (operator=(SCC_Event&)) an event
/// moves its whole chain: the target takes the source's place in the ring, every listener's
/// root becomes the target, walks in progress on the source go on over the target, and the
/// source is left empty with no walk. Copying takes over the source's Enabled; assignment
/// keeps the target's own, and first disconnects the target's listeners and ends the
/// target's walks in progress after their current callback. Moving is the same as copying.
///
/// Listeners are nodes that are not event heads: an event never joins another chain.
///
/// Destruction disconnects every listener (their root becomes null; they are not deleted).
/// Walks in progress on a destroyed event end when their current callback returns, so a
/// listener may destroy the event that notifies it.
template <class T>
class SCC_Event : public SCC_EventNode<T> {
    using Node = SCC_EventNode<T>;

public:
    /// One record per walk in progress: an automatic variable of Notify. It sits on its
    /// event's stack from construction to destruction, so the stack is back to its old top
    /// when Notify returns or a callback throws. Its root field is the walk's current node,
    /// its next field the next older Saver of the same event.
    class Saver : public SCC_EventNode<T> {
    public:
        Saver(Saver const&) = delete;
        Saver& operator=(Saver const&) = delete;

        /// Pops this record and leaves the node fields unconnected, so that the node
        /// destructor that follows has nothing to do.
        ~Saver() override {
            if (m_Event) m_Event->m_Root = this->m_Next;
            this->m_Root = nullptr;
            this->m_Prev = this->m_Next = this;
        }

        /// The event whose stack this record is on (its root field is the stack head);
        /// null once that event has been destroyed or has had its walks ended.
        SCC_Event<T>* GetEvent() const { return m_Event; }

    private:
        friend class SCC_Event<T>;

        // Pushes a record with no current node on `event`'s stack. Only Notify builds one,
        // so that records come and go strictly last in, first out.
        explicit Saver(SCC_Event<T>* event) : m_Event(event) {
            this->m_Next = event->m_Root;
            event->m_Root = this;
        }

        SCC_Event<T>* m_Event;
    };

    /// 1 while the event fires; a listener may clear it to end every walk in progress.
    int Enabled = 1;

    /// An empty, enabled event.
    SCC_Event() = default;

    /// Transfers the chain of `source` to this new event, with its Enabled (see above).
    SCC_Event(SCC_Event<T>& source) : SCC_EventNode<T>() { TakeOver(source, true); }
    SCC_Event(SCC_Event<T>&& source) : SCC_EventNode<T>() { TakeOver(source, true); }

    /// Disconnects this event's listeners, then transfers the chain of `source`; Enabled
    /// stays as it was here. Assigning an event to itself changes nothing.
    SCC_Event<T>& operator=(SCC_Event<T>& source) {
        if (&source != this) {
            RemoveAll();
            EndWalks();
            TakeOver(source, false);
        }
        return *this;
    }
    SCC_Event<T>& operator=(SCC_Event<T>&& source) { return *this = source; }

    /// Disconnects every listener, ends the walks in progress, then leaves like any node.
    ~SCC_Event() override {
        RemoveAll();
        EndWalks();
    }

    /// Moves back every walk that stands on `node`, which is about to leave this chain, so
    /// that the walk goes on with the node that followed it. Every walk is visited, from the
    /// newest down, since walks nest.
    void OnRemoveNode(SCC_EventNode<T>* node) override {
        for (Node* s = this->m_Root; s; s = s->m_Next)
            if (s->m_Root == node) s->m_Root = node->m_Prev;
    }

    /// Calls OnNotification(code, data) on every node, in ring order; always returns 0.
    ///
    /// Results of the listeners are ignored. What a listener may do inside its callback:
    ///   - remove, move or destroy any node, itself included: a node that leaves is not
    ///     notified afterwards, and the walk goes on with the node that followed it;
    ///   - connect nodes: a node takes part in this walk if, and only if, it lands ahead of
    ///     the walk's current node (so Add, which links at the tail, yields a notification
    ///     in this same walk);
    ///   - fire this event again: the inner walk runs in full first, then this one goes on;
    ///     removals during the inner walk are seen by both;
    ///   - clear Enabled: no further node is notified, in this walk or in any walk further
    ///     out, and the field stays 0;
    ///   - destroy, copy or assign this event (see the class comment);
    ///   - throw: the walk is over, and the walk stack is back to what it was.
    int Notify(int code, T* data) {
        // The walk record sits on the stack only while Notify runs: its destructor takes it
        // off again, which the compiler can't follow through the callbacks.
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 12
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif
        Saver walk(this);
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 12
#pragma GCC diagnostic pop
#endif
        if (!Enabled) return 0;
        Node* node = this->m_Next;
        if (node == this) return 0;
        for (;;) {
            walk.m_Root = node;
            node->OnNotification(code, data);
            // The walk follows its record, which the callback may have moved: to an earlier
            // node, or to the new head of a transferred chain. An ended walk stands on its
            // own record, whose next is null like its event, so the first test stops it
            // before the event is touched.
            node = walk.m_Root->m_Next;
            SCC_Event<T>* event = walk.m_Event;
            if (node == event || !event->Enabled) break;
        }
        return 0;
    }

    /// Links `node` at the tail of this chain (directly before the head), after removing it
    /// from wherever it is; its root becomes this event. Priority plays no part. A null
    /// `node`, or this event itself, is ignored.
    void Add(SCC_EventNode<T>* node) {
        if (!node || node == this) return;
        node->Remove();
        node->LinkBefore(this);
        node->m_Root = this;
    }

    /// Disconnects every listener, first to last, as Remove does (walks are moved back
    /// first). Nodes are not deleted.
    void RemoveAll() {
        while (this->m_Next != this)
            this->m_Next->Remove();
    }

private:
    // Takes the place of `source` in its ring, with its walk stack; `source` is left empty,
    // without walks. This event must be out of any ring, without walks.
    void TakeOver(SCC_Event<T>& source, bool takeEnabled) {
        if (takeEnabled) Enabled = source.Enabled;
        this->LinkBefore(&source);
        source.Unlink();
        this->m_Root = source.m_Root;
        source.m_Root = nullptr;
        for (Node* n = this->m_Next; n != this; n = n->m_Next)
            n->m_Root = this;
        for (Node* s = this->m_Root; s; s = s->m_Next) {
            Saver* walk = static_cast<Saver*>(s);
            walk->m_Event = this;
            if (walk->m_Root == &source) walk->m_Root = this;
        }
    }

    // Empties the walk stack; each walk ends when its current callback returns (see Notify).
    void EndWalks() {
        Node* s = this->m_Root;
        this->m_Root = nullptr;
        while (s) {
            Saver* walk = static_cast<Saver*>(s);
            s = walk->m_Next;
            walk->m_Event = nullptr;
            walk->m_Root = walk;
            walk->m_Next = nullptr;
        }
    }
};

/// A listener with a priority and an optional plain function as callback.
///
/// Hooks that a class builds for itself usually leave the callback null and override
/// OnNotification instead. A hook whose callback is null and whose class does not override
/// OnNotification answers 0 and does nothing.
template <class T>
class SCC_EventHook : public SCC_EventNode<T> {
public:
    /// The callback's form: (code, data), returning a result that Notify ignores.
    typedef int (*Callback)(int code, T* data);

    /// An unconnected hook.
    SCC_EventHook(int32_t priority = 0, Callback callback = nullptr)
        : m_Priority(priority), m_Callback(callback) {}

    /// Same priority and callback as `source`; joins its ring directly ahead of it.
    SCC_EventHook(SCC_EventHook<T> const& source)
        : SCC_EventNode<T>(), m_Priority(source.m_Priority), m_Callback(source.m_Callback) {
        JoinAhead(source);
    }

    /// Takes over priority and callback of `source`, leaves the present chain and joins the
    /// ring of `source` directly ahead of it. Assigning a hook to itself changes nothing.
    SCC_EventHook<T>& operator=(SCC_EventHook<T> const& source) {
        if (&source != this) {
            m_Priority = source.m_Priority;
            m_Callback = source.m_Callback;
            JoinAhead(source);
        }
        return *this;
    }

    /// Calls the callback with (code, data) and returns its result; 0 without a callback.
    int OnNotification(int code, T* data) override { return m_Callback ? m_Callback(code, data) : 0; }

    /// The priority given at construction.
    int32_t GetPriority() override { return m_Priority; }

    /// Connects this hook to `event` by priority: it leaves its present chain (walks there
    /// are moved back first), then is linked directly before the first node of `event`
    /// whose GetPriority() is less than or equal to its own, or at the tail when there is
    /// none. A chain built by Connect thus runs from high priority to low and, among equal
    /// priorities, newest first. A null `event` only disconnects the hook.
    /// The hook takes part in a walk in progress on `event` if, and only if, it lands ahead
    /// of the walk's current node.
    void Connect(SCC_Event<T>* event) {
        this->Remove();
        if (!event) return;
        int32_t const priority = GetPriority();
        SCC_EventNode<T>* position = event->m_Next;
        while (position != event && position->GetPriority() > priority)
            position = position->m_Next;
        this->LinkBefore(position);
        this->m_Root = event;
    }

protected:
    int32_t m_Priority;
    Callback m_Callback;

private:
    // The links are mutable: joining the ring does not change the source's value.
    void JoinAhead(SCC_EventHook<T> const& source) {
        this->InsertBefore(const_cast<SCC_EventHook<T>*>(&source));
    }
};

/// A hook that calls a member function of an object: (object->*member)(code, data).
/// The object is not owned and must outlive every notification the hook receives. A hook
/// without object or member function answers 0 and does nothing.
/// Copies take over object and member function, and join the ring as SCC_EventHook's do.
template <class O, class T>
class SCC_ObjectEventHook : public SCC_EventHook<T> {
public:
    /// The member function's form.
    typedef int (O::*Member)(int code, T* data);

    /// An unconnected hook.
    SCC_ObjectEventHook(O* object = nullptr, Member member = nullptr, int32_t priority = 0)
        : SCC_EventHook<T>(priority), m_Object(object), m_Member(member) {}

    SCC_ObjectEventHook(SCC_ObjectEventHook<O, T> const&) = default;
    SCC_ObjectEventHook<O, T>& operator=(SCC_ObjectEventHook<O, T> const&) = default;

    /// Calls the member function on the object and returns its result.
    int OnNotification(int code, T* data) override {
        return (m_Object && m_Member) ? (m_Object->*m_Member)(code, data) : 0;
    }

protected:
    O* m_Object;
    Member m_Member;
};

// The chain of int is built into the library, so that every module and every client shares
// one copy of its code, virtual tables and type information.
extern template class MORTAR_API SCC_EventNode<int>;
extern template class MORTAR_API SCC_Event<int>;
extern template class MORTAR_API SCC_EventHook<int>;

/// The general notifier of handles, collections, the palette and the assertion manager:
/// SCC_Event<int> under a name of its own, with nothing added. The int* argument of its
/// notifications need not point at anything; it may carry a plain integer handle.
class MORTAR_API SCC_Notifier : public SCC_Event<int> {
public:
    SCC_Notifier() = default;
    /// Transfers the chain of `source` (see SCC_Event).
    SCC_Notifier(SCC_Notifier& source) : SCC_Event<int>(source) {}
    SCC_Notifier(SCC_Notifier&& source) : SCC_Event<int>(source) {}
    SCC_Notifier& operator=(SCC_Notifier& source) {
        SCC_Event<int>::operator=(source);
        return *this;
    }
    SCC_Notifier& operator=(SCC_Notifier&& source) { return *this = source; }
    ~SCC_Notifier() override;
};

#endif
