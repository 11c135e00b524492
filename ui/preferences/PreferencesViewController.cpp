#include "preferences/PreferencesViewController.h"

#include <QLineEdit>
#include <QMetaObject>
#include <QScopedValueRollback>

namespace vantrel::preferences {

// A field that has the focus loses it later, when nobody is left to be told.
PreferencesViewController::~PreferencesViewController() {
    for (QLineEdit* field : _fields) {
        field->disconnect(this);
    }
}

void PreferencesViewController::observeField(QLineEdit& field) {
    _fields << &field;
    connect(&field, &QLineEdit::textChanged, this, [this, edited = &field] { textDidChange(*edited); });
    connect(&field, &QLineEdit::editingFinished, this, [this, edited = &field] { endEditing(*edited); });
}

void PreferencesViewController::textDidChange(QLineEdit& field) {
    if (_isShowing) {
        return;
    }
    if (!_edited.contains(&field)) {
        _edited << &field;
    }
    if (!field.hasFocus()) {
        // Later: whoever replaces the text is not done with the field yet.
        QMetaObject::invokeMethod(
            this, [this, edited = &field] { endEditing(*edited); }, Qt::QueuedConnection);
    }
}

void PreferencesViewController::endEditing(QLineEdit& field) {
    if (_edited.removeOne(&field)) {
        controlTextDidEndEditing(field);
    }
}

bool PreferencesViewController::commitEditing() {
    for (QLineEdit* field : _fields) {
        endEditing(*field);
    }
    return true;
}

void PreferencesViewController::showIn(QLineEdit& field, const QString& text) {
    if (!_edited.contains(&field)) {
        replaceIn(field, text);
    }
}

void PreferencesViewController::replaceIn(QLineEdit& field, const QString& text) {
    if (field.text() != text) {
        const QScopedValueRollback showing(_isShowing, true);
        field.setText(text);
    }
}

} // namespace vantrel::preferences
