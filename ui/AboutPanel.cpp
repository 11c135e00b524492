#include "ui/AboutPanel.h"

#include "Drawing.h"
#include "base/Translated.h"
#include "ui/ApplicationIcon.h"

#include <QDialogButtonBox>
#include <QEvent>
#include <QFontInfo>
#include <QLabel>
#include <QTextBrowser>
#include <QTextCursor>
#include <QVBoxLayout>

namespace vantrel::ui {

namespace {
constexpr int iconSize = 64;
constexpr int widthInLetters = 56;
constexpr int heightInLines = 20;
constexpr char title[] = QT_TRANSLATE_NOOP("vantrel", "About Vantrel");
constexpr char iconName[] = QT_TRANSLATE_NOOP("vantrel", "The icon of Vantrel");
constexpr char creditsName[] = QT_TRANSLATE_NOOP("vantrel", "Credits");
// A translation names the document in its language.
constexpr char creditsDocument[] = QT_TRANSLATE_NOOP("vantrel", "Credits.html");
constexpr char versionText[] = QT_TRANSLATE_NOOP("vantrel", "Version %1");

QLabel* centred(const QString& text) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignHCenter);
    return label;
}
} // namespace

AboutPanel::AboutPanel(const QString& version) : _credits(new QTextBrowser) {
    setWindowTitle(translated(title));
    auto* icon = new QLabel;
    icon->setPixmap(applicationIcon().pixmap(iconSize));
    icon->setAlignment(Qt::AlignHCenter);
    icon->setAccessibleName(translated(iconName));
    QLabel* name = centred(QStringLiteral("Vantrel"));
    QFont large = name->font();
    large.setPointSizeF(QFontInfo(large).pointSizeF() * 1.5);
    large.setBold(true);
    name->setFont(large);
    _credits->setAccessibleName(translated(creditsName));
    const QFontMetrics letters = fontMetrics();
    _credits->setMinimumSize(widthInLetters * letters.averageCharWidth(), heightInLines * letters.lineSpacing());
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(icon);
    layout->addWidget(name);
    layout->addWidget(centred(translated(versionText).arg(version)));
    layout->addWidget(_credits);
    layout->addWidget(buttons);
    showCredits();
}

void AboutPanel::orderFront() {
    show();
    raise();
    activateWindow();
}

// All of it in the colour and the font of a label; what is bold stays so.
void AboutPanel::showCredits() {
    _credits->setHtml(QString::fromUtf8(resource(translated(creditsDocument))));
    QTextCharFormat label;
    label.setForeground(palette().color(QPalette::Active, QPalette::WindowText));
    label.setFontFamilies({font().family()});
    label.setFontPointSize(QFontInfo(font()).pointSizeF());
    QTextCursor all(_credits->document());
    all.select(QTextCursor::Document);
    all.mergeCharFormat(label);
}

void AboutPanel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) {
        showCredits();
    }
    QDialog::changeEvent(event);
}

} // namespace vantrel::ui
