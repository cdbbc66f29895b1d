#pragma once

#include <QString>
#include <QStringList>
#include <functional>

class QPrinter;
class QWidget;

// The file and print dialogs of the program go through here, so that tests can answer them instead of
// letting a modal dialog block the test.
namespace FileDialogs {

// The file name chosen in a save dialog, or empty when cancelled. In test mode nothing is shown: the
// next queued answer is given (empty when none is queued).
QString saveFileName(QWidget* parent, const QString& caption, const QString& suggested, const QString& filter);

// The print preview with its print button; paint fills the printer it is given with the pages. In test
// mode nothing is shown: paint is called once on a printer that writes a PDF to the queued file.
void printPreview(QWidget* parent, const std::function<void(QPrinter*)>& paint);

void setTestMode(bool on);
void setNextSaveName(const QString& path);
void setPreviewOutput(const QString& path);
// The captions of the dialogs answered in test mode since the last call; the record is emptied.
QStringList takeShown();

}  // namespace FileDialogs
