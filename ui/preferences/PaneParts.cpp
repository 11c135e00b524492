#include "PaneParts.h"

#include "settings/SettingsStore.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QFontInfo>
#include <QGuiApplication>
#include <QLabel>
#include <QLayout>
#include <QLoggingCategory>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QStyle>
#include <QSvgRenderer>
#include <algorithm>

// Resources of a static library stay out of the program unless someone asks for them, outside any namespace.
static void registerResources() { Q_INIT_RESOURCE(preferences); }

namespace vantrel::preferences {

namespace {
constexpr double helpSize = 0.9; // of the control's text
constexpr char helpFor[] = "helpFor";

constexpr char16_t leftToRight = u'\u2066'; // LEFT-TO-RIGHT ISOLATE
constexpr char16_t popIsolate = u'\u2069';  // POP DIRECTIONAL ISOLATE

// Where the text of a check box or radio button begins.
int indentOf(const QWidget& control) {
    const bool isCheckBox = qobject_cast<const QCheckBox*>(&control) != nullptr;
    const QStyle& style = *control.style();
    return style.pixelMetric(isCheckBox ? QStyle::PM_IndicatorWidth : QStyle::PM_ExclusiveIndicatorWidth) +
           style.pixelMetric(isCheckBox ? QStyle::PM_CheckBoxLabelSpacing : QStyle::PM_RadioButtonLabelSpacing);
}

bool isHarmless(QChar character) {
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format: // among them those that turn the direction of writing
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default: // of Qt's many categories
        return true;
    }
}
} // namespace

QIcon paneImage(const QString& name) {
    registerResources();
    QFile file(QStringLiteral(":/vantrel/preferences/%1.svg").arg(name));
    if (!file.open(QIODevice::ReadOnly)) {
        qWarning("open() of %s failed: %s", qUtf8Printable(file.fileName()), qUtf8Printable(file.errorString()));
    }
    const QColor colour = QGuiApplication::palette().color(QPalette::Active, QPalette::WindowText);
    QSvgRenderer renderer(file.readAll().replace("#000000", colour.name().toLatin1()));
    QIcon image;
    for (const int size : {16, 22, 24, 32, 48, 64, 96}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        renderer.render(&painter);
        painter.end();
        image.addPixmap(pixmap);
    }
    return image;
}

void prepareHelp(QWidget& pane) {
    for (QLabel* help : pane.findChildren<QLabel*>()) {
        const QString name = help->property(helpFor).toString();
        auto* control = name.isEmpty() ? nullptr : pane.findChild<QWidget*>(name);
        if (control == nullptr) {
            continue;
        }
        QFont font = help->font();
        font.setPointSizeF(QFontInfo(font).pointSizeF() * helpSize);
        help->setFont(font);
        help->setTextFormat(Qt::PlainText);
        help->setWordWrap(true);
        if (qobject_cast<QAbstractButton*>(control) != nullptr) {
            help->setContentsMargins(indentOf(*control), 0, 0, 0);
        }
        control->setAccessibleDescription(help->text());
    }
}

QSize smallestSize(const QWidget& widget, int widthInLetters) {
    const QLayout* layout = widget.layout();
    const int width =
        std::max(widget.minimumSizeHint().width(), widthInLetters * widget.fontMetrics().averageCharWidth());
    const int height = layout != nullptr && layout->hasHeightForWidth() ? layout->totalHeightForWidth(width)
                                                                        : widget.minimumSizeHint().height();
    return {width, height};
}

// Their frames are drawn darker than this colour, which on a dark window leaves nothing to see.
void improveContrast(QWidget& pane) {
    const QPalette used = QGuiApplication::palette();
    const QColor text = used.color(QPalette::Active, QPalette::WindowText);
    const QColor ground = used.color(QPalette::Active, QPalette::Window);
    QPalette framed;
    if (qGray(ground.rgb()) < qGray(text.rgb())) {
        framed.setColor(QPalette::Window, QColor((text.red() + ground.red()) / 2, (text.green() + ground.green()) / 2,
                                                 (text.blue() + ground.blue()) / 2));
    }
    for (QAbstractButton* button : pane.findChildren<QAbstractButton*>()) {
        if (qobject_cast<QCheckBox*>(button) != nullptr || qobject_cast<QRadioButton*>(button) != nullptr) {
            button->setPalette(framed);
        }
    }
}

void showSetting(QAbstractButton& box, const SettingsStore& settings, QLatin1StringView key) {
    const QSignalBlocker quiet(box);
    box.setChecked(settings.boolForKey(key));
}

QString shownPath(const QString& path, const QWidget& where, int width) {
    QString shown = path;
    const QString home = QDir::homePath();
    if (shown == home || shown.startsWith(home + u'/')) {
        shown.replace(0, home.size(), u'~');
    }
    std::replace_if(
        shown.begin(), shown.end(), [](QChar character) { return !isHarmless(character); },
        QChar(QChar::ReplacementCharacter));
    return leftToRight + where.fontMetrics().elidedText(shown, Qt::ElideMiddle, width) + popIsolate;
}

} // namespace vantrel::preferences
