#include "feed/Sweeps.h"

namespace vantrel::feed {

bool Sweeps::beginsNext(const Bssid& bssid) const { return _heard.size() >= mostNetworks || _heard.contains(bssid); }

void Sweeps::add(const Bssid& bssid) { _heard.insert(bssid); }

bool Sweeps::end() {
    if (_heard.empty()) {
        return false;
    }
    _heard.clear();
    ++_ended;
    return true;
}

} // namespace vantrel::feed
