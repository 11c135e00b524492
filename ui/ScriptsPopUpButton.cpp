#include "ScriptsPopUpButton.h"

#include "Drawing.h"
#include "base/Translated.h"

#include <QAbstractItemView>
#include <QKeyEvent>
#include <QStyleOptionComboBox>
#include <QStylePainter>
#include <QWheelEvent>
#include <algorithm>
#include <array>

namespace vantrel::ui {

namespace {
constexpr int letters = 44; // the least that it shows of a path
constexpr std::array openingKeys{Qt::Key_Up,  Qt::Key_Down,  Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Home,
                                 Qt::Key_End, Qt::Key_Space, Qt::Key_Select, Qt::Key_F4};
} // namespace

ScriptsPopUpButton::ScriptsPopUpButton(QWidget* parent) : QComboBox(parent) {
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(letters);
    setPlaceholderText(translated(QT_TRANSLATE_NOOP("vantrel", "No script")));
    view()->setTextElideMode(Qt::ElideMiddle);
    connect(this, &QComboBox::activated, this, [this](int index) {
        if (itemData(index).toString().isEmpty()) {
            Q_EMIT clearRequested();
        } else {
            setToolTip(selectedScript());
        }
    });
}

void ScriptsPopUpButton::setScripts(const QStringList& paths) {
    clear();
    const QIcon image = paths.isEmpty() ? QIcon() : drawnIcon(QStringLiteral("script"));
    for (const QString& path : paths) {
        addItem(image, path, path);
        setItemData(count() - 1, path, Qt::ToolTipRole);
    }
    if (!paths.isEmpty()) {
        insertSeparator(count());
        addItem(translated(QT_TRANSLATE_NOOP("vantrel", "Clear")));
    }
    setCurrentIndex(paths.isEmpty() ? -1 : 0);
    setToolTip(selectedScript());
}

bool ScriptsPopUpButton::selectScript(const QString& path) {
    const int index = path.isEmpty() ? -1 : findData(path);
    if (index < 0) {
        return false;
    }
    setCurrentIndex(index);
    setToolTip(path);
    return true;
}

QString ScriptsPopUpButton::selectedScript() const { return currentData().toString(); }

void ScriptsPopUpButton::keyPressEvent(QKeyEvent* event) {
    if (std::find(openingKeys.begin(), openingKeys.end(), event->key()) != openingKeys.end()) {
        showPopup();
    } else {
        event->ignore(); // the window's: Return launches, Escape closes
    }
}

void ScriptsPopUpButton::wheelEvent(QWheelEvent* event) { event->ignore(); }

void ScriptsPopUpButton::paintEvent(QPaintEvent* /*event*/) {
    QStylePainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    QStyleOptionComboBox option;
    initStyleOption(&option);
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    if (currentIndex() < 0) {
        option.currentText = placeholderText();
    }
    QRect room = style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    if (!option.currentIcon.isNull()) {
        room.setWidth(room.width() - option.iconSize.width() - 8); // as the styles keep it from the text
    }
    option.currentText = option.fontMetrics.elidedText(option.currentText, Qt::ElideMiddle, room.width() - 4);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}

} // namespace vantrel::ui
