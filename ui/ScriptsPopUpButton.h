// The list of scripts, as a pop-up: each by its full path, cut in the middle where it is too long, and beneath them an
// item that clears the list.
//
// The keyboard opens it and never chooses while it is closed, because the clearing item would be one key away.
// Main thread.
#pragma once

#include <QComboBox>
#include <QString>
#include <QStringList>

namespace vantrel::ui {

class ScriptsPopUpButton : public QComboBox {
    Q_OBJECT
public:
    explicit ScriptsPopUpButton(QWidget* parent = nullptr);

    // In place of what was there; the first is selected.
    void setScripts(const QStringList& paths);
    // False, and nothing changes, when the list does not have it.
    bool selectScript(const QString& path);
    // The path of the selected item; empty when nothing is selected.
    [[nodiscard]] QString selectedScript() const;

Q_SIGNALS:
    void clearRequested();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};

} // namespace vantrel::ui
