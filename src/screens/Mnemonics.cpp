#include "screens/Mnemonics.h"

#include <QPushButton>
#include <QSet>
#include <QShortcut>

namespace {
const char* const kProperty = "vondrelMnemonic";

QList<QChar> lettersOf(const QString& caption) {
    QList<QChar> letters;
    for (const QChar c : caption) {
        // Alt with a letter beyond A-Z may not be typeable on every keyboard.
        const QChar upper = c.toUpper();
        if (upper >= u'A' && upper <= u'Z' && !letters.contains(upper)) {
            letters.append(upper);
        }
    }
    return letters;
}

void give(QWidget* window, QPushButton* button, QChar letter) {
    const QKeySequence keys(QKeyCombination(Qt::AltModifier, Qt::Key(letter.unicode())));
    button->setProperty(kProperty, keys);
    const QString hint = keys.toString(QKeySequence::NativeText);
    button->setToolTip(button->toolTip().isEmpty() ? hint : button->toolTip() + QStringLiteral(" (") + hint + u')');
    auto* shortcut = new QShortcut(keys, window);
    shortcut->setContext(Qt::WindowShortcut);
    QObject::connect(shortcut, &QShortcut::activated, button, [button] {
        if (button->isEnabled() && !button->isHidden()) {
            button->click();
        }
    });
}
}  // namespace

namespace Mnemonics {

void assign(QWidget* window) {
    const QList<QPushButton*> buttons = window->findChildren<QPushButton*>();
    QSet<QChar> used;
    QList<QPushButton*> waiting;
    for (QPushButton* button : buttons) {
        const QList<QChar> letters = lettersOf(button->text());
        if (!letters.isEmpty() && !used.contains(letters.constFirst())) {
            used.insert(letters.constFirst());
            give(window, button, letters.constFirst());
        } else {
            waiting.append(button);
        }
    }
    for (QPushButton* button : waiting) {
        for (const QChar letter : lettersOf(button->text())) {
            if (!used.contains(letter)) {
                used.insert(letter);
                give(window, button, letter);
                break;
            }
        }
    }
}

QKeySequence of(const QAbstractButton* button) {
    return button->property(kProperty).value<QKeySequence>();
}

}  // namespace Mnemonics
