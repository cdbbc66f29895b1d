#pragma once

#include <QKeySequence>

class QAbstractButton;
class QWidget;

// Alt+letter for every push button of a window. The caption stays as it is: an '&' in it would change
// the text the buttons are known by (and "Help" / "X Help" tells by its text whether help is shown).
// The key is named in the button's tool tip instead.
namespace Mnemonics {

// Gives each push button of window a letter of its own caption, first letters first: a button whose
// first letter is taken gets the next free letter of its caption. Call once all buttons exist.
void assign(QWidget* window);

// The button's Alt+letter; empty when it has none.
QKeySequence of(const QAbstractButton* button);

}  // namespace Mnemonics
