// A client source for the collection suites: handles in a walk order, a key per handle, a
// notifier for the whole source and, optionally, notifiers for groups of items; a collection
// that walks it; and a listener that records what a collection tells.
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

// The source: what a client keeps behind the handles.
struct Source {
    std::vector<int> order;               // the walk
    std::map<int, int> key;               // sort key per handle
    std::map<int, SCC_Notifier*> itemEvent; // the notifier an item reports through, if not the source's
    SCC_Notifier notifier;

    int First() const { return order.empty() ? 0 : order.front(); }
    int After(int handle) const {
        if (handle == 0) return First();
        auto const it = std::find(order.begin(), order.end(), handle);
        return it == order.end() || it + 1 == order.end() ? 0 : *(it + 1);
    }
    int Before(int handle) const {
        auto const it = std::find(order.begin(), order.end(), handle);
        if (handle == 0) return order.empty() ? 0 : order.back();
        return it == order.end() || it == order.begin() ? 0 : *(it - 1);
    }
    void Add(int handle, int k) {
        order.push_back(handle);
        key[handle] = k;
    }
    void Remove(int handle) { order.erase(std::remove(order.begin(), order.end(), handle), order.end()); }
    void Notify(int code, int handle) { notifier.Notify(code, mortar::HandleToData(handle)); }
};

// The keys that ByKey and ByKeyThenNothing read: set by each test to its source.
inline Source* g_Keys = nullptr;
inline int g_Comparisons = 0;

// Orders handles by their key; equal keys compare equal.
inline int ByKey(int const& a, int const& b) {
    ++g_Comparisons;
    int const ka = g_Keys->key[a];
    int const kb = g_Keys->key[b];
    return ka < kb ? -1 : (ka > kb ? 1 : 0);
}

// The collection a client would write over Source.
class Collection : public SCC_StdCollection {
public:
    explicit Collection(Source* source, SCC_StdCollection* parent = nullptr)
        : SCC_StdCollection(parent), m_Source(source) {
        SetEvent(&source->notifier);
    }

    using SCC_StdCollection::ConnectEvent;
    using SCC_StdCollection::Reload;

    // The items, from index 0, up to the first 0.
    std::vector<int> Items() {
        std::vector<int> items;
        for (int32_t i = 0; GetAt(i) != 0; ++i) items.push_back(GetAt(i));
        return items;
    }
    std::vector<int> Focus() {
        std::vector<int> focus;
        for (int32_t i = 0; GetFocus(i) != 0; ++i) focus.push_back(GetFocus(i));
        return focus;
    }

    int slider = 0;

protected:
    int _GetSlider() override { return slider; }
    void _SetSlider(int handle) override { slider = handle; }
    int _GetFirst() override { return (slider = m_Source->First()) != 0; }
    int _GetNext() override { return (slider = m_Source->After(slider)) != 0; }
    int _GetPrev() override { return (slider = m_Source->Before(slider)) != 0; }
    SCC_Notifier* GetEvent() override {
        auto const it = m_Source->itemEvent.find(slider);
        return it == m_Source->itemEvent.end() ? nullptr : it->second;
    }

    Source* m_Source;
};

// Records (code, handle) of every notification of a collection, with the slider and position
// of the collection at that moment.
class Listener : public SCC_EventNode<int> {
public:
    explicit Listener(SCC_StdCollection* collection = nullptr) : m_Collection(collection) {
        if (collection) collection->SetNotificationHandler(this);
    }
    int OnNotification(int code, int* data) override {
        heard.emplace_back(code, mortar::DataToHandle(data));
        if (m_Collection) {
            sliders.push_back(m_Collection->GetSlider());
            positions.push_back(m_Collection->GetPosition());
        }
        if (onHear) onHear(code, mortar::DataToHandle(data));
        return 0;
    }
    Heard Take() {
        Heard taken;
        taken.swap(heard);
        sliders.clear();
        positions.clear();
        return taken;
    }

    Heard heard;
    std::vector<int> sliders;
    std::vector<int32_t> positions;
    std::function<void(int, int)> onHear;

private:
    SCC_StdCollection* m_Collection;
};

} // namespace colltest

#endif
