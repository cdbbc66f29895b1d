#include "screens/MessageBox.h"

#include <QApplication>

namespace MessageBox {

namespace {
bool g_testMode = false;
QList<QMessageBox::StandardButton> g_answers;
QList<Shown> g_shown;
}  // namespace

QMessageBox::StandardButton show(QWidget* parent, QMessageBox::Icon icon, const QString& title, const QString& text,
                                 QMessageBox::StandardButtons buttons, QMessageBox::StandardButton defaultButton) {
    if (g_testMode) {
        g_shown.append({icon, title, text, buttons, defaultButton});
        if (!g_answers.isEmpty()) {
            return g_answers.takeFirst();
        }
        return defaultButton != QMessageBox::NoButton ? defaultButton : QMessageBox::Ok;
    }
    QMessageBox box(icon, title, text, buttons, parent);
    if (defaultButton != QMessageBox::NoButton) {
        box.setDefaultButton(defaultButton);
    }
    return QMessageBox::StandardButton(box.exec());
}

void error(QWidget* parent, const QString& text) {
    show(parent, QMessageBox::Warning, QApplication::applicationDisplayName(), text);
}

void setTestMode(bool on) {
    g_testMode = on;
    g_answers.clear();
    g_shown.clear();
}

void setNextAnswer(QMessageBox::StandardButton answer) {
    g_answers.append(answer);
}

QList<Shown> takeShown() {
    QList<Shown> shown;
    shown.swap(g_shown);
    return shown;
}

}  // namespace MessageBox
