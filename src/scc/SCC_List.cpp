// The list whose nodes know their list (see SCC_List.h).
#include <mortar/scc/SCC_List.h>

#include <mortar/ssm/ssmimpl.h>

template class SCC_SListNode<SCC_DListRefNode>;
template class SCC_DListNode<SCC_DListRefNode>;
template class SCC_SList<SCC_DListRefNode, 0, SCC_NullNotifier>;
template class SCC_DList<SCC_DListRefNode, 0, SCC_NullNotifier>;

// SCC_DListRefNode -------------------------------------------------------------------------------

SCC_DListRefNode::SCC_DListRefNode(SCC_RefDList* list) : m_List(nullptr) {
    if (list) list->AddHead(this);
}

SCC_DListRefNode::SCC_DListRefNode(SCC_DListRefNode& source) : SCC_DListNode<SCC_DListRefNode>(), m_List(nullptr) {
    if (source.m_List) source.m_List->InsertBefore(&source, this);
}

SCC_DListRefNode& SCC_DListRefNode::operator=(SCC_DListRefNode& source) {
    if (&source == this) return *this;
    ChangeList(source.m_List);
    if (m_List) m_List->InsertBefore(&source, this);
    return *this;
}

SCC_DListRefNode::~SCC_DListRefNode() {
    if (m_List) m_List->Remove(this);
}

int SCC_DListRefNode::OnNotification(int code, void*) { return code; }

void SCC_DListRefNode::ChangeList(SCC_RefDList* list) {
    // The entry is taken out through the plain list, which does not touch back pointers.
    if (m_List) m_List->SCC_DList<SCC_DListRefNode, 0, SCC_NullNotifier>::Remove(this);
    m_List = list;
}

// SCC_RefDList -----------------------------------------------------------------------------------

SCC_RefDList::SCC_RefDList(SCC_RefDList& source) : DBase() { Merge(source); }
SCC_RefDList::SCC_RefDList(SCC_RefDList&& source) : DBase() { Merge(source); }

SCC_RefDList& SCC_RefDList::operator=(SCC_RefDList& source) {
    if (&source != this) {
        RemoveAll();
        Merge(source);
    }
    return *this;
}

SCC_RefDList& SCC_RefDList::operator=(SCC_RefDList&& source) { return *this = source; }

SCC_RefDList::~SCC_RefDList() { RemoveAll(); }

SCC_DListRefNode* SCC_RefDList::InsertBefore(SCC_DListRefNode* position, SCC_DListRefNode* node) {
    MORTAR_CHECK(node, "");
    if (!node) return nullptr;
    node->ChangeList(this);
    return DBase::InsertBefore(position, node);
}

SCC_DListRefNode* SCC_RefDList::InsertAfter(SCC_DListRefNode* position, SCC_DListRefNode* node) {
    MORTAR_CHECK(node, "");
    if (!node) return nullptr;
    node->ChangeList(this);
    return DBase::InsertAfter(position, node);
}

SCC_DListRefNode* SCC_RefDList::AddTail(SCC_DListRefNode* node) {
    MORTAR_CHECK(node, "");
    if (!node) return nullptr;
    node->ChangeList(this);
    return DBase::AddTail(node);
}

SCC_DListRefNode* SCC_RefDList::AddHead(SCC_DListRefNode* node) {
    MORTAR_CHECK(node, "");
    if (!node) return nullptr;
    node->ChangeList(this);
    return DBase::AddHead(node);
}

SCC_DListRefNode* SCC_RefDList::Remove(SCC_DListRefNode* node) {
    MORTAR_CHECK(node, "");
    if (!node) return nullptr;
    node->ChangeList(nullptr);
    return node;
}

SCC_DListRefNode* SCC_RefDList::RemoveHead() { return Remove(First()); }
SCC_DListRefNode* SCC_RefDList::RemoveTail() { return Remove(Last()); }

// An entry that does not point back at its list can only have come in through the plain list
// operations; it is dropped from the list, so that these loops end whatever was entered.
bool SCC_RefDList::DropForeignHead() {
    SCC_DListRefNode* node = front();
    if (node && node->GetList() == this) return false;
    pop_front();
    return true;
}

void SCC_RefDList::RemoveAll() {
    while (GetCount() != 0)
        if (!DropForeignHead()) Remove(First());
}

void SCC_RefDList::Merge(SCC_RefDList& other) {
    if (&other == this) return;
    while (!other.empty())
        if (!other.DropForeignHead()) AddTail(other.front());
}

int SCC_RefDList::IsValid() const {
    for (SCC_DListRefNode* node : *this)
        if (node->GetList() != this) return 0;
    return 1;
}

int SCC_RefDList::NotifyNodes(int code, void* data) {
    int result = 0;
    for (SCC_DListRefNode* node : *this)
        result = node->OnNotification(code, data);
    return result;
}
