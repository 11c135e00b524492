// The user's settings: typed reads and writes over one file, with registered fallbacks.
//
// The file is a JSON object, `vantrel/settings.json` in the user's configuration directory, mode 0600 because it holds
// tokens. Each write is on disk before it returns: lock, read, change, write beside, fsync, rename. So a crash leaves
// the old file or the new one, and two programs that write different keys lose nothing. No read is cached: a change by
// another program shows at the next read.
//
// Every operation may be called on any thread.
#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <cstdint>
#include <memory>
#include <vector>

namespace vantrel {

class SettingsStore {
public:
    // The store of the user who runs this program.
    SettingsStore();
    // A store in the named file; its folder is made (0700) at the first write.
    explicit SettingsStore(const QString& path);
    ~SettingsStore();
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;

    [[nodiscard]] QString path() const;

    // Values that keys read as while the file does not hold them; never written. Later calls add and replace.
    void registerDefaults(const QVariantMap& defaults);

    // Typed reads. A number kept as text reads as the number it begins with ("12 s" is 12); other text reads as 0.
    // As booleans, numbers other than 0 and text that begins with a digit 1 to 9 or one of "YyTt" (after white space,
    // a sign and zeros) are true. Integers saturate, and fractions are cut off. A number reads as text in its decimal
    // form; what cannot be read as the type asked for reads as false, 0, empty or an empty list.
    [[nodiscard]] bool boolForKey(QLatin1StringView key) const;
    [[nodiscard]] std::int64_t integerForKey(QLatin1StringView key) const;
    [[nodiscard]] QString stringForKey(QLatin1StringView key) const;
    [[nodiscard]] QStringList stringArrayForKey(QLatin1StringView key) const;
    [[nodiscard]] std::vector<std::int64_t> integerArrayForKey(QLatin1StringView key) const;
    // Invalid when neither the file nor the defaults hold the key.
    [[nodiscard]] QVariant objectForKey(QLatin1StringView key) const;

    // Writes; booleans are kept as the numbers 0 and 1. A write that the disk refuses is logged, shows at every read
    // of this program, and is tried again with the next write and by synchronize(). A single value of more than 1 MiB
    // is refused, and logged.
    void setBool(QLatin1StringView key, bool value);
    void setInteger(QLatin1StringView key, std::int64_t value);
    void setString(QLatin1StringView key, const QString& value);
    void setStringArray(QLatin1StringView key, const QStringList& value);
    void setIntegerArray(QLatin1StringView key, const std::vector<std::int64_t>& value);
    // Takes the key out of the file, so that its registered default shows again.
    void removeObjectForKey(QLatin1StringView key);

    // Writes what is still unwritten; answers whether everything is on disk.
    bool synchronize();

    // Grows with every change this program has made or seen. Looks at no file, so it suits a check per frame;
    // refresh() looks.
    [[nodiscard]] std::uint64_t generation() const noexcept;
    // Takes in what other programs wrote, if anything; one stat(2) when nothing has changed.
    void refresh();

private:
    class Private;
    std::unique_ptr<Private> _d;
};

} // namespace vantrel
