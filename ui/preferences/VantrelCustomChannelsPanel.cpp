#include "preferences/VantrelCustomChannelsPanel.h"

#include "PaneParts.h"
#include "PreferencesTexts.h"
#include "base/Translated.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "ui_VantrelCustomChannelsPanel.h"

#include <QCursor>
#include <QGuiApplication>
#include <QPushButton>
#include <QScreen>
#include <algorithm>
#include <set>

namespace vantrel::preferences {

namespace {
constexpr char tagProperty[] = "tag";
constexpr int columns = 7;
constexpr int panelWidthInLetters = 64;
constexpr std::size_t fewestToHop = 2;

int tagOf(const QCheckBox& box) { return box.property(tagProperty).toInt(); }

bool has(const std::vector<CWChannel>& channels, int number, bool at20MHz) {
    return std::any_of(channels.begin(), channels.end(), [&](const CWChannel& channel) {
        return channel.channelNumber == number && (!at20MHz || channel.channelWidth == width20MHz);
    });
}
} // namespace

VantrelCustomChannelsPanel::VantrelCustomChannelsPanel(SettingsStore& settings, const std::vector<CWChannel>& supported,
                                                       QWidget* parent)
    : QDialog(parent),
      _nib(std::make_unique<Ui::VantrelCustomChannelsPanel>()),
      _settings(settings) {
    _nib->setupUi(this);
    windowDidLoad(supported);
}

VantrelCustomChannelsPanel::~VantrelCustomChannelsPanel() = default;

void VantrelCustomChannelsPanel::windowDidLoad(const std::vector<CWChannel>& supported) {
    addOtherChannels(supported);
    const auto stored = _settings.integerArrayForKey(keys::CustomChannelList);
    bool lacksSome = false;
    for (QCheckBox* box : checkBoxes()) {
        box->setChecked(std::find(stored.begin(), stored.end(), tagOf(*box)) != stored.end());
        box->setAccessibleName(translated(texts::channelName).arg(tagOf(*box)));
        offer(*box, supported);
        lacksSome = lacksSome || !box->isEnabled();
        connect(box, &QCheckBox::toggled, this, &VantrelCustomChannelsPanel::onCheckBox);
    }
    _nib->lackNote->setText(translated(supported.empty() ? texts::lacksAll : texts::lacksSome));
    _nib->lackNote->setVisible(lacksSome);
    connect(_nib->selectAll, &QPushButton::clicked, this, [this] { setAll(true); });
    connect(_nib->selectNone, &QPushButton::clicked, this, [this] { setAll(false); });
    connect(_nib->confirm, &QDialogButtonBox::accepted, this, &VantrelCustomChannelsPanel::onConfirm);
    connect(_nib->confirm, &QDialogButtonBox::rejected, this, &QDialog::reject);
    _nib->countNote->setText(translated(texts::tooFewChannels)); // the longer of its texts
    setMinimumSize(smallestSize(*this, panelWidthInLetters));
    improveContrast(*this);
    onCheckBox();
}

// The panel has a box for each channel of the bands that everybody knows; an adapter may have more.
void VantrelCustomChannelsPanel::addOtherChannels(const std::vector<CWChannel>& supported) {
    std::set<int> others;
    for (const CWChannel& channel : supported) {
        others.insert(channel.channelNumber);
    }
    for (const QCheckBox* box : checkBoxes()) {
        others.erase(tagOf(*box));
    }
    int at = 0;
    for (const int number : others) {
        auto* box = new QCheckBox(QString::number(number), _nib->others);
        box->setProperty(tagProperty, number);
        _nib->othersGrid->addWidget(box, at / columns, at % columns);
        ++at;
    }
    _nib->othersGrid->setColumnStretch(columns, 1);
    _nib->others->setVisible(!others.empty());
}

void VantrelCustomChannelsPanel::offer(QCheckBox& box, const std::vector<CWChannel>& supported) {
    const int number = tagOf(box);
    if (has(supported, number, true)) {
        return;
    }
    const QString reason =
        translated(has(supported, number, false) ? texts::lacksNarrowChannel : texts::lacksChannel).arg(number);
    box.setEnabled(false);
    box.setToolTip(reason);
    box.setAccessibleDescription(reason);
}

QList<QCheckBox*> VantrelCustomChannelsPanel::checkBoxes() const { return findChildren<QCheckBox*>(); }

std::vector<std::int64_t> VantrelCustomChannelsPanel::chosenTags() const {
    std::vector<std::int64_t> tags;
    for (const QCheckBox* box : checkBoxes()) {
        if (tagOf(*box) > 0 && box->isEnabled() && box->isChecked()) {
            tags.push_back(tagOf(*box));
        }
    }
    return tags;
}

void VantrelCustomChannelsPanel::setAll(bool checked) {
    for (QCheckBox* box : checkBoxes()) {
        if (box->isEnabled()) {
            box->setChecked(checked);
        }
    }
    onCheckBox();
}

void VantrelCustomChannelsPanel::onCheckBox() {
    const std::size_t chosen = chosenTags().size();
    _nib->countNote->setText(chosen < fewestToHop ? translated(texts::tooFewChannels)
                                                  : translated(texts::channelsChosen).arg(chosen));
}

void VantrelCustomChannelsPanel::onConfirm() {
    const auto tags = chosenTags();
    _settings.setIntegerArray(keys::CustomChannelList, tags);
    _customChannels.assign(tags.begin(), tags.end());
    accept();
}

bool VantrelCustomChannelsPanel::runModal() {
    setWindowModality(Qt::ApplicationModal);
    if (parentWidget() == nullptr) {
        const QScreen* at = QGuiApplication::screenAt(QCursor::pos());
        const QRect free = (at != nullptr ? at : QGuiApplication::primaryScreen())->availableGeometry();
        adjustSize();
        move(free.center() - rect().center());
    }
    show();
    raise();
    activateWindow();
    return exec() == Accepted;
}

} // namespace vantrel::preferences
