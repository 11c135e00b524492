#include "engine/LiveFlag.h"

#include "settings/SettingsStore.h"

namespace vantrel {

bool LiveFlag::value() {
    const std::uint64_t generation = _settings.generation();
    if (!_known || generation != _generation) {
        _generation = generation;
        _value = _settings.boolForKey(_key);
        _known = true;
    }
    return _value;
}

} // namespace vantrel
