#pragma once

class QCoreApplication;

// Qt's own texts in Dutch (message box buttons, a line edit's context menu, file dialogs), from Debian's
// qt6-translations-l10n, and Dutch as the default locale. False when the translation is not installed:
// the program works on, with those texts in English.
bool installDutchTranslation(QCoreApplication& app);
