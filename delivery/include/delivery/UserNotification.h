// What the user is told when a capture has been saved or uploaded, and who shows it.
#pragma once

#include <QLatin1StringView>
#include <QMap>
#include <QString>

namespace vantrel {

// Where a notification leads, and what an upload came to.
using UserInfo = QMap<QString, QString>;

// Its keys, and the kinds that stand under "uploader".
namespace userinfo {
inline constexpr QLatin1StringView Uploader{"uploader"};
inline constexpr QLatin1StringView LocalSingle{"LocalSingle"};
inline constexpr QLatin1StringView LocalMultiple{"LocalMultiple"};
inline constexpr QLatin1StringView CloudShark{"CloudShark"};
inline constexpr QLatin1StringView MojoPackets{"MojoPackets"};

inline constexpr QLatin1StringView Path{"path"};         // LocalSingle: the saved file
inline constexpr QLatin1StringView Location{"location"}; // LocalMultiple: the capture's folder
// Of an upload that succeeded.
inline constexpr QLatin1StringView FileName{"filename"};
inline constexpr QLatin1StringView Id{"id"};       // CloudShark
inline constexpr QLatin1StringView Email{"email"}; // Mojo Packets, as the next two
inline constexpr QLatin1StringView Ticket{"ticket"};
inline constexpr QLatin1StringView TraceId{"trace_id"};
// Of one that failed.
inline constexpr QLatin1StringView Error{"error"};
inline constexpr QLatin1StringView PathToFile{"pathtofile"};
inline constexpr QLatin1StringView Tags{"tags"}; // CloudShark, as the next
inline constexpr QLatin1StringView Comments{"comments"};
} // namespace userinfo

struct UserNotification {
    QString title;
    QString subtitle;
    QString informativeText; // may be empty
    UserInfo userInfo;
    QString otherButtonTitle; // the button that only takes it away
    // Only in what a delegate is told: with it, what is opened for the user's click may come to the front. Often empty.
    QString activationToken = {};
};

// What the user did with a notification.
enum class ActivationType { None = 0, ContentsClicked = 1, ActionButtonClicked = 2, Replied = 3 };

// Asked and told by the notification centre. Main thread.
class UserNotificationCenterDelegate {
public:
    virtual ~UserNotificationCenterDelegate() = default;
    // Whether to show it also while the application is in front.
    [[nodiscard]] virtual bool shouldPresentNotification(const UserNotification& notification) = 0;
    virtual void didActivateNotification(const UserNotification& notification, ActivationType type) = 0;
};

// Shows notifications. Main thread; returns at once, and no failure of the desktop's reaches the caller.
class UserNotificationCenter {
public:
    virtual ~UserNotificationCenter() = default;
    virtual void deliverNotification(const UserNotification& notification) = 0;
};

} // namespace vantrel
