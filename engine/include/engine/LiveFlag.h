// A boolean setting that can be asked for every frame: it reads the store only when something in it has changed.
#pragma once

#include <QLatin1StringView>
#include <cstdint>

namespace vantrel {

class SettingsStore;

// One thread's own. Changes by this program show at the next value(); changes by others once somebody calls
// SettingsStore::refresh(), which the packet queue does before each batch.
class LiveFlag {
public:
    LiveFlag(const SettingsStore& settings, QLatin1StringView key) noexcept : _settings(settings), _key(key) {}
    [[nodiscard]] bool value();

private:
    const SettingsStore& _settings; // borrowed
    QLatin1StringView _key;
    std::uint64_t _generation = 0;
    bool _known = false;
    bool _value = false;
};

} // namespace vantrel
