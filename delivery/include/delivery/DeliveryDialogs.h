// What the delivery asks the user, each through an interface of its own. Main thread.
#pragma once

#include <QString>
#include <functional>
#include <optional>

namespace vantrel {

// Of finished captures.
class CompletionDialogs {
public:
    virtual ~CompletionDialogs() = default;
    virtual void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) = 0;
    // Waits for the user. The chosen path, to be overwritten if it exists; empty when the user cancelled.
    [[nodiscard]] virtual std::optional<QString> chooseSavePath(const QString& fileName) = 0;
    // Opens the script panel on a saved capture, in place of the one that stands open.
    virtual void showScriptPanel(const QString& capturePath) = 0;
};

// Of uploads.
class UploadDialogs {
public:
    enum class Choice { Retry, Cancel, SaveAs };
    struct FileToUpload {
        QString path;
        QString tags;
        QString comments;
    };

    virtual ~UploadDialogs() = default;
    // Waits for the user; a closed alert counts as Cancel.
    [[nodiscard]] virtual Choice askAboutFailedUpload(const QString& messageText, const QString& informativeText,
                                                      bool offersSaveAs) = 0;
    // Both return at once; the continuation runs only when the user has chosen.
    virtual void chooseSavePath(const QString& fileName, std::function<void(const QString& path)> chosen) = 0;
    virtual void chooseFileToUpload(bool asksForTags, std::function<void(const FileToUpload& file)> chosen) = 0;
};

} // namespace vantrel
