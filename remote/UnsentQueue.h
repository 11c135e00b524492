// Records that wait until their client has read what went before: first in, first out, within bounds.
//
// As long as the queue is not long every record is kept. Beyond that, records that a later one of the same network has
// superseded give way, the one superseded first going first; where every record is of a network of its own, the oldest
// goes. So a client that reads now and then misses nothing, one that is far behind still learns the latest of every
// network, and one that never reads costs a fixed amount of memory. One thread at a time.
#pragma once

#include "remote/VantrelPacket.h"

#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <unordered_map>

namespace vantrel {

class UnsentQueue {
public:
    // Some thirteen thousand records: more than a minute even where each sweep hears five hundred networks.
    static constexpr std::size_t longQueue = std::size_t{8} * 1024 * 1024; // bytes of memory

    explicit UnsentQueue(std::size_t bound = longQueue) : _bound(bound) {}

    void enqueue(VantrelPacket packet);
    // The oldest. To be called only when there is one; stops the program otherwise.
    [[nodiscard]] VantrelPacket dequeue();

    [[nodiscard]] bool isEmpty() const { return _entries.empty(); }
    [[nodiscard]] std::size_t count() const { return _entries.size(); }
    // In bytes, with what the queue needs to keep the records.
    [[nodiscard]] std::size_t memory() const { return _memory; }
    // Records that have given way so far.
    [[nodiscard]] std::uint64_t dropped() const { return _dropped; }
    [[nodiscard]] std::vector<VantrelPacket> packets() const; // oldest first
    void clear();

private:
    struct Entry;
    using Entries = std::list<Entry>;
    using Superseded = std::list<Entries::iterator>;
    struct Entry {
        VantrelPacket packet;
        std::optional<Superseded::iterator> superseded; // its place among those
    };

    [[nodiscard]] static std::size_t memoryOf(const VantrelPacket& packet);
    void dropOne();
    VantrelPacket take(Entries::iterator entry);

    const std::size_t _bound;
    Entries _entries;                                           // oldest first
    Superseded _superseded;                                     // in the order in which they became so
    std::unordered_map<std::string, Entries::iterator> _latest; // by BSSID
    std::size_t _memory = 0;
    std::uint64_t _dropped = 0;
};

} // namespace vantrel
