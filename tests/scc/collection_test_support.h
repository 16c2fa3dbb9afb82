// For the collection suites: a client source (handles in walk order, a key per handle, a notifier
// for the whole source and optional notifiers for single items), the collection a client would
// write over it, and a listener that records what a collection tells.
#ifndef MORTAR_TESTS_SCC_COLLECTION_TEST_SUPPORT_H
#define MORTAR_TESTS_SCC_COLLECTION_TEST_SUPPORT_H

#include <mortar/scc/SCC_StdCollection.h>

#include <algorithm>
#include <functional>
#include <map>
#include <utility>
#include <vector>

namespace colltest {

using Heard = std::vector<std::pair<int, int>>;

struct Source {
    std::vector<int> order;                  // the walk
    std::map<int, int> key;                  // sort key per handle
    std::map<int, SCC_Notifier*> itemEvent;  // an item's own notifier, if it has one
    SCC_Notifier notifier;

    int After(int handle) const {
        if (handle == 0) return order.empty() ? 0 : order.front();
        auto const it = std::find(order.begin(), order.end(), handle);
        return it == order.end() || it + 1 == order.end() ? 0 : *(it + 1);
    }
    void Add(int handle, int k) {
        order.push_back(handle);
        key[handle] = k;
    }
    void Remove(int handle) { order.erase(std::remove(order.begin(), order.end(), handle), order.end()); }
    void Notify(int code, int handle) { notifier.Notify(code, mortar::HandleToData(handle)); }
};

class Collection : public SCC_StdCollection {
public:
    explicit Collection(Source* source, SCC_StdCollection* parent = nullptr)
        : SCC_StdCollection(parent), m_Source(source) {
        SetEvent(&source->notifier);
    }
    using SCC_StdCollection::ConnectEvent;
    using SCC_StdCollection::Reload;

    std::vector<int> Items() { return Collect(&SCC_StdCollection::GetAt); }
    std::vector<int> Focus() { return Collect(&SCC_StdCollection::GetFocus); }

    int slider = 0;

protected:
    int _GetSlider() override { return slider; }
    void _SetSlider(int handle) override { slider = handle; }
    int _GetFirst() override { return (slider = m_Source->After(0)) != 0; }
    int _GetNext() override { return (slider = m_Source->After(slider)) != 0; }
    SCC_Notifier* GetEvent() override {
        auto const it = m_Source->itemEvent.find(slider);
        return it == m_Source->itemEvent.end() ? nullptr : it->second;
    }

    Source* m_Source;

private:
    // The entries from index 0 up to the first 0.
    std::vector<int> Collect(int (SCC_StdCollection::*at)(int32_t)) {
        std::vector<int> all;
        for (int32_t i = 0; (this->*at)(i) != 0; ++i) all.push_back((this->*at)(i));
        return all;
    }
};

// Records (code, handle) of each notification, then runs onHear.
struct Listener : SCC_EventNode<int> {
    explicit Listener(SCC_StdCollection* collection = nullptr) {
        if (collection) collection->SetNotificationHandler(this);
    }
    int OnNotification(int code, int* data) override {
        heard.emplace_back(code, mortar::DataToHandle(data));
        if (onHear) onHear(code, heard.back().second);
        return 0;
    }
    Heard Take() { return std::exchange(heard, {}); }

    Heard heard;
    std::function<void(int, int)> onHear;
};

} // namespace colltest

#endif
