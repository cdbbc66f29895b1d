#pragma once

#include <QList>
#include <QMessageBox>
#include <QString>

// Every message box of the program goes through here, so that tests can answer them instead of
// letting a modal dialog block the test.
namespace MessageBox {

struct Shown {
    QMessageBox::Icon icon;
    QString title;
    QString text;
    QMessageBox::StandardButtons buttons;
    QMessageBox::StandardButton defaultButton;
};

// Shows a modal box and returns the button pressed. In test mode nothing is shown: the box is
// recorded and answered with the next queued answer, or else with its default button (Ok when none).
QMessageBox::StandardButton show(QWidget* parent, QMessageBox::Icon icon, const QString& title, const QString& text,
                                 QMessageBox::StandardButtons buttons = QMessageBox::Ok,
                                 QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);

// The platform's error text of a failed file or port operation, with the exclamation icon.
void error(QWidget* parent, const QString& text);

void setTestMode(bool on);
void setNextAnswer(QMessageBox::StandardButton answer);
// The boxes recorded in test mode since the last call, oldest first; the record is emptied.
QList<Shown> takeShown();

}  // namespace MessageBox
