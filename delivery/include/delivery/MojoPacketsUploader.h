// Uploads one capture file to the Mojo Packets service, with curl.
#pragma once

#include "delivery/VantrelUploader.h"

#include <QByteArray>
#include <QStringList>
#include <mutex>
#include <optional>
#include <thread>

namespace vantrel {

class ChildProcess;
class SettingsStore;

// The account's API key is an argument of curl and so, while it runs, to be seen in the list of processes.
class MojoPacketsUploader final : public VantrelUploader {
    Q_OBJECT
public:
    static inline const QString systemCurl = QStringLiteral("/usr/bin/curl");

    // The settings are borrowed and outlive this.
    MojoPacketsUploader(const SettingsStore& settings, QString pathToFile, QString curl = systemCurl);
    // Ends curl if it runs, and waits for that; a moment, unless it refuses to end (ChildProcess).
    ~MojoPacketsUploader() override;

    [[nodiscard]] QString pathToFile() const { return _pathToFile; }

    // Runs curlUpload() on a thread of its own and reports through the event loop of this uploader's thread: the
    // progress of 100 and a success, with the texts "uploader", "trace_id", "ticket", "email" as the service returned
    // them, and "filename", the file's own name; or a failure, with "uploader", "pathtofile", and "error" unless the
    // service gave none.
    void upload() override;

private:
    struct Outcome {
        bool succeeded = false;
        UserInfo userInfo;
    };

    void curlUpload();
    [[nodiscard]] QStringList curlArguments() const;
    [[nodiscard]] QByteArray outputOfCurl();
    [[nodiscard]] Outcome outcomeOf(const QByteArray& output) const;
    Q_INVOKABLE void report(); // on this uploader's thread

    const SettingsStore& _settings;
    const QString _pathToFile;
    const QString _curl;

    std::mutex _mutex;
    bool _givenUp = false;                // guarded by _mutex
    std::unique_ptr<ChildProcess> _child; // guarded by _mutex; its waiting is not, and replaces nothing
    std::optional<Outcome> _outcome;      // guarded by _mutex
    std::thread _thread;
};

} // namespace vantrel
