#include "settings/SettingsStore.h"

#include "SettingsFile.h"
#include "settings/Coercion.h"
#include "settings/SettingsText.h"

#include <QJsonArray>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <atomic>
#include <map>
#include <mutex>

// Not QSettings: it takes a file of the same size and the same millisecond for the same file, so that it can write
// back what it remembers over a change that another program has just made.

namespace vantrel {

namespace {

Q_LOGGING_CATEGORY(lcSettings, "vantrel.settings")

// One value may not push the file over the size up to which it is read back.
constexpr qsizetype largestValue = largestSettingsText / 4;

QString pathOfThisUser() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/vantrel/settings.json");
}

} // namespace

// The file as it was last read, the changes that are not in it yet, and the defaults, looked up in the order changes,
// file, defaults. Whoever takes both mutexes takes _writing first, then the lock on the file, then _mutex: so a write
// that waits for the disk keeps no reader waiting.
class SettingsStore::Private {
public:
    explicit Private(const QString& path) : _file(path) {}

    [[nodiscard]] const QString& path() const { return _file.path(); }
    [[nodiscard]] std::uint64_t generation() const noexcept { return _generation.load(); }

    void registerDefaults(const QVariantMap& defaults);
    [[nodiscard]] QVariant lookUp(QLatin1StringView key);
    // An undefined value takes the key out.
    void change(QLatin1StringView key, const QJsonValue& value);
    bool synchronize();
    void refresh();

private:
    [[nodiscard]] bool takeIn();
    void replaceSnapshot(QJsonObject object, SettingsFile::Reading reading);
    void complainOnce(const Error& error);
    void setCorruptFileAside();
    [[nodiscard]] Expected<QJsonObject> readForWriting() const;
    [[nodiscard]] Expected<void> writePending();
    bool writeOrLog();

    const SettingsFile _file;
    std::mutex _writing; // held by the one thread that changes the file
    std::mutex _mutex;
    QVariantMap _defaults;                  // guarded by _mutex
    std::map<QString, QJsonValue> _pending; // changed under _writing and _mutex, read under either
    QJsonObject _object;                    // guarded by _mutex, as all below
    bool _present = false;                  // whether there was a file
    SettingsFile::Reading _reading;         // where _object came from, without the text
    QString _complaint;                     // why the file could not be read, as last logged
    std::atomic<std::uint64_t> _generation = 0;
};

void SettingsStore::Private::registerDefaults(const QVariantMap& defaults) {
    const std::lock_guard lock(_mutex);
    _defaults.insert(defaults);
    ++_generation;
}

QVariant SettingsStore::Private::lookUp(QLatin1StringView key) {
    refresh();
    const std::lock_guard lock(_mutex);
    const auto pending = _pending.find(QString(key));
    const auto value = pending != _pending.end() ? pending->second : _object.value(key);
    // JSON's null says no more than an absent key.
    return value.isUndefined() || value.isNull() ? _defaults.value(QString(key)) : value.toVariant();
}

void SettingsStore::Private::refresh() {
    bool corrupt = false;
    {
        const std::lock_guard lock(_mutex);
        corrupt = takeIn();
    }
    if (corrupt) {
        setCorruptFileAside();
    }
}

// With _mutex held: makes _object what the file says now. Answers whether the file was found to be corrupt, once for
// each such file. What cannot be read at all changes nothing: the values last seen are the best guess.
bool SettingsStore::Private::takeIn() {
    const auto seen = _file.identity();
    if (seen && _reading.settled && seen->has_value() == _present && (!_present || **seen == _reading.identity)) {
        return false;
    }
    auto reading = _file.read();
    if (!reading) {
        complainOnce(reading.error());
        return false;
    }
    _complaint.clear();
    if (!*reading) {
        _present = false;
        replaceSnapshot({}, {.text = {}, .identity = {}, .settled = true, .held = {}});
        return false;
    }
    const auto object = parseSettingsText((*reading)->text);
    const bool known = _present && _reading.identity == (*reading)->identity;
    _present = true;
    replaceSnapshot(object.value_or(QJsonObject()), std::move(**reading));
    return !object && !known;
}

void SettingsStore::Private::replaceSnapshot(QJsonObject object, SettingsFile::Reading reading) {
    reading.text.clear();
    _reading = std::move(reading);
    if (object != _object) {
        _object = std::move(object);
        ++_generation;
    }
}

void SettingsStore::Private::complainOnce(const Error& error) {
    if (error.text() != _complaint) {
        _complaint = error.text();
        qCWarning(lcSettings, "%s cannot be read: %s", qUtf8Printable(path()), qUtf8Printable(_complaint));
    }
}

void SettingsStore::Private::setCorruptFileAside() {
    const std::lock_guard writing(_writing);
    const auto fileLock = _file.lock();
    const auto object = fileLock ? readForWriting() : tl::unexpected(fileLock.error());
    if (!object) {
        qCWarning(lcSettings, "%s is corrupt and could not be set aside, the defaults apply: %s",
                  qUtf8Printable(path()), qUtf8Printable(object.error().text()));
        return;
    }
    const std::lock_guard lock(_mutex);
    (void)takeIn(); // under the lock on the file it is a good one or none
}

// With the lock on the file held. Nothing of a corrupt file is lost: it is kept under another name.
Expected<QJsonObject> SettingsStore::Private::readForWriting() const {
    const auto reading = _file.read();
    if (!reading) {
        return tl::unexpected(reading.error());
    }
    if (!*reading) {
        return QJsonObject();
    }
    auto object = parseSettingsText((*reading)->text);
    if (object) {
        return object;
    }
    const auto aside = _file.moveAside();
    if (!aside) {
        return tl::unexpected(aside.error());
    }
    qCWarning(lcSettings, "%s is corrupt (%s) and was kept as %s, the defaults apply", qUtf8Printable(path()),
              qUtf8Printable(object.error().text()), qUtf8Printable(*aside));
    return QJsonObject();
}

void SettingsStore::Private::change(QLatin1StringView key, const QJsonValue& value) {
    if (!value.isUndefined() && settingsText({{key, value}}).size() > largestValue) {
        qCWarning(lcSettings, "%s was not changed: its new value is larger than %lld bytes",
                  qUtf8Printable(QString(key)), static_cast<long long>(largestValue));
        return;
    }
    const std::lock_guard writing(_writing);
    {
        const std::lock_guard lock(_mutex);
        _pending.insert_or_assign(QString(key), value);
        ++_generation;
    }
    writeOrLog();
}

bool SettingsStore::Private::synchronize() {
    const std::lock_guard writing(_writing);
    return _pending.empty() || writeOrLog();
}

bool SettingsStore::Private::writeOrLog() {
    const auto written = writePending();
    if (!written) {
        qCWarning(lcSettings, "%s could not be written, the change is kept and will be tried again: %s",
                  qUtf8Printable(path()), qUtf8Printable(written.error().text()));
    }
    return written.has_value();
}

// With _writing held: changes the pending keys, and no others, in what the file holds at this moment.
Expected<void> SettingsStore::Private::writePending() {
    const auto fileLock = _file.lock();
    if (!fileLock) {
        return tl::unexpected(fileLock.error());
    }
    const auto found = readForWriting();
    if (!found) {
        return tl::unexpected(found.error());
    }
    auto wanted = *found;
    for (const auto& [key, value] : _pending) {
        wanted.insert(key, value); // an undefined value removes
    }
    if (wanted != *found) {
        const auto text = settingsText(wanted);
        if (text.size() > largestSettingsText) {
            return failure(QStringLiteral("write"), QStringLiteral("the file would become too large"));
        }
        if (const auto replaced = _file.replace(text); !replaced) {
            return replaced;
        }
    }
    const std::lock_guard lock(_mutex);
    _pending.clear();
    (void)takeIn(); // under the lock on the file it is the one just written
    return {};
}

SettingsStore::SettingsStore() : SettingsStore(pathOfThisUser()) {}

SettingsStore::SettingsStore(const QString& path) : _d(std::make_unique<Private>(path)) {}

SettingsStore::~SettingsStore() = default;

QString SettingsStore::path() const { return _d->path(); }

void SettingsStore::registerDefaults(const QVariantMap& defaults) { _d->registerDefaults(defaults); }

bool SettingsStore::boolForKey(QLatin1StringView key) const { return coercion::toBool(_d->lookUp(key)); }

std::int64_t SettingsStore::integerForKey(QLatin1StringView key) const { return coercion::toInteger(_d->lookUp(key)); }

QString SettingsStore::stringForKey(QLatin1StringView key) const { return coercion::toText(_d->lookUp(key)); }

QStringList SettingsStore::stringArrayForKey(QLatin1StringView key) const {
    return coercion::toTextList(_d->lookUp(key));
}

std::vector<std::int64_t> SettingsStore::integerArrayForKey(QLatin1StringView key) const {
    return coercion::toIntegerList(_d->lookUp(key));
}

QVariant SettingsStore::objectForKey(QLatin1StringView key) const { return _d->lookUp(key); }

void SettingsStore::setBool(QLatin1StringView key, bool value) { _d->change(key, value ? 1 : 0); }

void SettingsStore::setInteger(QLatin1StringView key, std::int64_t value) { _d->change(key, qint64{value}); }

void SettingsStore::setString(QLatin1StringView key, const QString& value) { _d->change(key, value); }

void SettingsStore::setStringArray(QLatin1StringView key, const QStringList& value) {
    _d->change(key, QJsonArray::fromStringList(value));
}

void SettingsStore::setIntegerArray(QLatin1StringView key, const std::vector<std::int64_t>& value) {
    QJsonArray array;
    for (const auto element : value) {
        array.append(qint64{element});
    }
    _d->change(key, array);
}

void SettingsStore::removeObjectForKey(QLatin1StringView key) { _d->change(key, QJsonValue(QJsonValue::Undefined)); }

bool SettingsStore::synchronize() { return _d->synchronize(); }

std::uint64_t SettingsStore::generation() const noexcept { return _d->generation(); }

void SettingsStore::refresh() { _d->refresh(); }

} // namespace vantrel
