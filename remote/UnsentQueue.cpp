#include "UnsentQueue.h"

#include "Assertion.h"

#include <algorithm>
#include <iterator>

namespace vantrel {

void UnsentQueue::enqueue(VantrelPacket packet) {
    _memory += memoryOf(packet);
    _entries.push_back({std::move(packet), std::nullopt});
    const auto newest = std::prev(_entries.end());
    const auto [latest, isFirst] = _latest.try_emplace(std::string(newest->packet.bssid()), newest);
    if (!isFirst) {
        latest->second->superseded = _superseded.insert(_superseded.end(), latest->second);
        latest->second = newest;
    }
    while (_memory > _bound && _entries.size() > 1) {
        dropOne();
    }
}

VantrelPacket UnsentQueue::dequeue() {
    assertThat(!isEmpty(), "[self count] > 0", {"-[NSMutableArray dequeue]", "UnsentQueue"});
    return take(_entries.begin());
}

void UnsentQueue::dropOne() {
    take(_superseded.empty() ? _entries.begin() : _superseded.front());
    ++_dropped;
}

VantrelPacket UnsentQueue::take(Entries::iterator entry) {
    if (entry->superseded) {
        _superseded.erase(*entry->superseded);
    } else {
        _latest.erase(std::string(entry->packet.bssid()));
    }
    VantrelPacket packet = std::move(entry->packet);
    _entries.erase(entry);
    _memory -= memoryOf(packet);
    return packet;
}

std::vector<VantrelPacket> UnsentQueue::packets() const {
    std::vector<VantrelPacket> all;
    all.reserve(_entries.size());
    std::ranges::transform(_entries, std::back_inserter(all), &Entry::packet);
    return all;
}

void UnsentQueue::clear() {
    _latest.clear();
    _superseded.clear();
    _entries.clear();
    _memory = 0;
}

// The data, the BSSID's text in the map, the two list nodes and the map's node, and what the allocator adds to each.
std::size_t UnsentQueue::memoryOf(const VantrelPacket& packet) {
    constexpr std::size_t allocatorAdds = 16;
    constexpr std::size_t links = 2 * sizeof(void*);
    constexpr std::size_t textSize = 18;
    constexpr std::size_t nodes = sizeof(Entry) + links + sizeof(Entries::iterator) + links +
                                  sizeof(std::pair<std::string, Entries::iterator>) + links + textSize;
    return packet.data().capacity() + nodes + 5 * allocatorAdds;
}

} // namespace vantrel
