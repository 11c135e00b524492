// One pane of the preferences window: a widget that reads its settings when it appears and writes each back as the user
// edits it.
//
// Main thread.
#pragma once

#include <QIcon>
#include <QList>
#include <QWidget>

class QLineEdit;

namespace vantrel::preferences {

class PreferencesViewController : public QWidget {
    Q_OBJECT
public:
    using QWidget::QWidget;
    // An edit that has not ended is lost.
    ~PreferencesViewController() override;

    // Names the pane in the settings and to whoever selects it; the same in every language.
    [[nodiscard]] virtual QString identifier() const = 0;
    [[nodiscard]] virtual QIcon toolbarItemImage() const = 0;
    [[nodiscard]] virtual QString toolbarItemLabel() const = 0;

    // Shows the settings as they are now; a field that the user is editing keeps its text.
    virtual void viewWillAppear() = 0;
    // Ends the editing of every field that the user has changed. False when what was entered cannot be kept: then the
    // pane stays.
    [[nodiscard]] virtual bool commitEditing();
    // The window is no longer the one that the user works in.
    virtual void windowDidResignKey() {}

Q_SIGNALS:
    // A setting was written that shows in the tray or in its menu.
    void preferencesDidChange();

protected:
    // From now on, the end of each edit of this field, which belongs to the pane, is told to
    // controlTextDidEndEditing(). A text that is put into a field without the keyboard, as assistive programs do, ends
    // its edit at once.
    void observeField(QLineEdit& field);
    virtual void controlTextDidEndEditing(QLineEdit& /*field*/) {}

    // Puts a setting's text into the field. That is no edit, and spares the text of one that has not ended.
    void showIn(QLineEdit& field, const QString& text);
    // The same, but what stands there is replaced even in the middle of an edit.
    void replaceIn(QLineEdit& field, const QString& text);

private:
    void textDidChange(QLineEdit& field);
    void endEditing(QLineEdit& field);

    QList<QLineEdit*> _fields; // children
    QList<QLineEdit*> _edited; // of these, the ones with an edit that has not ended
    bool _isShowing = false;   // a text that comes from the settings
};

} // namespace vantrel::preferences
